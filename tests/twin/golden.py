#!/usr/bin/python3
"""All golden cases of rules over NETCONF: the twin's verdicts, texts and paths are gpon-validate's.

usage: golden.py EXAMPLES GPON_VALIDATE GPON_TWIN
"""
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

from twin import CONFIRM, NETCONF, Twin, braces_of, errors_of


# What RFC 7950 has a name of its own for.
APP_TAGS = {"not-unique": "data-not-unique", "too-many": "too-many-elements", "constraint": "must-violation",
            "dangling-reference": "instance-required"}


def inherited(case, name):
    for folder in (case, os.path.dirname(case)):
        if os.path.exists(os.path.join(folder, name)):
            return os.path.join(folder, name)
    return None


def cases_of(examples):
    """Cases of rules, by what the card is and runs: for each such pair one server is enough."""
    groups = {}
    for rule in sorted(os.listdir(examples)):
        if not rule.endswith(("_check", "_warning", "_warn", "_validation")):
            continue
        for name in sorted(os.listdir(os.path.join(examples, rule))):
            case = os.path.join(examples, rule, name)
            change = next((os.path.join(case, file) for file in ("change.xml", "candidate.xml")
                           if os.path.exists(os.path.join(case, file))), None)
            if change and inherited(case, "running.xml"):
                key = (inherited(case, "running.xml"), inherited(case, "card.json"))
                groups.setdefault(key, []).append(change)
    return groups


def told_offline(program, running, card, change):
    words = [program, "check", "--running", running, "--all=full", "--json"]
    words += ["--card", card] if card else []
    words += [change] if change.endswith("candidate.xml") else ["--edit", change]
    report = json.loads(subprocess.run(words, stdout=subprocess.PIPE, check=False).stdout)
    remarks = [("error", one["rule"], one["path"], one["text"].strip()) for one in report["rejections"]]
    remarks += [("warning", one["rule"], one["path"], one["text"].strip()) for one in report["warnings"]]
    remarks += [("error", APP_TAGS.get(one["fault"], one["fault"]), one.get("path") or "", one["message"]) for one in report["problems"]]
    return report["result"], sorted(remarks)


def told_by_twin(client, change):
    with open(change, encoding="utf-8") as file:
        text = file.read()
    text = text.split("?>", 1)[1] if text.lstrip().startswith("<?xml") else text
    client.rpc("<discard-changes/>")
    if change.endswith("candidate.xml"):
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
    groups = cases_of(examples)
    assert len(groups) >= 20, groups.keys()
    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(lambda group: check_group(programs, *group[0], group[1]), groups.items()))
    wrong = [text for _, texts in results for text in texts]
    count = sum(number for number, _ in results)
    print(f"{count} cases in {len(groups)} servers, {len(wrong)} different")
    print("\n".join(wrong))
    return 1 if wrong or count < 200 else 0


sys.exit(main())
