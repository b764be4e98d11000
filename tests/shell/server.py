#!/usr/bin/python3
"""The shell on a server: commands, warnings to confirm, SSH, roles, other clients, and a server that vanishes.

usage: server.py GPON_SHELL GPON_TWIN SCRIPTED_PLUGIN
"""
import os
import signal
import socket
import subprocess
import sys
import threading
import time

import pexpect

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "twin"))
from twin import Twin  # noqa: E402

ONU = "interface gpon 1 1 1 onu 1"
STEPS = [  # Commands, options, exit code, and what must, or behind ! must not, be printed.
    (f"show {ONU} auth-method", [], 0, ["serial-number: ALCL00000A01", "password: ***"]),
    (f"set {ONU} description here\nshow | compare\ncommit\nhistory\nrollback 1\ncommit", [], 0,
     ["description: first → here", "Committed.", "commit  (rollback 1 undoes it)", "!keeps no history"]),
    # Another shell, of the same history.
    (f"history 1\nrollback 1\nshow | compare\nrollback 2\nshow | compare\nrollback 3", [], 3,
     ["description: first → here", "The configurations are equal.", "!rollback 2 undoes it", "the server knows 2 commits"]),
    (f"delete {ONU}\nheadroom", [], 0, ["1/1/1     2 → 1"]),
    ("rollback", [], 0, []),
    ("set interface gpon 1 1 1 onu 2 auth-method serial-number ALCL00000A01\nvalidate\nexplain\nexplain | json\nrollback", ["--continue"], 1,
     ["rejected: ONU serial number must be unique.", "/config/interface/gpon{1 1 1}/onu (onu_pwd_sn_unique_check)",
      "to resolve: ", "described in ", '"rule": "onu_pwd_sn_unique_check"']),
    ("set interface gpon 1 1 1 downstream-fec true\ncommit\nrollback", ["--continue"], 2,
     ["warning: The change in FEC", "(fec_confirmation_warning)", "Not confirmed", "!Committed"]),
    ("set interface gpon 1 1 1 downstream-fec true\ncommit yes\nshow interface gpon 1 1 1 downstream-fec", [], 0,
     ["Committed.", "downstream-fec: true"]),
    (f"set {ONU} admin-state neither", [], 3, ["stdin:1: ", "allowed: disabled, enabled"]),
    ("show | compare", [], 0, ["The configurations are equal."]),
]


def shell(program, address, script, *options):
    done = subprocess.run([program, "--connect", address, *options], input=script + "\n", stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False, timeout=60)
    return done.returncode, done.stdout


def steps(program, address):
    for script, options, code, parts in STEPS:
        actual = shell(program, address, script, *options)
        assert actual[0] == code, (script, actual)
        for part in parts:
            assert (part[1:] not in actual[1]) if part[0] == "!" else (part in actual[1]), (script, part, actual[1])


class Open:
    """A shell that waits for more."""

    def __init__(self, program, address, *options):
        self.child = subprocess.Popen([program, "--connect", address, "--continue", *options], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)

    def type(self, script, until):
        """Returns what is printed up to the line that holds a text."""
        self.child.stdin.write(script + "\n")
        self.child.stdin.flush()
        lines = []
        while not lines or until not in lines[-1]:
            lines.append(self.child.stdout.readline())
            assert lines[-1], (script, until, lines)
        return "".join(lines)

    def end(self, script):
        return self.child.communicate(script + "\n", timeout=60)[0]


def vanishes(program, twin):
    """What was not committed is made again; a commit that took place is not; nothing is done while the server is gone."""
    shell_ = Open(program, twin.socket)
    shell_.type(f"set {ONU} description kept\nshow {ONU} description", "description: kept")
    twin.stop(signal.SIGKILL)
    shell_.type(f"set {ONU} description lost", "is gone")
    shell_.type("show | compare", "first → kept")
    twin.start()
    shell_.type("show | compare", "in the candidate again")
    shell_.type("", "first → kept")
    shell_.type("commit", "Committed.")
    shell_.type(f"set {ONU} description unconfirmed\ncommit confirmed 5", "Committed, and undone in 5 min")
    twin.stop(signal.SIGKILL)
    twin.start()
    output = shell_.end(f"show {ONU} description")
    assert "the commit that was not confirmed is undone" in output and "description: kept" in output, output


def others(program, twin):
    """What other sessions, and time, change is told."""
    shell_ = Open(program, twin.socket)
    shell_.type("show interface gpon 1 1 2", "gpon{1 1 2}")
    code, output = shell(program, twin.socket, f"set {ONU} description theirs\ncommit")
    assert code == 0, output
    assert "has changed what is running" in shell_.type(f"show {ONU} description", "description: theirs")
    shell(program, twin.socket, f"set {ONU} description pending")  # The candidate is everybody's.
    shell_.type("show | compare", "theirs → pending")
    shell_.type("commit confirmed 1\ncommit", "The commit before is confirmed.")
    shell_.type(f"set {ONU} description late\ncommit confirmed 1", "Committed")
    while "undone" not in shell_.type(f"show {ONU} description", "description: "):
        time.sleep(0.05)
    output = shell_.end(f"show {ONU} description\nset {ONU} description later\ncommit confirmed 1")
    assert "description: pending" in output and "A commit is not confirmed: it is undone" in output, output


def relayed(program, twin, hidden, *script):
    """What a shell makes of a server that lacks some words."""
    path = os.path.join(twin.state, "relay.sock")

    def copy(source, target):
        while data := source.recv(65536):
            for word in hidden:
                data = data.replace(word, b"_" * len(word))
            target.sendall(data)
        target.shutdown(socket.SHUT_WR)

    def relay():
        client, _ = listener.accept()
        with client, socket.socket(socket.AF_UNIX) as server:
            server.connect(twin.socket)
            thread = threading.Thread(target=copy, args=(client, server))
            thread.start()
            copy(server, client)
            thread.join()

    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(path)
        listener.listen()
        thread = threading.Thread(target=relay)
        thread.start()
        code, output = shell(program, path, "\n".join(script), "--continue")
        thread.join()
    os.unlink(path)
    return code, output


def poorer_servers(program, twin):
    """Servers without a history and events, without a candidate, and with another model."""
    code, output = relayed(program, twin, [b"urn:olt:gpon:twin:history?", b"capability:interleave"], "history",
                           f"set {ONU} description plain", "commit", "history", "rollback 2", "rollback 1", "show | compare", "commit")
    assert code == 3 and "plain → pending" in output and "this shell made 1 commit, no more" in output, output
    assert output.count("The server keeps no history") == 2 and "1 changed  (rollback 1 undoes it)" in output, output
    code, output = relayed(program, twin, [b"capability:candidate"], "show")
    assert code == 3 and "has no candidate" in output, output
    code, output = relayed(program, twin, [b"pon:base"], "show")
    assert code == 3 and "relay.sock:1: No module with namespace" in output, output


def interrupts(program, twin):
    """^C leaves a commit whose rule hangs to the server; the shell goes on, and the change stays in the candidate."""
    child = pexpect.spawn(program, ["--connect", twin.socket, "--no-history"], encoding="utf-8", timeout=30,
                          env={**os.environ, "TERM": "xterm", "NO_COLOR": "1"})
    child.sendline("set interface gpon 1 1 1 downstream-fec true")
    child.expect("# ")
    child.sendline("commit")
    child.expect("commit\r\n")
    other = shell(program, twin.socket, "validate")
    while "being checked" not in other[1]:  # Then the rules are being asked.
        other = shell(program, twin.socket, "validate")
    child.send("\x03")
    child.expect("interrupted: connected again")
    child.sendline("show | compare")
    child.expect("false → true")
    child.sendline("exit")
    child.expect("stay in the server's candidate")
    child.sendline("yes")
    child.expect(pexpect.EOF)


def over_ssh(program, twin):
    """A server must be known; who may not edit is told so, and who is no admin sees no secrets."""
    known = os.path.join(twin.state, "known_hosts")

    def ask(user, script):
        return shell(program, f"{user}@127.0.0.1:{twin.port}", script, "--key", f"{twin.key}_{user}", "--known-hosts", known)

    code, output = ask("eve", "show")
    assert code == 3 and "is not known" in output, output
    with open(known, "w", encoding="utf-8") as file:
        subprocess.run(["ssh-keyscan", "-p", str(twin.port), "127.0.0.1"], stdout=file, stderr=subprocess.DEVNULL, check=True)
    code, output = ask("eve", f"show {ONU} auth-method | secrets\nset {ONU} description eve\ncommit")
    assert code == 0 and "password: rose" in output and "Committed." in output, output
    code, output = ask("vera", f"show {ONU} auth-method | secrets")
    assert code == 3 and "password: ***" in output and "to admins alone" in output, output
    code, output = ask("vera", f"history\nsave {twin.state}/masked.xml\nset {ONU} description vera")
    assert code == 3 and "eve  commit" in output and "without the secrets" in output and "refuses: " in output, output


def main():
    program, server, plugin = sys.argv[1:]
    running = os.path.join(HERE, "running.xml")
    with Twin([server], running, ssh=False) as twin:
        steps(program, twin.socket)
    with Twin([server], running, ssh=False) as twin:
        vanishes(program, twin)
    with Twin([server], running, "--time-scale", "300", ssh=False) as twin:
        others(program, twin)
        poorer_servers(program, twin)
        code, output = shell(program, "/nowhere/netconf.sock", "show")
        assert code == 3 and "cannot be reached" in output, output
    with Twin([server], running) as twin:
        over_ssh(program, twin)
    os.environ["GPON_TEST_SCRIPT"] = "fec_confirmation_warning=hang"
    with Twin([server], running, "--plugin", plugin, "--timeout", "3", ssh=False) as twin:
        interrupts(program, twin)
    print(f"{len(STEPS)} scripts")


main()
