# (c) the ztrace developers. Licence: see LICENSE.
"""Layers of true shapes are cut exactly: neighbours have the same coordinates, and nothing is stroked."""
import collections
import math
import re
import unittest

from support import CommandTest, paths, png

try:
    import ezdxf
except ImportError:
    ezdxf = None

WIDTH, HEIGHT = 96, 72
COLOURS = ((200, 30, 30), (30, 90, 200), (240, 200, 40), (60, 160, 60), (255, 255, 255))


def place(x, y):
    """Wedges around a point, a bent band across them, and paper."""
    away = math.hypot(x - 41.3, y - 36.7)
    if abs(away - 29 - 3 * math.sin(x / 9)) < 3:
        return COLOURS[3]
    if away > 29:
        return COLOURS[4]
    return COLOURS[int((math.atan2(y - 36.7, x - 41.3) + 3.5) * 1.2) % 3]


def soft(x, y):
    found = [place(x + (i + 0.5) / 6, y + (j + 0.5) / 6) for i in range(6) for j in range(6)]
    return tuple(round(sum(c[k] for c in found) / 36) for k in range(3)) + (255,)


NUMBERS = {"M": 2, "L": 2, "H": 1, "V": 1, "Q": 4, "T": 2, "C": 6, "S": 4, "A": 7, "Z": 0}


def segments(d):
    """(command, start, end) of a path, in absolute coordinates; shorthands as what they stand for."""
    found, at, begin, command = [], (0.0, 0.0), (0.0, 0.0), ""
    # Flags of arcs are single digits that need no space behind them.
    text = re.sub(r"([aA])([^a-zA-Z]*)", lambda m: m.group(1) + " ".join(arcs(m.group(2))), d)
    tokens = re.findall(r"[a-zA-Z]|-?(?:\d+\.?\d*|\.\d+)(?:e-?\d+)?", text)
    while tokens:
        if tokens[0].isalpha():
            command = tokens.pop(0)
        numbers = [float(tokens.pop(0)) for _ in range(NUMBERS[command.upper()])]
        base = at if command.islower() else (0.0, 0.0)
        kind = command.upper()
        end = {"H": lambda: (base[0] + numbers[0], at[1]), "V": lambda: (at[0], base[1] + numbers[0]),
               "Z": lambda: begin}.get(kind, lambda: (base[0] + numbers[-2], base[1] + numbers[-1]))()
        if kind == "M":
            begin, command = end, "l" if command == "m" else "L"
        elif math.dist(at, end) > 1e-9:
            found.append(({"H": "L", "V": "L", "Z": "L", "T": "Q", "S": "C"}.get(kind, kind), at, end))
        at = end
    return found


def arcs(text):
    number = r"\s*,?\s*(-?(?:\d+\.?\d*|\.\d+)(?:e-?\d+)?)"
    return [" ".join(found) for found in re.findall(3 * number + r"\s*,?\s*([01])\s*,?\s*([01])" + 2 * number, text)]


def key(kind, start, end):
    ends = sorted((round(x, 6), round(y, 6)) for x, y in (start, end))
    return kind, ends[0], ends[1]


def on_rim(a, b):
    return any(a[k] == b[k] and a[k] in (0, size) for k, size in ((0, WIDTH), (1, HEIGHT)))


class Layers(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(WIDTH, HEIGHT, soft))

    def assert_met(self, found):
        """Every boundary twice, once a side, but on the rim once."""
        counts = collections.Counter(found)
        self.assertGreater(len(counts), 15)
        for (kind, a, b), count in counts.items():
            self.assertEqual(count, 1 if on_rim(a, b) else 2, (kind, a, b))

    def svg(self, *options):
        return self.run_program("a.png", "-p", "logo", "--layers", "-o", "-", *options).stdout

    def test_neighbours_have_the_same_coordinates(self):
        for options in [], ["--decimals", "1"], ["--decimals", "exact"]:
            with self.subTest(options):
                self.assert_met([key(*part) for _, _, d in paths(self.svg(*options)) for part in segments(d)])

    def test_nothing_is_stroked(self):
        self.assertNotIn(b"stroke", self.svg())
        self.assertIn(b"stroke", self.svg("--fit", "engine"))

    @unittest.skipUnless(ezdxf, "ezdxf is not installed")
    def test_dxf_has_the_same_boundaries(self):
        """What lies in an area is not drawn on its layer a second time."""
        self.run_program("a.png", "-p", "logo", "--layers", "-o", "a.dxf")
        found = []
        for entity in ezdxf.readfile(self.path("a.dxf")).modelspace():
            kind = entity.dxftype()
            if kind == "LWPOLYLINE":
                points = list(entity.get_points("xyb"))
                ends = list(zip(points, points[1:] + (points[:1] if entity.closed else [])))
                found += [key("A" if a[2] else "L", a[:2], b[:2]) for a, b in ends if math.dist(a[:2], b[:2]) > 1e-9]
            elif kind == "SPLINE":
                kind = {2: "Q", 3: "C"}[entity.dxf.degree]
                found.append(key(kind, tuple(entity.control_points[0][:2]), tuple(entity.control_points[-1][:2])))
            elif kind == "LINE":
                found.append(key("L", tuple(entity.dxf.start)[:2], tuple(entity.dxf.end)[:2]))
            elif kind == "ARC":
                found.append(key("A", tuple(entity.start_point)[:2], tuple(entity.end_point)[:2]))
            else:
                self.fail(kind)
        svg = {key(kind, (a[0], HEIGHT - a[1]), (b[0], HEIGHT - b[1]))
               for _, _, d in paths(self.svg("--decimals", "exact")) for kind, a, b in segments(d)}
        self.assertEqual({part for part in found if not on_rim(*part[1:])}, {part for part in svg if not on_rim(*part[1:])})
        self.assertLessEqual(max(collections.Counter(found).values()), 2)


if __name__ == "__main__":
    unittest.main()
