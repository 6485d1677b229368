#!/usr/bin/env python3
"""Compares the includes of all sources with the table of levels in docs/architecture.md.

usage: scripts/layering.py [ROOT]
Prints each violation as path:line: text. Exit status 0 only if there is none.
"""

import fnmatch
import os
import posixpath
import re
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import source_tree  # noqa: E402

DOCUMENT = "docs/architecture.md"
PUBLIC = "include/foundation/"
CORE = "include/foundation/httpclient_core/"
# Headers of other libraries, by the first folder of their path.
FOREIGN = {"boost": "boost", "curl": "curl", "CLI": "CLI"}
LAYERED = ("include/", "src/", "transports/", "tools/")


class Malformed(Exception):
    """The document cannot be read as a table of levels."""


def table(document, name):
    """The rows between the two markers, each a list of cells, without the heading."""
    match = re.search(rf"<!-- {name}: begin.*?-->(.*?)<!-- {name}: end -->", document, re.DOTALL)
    if match is None:
        raise Malformed(f"{DOCUMENT}: has no table between the markers '{name}: begin' and 'end'")
    lines = [line.strip() for line in match.group(1).splitlines() if line.strip().startswith("|")]
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines[2:]]
    if not rows or any(len(row) != len(rows[0]) for row in rows):
        raise Malformed(f"{DOCUMENT}: the table '{name}' is empty or uneven")
    return rows


def names(cell):
    return re.findall(r"`([^`]+)`", cell)


def public_path(header):
    if header.startswith("log/"):
        return PUBLIC + header
    return posixpath.normpath(CORE + header)


class Levels:
    """The components in their order and the files of each."""

    def __init__(self, document):
        self.order = []
        self.foreign = {}
        self.exact = {}
        self.patterns = []
        for component, sources, headers, foreign, _ in table(document, "levels"):
            self.order.append(component)
            self.foreign[component] = set(foreign.split())
            entries = names(sources) + [public_path(header) for header in names(headers)]
            for entry in entries:
                if "*" in entry:
                    self.patterns.append((entry, component))
                elif entry in self.exact:
                    raise Malformed(f"{DOCUMENT}: {entry} is in two rows")
                else:
                    self.exact[entry] = component
        self.exact[CORE + "Version.h"] = "base"  # generated into the build folder
        self.downward = {}
        for file, component, _ in table(document, "downward"):
            self.downward[(names(file)[0], component)] = False

    def component_of(self, path):
        """The component of a path, or None if no row or more than one names it."""
        if path in self.exact:
            return self.exact[path]
        found = {component for pattern, component in self.patterns
                 if fnmatch.fnmatchcase(path, pattern)}
        return found.pop() if len(found) == 1 else None


def target_of(path, kind, name, known):
    """The repository's file that an include means, or None for one of another library."""
    candidates = [posixpath.normpath(posixpath.join(posixpath.dirname(path), name))] if kind == '"' else []
    candidates += ["src/" + name, name, "include/" + name]
    parts = path.split("/")
    if parts[0] in ("transports", "tools"):
        own = "/".join(parts[:2])
        candidates += [f"{own}/src/{name}", f"{own}/include/{name}"]
    candidates += [f"{folder}/include/{name}" for folder in sorted(
        {"/".join(file.split("/")[:2]) for file in known if file.startswith("transports/")})]
    if name == "foundation/httpclient_core/Version.h":
        return CORE + "Version.h"
    return next((candidate for candidate in candidates if candidate in known), None)


def private_to_core(path):
    return path.startswith("src/")


def cycles(graph):
    """One finding for each file from which an include leads back to it."""
    found = []
    state = {}

    def visit(node, trail):
        state[node] = "open"
        for following in sorted(graph.get(node, ())):
            if state.get(following) == "open":
                loop = trail[trail.index(following):] + [following]
                found.append(f"{following}:1: includes itself: {' -> '.join(loop)}")
            elif following not in state:
                visit(following, trail + [following])
        state[node] = "done"

    for node in sorted(graph):
        if node not in state:
            visit(node, [node])
    return found


def check(root):
    levels = Levels(source_tree.read(root, DOCUMENT))
    known = set(source_tree.files(root))
    sources = sorted(path for path in known
                     if path.startswith(LAYERED) and path.endswith(source_tree.CPP_SUFFIXES)
                     and "/tests/" not in path)
    findings = [f"{DOCUMENT}:1: names {path}, which does not exist"
                for path in levels.exact if path not in known and not path.endswith("/Version.h")]
    graph = {}
    for path in sources:
        component = levels.component_of(path)
        if component is None:
            findings.append(f"{path}:1: is in no row of {DOCUMENT}, or in more than one")
            continue
        for line, kind, name in source_tree.includes(source_tree.read(root, path)):
            library = FOREIGN.get(name.split("/")[0])
            if library is not None and library not in levels.foreign[component]:
                findings.append(f"{path}:{line}: {component} includes {library}")
            target = target_of(path, kind, name, known)
            if target is None:
                if kind == '"' or name.startswith("foundation/"):
                    findings.append(f"{path}:{line}: {name} is not a file of this repository")
                continue
            graph.setdefault(path, set()).add(target)
            other = levels.component_of(target)
            if other is None:
                findings.append(f"{path}:{line}: {target} has no level")
                continue
            if private_to_core(target) and not path.startswith("src/"):
                findings.append(f"{path}:{line}: {target} is private to the core")
            if levels.order.index(other) > levels.order.index(component):
                if path.endswith(".cpp") and (path, other) in levels.downward:
                    levels.downward[(path, other)] = True
                else:
                    findings.append(f"{path}:{line}: {component} includes {target} of {other}")
    findings += [f"{DOCUMENT}:1: allows {file} to include from {component}, which it does not"
                 for (file, component), used in levels.downward.items() if not used]
    return findings + cycles(graph), len(sources)


def main(arguments):
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    try:
        findings, count = check(root)
    except Malformed as problem:
        findings, count = [str(problem)], 0
    if count == 0:
        findings.append(f"{root}: no source was found")
    return source_tree.report(findings, f"layering of {count} sources")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
