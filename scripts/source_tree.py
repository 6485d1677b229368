"""What the checks of this repository share: the list of its files and their includes."""

import os
import re
import shutil
import subprocess

SKIPPED_FOLDERS = {".git", ".cache", "build", "__pycache__"}
CPP_SUFFIXES = (".h", ".cpp")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


def files(root):
    """The repository's files, relative to root and sorted; without git every file of the folder."""
    if os.path.exists(os.path.join(root, ".git")) and shutil.which("git"):
        # Asked for with the ownership check off: a checkout may belong to another user.
        listed = subprocess.run(
            ["git", "-c", "safe.directory=*", "-C", root, "ls-files", "-z", "--cached", "--others",
             "--exclude-standard"],
            check=True, stdout=subprocess.PIPE, text=True).stdout.split("\0")
        return sorted(name for name in set(listed)
                      if name and os.path.isfile(os.path.join(root, name)))
    found = []
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if name not in SKIPPED_FOLDERS]
        found += [os.path.relpath(os.path.join(folder, name), root) for name in names]
    return sorted(found)


def read(root, path):
    with open(os.path.join(root, path), encoding="utf-8", errors="surrogateescape",
              newline="") as source:
        return source.read()


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def includes(text):
    """(line, kind, name) of each include; kind is '<' or '"'."""
    return [(line_of(text, match.start()), match.group(1), match.group(2))
            for match in INCLUDE.finditer(text)]


def without_comments(text):
    """The text with comments and string literals blanked, so that positions and lines stay."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)

    def blank(match):
        # A digit separator (1'000) is no literal.
        if match.group().startswith("'") and re.search(r"[0-9a-fA-F]$", text[:match.start()][-1:]):
            return match.group()
        return re.sub(r"[^\n]", " ", match.group())

    return pattern.sub(blank, text)


def report(findings, checked):
    """Prints the findings; the exit status of a check."""
    for finding in sorted(set(findings)):
        print(finding)
    print(f"{checked}: {len(set(findings))} findings")
    return 1 if findings else 0
