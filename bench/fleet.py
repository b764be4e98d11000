#!/usr/bin/env python3
"""Times `gpon-validate fleet` on generated cards: fleet.py BUILD [--small N] [--full N] [--jobs N]

Small cards have one PON link with 8 ONUs, full ones 16 links with 128. The edit gives one ONU another description, so
that what is timed is the way of a card, not its rules.
"""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time

EDIT = """<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
<onu><onu-id>1</onu-id><profile-references><line-profile>line-001</line-profile></profile-references></onu></gpon></interface></config>
"""
SHAPES = {
    "small": ["--links", 1, "--onus", 8, "--line-profiles", 4, "--bandwidth-profiles", 4, "--service-ports", 8],
    "full": ["--links", 16, "--onus", 128, "--line-profiles", 512, "--bandwidth-profiles", 64, "--service-ports", 4096],
}
DISTINCT = 20  # Cards of a shape that differ; the list names them again and again.


class Fleet:
    def __init__(self, program, folder, shape, count):
        self.program, self.folder, self.count = program, folder, count
        for seed in range(DISTINCT):
            self.run("generate", *SHAPES[shape], "--seed", seed, "-o", f"{shape}{seed}.xml", "--card", f"{shape}.json")
        (folder / "edit.xml").write_text(EDIT)
        self.list = f"{shape}.tsv"
        (folder / self.list).write_text("".join(
            f"{shape}-{i}\t{shape}{i % DISTINCT}.xml\t{shape}.json\n" for i in range(count)))
        self.running = [f"{shape}{seed}.xml" for seed in range(DISTINCT)]
        self.card = f"{shape}.json"

    def run(self, *words, accepted=(0,)):
        process = subprocess.run([self.program, *map(str, words)], cwd=self.folder, capture_output=True, text=True)
        if process.returncode not in accepted:
            sys.exit(f"{words} ended with {process.returncode}:\n{process.stdout}{process.stderr}")
        return process.stdout

    def check(self, jobs):
        """@return Seconds, and the results."""
        results = self.folder / "results.jsonl"
        results.unlink(missing_ok=True)
        start = time.monotonic()
        self.run("fleet", self.list, "--edit", "edit.xml", "--yes", "--jobs", jobs, "-o", results, accepted=(0, 1))
        return time.monotonic() - start, results.read_bytes()


def peak_of(program, folder, words):
    """Peak of resident memory in MiB of a command and what it starts, whichever process has the largest."""
    code = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL); "
            "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
    output = subprocess.run([sys.executable, "-c", code, program, *map(str, words)], cwd=folder, capture_output=True,
                            text=True, check=True).stdout
    return int(output) / 1024


def open_checkers(fleet, trial, count):
    """Seconds for so many cards in one process that has loaded the model, with a checker for each."""
    output = subprocess.run([trial, fleet.card, "edit.xml", str(count), *fleet.running], cwd=fleet.folder,
                            capture_output=True, text=True, check=True).stdout
    return float(output)


def say(text, value, limit=""):
    print(f"{text:<70}{value:>14}" + (f"   ({limit})" if limit else ""), flush=True)


def time_fleet(fleet, shape, jobs, trial):
    # In turn, and the shortest counts: other programs run on this machine as well.
    serial, one = min(fleet.check(1) for _ in range(2))
    parallel, many = min(fleet.check(jobs) for _ in range(2))
    alone = min(open_checkers(fleet, trial, min(fleet.count, 1000)) for _ in range(2)) / min(fleet.count, 1000)
    say(f"{fleet.count} {shape} cards, one worker", f"{fleet.count / serial:.1f} /s")
    say(f"  {jobs} workers, to {jobs} times that", f"{serial / parallel / jobs:.2f}", "at least 0.85")
    say("  one worker's time for a card, to that of an open checker", f"{serial / fleet.count / alone:.2f}",
        "at most 1.5" if shape == "small" else "")
    say("  the results are the same", "yes" if one == many else "NO")
    check = peak_of(fleet.program, fleet.folder, ["check", "--running", fleet.running[0], "--card", fleet.card, "--edit",
                                                  "edit.xml", "--yes"])
    (fleet.folder / "results.jsonl").unlink()
    worker = peak_of(fleet.program, fleet.folder, ["fleet", fleet.list, "--edit", "edit.xml", "--yes", "--jobs", jobs, "-o",
                                                   "results.jsonl"])
    say("  peak of resident memory of a worker, to that of one check", f"{worker / check:.2f}",
        f"{worker:.0f} and {check:.0f} MiB")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="such as build/desk")
    parser.add_argument("--small", type=int, default=10000, help="small cards (10000)")
    parser.add_argument("--full", type=int, default=200, help="full cards (200)")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)), help="workers (one a processor)")
    arguments = parser.parse_args()
    program, trial = ((arguments.build / "bin" / name).resolve() for name in ("gpon-validate", "open_checkers"))
    with tempfile.TemporaryDirectory() as folder:
        for shape, count in (("small", arguments.small), ("full", arguments.full)):
            if count:
                time_fleet(Fleet(program, pathlib.Path(folder), shape, count), shape, arguments.jobs, trial)


if __name__ == "__main__":
    main()
