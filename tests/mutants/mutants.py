#!/usr/bin/env python3
"""Plants faults in src/validation, one at a time, and tells which of them no test notices.

usage: mutants.py BUILD [FILE...]      such as: mutants.py build/desk gpon_bw_limit.cpp

Sources are copied to BUILD/mutants and changed there. A mutant is one source built anew into a
shared library, with which the plug-in's tests and all golden cases run, up to the first failure
or a limit of processor time. Verdicts are kept there: a run that was stopped goes on where it was, and only
survivors are tried again when the tests have changed. Fails when a mutant survives that
equivalents.txt does not name with a reason.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

HERE = pathlib.Path(__file__).parent
ROOT = HERE.parent.parent
SOURCES = ROOT / "src/validation"
CPU_LIMIT = 10  # seconds of each program; they take one. A busy machine changes nothing.

# What a fault looks like: a pattern, and what stands there instead. Texts are masked first.
OPERATORS = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ ", " - "), (r" - ", " + "), (r" \* ", " / "), (r" / ", " * "), (r" \+= ", " = "),
    (r"\+\+(?=\w)", "--"), (r"!(?=[\w(])", ""), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"\breturn 0;", "return -1;"), (r"\breturn -1;", "return 0;"),
    (r"\bCONFD_OK\b", "CONFD_ERR"), (r"\bCONFD_ERR\b", "CONFD_OK"),
    (r"\bCONFD_VALIDATION_WARN\b", "CONFD_OK"), (r"\bkTraceFine\b", "kTraceDecision"),
    (r"\bkTraceProgress\b", "kTraceDecision"), (r"\bkTraceDecision\b", "kTraceFine"),
    (r"_sec\(\)", "_msec()"), (r"_msec\(\)", "_usec()"), (r"_usec\(\)", "_msec()"),
    (r"\bcontinue;", "break;"), (r"\bbreak;", ";"),
    (r"\bITER_STOP\b", "ITER_CONTINUE"), (r"\bITER_CONTINUE\b", "ITER_RECURSE"),
    (r"\bITER_RECURSE\b", "ITER_CONTINUE"), (r"(?<![\w.])\d+(?![\w.])", lambda m: str(int(m[0]) + 1)),
]
# A call, an assignment, an increment: no declaration, which would not build without its use.
STATEMENT = re.compile(r"^\s+(?!return\b|throw\b|case\b)[*+\w][\w.:>\[\]\-]*(\(| [+]?= | << |;)[^{}]*;$")


def mutants_of(name, text):
    """Yields (line number, what was there, what stands there now, the whole text)."""
    lines = text.split("\n")
    statements = list(find_statements(lines))
    for first, last in statements:
        yield from planted(lines, first, last, [";"])
    for (first, last), (second_first, second_last) in zip(statements, statements[1:]):
        if second_first == last + 1:
            both = lines[second_first:second_last + 1] + lines[first:last + 1]
            yield from planted(lines, first, second_last, both)
    for number, line in enumerate(lines):
        code = line.split("//")[0]
        if re.match(r"\s*(#|/?\*)", code):
            continue
        masked = re.sub(r'"(\\.|[^"\\])*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', code)
        for pattern, instead in OPERATORS:
            for match in re.finditer(pattern, masked):
                new = instead(match) if callable(instead) else instead
                yield from planted(lines, number, number,
                                   [line[:match.start()] + new + line[match.end():]])
        for match in re.finditer(r'"(\\.|[^"\\])+"', code):
            for literal in (match[0][:-1] + '~"', match[0].replace("%u", "%d")):
                if literal != match[0]:
                    yield from planted(lines, number, number,
                                       [line[:match.start()] + literal + line[match.end():]])
    for before, after in by_hand(name):
        if text.count(before) != 1:
            sys.exit(f"by_hand.txt: {name} does not hold once:\n{before}")
        line = text[:text.index(before)].count("\n")
        yield line + 1, before.strip(), after.strip(), text.replace(before, after)


def planted(lines, first, last, instead):
    yield (first + 1, "\n".join(lines[first:last + 1]).strip(), "\n".join(instead).strip(),
           "\n".join(lines[:first] + instead + lines[last + 1:]))


def find_statements(lines):
    """First and last line of each statement of its own, of one line or of several."""
    number = 0
    while number < len(lines):
        for last in range(number, min(number + 6, len(lines))):
            whole = "\n".join(lines[number:last + 1])
            if lines[last].rstrip().endswith(";") or "{" in lines[last] or not lines[last].strip():
                break
        if "= delete" not in whole and STATEMENT.match(re.sub(r'"(\\.|[^"\\])*"', '""', whole).replace("\n", " ")):
            yield number, last
            number = last
        number += 1


def by_hand(name):
    """Blocks of by_hand.txt: a source, lines `-` and lines `+`."""
    for block in (HERE / "by_hand.txt").read_text().split("\n\n"):
        lines = [line for line in block.strip("\n").split("\n") if not line.startswith("#")]
        if lines and lines[0] == name:
            yield tuple("\n".join(line[1:] for line in lines if line[0] == mark) for mark in "-+")


def equivalents():
    """Pairs of a pattern and the reason why nothing can tell such a mutant from the source."""
    lines = (HERE / "equivalents.txt").read_text().splitlines()
    return [tuple(part.strip() for part in line.split(" ## ")) for line in lines
            if line and not line.startswith("#")]


class Workshop:
    """Compiles and links outside the build's own tree, without optimisation."""

    def __init__(self, build):
        self.build = build.resolve()
        self.place = self.build / "mutants"
        self.sources = self.place / "src"
        for folder in (self.sources, self.place / "objects", self.place / "verdicts"):
            folder.mkdir(parents=True, exist_ok=True)
        commands = json.loads((self.build / "compile_commands.json").read_text())
        self.commands = {pathlib.Path(c["file"]).name: shlex.split(c["command"]) for c in commands
                         if pathlib.Path(c["file"]).parent == SOURCES}
        for source in SOURCES.iterdir():
            target = self.sources / source.name
            if not target.exists() or target.read_text() != source.read_text():
                target.write_text(source.read_text())
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for done in pool.map(self.compile_unchanged, self.commands):
                done.check_returncode()
        self.link_tests()

    def compile_unchanged(self, name):
        return self.compile(name, self.sources, self.place / "objects" / (name + ".o"))

    def compile(self, name, folder, target):
        command = self.commands[name]
        words = [w for w in command if not re.match(r"-O\d|-W|-fvisibility", w)]
        words = words[:words.index("-o")] + [
            "-O0", "-w", "-I", str(self.sources), f"-ffile-prefix-map={folder}/{name}="
            f"src/validation/{pathlib.Path(name).stem}", "-o", target, "-c", folder / name]
        words = [str(w).replace(f"-I{SOURCES}", f"-I{folder}") for w in words]
        return subprocess.run(words, cwd=self.build, capture_output=True)

    def link_tests(self):
        """The plug-in's tests, with the plug-in as a library that the environment chooses."""
        self.link_library(self.place, {})
        command = subprocess.run(["ninja", "-t", "commands", "bin/test_validation"],
                                 cwd=self.build, capture_output=True, text=True, check=True)
        link = command.stdout.strip().split("\n")[-1].split(" && ")[1]
        words = [w.replace("\\$", "$") for w in shlex.split(link)  # As a shell would read it.
                 if "/gpon_card_valid_objects.dir/" not in w]
        at = words.index("-o")
        words[at + 1] = str(self.place / "tests")
        words[at:at] = [f"-L{self.place}", "-lmutant"]
        subprocess.run(words, cwd=self.build, check=True)

    def link_library(self, folder, changed):
        objects = [changed.get(name, self.place / "objects" / (name + ".o"))
                   for name in self.commands]
        library = self.build / "lib"
        return subprocess.run(["c++", "-shared", "-fuse-ld=gold", "-Wl,-soname,libmutant.so", "-o",
                               folder / "libmutant.so", *objects, f"-L{library}",
                               f"-Wl,-rpath,{library}", "-lconfd", "-lvelconfd", "-lzlog",
                               "-lfm_gpond", "-laddrkit"], cwd=self.build)

    def users_of(self, name):
        """The sources that are built anew when a file changes."""
        if name in self.commands:
            return [name]
        users, todo = set(), [name]
        while todo:
            include = f'#include "{todo.pop()}"'
            for source in self.sources.iterdir():
                if source.name not in users and include in source.read_text():
                    users.add(source.name)
                    todo.append(source.name)
        return [user for user in users if user in self.commands]

    def verdict(self, name, text):
        """'built', 'killed' or 'survived', from an earlier run if there was one."""
        key = hashlib.sha1((name + text).encode()).hexdigest()
        kept = self.place / "verdicts" / key
        tests = self.build / "bin/test_validation"
        if kept.exists() and (kept.read_text() != "survived" or
                              kept.stat().st_mtime > tests.stat().st_mtime):
            return kept.read_text()
        folder = self.place / key
        verdict = self.try_out(name, text, folder)
        subprocess.run(["rm", "-r", folder])
        kept.write_text(verdict)
        return verdict

    def try_out(self, name, text, folder):
        changed = {}
        folder.mkdir(exist_ok=True)
        for source in SOURCES.iterdir():
            (folder / source.name).write_text(source.read_text())
        (folder / name).write_text(text)
        for user in self.users_of(name):
            changed[user] = folder / (user + ".o")
            if self.compile(user, folder, changed[user]).returncode != 0:
                return "not built"
        if self.link_library(folder, changed).returncode != 0:
            return "not built"
        tests = [self.place / "tests", "--gtest_brief=1", "--gtest_fail_fast"]
        for command in (tests + ["--gtest_filter=*RecordedRun*"],
                        tests + ["--gtest_filter=-*RecordedRun*"],
                        [self.build / "bin/soak", "1", ROOT / "examples", folder / "libmutant.so"]):
            if not passes(command, folder):
                return "killed"
        return "survived"


def passes(command, folder):
    environment = {**os.environ, "LD_LIBRARY_PATH": str(folder)}
    return subprocess.run(["prlimit", f"--cpu={CPU_LIMIT}", *command], env=environment, cwd=folder,
                          capture_output=True).returncode == 0


def main():
    workshop = Workshop(pathlib.Path(sys.argv[1]))
    unchanged = "gpon_itf_valid.cpp"
    if workshop.try_out(unchanged, (SOURCES / unchanged).read_text(),
                        workshop.place / "unchanged") != "survived":
        sys.exit("the tests fail without a mutant")
    names = sys.argv[2:] or sorted(p.name for p in SOURCES.iterdir() if p.suffix in (".cpp", ".h"))
    reasons = equivalents()
    total, alive = 0, 0
    with concurrent.futures.ThreadPoolExecutor(int(os.environ.get("JOBS", os.cpu_count()))) as pool:
        for name in names:
            mutants = list(mutants_of(name, (SOURCES / name).read_text()))
            verdicts = list(pool.map(lambda m, n=name: workshop.verdict(n, m[3]), mutants))
            killed = verdicts.count("killed")
            excused = 0
            for (line, before, after, _), verdict in zip(mutants, verdicts):
                if verdict != "survived":
                    continue
                label = f"{name}: {before} => {after}".replace("\n", " ")
                if any(re.fullmatch(pattern, label) for pattern, _ in reasons):
                    excused += 1
                else:
                    alive += 1
                    print(f"{name}:{line}: survived:\n    {before}\n  =>\n    {after}")
            total += killed + verdicts.count("survived")
            print(f"{name}: {len(mutants)} mutants, {killed} killed, {excused} equivalent, "
                  f"{verdicts.count('not built')} not built", flush=True)
    print(f"{total} mutants were tried, {alive} survived that should not")
    sys.exit(alive != 0)


if __name__ == "__main__":
    main()
