#!/usr/bin/python3
"""The shell at a terminal: what somebody types, and what must stand on the screen then.

usage: terminal.py EXAMPLES PAGE GPON_SHELL SCRIPTED_PLUGIN
"""
import os
import re
import stat
import sys
import tempfile
import time

import pexpect

TAB, CTRL_C, CTRL_D, ENTER = "\t", "\x03", "\x04", "\r"

class Screen:
    """A shell in a terminal of so many columns."""

    def __init__(self, program, folder, running, *options, columns=100):
        environment = {"TERM": "xterm", "LC_ALL": "C.UTF-8", "NO_COLOR": "1", "XDG_STATE_HOME": folder, "PATH": os.environ["PATH"],
                       "GPON_TEST_SCRIPT": os.environ.get("GPON_TEST_SCRIPT", "")}
        self.child = pexpect.spawn(program, ["--running", running, *options], env=environment, encoding="utf-8",
                                   dimensions=(50, columns), timeout=60, cwd=folder)  # Where it saves files.
        self.child.expect("> ")

    def type(self, keys, *expected):
        """Each of the expected parts must come, one after the other."""
        self.child.send(keys)
        for part in expected:
            self.child.expect(part)
        return self.child.before

    def leave(self):
        self.child.send("exit" + ENTER)
        if self.child.expect([pexpect.EOF, re.escape("[yes,no] ")]) == 1:
            self.child.send("yes" + ENTER)
            self.child.expect(pexpect.EOF)
        self.child.close()
        assert self.child.exitstatus == 0, self.child


def completion(program, folder, full_card):
    """Each kind of node: commands, names, keys, enumerations, leafrefs, also of a list of 4096."""
    card = os.path.join(full_card, "card.json")
    screen = Screen(program, folder, os.path.join(full_card, "running.xml"), "--card", card)
    screen.type("?", "set +Set a value", "exit +Leave")
    screen.type("hel" + TAB, "p ")
    screen.type("se" + TAB + ENTER, "t ", "Set a value")
    screen.type("se" + TAB + "inter" + TAB + "g" + TAB, "face ", "gpon ")
    screen.type("?", "Always 1")
    screen.type("1 1 3 onu ?", "<1..128>", "  1\r", "  128\r")
    screen.type("5 adm" + TAB + "?", "in-state ", "disabled +The ONU carries no traffic", "enabled")
    screen.type("en" + TAB, "abled ")
    screen.type("profile-references line-profile busin" + TAB, "ess ")
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.type("show | " + TAB, "compare +What is different", "secrets")
    screen.type("mat" + TAB, "ch ")
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.type("show serv" + TAB, "ice-port ")
    screen.type("409" + TAB, "  409\r", "  4096\r")
    screen.child.delaybeforesend = None
    times = []
    for _ in range(5):
        start = time.monotonic()
        screen.type("?", "  409\r", "  4096\r")
        times.append(time.monotonic() - start)
    assert min(times) < 0.1, f"completions in a list of 4096 took {times} s"
    screen.type("6 ?", "description|port")
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.type("delete interface gpon 9 9 9 onu ?", "<1..128>")
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.type("set nonsense ?", "nothing may follow")
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.leave()


def commits(program, folder, running):
    """Warnings are asked about, objections are shown, and there is a way back."""
    screen = Screen(program, folder, running)
    screen.type("set interface gpon 1 1 1 downstream-fec true" + ENTER, "# ")
    screen.type("commit" + ENTER, "temporary data loss", re.escape("Proceed? [yes,no] "))
    screen.type("no" + ENTER, "Not confirmed.", "# ")
    screen.type("commit" + ENTER, re.escape("[yes,no] "))
    screen.type(CTRL_C, "Not confirmed.", "# ")
    screen.type("commit" + ENTER, re.escape("[yes,no] "))
    screen.type("maybe" + ENTER, re.escape("[yes,no] "))
    screen.type("yes" + ENTER, "Accepted after confirmation", "Committed", "> ")
    screen.type("set interface gpon 1 1 1 onu 2 auth-method serial-number ALCL00000A01" + ENTER, "# ")
    screen.type("commit" + ENTER, "rejected: .*serial number must be unique", "to resolve: ", "Rejected", "# ")
    screen.type("exit" + ENTER, "not committed. Leave all the same", re.escape("[yes,no] "))
    screen.type("no" + ENTER, "# ")
    screen.type("rollback 1" + ENTER, "# ")
    screen.type("show | compare" + ENTER, "downstream-fec: true → false", "1 changed", "# ")
    screen.type("rollback" + ENTER, "> ")
    screen.type("set interface gpon 1 1 1 onu 1 auth-method password violet" + ENTER, "# ")
    screen.type("edit interface gpon 1 1 1 onu 1" + ENTER, "interface gpon 1 1 1 onu 1# ")
    screen.type("show auth-method" + ENTER, re.escape("password: ***"), "# ")
    screen.type(CTRL_D, "Leave all the same", re.escape("[yes,no] "))
    screen.type("no" + ENTER, "# ")
    screen.leave()
    history = os.path.join(folder, "gpon-shell", "history")
    assert stat.S_IMODE(os.stat(history).st_mode) == 0o600, oct(os.stat(history).st_mode)
    with open(history, encoding="utf-8") as file:
        lines = file.read()
    assert "downstream-fec" in lines and "violet" not in lines, lines
    screen = Screen(program, folder, running)
    screen.type("\x1b[A\x1b[A\x1b[A", "edit interface")  # exit, show auth-method, edit ...
    screen.type(CTRL_C, re.escape("^C"), "> ")
    screen.leave()


def interrupts(program, folder, running, plugin):
    """A commit whose rule hangs ends with ^C; nothing is committed, and the next works."""
    os.environ["GPON_TEST_SCRIPT"] = "fec_confirmation_warning=hang"
    screen = Screen(program, folder, running, "--plugin", plugin)
    screen.type("set interface gpon 1 1 1 downstream-fec true" + ENTER, "# ")
    screen.type("commit" + ENTER, "commit")
    children = f"/proc/{screen.child.pid}/task/{screen.child.pid}/children"
    while not open(children, encoding="utf-8").read():  # Then the plug-in is being asked.
        time.sleep(0.01)
    screen.type(CTRL_C, "interrupted: nothing was committed", "# ")
    screen.type("set interface gpon 1 1 1 onu 1 description second" + ENTER, "# ")
    screen.type("delete interface gpon 1 1 1 downstream-fec" + ENTER, "# ")
    screen.type("commit" + ENTER, "Accepted", "Committed", "> ")
    screen.leave()


def texts(program, folder, running):
    """UTF-8, and what would steer the terminal; a terminal that is narrow."""
    screen = Screen(program, folder, running, columns=30)
    screen.type('set interface gpon 1 1 1 onu 1 description "Größe \u202e?"' + ENTER, "# ")
    screen.type("show interface gpon 1 1 1 onu 1 description" + ENTER, re.escape("Größe \\u{202e}?"), "# ")
    shown = screen.type("set ?", "interface ", "service-port", "set ")
    assert all(len(line.rstrip("\r")) < 30 for line in shown.split("\n")), shown
    screen.type(CTRL_C, re.escape("^C"))
    screen.type("edit interface gpon 1 1 1 onu 1" + ENTER, re.escape("onu 1# "))
    screen.type("top" + ENTER, "# ")
    screen.leave()


def documented(program, folder, full_card, page):
    """The session of the page, word by word."""
    with open(page, encoding="utf-8") as file:
        session = file.read().split("```console\n")[1].split("```")[0]
    screen = Screen(program, folder, os.path.join(full_card, "running.xml"), "--card", os.path.join(full_card, "card.json"), columns=200)
    shown = "> "
    for line in session.splitlines():
        typed = re.match(r"((?:interface .*)?[>#]|Proceed\? \[yes,no\]) (.*)", line)
        if typed:
            screen.child.send(typed.group(2) + ENTER)
            screen.child.expect(r"\r\n")
            screen.child.expect(r"[>#] \Z|\[yes,no\] \Z")
            shown += typed.group(2) + "\n" + screen.child.before + screen.child.after
    screen.leave()
    shown = re.sub(r"\x1b\[[\d;]*[A-Za-z]|\r", "", shown)
    assert shown.rstrip().endswith(">") and shown.strip()[:-1].strip() == session.strip(), shown


def main():
    examples, page, program, plugin = sys.argv[1:]
    running = os.path.join(os.path.dirname(os.path.abspath(__file__)), "running.xml")
    full_card = os.path.abspath(os.path.join(examples, "full-card"))
    for case, *arguments in ((completion, full_card), (documented, full_card, page), (commits, running), (texts, running),
                             (interrupts, running, os.path.abspath(plugin))):
        with tempfile.TemporaryDirectory() as folder:
            case(os.path.abspath(program), folder, *arguments)
            print(f"{case.__name__}: ok")


main()
