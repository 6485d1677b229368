#!/usr/bin/env python3
"""Checks that a shared library exports names of the namespace foundation and nothing else.

usage: exports_test.py NM LIBRARY
"""

import re
import subprocess
import sys

# What the compiler derives from a class or a function.
DERIVED = re.compile(r"(?:construction vtable for|guard variable for|non-virtual thunk to|typeinfo for|"
                     r"typeinfo name for|virtual thunk to|vtable for|VTT for) ")


def foreign(symbol):
    return not DERIVED.sub("", symbol).startswith("foundation::")


def exported(nm, library):
    lines = subprocess.run([nm, "--dynamic", "--defined-only", "--demangle", "--format=posix", library],
                           check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    # name type value size; the name of a function has blanks of its own.
    symbols = [re.sub(r" [A-Za-z](?: [0-9a-f]+){1,2}\s*$", "", line) for line in lines]
    return [re.sub(r"@@?\S*$", "", symbol) for symbol in symbols]


def main():
    for sample, verdict in {
            "foundation::httpclient_core::URL::URL()": False,
            "vtable for foundation::httpclient_core::HttpClient": False,
            "std::vector<foundation::httpclient_core::URL>::~vector()": True,
            "vtable for std::_Sp_counted_base<2>": True,
            "curl_easy_init": True}.items():
        assert foreign(sample) == verdict, sample
    symbols = exported(sys.argv[1], sys.argv[2])
    if not symbols:
        sys.exit(f"{sys.argv[2]} exports nothing")
    strangers = sorted(symbol for symbol in symbols if foreign(symbol))
    for symbol in strangers:
        print(f"exported: {symbol}")
    print(f"{len(symbols)} exported symbols, {len(strangers)} outside of foundation")
    sys.exit(1 if strangers else 0)


if __name__ == "__main__":
    main()
