"""What the written reports of the benchmarks share: Markdown tables and facts about the machine."""

import re


def table(rows, left):
    """The rows, the first of which is the heading; the columns in `left` begin at the left."""
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    marks = ["-" * width if column in left else "-" * (width - 1) + ":"
             for column, width in enumerate(widths)]
    return "\n".join("| " + " | ".join(
        cell.ljust(width) if column in left else cell.rjust(width)
        for column, (cell, width) in enumerate(zip(row, widths))) + " |"
        for row in [rows[0], marks] + rows[1:])


def facts(named):
    """A table without a heading of names and values."""
    return "\n".join(["| | |", "|---|---|"] + [f"| {name} | {value} |"
                                               for name, value in named.items()])


def first_match(path, pattern):
    """The first group of the pattern in the file, or "unknown"."""
    try:
        with open(path, encoding="utf-8") as file:
            match = re.search(pattern, file.read(), re.MULTILINE)
    except OSError:
        match = None
    return match.group(1) if match else "unknown"


def processor():
    return first_match("/proc/cpuinfo", r"^model name\s*: (.*)$")


def system():
    return first_match("/etc/os-release", r'^PRETTY_NAME="?([^"\n]*)')
