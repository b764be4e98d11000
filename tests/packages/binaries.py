#!/usr/bin/env python3
"""Checks how programs and shared libraries were built.

usage: binaries.py --build BUILD        all that a finished build has linked, and how it was compiled
       binaries.py --installed ROOT     all programs and libraries below ROOT

They find libraries below their own root only, by their own place; their relocations are read-only,
their stack is guarded and cannot be executed, programs can be loaded anywhere.
"""
import json
import os
import re
import subprocess
import sys
from pathlib import Path

# Rules of the build by which programs and libraries are linked.
LINKED = re.compile(r'^(\S+): \w+_(EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY)_LINKER__', re.M)


def run(*words):
    return subprocess.run(words, capture_output=True, text=True, check=True).stdout


def is_elf(path):
    return path.is_file() and not path.is_symlink() and path.open('rb').read(4) == b'\x7fELF'


def rpath_faults(file, facts, root):
    folders = {folder for folders in re.findall(r'\((?:RPATH|RUNPATH)\).*\[(.*)\]', facts)
               for folder in folders.split(':')}
    for folder in folders:
        place = os.path.normpath(re.sub(r'^\$ORIGIN(?=/|$)', str(file.parent), folder))
        if not re.match(r'\$ORIGIN(/|$)', folder) or not Path(place).is_relative_to(root):
            yield f'looks for libraries in "{folder}"'


def faults_of(file, root):
    facts = run('readelf', '--wide', '--file-header', '--program-headers', '--dynamic', '--dyn-syms', str(file))
    yield from rpath_faults(file, facts, root)
    is_sanitized = '__asan_init' in facts  # Those have their place, to start faster.
    if not re.search(r'Type: +DYN', facts) and not is_sanitized:
        yield 'is not position-independent'
    if 'GNU_RELRO' not in facts or not re.search(r'BIND_NOW|\(FLAGS_1\).*NOW', facts):
        yield 'has relocations that stay writable'
    if not re.search(r'GNU_STACK .* RW +0x', facts):
        yield 'has an executable stack'
    # A module without arrays on its stack, as tests have them, needs no guard.
    if '__stack_chk_fail' not in facts and re.search(r'\(SONAME\)|INTERP', facts):
        yield 'has no guarded stack'


def compile_faults(build):
    """What leaves no certain trace in a file, from the compiler's command lines."""
    intel = re.search('Machine:.*X86-64', run('readelf', '-h', str(next(build.glob('lib/*.so')))))
    for entry in json.loads((build / 'compile_commands.json').read_text()):
        words = entry['command'].split()
        wanted = ['-fstack-protector-strong', '-fstack-clash-protection'] + ['-fcf-protection'] * bool(intel)
        if any(re.fullmatch('-O[123s]', word) for word in words) and '-fsanitize' not in entry['command']:
            wanted.append('-D_FORTIFY_SOURCE=2')
        if not set(wanted) <= set(words):
            yield f'{entry["file"]} is compiled without {" ".join(set(wanted) - set(words))}'


def main():
    kind, root = sys.argv[1], Path(sys.argv[2]).resolve()
    if kind == '--build':
        linked = LINKED.findall(run('ninja', '-C', str(root), '-t', 'targets', 'all'))
        files, faults = [root / name for name, _ in linked], list(compile_faults(root))
    else:
        files, faults = sorted(root.rglob('*')), []
    files = list(filter(is_elf, files))
    faults += [f'{file} {fault}' for file in files for fault in faults_of(file, root)]
    print(*faults, f'{len(files)} programs and libraries, {len(faults)} faults', sep='\n')
    sys.exit(bool(faults) or not files)


if __name__ == '__main__':
    main()
