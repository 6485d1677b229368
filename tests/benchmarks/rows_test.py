"""Compares the rows of the benchmark program with those that the goals name.

usage: rows_test.py PROGRAM
"""

import os
import subprocess
import sys

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "benchmarks"))
import report  # noqa: E402


def main(program):
    listed = set(subprocess.run([program, "--list"], check=True, stdout=subprocess.PIPE,
                                text=True).stdout.splitlines())
    goals = report.load_goals()
    named = {goal.get("of", goal["row"]) for goal in goals["rows"]}
    named |= {growth["row"] for growth in goals["growth"]}
    for row in sorted(listed - named):
        print(f"goals.json does not name: {row}")
    for row in sorted(named - listed):
        print(f"no benchmark of this name: {row}")
    return 0 if listed and listed == named else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
