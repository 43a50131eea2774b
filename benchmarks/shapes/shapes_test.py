#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""The truth as a drawing has no error, and a damaged one has the error that it was given."""
import math
import os
import random
import tempfile
import unittest

import numpy as np

import truth as shapes
from figures import FIGURES
from measures import measure
from outline import outlines_of


class Measures(unittest.TestCase):
    def outlines(self, size, body, unit=""):
        with tempfile.TemporaryDirectory() as folder:
            name = os.path.join(folder, "a.svg")
            with open(name, "w") as file:
                file.write('<svg xmlns="http://www.w3.org/2000/svg" width="%d%s" height="%d%s" viewBox="0 0 %d %d">'
                           '<rect fill="#fff" width="%d" height="%d"/>%s</svg>' % (size, unit, size, unit, size, size, size, size, body))
            return outlines_of(name, size)

    def polygon(self, truth, *loops):
        rings = ("M" + "L".join("%.6f %.6f" % tuple(p) for p in loop) + "Z" for loop in loops)
        return self.outlines(truth.size, '<path fill="#000" d="%s"/>' % "".join(rings))

    def drawn(self, truth, move=0.0):
        return self.polygon(truth, *(loop + (move, 0) for loop in truth.loops))

    def test_truth_has_no_error(self):
        for truth in (shapes.rectangle(random.Random(1), 40, 24), shapes.text(random.Random(2), 30)):
            found = measure(truth, self.drawn(truth))
            self.assertLess(found["worst"], 2e-3)
            self.assertLess(found["corner"], 1e-3)
            self.assertEqual((found["missed"], found["kinks"]), (0, 0))
            self.assertAlmostEqual(found["area"], 0, 2)

    def test_whole_shapes(self):
        truth = shapes.circle(random.Random(3), 20)
        x, y = truth.centre
        found = measure(truth, self.outlines(truth.size, '<circle cx="%f" cy="%f" r="20.3"/>' % (x, y), "pt"))
        self.assertAlmostEqual(found["rms"], 0.3, delta=0.002)
        self.assertAlmostEqual(found["bias"], 0.3, delta=0.002)
        self.assertEqual(found["numbers"], 3)
        self.assertAlmostEqual(found["turning"], 360, delta=1)
        turned = '<ellipse cx="30" cy="30" rx="20" ry="10" transform="rotate(90 30 30)"/>'
        high = self.outlines(60, turned)[0].points
        self.assertAlmostEqual(np.ptp(high[:, 1]), 40, 2)
        self.assertAlmostEqual(np.ptp(high[:, 0]), 20, 2)

    def test_corners_of_whole_shapes(self):
        square = shapes.Truth("rectangle", lambda context: context.rectangle(10, 10, 30, 20), 50)
        found = measure(square, self.outlines(50, '<rect x="10" y="10" width="30" height="20.2"/>'))
        self.assertEqual((found["missed"], found["kinks"], found["numbers"]), (0, 0, 4))
        self.assertAlmostEqual(found["corner"], 0.2 / math.sqrt(2), 3)
        round_one = self.outlines(50, '<rect x="10" y="10" width="30" height="20" rx="4"/>')
        self.assertEqual(measure(square, round_one)["missed"], 100)

    def test_damage_is_measured(self):
        square = shapes.rectangle(random.Random(4), 40, 40)
        moved = measure(square, self.drawn(square, 0.2))
        self.assertAlmostEqual(moved["corner"], 0.2, 3)
        self.assertTrue(0.12 < moved["rms"] < 0.16)  # .2 times the root of the mean of a squared cosine
        low = self.polygon(square, square.loops[0][1:])
        self.assertEqual(measure(square, low)["missed"], 25)
        self.assertAlmostEqual(measure(square, low)["area"], -50, 1)
        # A tooth in the middle of a side: three joints that the truth has not.
        a, b, c, d = square.loops[0]
        middle, side = (a + b) / 2, (b - a) / np.hypot(*(b - a))
        tooth = (middle - 2 * side, middle + 2 * np.array((-side[1], side[0])), middle + 2 * side)
        bad = self.polygon(square, (a, *tooth, b, c, d))
        self.assertEqual(measure(square, bad)["kinks"], 3)
        self.assertGreater(measure(square, bad)["turning"], 500)

    def test_holes(self):
        ring = '<path fill="#000" fill-rule="evenodd" d="M10 10h30v30h-30zM20 20h10v10h-10z"/>'
        painted = '<rect x="10" y="10" width="30" height="30"/><rect fill="#fff" x="20" y="20" width="10" height="10"/>'
        for body in (ring, painted):
            truth = shapes.rectangle(random.Random(5), 30, 30)
            self.assertAlmostEqual(measure(truth, self.outlines(50, body))["area"], 100 * (800 / 900 - 1), 1)

    def test_pictures_hold_the_shapes_area(self):
        for maker, size in ((shapes.circle, (10,)), (shapes.rectangle, (40, 24)), (shapes.text, (24,))):
            truth = maker(random.Random(6), *size)
            for picture, off in ((shapes.by_cairo, 0.02), (shapes.by_area, 0.01), (shapes.one_bit, 0.06)):
                ink = (255 - picture(truth).astype(float)).sum() / 255
                self.assertLess(abs(ink / truth.area - 1), off, (truth.kind, picture.__name__))

    def test_slanted(self):
        for seed in range(50):
            angle = math.degrees(shapes.slanted(random.Random(seed))) % 45
            self.assertTrue(4 <= angle <= 41)

    def test_figures_are_what_they_are_called(self):
        corners = {"star": 10, "hexagon": 6, "triangle": 3, "gear": 48, "arrow": 7, "sector": 3, "half": 2, "ring": 0,
                   "crescent": 2, "blob": 0, "ribbon": 4}
        for name, (maker, *size) in FIGURES.items():
            with self.subTest(name):
                truth = maker(random.Random(name), *size)
                self.assertEqual(len(truth.corners), corners[name.split()[0]])
                found = measure(truth, self.polygon(truth, *truth.loops))
                self.assertLess(found["rms"], 0.01)
                self.assertLess(abs(found["area"]), 0.1)
                self.assertEqual((found["kinks"], found["missed"]), (0, 0))


if __name__ == "__main__":
    unittest.main()
