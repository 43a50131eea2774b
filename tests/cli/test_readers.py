# (c) the ztrace developers. Licence: see LICENSE.
"""What other programs make of the files. A reader that is not installed skips its tests."""
import importlib.util
import json
import math
import os
import re
import shutil
import subprocess
import sys
import unittest
from collections import Counter, defaultdict
from xml.etree import ElementTree

from support import BLACK, CLEAR, RED, WHITE, CommandTest, png, ring

try:
    import ezdxf
except ImportError:
    ezdxf = None
try:
    from osgeo import gdal, ogr
    ogr.UseExceptions()
except ImportError:
    ogr = None
try:
    from PIL import Image
except ImportError:
    Image = None

FREECAD = "/usr/lib/freecad-python3/lib"
INKSCAPE_EXTENSIONS = "/usr/share/inkscape/extensions"
SIZE = 60
MM = 0.1  # 254 pixels an inch are 0.1 mm a pixel
MODES = [["--dxf-curves", "spline"], ["--dxf-curves", "arc"], ["--dxf-curves", "polyline"],
         ["--dxf-version", "2000"], ["--dxf-version", "r12"], ["--dxf-version", "r12", "--dxf-curves", "arc"]]
LOOKS = [[], ["--layers"], ["--outline"], ["--only-color", "red"]]
# Half of the points of Gauss's rule, each with its weight; the one in the middle counts twice.
GAUSS = [(0.0, 64 / 225)] + [(math.sqrt(5 + sign * math.sqrt(40 / 7)) / 3, (322 - sign * 13 * math.sqrt(70)) / 900)
                             for sign in (-1, 1)]


# 254 pixels an inch: a pixel is a tenth of a millimetre.
STROKES = {
    "format": "ztrace drawing", "version": 2, "width": 400, "height": 300, "dpi": 254, "unit": "mm",
    "pens": [{"width": 5}, {"width": 3, "type": "hidden", "dashes": [20, 10]},
             {"width": 2, "type": "center", "dashes": [40, 6, 6, 6], "ends": "flat"}],
    "outlines": [dict(outline, layer="L%d" % outline["pen"], color="#c00000") for outline in [
        {"pen": 0, "start": [10, 20], "pieces": [["L", 100, 20], ["A", math.tan(math.pi / 8), 120, 40]]},
        {"pen": 1, "start": [250, 100], "pieces": [["A", -1, 150, 100], ["A", -1, 250, 100]]},
        {"pen": 2, "start": [340, 200], "pieces": [["E", 1, 0.5, 0, 260, 200], ["E", 1, 0.5, 0, 340, 200]]},
        {"pen": 2, "start": [50, 200], "pieces": [["E", -0.4, 0.5, 0.3, 90, 220]]},
        {"pen": 2, "start": [350, 50], "pieces": [["S", 3, 360, 90, 380, 20, 390, 60]]},
        {"pen": 0, "start": [120, 90], "pieces": [["L", 120, 40]]},
        {"pen": 0, "start": [200, 290], "pieces": [["L", 390, 290]]}]]}


def disc(x, y):
    distance = math.hypot(x - 29.5, y - 29.5)
    return WHITE if distance > 25 else RED if distance > 12 else BLACK


def quadratic_point(t, p, q, r):
    return [(1 - t) ** 2 * a + 2 * t * (1 - t) * b + t * t * c for a, b, c in zip(p, q, r)]


def quadratic_length(p, q, r):
    """To 1e-11: Gauss's rule of five points, on halves of halves until they agree with the whole."""
    def speed(t):
        return 2 * math.hypot(*((1 - t) * (b - a) + t * (c - b) for a, b, c in zip(p, q, r)))

    def rule(start, end):
        middle, half = (start + end) / 2, (end - start) / 2
        return half * sum(weight * (speed(middle - half * x) + speed(middle + half * x)) for x, weight in GAUSS)

    def halved(start, end, whole, depth):
        middle = (start + end) / 2
        left, right = rule(start, middle), rule(middle, end)
        if depth == 0 or abs(left + right - whole) < 1e-12:
            return left + right
        return halved(start, middle, left, depth - 1) + halved(middle, end, right, depth - 1)

    return halved(0.0, 1.0, rule(0.0, 1.0), 30)


def turning(p, q, r):
    """The angle by which a quadratic turns."""
    angle = math.atan2(r[1] - q[1], r[0] - q[0]) - math.atan2(q[1] - p[1], q[0] - p[0])
    return abs(math.remainder(angle, math.tau))


def chain_length(points):
    return sum(math.dist(a, b) for a, b in zip(points, points[1:]))


def bulge_length(points):
    """Of a chain of (x, y, bulge), where the bulge is the tangent of a quarter of the arc's angle."""
    total = 0.0
    for (x, y, bulge), (to_x, to_y, _) in zip(points, points[1:]):
        chord = math.hypot(to_x - x, to_y - y)
        total += chord * (1 + bulge * bulge) * math.atan(bulge) / bulge if bulge else chord
    return total


def needs(program):
    return unittest.skipUnless(shutil.which(program), program + " is not installed")


def run_reader(command, folder):
    """Its output. It gets a home of its own, no display, and an end."""
    home = os.path.join(folder, "home")
    os.makedirs(home, exist_ok=True)
    kept = {name: value for name, value in os.environ.items() if name in ("PATH", "LANG", "LC_ALL")}
    result = subprocess.run(command, cwd=folder, env={**kept, "HOME": home}, stdin=subprocess.DEVNULL,
                            capture_output=True, timeout=120)
    if result.returncode:
        raise AssertionError((command, result.stdout, result.stderr))
    return result


class Reader(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(SIZE, SIZE, disc, dpi=254))

    def outlines(self):
        self.run_program("a.png", "--fit", "engine", "-o", "a.json")
        return json.loads(self.read("a.json"))["outlines"]

    def chains(self, scale=MM):
        """(layer, points) of what the exact file holds: runs of lines, and quadratics of three points."""
        for outline in self.outlines():
            run = [[scale * c for c in outline["start"]]]
            for piece in outline["pieces"]:
                numbers = [scale * c for c in piece[1:]]
                if piece[0] == "L":
                    run.append(numbers)
                    continue
                self.assertEqual(piece[0], "Q")
                if len(run) > 1:
                    yield outline["layer"], "L", run
                yield outline["layer"], "Q", [run[-1], numbers[:2], numbers[2:]]
                run = [numbers[2:]]
            if len(run) > 1:
                yield outline["layer"], "L", run

    def assert_lengths(self, found, tolerance=0.0, rounding=1e-9):
        """Lengths of the layers in mm; how far the file may be from the curves in pixels; relative error
        of the reader's own numbers.

        Length is the integral of the support function over all directions. So two convex curves with
        the same end points, which are nowhere farther from each other than the tolerance, differ by
        no more than the tolerance times the angle by which they turn.
        """
        wanted, turned = defaultdict(float), defaultdict(float)
        for layer, kind, points in self.chains():
            wanted[layer] += quadratic_length(*points) if kind == "Q" else chain_length(points)
            turned[layer] += turning(*points) if kind == "Q" else 0.0
        self.assertEqual(sorted(found), sorted(wanted))
        self.assertGreater(max(turned.values()), 1.0)
        for layer, length in wanted.items():
            bound = tolerance * MM * turned[layer] + rounding * length
            self.assertLess(abs(found[layer] - length), bound, layer)


@unittest.skipUnless(ezdxf, "ezdxf is not installed")
class Dxf(Reader):
    def entities(self, *options):
        self.run_program("a.png", "--fit", "engine", "-o", "a.dxf", *options)
        return ezdxf.readfile(self.path("a.dxf"))

    def test_audit_finds_nothing(self):
        for mode in MODES:
            with self.subTest(mode):
                auditor = self.entities(*mode).audit()
                self.assertEqual((list(auditor.errors), list(auditor.fixes)), ([], []))

    def measured(self, document):
        lengths = defaultdict(float)
        for entity in document.modelspace():
            kind = entity.dxftype()
            if kind == "SPLINE":
                points = [tuple(p)[:2] for p in entity.control_points]
                self.assertEqual((entity.dxf.degree, len(points)), (2, 3))
                lengths[entity.dxf.layer] += quadratic_length(*points)
                continue
            if kind == "LINE":
                lengths[entity.dxf.layer] += math.dist(entity.dxf.start, entity.dxf.end)
                continue
            if kind == "LWPOLYLINE":
                points, closed = entity.get_points("xyb"), entity.closed
            else:
                self.assertEqual(kind, "POLYLINE")
                points = [(*tuple(v.dxf.location)[:2], v.dxf.bulge) for v in entity.vertices]
                closed = entity.is_closed
            lengths[entity.dxf.layer] += bulge_length(points + points[:1] if closed else points)
        return lengths

    def test_lengths(self):
        self.assert_lengths(self.measured(self.entities("-u", "mm")))
        for curves in "arc", "polyline":
            for tolerance in 0.05, 0.001:
                for version in "2004", "r12":
                    with self.subTest(curves=curves, tolerance=tolerance, version=version):
                        document = self.entities("-u", "mm", "--dxf-curves", curves, "--dxf-tolerance", str(tolerance),
                                                 "--dxf-version", version)
                        self.assert_lengths(self.measured(document), tolerance)

    def test_units_extents_and_layers(self):
        document = self.entities("-u", "mm")
        self.assertEqual(document.header["$INSUNITS"], 4)
        for corner, value in ("$EXTMIN", 0.0), ("$EXTMAX", 6.0):
            for found in document.header[corner][:2]:
                self.assertAlmostEqual(found, value)
        colours = {layer.dxf.name: layer.rgb for layer in document.layers if layer.dxf.name.startswith("COLOR")}
        self.assertEqual(colours, {"COLOR_FFFFFF": (255, 255, 255), "COLOR_FF0000": (255, 0, 0),
                                   "COLOR_000000": None})
        # 7 is black on white and white on black, where a true colour would be black on black.
        self.assertEqual(document.layers.get("COLOR_000000").color, 7)
        self.assertEqual({e.dxf.layer for e in document.modelspace()}, set(colours))
        self.assertEqual(self.entities("-u", "in").header["$INSUNITS"], 1)
        self.assertEqual(self.entities().header["$INSUNITS"], 0)

    def test_strokes(self):
        """Entities, line types, lengths of dashes, line weights and the geometry of a drawing in mm."""
        self.write("s.json", json.dumps(STROKES).encode())
        self.run_program("s.json", "-o", "s.dxf")
        document = ezdxf.readfile(self.path("s.dxf"))
        auditor = document.audit()
        self.assertEqual((list(auditor.errors), list(auditor.fixes)), ([], []))
        found = list(document.modelspace())
        self.assertEqual([e.dxftype() for e in found],
                         ["LINE", "ARC", "CIRCLE", "ELLIPSE", "ELLIPSE", "SPLINE", "LINE", "LINE"])
        self.assertEqual([e.dxf.get("lineweight") for e in found], [50, 50, 30, 20, 20, 20, 50, 50])
        line, arc, circle, ellipse, part, spline = found[:6]
        self.assertLess(math.dist(line.dxf.start, (1, 2, 0)) + math.dist(line.dxf.end, (10, 2, 0)), 1e-9)
        self.assertLess(math.dist(arc.start_point, (10, 2, 0)) + math.dist(arc.end_point, (12, 4, 0)), 1e-9)
        self.assertAlmostEqual(arc.dxf.radius, 2)
        self.assertLess(math.dist(circle.dxf.center, (20, 10, 0)), 1e-9)
        self.assertAlmostEqual(circle.dxf.radius, 5)
        self.assertLess(math.dist(ellipse.dxf.center, (30, 20, 0)), 1e-9)
        self.assertAlmostEqual(ellipse.dxf.major_axis.magnitude, 4)
        self.assertAlmostEqual(ellipse.dxf.ratio, 0.5)
        ends = sorted((tuple(part.start_point)[:2], tuple(part.end_point)[:2]))
        self.assertLess(math.dist(ends[0], (5, 20)) + math.dist(ends[1], (9, 22)), 1e-9)
        self.assertEqual((spline.dxf.degree, len(spline.control_points)), (3, 4))
        for entity, name, dashes in [(circle, "HIDDEN", [2, -1]), (ellipse, "CENTER", [4, -0.6, 0.6, -0.6])]:
            self.assertEqual(entity.dxf.linetype, name)
            pattern = [tag.value for tag in document.linetypes.get(name).pattern_tags.tags if tag.code == 49]
            self.assertEqual(len(pattern), len(dashes))
            for length, wanted in zip(pattern, dashes):
                self.assertAlmostEqual(length * entity.dxf.ltscale, wanted)

    def test_joined_strokes(self):
        self.write("s.json", json.dumps(STROKES).encode())
        self.run_program("s.json", "-o", "s.dxf", "--dxf-join")
        document = ezdxf.readfile(self.path("s.dxf"))
        self.assertEqual(list(document.audit().errors), [])
        found = list(document.modelspace())
        self.assertEqual([e.dxftype() for e in found],
                         ["LWPOLYLINE", "CIRCLE", "ELLIPSE", "ELLIPSE", "SPLINE", "LINE"])
        points = [tuple(p) for p in found[0].get_points("xyb")]
        for point, wanted in zip(points, [(1, 2, 0), (10, 2, math.tan(math.pi / 8)), (12, 4, 0), (12, 9, 0)]):
            self.assertLess(math.dist(point, wanted), 1e-9)
        self.assertFalse(found[0].closed)

    def test_arcs_make_one_closed_polyline_an_outline(self):
        entities = list(self.entities("--dxf-curves", "arc").modelspace())
        self.assertEqual([e.dxftype() for e in entities], ["LWPOLYLINE"] * 3)
        self.assertTrue(all(e.closed for e in entities))
        self.assertTrue(any(point[4] for point in entities[1]))

    def test_y_grows_upwards(self):
        self.write("a.png", png(40, 40, lambda x, y: BLACK if y < 10 else CLEAR))
        points = [p for e in self.entities("--dxf-curves", "polyline").modelspace() for p in e.get_points("xy")]
        self.assertGreaterEqual(min(y for _, y in points), 29)

    def test_hole_is_on_the_layer_of_what_it_is_cut_out_of(self):
        self.write("a.png", ring(RED, CLEAR, CLEAR))
        entities = list(self.entities("--dxf-curves", "polyline").modelspace())
        self.assertEqual([e.dxf.layer for e in entities], ["COLOR_FF0000"] * 2)
        entities = list(self.entities("--dxf-curves", "polyline", "--transparent").modelspace())
        self.assertEqual([e.dxf.layer for e in entities], ["TRANSPARENT", "COLOR_FF0000", "TRANSPARENT"])


@unittest.skipUnless(ogr, "GDAL's Python module is not installed")
class Ogr(Reader):
    def features(self, *options):
        """(layer, points) of every feature."""
        self.run_program("a.png", "--fit", "engine", "-o", "a.dxf", "-u", "mm", *options)
        source = ogr.Open(self.path("a.dxf"))
        found = []
        for feature in source.GetLayer(0):
            shape = feature.GetGeometryRef()
            self.assertEqual(shape.GetGeometryName(), "LINESTRING")
            found.append((feature.GetField("Layer"), [point[:2] for point in shape.GetPoints()]))
        return found

    def test_splines(self):
        """OGR makes a spline a chain of points at equal steps of its parameter, and no option makes it
        finer: so it is not lengths that are compared, but every point with that of our curve."""
        features = self.features()
        wanted = list(self.chains())
        self.assertEqual([layer for layer, _ in features], [layer for layer, _, _ in wanted])
        for (_, found), (_, kind, points) in zip(features, wanted):
            if kind == "Q":
                self.assertGreater(len(found), 10)
                steps = [i / (len(found) - 1) for i in range(len(found))]
                points = [quadratic_point(t, *points) for t in steps]
            self.assertEqual(len(found), len(points))
            for a, b in zip(found, points):
                self.assertLess(math.dist(a, b), 1e-9)

    def test_lengths(self):
        # Arcs become chords of this many degrees, which are shorter by one part in 10 million.
        gdal.SetConfigOption("OGR_ARC_STEPSIZE", "0.1")
        self.addCleanup(gdal.SetConfigOption, "OGR_ARC_STEPSIZE", None)
        for curves in "arc", "polyline":
            for tolerance in 0.05, 0.001:
                with self.subTest(curves=curves, tolerance=tolerance):
                    lengths = defaultdict(float)
                    for layer, points in self.features("--dxf-curves", curves, "--dxf-tolerance", str(tolerance)):
                        lengths[layer] += chain_length(points)
                    self.assert_lengths(lengths, tolerance, rounding=1e-6)

    def test_arcs_stay_near_the_curves(self):
        curves = defaultdict(lambda: ogr.Geometry(ogr.wkbMultiLineString))
        for layer, kind, points in self.chains():
            if kind == "Q":
                # Chords that are less than a millionth of a millimetre from the curve.
                points = [quadratic_point(i / 500, *points) for i in range(501)]
            line = ogr.Geometry(ogr.wkbLineString)
            for point in points:
                line.AddPoint_2D(*point)
            curves[layer].AddGeometry(line)
        gdal.SetConfigOption("OGR_ARC_STEPSIZE", "1")
        self.addCleanup(gdal.SetConfigOption, "OGR_ARC_STEPSIZE", None)
        for tolerance in 0.05, 0.01, 0.001:
            farthest = 0.0
            for layer, points in self.features("--dxf-curves", "arc", "--dxf-tolerance", str(tolerance)):
                for x, y in points:
                    point = ogr.Geometry(ogr.wkbPoint)
                    point.AddPoint_2D(x, y)
                    farthest = max(farthest, point.Distance(curves[layer]))
            self.assertLess(farthest, tolerance * MM + 1e-6)
            self.assertGreater(farthest, tolerance * MM / 100)


@unittest.skipUnless(os.path.exists(FREECAD + "/Import.so"), "FreeCAD is not installed")
class FreeCad(Reader):
    # As a module, since its command needs three times as many packages. Layers have names where one
    # object a layer is asked for.
    SCRIPT = """
import json, sys
sys.path.append(sys.argv[1])
import FreeCAD
FreeCAD.ParamGet("User parameter:BaseApp/Preferences/Mod/Draft").SetBool("groupLayers", True)
import Import, Part
found = {}
for name in sys.argv[3:]:
    document = FreeCAD.newDocument("drawing")
    Import.readDXF(name, document.Name)
    found[name] = [(o.Label, [(e.Curve.TypeId, e.Length) for e in o.Shape.Edges]) for o in document.Objects]
    FreeCAD.closeDocument(document.Name)
with open(sys.argv[2], "w") as file:
    json.dump(found, file)
"""

    def test_lengths(self):
        """All files in one run. FreeCAD turns all units into its own, the millimetre."""
        cases = {"spline.dxf": (["-u", "mm"], 0.0),
                 "inch.dxf": (["-u", "in"], 0.0),
                 "2000.dxf": (["-u", "mm", "--dxf-version", "2000"], 0.0)}
        for curves in "arc", "polyline":
            for tolerance in 0.05, 0.001:
                options = ["-u", "mm", "--dxf-curves", curves, "--dxf-tolerance", str(tolerance)]
                cases["%s-%s.dxf" % (curves, tolerance)] = options, tolerance
                cases["%s-%s-r12.dxf" % (curves, tolerance)] = options + ["--dxf-version", "r12"], tolerance
        for name, (options, _) in cases.items():
            self.run_program("a.png", "--fit", "engine", "-o", name, *options)
        self.write("read.py", self.SCRIPT.encode())
        run_reader([sys.executable, "read.py", FREECAD, "found.json", *cases], self.folder)
        found = json.loads(self.read("found.json"))
        for name, (_, tolerance) in cases.items():
            with self.subTest(name):
                self.assert_lengths({label: sum(length for _, length in edges) for label, edges in found[name]},
                                    tolerance)
                kinds = Counter(kind for _, edges in found[name] for kind, _ in edges)
                self.assertEqual(kinds["Part::GeomCircle"] > 0, name.startswith("arc"))
                if tolerance == 0.0:
                    self.assertEqual(kinds["Part::GeomBSplineCurve"],
                                     sum(kind == "Q" for _, kind, _ in self.chains()))


class Pdf(Reader):
    @needs("qpdf")
    def test_structure(self):
        for options in [], ["--layers"], ["--outline"]:
            self.run_program("a.png", "--fit", "engine", "-o", "a.pdf", *options)
            result = subprocess.run(["qpdf", "--check", self.path("a.pdf")], capture_output=True)
            self.assertEqual(result.returncode, 0, result.stdout)

    @needs("pdfinfo")
    def test_physical_size(self):
        self.run_program("a.png", "--fit", "engine", "-o", "a.pdf", "--dpi", "auto")
        text = subprocess.run(["pdfinfo", self.path("a.pdf")], capture_output=True, check=True).stdout.decode()
        width, height = re.search(r"Page size: +([\d.]+) x ([\d.]+)", text).groups()
        self.assertAlmostEqual(float(width), SIZE / 254 * 72, places=2)
        self.assertAlmostEqual(float(height), SIZE / 254 * 72, places=2)


class Pictures(Reader):
    def ppm(self, command):
        run_reader(command, self.folder)

    def assert_looks_like(self, flat, name, most=3.0):
        pixels = list(flat.getdata())
        other = Image.open(self.path(name)).convert("L")
        self.assertEqual(other.size, flat.size)
        difference = sum(abs(a - b) for a, b in zip(pixels, other.getdata())) / len(pixels)
        self.assertLess(difference, most, name)

    def preview(self, *options):
        """Writes p.png, s.svg and d.pdf; the first one in grey, on white."""
        self.run_program("a.png", "--fit", "engine", "-o", "p.png", "-o", "s.svg", "-o", "d.pdf", "--dpi", "72", "--background",
                         "white", *options)
        preview = Image.open(self.path("p.png")).convert("RGBA")
        flat = Image.new("RGBA", preview.size, "white")
        flat.alpha_composite(preview)
        return flat.convert("L")

    @needs("rsvg-convert")
    def test_svg_reads_and_has_its_size(self):
        for options in [], ["--layers"], ["--outline"], ["--decimals", "2"]:
            self.run_program("a.png", "--fit", "engine", "-o", "a.svg", "-u", "mm", *options)
            self.ppm(["rsvg-convert", "a.svg", "-o", "b.png"])
        self.assertIn(b'width="6mm" height="6mm" viewBox="0 0 60 60"', self.read("a.svg"))

    @needs("rsvg-convert")
    @needs("pdftocairo")
    @unittest.skipUnless(Image, "PIL is not installed")
    def test_preview_svg_and_pdf_look_the_same(self):
        for options in LOOKS:
            with self.subTest(options):
                flat = self.preview(*options)
                self.ppm(["rsvg-convert", "s.svg", "-b", "white", "-o", "s.png"])
                self.ppm(["pdftocairo", "-png", "-singlefile", "-r", "72", "d.pdf", "d"])
                for name in "s.png", "d.png":
                    self.assert_looks_like(flat, name)

    @needs("rsvg-convert")
    @needs("pdftocairo")
    @unittest.skipUnless(Image, "PIL is not installed")
    def test_strokes_look_the_same(self):
        drawing = dict(STROKES, dpi=72, unit="px")
        self.write("s.json", json.dumps(drawing).encode())
        for decimals in [], ["--decimals", "2"]:
            self.run_program("s.json", "-o", "p.png", "-o", "s.svg", "-o", "d.pdf", *decimals)
            preview = Image.open(self.path("p.png")).convert("RGBA")
            flat = Image.new("RGBA", preview.size, "white")
            flat.alpha_composite(preview)
            flat = flat.convert("L")
            self.assertGreater(sum(value < 128 for value in flat.getdata()), 2000)
            self.ppm(["rsvg-convert", "s.svg", "-b", "white", "-o", "s.png"])
            self.ppm(["pdftocairo", "-png", "-singlefile", "-r", "72", "d.pdf", "d"])
            for name in "s.png", "d.png":
                self.assert_looks_like(flat, name, most=0.6)

    @needs("inkscape")
    @unittest.skipUnless(Image, "PIL is not installed")
    def test_inkscape_draws_the_same(self):
        for options in LOOKS:
            with self.subTest(options):
                flat = self.preview(*options)
                self.ppm(["inkscape", "--export-type=png", "--export-filename=i.png", "--export-background=white",
                          "s.svg"])
                self.assert_looks_like(flat, "i.png")


class Inkscape(Reader):
    LABEL = "{http://www.inkscape.org/namespaces/inkscape}label"
    SVG = "{http://www.w3.org/2000/svg}"

    @needs("inkscape")
    def test_layers(self):
        """What it selects as layers; a group that is none would not be there."""
        def layers(*options):
            self.run_program("a.png", "--fit", "engine", "-o", "a.svg", *options)
            result = run_reader(["inkscape", "--actions=select-all:layers;select-list", "a.svg"], self.folder)
            return re.findall(r"(?m)^(\S+) cloned: ", result.stdout.decode())

        ids = layers("--layers")
        groups = {group.get("id"): group.get(self.LABEL) for group in ElementTree.parse(self.path("a.svg")).iter()
                  if group.tag == self.SVG + "g"}
        self.assertEqual([groups[id] for id in ids], [outline["layer"] for outline in self.outlines()])
        self.assertEqual(layers(), [])

    @needs("inkscape")
    @unittest.skipUnless(all(map(importlib.util.find_spec, ["lxml", "numpy", "cssselect"])),
                         "modules of Inkscape's extensions are not installed")
    def test_dxf(self):
        """Its importer, a program of its own: Inkscape itself would wait for an answer to its dialog."""
        cases = [([], 0.0)]
        for version in "2004", "r12":
            cases += [(["--dxf-curves", curves, "--dxf-tolerance", str(tolerance), "--dxf-version", version], tolerance)
                      for curves in ("arc", "polyline") for tolerance in (0.05, 0.001)]
        for options, tolerance in cases:
            with self.subTest(options):
                self.run_program("a.png", "--fit", "engine", "-o", "a.dxf", "-u", "mm", *options)
                result = run_reader([sys.executable, INKSCAPE_EXTENSIONS + "/dxf_input.py", "a.dxf"], self.folder)
                self.assertEqual(result.stderr, b"")
                lengths, kinds = defaultdict(float), Counter()
                for group in ElementTree.fromstring(result.stdout).findall(self.SVG + "g"):
                    for path in group.findall(self.SVG + "path"):
                        lengths[group.get(self.LABEL)] += self.path_length(path.get("d"), kinds) * 25.4 / 96
                # Its paths have six decimals, those of a LINE six digits: half a hundredth of a pixel at either
                # end of a few lines among 16 mm of outline.
                self.assert_lengths(lengths, tolerance, rounding=5e-5)
                self.assertEqual(kinds["Q"], 0 if options else sum(kind == "Q" for _, kind, _ in self.chains()))
                self.assertEqual(kinds["A"] > 0, "arc" in options)

    def path_length(self, d, kinds):
        """Of a path of M (with a line behind it where it has two points), L, Q, and A for less than half a circle;
        counts them."""
        at, total = None, 0.0
        for command, text in re.findall(r"([A-Za-z])([^A-Za-z]*)", d):
            numbers = [float(n) for n in re.findall(r"-?[\d.]+", text)]
            kinds[command] += 1
            if command == "z":
                continue
            end = numbers[-2:]
            if command == "L":
                total += math.dist(at, end)
            elif command == "Q":
                total += quadratic_length(at, numbers[:2], end)
            elif command == "A":
                self.assertEqual(numbers[3], 0)
                total += 2 * numbers[0] * math.asin(math.dist(at, end) / 2 / numbers[0])
            else:
                self.assertEqual(command, "M")
                total += math.dist(numbers[:2], end)
            at = end
        return total


if __name__ == "__main__":
    unittest.main()
