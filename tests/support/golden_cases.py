"""The golden cases of rules, and what gpon-validate says of each."""
import json
import os
import subprocess


def inherited(case, name):
    for folder in (case, os.path.dirname(case)):
        if os.path.exists(os.path.join(folder, name)):
            return os.path.join(folder, name)
    return None


def cases_of(examples):
    """For each case: change, running configuration, and card or None."""
    for rule in sorted(os.listdir(examples)):
        if rule.endswith(("_check", "_warning", "_warn", "_validation")):
            for name in sorted(os.listdir(os.path.join(examples, rule))):
                case = os.path.join(examples, rule, name)
                change = next((os.path.join(case, file) for file in ("change.xml", "candidate.xml")
                               if os.path.exists(os.path.join(case, file))), None)
                if change and inherited(case, "running.xml"):
                    yield change, inherited(case, "running.xml"), inherited(case, "card.json")


def is_whole(change):
    return change.endswith("candidate.xml")


def report_of(program, change, running, card):
    words = [program, "check", "--running", running, "--all=full", "--json"]
    words += ["--card", card] if card else []
    words += [change] if is_whole(change) else ["--edit", change]
    return json.loads(subprocess.run(words, stdout=subprocess.PIPE, check=False).stdout)
