#!/usr/bin/env python3
"""Reports of golden cases are what their readers take, and tell the same in all formats.

Usage: check_reports.py [--multitool FILE] [--group NAME]... EXAMPLES GPON_VALIDATE...

Runs the golden cases, all or those of some groups, with a report of each format besides, and checks these: JSON
against its schema, JUnit XML against junit.xsd, SARIF by the rules of what reads it, and with the multitool, if it is
named, against the standard. GPON_VALIDATE may be several words: an emulator, its options, and the program.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse
import xml.etree.ElementTree

import jsonschema

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
FORMATS = ["text", "json", "sarif", "junit", "gitlab", "github"]
ANNOTATION = re.compile(r"::(error|warning|notice) (file=[^,:]+,line=\d+,(col=\d+,)?)?title=[^,:]+::[^\r\n]+")


class Case:
    """A golden case with its reports."""

    def __init__(self, folder: pathlib.Path, output: pathlib.Path):
        self.name = f"{folder.parent.name}.{folder.name}"
        self.folder = folder
        self.files = {name: output / f"{self.name}.{name}" for name in FORMATS}
        stdout, self.exit_code = re.fullmatch(r"(.*?)exit (\d)\n", self.read(folder / "expected.txt"), re.S).groups()
        arguments = folder / "arguments"
        takes_text = not arguments.exists() or not re.search("--json|--report", arguments.read_text())
        self.text = stdout if takes_text else None
        self.faults = []

    @staticmethod
    def read(file: pathlib.Path) -> str:
        """Text as it stands there: carriage returns are part of it."""
        return file.read_bytes().decode("utf-8")

    def require(self, condition: object, message: str) -> None:
        """Notes a fault."""
        if not condition:
            self.faults.append(f"{self.name}: {message}")

    def run(self, program: list[str], output: pathlib.Path) -> None:
        """What goes to stdout is the same as without the reports."""
        done = subprocess.run([ROOT / "tests/golden/run_case.sh", self.folder, HERE / "with_reports.sh", output,
                               *program], capture_output=True, text=True, check=False)
        self.require(done.returncode == 0, done.stdout + done.stderr)

    def documents(self) -> list[dict]:
        """The JSON reports: one, or one a line."""
        text = self.read(self.files["json"])
        return [json.loads(text)] if text.startswith("{\n") else [json.loads(line) for line in text.splitlines()]

    def check(self, schema: jsonschema.Draft202012Validator) -> None:
        """All but the multitool's checks."""
        missing = [name for name, file in self.files.items() if not file.exists()]
        self.require(not missing, f"no report as {missing}")
        if missing:
            return
        if self.text is not None:
            self.require(self.read(self.files["text"]) == self.text, "the text in the file is not that on stdout")
        for document in self.documents():
            for error in schema.iter_errors(document):
                self.require(False, f"JSON: {error.json_path}: {error.message}")
        run = json.loads(self.read(self.files["sarif"]))["runs"][0]
        self.check_sarif(run)
        self.check_gitlab(run["results"])
        lines = self.read(self.files["github"]).split("\n")[:-1]
        self.require(len(lines) == len(run["results"]), "GitHub has another number of findings than SARIF")
        for line in lines:
            self.require(ANNOTATION.fullmatch(line), f"GitHub: {line}")
        self.check_junit()

    def check_sarif(self, run: dict) -> None:
        """Results agree with the rules, the JSON report, and the files that they lead to."""
        rules = run["tool"]["driver"]["rules"]
        changes = {document.get("edit", document.get("candidate")) for document in self.documents()}
        remarks = [(remark["rule"], remark["path"]) for document in self.documents()
                   for remark in document["rejections"] + document["warnings"]]
        told = []
        for result in run["results"]:
            rule, location = rules[result["ruleIndex"]], result["locations"][0]
            self.require(rule["id"] == result["ruleId"], f"the index of {result['ruleId']} leads to {rule['id']}")
            file = self.check_place(location["physicalLocation"], run["originalUriBaseIds"])
            path = location.get("logicalLocations", [{}])[0].get("fullyQualifiedName")
            if (result["ruleId"], path) in remarks:
                told.append((result["ruleId"], path))
                changed = [(self.folder / change).resolve() for change in changes if change]
                self.require(file in changed, f"{result['ruleId']} leads to {file}, which is not what was checked")
                self.require(result.get("properties", {}).get("resolution"), f"{result['ruleId']} tells no way out")
                level = rule["defaultConfiguration"]["level"]
                self.require(result["level"] in (level, "error"), f"{result['ruleId']} is not known to warn")
        self.require(sorted(told) == sorted(remarks), "SARIF has other remarks than JSON")
        self.require(run["invocations"][0]["exitCode"] == int(self.exit_code), "SARIF has another exit code")

    def check_place(self, place: dict, bases: dict) -> pathlib.Path:
        """The place is inside the file. Returns that."""
        artifact, region = place["artifactLocation"], place["region"]
        base = bases[artifact["uriBaseId"]]["uri"] if "uriBaseId" in artifact else ""
        file = pathlib.Path(urllib.parse.unquote(urllib.parse.urlsplit(base + artifact["uri"]).path))
        if file.is_file():  # That it is none may be the finding.
            lines = file.read_bytes().decode("utf-8", "replace").split("\n")
            line = lines[region["startLine"] - 1] if region["startLine"] <= len(lines) else ""
            inside = region["startLine"] <= len(lines) and region.get("startColumn", 1) <= len(line) + 1
            self.require(inside, f"{region} is outside of {file.name}")
        return file.resolve()

    def check_gitlab(self, results: list[dict]) -> None:
        """It has the findings of SARIF, known by marks that tell them apart."""
        issues = json.loads(self.read(self.files["gitlab"]))
        marks = [issue["fingerprint"] for issue in issues]
        self.require(len(set(marks)) == len(marks), "two findings have the same fingerprint")
        self.require(marks == [result["partialFingerprints"]["gponFinding/v1"] for result in results],
                     "GitLab has other findings than SARIF")
        for issue in issues:
            self.require(issue["description"] and issue["check_name"] and issue["location"]["path"]
                         and issue["location"]["lines"]["begin"] >= 1
                         and issue["severity"] in ("info", "minor", "critical", "blocker"), f"GitLab: {issue}")

    def check_junit(self) -> None:
        """It keeps to its schema, and a case failed unless all is well."""
        done = subprocess.run(["xmllint", "--noout", "--schema", HERE / "junit.xsd", self.files["junit"]],
                              capture_output=True, text=True, check=False)
        self.require(done.returncode == 0, done.stderr)
        suites = xml.etree.ElementTree.parse(self.files["junit"]).getroot()
        for kind in "failure", "error":
            count = len(suites.findall(f".//testcase/{kind}"))
            self.require(int(suites.get(kind + "s")) == count, f"JUnit counts other {kind}s than it has")
        is_well = not suites.findall(".//failure") and not suites.findall(".//error")
        self.require(is_well == (self.exit_code == "0"), "JUnit tells of another result")


def check_standard(multitool: str, output: pathlib.Path) -> list[str]:
    """What the official validator has against the SARIF files. Its log tells, its exit code does not."""
    log = output / "multitool.log"
    subprocess.run([multitool, "validate", output / "*.sarif", "--rule-kind", "Sarif;Ghas", "--level",
                    "Error;Warning;Note", "--output", log], stdout=subprocess.DEVNULL, check=True)
    run = json.loads(log.read_text(encoding="utf-8-sig"))["runs"][0]
    notes, faults = {}, []
    unread = {file.as_uri() for file in output.glob("*.sarif")}
    for result in run["results"]:
        unread.discard(result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"])
        if result.get("level", "warning") == "note":
            notes[result["ruleId"]] = notes.get(result["ruleId"], 0) + 1
        else:
            place = result["locations"][0]["physicalLocation"]
            faults.append(f"{place['artifactLocation']}:{place.get('region')}: {result['ruleId']} {result['message']}")
    invocation = run["invocations"][0]
    if not invocation["executionSuccessful"] or invocation.get("toolExecutionNotifications"):
        faults.append(f"the multitool: {invocation}")
    # It has notes about every file; of one that breaks the schema it says nothing at all, and of those beside it.
    faults += [f"the multitool cannot read {uri}, or a file beside it" for uri in sorted(unread)]
    print(f"The multitool's notes, which fail nothing: {notes}.")
    return faults


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("--multitool")
    parser.add_argument("--group", action="append")
    parser.add_argument("examples", type=pathlib.Path)
    parser.add_argument("program", nargs=argparse.REMAINDER)
    words = parser.parse_args()
    program = [str(pathlib.Path(word).resolve()) if os.path.exists(word) else word for word in words.program]
    folders = sorted(file.parent.resolve() for file in words.examples.glob("**/expected.txt")
                     if not any((file.parent / name).exists() for name in ("command", "command-line")))
    if words.group:
        folders = [folder for folder in folders if folder.parent.name in words.group]
    with open(ROOT / "docs/check-output.schema.json", encoding="utf-8") as file:
        schema = jsonschema.Draft202012Validator(json.load(file))
    with tempfile.TemporaryDirectory() as name:
        output = pathlib.Path(name)
        cases = [Case(folder, output) for folder in folders]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(lambda case: case.run(program, output), cases))
        for case in cases:
            case.check(schema)
        faults = [fault for case in cases for fault in case.faults]
        if words.multitool:
            faults += check_standard(words.multitool, output)
    print("\n".join(faults))
    print(f"{len(cases)} cases, {len(faults)} faults.")
    return 1 if faults or not cases else 0


if __name__ == "__main__":
    sys.exit(main())
