"""Reads what httpclient_benchmarks writes: a list of Google Benchmark's reports, one for each row."""

import dataclasses
import json
import statistics


@dataclasses.dataclass
class Measurement:
    """One call on one side: the medians of its repetitions."""
    nanoseconds: float
    allocations: float
    long_strings: int
    repetitions: int


class Results:
    """Measurements by (row, side), or by (row, side, size) where cost grows with a size."""

    def __init__(self, reports):
        self.context = {}
        series = {}
        for report in reports:
            self.context = report["context"]
            for run in report["benchmarks"]:
                if run.get("error_occurred"):
                    raise SystemExit(f"{run['name']}: {run.get('error_message', 'failed')}")
                if run["run_type"] != "iteration":
                    continue
                if run["time_unit"] != "ns":
                    raise SystemExit(f"{run['name']}: the time is not in nanoseconds")
                series.setdefault(key_of(run["run_name"]), []).append(run)
        self.measurements = {key: measurement(runs) for key, runs in series.items()}

    def get(self, row, side="library"):
        return self.measurements.get((row, side))

    def rows(self):
        return {key[0] for key in self.measurements}

    def growth(self, row):
        """Side -> [(size, nanoseconds)], sorted by size."""
        sides = {}
        for key, value in self.measurements.items():
            if key[0] == row and len(key) == 3:
                sides.setdefault(key[1], []).append((key[2], value.nanoseconds))
        return {side: sorted(points) for side, points in sides.items()}


def key_of(name):
    """"row/side/14/repeats:3" -> ("row", "side", 14); what Google Benchmark appends is left out."""
    row, side, *rest = name.split("/")
    return (row, side, *(int(part) for part in rest if ":" not in part))


def measurement(runs):
    def median(value):
        return statistics.median(value(run) for run in runs)

    return Measurement(
        nanoseconds=median(lambda run: run["cpu_time"] / run["calls"]),
        # Averages over all iterations: what the first one sets up for good is not counted.
        allocations=round(median(lambda run: run["allocs"] / run["calls"]), 1),
        long_strings=int(runs[0]["long"]),
        repetitions=len(runs))


def load(path):
    with open(path, encoding="utf-8") as file:
        return Results(json.load(file))
