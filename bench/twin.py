#!/usr/bin/python3
"""Times gpon-twin on the full card over its UNIX socket, and weighs 50 of them: bench/twin.py BUILD_FOLDER"""
import json
import os
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests", "twin"))
from twin import Twin  # noqa: E402

CARD = os.path.join(ROOT, "examples", "full-card")
RUNNING = os.path.join(CARD, "running.xml")
GET = "<get-config><source><running/></source></get-config>"
SMALL = """<get-config><source><running/></source><filter type="subtree"><config xmlns="urn:olt:gpon:base"><service-port><id>7</id>
</service-port></config></filter></get-config>"""
EDIT = """<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>3</port-id>
<onu><onu-id>5</onu-id><profile-references><line-profile>line-{}</line-profile></profile-references></onu></gpon></interface></config>"""


def seconds(work):
    begin = time.perf_counter()
    work()
    return time.perf_counter() - begin


def milliseconds(times):
    ordered = sorted(times)
    return f"median {statistics.median(ordered) * 1000:.1f} ms, 95 % {ordered[int(len(ordered) * 0.95)] * 1000:.1f} ms, worst {ordered[-1] * 1000:.1f} ms"


def commit(client, number):
    client.edit(EDIT.format(158 + number % 2))

    def ask():
        reply = client.rpc("<commit/>")
        assert "<ok/>" in reply, reply
    return seconds(ask)


def open_checker_takes(program, count=100):
    """Such a check and commit in gpon-validate, which has the card open; what each edit adds."""
    folder = os.path.join(ROOT, "build", "bench-twin-edits")
    os.makedirs(folder, exist_ok=True)
    for number in range(2 * count):
        with open(os.path.join(folder, f"{number:04}.xml"), "w", encoding="utf-8") as file:
            file.write(EDIT.format(158 + number % 2))

    def run(edits):
        words = [program, "check", "--running", RUNNING, "--card", os.path.join(CARD, "card.json"), "--in-turn", "--json"]
        for number in range(edits):
            words += ["--edit", os.path.join(folder, f"{number:04}.xml")]
        subprocess.run(words, stdout=subprocess.DEVNULL, check=True)
    return (min(seconds(lambda: run(2 * count)) for _ in range(3)) - min(seconds(lambda: run(count)) for _ in range(3))) / count


def time_commits(twin, build):
    client = twin.raw()
    commit(client, 1)
    times = [commit(client, number) for number in range(200)]
    print(f"everyday commit, reply included: {milliseconds(times)}")
    took = open_checker_takes(os.path.join(build, "bin", "gpon-validate"))
    print(f"  the open checker: {took * 1000:.1f} ms; beyond it {(statistics.median(times) - took) * 1000:.1f} ms (aim: 15)")


def time_reading(twin, build):
    client = twin.raw()
    first = []
    for number in range(20):
        commit(client, number)
        first.append(seconds(lambda: client.rpc(GET)))
    again = [seconds(lambda: client.rpc(GET)) for _ in range(20)]
    print(f"get-config of {len(client.rpc(GET)) >> 10} KiB after a commit: {milliseconds(first)}")
    print(f"  again: {milliseconds(again)}")
    told = subprocess.run([os.path.join(build, "bin", "twin_print"), RUNNING], stdout=subprocess.PIPE, check=True).stdout
    printing = json.loads(told)["ms"] / 1000
    print(f"  printing it: {printing * 1000:.1f} ms; the first {statistics.median(first) / printing:.1f} times that (aim: 2)")


def time_many(twin, build):
    words = [os.path.join(build, "bin", "twin_readers"), twin.socket, "20"]
    with subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as readers:
        client = twin.raw()
        commits = [commit(client, number) for number in range(60)]
        reads = json.loads(readers.communicate()[0])
    print(f"commits with 20 sessions that read the whole card: {milliseconds(commits)}")
    print(f"  their {len(reads)} readings: {milliseconds(reads)} (aim: 1000)")


def time_small(twin):
    client = twin.raw()
    client.rpc("<get-config/>")
    times = [seconds(lambda: client.rpc(SMALL)) for _ in range(200)]
    print(f"a request that asks for little: {milliseconds(times)}")


def memory_of(twin):
    """Of the server and its check process, what is shared counted by its share (PSS)."""
    pids = [twin.process.pid] + [int(pid) for pid in os.popen(f"pgrep -P {twin.process.pid}").read().split()]
    total = 0
    for pid in pids:
        with open(f"/proc/{pid}/smaps_rollup", encoding="utf-8") as file:
            total += next(int(line.split()[1]) for line in file if line.startswith("Pss:"))
    return total / 1024


def weigh(program, count=50):
    twins = []
    try:
        begin = time.perf_counter()
        for _ in range(count):
            twins.append(Twin([program], RUNNING, card=os.path.join(CARD, "card.json"), ssh=False).start())
        took = time.perf_counter() - begin
        for number, twin in enumerate(twins):
            commit(twin.raw(), number)
        weights = [memory_of(twin) for twin in twins]
        idle = [open(f"/proc/{twin.process.pid}/stat", encoding="utf-8").read().split()[13:15] for twin in twins]
        time.sleep(5)
        later = [open(f"/proc/{twin.process.pid}/stat", encoding="utf-8").read().split()[13:15] for twin in twins]
        ticks = sum(sum(map(int, after)) - sum(map(int, before)) for before, after in zip(idle, later))
        print(f"{count} twins of the full card, one session and one commit each: started in {took:.1f} s, "
              f"{sum(weights) / 1024:.1f} GiB ({max(weights):.0f} MiB the largest), {ticks / 5:.1f} % of a core when idle")
    finally:
        for twin in twins:
            twin.__exit__()


def main():
    build = sys.argv[1]
    program = os.path.join(build, "bin", "gpon-twin")
    with Twin([program], RUNNING, card=os.path.join(CARD, "card.json"), ssh=False) as twin:
        time_commits(twin, build)
        time_reading(twin, build)
        time_small(twin)
        time_many(twin, build)
    weigh(program)


main()
