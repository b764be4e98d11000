#!/usr/bin/python3
"""Kills the server at random moments of a stream of commits: what was answered is there, and nothing that was not asked.

usage: crash.py GPON_TWIN KILLS [SECONDS [SEED]]

SECONDS is how long it may live at most.
"""
import os
import random
import re
import shutil
import signal
import sys
import tempfile
import threading
import time

from twin import Twin

HERE = os.path.dirname(os.path.abspath(__file__))
GET = "<get-config><source><running/></source></get-config>"


def edit_of(number):
    """Both ONUs get the number: half a commit would show."""
    onus = "".join(f"<onu><onu-id>{onu}</onu-id><description>n{number}</description></onu>" for onu in (1, 2))
    return (f'<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>'
            f"<port-id>1</port-id>{onus}</gpon></interface></config>")


def commit_until_killed(twin, number):
    """@return The last number that was answered, and the last that was asked for."""
    answered = number
    try:
        client = twin.raw()
        while True:
            number += 1
            client.edit(edit_of(number))
            assert "<ok/>" in client.rpc("<commit/>")
            answered = number
    except (OSError, EOFError):
        return answered, number


def main():
    program, kills = [sys.argv[1]], int(sys.argv[2])
    life = float(sys.argv[3]) if len(sys.argv) > 3 else 0.25
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 30)
    dice = random.Random(seed)
    state = tempfile.mkdtemp(prefix="gpon-twin-crash-")
    answered = asked = 0
    commits = 0
    try:
        for kill in range(kills):
            twin = Twin(program, os.path.join(HERE, "running.xml"), state=state, ssh=False).start()
            text = twin.raw().rpc(GET)
            found = re.findall(r"<description>(?:n(\d+)|first|second)<", text)
            assert len(found) == 2 and found[0] == found[1], f"half a commit: {text}"
            running = int(found[0] or 0)
            assert answered <= running <= asked, f"seed {seed}, kill {kill}: {running} runs, {answered} was answered, {asked} asked"
            timer = threading.Timer(dice.uniform(0, life), lambda one=twin.process: one.send_signal(signal.SIGKILL))
            timer.start()
            answered, asked = commit_until_killed(twin, running)
            commits += answered - running
            timer.join()
            twin.stop(signal.SIGKILL)
    finally:
        shutil.rmtree(state)
    print(f"seed {seed}: {kills} kills, {commits} commits answered, none lost and none invented")
    return 0 if commits > kills else 1


sys.exit(main())
