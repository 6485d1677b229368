#!/usr/bin/env python3
"""Prints the table of a benchmark run from the JSON that Google Benchmark wrote.

One line for each workload: the median CPU time of its repetitions, the ratio to the reference that ran
among them, and the allocations and bytes of one operation.
"""
import json
import statistics
import sys


def medians(runs):
    """Benchmark name -> (nanoseconds, allocations, bytes), each the median of its repetitions."""
    series = {}
    # Interleaved repetitions come in random order; the table has the order of the sources.
    for run in sorted(runs, key=lambda run: (run["family_index"],
                                             run["per_family_instance_index"])):
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run.get('error_message', 'failed')}")
        if run["run_type"] == "iteration":
            if run["time_unit"] != "ns":
                raise SystemExit(f"{run['name']}: the time is not in nanoseconds")
            series.setdefault(run["run_name"], []).append(
                (run["cpu_time"], run["allocs"], run["bytes"]))
    return {name: tuple(statistics.median(column) for column in zip(*values))
            for name, values in series.items()}


def rows(results):
    """(workload, ns, ratio or None, allocations, bytes) of each benchmark of the library, in order."""
    for name, (time, allocations, size) in results.items():
        head, variant, tail = name.partition("/library")
        if variant:
            reference = results.get(head + "/reference" + tail)
            workload = (head + tail.replace("/", ", ")).replace(".", " ", 1)
            yield workload, time, time / reference[0] if reference else None, allocations, size


def table(results):
    lines = [("workload", "ns", "ratio", "allocs", "bytes")]
    for workload, time, ratio, allocations, size in rows(results):
        lines.append((workload, f"{time:.1f}" if time < 1000 else f"{time:.0f}",
                      "-" if ratio is None else f"{ratio:.2f}", f"{allocations:.1f}".removesuffix(".0"),
                      f"{size:.0f}"))
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    lines.insert(1, tuple("-" * width for width in widths))
    return "\n".join("| " + " | ".join(
        cell.ljust(width) if column == 0 else cell.rjust(width)
        for column, (cell, width) in enumerate(zip(line, widths))) + " |" for line in lines)


def main(arguments):
    if len(arguments) != 1:
        print("usage: report.py RESULTS.json", file=sys.stderr)
        return 2
    with open(arguments[0], encoding="utf-8") as file:
        results = medians(json.load(file)["benchmarks"])
    if not results:
        print("no benchmark has run", file=sys.stderr)
        return 1
    print(table(results))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
