#!/usr/bin/env python3
"""Judges what llvm-cov exported of each program, one area of the sources after the other.

usage: coverage_report.py FOLDER [AREA]...

A line counts if it holds code; a branch has two outcomes; a condition counts as covered (MC/DC) if two runs of its
decision differ in it alone and in the result. What llvm-cov counts for each program, and for each instantiation of a
template, counts once here, at its place in the source: reached is what any of them reached. Branches of the compiler
for exceptions are in none of them.
"""

import collections
import json
import os
import re
import sys

Bars = collections.namedtuple("Bars", "lines branches conditions")

# area: (the folders of its sources, the bars in percent)
AREAS = {
    "core": (("src/", "include/"), Bars(100, 98, 95)),
    "transport": (("transports/curl/src/", "transports/curl/include/"), Bars(95, 88, 0)),
    "tool": (("tools/httpclient/src/",), Bars(95, 88, 0)),
}

# Where each condition must be shown to matter: what decides on retries, what validates, and URLs.
STRICT = Bars(100, 98, 100)
STRICT_SOURCES = re.compile(
    r"src/url/"
    r"|src/config/(?:BackoffArithmetic|DefaultRetry|JitterSources|ProxyAuthenticationStrategy|RetryStrategy)\."
    r"|src/client/(?:RetryPreparation|RequestValidation)\."
    r"|include/foundation/httpclient_core/"
    r"(?:URL|QueryParameters|PercentEncoder|RetryStrategy|ProxyAuthenticationStrategy)\.h")


class Tally:
    """What was reached (true) and what was not, by place."""

    def __init__(self):
        self.lines = {}       # line
        self.branches = {}    # (line, column, outcome)
        self.conditions = {}  # (line, column, number of the condition)

    def add(self, which, place, reached):
        which[place] = which.get(place, False) or reached


def add_lines(tally, segments):
    """The count of a line: the largest of what starts in it and of what it began in."""
    by_line = collections.defaultdict(list)
    for line, _, count, has_count, is_entry, is_gap in segments:
        by_line[line].append((count, has_count, is_entry, is_gap))
    wrapped = None
    for line in range(min(by_line, default=0), max(by_line, default=-1) + 1):
        here = by_line.get(line, [])
        starts = [count for count, has_count, is_entry, is_gap in here
                  if has_count and is_entry and not is_gap]
        skipped = bool(here) and not here[0][1] and here[0][2]
        if starts or (not skipped and wrapped is not None and wrapped[1]):
            before = [wrapped[0]] if wrapped is not None and wrapped[1] else []
            tally.add(tally.lines, line, max(before + starts) > 0)
        if here:
            wrapped = here[-1]


def read(folder, root):
    """path below root: Tally"""
    found = {}
    for name in sorted(os.listdir(folder)):
        if name.endswith(".json"):
            with open(os.path.join(folder, name), encoding="utf-8") as text:
                add(found, json.load(text)["data"][0]["files"], root)
    return found


def add(found, files, root):
    for file in files:
        tally = found.setdefault(os.path.relpath(file["filename"], root), Tally())
        add_lines(tally, file["segments"])
        for line, column, _, _, taken, not_taken, *_ in file["branches"]:
            tally.add(tally.branches, (line, column, True), taken > 0)
            tally.add(tally.branches, (line, column, False), not_taken > 0)
        for line, column, *_, conditions in file["mcdc_records"]:
            for number, covered in enumerate(conditions, start=1):
                tally.add(tally.conditions, (line, column, number), covered)


def ranges(lines):
    """(first, last) of each run of lines that were not reached, whatever lines without code lie between."""
    found, first, last = [], None, None
    for line, reached in sorted(lines.items()):
        if reached:
            if first is not None:
                found.append((first, last))
            first = None
        else:
            first, last = (line if first is None else first), line
    return found if first is None else found + [(first, last)]


def misses(path, tally):
    """(path, line, text) of everything that was not reached."""
    found = [(path, first, "line not reached" if first == last else f"lines to {last} not reached")
             for first, last in ranges(tally.lines)]
    for (line, column, outcome), reached in tally.branches.items():
        if not reached:
            found.append((path, line, f"branch at column {column} never {str(outcome).lower()}"))
    for (line, column, number), covered in tally.conditions.items():
        if not covered:
            found.append((path, line, f"condition {number} of the decision at column {column} "
                                      "never decides alone"))
    return sorted(found)


def share(reached, count):
    return 100.0 if count == 0 else 100.0 * reached / count


def judge(name, tallies, bars):
    """Prints the row of an area; whether it meets the bars."""
    row, good = [], True
    for what, bar in bars._asdict().items():
        values = [reached for tally in tallies for reached in getattr(tally, what).values()]
        percent = share(sum(values), len(values))
        verdict = "" if percent >= bar else f" BELOW {bar}"
        good = good and percent >= bar
        row.append(f"{what} {percent:6.2f} % ({sum(values)}/{len(values)}){verdict}")
    print(f"{name:<10} " + "  ".join(row))
    return good


def main(arguments):
    if not arguments or not set(arguments[1:]) <= set(AREAS):
        sys.exit("usage: coverage_report.py FOLDER [" + " | ".join(AREAS) + "]...")
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    tallies = read(arguments[0], root)
    wanted = arguments[1:] or list(AREAS)
    good = True
    for area in wanted:
        folders, _ = AREAS[area]
        for path in sorted(tallies):
            if path.startswith(folders):
                for place in misses(path, tallies[path]):
                    print("{}:{}: {}".format(*place))
    for area in wanted:
        folders, bars = AREAS[area]
        mine = {path: tally for path, tally in tallies.items() if path.startswith(folders)}
        if not mine:
            print(f"{area:<10} nothing was counted")
            good = False
        good = judge(area, mine.values(), bars) and good
        if area == "core":
            strict = [tally for path, tally in mine.items() if STRICT_SOURCES.match(path)]
            good = judge("- strict", strict, STRICT) and good
    print("scripts/coverage: " + ("all bars are met" if good else "below a bar"))
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main(sys.argv[1:])
