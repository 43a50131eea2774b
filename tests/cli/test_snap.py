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

    def test_strokes(self):
        """A crooked L of lines: at right angles, and its ends in one place; to the axes where it is upright."""
        for turn in 0.0, TURN:
            def ink(x, y):
                inside = 0
                for i in range(16):
                    u = (x + (i % 4 + 0.5) / 4 - 60.2) * math.cos(turn) + (y + (i // 4 + 0.5) / 4 - 20.7) * math.sin(turn)
                    v = (y + (i // 4 + 0.5) / 4 - 20.7) * math.cos(turn) - (x + (i % 4 + 0.5) / 4 - 60.2) * math.sin(turn)
                    inside += -2 < u < 100 and -2 < v < 2 or -2 < u < 2 and -2 < v < 70
                grey = 255 - 255 * inside // 16
                return grey, grey, grey, 255
            self.write("s.png", png(200, 120, ink))
            for snap in "joints", "all":
                self.run_program("s.png", "--strokes", "--snap", snap, "-o", "s.json", "--overwrite")
                with open(self.path("s.json"), encoding="utf-8") as file:
                    lines = [outline for outline in json.load(file)["outlines"] if "pen" in outline]
                self.assertEqual([[piece[0] for piece in line["pieces"]] for line in lines], [["L"], ["L"]])
                ends = [(line["start"], line["pieces"][0][1:]) for line in lines]
                self.assertEqual(len({tuple(place) for line in ends for place in line}), 3)
                first, second = ((b[0] - a[0], b[1] - a[1]) for a, b in ends)
                self.assertLess(abs(first[0] * second[0] + first[1] * second[1]), 1e-9 if turn else 1e-300)

    def test_dense_pages_obey(self):
        """They go to the engine otherwise, whose outlines cannot be put in order."""
        self.write("d.png", png(1000, 1000, lambda x, y: (0, 0, 0, 255) if x % 8 < 4 and y % 8 < 4 else PAPER + (255,)))
        for snap, fit in ("none", None), ("all", "fair"):
            found = self.run_program("d.png", "-p", "lineart", "--snap", snap, "--json", "-o", "d.svg", "--overwrite")
            self.assertEqual(json.loads(found.stdout)["statistics"].get("fit"), fit)

    def test_engine_knows_no_order(self):
        found = self.run_program("a.png", "-p", "logo", "--fit", "engine", "--snap", "all", "-o", "a.svg")
        self.assertIn(b"--snap", found.stderr)


if __name__ == "__main__":
    unittest.main()
