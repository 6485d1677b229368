"""Tests of benchmarks/plot.py."""

import os
import sys
import unittest
import xml.etree.ElementTree as ElementTree

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "benchmarks"))
import plot  # noqa: E402

SVG = "{http://www.w3.org/2000/svg}"


class AxisTest(unittest.TestCase):
    def test_decades_enclose_the_values(self):
        for values, expected in (([14, 100000], (1, 5)), ([1, 10], (0, 1)), ([5], (0, 1)),
                                 ([10], (1, 2)), ([0.02, 3], (-2, 1))):
            self.assertEqual(plot.decades(values), expected, values)

    def test_every_decade_is_as_wide_as_the_other(self):
        axis = plot.Axis([1, 1000], 100, 400)
        self.assertEqual([axis.at(value) for value in (1, 10, 100, 1000)], [100, 200, 300, 400])
        self.assertEqual(axis.powers(), [1, 10, 100, 1000])
        self.assertEqual(len(axis.between()), 24)

    def test_numbers(self):
        for value, expected in ((1, "1"), (100000.0, "100,000"), (0.01, "0.01")):
            self.assertEqual(plot.number(value), expected)


class DrawTest(unittest.TestCase):
    SERIES = {"plain model": [(1, 10), (100, 1000)], "library": [(1, 1), (10, 10), (100, 100)]}

    def setUp(self):
        self.picture = plot.draw(self.SERIES, "A < B", "things", "ns per thing")
        self.root = ElementTree.fromstring(self.picture)

    def texts(self):
        return [element.text for element in self.root.iter(SVG + "text")]

    def test_labels(self):
        texts = self.texts()
        for label in ("A < B", "things", "ns per thing", "library", "plain model", "1", "10", "100",
                      "1,000"):
            self.assertIn(label, texts)
        self.assertTrue(self.picture.isascii())

    def test_curves_run_through_their_points(self):
        curves = [element.get("points") for element in self.root.iter(SVG + "polyline")]
        self.assertEqual(len(curves), 2)
        bottom, top = plot.HEIGHT - plot.BOTTOM, plot.TOP
        left, right = plot.LEFT, plot.WIDTH - plot.RIGHT
        third = (bottom - top) / 3
        # The library comes first.
        self.assertEqual(
            curves[0], f"{left}.0,{bottom}.0 {(left + right) / 2},{round(bottom - third, 1)} "
                       f"{right}.0,{round(bottom - 2 * third, 1)}")
        self.assertEqual(curves[1], f"{left}.0,{round(bottom - third, 1)} {right}.0,{top}.0")
        self.assertEqual(len(list(self.root.iter(SVG + "circle"))), 5)

    def test_sides_have_different_colours(self):
        colours = [element.get("stroke") for element in self.root.iter(SVG + "polyline")]
        self.assertEqual(len(set(colours)), 2)

    def test_everything_is_inside(self):
        for element in self.root.iter(SVG + "circle"):
            self.assertTrue(plot.LEFT <= float(element.get("cx")) <= plot.WIDTH - plot.RIGHT)
            self.assertTrue(plot.TOP <= float(element.get("cy")) <= plot.HEIGHT - plot.BOTTOM)

    def test_nothing_to_draw(self):
        for series in ({}, {"library": []}, {"library": [(0, 1)]}, {"library": [(1, -1)]}):
            with self.assertRaises(ValueError):
                plot.draw(series, "t", "x", "y")


if __name__ == "__main__":
    unittest.main()
