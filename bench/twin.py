#!/usr/bin/env python3
"""Times gpon-twin on a full card, over its UNIX socket: twin.py BUILD [--commits N] [--twins N]

What a commit takes is compared with what the same edit costs on a card that gpon-validate holds open; what get-config
takes, with what printing that configuration adds to a program's run.
"""
import argparse
import multiprocessing
import os
import pathlib
import statistics
import sys
import tempfile
import time

from programs import FULL_CARD, Card, one_edit, run, say

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests/twin"))
from twin import CONFIRM, Twin  # pylint: disable=wrong-import-position

COMMIT = f'<commit><confirm-warnings xmlns="{CONFIRM}"/></commit>'
GET = "<get-config><source><running/></source>{}</get-config>"
ONE_PORT = '<filter><config xmlns="urn:olt:gpon:base"><service-port><id>7</id></service-port></config></filter>'
READS = 21
READERS = 20
READ_SECONDS = 5


def timed(call, *arguments):
    """@return Milliseconds, and the answer."""
    start = time.monotonic()
    answer = call(*arguments)
    return 1000 * (time.monotonic() - start), answer


def summary(times):
    times = sorted(times)
    return f"{statistics.median(times):.1f}, {times[len(times) * 95 // 100]:.1f}, {times[-1]:.1f} ms"


def commit_all(client, edits):
    """@return Milliseconds of each commit that was accepted, its edit-config included, and of the commit alone."""
    both, alone = [], []
    for edit in edits:
        edit_time, reply = timed(client.edit, edit.read_text())
        assert "<ok/>" in reply, reply
        commit_time, reply = timed(client.rpc, COMMIT)
        if "<ok/>" in reply:
            both.append(edit_time + commit_time)
            alone.append(commit_time)
        else:
            client.rpc("<discard-changes/>")
    return both, alone


def commits(twin, card, count):
    edits = card.everyday(count)
    both, alone = commit_all(twin.raw(), edits)
    checker = one_edit(card, edits)
    say(f"{len(alone)} everyday commits of {count}: median, 95 %, longest", summary(alone))
    say("  with the edit-config before", summary(both))
    say("  the median, less what the open checker takes of the processor",
        f"{statistics.median(alone):.1f} - {checker:.1f} ms", "15 ms")


def processor_time(pid):
    """Seconds that a process has had the processor, without those that it started."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(map(int, fields[11:13])) / os.sysconf("SC_CLK_TCK")


def reads(twin, card):
    client, pid = twin.raw(), twin.process.pid
    client.rpc(GET.format(""))
    before = processor_time(pid)
    times = [timed(client.rpc, GET.format(""))[0] for _ in range(READS)]
    whole = 1000 * (processor_time(pid) - before) / READS
    nothing = card.write("nothing.xml", '<config xmlns="urn:olt:gpon:base"/>')
    words = [card.program, "diff", "--running", card.running, "--edit", nothing]
    printing = statistics.median(
        1000 * (run([*words, "-o", card.folder / "out.xml"])[0] - run(words)[0]) for _ in range(READS))
    say("get-config of all, to printing it, of the processor", f"{whole:.0f} / {printing:.0f} ms", "2 x")
    say("  by the clock: median, 95 %, longest", summary(times))
    say("get-config of one service port: median, 95 %, longest",
        summary([timed(client.rpc, GET.format(ONE_PORT))[0] for _ in range(100)]))


def read_on(twin, results):
    client = twin.raw()
    end = time.monotonic() + READ_SECONDS
    times = []
    while time.monotonic() < end:
        times.append(timed(client.rpc, GET.format(ONE_PORT))[0])
    results.put(times)


def readers_and_one_writer(twin, card):
    results = multiprocessing.Queue()
    readers = [multiprocessing.Process(target=read_on, args=(twin, results)) for _ in range(READERS)]
    for reader in readers:
        reader.start()
    client, alone = twin.raw(), []
    edits = card.quiet(1000)
    end = time.monotonic() + READ_SECONDS - 1
    while time.monotonic() < end:
        alone += commit_all(client, [edits.pop()])[1]
    times = [one for _ in readers for one in results.get()]
    for reader in readers:
        reader.join()
    say(f"{READERS} sessions read {len(times)} times: median, 95 %, longest", summary(times), "1000 ms")
    say(f"  while one committed {len(alone)} times", summary(alone))


def memory_of(pid):
    """MiB of a process and those that it started, what they share counted in parts."""
    total = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        for child in (task / "children").read_text().split():
            total += memory_of(child)
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith("Pss:"):
            total += int(line.split()[1]) / 1024
    return total


def memory(program, card, count):
    twins = []
    try:
        start = time.monotonic()
        for _ in range(count):
            twins.append(Twin(program, str(card.running), card=str(card.capabilities), ssh=False))
            twins[-1].start()
        seconds = (time.monotonic() - start) / count
        edit = card.quiet(1)[0].read_text()
        for twin in twins:
            client = twin.raw()
            client.edit(edit)
            assert "<ok/>" in client.rpc(COMMIT)
        say(f"{count} twins, each after a commit: memory of all, of one, start of one",
            f"{sum(memory_of(twin.process.pid) for twin in twins) / 1024:.1f} GiB, "
            f"{memory_of(twins[0].process.pid):.0f} MiB, {seconds:.2f} s", "24 GiB")
    finally:
        for twin in twins:
            twin.__exit__()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="such as build/desk")
    parser.add_argument("--commits", type=int, default=200, help="everyday commits (200)")
    parser.add_argument("--twins", type=int, default=50, help="at once (50)")
    arguments = parser.parse_args()
    program = [str((arguments.build / "bin/gpon-twin").resolve())]
    with tempfile.TemporaryDirectory() as folder:
        card = Card((arguments.build / "bin/gpon-validate").resolve(), pathlib.Path(folder), FULL_CARD)
        with Twin(program, str(card.running), card=str(card.capabilities), ssh=False) as twin:
            commits(twin, card, arguments.commits)
            reads(twin, card)
            readers_and_one_writer(twin, card)
        memory(program, card, arguments.twins)


if __name__ == "__main__":
    main()
