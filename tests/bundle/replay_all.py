#!/usr/bin/env python3
"""Bundles the checks of all golden cases and replays them: the report is the bundle's, and no secret is in it.

Usage: replay_all.py EXAMPLES GPON_VALIDATE...

GPON_VALIDATE may be several words: an emulator, its options, and the program.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

SHORTEST = 4  # Bytes of a secret that is looked for: shorter ones are part of many words.
SECRET_IN_XML = re.compile(r"<((?:\w+:)?[\w-]*password)(?:\s[^>]*)?>(?:<!\[CDATA\[)?(?:\$0\$)?([^<\]]*)")
SECRET_IN_JSON = re.compile(r'"(?:[\w-]+:)?[\w-]*password"\s*:\s*"(?:\$0\$)?((?:[^"\\]|\\.)*)"')
WORDS_OF_OTHERS = {"password"}  # A method of authentication, which is no secret.


def words_of(case):
    """What run_case.sh runs; None: it is no check of files."""
    def inherited(name):
        return next((file for file in (case / name, case.parent / name) if file.exists()), None)
    if (case / "command-line").exists() or (case / "command").exists() or (case / "stdin").exists():
        return None
    words = ["check"]
    for option, name in ("--running", "running.xml"), ("--card", "card.json"):
        if inherited(name):
            words += [option, inherited(name)]
    for name in "candidate.xml", "change.xml", "change.json", "overbook.xml":
        if (case / name).exists():
            words += [case / name] if name == "candidate.xml" else ["--edit", case / name]
            break
    arguments = (case / "arguments").read_text().split() if (case / "arguments").exists() else []
    if any(word in ("-", "--trace-file", "--report", "--in-process") or word.startswith(("--report", "-o"))
           for word in arguments):
        return None
    return [str(word) for word in words] + arguments


def secrets_in(folder):
    found = set()
    for file in [*folder.glob("*.xml"), *folder.glob("*.json")]:
        text = file.read_text(errors="replace")
        found |= {value for _, value in SECRET_IN_XML.findall(text)} | set(SECRET_IN_JSON.findall(text))
    return {secret for secret in found if len(secret) >= SHORTEST} - WORDS_OF_OTHERS


def unpacked(bundle, program_folder):
    done = subprocess.run(["tar", "--zstd", "-xOf", bundle], stdout=subprocess.PIPE, check=False, cwd=program_folder)
    return done.stdout.decode(errors="replace")


def check_case(case, program, scratch):
    """@return What is wrong with it; None: it is no case for a bundle."""
    words = words_of(case)
    if words is None:
        return None
    bundle = scratch / "bundle.tar.zst"
    bundle.unlink(missing_ok=True)
    first = subprocess.run(program + words + ["--bundle", bundle], cwd=case, capture_output=True, check=False)
    if not bundle.exists():
        return [f"no bundle: {first.stderr.decode()[-300:]}"]
    faults = [line for line in first.stderr.decode().splitlines() if "another report" in line]
    again = subprocess.run(program + ["replay", bundle], cwd=scratch, capture_output=True, check=False)
    if again.returncode != 0 or not again.stdout.endswith(b"The report is the bundle's.\n"):
        faults.append(f"replay: {again.returncode} {again.stdout.decode()[-400:]}{again.stderr.decode()[-400:]}")
    text = unpacked(bundle, scratch)
    faults += [f"the bundle holds {secret}" for secret in secrets_in(case) | secrets_in(case.parent) if secret in text]
    return faults


def main():
    examples, *program = sys.argv[1:]
    program[-1] = str(pathlib.Path(program[-1]).resolve())
    cases = sorted(file.parent.resolve() for file in pathlib.Path(examples).rglob("expected.txt"))
    wrong = bundled = 0
    with tempfile.TemporaryDirectory() as scratch:
        for case in cases:
            faults = check_case(case, program, pathlib.Path(scratch))
            bundled += faults is not None
            for fault in faults or []:
                wrong += 1
                print(f"{case.parent.name}/{case.name}: {fault}")
    print(f"{bundled} of {len(cases)} cases bundled and replayed, {wrong} faults.")
    return 1 if wrong or bundled < 200 else 0


if __name__ == "__main__":
    sys.exit(main())
