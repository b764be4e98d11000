#!/usr/bin/python3
"""All golden cases of rules as commands: the shell's verdicts, texts and paths are gpon-validate's.

The commands are those that the shell itself tells for the difference; typed into another shell, they must lead to the
same difference. (A value written out where YANG supplies the same is none.)

usage: golden.py EXAMPLES GPON_VALIDATE GPON_SHELL
"""
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from golden_cases import cases_of, is_whole, report_of  # noqa: E402


def run(words, text=""):
    return subprocess.run(words, input=text, capture_output=True, text=True, check=False)


def told_offline(program, case):
    report = report_of(program, *case)
    remarks = [("rejected", one["text"].strip().split("\n")[0], one["path"], one["rule"]) for one in report["rejections"]]
    remarks += [("warning", one["text"].strip().split("\n")[0], one["path"], one["rule"]) for one in report["warnings"]]
    return report["result"], sorted(remarks)


def told_by_shell(text):
    """Remarks of the printed report: a text, and below it its places."""
    remarks, last = [], None
    for line in text.splitlines():
        if match := re.match(r"(rejected|warning): (.*?)(?: \(\d+ times\))?$", line):
            last = match.groups()
        elif match := re.match(r"  (/.*) \((\w+)\)$", line):
            remarks.append((*last, *match.groups()))
    return sorted(remarks)


def check(programs, case):
    change, running, card = case
    options = ["--running", running] + (["--card", card] if card else [])
    result, remarks = told_offline(programs[0], case)
    shell = [programs[1], *options]
    how = "replace" if is_whole(change) else "merge"
    loaded = run(shell, f"load {how} {change}\nshow | compare | commands | secrets\n")
    if result == "not-checked":
        return None if loaded.returncode == 3 or run(shell, f"load {how} {change}\nvalidate\n").returncode == 3 else \
            f"{change}: should be refused: {loaded}"
    commands = loaded.stdout
    typed = run(shell, commands + "show | compare | json\nvalidate\n")
    whole = run(shell, f"load {how} {change}\nshow | compare | json\nvalidate\n")
    codes = {"accepted": 0, "rejected": 1, "not-confirmed": 2, "plugin-died": 4}
    if whole.stdout != typed.stdout:
        return f"{change}: the commands make something else\n{commands}{typed.stderr}{whole.stdout}\n{typed.stdout}"
    if typed.returncode != codes[result] or told_by_shell(typed.stdout) != remarks:
        return f"{change}: {result}, {remarks}\n{commands}{typed.stdout}{typed.stderr}"
    return None


def main():
    examples, *programs = sys.argv[1:]
    cases = list(cases_of(examples))
    with ThreadPoolExecutor(2) as pool:
        wrong = [text for text in pool.map(lambda case: check(programs, case), cases) if text]
    print(f"{len(cases)} cases, {len(wrong)} different")
    print("\n".join(wrong))
    return 1 if wrong or len(cases) < 200 else 0


sys.exit(main())
