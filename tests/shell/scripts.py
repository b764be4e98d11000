#!/usr/bin/python3
"""Scripts of commands, and what people read: each folder of scripts/ has a script and expected.txt.

expected.txt holds all that is printed, and the exit code. The file `options` holds further words of the command line.
{scratch} is an empty folder.

usage: scripts.py [--update] GPON_SHELL
"""
import os
import random
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


def run(program, folder, script, scratch):
    words = [program, "--running", os.path.join(HERE, "running.xml")]
    options = os.path.join(folder, "options")
    if os.path.exists(options):
        with open(options, encoding="utf-8") as file:
            words += file.read().replace("{here}", HERE).split()
    done = subprocess.run(words, input=script.replace("{scratch}", scratch), stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False, cwd=scratch)
    text = re.sub(r" +[\d.]+ ms", " N ms", done.stdout)
    text = re.sub(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", "TIME", text).replace(scratch, "{scratch}")
    return f"{text}exit {done.returncode}\n"


def hostile(program):
    """Lines of anything: each is told, none ends the program."""
    chance = random.Random(15)
    words = [b"set", b"delete", b"show", b"edit", b"move", b"up", b"commit", b"load merge", b"interface gpon 1 1 1 onu", b"1-9", b"|",
             b"{", b"/config/", b"'", b'"', b"\\", b"\0", b"\xff\xfe", b"#", b"\xe2\x80", b"1" * 5000, b"json", b"match", b"-", b","]
    lines = [b" ".join(chance.choices(words, k=chance.randrange(1, 8))) for _ in range(500)]
    done = subprocess.run([program, "--running", os.path.join(HERE, "running.xml"), "--continue"], input=b"\n".join(lines),
                          capture_output=True, check=False, timeout=120)
    assert done.returncode == 3 and done.stderr.count(b"stdin:") > 300, (done.returncode, done.stderr[-500:])
    assert b"NUL byte" in done.stderr and b"Not UTF-8" in done.stderr and b"\0" not in done.stdout + done.stderr


def main():
    update = sys.argv[1] == "--update"
    program = os.path.abspath(sys.argv[-1])
    hostile(program)
    wrong = 0
    root = os.path.join(HERE, "scripts")
    for name in sorted(os.listdir(root)):
        folder = os.path.join(root, name)
        with open(os.path.join(folder, "script"), encoding="utf-8") as file:
            script = file.read()
        with tempfile.TemporaryDirectory() as scratch:
            actual = run(program, folder, script, scratch)
        expected = os.path.join(folder, "expected.txt")
        if update:
            with open(expected, "w", encoding="utf-8") as file:
                file.write(actual)
            continue
        with open(expected, encoding="utf-8") as file:
            if file.read() != actual:
                wrong += 1
                print(f"{name}:\n{actual}")
                subprocess.run(["diff", "-u", expected, "-"], input=actual, text=True, check=False)
    return 1 if wrong else 0


sys.exit(main())
