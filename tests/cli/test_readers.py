# (c) the ztrace developers. Licence: see LICENSE.
"""What other programs make of the files. A reader that is not installed skips its tests."""
import json
import math
import re
import shutil
import subprocess
import unittest

from support import BLACK, CLEAR, RED, WHITE, CommandTest, png, ring

try:
    import ezdxf
    import ezdxf.path
except ImportError:
    ezdxf = None
try:
    from osgeo import ogr
    ogr.UseExceptions()
except ImportError:
    ogr = None

SIZE = 60
MODES = [["--dxf-curves", "spline"], ["--dxf-curves", "arc"], ["--dxf-curves", "polyline"],
         ["--dxf-version", "2000"], ["--dxf-version", "r12"], ["--dxf-version", "r12", "--dxf-curves", "arc"]]


def disc(x, y):
    distance = math.hypot(x - 29.5, y - 29.5)
    return WHITE if distance > 25 else RED if distance > 12 else BLACK


def quadratic_length(p, q, r, steps=2000):
    points = [tuple((1 - t) ** 2 * a + 2 * t * (1 - t) * b + t * t * c for a, b, c in zip(p, q, r))
              for t in (i / steps for i in range(steps + 1))]
    return sum(math.dist(a, b) for a, b in zip(points, points[1:]))


def needs(program):
    return unittest.skipUnless(shutil.which(program), program + " is not installed")


class Reader(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(SIZE, SIZE, disc, dpi=254))

    def length(self, scale=1.0):
        """Length of all outlines, from the JSON file."""
        self.run_program("a.png", "-o", "a.json")
        total = 0.0
        for outline in json.loads(self.read("a.json"))["outlines"]:
            at = outline["start"]
            for piece in outline["pieces"]:
                if piece[0] == "L":
                    total += math.dist(at, piece[1:3])
                else:
                    total += quadratic_length(at, piece[1:3], piece[3:5])
                at = piece[-2:]
        return total * scale


@unittest.skipUnless(ezdxf, "ezdxf is not installed")
class Dxf(Reader):
    def entities(self, *options):
        self.run_program("a.png", "-o", "a.dxf", *options)
        return ezdxf.readfile(self.path("a.dxf"))

    def test_audit_finds_nothing(self):
        for mode in MODES:
            with self.subTest(mode):
                auditor = self.entities(*mode).audit()
                self.assertEqual((list(auditor.errors), list(auditor.fixes)), ([], []))

    def measured(self, document):
        total = 0.0
        for entity in document.modelspace():
            if entity.dxftype() == "SPLINE":
                points = [tuple(p)[:2] for p in entity.control_points]
                self.assertEqual((entity.dxf.degree, len(points)), (2, 3))
                total += quadratic_length(*points)
            else:
                points = list(ezdxf.path.make_path(entity).flattening(0.0001))
                total += sum(math.dist(a, b) for a, b in zip(points, points[1:]))
        return total

    def test_lengths(self):
        wanted = self.length(0.1)  # 254 pixels an inch are 0.1 mm a pixel
        exact = self.measured(self.entities("-u", "mm"))
        self.assertLess(abs(exact - wanted), 1e-6 * wanted)
        arcs = self.measured(self.entities("-u", "mm", "--dxf-curves", "arc", "--dxf-tolerance", "0.01"))
        self.assertLess(abs(arcs - wanted), 1e-3 * wanted)

    def test_units_extents_and_layers(self):
        document = self.entities("-u", "mm")
        self.assertEqual(document.header["$INSUNITS"], 4)
        for corner, value in ("$EXTMIN", 0.0), ("$EXTMAX", 6.0):
            for found in document.header[corner][:2]:
                self.assertAlmostEqual(found, value)
        colours = {layer.dxf.name: layer.rgb for layer in document.layers if layer.dxf.name.startswith("COLOR")}
        self.assertEqual(colours, {"COLOR_FFFFFF": (255, 255, 255), "COLOR_FF0000": (255, 0, 0),
                                   "COLOR_000000": (0, 0, 0)})
        self.assertEqual({e.dxf.layer for e in document.modelspace()}, set(colours))
        self.assertEqual(self.entities("-u", "in").header["$INSUNITS"], 1)
        self.assertEqual(self.entities().header["$INSUNITS"], 0)

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
    def test_lengths(self):
        self.run_program("a.png", "-o", "a.dxf", "-u", "mm", "--dxf-curves", "polyline", "--dxf-tolerance", "0.001")
        source = ogr.Open(self.path("a.dxf"))
        layer = source.GetLayer(0)
        total = 0.0
        for feature in layer:
            shape = feature.GetGeometryRef()
            shape = shape if shape.GetGeometryName() == "LINESTRING" else shape.Boundary()
            total += shape.Length()
        wanted = self.length(0.1)
        self.assertLess(abs(total - wanted), 1e-4 * wanted)

    def test_splines_are_all_there(self):
        self.run_program("a.png", "-o", "a.dxf")
        source = ogr.Open(self.path("a.dxf"))
        text = self.read("a.dxf").decode()
        self.assertEqual(source.GetLayer(0).GetFeatureCount(),
                         text.count("\nSPLINE\n") + text.count("\nLWPOLYLINE\n"))


class Pdf(Reader):
    @needs("qpdf")
    def test_structure(self):
        for options in [], ["--layers"], ["--outline"]:
            self.run_program("a.png", "-o", "a.pdf", *options)
            result = subprocess.run(["qpdf", "--check", self.path("a.pdf")], capture_output=True)
            self.assertEqual(result.returncode, 0, result.stdout)

    @needs("pdfinfo")
    def test_physical_size(self):
        self.run_program("a.png", "-o", "a.pdf", "--dpi", "auto")
        text = subprocess.run(["pdfinfo", self.path("a.pdf")], capture_output=True, check=True).stdout.decode()
        width, height = re.search(r"Page size: +([\d.]+) x ([\d.]+)", text).groups()
        self.assertAlmostEqual(float(width), SIZE / 254 * 72, places=2)
        self.assertAlmostEqual(float(height), SIZE / 254 * 72, places=2)


class Pictures(Reader):
    def ppm(self, command):
        subprocess.run(command, check=True, cwd=self.folder, capture_output=True)

    @needs("rsvg-convert")
    def test_svg_reads_and_has_its_size(self):
        for options in [], ["--layers"], ["--outline"], ["--decimals", "2"]:
            self.run_program("a.png", "-o", "a.svg", "-u", "mm", *options)
            self.ppm(["rsvg-convert", "a.svg", "-o", "b.png"])
        self.assertIn(b'width="6mm" height="6mm" viewBox="0 0 60 60"', self.read("a.svg"))

    @needs("rsvg-convert")
    @needs("pdftocairo")
    def test_preview_svg_and_pdf_look_the_same(self):
        try:
            from PIL import Image
        except ImportError:
            self.skipTest("PIL is not installed")
        for options in [], ["--layers"], ["--outline"], ["--only-color", "red"]:
            with self.subTest(options):
                self.run_program("a.png", "-o", "p.png", "-o", "s.svg", "-o", "d.pdf", "--dpi", "72", "--background",
                                 "white", *options)
                self.ppm(["rsvg-convert", "s.svg", "-b", "white", "-o", "s.png"])
                self.ppm(["pdftocairo", "-png", "-singlefile", "-r", "72", "d.pdf", "d"])
                preview = Image.open(self.path("p.png")).convert("RGBA")
                flat = Image.new("RGBA", preview.size, "white")
                flat.alpha_composite(preview)
                pixels = list(flat.convert("L").getdata())
                for name in "s.png", "d.png":
                    other = Image.open(self.path(name)).convert("L")
                    self.assertEqual(other.size, flat.size)
                    difference = sum(abs(a - b) for a, b in zip(pixels, other.getdata())) / len(pixels)
                    self.assertLess(difference, 3.0, name)


if __name__ == "__main__":
    unittest.main()
