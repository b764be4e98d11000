#!/usr/bin/python3
"""All golden cases of rules over NETCONF: the twin's verdicts, texts and paths are gpon-validate's.

usage: golden.py EXAMPLES GPON_VALIDATE GPON_TWIN
"""
import os
import sys
from concurrent.futures import ThreadPoolExecutor

from twin import CONFIRM, Twin, braces_of, errors_of

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
from golden_cases import cases_of, is_whole, report_of  # noqa: E402


# What RFC 7950 has a name of its own for.
APP_TAGS = {"not-unique": "data-not-unique", "too-many": "too-many-elements", "constraint": "must-violation",
            "dangling-reference": "instance-required"}


def groups_of(examples):
    """By what the card is and runs: for each such pair one server is enough."""
    groups = {}
    for change, *card in cases_of(examples):
        groups.setdefault(tuple(card), []).append(change)
    return groups


def told_offline(program, running, card, change):
    report = report_of(program, change, running, card)
    remarks = [("error", one["rule"], one["path"], one["text"].strip()) for one in report["rejections"]]
    remarks += [("warning", one["rule"], one["path"], one["text"].strip()) for one in report["warnings"]]
    remarks += [("error", APP_TAGS.get(one["fault"], one["fault"]), one.get("path") or "", one["message"]) for one in report["problems"]]
    return report["result"], sorted(remarks)


def told_by_twin(client, change):
    with open(change, encoding="utf-8") as file:
        text = file.read()
    text = text.split("?>", 1)[1] if text.lstrip().startswith("<?xml") else text
    client.rpc("<discard-changes/>")
    if is_whole(change):
        reply = client.rpc(f"<copy-config><target><candidate/></target><source><config>{text}</config></source></copy-config>")
    else:
        reply = client.edit(text)
    if not errors_of(reply):
        reply = client.rpc("<validate><source><candidate/></source></validate>")
    errors = errors_of(reply)
    result = "accepted" if not errors else "rejected"
    if errors and errors[0].get("app-tag") == "confirmation-required":
        result = "not-confirmed"
        confirmed = client.rpc(f'<validate><source><candidate/></source><confirm-warnings xmlns="{CONFIRM}"/></validate>')
        assert "<ok/>" in confirmed, f"{change}: {confirmed}"
        assert {one["severity"] for one in errors[1:]} == {"warning"}, errors
        errors = errors[1:]
    assert not errors or result == "not-confirmed" or errors[0]["severity"] == "error", errors
    remarks = [(one["severity"], one["app-tag"], braces_of(one.get("path")), one["message"].strip()) for one in errors]
    return result, sorted(remarks)


def check_group(programs, running, card, changes):
    wrong = []
    with Twin([programs[1]], running, card=card, ssh=False) as twin:
        client = twin.raw()
        for change in changes:
            expected = told_offline(programs[0], running, card, change)
            actual = told_by_twin(client, change)
            verdict = "rejected" if expected[0] == "not-checked" else expected[0]
            if (verdict, expected[1]) != actual:
                wrong.append(f"{change}\n  offline: {expected}\n  twin:    {actual}")
    return len(changes), wrong


def main():
    examples, *programs = sys.argv[1:]
    groups = groups_of(examples)
    assert len(groups) >= 20, groups.keys()
    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(lambda group: check_group(programs, *group[0], group[1]), groups.items()))
    wrong = [text for _, texts in results for text in texts]
    count = sum(number for number, _ in results)
    print(f"{count} cases in {len(groups)} servers, {len(wrong)} different")
    print("\n".join(wrong))
    return 1 if wrong or count < 200 else 0


sys.exit(main())
