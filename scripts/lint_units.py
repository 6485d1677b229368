#!/usr/bin/env python3
"""Joins the sources of each folder into one for clang-tidy.

usage: scripts/lint_units.py BUILD
Reads BUILD/compile_commands.json and writes BUILD/units/ with compile commands of its own. Most of the
time of clang-tidy goes into the headers of other libraries, once for each file that it is given; joined,
the sources are checked in a quarter of the time. Prints how many sources the units hold.
"""

import collections
import json
import os
import re
import shlex
import shutil
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import source_tree  # noqa: E402

# Programs and libraries; the tests' macros expand to what clang-tidy is made to dislike.
LINTED = re.compile(r"(src|transports/[^/]+/src|tools/[^/]+/src)/.*\.cpp")
# The files of a command, with the option that each follows.
FILES = {"-o", "-c", "-MF", "-MT", "-MQ"}


def options(command):
    """What a source is compiled with, without the names of files."""
    words = iter(shlex.split(command))
    return [word for word in words if not (word in FILES and next(words))]


def units(root, commands):
    """(folder, options) -> sources; a folder whose sources are compiled differently has several."""
    known = {command["file"]: command for command in commands}
    found = collections.defaultdict(list)
    for path in source_tree.files(root):
        if LINTED.fullmatch(path):
            command = known.get(os.path.join(root, path))
            if command is None:
                raise SystemExit(f"lint_units.py: {path} belongs to no target")
            found[os.path.dirname(path), tuple(options(command["command"]))].append(path)
    return found


def main(build):
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    folder = os.path.join(root, build, "units")
    with open(os.path.join(root, build, "compile_commands.json"), encoding="utf-8") as file:
        found = units(root, json.load(file))
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    commands = []
    # The longest first, so that none is left for the end.
    for number, ((_, words), sources) in enumerate(
            sorted(found.items(), key=lambda unit: -len(unit[1]))):
        unit = os.path.join(folder, f"{number}.cpp")
        with open(unit, "w", encoding="utf-8") as file:
            for source in sources:
                file.write(f'#include "{os.path.join(root, source)}"'
                           "  // NOLINT(bugprone-suspicious-include): that is what it is for\n")
        commands.append({"directory": os.path.join(root, build), "file": unit,
                         "arguments": [*words, "-c", unit]})
    with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as file:
        json.dump(commands, file, indent=1)
    print(sum(len(sources) for sources in found.values()))


if __name__ == "__main__":
    main(*sys.argv[1:])
