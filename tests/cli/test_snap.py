# (c) the ztrace developers. Licence: see LICENSE.
"""Order in shapes: --snap."""
import json
import math
import unittest

from support import CommandTest, png

WIDTH, HEIGHT = 220, 120
TURN = math.radians(17)
BLUE, SAND, PAPER = (20, 60, 150), (230, 190, 120), (255, 255, 255)


def colour_at(x, y):
    """Three circles around one centre, and an L that is turned."""
    away = math.hypot(x - 60.37, y - 59.81)
    if away < 48:
        return BLUE if away >= 36 or away < 14 else SAND
    u = (x - 140) * math.cos(TURN) + (y - 25) * math.sin(TURN)
    v = (y - 25) * math.cos(TURN) - (x - 140) * math.sin(TURN)
    if 0 <= u < 60 and 0 <= v < 60 and (u < 22 or v < 22):
        return SAND
    return PAPER


def drawn(x, y):
    """The mean of 8 x 8 places in the pixel."""
    places = [colour_at(x + (i + 0.5) / 8, y + (j + 0.5) / 8) for i in range(8) for j in range(8)]
    return tuple(round(sum(c[k] for c in places) / 64) for k in range(3)) + (255,)


class Snap(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(WIDTH, HEIGHT, drawn))

    def outlines(self, *options):
        self.run_program("a.png", "-p", "logo", "-o", "a.json", "--overwrite", *options)
        with open(self.path("a.json"), encoding="utf-8") as file:
            return json.load(file)["outlines"]

    @staticmethod
    def centres(outlines):
        """Of the circles, which are two half arcs."""
        found = []
        for outline in outlines:
            if [piece[0] for piece in outline["pieces"]] == ["A", "A"]:
                (x, y), (u, v) = outline["start"], outline["pieces"][0][2:]
                found.append(((x + u) / 2, (y + v) / 2))
        return found

    @staticmethod
    def lean(outlines):
        """The farthest from a right angle between neighbouring sides of the L."""
        for outline in outlines:
            points = [piece[1:] for piece in outline["pieces"]]
            if len(points) == 6 and all(piece[0] == "L" for piece in outline["pieces"]):
                sides = [math.atan2(b[1] - a[1], b[0] - a[0]) for a, b in zip(points, points[1:] + points[:1])]
                return max(abs(math.remainder(b - a, math.pi / 2)) for a, b in zip(sides, sides[1:]))
        raise AssertionError("there is no L")

    def test_all_is_in_order(self):
        outlines = self.outlines("--snap", "all")
        centres = self.centres(outlines)
        self.assertEqual(len(centres), 3)
        for centre in centres:
            self.assertAlmostEqual(centre[0], centres[0][0], 9)
            self.assertAlmostEqual(centre[1], centres[0][1], 9)
        self.assertAlmostEqual(centres[0][0], 60.37, delta=0.02)
        self.assertLess(self.lean(outlines), 1e-9)

    def test_joints_are_of_one_shape(self):
        outlines = self.outlines("--snap", "joints")
        self.assertLess(self.lean(outlines), 1e-9)
        self.assertEqual(self.centres(outlines), self.centres(self.outlines()))

    def test_nothing_is_the_default(self):
        usual = self.outlines()
        self.assertEqual(usual, self.outlines("--snap", "none"))
        self.assertGreater(self.lean(usual), 1e-7)

    def test_engine_knows_no_order(self):
        found = self.run_program("a.png", "-p", "logo", "--fit", "engine", "--snap", "all", "-o", "a.svg")
        self.assertIn(b"--snap", found.stderr)


if __name__ == "__main__":
    unittest.main()
