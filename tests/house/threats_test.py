#!/usr/bin/env python3
"""Checks that the tests which SECURITY.md names exist.

usage: threats_test.py [ROOT]
"""

import os
import re
import sys

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "scripts"))
import source_tree  # noqa: E402

DEFINED = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAMED = re.compile(r"`(\w+Test\.\w+)`")
ROW = re.compile(r"^\| \*\*", re.MULTILINE)


def missing(document, tests):
    """The names in the document that no test has."""
    return sorted(set(NAMED.findall(document)) - tests)


def main(root=os.path.join(HERE, "..", "..")):
    assert missing("`ATest.Works` and `ATest.Fails`", {"ATest.Works"}) == ["ATest.Fails"]
    tests = {".".join(match) for path in source_tree.files(root) if path.endswith(".cpp")
             for match in DEFINED.findall(source_tree.read(root, path))}
    document = source_tree.read(root, "SECURITY.md")
    lost = missing(document, tests)
    for name in lost:
        print(f"SECURITY.md: there is no test {name}")
    named = len(set(NAMED.findall(document)))
    print(f"{len(ROW.findall(document))} threats, {named} tests, {len(lost)} of them missing")
    return 1 if lost or not named else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
