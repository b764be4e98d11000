#!/usr/bin/python3
"""A server that stays, whatever clients and the plug-in do.

usage: robustness.py GPON_TWIN SCRIPTED_PLUGIN
"""
import os
import re
import socket
import sys
import threading
import time

from twin import NETCONF, Twin, errors_of

HERE = os.path.dirname(os.path.abspath(__file__))
CASES = os.path.join(HERE, "..", "..", "examples", "onu_bw_check")
RUNNING = os.path.join(HERE, "running.xml")
PROMPT = 1.0  # Others are answered within a second.
OK = "<ok/>"


def rpc(body, attributes='message-id="7"'):
    return f'<rpc {attributes} xmlns="{NETCONF}">{body}</rpc>'


def edit_of(text):
    return (f'<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>'
            f"<port-id>1</port-id><onu><onu-id>1</onu-id><description>{text}</description></onu></gpon></interface></config>")


DEEP = rpc("<discard-changes>" + '<a xmlns="urn:x">' * 100000 + "</a>" * 100000 + "</discard-changes>")
# A message, and the error's tag: the session goes on. Without a message-id base:1.0 has no answer, and the session ends.
MESSAGES = [
    ("cut off", rpc("<get-config><source>")[:-20], "malformed-message", True),
    ("no XML", "hello there", "malformed-message", False),
    ("nothing", " ", "malformed-message", False),
    ("no message-id", rpc("<get/>", ""), "missing-attribute", True),
    ("an unknown operation", rpc("<make-coffee/>"), "operation-not-supported", True),
    ("an unknown namespace", rpc('<x xmlns="urn:x"/>'), "unknown-namespace", True),
    ("no operation", rpc(""), "malformed-message", True),
    ("two operations", rpc("<get/><get/>"), "malformed-message", True),
    ("another message", f'<hello xmlns="{NETCONF}"/>', "malformed-message", False),
    ("no namespace", '<rpc message-id="1"><get/></rpc>', "malformed-message", False),
    ("no namespace on config", rpc('<edit-config><target><candidate/></target><config xmlns=""/></edit-config>'), "unknown-namespace", True),
    ("a document type", '<!DOCTYPE rpc [<!ENTITY a "a">]>' + rpc("<get/>"), "malformed-message", False),
    ("bytes that are no UTF-8", rpc("<get/>\u00e4").encode("latin1"), "malformed-message", True),
    ("a NUL", rpc("\0<get/>"), "malformed-message", True),
    ("depth", DEEP, "too-big", True),
    ("size", rpc("<get/>" + " " * (3 << 20)), "too-big", True),
    ("our own message", rpc('<reject xmlns="urn:olt:gpon:twin:reject"/>'), "operation-not-supported", True),
    ("no source", rpc("<get-config/>"), "missing-element", True),
]
FRAMES = [b"\n#abc\nxx\n##\n", b"\n#0\n\n##\n", b"\n##\n", b"#5\nhello\n##\n", b"\n#5\nhel]]>]]>", b"\n#4294967296\n", b"\n#01\nx\n##\n",
          b"\n#99999999999999999999", rpc("<get/>").encode() + b"]]>]]>", b"\n#3\nabcd"]


def check_messages(program):
    with Twin(program, RUNNING, "--max-message", "2", ssh=False) as twin:
        for chunked in (True, False):
            for name, message, tag, goes_on in MESSAGES:
                client = twin.raw(chunked=chunked)
                try:
                    client.send(message)
                    reply = client.receive()
                    tags = [error["tag"] for error in errors_of(reply)]
                    assert tags == [tag], f"{name}: {tags}"
                    assert ("message-id=" in reply) == ("message-id=" in str(message) and goes_on), f"{name}: {reply}"
                    assert OK in client.rpc("<discard-changes/>"), name
                except EOFError:
                    assert not chunked and not goes_on, f"{name}: the session ended"
                client.close()
        for frame in FRAMES:
            client = twin.raw()
            client.socket.sendall(frame)
            try:
                raise AssertionError(f"{frame}: {client.receive()}")
            except (EOFError, ConnectionError):
                client.close()
        # Whatever is on the request comes back.
        client = twin.raw()
        attributes = 'message-id="&lt;a b&gt;" xmlns:ex="http://example.net/content/1.0" ex:user-id="fred"'
        client.send(rpc("<discard-changes/>", attributes))
        assert attributes in client.receive().replace("<a b>", "&lt;a b&gt;")
        # In pieces of every size, and several at once.
        for byte in b"\n#5\n<rpc \n#%d\n%s\n##\n" % (len(rpc("<get/>")) - 5, rpc("<discard-changes/>")[5:].encode()[:len(rpc("<get/>")) - 5]):
            client.socket.sendall(bytes([byte]))
        client.receive()
        for number in range(50):
            client.send(rpc("<discard-changes/>", f'message-id="{number}"'))
        ids = [re.search(r'message-id="(\d+)"', client.receive()).group(1) for _ in range(50)]
        assert ids == [str(number) for number in range(50)], ids
        assert OK in twin.raw().rpc("<discard-changes/>")


def check_vanishing_clients(program):
    """In the middle of everything, and with answers that they do not read."""
    with Twin(program, RUNNING, ssh=False) as twin:
        for number in range(40):
            client = twin.raw(greets=number % 4 != 0)
            if number % 4 == 1:
                client.socket.sendall(b"\n#1000\n<rpc")
            elif number % 4 == 2:
                # What an edit changes without the lock stays when its client goes.
                if OK in client.rpc("<lock><target><candidate/></target></lock>"):
                    client.edit(edit_of("left"))
            elif number % 4 == 3:
                for _ in range(20):
                    client.send(rpc("<get/>"))
            client.close()
        survivor = twin.raw()
        deadline = time.monotonic() + 20
        while OK not in (reply := survivor.rpc("<lock><target><candidate/></target></lock>")):
            assert time.monotonic() < deadline, reply
            time.sleep(0.02)
        assert "left" not in survivor.rpc("<get-config><source><candidate/></source></get-config>")


def check_mute_clients(program):
    """At the door of SSH, and of the UNIX socket; others come in meanwhile."""
    with Twin(program, RUNNING) as twin:
        mute = [socket.create_connection(("127.0.0.1", twin.port)) for _ in range(60)]
        mute += [twin.raw(greets=False) for _ in range(20)]
        begin = time.monotonic()
        with twin.connect_ssh() as client:
            client.get_config("running")
        twin.raw().rpc("<get/>")
        took = time.monotonic() - begin
        assert took < 5 * PROMPT, f"{took:.1f} s"
        for one in mute:
            one.close()


def answered_meanwhile(twin, stop):
    """The longest time that another session waits for its answers until then."""
    client = twin.raw()
    longest = 0
    while not stop.is_set():
        begin = time.monotonic()
        client.rpc("<get-config><source><running/></source></get-config>")
        client.edit(edit_of("meanwhile"))
        reply = client.rpc("<validate><source><running/></source></validate>")
        longest = max(longest, time.monotonic() - begin)
        assert OK in reply or errors_of(reply)[0]["tag"] == "in-use", reply
    return longest


def check_plugin(program, plugin):
    """A plug-in that dies or hangs: the commit gets an error that says so, nothing has changed, the next one is fine."""
    for act, words in (("fault", "signal 9"), ("exit:3", "exit"), ("throw:it", "it"), ("hang", "no answer within 3 s")):
        os.environ["GPON_TEST_SCRIPT"] = f"onu_pwd_sn_unique_check={act}"
        with Twin(program, RUNNING, "--plugin", plugin, "--timeout", "3", ssh=False) as twin:
            client, stop, longest = twin.raw(), threading.Event(), []
            client.edit(edit_of("new"))
            client.edit(edit_of("new").replace("<description>new</description>",
                                               "<auth-method><serial-number>ALCL00000C01</serial-number></auth-method>"))
            other = threading.Thread(target=lambda: longest.append(answered_meanwhile(twin, stop)))
            other.start()
            errors = errors_of(client.rpc("<commit/>"))
            stop.set()
            other.join()
            assert len(errors) == 1 and words in errors[0]["message"], f"{act}: {errors}"
            assert "new" not in client.rpc("<get-config><source><running/></source></get-config>")
            assert longest and longest[0] < 2 * PROMPT, f"{act}: others waited {longest} s"
            client.rpc("<discard-changes/>")
            client.edit(edit_of("fine"))
            assert OK in client.rpc("<commit/>"), act


def check_trials(program):
    """--fail and --latency: the third commit, and a rule whose first request of the framework fails."""
    with Twin(program, RUNNING, "--fail", "discard-changes:3", "--latency", "30", ssh=False) as twin:
        client = twin.raw()
        begin = time.monotonic()
        assert [OK in client.rpc("<discard-changes/>") for _ in range(4)] == [True, True, False, True]
        assert time.monotonic() - begin > 0.12
    with open(os.path.join(CASES, "both-above", "change.xml"), encoding="utf-8") as file:
        overbooked = file.read()
    # What that rule cannot read it does not object to.
    for options, answer in (((), "onu_bw_check"), (("--fail", "onu_bw_check:5"), "onu_bw_check"),
                            (("--fail", "onu_bw_check", "--call-latency", "2000"), OK)):
        with Twin(program, os.path.join(CASES, "running.xml"), *options, card=os.path.join(CASES, "card.json"), ssh=False) as twin:
            client = twin.raw()
            client.edit(overbooked)
            begin = time.monotonic()
            assert answer in client.rpc("<commit/>"), options
            assert "--call-latency" not in options or time.monotonic() - begin > 0.002


def check_process_dies(program):
    """The check process is killed; it is started anew with what runs now."""
    with Twin(program, RUNNING, ssh=False) as twin:
        client = twin.raw()
        for number in range(3):
            client.edit(edit_of(f"commit-{number}"))
            assert OK in client.rpc("<commit/>")
            children = os.popen(f"pgrep -P {twin.process.pid}").read().split()
            assert len(children) == 1, children
            os.kill(int(children[0]), 9)
            client.edit(edit_of(f"other-{number}"))
            reply = client.rpc("<commit/>")
            assert OK in reply or "check process" in reply, reply
            assert OK in client.rpc("<commit/>")
            assert f"other-{number}" in client.rpc("<get-config><source><running/></source></get-config>")


def main():
    program, plugin = [sys.argv[1]], sys.argv[2]
    checks = [check_messages, check_vanishing_clients, check_mute_clients, lambda words: check_plugin(words, plugin),
              check_process_dies, check_trials]
    for check in checks:
        check(program)
        print(f"passed: {getattr(check, '__doc__', None) or check.__name__}", flush=True)


main()
