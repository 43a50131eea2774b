# (c) the ztrace developers. Licence: see LICENSE.
"""What other programs make of areas of whole circles, ellipses, rectangles, arcs, elliptic arcs and curves.

A reader that is not installed skips its tests."""
import json
import math
import os
import shutil
import sys
import unittest
from collections import Counter, defaultdict

import test_readers
from support import CommandTest
from test_readers import FREECAD, INKSCAPE_EXTENSIONS, MM, MODES, Image, ezdxf, gdal, needs, ogr, run_reader

QUARTER = math.tan(math.pi / 8)  # bulge of a quarter of a circle

AREAS = {
    "CIRCLE": {"start": [80, 60], "pieces": [["A", -1, 20, 60], ["A", -1, 80, 60]]},
    "ELLIPSE": {"start": [194.641, 80], "pieces": [["E", -1, 0.5, math.pi / 6, 125.359, 40],
                                                    ["E", -1, 0.5, math.pi / 6, 194.641, 80]]},
    "RECTANGLE": {"start": [220, 40], "pieces": [["L", 220, 90], ["L", 290, 90], ["L", 290, 40], ["L", 220, 40]]},
    "ROUNDED": {"start": [20, 130], "pieces": [
        ["L", 20, 160], ["A", -QUARTER, 30, 170], ["L", 90, 170], ["A", -QUARTER, 100, 160], ["L", 100, 130],
        ["A", -QUARTER, 90, 120], ["L", 30, 120], ["A", -QUARTER, 20, 130]]},
    "MIXED": {"start": [130, 120], "pieces": [
        ["L", 130, 160], ["S", 3, 140, 190, 170, 190, 180, 160], ["E", -0.4, 0.6, 0.3, 210, 150],
        ["Q", 230, 130, 200, 120], ["A", 0.2, 130, 120]]},
    "RING": {"start": [290, 150], "pieces": [["A", -1, 230, 150], ["A", -1, 290, 150]], "holes": [6]},
}
HOLE = {"start": [275, 150], "pieces": [["A", -1, 245, 150], ["A", -1, 275, 150]], "alpha": 0}


def drawing(**changes):
    outlines = [dict(shape, layer=layer, color="#204080") for layer, shape in AREAS.items()]
    outlines.append(dict(HOLE, layer="RING", color="#204080"))
    return dict({"format": "ztrace drawing", "version": 2, "width": 310, "height": 200, "dpi": 254, "unit": "mm",
                 "outlines": outlines}, **changes)


def arc(start, end, bulge, count):
    """Points on an arc behind its start."""
    half = 2 * math.atan(bulge)
    (ax, ay), (bx, by) = start, end
    # The centre lies on the chord's normal.
    away = math.dist(start, end) / 2 / math.tan(half) if abs(bulge) != 1 else 0.0
    length = math.dist(start, end)
    cx, cy = (ax + bx) / 2 - away * (by - ay) / length, (ay + by) / 2 + away * (bx - ax) / length
    radius, begin = math.dist(start, (cx, cy)), math.atan2(ay - cy, ax - cx)
    return [(cx + radius * math.cos(begin + 2 * half * k / count), cy + radius * math.sin(begin + 2 * half * k / count))
            for k in range(1, count + 1)]


def points_of(shape, count=2000):
    """The start, and points so near to each other that chords are as long as the curves to a millionth."""
    points = [tuple(shape["start"])]
    for kind, *numbers in shape["pieces"]:
        start, end = points[-1], tuple(numbers[-2:])
        if kind == "L":
            points.append(end)
        elif kind == "A":
            points += arc(start, end, numbers[0], count)
        elif kind == "E":
            bulge, ratio, angle = numbers[:3]
            u, v = (math.cos(angle), math.sin(angle)), (-math.sin(angle), math.cos(angle))
            flat = [(p[0] * u[0] + p[1] * u[1], (p[0] * v[0] + p[1] * v[1]) / ratio) for p in (start, end)]
            points += [(x * u[0] + y * ratio * v[0], x * u[1] + y * ratio * v[1]) for x, y in arc(*flat, bulge, count)]
        else:
            inner = numbers[kind == "S":]
            controls = [start, *zip(inner[::2], inner[1::2])]
            degree = len(controls) - 1
            for k in range(1, count + 1):
                t = k / count
                points.append(tuple(sum(math.comb(degree, i) * t ** i * (1 - t) ** (degree - i) * control[axis]
                                        for i, control in enumerate(controls)) for axis in (0, 1)))
    return points


def length_of(points):
    return sum(math.dist(a, b) for a, b in zip(points, points[1:]))


def wanted_lengths():
    """In millimetres by layer."""
    lengths = {layer: MM * length_of(points_of(shape)) for layer, shape in AREAS.items()}
    lengths["RING"] += MM * length_of(points_of(HOLE))
    return lengths


class Entities(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.json", json.dumps(drawing()).encode())

    def assert_lengths(self, found, error, what=""):
        """To a part of each, for which no shape is left out or twice."""
        wanted = wanted_lengths()
        self.assertEqual(set(found), set(wanted), what)
        for layer, length in wanted.items():
            self.assertLess(abs(found[layer] / length - 1), error, (what, layer))

    @unittest.skipUnless(ezdxf, "ezdxf is not installed")
    def test_ezdxf(self):
        from ezdxf.path import make_path
        for mode in MODES:
            self.run_program("a.json", "-o", "a.dxf", *mode)
            document = ezdxf.readfile(self.path("a.dxf"))
            auditor = document.audit()
            self.assertEqual((list(auditor.errors), list(auditor.fixes)), ([], []), mode)
            lengths = defaultdict(float)
            for entity in document.modelspace():
                points = [tuple(p)[:2] for p in make_path(entity).flattening(1e-6)]
                lengths[entity.dxf.layer] += length_of(points)
            self.assert_lengths(lengths, 2e-3, mode)

    @unittest.skipUnless(ezdxf, "ezdxf is not installed")
    def test_kinds(self):
        """Whole shapes are one entity each."""
        self.run_program("a.json", "-o", "a.dxf")
        kinds = defaultdict(Counter)
        for entity in ezdxf.readfile(self.path("a.dxf")).modelspace():
            kinds[entity.dxf.layer][entity.dxftype()] += 1
        self.assertEqual(kinds["CIRCLE"], {"CIRCLE": 1})
        self.assertEqual(kinds["ELLIPSE"], {"ELLIPSE": 1})
        self.assertEqual(kinds["RECTANGLE"], {"LWPOLYLINE": 1})
        self.assertEqual(kinds["ROUNDED"], {"LWPOLYLINE": 1})
        self.assertEqual(kinds["RING"], {"CIRCLE": 2})
        self.assertEqual((kinds["MIXED"]["SPLINE"], kinds["MIXED"]["ELLIPSE"]), (2, 1))

    @unittest.skipUnless(ogr, "GDAL's Python module is not installed")
    def test_ogr(self):
        gdal.SetConfigOption("OGR_ARC_STEPSIZE", "0.1")
        self.addCleanup(gdal.SetConfigOption, "OGR_ARC_STEPSIZE", None)
        for mode in MODES:
            self.run_program("a.json", "-o", "a.dxf", *mode)
            source = ogr.Open(self.path("a.dxf"))
            lengths = defaultdict(float)
            for feature in source.GetLayer(0):
                shape = feature.GetGeometryRef()
                # Closed polylines without curves come as polygons.
                line = shape.Boundary() if shape.GetGeometryName() == "POLYGON" else shape
                lengths[feature.GetField("Layer")] += line.Length()
            self.assert_lengths(lengths, 2e-3, mode)

    @unittest.skipUnless(os.path.exists(FREECAD + "/Import.so"), "FreeCAD is not installed")
    def test_freecad(self):
        names = []
        for number, mode in enumerate(MODES):
            names.append("m%d.dxf" % number)
            self.run_program("a.json", "-o", names[-1], *mode)
        self.write("read.py", test_readers.FreeCad.SCRIPT.encode())
        run_reader([sys.executable, "read.py", FREECAD, "found.json", *names], self.folder)
        for name, objects in json.loads(self.read("found.json")).items():
            lengths = {label: sum(length for _, length in edges) for label, edges in objects}
            # It draws every ELLIPSE whole.
            if any(kind == "Part::GeomEllipse" for label, edges in objects for kind, _ in edges if label == "MIXED"):
                self.assertGreater(lengths["MIXED"], wanted_lengths()["MIXED"])
                lengths["MIXED"] = wanted_lengths()["MIXED"]
            self.assert_lengths(lengths, 2e-3, name)

    @needs("inkscape")
    def test_inkscape_reads_dxf(self):
        self.run_program("a.json", "-o", "a.dxf")
        result = run_reader([sys.executable, INKSCAPE_EXTENSIONS + "/dxf_input.py", "a.dxf"], self.folder)
        self.assertEqual(result.stderr, b"")
        self.assertEqual(result.stdout.count(b"<path") + result.stdout.count(b":path"),
                         result.stdout.count(b" d="))
        self.assertGreaterEqual(result.stdout.count(b" d="), 7)

    @needs("qpdf")
    def test_pdf_is_sound(self):
        self.run_program("a.json", "-o", "a.pdf")
        run_reader(["qpdf", "--check", "a.pdf"], self.folder)

    @unittest.skipUnless(Image, "PIL is not installed")
    def test_pictures_look_the_same(self):
        """Of SVG and PDF, filled with the preview's colours; exact numbers, few bytes, and many outlines in one path."""
        many = drawing(dpi=72, unit="px")
        many["outlines"] += many["outlines"][:3] * 400
        readers = {"rsvg-convert": ["rsvg-convert", "s.svg", "-b", "white", "-o", "o.png"],
                   "inkscape": ["inkscape", "--export-type=png", "--export-filename=o.png", "--export-background=white",
                                "--export-dpi=96", "s.svg"],
                   "pdftocairo": ["pdftocairo", "-png", "-singlefile", "-r", "72", "d.pdf", "o"]}
        readers = {name: command for name, command in readers.items() if shutil.which(name)}
        self.assertGreaterEqual(len(readers), 2)
        for content, decimals in (drawing(dpi=72, unit="px"), "exact"), (drawing(dpi=72, unit="px"), "2"), (many, "2"):
            self.write("s.json", json.dumps(content).encode())
            self.run_program("s.json", "-o", "p.png", "-o", "s.svg", "-o", "d.pdf", "--overwrite", "--decimals", decimals)
            preview = Image.open(self.path("p.png")).convert("RGBA")
            flat = Image.new("RGBA", preview.size, "white")
            flat.alpha_composite(preview)
            pixels = list(flat.convert("L").getdata())
            self.assertGreater(sum(value < 128 for value in pixels), 15000)
            for name, command in readers.items():
                run_reader(command, self.folder)
                other = Image.open(self.path("o.png")).convert("L")
                self.assertEqual(other.size, flat.size, name)
                difference = sum(abs(a - b) for a, b in zip(pixels, other.getdata())) / len(pixels)
                self.assertLess(difference, 0.8, (name, decimals))


if __name__ == "__main__":
    unittest.main()
