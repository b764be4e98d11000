#!/usr/bin/python3
"""The shell on a server: commands, warnings to confirm, SSH, roles, and a server that vanishes.

usage: server.py GPON_SHELL GPON_TWIN
"""
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "twin"))
from twin import Twin  # noqa: E402

ONU = "interface gpon 1 1 1 onu 1"
STEPS = [  # Commands, options, exit code, and what must, or behind ! must not, be printed.
    (f"show {ONU} auth-method", [], 0, ["serial-number: ALCL00000A01", "password: ***"]),
    (f"set {ONU} description here\nshow | compare\ncommit\nhistory\nrollback 1\ncommit", [], 0,
     ["description: first → here", "Committed.", "1 changed  (rollback 1 undoes it)"]),
    ("set interface gpon 1 1 1 onu 2 auth-method serial-number ALCL00000A01\nvalidate\nexplain\nrollback", ["--continue"], 1,
     ["rejected: ONU serial number must be unique.", "/config/interface/gpon{1 1 1}/onu (onu_pwd_sn_unique_check)",
      "to resolve: ", "described in "]),
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


def vanishes(program, twin):
    """What was typed before is told of; the next commands work."""
    child = subprocess.Popen([program, "--connect", twin.socket, "--continue"], stdin=subprocess.PIPE,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    child.stdin.write("show interface gpon 1 1 2\n")
    child.stdin.flush()
    assert "gpon{1 1 2}" in child.stdout.readline()
    twin.stop()
    twin.start()
    output, _ = child.communicate(f"set {ONU} description lost\nset {ONU} description found\ncommit\n", timeout=60)
    assert "connected again" in output and "Committed." in output, output


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
    code, output = ask("vera", f"show {ONU} auth-method | secrets\nset {ONU} description vera")
    assert code == 3 and "password: ***" in output and "refuses: " in output, output


def main():
    program, server = sys.argv[1:]
    with Twin([server], os.path.join(HERE, "running.xml"), ssh=False) as twin:
        steps(program, twin.socket)
        vanishes(program, twin)
        code, output = shell(program, "/nowhere/netconf.sock", "show")
        assert code == 3 and "cannot be reached" in output, output
    with Twin([server], os.path.join(HERE, "running.xml")) as twin:
        over_ssh(program, twin)
    print(f"{len(STEPS)} scripts")


main()
