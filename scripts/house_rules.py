#!/usr/bin/env python3
"""Checks the rules of this repository that no other tool knows.

usage: scripts/house_rules.py [ROOT]
Prints each violation as path:line: text. Exit status 0 only if there is none.
"""

import os
import posixpath
import re
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import source_tree  # noqa: E402

BINARY_SUFFIXES = (".png", ".ico", ".bin", ".gz")
MACRO_HEADERS = {"Export.h", "Version.h"}

# Public headers without a test file of their own, each with its reason. An entry that is not needed is
# a finding, too.
NO_TEST = {
    "include/foundation/httpclient_core.h": "includes the others; every documented example includes it",
    "include/foundation/httpclient_core/Export.h": "one macro; the test of the exported symbols covers it",
    "include/foundation/httpclient_core/Fwd.h": "declarations only; compiled alone by the header check",
    "transports/curl/include/foundation/httpclient_curl/Export.h": "as the core's",
}

# Sources whose own header has another name.
OWN_HEADER = {
    "src/client/ProxyAuthentication.cpp": "foundation/httpclient_core/HttpClient.h",
    "src/headers/CaseInsensitiveCompare.cpp": "foundation/httpclient_core/NameValueCollection.h",
}

# What no text of this repository holds. Put together from pieces, so that this file passes itself.
WORDS = [
    (re.compile(r"\b(?:TO" r"DO|FIX" r"ME|XX" r"X|HA" r"CK)\b"), "an open end; finish it or record it elsewhere"),
    (re.compile(r"\bPart \d+\.\d"), "a reference in place of the explanation"),
    (re.compile(r"\b(?:see|per|by|rule|item|decision|issue) \(?[A-ET]\d{1,2}\b", re.IGNORECASE),
     "a reference in place of the explanation"),
    (re.compile(r"\bspec\.md\b|\bthe spec(?:ification)? (?:says|wants|requires|demands)\b", re.IGNORECASE),
     "a reference in place of the explanation"),
    (re.compile(r"(?<![\w.:/*$}])/(?:work|home|root|Users)/\w"), "a path of one machine"),
]

# Ways to make a test pass without testing.
EMPTY_TESTS = re.compile(r"\bGTEST_" r"SKIP\b|\bDIS" r"ABLED_\w|\bSUCC" r"EED\(\)")

LINT_EXCEPTION = re.compile(r"NO" r"LINT(?:NEXTLINE|BEGIN|END)?\b(?P<rest>[^\n]*)")
NAMED_LINT_EXCEPTION = re.compile(r"\([a-z][\w\-.,* ]*\)(?:: \S.*)?$")


def is_public_header(path):
    return path.endswith(".h") and (
        path.startswith("include/foundation/") or "/include/foundation/" in path)


def characters(path, text):
    for match in re.finditer(r"[^\x00-\x7f]|\r|\x00", text):
        yield source_tree.line_of(text, match.start()), "a character that is not ASCII text"


def words(path, text):
    for pattern, reason in WORDS:
        for match in pattern.finditer(text):
            yield source_tree.line_of(text, match.start()), f"'{match.group().strip()}': {reason}"


def tests_that_pass_untested(path, text):
    for match in EMPTY_TESTS.finditer(text):
        yield source_tree.line_of(text, match.start()), f"'{match.group()}' hides what is not tested"


def lint_exceptions(path, text):
    for match in LINT_EXCEPTION.finditer(text):
        rest = match.group("rest").strip()
        line = source_tree.line_of(text, match.start())
        if not NAMED_LINT_EXCEPTION.match(rest):
            yield line, "a lint exception that does not name its check"
        elif ": " not in rest and not match.group().startswith("NO" "LINTEND"):
            yield line, "a lint exception without a reason"


def public_header(path, text):
    code = source_tree.without_comments(text)
    if not re.match(r"\s*#pragma once\b", code):
        yield 1, "does not begin with #pragma once"
    for match in re.finditer(r"\busing\s+namespace\b", code):
        yield source_tree.line_of(code, match.start()), "'using namespace' in a public header"
    if os.path.basename(path) not in MACRO_HEADERS:
        for match in re.finditer(r"^[ \t]*#[ \t]*define\b", code, re.MULTILINE):
            yield source_tree.line_of(code, match.start()), "a macro in a public header"
    for line, kind, name in source_tree.includes(text):
        if re.match(r"(?:boost|curl|CLI|openssl|gtest|gmock)/", name):
            yield line, f"a public header includes {name}"
        if kind == '"':
            yield line, f'a public header includes "{name}" in quotes'
        if "/detail/" in name and "/detail/" not in path:
            yield line, f"a public header includes {name}"


def own_header_first(path, text, known):
    """The header of a source is its first include, which proves it complete."""
    expected = OWN_HEADER.get(path)
    if expected is None:
        stem = os.path.basename(path)[:-len(".cpp")] + ".h"
        folder = path.rsplit("/", 1)[0]
        public = sorted(header for header in known
                        if is_public_header(header) and os.path.basename(header) == stem)
        if f"{folder}/{stem}" in known:
            expected = stem
        elif public:
            expected = public[0].split("include/", 1)[1]
        elif os.path.basename(path) == "main.cpp":
            return
        else:
            yield 1, f"has no header {stem}"
            return
    included = source_tree.includes(text)
    first = included[0][2] if included else "nothing"
    if first != expected and posixpath.basename(first) != expected:
        yield included[0][0] if included else 1, f"includes {first} first, not its own header {expected}"


def is_source(path):
    return path.startswith(("src/", "transports/", "tools/")) and "/tests/" not in path


def headers_without_test(known):
    tests = {os.path.basename(path) for path in known if path.endswith("Test.cpp")}
    for path in sorted(known):
        if not is_public_header(path):
            continue
        test = os.path.basename(path)[:-len(".h")] + "Test.cpp"
        if path not in NO_TEST and test not in tests:
            yield f"{path}:1: has no test file {test}"
        if path in NO_TEST and test in tests:
            yield f"{path}:1: is listed as untested ({NO_TEST[path]}) but has {test}"


def check(root):
    known = set(source_tree.files(root))
    findings = list(headers_without_test(known))
    for path in sorted(known):
        if path.endswith(BINARY_SUFFIXES):
            continue
        text = source_tree.read(root, path)
        rules = [characters, words, lint_exceptions]
        if path.endswith(source_tree.CPP_SUFFIXES):
            rules.append(tests_that_pass_untested)
        if is_public_header(path):
            rules.append(public_header)
        for rule in rules:
            findings += [f"{path}:{line}: {problem}" for line, problem in rule(path, text)]
        if path.endswith(".cpp") and is_source(path):
            findings += [f"{path}:{line}: {problem}"
                         for line, problem in own_header_first(path, text, known)]
    return findings, len(known)


def main(arguments):
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    findings, count = check(root)
    if count == 0:
        findings.append(f"{root}: no file was found")
    return source_tree.report(findings, f"house rules over {count} files")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
