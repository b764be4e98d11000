#!/usr/bin/env python3
"""JSON reports of all results keep to their schema, with an explanation and without one.

Usage: json_reports.py SCHEMA SCRIPTED_PLUGIN EXAMPLE GPON_VALIDATE...

GPON_VALIDATE may be several words: an emulator, its options, and the program. The plug-in does as
GPON_TEST_SCRIPT says; EXAMPLE is a golden case whose change the FEC rule is asked about.
"""

import json
import os
import subprocess
import sys

import jsonschema

RULE = "fec_confirmation_warning"
EDIT = ["--edit", "change.xml"]
CARD_ON_STDIN = b'{"max_pon_links": 1e999}'

# Result with the cause of a death or the faults, what the plug-in does, and further words of the command line.
CASES = [
    ("accepted", "", EDIT),
    ("accepted", "", ["../running.xml"]),
    ("accepted", f"{RULE}=warn:careful", EDIT + ["--yes"]),
    ("not-confirmed", f"{RULE}=warn:careful", EDIT + ["--no"]),
    ("not-confirmed", f"{RULE}=warn:careful", EDIT),
    ("rejected", f"{RULE}=reject:no", EDIT + ["--all"]),
    ("not-checked unreadable", "", ["--edit", "nowhere.xml"]),
    ("not-checked unusable-plugin", "lib_init=answer:-1", EDIT),
    ("not-checked invalid-option", "", EDIT + ["--no-such-option"]),
    ("not-checked invalid-option", "", EDIT + ["--timeout", "soon"]),
    ("not-checked invalid-option", "", ["--edit", ""]),
    ("not-checked invalid-option", "", EDIT + ["--max-size", "1 acre"]),
    ("not-checked invalid-option", "", EDIT + ["--trace", "fine", "--trace-file", "./change.xml"]),
    ("not-checked too-large", "", EDIT + ["--max-size", "10 B"]),
    ("not-checked invalid-card", "", EDIT + ["--card", "/dev/stdin"]),
    ("plugin-died signal 9", f"{RULE}=fault", EDIT),
    ("plugin-died exit 0", f"{RULE}=exit:0", EDIT),
    ("plugin-died exception 0", f"{RULE}=throw:stoi", EDIT),
]


def report(program: list[str], plugin: str, script: str, words: list[str]) -> dict:
    """What a check of the example says."""
    command = program + ["check", "--plugin", plugin, "--running", "../running.xml", "--json"]
    done = subprocess.run(command + words, stdout=subprocess.PIPE, input=CARD_ON_STDIN,
                          check=False, env={**os.environ, "GPON_TEST_SCRIPT": script})
    document = json.loads(done.stdout)
    assert document["exit-code"] == done.returncode, document
    return document


# Of other commands: what their reports say, with the faults, and what follows the command.
OTHERS = {
    "diff": (lambda document: document["differs"], [
        ("True", EDIT),
        ("False", ["../running.xml", "--skip-foreign"]),
        ("False malformed", ["--edit", "README", "--exit-code"]),
    ]),
    "headroom": (lambda document: "/".join(link["state"] for link in document.get("verdicts", {}).get("links", [])), [
        ("no-settings", EDIT),
        ("no-settings", []),
        (" malformed", ["--edit", "README"]),
        (" unreadable", ["--edit", "nowhere.xml"]),
    ]),
}


def faults_of(command: str, schema_file: str, program: list[str]) -> list[str]:
    """What is wrong with the reports of a command whose schema refers to that of checks."""
    says, cases = OTHERS[command]
    with open(schema_file, encoding="utf-8") as checks:
        definitions = json.load(checks)["$defs"]
    with open(schema_file.replace("check-output", f"{command}-output"), encoding="utf-8") as file:
        schema = json.loads(file.read().replace("check-output.schema.json#", "#"))
    validator = jsonschema.Draft202012Validator({**schema, "$defs": {**definitions, **schema.get("$defs", {})}})
    messages = []
    for expected, words in cases:
        run = program + [command, "--running", "../running.xml", "--json"] + words
        document = json.loads(subprocess.run(run, stdout=subprocess.PIPE, check=False).stdout)
        actual = " ".join([str(says(document))] + [problem["fault"] for problem in document["problems"]])
        messages += [f"{words}: {error.json_path}: {error.message}" for error in validator.iter_errors(document)]
        messages += [f"{words}: {actual}, not {expected}"] if actual != expected else []
        messages += [f"{words}: no changes"] if document.get("differs") and not document["changes"] else []
    return messages


def main() -> int:
    schema_file, plugin, example, *program = sys.argv[1:]
    with open(schema_file, encoding="utf-8") as file:
        validator = jsonschema.Draft202012Validator(json.load(file))
    schema_file = os.path.abspath(schema_file)
    os.chdir(example)
    messages = [message for command in OTHERS for message in faults_of(command, schema_file, program)]
    print("\n".join(messages))
    faults = len(messages)
    for result, script, words in CASES:
        for more in [], ["--explain"]:
            document = report(program, plugin, script, words + more)
            messages = [f"{error.json_path}: {error.message}" for error in validator.iter_errors(document)]
            death = document.get("death")
            actual = document["result"] + (f" {death['kind']} {death['number']}" if death else "")
            actual += "".join(f" {problem['fault']}" for problem in document["problems"])
            if actual != result:
                messages.append(f"the result is {actual}, not {result}")
            if validator.is_valid({**document, "another-member": 1}):
                messages.append("the schema takes a member that it does not have")
            for message in messages:
                print(f"{script!r} {words + more}: {message}")
            faults += len(messages)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
