#!/usr/bin/env python3
"""Times whole programs on generated cards: programs.py BUILD [--rounds N] [--links 1,2,4,...]

Processor time of a program with all its child processes, in pairs that run in turn: what counts is
the median of their ratios. An everyday edit gives one ONU another line profile; a quiet edit gives
one another description, which no rule looks at.
"""
import argparse
import json
import math
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

NAMESPACE = "urn:olt:gpon:base"
MODEL = pathlib.Path(__file__).parent.parent / "model"
FULL_CARD = 16
EDITS = 200
QUICK_EDITS = 2000  # Of those that take less than the noise of a process.
SHORTEST = 0.001    # Milliseconds.


def run(words, accepted=(0,)):
    """@return Processor seconds, the peak of resident memory in MiB, and what was written to stdout."""
    process = subprocess.Popen([str(word) for word in words], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    output, errors = process.stdout.read(), process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in accepted:
        sys.exit(f"{' '.join(map(str, words[:6]))} ended with {process.returncode}:\n"
                 f"{output.decode()[-2000:]}{errors.decode()[-2000:]}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, output.decode()


def onu_edit(port, onu, content):
    return (f'<config xmlns="{NAMESPACE}"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>'
            f"<port-id>{port}</port-id><onu><onu-id>{onu}</onu-id>{content}</onu></gpon></interface></config>")


class Card:
    """A generated card, and edits for it, in files of a folder."""

    def __init__(self, program, folder, links, profiles=None):
        """@param profiles  Line profiles; a rule that looks at a link reads them all. None: 32 for each link."""
        self.program, self.links = program, links
        self.folder = folder / f"{links}-{profiles}"
        self.folder.mkdir()
        profiles = profiles or 32 * links
        self.running, self.capabilities = self.folder / "running.xml", self.folder / "card.json"
        run([program, "generate", "--links", links, "--onus", 128, "--line-profiles", profiles,
             "--bandwidth-profiles", profiles // 8, "--rg-profiles", links,
             "--service-ports", min(256 * links, 4096),
             "-o", self.running, "--card", self.capabilities])
        self.profiles = {}
        # Element by element: this process's memory counts in the peak of those that it starts.
        for _, element in ElementTree.iterparse(self.running):
            name = element.tag.partition("}")[2]
            if name == "port-id":
                port = element.text
            elif name == "onu" and element.find("{*}onu-id") is not None:
                place = (port, element.findtext("{*}onu-id"))
                self.profiles[place] = element.findtext("{*}profile-references/{*}line-profile")
            if name in ("onu", "gpon", "service-port"):
                element.clear()

    def places(self, count):
        """So many ONUs, from all links in turn."""
        onus = sorted(self.profiles, key=lambda place: (int(place[1]), int(place[0])))
        return [onus[i % len(onus)] for i in range(count)]

    def write(self, name, text):
        file = self.folder / name
        file.write_text(text)
        return file

    def everyday(self, count):
        names = sorted(set(self.profiles.values()))
        return [self.write(f"everyday-{i}.xml", onu_edit(*place, "<profile-references><line-profile>" + next(
            names[(i + n) % len(names)] for n in range(2) if names[(i + n) % len(names)] != self.profiles[place]
        ) + "</line-profile></profile-references>")) for i, place in enumerate(self.places(count))]

    def quiet(self, count):
        return [self.write(f"quiet-{i}.xml", onu_edit(*place, f"<description>visited {i}</description>"))
                for i, place in enumerate(self.places(count))]

    def new_onus(self, count):
        """So many edits, each with 128 ONUs more, on a link that the running configuration lacks."""
        profile = next(iter(self.profiles.values()))
        references = f"<profile-references><line-profile>{profile}</line-profile></profile-references>"
        return [self.write(f"new-{i}.xml", f'<config xmlns="{NAMESPACE}"><interface><gpon><chassis-id>1</chassis-id>'
                           f"<slot-id>1</slot-id><port-id>{self.links + 1 + i}</port-id>" + "".join(
                               f"<onu><onu-id>{onu}</onu-id>{references}<auth-method><serial-number>NEWS{i:02}{onu:06}"
                               f"</serial-number></auth-method></onu>" for onu in range(1, 129)) +
                           "</gpon></interface></config>") for i in range(count)]

    def check(self, *words, accepted=(0, 1)):
        return run([self.program, "check", "--running", self.running, "--card", self.capabilities, "--yes",
                    *words], accepted)

    def check_edits(self, edits, *words):
        return self.check(*words, *(word for edit in edits for word in ("--edit", edit)))


def ratio_of(first, second, rounds):
    """Median of the ratios of two measurements that are made in turn."""
    return statistics.median(first()[0] / second()[0] for _ in range(rounds))


def growth(by_links):
    """n, where a figure is as links to the power of n: least squares over all sizes."""
    points = [(math.log(links), math.log(value)) for links, value in by_links.items()]
    x, y = (statistics.mean(axis) for axis in zip(*points))
    return sum((a - x) * (b - y) for a, b in points) / sum((a - x) ** 2 for a, _ in points)


def say(text, value, limit=None):
    print(f"{text:<70}{value:>10}" + (f"   (at most {limit})" if limit else ""), flush=True)


def one_shot(card, rounds):
    (edit,) = card.everyday(1)
    words = ["yanglint", "-p", MODEL, "-t", "config", *sorted(MODEL.glob("base.yang")), card.running]
    say("check of an everyday edit, to yanglint on the running file",
        f"{ratio_of(lambda: card.check('--edit', edit), lambda: run(words), rounds):.2f}", 1.2)
    small = card.check("--edit", edit)
    say("  peak of resident memory", f"{small[1]:.0f} MiB")


def own_process(card, rounds):
    """What it takes to keep the plug-in in a process of its own: little beside the noise, so of many pairs."""
    (edit,) = card.everyday(1)
    ways = {"apart": [], "in process": ["--in-process"]}
    times = {way: [] for way in ways}
    for i in range(10 * rounds):
        for way in sorted(ways, reverse=i % 2 == 1):  # Either goes first in turn.
            times[way].append(card.check("--edit", edit, *ways[way])[0])
    more = statistics.median(apart - within for apart, within in zip(*times.values()))
    say("the plug-in in a process of its own, to --in-process", f"{1000 * more:.1f} ms", "5 ms")


def places(card, rounds):
    """What it takes to find a place in the largest text that there is: a candidate with one objection, at its end."""
    before, tag, behind = card.running.read_text().rpartition("<default-gateway>")
    gateway = behind.partition("<")[0]
    network = gateway.rpartition(".")[0]
    sound, faulty = (card.write(f"{name}.xml", before + tag + behind.replace(gateway, address, 1))
                     for name, address in (("sound", f"{network}.200"), ("faulty", "192.0.2.1")))
    say("whole candidate with one objection, to one with none",
        f"{ratio_of(lambda: card.check(faulty), lambda: card.check(sound), rounds):.2f}", 1.1)


def headroom(card, rounds):
    """What the figures and their page take besides loading: an edit that changes nothing is little more than that."""
    nothing = card.write("nothing.xml", f'<config xmlns="{NAMESPACE}"/>')
    words = [card.program, "headroom", "--running", card.running, "--card", card.capabilities,
             "--html", card.folder / "page.html"]
    say("headroom with its page, to loading the card",
        f"{ratio_of(lambda: run(words), lambda: card.check('--edit', nothing), rounds):.2f}", 1.5)


def many_edits(card, rounds):
    (edit,) = card.everyday(1)
    for kind, edits, limit in (("everyday", card.everyday(EDITS), 4), ("quiet", card.quiet(EDITS), 2)):
        say(f"{EDITS} {kind} edits in one process, to one check",
            f"{ratio_of(lambda e=edits: card.check_edits(e), lambda: card.check('--edit', edit), rounds):.2f}", limit)
    say("  peak of resident memory", f"{card.check_edits(card.everyday(EDITS))[1]:.0f} MiB")


def one_edit(card, edits, *words):
    """Milliseconds of an edit on a card that is open already: what each edit more costs."""
    few = edits[:len(edits) // 4]
    more = statistics.median(card.check_edits(edits, *words)[0] - card.check_edits(few, *words)[0] for _ in range(7))
    return max(1000 * more / (len(edits) - len(few)), SHORTEST)


def phases(card):
    """Milliseconds of each phase of an everyday edit on an open card: medians, by the clock."""
    reports = [json.loads(line) for line in card.check_edits(card.everyday(EDITS), "--json", "--explain")[2].splitlines()]
    times = {}
    for report in reports[len(reports) // 2:]:
        for phase in report["explanation"]["phases"]:
            times.setdefault(phase["phase"], []).append(phase["time-us"] / 1000)
    return {phase: statistics.median(values) for phase, values in times.items()}


def open_card(cards, same_profiles, curves):
    onus, commits = {}, {}
    growing = {"everyday edit": {}, "quiet edit": {}, "everyday edit, as many profiles on each card": {}}
    everyday, quiet, same = growing.values()
    for links, card in cards.items():
        everyday[links], quiet[links] = one_edit(card, card.everyday(EDITS)), one_edit(card, card.quiet(QUICK_EDITS))
        onus[links] = one_edit(card, card.new_onus(12))
        commits[links] = one_edit(card, card.quiet(QUICK_EDITS), "--in-turn")
        say(f"open card of {links} links: everyday edit, quiet edit, one committed",
            f" {everyday[links]:.2f}, {quiet[links]:.2f}, {commits[links]:.2f} ms")
        say("  128 new ONUs at once", f"{onus[links]:.1f} ms", "25 ms" if links == FULL_CARD else None)
        say("  phases of an everyday edit, ms by the clock",
            ", ".join(f"{phase} {time:.2f}" for phase, time in phases(card).items()))
    for links, card in same_profiles.items():
        same[links] = one_edit(card, card.everyday(EDITS))
    for kind, times in growing.items():
        usual = {links: value for links, value in times.items() if links <= FULL_CARD}
        if len(usual) > 1:
            say(f"  growth of the {kind}, n", f"{growth(usual):.2f}", 0.3)
    curves.write_text("# links, ms of a quiet edit, one that is committed, an everyday edit, 128 new ONUs\n" + "".join(
        f"{links} {quiet[links]} {commits[links]} {everyday[links]} {onus[links]}\n" for links in cards))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="such as build/desk")
    parser.add_argument("--rounds", type=int, default=7, help="of each pair (7)")
    parser.add_argument("--links", default="1,2,4,8,16,64", help="sizes of the open card (1,2,4,8,16,64)")
    arguments = parser.parse_args()
    program = (arguments.build / "bin/gpon-validate").resolve()
    with tempfile.TemporaryDirectory() as folder:
        sizes = {int(links) for links in arguments.links.split(",")} | {FULL_CARD}
        cards = {links: Card(program, pathlib.Path(folder), links) for links in sorted(sizes)}
        one_shot(cards[FULL_CARD], arguments.rounds)
        own_process(cards[FULL_CARD], arguments.rounds)
        places(cards[FULL_CARD], arguments.rounds)
        headroom(cards[FULL_CARD], arguments.rounds)
        many_edits(cards[FULL_CARD], arguments.rounds)
        same = {links: Card(program, pathlib.Path(folder), links, 32) for links in sizes if links <= FULL_CARD}
        open_card(cards, same, arguments.build / "bench-open.dat")


if __name__ == "__main__":
    main()
