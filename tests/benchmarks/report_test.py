"""Tests of benchmarks/results.py and benchmarks/report.py."""

import contextlib
import io
import json
import os
import re
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "benchmarks"))
import report  # noqa: E402
import results as measured  # noqa: E402

CONTEXT = {"num_cpus": 2, "version of POCO": "1.11.0"}


def run(name, time, allocs=0.0, long=0, calls=1, **more):
    return {"run_name": name, "name": name, "run_type": "iteration", "time_unit": "ns",
            "cpu_time": time, "allocs": allocs, "calls": calls, "long": long, **more}


def results_of(*runs):
    return measured.Results([{"context": CONTEXT, "benchmarks": list(runs)}])


def line_of(goal, *runs):
    return report.Line(goal, results_of(*runs))


class ResultsTest(unittest.TestCase):
    def test_median_of_repetitions_from_several_reports(self):
        results = measured.Results([
            {"context": CONTEXT, "benchmarks": [run("a/library", time, 7.0) for time in (1, 9, 2)]},
            {"context": CONTEXT, "benchmarks": [run("b/library", 5)]}])
        self.assertEqual(results.get("a"), measured.Measurement(2, 7.0, 0, 3))
        self.assertEqual(results.get("b").nanoseconds, 5)
        self.assertIsNone(results.get("b", "POCO"))
        self.assertEqual(results.rows(), {"a", "b"})

    def test_one_call_of_an_operation_of_many(self):
        measurement = results_of(run("a/library", 160, 32.0, calls=16)).get("a")
        self.assertEqual(measurement.nanoseconds, 10)
        self.assertEqual(measurement.allocations, 2.0)

    def test_allocations_of_the_first_iteration_vanish(self):
        self.assertEqual(results_of(run("a/library", 1, 11.00003)).get("a").allocations, 11)

    def test_aggregates_are_left_out(self):
        results = results_of(run("a/library", 1), run("a/library", 9, run_type="aggregate"))
        self.assertEqual(results.get("a").nanoseconds, 1)

    def test_growth_is_sorted_by_size(self):
        results = results_of(run("g/library/100/repeats:3", 5), run("g/library/14/repeats:3", 2),
                             run("g/POCO/14/repeats:3", 4))
        self.assertEqual(results.growth("g"), {"library": [(14, 2), (100, 5)], "POCO": [(14, 4)]})
        self.assertEqual(results.growth("h"), {})

    def test_error_ends_the_program(self):
        with self.assertRaisesRegex(SystemExit, "a/library: no such thing"):
            results_of(run("a/library", 1, error_occurred=True, error_message="no such thing"))

    def test_other_time_unit_ends_the_program(self):
        with self.assertRaisesRegex(SystemExit, "not in nanoseconds"):
            results_of(run("a/library", 1, time_unit="ms"))


class GoalTest(unittest.TestCase):
    def test_formulas(self):
        for formula, expected in (("0", 0), ("4", 4), ("long", 9), ("long + 2", 11)):
            self.assertEqual(report.allocation_goal(formula, 9), expected, formula)

    def test_malformed_formulas(self):
        for formula in ("", "short", "long +", "long2", " + 3", "2 + long", "-1"):
            with self.assertRaises(SystemExit, msg=formula):
                report.allocation_goal(formula, 9)

    def test_ratio_at_the_goal_passes_and_above_it_misses(self):
        goal = {"row": "a", "peer": "POCO", "ratio": 0.5}
        self.assertEqual(line_of(goal, run("a/library", 5), run("a/POCO", 10)).verdict(), "PASS")
        self.assertEqual(line_of(goal, run("a/library", 5.001), run("a/POCO", 10)).verdict(),
                         "MISS: ratio")

    def test_allocations_at_the_goal_pass_and_above_it_miss(self):
        goal = {"row": "a", "allocations": "long + 2"}
        self.assertEqual(line_of(goal, run("a/library", 1, 5.0, 3)).verdict(), "PASS")
        self.assertEqual(line_of(goal, run("a/library", 1, 4.0, 3)).verdict(), "PASS")
        self.assertEqual(line_of(goal, run("a/library", 1, 6.0, 3)).verdict(), "MISS: allocations")
        self.assertEqual(line_of(goal, run("a/library", 1, 5.2, 3)).verdict(), "MISS: allocations")

    def test_time_goal(self):
        goal = {"row": "a", "nanoseconds": 2500}
        self.assertEqual(line_of(goal, run("a/library", 2500)).verdict(), "PASS")
        self.assertEqual(line_of(goal, run("a/library", 2501)).verdict(), "MISS: time")

    def test_all_that_is_missed_is_named(self):
        goal = {"row": "a", "peer": "POCO", "ratio": 0.5, "allocations": "1"}
        self.assertEqual(line_of(goal, run("a/library", 9, 2.0), run("a/POCO", 1)).verdict(),
                         "MISS: ratio, allocations")

    def test_row_against_another_of_the_library(self):
        goal = {"row": "flat", "of": "big", "against": "small", "ratio": 1.5}
        line = line_of(goal, run("big/library", 20), run("small/library", 10),
                       run("big/plain model", 1))
        self.assertEqual(line.verdict(), "MISS: ratio")
        self.assertEqual(line.cells()[:6], ["flat", "20.0 ns", "itself", "10.0 ns", "2.000", "1.50"])
        self.assertEqual(line.cells()[-3:], ["-", "-", "-"])

    def test_row_without_a_goal(self):
        line = line_of({"row": "a", "peer": "POCO"}, run("a/library", 1), run("a/POCO", 2))
        self.assertFalse(line.has_goal())
        self.assertEqual(line.verdict(), "-")

    def test_row_is_measured_with_its_peer_only(self):
        goal = {"row": "a", "peer": "POCO", "ratio": 0.5}
        self.assertFalse(line_of(goal, run("a/library", 1)).measured())
        self.assertFalse(line_of(goal, run("a/POCO", 1)).measured())
        self.assertTrue(line_of(goal, run("a/library", 1), run("a/POCO", 1)).measured())
        self.assertTrue(line_of({"row": "a"}, run("a/library", 1)).measured())


class TableTest(unittest.TestCase):
    GOALS = {"rows": [{"row": "a", "peer": "POCO", "ratio": 0.5, "why": "Because."},
                      {"row": "b", "allocations": "long + 1"}],
             "growth": [{"row": "g", "file": "g.svg", "title": "G", "x": "things", "y": "ns"}]}
    RUNS = [run("a/library", 8), run("a/POCO", 10), run("a/plain model", 16),
            run("b/library", 1234567, 3.0, 2), run("g/library/1/repeats:3", 1),
            run("g/library/10/repeats:3", 2)]

    def lines(self, *runs):
        return report.lines_of(self.GOALS, results_of(*(runs or self.RUNS)))

    def test_cells_and_alignment(self):
        table = report.table(self.lines()).splitlines()
        self.assertEqual(len(table), 4)
        self.assertEqual(len({len(line) for line in table}), 1)
        cells = [[cell.strip() for cell in line.strip("|").split("|")] for line in table]
        self.assertEqual(cells[0], report.HEADING + report.OTHERS)
        self.assertTrue(all(re.fullmatch("-+:?", cell) for cell in cells[1]))
        self.assertEqual(cells[2], ["a", "8.0 ns", "POCO", "10.0 ns", "0.800", "0.50", "0", "-",
                                    "MISS: ratio", "0.50", "-", "-"])
        self.assertEqual(cells[3], ["b", "1.23 ms", "-", "-", "-", "-", "3", "3", "PASS", "-", "-",
                                    "-"])

    def test_summary_counts_rows_with_goals(self):
        self.assertEqual(report.summary(self.lines()), "1 of 2 goals are met.")

    def test_only_misses_are_explained(self):
        self.assertEqual(report.reasons(self.lines()), "- *a* (ratio): Because.")
        met = self.lines(run("a/library", 1), run("a/POCO", 10))
        self.assertEqual(report.reasons(met), "None.")
        unexplained = self.lines(run("b/library", 1, 9.0))
        self.assertEqual(report.reasons(unexplained), "- *b* (allocations): No reason is recorded.")

    def test_reason_shows_another_side_beside_the_peer(self):
        goals = {"rows": [{"row": "a", "peer": "POCO", "ratio": 0.5, "why": "{floor} of it."}],
                 "growth": []}
        missed = [run("a/library", 8), run("a/POCO", 10)]
        lines = report.lines_of(goals, results_of(*missed, run("a/floor", 6)))
        self.assertEqual(report.reasons(lines), "- *a* (ratio): 0.60 of it.")
        with self.assertRaisesRegex(SystemExit, "not measured for 'floor'"):
            report.reasons(report.lines_of(goals, results_of(*missed)))

    def test_row_that_was_filtered_out_is_left_out(self):
        self.assertEqual([line.name for line in self.lines(run("b/library", 1))], ["b"])

    def test_row_that_no_goal_names_ends_the_program(self):
        with self.assertRaisesRegex(SystemExit, "does not name: c$"):
            self.lines(run("c/library", 1))

    def test_times(self):
        for nanoseconds, expected in ((0.26, "0.3 ns"), (999.9, "999.9 ns"), (1000, "1 us"),
                                      (2500, "2.5 us"), (115964096, "116 ms"),
                                      (2.5e9, "2500 ms")):
            self.assertEqual(report.time_text(nanoseconds), expected)

    def test_document(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "performance.md")
            results = results_of(*self.RUNS)
            lines = report.lines_of(self.GOALS, results)
            report.write_document(path, self.GOALS, results, lines)
            with open(path, encoding="utf-8") as file:
                document = file.read()
            with open(os.path.join(folder, "performance", "g.svg"), encoding="utf-8") as file:
                self.assertTrue(file.read().startswith("<svg"))
        self.assertIn(report.table(lines), document)
        self.assertIn("1 of 2 goals are met.", document)
        self.assertIn("- *a* (ratio): Because.", document)
        self.assertIn("![G](performance/g.svg)", document)
        self.assertIn("| POCO | 1.11.0 |", document)
        self.assertNotIn("$", document)

    def test_no_document_of_a_part(self):
        for runs, missing in ((self.RUNS[1:], "a"), (self.RUNS[:4], "g")):
            results = results_of(*runs)
            with tempfile.TemporaryDirectory() as folder, \
                    self.assertRaisesRegex(SystemExit, f"no document: {missing}$"):
                report.write_document(os.path.join(folder, "p.md"), self.GOALS, results,
                                      report.lines_of(self.GOALS, results))


class MainTest(unittest.TestCase):
    def main(self, *arguments):
        with contextlib.redirect_stdout(io.StringIO()) as out, \
                contextlib.redirect_stderr(io.StringIO()) as err:
            return report.main(list(arguments)), out.getvalue(), err.getvalue()

    def main_with(self, reports):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "results.json")
            with open(path, "w", encoding="utf-8") as file:
                json.dump(reports, file)
            return self.main(path)

    def test_table_of_a_part(self):
        status, out, _ = self.main_with([{"context": CONTEXT, "benchmarks": [
            run("makeRequest/library", 2000, 50.0)]}])
        self.assertEqual(status, 0)
        self.assertRegex(out, r"\| makeRequest +\|.*2\.5 us.*\| PASS")

    def test_nothing_has_run(self):
        status, _, err = self.main_with([])
        self.assertEqual(status, 1)
        self.assertIn("no benchmark has run", err)

    def test_usage(self):
        for arguments in ([], ["a", "b", "c"]):
            status, _, err = self.main(*arguments)
            self.assertEqual(status, 2)
            self.assertIn("usage: report.py", err)


class GoalsFileTest(unittest.TestCase):
    """The goals themselves can be read."""

    def setUp(self):
        self.goals = report.load_goals()

    def test_rows_are_complete_and_named_once(self):
        names = [goal["row"] for goal in self.goals["rows"]]
        self.assertEqual(len(set(names)), len(names))
        for goal in self.goals["rows"]:
            self.assertLessEqual(set(goal), {"row", "peer", "ratio", "nanoseconds", "allocations",
                                             "of", "against", "why"}, goal)
            if "ratio" in goal:
                self.assertTrue("peer" in goal or "against" in goal, goal)
                self.assertGreater(goal["ratio"], 0)
            if "allocations" in goal:
                report.allocation_goal(goal["allocations"], 1)
            for other in ("of", "against"):
                self.assertIn(goal.get(other, names[0]), names)

    def test_pictures_have_files_of_their_own(self):
        files = [growth["file"] for growth in self.goals["growth"]]
        self.assertEqual(len(set(files)), len(files))
        self.assertTrue(all(file.endswith(".svg") for file in files))


if __name__ == "__main__":
    unittest.main()
