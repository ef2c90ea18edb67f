#!/usr/bin/env python3
"""Reads what a run of an instrumented build left behind, prints how much of the library it covered, worst file first,
and lists the places that were not reached in uncovered.txt in the folder of the build. Fails below the limits.

usage: coverage.py BUILD_FOLDER"""

import collections
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("dt2Library", "include/taro25d")
MIN_LINES, MIN_BRANCHES = 90.0, 75.0  # per cent; the totals must be more
DEFINITION = """
Lines: those of dt2Library and include/taro25d that compile to code.
Branches: the two ways that each condition on them can go. Each operand of && and || is a condition, each case of a
switch is a branch, and the instances of a template count together.
Not counted: branches that no condition of the source makes (calls that may throw, the first use of a static variable,
static initialisers), and conditions on a line with TARO_ASSERT, throw or __builtin_unreachable. What the compiler adds
for the unwinding of the stack cannot always be told from a condition; what is left of it counts as never taken."""
NO_CONDITIONS = re.compile(r"\bTARO_ASSERT(_TEXT)?\(|\bthrow\b|__builtin_unreachable|^\s+static [^()]*;$")
INITIALISER = re.compile(r"_GLOBAL__sub_|__static_initialization")


def reports(build):
    """What gcov knows about each source file, once for each object file that holds code of it."""
    for counters in sorted(build.rglob("*.gcda")):
        gcov = ["gcov", "--json-format", "--stdout", "--branch-probabilities", counters.name]
        output = subprocess.run(gcov, cwd=counters.parent, check=True, capture_output=True, text=True).stdout
        for document in output.splitlines():
            yield from json.loads(document)["files"]


def counts_of_conditions(branches):
    """The counts of the branches on a line, without the pairs of which one throws: those belong to calls."""
    counts, i = [], 0
    while i < len(branches):
        if any(branch["throw"] for branch in branches[i:i + 2]):
            i += 2
        else:
            counts.append(branches[i]["count"])
            i += 1
    return counts


class Source:
    def __init__(self, path):
        self.name = str(path.relative_to(ROOT))
        self.text = path.read_text().splitlines()
        self.lines = collections.Counter()  # from the number of a line to how often it ran
        self.branches = {}  # counts, by line, where the function starts, and how many they are

    def add(self, report):
        starts = {f["name"]: (f["start_line"], f["start_column"]) for f in report["functions"]}
        for line in report["lines"]:
            number, function = line["line_number"], line.get("function_name", "")
            text = self.text[number - 1]
            if INITIALISER.search(function) or not re.search(r"\w", text):
                continue
            self.lines[number] += line["count"]
            counts = counts_of_conditions(line["branches"])
            if counts and not NO_CONDITIONS.search(text):
                key = (number, starts.get(function), len(counts))
                self.branches[key] = [a + b for a, b in zip(counts, self.branches.get(key, [0] * len(counts)))]

    def figures(self):
        """How many lines ran and there are, how many branches were taken and there are."""
        counts = [count for group in self.branches.values() for count in group]
        return (sum(count > 0 for count in self.lines.values()), len(self.lines),
                sum(count > 0 for count in counts), len(counts))

    def uncovered(self):
        for number in sorted(self.lines):
            groups = [group for key, group in self.branches.items() if key[0] == number and 0 in group]
            reasons = [f"{group.count(0)} of {len(group)} branches not taken" for group in groups]
            for reason in reasons if self.lines[number] > 0 else ["not run"]:
                yield f"{self.name}:{number}: {reason}: {self.text[number - 1].strip()}\n"


def percent(covered, total):
    return 100.0 * covered / total if total else 100.0


def row(name, lines_run, lines, taken, branches):
    return (f"{name:<48}{lines_run:>7} of{lines:>5}{percent(lines_run, lines):8.1f} %"
            f"{taken:>9} of{branches:>5}{percent(taken, branches):8.1f} %")


def main(build):
    sources = {}
    for report in reports(build):
        path = pathlib.Path(report["file"])
        if any(path.is_relative_to(ROOT / folder) for folder in FOLDERS):
            sources.setdefault(path, Source(path)).add(report)
    if not sources:
        sys.exit(f"no counters of the library in {build}")
    table = [(source.name, *source.figures()) for source in sources.values()]
    table.sort(key=lambda r: (min(percent(r[1], r[2]), percent(r[3], r[4])), r[0]))
    total = [sum(column) for column in list(zip(*table))[1:]]
    print(f"{'':<48}{'lines':>14}{'branches':>27}")
    for figures in table + [("all", *total)]:
        print(row(*figures))
    print(DEFINITION)

    places = build / "uncovered.txt"
    with places.open("w") as file:
        for path in sorted(sources):
            file.writelines(sources[path].uncovered())
    print(f"What was not reached: {places}")
    if not (percent(*total[:2]) > MIN_LINES and percent(*total[2:]) > MIN_BRANCHES):
        sys.exit(f"Too little: lines must be above {MIN_LINES:g} %, branches above {MIN_BRANCHES:g} %")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(pathlib.Path(sys.argv[1]))
