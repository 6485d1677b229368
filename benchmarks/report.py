#!/usr/bin/env python3
"""Prints the table of a benchmark run with the goal and the result of each row.

usage: report.py RESULTS.json [DOCUMENT.md]
  DOCUMENT.md  receives the table, the reasons of misses, the machine and pictures of how cost grows;
               only from a run of all rows
Exit status 0 whether goals are met or not: times depend on the machine.
"""

import datetime
import json
import os
import re
import string
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import document  # noqa: E402
import plot  # noqa: E402
import results as measured  # noqa: E402

FOLDER = os.path.dirname(os.path.abspath(__file__))
GOALS = os.path.join(FOLDER, "goals.json")
TEMPLATE = os.path.join(FOLDER, "performance.md.in")
# Ratios to these are shown for information, where they have an equivalent.
OTHERS = ["plain model", "libcurl", "cpp-httplib"]
HEADING = ["workload", "time", "peer", "its time", "ratio", "goal", "allocs", "goal", "result"]


def load_goals(path=GOALS):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def allocation_goal(formula, long_strings):
    """"3" -> 3, "long + 2" -> 2 more than the strings that need memory of their own."""
    match = re.fullmatch(r"(long)?(?: \+ )?(\d+)?", formula)
    if match is None or not formula or (" + " in formula) != (None not in match.groups()):
        raise SystemExit(f"{GOALS}: '{formula}' is no number of allocations")
    return (long_strings if match.group(1) else 0) + int(match.group(2) or 0)


def time_text(nanoseconds):
    for unit, size in (("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}" if nanoseconds < 1e9 else \
                f"{nanoseconds / size:.0f} {unit}"
    return f"{nanoseconds:.1f} ns"


def count_text(count):
    return f"{count:.1f}".removesuffix(".0")


class Line:
    """A row of the goals with what was measured for it."""

    def __init__(self, goal, results):
        self.goal = goal
        self.name = goal["row"]
        source = goal.get("of", self.name)
        self.library = results.get(source)
        self.repetitions = self.library.repetitions if self.library else 0
        self.peer = None
        self.peer_name = "-"
        if "against" in goal:
            self.peer, self.peer_name = results.get(goal["against"]), "itself"
        elif "peer" in goal:
            self.peer, self.peer_name = results.get(self.name, goal["peer"]), goal["peer"]
        self.sides = results
        self.others = {} if "of" in goal else {
            side: results.get(self.name, side) for side in OTHERS}

    def measured(self):
        return self.library is not None and (self.peer is not None or self.peer_name == "-")

    def ratio_to(self, other):
        return self.library.nanoseconds / other.nanoseconds

    def allowed(self):
        """The allocations of the goal, or None."""
        if "allocations" not in self.goal:
            return None
        return allocation_goal(self.goal["allocations"], self.library.long_strings)

    def has_goal(self):
        return any(kind in self.goal for kind in ("ratio", "nanoseconds", "allocations"))

    def misses(self):
        """What is above its goal."""
        missed = []
        if "ratio" in self.goal and self.ratio_to(self.peer) > self.goal["ratio"]:
            missed.append("ratio")
        if "nanoseconds" in self.goal and self.library.nanoseconds > self.goal["nanoseconds"]:
            missed.append("time")
        if self.allowed() is not None and self.library.allocations > self.allowed():
            missed.append("allocations")
        return missed

    def verdict(self):
        if not self.has_goal():
            return "-"
        return "MISS: " + ", ".join(self.misses()) if self.misses() else "PASS"

    def reason(self):
        """Why a goal is missed. "{side}" stands for that side's time over the peer's in this run."""
        def ratio(match):
            side = self.sides.get(self.name, match.group(1))
            if side is None:
                raise SystemExit(f"{GOALS}: '{self.name}' was not measured for '{match.group(1)}'")
            return f"{side.nanoseconds / self.peer.nanoseconds:.2f}"
        return re.sub(r"\{(.+?)\}", ratio, self.goal.get("why", "No reason is recorded."))

    def cells(self):
        time_goal = "-"
        if "ratio" in self.goal:
            time_goal = f"{self.goal['ratio']:.2f}"
        elif "nanoseconds" in self.goal:
            time_goal = time_text(self.goal["nanoseconds"])
        return [
            self.name,
            time_text(self.library.nanoseconds),
            self.peer_name,
            time_text(self.peer.nanoseconds) if self.peer else "-",
            f"{self.ratio_to(self.peer):.3f}" if self.peer else "-",
            time_goal,
            count_text(self.library.allocations),
            "-" if self.allowed() is None else str(self.allowed()),
            self.verdict(),
        ] + [f"{self.ratio_to(other):.2f}" if other else "-"
             for other in (self.others.get(side) for side in OTHERS)]


def lines_of(goals, results):
    """The lines of all rows that were run. A row that no goal names is a mistake."""
    known = {goal.get("of", goal["row"]) for goal in goals["rows"]}
    known |= {growth["row"] for growth in goals["growth"]}
    unknown = sorted(results.rows() - known)
    if unknown:
        raise SystemExit(f"{GOALS} does not name: {', '.join(unknown)}")
    return [line for line in (Line(goal, results) for goal in goals["rows"]) if line.measured()]


def table(lines):
    return document.table([HEADING + OTHERS] + [line.cells() for line in lines], left={0, 2, 8})


def summary(lines):
    judged = [line for line in lines if line.has_goal()]
    met = sum(not line.misses() for line in judged)
    return f"{met} of {len(judged)} goals are met."


def reasons(lines):
    """A paragraph for each miss."""
    paragraphs = []
    for line in lines:
        if line.misses():
            paragraphs.append(
                f"- *{line.name}* ({', '.join(line.misses())}): {line.reason()}")
    return "\n".join(paragraphs) or "None."


def machine(context, repetitions):
    memory = document.first_match("/proc/meminfo", r"^MemTotal: +(\d+) kB")
    size = f"{int(memory) / 2**20:.0f} GB" if memory.isdigit() else memory
    return document.facts({
        "processor": document.processor(),
        "processors in use": context["num_cpus"],
        "memory": size,
        "system": document.system(),
        "build": "preset release (RelWithDebInfo)",
        **{name.removeprefix("version of "): context[name] for name in sorted(context)
           if name.startswith("version of ")},
        "repetitions": repetitions,
        "date": datetime.date.today().isoformat(),
    })


def pictures(goals, results, folder):
    """Writes a picture for each row that grows; the Markdown that shows them."""
    os.makedirs(folder, exist_ok=True)
    shown = []
    for growth in goals["growth"]:
        scale = growth.get("scale", 1)
        series = {side: [(size, nanoseconds * scale) for size, nanoseconds in points]
                  for side, points in results.growth(growth["row"]).items()}
        with open(os.path.join(folder, growth["file"]), "w", encoding="utf-8") as file:
            file.write(plot.draw(series, growth["title"], growth["x"], growth["y"]))
        shown.append(f"![{growth['title']}]({os.path.basename(folder)}/{growth['file']})")
    return "\n\n".join(shown)


def write_document(path, goals, results, lines):
    missing = [goal["row"] for goal in goals["rows"]
               if goal["row"] not in {line.name for line in lines}]
    missing += [growth["row"] for growth in goals["growth"] if not results.growth(growth["row"])]
    if missing:
        raise SystemExit(f"not run, so that there is no document: {', '.join(missing)}")
    with open(TEMPLATE, encoding="utf-8") as file:
        template = string.Template(file.read())
    folder = os.path.splitext(path)[0]
    text = template.substitute(
        table=table(lines),
        summary=summary(lines),
        misses=reasons(lines),
        pictures=pictures(goals, results, folder),
        machine=machine(results.context, min(line.repetitions for line in lines)))
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main(arguments):
    if len(arguments) not in (1, 2):
        print(__doc__.split("\n\n")[1], file=sys.stderr)
        return 2
    goals = load_goals()
    results = measured.load(arguments[0])
    if not results.measurements:
        print("no benchmark has run", file=sys.stderr)
        return 1
    lines = lines_of(goals, results)
    if lines:
        print(table(lines))
        print(summary(lines))
    if len(arguments) == 2:
        write_document(arguments[1], goals, results, lines)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
