#!/usr/bin/python3
"""What the server answers, request by request: scripts of sessions a, b, ... over the UNIX socket.

usage: protocol.py GPON_TWIN [SCRIPT...]

A step is (session, request, answer). The answer is "ok", or the tags of all rpc-errors, or parts that the reply
must (or, behind !, must not) hold.
"""
import os
import re
import sys
import time
import traceback

from twin import CONFIRM, NETCONF, Twin, errors_of

HERE = os.path.dirname(os.path.abspath(__file__))


def onu(onu_id, content, link=1):
    return (f'<config xmlns="urn:olt:gpon:base" xmlns:nc="{NETCONF}"><interface><gpon><chassis-id>1</chassis-id>'
            f"<slot-id>1</slot-id><port-id>{link}</port-id>{content if onu_id is None else ''}"
            + (f"<onu><onu-id>{onu_id}</onu-id>{content}</onu>" if onu_id else "") + "</gpon></interface></config>")


def edit(config, *more, target="candidate"):
    return f"<edit-config><target><{target}/></target>{''.join(more)}<config>{config}</config></edit-config>"


def commits(more=""):
    return f'<get-commits xmlns="urn:olt:gpon:twin:history">{more}</get-commits>'


def describe(text, onu_id=1, **more):
    return edit(onu(onu_id, f"<description>{text}</description>"), **more)


def fec(value):
    return edit(onu(None, f"<downstream-fec>{value}</downstream-fec>", link=2))


def get_config(source="running", more=""):
    return f"<get-config><source><{source}/></source>{more}</get-config>"


def on(verb, target):
    return f"<{verb}><target><{target}/></target></{verb}>"


def copy(source, target, config=None):
    return (f"<copy-config><target><{target}/></target><source>"
            + (f"<config>{config}</config>" if config else f"<{source}/>") + "</source></copy-config>")


CONFIRMED = f'<confirm-warnings xmlns="{CONFIRM}"/>'
COMMIT, DISCARD = "<commit/>", "<discard-changes/>"
VALIDATE = "<validate><source><candidate/></source></validate>"
TWICE = edit(onu(2, "<auth-method><serial-number>ALCL00000A01</serial-number></auth-method>"))
TWO_FAULTS = edit(onu(2, "<auth-method><serial-number>ALCL00000A01</serial-number><password>rose</password></auth-method>"))


def subtree(filter_text):
    return f'<filter type="subtree">{filter_text}</filter>'


def xpath(expression):
    return f'<filter type="xpath" xmlns:b="urn:olt:gpon:base" select="{expression}"/>'


def with_defaults(mode):
    return f'<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">{mode}</with-defaults>'


def confirmed(timeout=None, persist=None, persist_id=None):
    return ("<commit><confirmed/>" + (f"<confirm-timeout>{timeout}</confirm-timeout>" if timeout else "")
            + (f"<persist>{persist}</persist>" if persist else "")
            + (f"<persist-id>{persist_id}</persist-id>" if persist_id else "") + "</commit>")


def refused(tag, attribute=None, element=None, kind="protocol", namespace=None):
    """Parts of an rpc-error; its error-info in the order of the standard's examples."""
    info = "".join(f"<bad-{name}>{value}</bad-{name}>" for name, value in
                   (("attribute", attribute), ("element", element), ("namespace", namespace)) if value)
    return [f"<error-type>{kind}</error-type><error-tag>{tag}<"] + ([f"<error-info>{info}"] if info else [])


def content(leaves):
    """An edit of link 1, which has downstream-fec set to its default."""
    return edit(onu(None, leaves).replace("<config", '<config xmlns:wd="urn:ietf:params:xml:ns:netconf:default:1.0"', 1))


def rollback(number, more=""):
    return f'<rollback xmlns="urn:olt:gpon:twin:history"><commit>{number}</commit>{more}</rollback>'


WD = 'xmlns:wd="urn:ietf:params:xml:ns:netconf:default:1.0"'
# Something to delete that is not there, something to create that is there, and something that fits.
MISFITS = edit(onu(1, "<description>fits</description><auth-method><password nc:operation='create'>thorn</password></auth-method>").replace(
    "</gpon>", '<onu nc:operation="delete"><onu-id>9</onu-id></onu></gpon>'))
CONTINUED = MISFITS.replace("<config>", "<error-option>continue-on-error</error-option><config>", 1)
FEC_2 = "<port-id>2</port-id><downstream-fec>"
SUBSCRIBE = '<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0">{}</create-subscription>'
STATE = '<netconf-state xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring">{}</netconf-state>'
SESSIONS = subtree(STATE.format("<sessions/>"))

SCRIPTS = {
    "an edit is seen in the candidate, after the commit in running": [
        ("a", describe("new"), "ok"),
        ("b", get_config("candidate"), ["<description>new<"]),
        ("b", get_config(), ["<description>first<", "!new"]),
        ("a", COMMIT, "ok"),
        ("b", get_config(), ["<description>new<"]),
        ("a", describe("newer"), "ok"), ("a", describe("newest", 2), "ok"), ("a", COMMIT, "ok"),
        ("b", get_config(), ["<description>newer<", "<description>newest<"]),
        ("a", describe("gone"), "ok"), ("b", DISCARD, "ok"), ("a", COMMIT, "ok"),
        ("a", get_config("candidate"), ["<description>newer<", "!gone"]),
    ],
    "operations": [
        ("a", edit(onu(3, '<description nc:operation="create">x</description>')), "ok"),
        ("a", edit(onu(3, '<description nc:operation="create">x</description>')), ["data-exists"]),
        ("a", edit(onu(4, '<description nc:operation="delete"/>')), ["data-missing"]),
        ("a", edit(onu(3, "<description>y</description>"), "<default-operation>none</default-operation>"), "ok"),
        ("a", get_config("candidate"), ["!<description>y<"]),
        ("a", edit(onu(9, ""), "<default-operation>none</default-operation>"), ["data-missing"]),
        ("a", edit(onu(5, "<description>alone</description>"), "<default-operation>replace</default-operation>"), "ok"),
        ("a", get_config("candidate"), ["alone", "!second", FEC_2.replace("2<", "1<", 1) and "!<port-id>2<"]),
        ("a", COMMIT, ["operation-failed"]), ("a", DISCARD, "ok"),
        ("a", edit(onu(1, "<description>half</description>") .replace("</interface>", "</interface><nonsense/>")), ["unknown-element"]),
        ("a", get_config("candidate"), ["!half"]),
        ("a", edit(onu(1, "<onu-id>x</onu-id>")), ["!<ok/>", "<error-path"]),
        ("a", edit('<config xmlns="urn:nobody"><x/></config>'), ["unknown-namespace"]),
        ("a", edit("<config><x/></config>"), ["!<ok/>", "<error-message"]),
    ],
    "rejections: all of them, with rule, path, cause and page": [
        ("a", TWO_FAULTS, "ok"),
        ("a", VALIDATE, ["<error-app-tag>onu_pwd_sn_unique_check<", "base:port-id='1']/base:onu<", "<cause", "<page", "<resolution"]),
        ("a", COMMIT, ["operation-failed"]),
        ("a", get_config(), ["ALCL00000A02"]),
        ("a", get_config("candidate"), ["!ALCL00000A02"]),
    ],
    "warnings are confirmed, or nothing changes": [
        ("a", fec("false"), "ok"),
        ("a", VALIDATE, ["<error-app-tag>confirmation-required<", "<error-severity>warning<", "fec_confirmation_warning"]),
        ("a", COMMIT, ["operation-failed", "operation-failed"]),
        ("a", get_config(), [FEC_2 + "true"]),
        ("a", f"<validate><source><candidate/></source>{CONFIRMED}</validate>", "ok"),
        ("a", f"<commit>{CONFIRMED}</commit>", "ok"),
        ("a", get_config(), [FEC_2 + "false"]),
        ("a", "<commit><confirm-warnings/></commit>", ["<rpc-error", "confirm-warnings"]),
    ],
    "what is tested first is not kept when it is refused": [
        ("a", describe("kept"), "ok"),
        ("a", edit(onu(2, "<auth-method><serial-number>ALCL00000A01</serial-number></auth-method>"),
                   "<test-option>test-then-set</test-option>"), ["operation-failed"]),
        ("a", get_config("candidate"), ["kept", "ALCL00000A02"]),
        ("a", describe("tried", 2).replace("<config>", "<test-option>test-only</test-option><config>", 1), "ok"),
        ("a", get_config("candidate"), ["kept", "!tried"]),
        ("a", edit(onu(2, "<description>both</description>"), "<test-option>test-then-set</test-option>"), "ok"),
        ("a", get_config("candidate"), ["kept", "both"]),
    ],
    "locks": [
        ("a", on("lock", "candidate"), "ok"),
        ("b", on("lock", "candidate"), ["<error-tag>lock-denied<", "<session-id>{a}<"]),
        ("b", describe("x"), ["in-use"]), ("b", COMMIT, ["in-use"]), ("b", DISCARD, ["in-use"]),
        ("b", on("unlock", "candidate"), ["operation-failed"]),
        ("a", describe("x"), "ok"), ("a", on("unlock", "candidate"), "ok"),
        ("b", on("lock", "candidate"), ["<error-tag>lock-denied<", "<session-id>0<"]),
        ("b", on("lock", "running"), "ok"), ("a", COMMIT, ["in-use"]),
        ("b", "close", None), ("a", COMMIT, "ok"),
        ("a", on("lock", "startup"), "ok"), ("c", copy("running", "startup"), ["in-use"]),
        ("c", describe("left behind"), "ok"), ("c", DISCARD, "ok"),
        ("c", on("lock", "candidate"), "ok"), ("c", describe("left behind"), "ok"), ("c", "close", None),
        ("a", get_config("candidate"), ["!left behind"]),
    ],
    "startup is a copy": [
        ("a", copy("running", "startup"), "ok"),
        ("a", describe("later"), "ok"), ("a", COMMIT, "ok"),
        ("a", get_config("startup"), ["first", "!later"]),
        ("a", copy("startup", "candidate"), "ok"), ("a", COMMIT, "ok"), ("a", get_config(), ["first", "!later"]),
        ("a", copy(None, "startup", onu(1, "<description>inline</description>")), "ok"),
        ("a", get_config("startup"), ["inline", "!second"]),
        ("a", "<validate><source><startup/></source></validate>", ["!<ok/>"]),
        ("a", on("delete-config", "startup"), "ok"), ("a", get_config("startup"), ["!inline"]),
        ("a", on("delete-config", "candidate"), ["!<ok/>"]),
        ("a", copy("running", "running"), ["!<ok/>"]),
        ("a", copy(None, "candidate", onu(1, "").replace("</gpon>", "<onu><onu-id>1</onu-id></onu></gpon>")),
         refused("bad-element", None, "onu", "application")),
        ("a", f"<validate><source><config>{onu(1, '')}</config></source></validate>", ["!<ok/>"]),
        ("a", "<validate><source><running/></source></validate>", "ok"),
    ],
    "running is written by commits": [
        ("a", "hello", ["!writable-running"]),
        ("a", describe("direct", target="running"), ["!<ok/>"]),
        ("a", copy("startup", "running"), ["!<ok/>"]),
    ],
    "filters": [
        ("a", get_config(more=subtree('<config xmlns="urn:olt:gpon:base"><interface><gpon><port-id>1</port-id><onu><description>second'
                                      "</description></onu></gpon></interface></config>")), ["<onu-id>2<", "!<onu-id>1<", "!port-id>2<"]),
        ("a", get_config(more=subtree("")), ["<data/>"]),
        ("a", get_config(more=subtree('<x xmlns="urn:nobody"/>')), ["<data/>"]),
        ("a", get_config(more=xpath("/b:config//b:onu[b:onu-id='1']/b:description")), ["<description>first<", "<onu-id>1<", "!<onu-id>2<"]),
        ("a", get_config(more=xpath("//b:nonsense")), ["<data/>"]),
        ("a", get_config(more=xpath("/b:config[")), ["<rpc-error"]),
        ("a", get_config(more=xpath("count(/b:config)")), ["invalid-value"]),
        ("a", get_config(more='<filter type="regex"/>'), refused("bad-attribute", "type", "filter")),
        ("a", get_config(more='<filter type="xpath"/>'), refused("missing-attribute", "select", "filter")),
        ("a", get_config(more='<filter mode="xpath"/>'), refused("unknown-attribute", "mode", "filter")),
        ("a", "<get>" + SESSIONS + "</get>", ["<session-id>{a}<", "!<config"]),
        ("a", '<get><filter type="xpath" xmlns:m="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring" select="/m:netconf-state/m:datastores"/></get>',
         ["<name>candidate<", "!<config"]),
        ("a", "<get/>", ["<config", "<netconf-state", "<yang-library", "<streams>"]),
    ],
    "defaults": [
        ("a", get_config(more=with_defaults("explicit")), ["<port-id>1</port-id><downstream-fec>false", "!<upstream-fec"]),
        ("a", get_config(more=with_defaults("trim")), ["!<downstream-fec>false", FEC_2 + "true"]),
        ("a", get_config(more=with_defaults("report-all")), ["<upstream-fec>false", "<admin-state>enabled"]),
        ("a", get_config(more=with_defaults("report-all-tagged")), [f"<upstream-fec {WD} wd:default=\"true\">false<", "<downstream-fec>false<"]),
        ("a", get_config(more=with_defaults("some")), ["!<data"]),
        ("a", edit(onu(None, "<upstream-fec>false</upstream-fec>")), "ok"), ("a", COMMIT, "ok"),
        ("a", get_config(), ["<upstream-fec>false"]),
        ("a", "hello", ["with-defaults:1.0?basic-mode=explicit&amp;also-supported=report-all,report-all-tagged,trim<"]),
        ("a", content('<upstream-fec wd:default="true">true</upstream-fec>'), refused("invalid-value", None, "upstream-fec", "application")),
        ("a", content('<upstream-fec wd:default="true"/>'), refused("invalid-value", None, "upstream-fec", "application")),
        ("a", content('<upstream-fec wd:default="yes">false</upstream-fec>'), refused("bad-attribute", "default", "upstream-fec", "application")),
        ("a", content('<upstream-fec nc:operation="remove" wd:default="1">false</upstream-fec>'), refused("invalid-value", None, "upstream-fec", "application")),
        ("a", content('<upstream-fec nc:operation="create" wd:default="1">false</upstream-fec>'), ["data-exists"]),
        ("a", content('<upstream-fec wd:default="1">false</upstream-fec><downstream-fec wd:default="false">false</downstream-fec>'), "ok"),
        ("a", get_config("candidate"), ["!<upstream-fec", "<port-id>1</port-id><downstream-fec>false"]),
        ("a", content('<upstream-fec nc:operation="create" wd:default="true">false</upstream-fec>'), "ok"),
        ("a", get_config("candidate"), ["!<upstream-fec"]),
        ("a", copy(None, "candidate", onu(1, "<description>inline</description>").replace(
            "<onu>", f'<downstream-fec {WD} wd:default="true">false</downstream-fec><onu>')), "ok"),
        ("a", get_config("candidate"), ["inline", "!<downstream-fec"]),
    ],
    "error options": [
        ("a", MISFITS, ["data-missing", "data-exists"]), ("a", get_config("candidate"), ["!fits"]),
        ("a", MISFITS.replace("<config>", "<error-option>stop-on-error</error-option><config>", 1), ["data-missing", "data-exists"]),
        ("a", MISFITS.replace("<config>", "<error-option>rollback-on-error</error-option><config>", 1), ["data-missing", "data-exists"]),
        ("a", get_config("candidate"), ["!fits"]),
        ("a", CONTINUED, ["data-missing", "data-exists"]), ("a", get_config("candidate"), ["<description>fits<", ">rose<", "!thorn"]),
        ("a", CONTINUED.replace("description>", "nonsense>"), ["unknown-element"]),
        ("a", COMMIT, "ok"), ("a", get_config(), ["<description>fits<"]),
    ],
    "parameters": [
        ("a", "<discard-changes><x/></discard-changes>", refused("unknown-element", None, "x")),
        ("a", "<discard-changes>x</discard-changes>", refused("bad-element", None, "discard-changes")),
        ("a", '<discard-changes><x xmlns="urn:x"/></discard-changes>', refused("unknown-namespace", None, "x", namespace="urn:x")),
        ("a", '<discard-changes x="1"/>', refused("unknown-attribute", "x", "discard-changes")),
        ("a", "<lock/>", refused("missing-element", None, "target")),
        ("a", "<lock><target/></lock>", refused("missing-element", None, "target")),
        ("a", "<lock><target><candidate/><running/></target></lock>", refused("bad-element", None, "running")),
        ("a", "<lock><target><candidate/></target><target><candidate/></target></lock>", refused("bad-element", None, "target")),
        ("a", "<lock><target><candidate>x</candidate></target></lock>", refused("invalid-value", None, "candidate")),
        ("a", on("lock", "url"), refused("unknown-element", None, "url")),
        ("a", "<kill-session/>", refused("missing-element", None, "session-id")),
        ("a", '<rollback xmlns="urn:olt:gpon:twin:history"/>', refused("missing-element", None, "commit")),
        ("a", "<kill-session><session-id>0</session-id></kill-session>", refused("invalid-value", None, "session-id")),
        ("a", "<edit-config><target><candidate/></target></edit-config>", refused("missing-element", None, "config")),
        ("a", edit("", "<error-option>x</error-option>"), refused("invalid-value", None, "error-option")),
        ("a", "<get-config><source><running/></source><filter/><filter/></get-config>", refused("bad-element", None, "filter")),
        ("a", content('<downstream-fec operation="delete"/>'), refused("unknown-attribute", "operation", "downstream-fec", "application")),
        ("a", content('<downstream-fec nc:operation="x"/>'), refused("bad-attribute", "operation", "downstream-fec", "application")),
        ("a", content('<x xmlns="urn:x"/>'), refused("unknown-namespace", None, "x", "application", "urn:x")),
        ("a", content("<x/>"), refused("unknown-element", None, "x", "application")),
        ("a", content("<onu><description>x</description></onu>"), refused("missing-element", None, "onu-id", "application")),
        ("a", content("<downstream-fec>true</downstream-fec>" * 2), refused("bad-element", None, "downstream-fec", "application")),
        ("a", get_config("candidate"), ["<port-id>1</port-id><downstream-fec>false"]),
        ("a", on("lock", "candidate"), "ok"),
    ],
    "running is writable": [
        ("a", "hello", [":writable-running:1.0"]),
        ("a", describe("direct", target="running"), "ok"), ("b", get_config(), ["direct"]), ("b", get_config("candidate"), ["direct"]),
        ("a", TWICE.replace("candidate", "running"), ["operation-failed"]), ("a", get_config(), ["ALCL00000A02"]),
        ("a", fec("false").replace("candidate", "running"), ["operation-failed", "operation-failed"]),
        ("a", get_config(), [FEC_2 + "true"]),
        ("a", edit(onu(None, "<downstream-fec>false</downstream-fec>", link=2), CONFIRMED, target="running"), "ok"),
        ("a", get_config(), [FEC_2 + "false"]),
        ("a", CONTINUED.replace("candidate", "running"), ["data-missing", "data-exists"]), ("a", get_config(), ["<description>fits<", "!thorn"]),
        ("a", describe("tried", target="running").replace("<config>", "<test-option>test-only</test-option><config>", 1), "ok"),
        ("a", get_config(), ["!tried"]),
        ("b", on("lock", "running"), "ok"), ("a", describe("x", target="running"), ["in-use"]), ("b", on("unlock", "running"), "ok"),
        ("vera", describe("x", target="running"), ["access-denied"]),
        ("a", copy("running", "startup"), "ok"), ("a", describe("later", target="running"), "ok"),
        ("a", copy("startup", "running"), "ok"), ("a", get_config(), ["fits", "!later"]),
        ("a", describe("mine"), "ok"), ("b", describe("other", 2, target="running"), "ok"), ("a", COMMIT, "ok"),
        ("a", get_config(), ["<description>mine<", "!<description>other<"]),
    ],
    "secrets are for admins": [
        ("a", get_config(), [">rose<", ">$8$"]),
        ("vera", get_config(), ["!rose", "!$8$", ">***<", ">first<"]),
        ("olga", get_config("candidate", subtree('<config xmlns="urn:olt:gpon:base"/>')), ["!rose", ">***<"]),
        ("a", get_config("candidate", with_defaults("report-all-tagged")), [">rose<"]),
        ("vera", get_config("running", with_defaults("report-all-tagged")), ["!rose", ">***<"]),
        ("olga", edit(onu(1, "<auth-method><password>***</password></auth-method>")), ["invalid-value"]),
        ("olga", copy(None, "candidate", onu(1, "<auth-method><password>***</password></auth-method>")), ["invalid-value"]),
        ("a", get_config("candidate"), [">rose<"]),
    ],
    "a rollback is a commit": [
        ("a", describe("new"), "ok"), ("a", COMMIT, "ok"),
        ("a", fec("false"), "ok"), ("a", f"<commit>{CONFIRMED}</commit>", "ok"),
        ("b", on("lock", "running"), "ok"), ("a", rollback(1), ["in-use"]), ("b", on("unlock", "running"), "ok"),
        ("vera", rollback(1), ["access-denied"]), ("a", rollback(9), ["invalid-value"]),
        ("a", rollback(1), ["operation-failed", "operation-failed"]), ("a", get_config(), [FEC_2 + "false"]),
        ("a", rollback(1, "<confirm-warnings/>"), "ok"),
        ("a", get_config(), [FEC_2 + "true", "<description>new<"]), ("a", get_config("candidate"), [FEC_2 + "true"]),
        ("a", rollback(0), "ok"), ("a", get_config(), ["!<description>new<"]),
        ("vera", commits(), ["<number>5</number><base>4<", "<kind>rollback<", "<number>1</number><base>0<", "!<number>3<"]),
        ("vera", commits("<limit>1</limit>"), ["<number>5<", "!<number>4<"]),
        ("b", on("lock", "candidate"), "ok"), ("a", rollback(1, "<candidate/>"), ["in-use"]), ("b", on("unlock", "candidate"), "ok"),
        ("a", rollback(1, "<candidate/>"), "ok"), ("a", rollback(9, "<candidate/>"), ["invalid-value"]),
        ("a", get_config("candidate"), ["<description>new<"]), ("a", get_config(), ["!<description>new<"]),
    ],
    "roles": [
        ("vera", describe("x"), ["access-denied"]), ("vera", COMMIT, ["access-denied"]), ("vera", on("lock", "running"), ["access-denied"]),
        ("olga", describe("x"), "ok"), ("olga", COMMIT, "ok"),
        ("olga", "<kill-session><session-id>{a}</session-id></kill-session>", ["access-denied"]),
    ],
    "a session is killed": [
        ("b", on("lock", "candidate"), "ok"), ("b", describe("x"), "ok"),
        ("a", "<kill-session><session-id>{b}</session-id></kill-session>", "ok"),
        ("b", "gone", None),
        ("a", on("lock", "candidate"), "ok"),
        ("a", "<kill-session><session-id>{a}</session-id></kill-session>", ["invalid-value"]),
        ("a", "<kill-session><session-id>4711</session-id></kill-session>", ["invalid-value"]),
    ],
    "a confirmed commit is confirmed, cancelled, or goes back": [
        ("a", describe("one"), "ok"), ("a", confirmed(), "ok"), ("a", get_config(), ["one"]),
        ("b", on("lock", "running"), ["lock-denied"]),
        ("b", COMMIT, ["!<ok/>"]), ("b", "<cancel-commit/>", ["!<ok/>"]),
        ("a", COMMIT, "ok"), ("a", get_config(), ["one"]),
        ("a", describe("two"), "ok"), ("a", confirmed(), "ok"), ("a", "<cancel-commit/>", "ok"), ("a", get_config(), ["one", "!two"]),
        ("a", "<cancel-commit/>", ["!<ok/>"]),
        ("a", DISCARD, "ok"),
        ("c", describe("three"), "ok"), ("c", confirmed(), "ok"), ("c", "close", None),
        ("a", "until", (get_config(), ["one", "!three"])),
        ("a", DISCARD, "ok"),
        ("a", describe("four"), "ok"), ("a", confirmed(timeout=60), "ok"), ("a", get_config(), ["four"]),
        ("a", "until", (get_config(), ["one", "!four"])),
    ],
    "a confirmed commit with persist outlives its session": [
        ("b", describe("five"), "ok"), ("b", confirmed(timeout=100000, persist="token"), "ok"), ("b", "close", None),
        ("a", get_config(), ["five"]),
        ("a", COMMIT, ["!<ok/>"]), ("a", "<commit><persist-id>other</persist-id></commit>", ["!<ok/>"]),
        ("a", "<cancel-commit><persist-id>other</persist-id></cancel-commit>", ["!<ok/>"]),
        ("a", describe("six"), "ok"), ("a", confirmed(timeout=100000, persist_id="token", persist="token"), "ok"),
        ("a", "<commit><persist-id>token</persist-id></commit>", "ok"),
        ("a", get_config(), ["six"]),
        ("a", describe("seven"), "ok"), ("a", confirmed(timeout=100000, persist="t"), "ok"),
        ("a", "<cancel-commit><persist-id>t</persist-id></cancel-commit>", "ok"), ("a", get_config(), ["six"]),
    ],
    "what is counted": [
        ("b", SUBSCRIBE.format(""), "ok"), ("c", on("lock", "url"), ["unknown-element"]), ("b", "event", ["netconf-session-start"]),
        ("c", "<get/><get/>", ["malformed-message"]), ("c", "close", None), ("b", "event", ["netconf-session-end"]),
        ("a", "<get>" + subtree(STATE.format("<statistics/>")) + "</get>",
         ["<in-bad-hellos>0<", "<in-sessions>3<", "<dropped-sessions>0<", "<in-rpcs>4</in-rpcs><in-bad-rpcs>1</in-bad-rpcs>"
          "<out-rpc-errors>2</out-rpc-errors><out-notifications>3</out-notifications>"]),
        ("b", "event", ["netconf-session-start"]),
        ("a", "<get>" + subtree(STATE.format("<sessions><session><session-id>{b}</session-id></session></sessions>")) + "</get>",
         ["<in-rpcs>1</in-rpcs><in-bad-rpcs>0</in-bad-rpcs><out-rpc-errors>0</out-rpc-errors><out-notifications>3</out-notifications>"]),
    ],
    "a restart": [
        ("eve", describe("one"), "ok"), ("a", COMMIT, "ok"), ("a", copy("running", "startup"), "ok"),
        ("a", describe("two"), "ok"), ("a", COMMIT, "ok"), ("a", describe("left"), "ok"),
        ("a", "restart", None),
        ("eve", get_config(), ["two"]), ("a", get_config("candidate"), ["two", "!left"]), ("a", get_config("startup"), ["one", "!two"]),
        ("a", describe("three"), "ok"), ("a", confirmed(timeout=100000, persist="token"), "ok"), ("a", get_config(), ["three"]),
        ("a", "restart", None),
        ("a", get_config(), ["two", "!three"]), ("a", "<commit><persist-id>token</persist-id></commit>", ["!<ok/>"]),
        ("a", describe("four"), "ok"), ("a", COMMIT, "ok"),
    ],
    "schemas": [
        ("a", '<get-schema xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><identifier>base</identifier></get-schema>', ["module base {"]),
        ("a", '<get-schema xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><identifier>gpon-twin-confirm</identifier></get-schema>', ["confirm-warnings"]),
        ("a", '<get-schema xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><identifier>none</identifier></get-schema>', ["!<ok/>", "<rpc-error"]),
    ],
    "events": [
        ("a", SUBSCRIBE.format(""), "ok"), ("a", SUBSCRIBE.format(""), ["!<ok/>"]),
        ("b", describe("eight"), "ok"), ("a", "event", ["netconf-session-start", "<session-id>{b}<"]),
        ("b", COMMIT, "ok"), ("a", "event", ["netconf-config-change", "<datastore>running<", "onu[base:onu-id='1']/base:description", "<operation>merge<"]),
        ("b", describe("nine"), "ok"), ("b", confirmed(timeout=100000), "ok"),
        ("a", "event", ["netconf-confirmed-commit", "<confirm-event>start<"]), ("a", "event", ["netconf-config-change"]),
        ("b", COMMIT, "ok"), ("a", "event", ["<confirm-event>complete<"]),
        ("b", "close", None), ("a", "event", ["netconf-session-end", "<termination-reason>closed<"]),
        ("c", SUBSCRIBE.format(subtree('<netconf-config-change xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-notifications"/>')
                               + "<startTime>2020-01-01T00:00:00Z</startTime>"), "ok"),
        ("c", "event", ["netconf-config-change"]), ("c", "event", ["netconf-config-change"]), ("c", "event", ["replayComplete"]),
        ("c", get_config(), ["nine"]),
        ("d", SUBSCRIBE.format("<stream>none</stream>"), ["!<ok/>"]),
        ("d", SUBSCRIBE.format("<stopTime>2020-01-01T00:00:00Z</stopTime>"), ["!<ok/>"]),
    ],
}


OPTIONS = {"running is writable": ["--writable-running"]}


class Script:
    """Plays a script on a server of its own."""

    def __init__(self, program, options):
        self.twin = Twin(program, os.path.join(HERE, "running.xml"), "--time-scale", "100", *options, card=os.path.join(HERE, "card.json"))
        self.clients = {}

    def client(self, name):
        if name not in self.clients:
            self.clients[name] = (SshClient(self.twin.connect_ssh(name)) if name in Twin.roles else self.twin.raw())
        return self.clients[name]

    def named(self, text):
        return re.sub(r"\{(\w+)\}", lambda found: str(self.client(found.group(1)).session), text)

    def play(self, steps):
        with self.twin:
            for number, (name, request, answer) in enumerate(steps, 1):
                problem = self.step(self.client(name), name, request, answer)
                if problem:
                    return f"step {number}, {name}: {request[:300]}\n      {problem[:1500]}"
            for client in self.clients.values():
                client.close()
        return None

    def step(self, client, name, request, answer):
        if request == "close":
            client.rpc("<close-session/>")
            client.close()
            return self.clients.pop(name) and None
        if request == "restart":
            return self.restart()
        if request == "gone":
            try:
                return f"answered {client.receive()}"
            except (EOFError, ConnectionError):
                return self.clients.pop(name) and None
        if request == "hello":
            return self.judge(client.capabilities, answer)
        if request == "event":
            return self.judge(client.receive(), answer)
        if request == "until":
            deadline = time.monotonic() + 30
            while (problem := self.judge(client.rpc(answer[0]), answer[1])) and time.monotonic() < deadline:
                time.sleep(0.02)
            return problem
        return self.judge(client.rpc(self.named(request)), answer)

    def restart(self):
        """Whoever knows the server by its key knows it again."""
        for client in self.clients.values():
            client.close()
        self.clients = {}
        before = self.twin.host_key()
        self.twin.stop()
        self.twin.start()
        return None if self.twin.host_key() == before else "another host key"

    def judge(self, reply, answer):
        if answer == "ok":
            return None if "<ok/>" in reply else reply
        tags = [error["tag"] for error in errors_of(reply)] if "<rpc-reply" in reply else []
        if tags == answer:
            return None
        for part in answer:
            wanted = self.named(part.removeprefix("!"))
            if (wanted in reply) == part.startswith("!"):
                return f"{part} fails in {reply}"
        return None


class SshClient:
    """The same as a raw client, over ncclient and SSH."""

    def __init__(self, session):
        self.manager = session
        self.session = int(session.session_id)
        session.raise_mode = 0

    def rpc(self, body):
        from ncclient.xml_ import to_ele
        if " xmlns=" in body.split(">", 1)[0]:
            return self.manager.dispatch(to_ele(body)).xml
        body = body.replace(">", f' xmlns="{NETCONF}">', 1) if not body.endswith("/>") or "</" in body else body.replace("/>", f' xmlns="{NETCONF}"/>', 1)
        return self.manager.dispatch(to_ele(body)).xml

    def close(self):
        self.manager.close_session()


def main():
    program, wanted = [sys.argv[1]], sys.argv[2:]
    failed = 0
    for title, steps in SCRIPTS.items():
        if wanted and not any(word in title for word in wanted):
            continue
        try:
            problem = Script(program, OPTIONS.get(title, [])).play(steps)
        except Exception:  # pylint: disable=broad-except
            problem = traceback.format_exc()
        print(f"{'failed' if problem else 'passed'}: {title}" + (f"\n    {problem}" if problem else ""), flush=True)
        failed += problem is not None
    return 1 if failed else 0


sys.exit(main())
