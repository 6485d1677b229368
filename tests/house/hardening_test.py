#!/usr/bin/env python3
"""Checks how a program or a shared library is protected against its own defects.

usage: hardening_test.py READELF FILE OPTIMISED
  OPTIMISED  1 if the file was compiled with optimisation, which checked buffers need, else 0
"""

import re
import subprocess
import sys


def missing(headers, dynamic, symbols, optimised):
    """What the file lacks, from the output of readelf -h -l, -d and --dyn-syms."""
    lacks = []
    stack = re.search(r"GNU_STACK(?:\s+0x[0-9a-f]+){5}\s+(\S+)", headers)
    if not re.search(r"Type:\s+DYN", headers):
        lacks.append("it cannot be loaded at any address")
    if "GNU_RELRO" not in headers:
        lacks.append("no part becomes read-only (relro)")
    if not re.search(r"BIND_NOW|Flags:.*\bNOW\b", dynamic):
        lacks.append("functions are bound late, their table stays writable (now)")
    if stack is None or "E" in stack.group(1):
        lacks.append("the stack is executable")
    if "TEXTREL" in dynamic:
        lacks.append("code is changed when it is loaded")
    if "__stack_chk_fail" not in symbols:
        lacks.append("stacks are not guarded")
    if optimised and not re.search(r"\b__(?:\w+)_chk\b", symbols.replace("__stack_chk_fail", "")):
        lacks.append("no buffer is checked (fortify)")
    return lacks


def read(readelf, path, *options):
    return subprocess.run([readelf, "--wide", *options, path], check=True, stdout=subprocess.PIPE,
                          text=True).stdout


def main(readelf, path, optimised):
    stack = "GNU_STACK      0x000000 0x0000000000000000 0x0000000000000000 0x000000 0x000000 RW{} 0x10"
    good = ("Type:  DYN (Shared object file)\nGNU_RELRO\n" + stack.format(" "), "(FLAGS_1) Flags: NOW PIE",
            "__stack_chk_fail@GLIBC_2.4 __memcpy_chk@GLIBC_2.3.4")
    assert missing(*good, True) == []
    assert len(missing("Type: EXEC\n" + stack.format("E"), "TEXTREL", "", True)) == 7
    assert missing(good[0], good[1], "__stack_chk_fail", False) == []
    lacks = missing(read(readelf, path, "-h", "-l"), read(readelf, path, "-d"),
                    read(readelf, path, "--dyn-syms"), optimised == "1")
    for lack in lacks:
        print(f"{path}: {lack}")
    return 1 if lacks else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
