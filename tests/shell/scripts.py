#!/usr/bin/python3
"""Scripts of commands, and what people read: each folder of scripts/ has a script and expected.txt.

expected.txt holds all that is printed, and the exit code. The file `options` holds further words of the command line.
{scratch} is an empty folder.

usage: scripts.py [--update] GPON_SHELL
"""
import os
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


def main():
    update = sys.argv[1] == "--update"
    program = os.path.abspath(sys.argv[-1])
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
