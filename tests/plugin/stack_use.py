#!/usr/bin/env python3
"""Tells how much stack the plug-in's own functions need, and fails where it is too much.

usage: stack_use.py MOST_BYTES OBJECT_FOLDER

Reads the call graphs that the compiler wrote beside the objects (-fcallgraph-info=su): the frame of
each function, and what it calls. The need of a validator is that of the deepest chain of calls below
it; `validate`, which calls it through a table, is added at the end. What the run-time, the client
library and the callbacks that it calls add is not in it.
"""
import re
import subprocess
import sys
from pathlib import Path

NODE = re.compile(r'node: \{ title: "([^"]+)" label: "([^"]*)"')
EDGE = re.compile(r'edge: \{ sourcename: "([^"]+)" targetname: "([^"]+)"')
FRAME = re.compile(r'\\n(\d+) bytes \((static|dynamic|dynamic,bounded)\)')
# The two names of one constructor or destructor.
TWIN = re.compile(r'([CD])1E')
# What calls itself is the standard library's release of a search tree, which is never deeper than this.
TREE_DEPTH = 32


def read_graphs(folder):
    frames, calls = {}, {}
    for path in sorted(Path(folder).rglob('*.ci')):
        text = TWIN.sub(r'\g<1>2E', path.read_text())
        for name, label in NODE.findall(text):
            frame = FRAME.search(label)
            if frame is None:
                continue
            if frame.group(2) == 'dynamic':
                sys.exit(f'{path}: the frame of {name} has no known size')
            frames[name] = max(frames.get(name, 0), int(frame.group(1)))
        for source, target in EDGE.findall(text):
            calls.setdefault(source, set()).add(target)
    return frames, calls


class Depths:
    """The deepest chain of calls from a function down: its bytes, and its functions."""

    def __init__(self, frames, calls):
        self.frames, self.calls, self.known = frames, calls, {}

    def of(self, name, above=()):
        if name in above:
            sys.exit('recursion: ' + ' > '.join(above + (name,)))
        if name not in self.known:
            callees = self.calls.get(name, set())
            below = [self.of(callee, above + (name,)) for callee in callees
                     if callee in self.frames and callee != name]
            size, chain = max(below, default=(0, ()))
            own = self.frames[name] * (TREE_DEPTH if name in callees else 1)
            self.known[name] = (own + size, (name,) + chain)
        return self.known[name]


def plain(chain):
    symbols = [name.rsplit(':', 1)[-1] for name in chain]
    names = subprocess.run(['c++filt', '-p', *symbols], capture_output=True, text=True, check=True)
    return ' > '.join(names.stdout.split('\n')[:-1])


def main():
    most, folder = int(sys.argv[1]), sys.argv[2]
    frames, calls = read_graphs(folder)
    if 'validate' not in frames:
        sys.exit(f'no call graph of the plug-in in {folder}')
    depths = Depths(frames, calls)
    called = {target for targets in calls.values() for target in targets}
    entries = sorted((depths.of(name) for name in frames if name not in called), reverse=True)
    for size, chain in entries:
        print(f'{size:8d} bytes  {plain(chain)}')
    worst = entries[0][0] + frames['validate']
    print(f'{worst:8d} bytes  at most, with validate itself; {most} are allowed')
    sys.exit(worst > most)


if __name__ == '__main__':
    main()
