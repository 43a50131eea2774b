# (c) the ztrace developers. Licence: see LICENSE.
"""Gradients: what is drawn, what formats and other programs make of it, and the dial of detail."""
import json
import math
import re
import unittest

from support import CommandTest, png
from test_readers import Image, needs, run_reader

SIDE = 120


def ramped(x, y):
    """A white disc on a ramp from blue to yellow, 30 degrees down."""
    away = math.hypot(x + 0.5 - SIDE / 2, y + 0.5 - SIDE / 2)
    share = ((x + 0.5) * math.cos(math.pi / 6) + (y + 0.5) * math.sin(math.pi / 6)) / (1.37 * SIDE)
    cover = min(1.0, max(0.0, away - SIDE / 5))
    return tuple(round(255 + cover * (a + share * (b - a) - 255))
                 for a, b in zip((30, 60, 200), (250, 230, 80))) + (255,)


@unittest.skipUnless(Image, "Pillow is not installed")
class Gradients(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(SIDE, SIDE, ramped))
        self.run_program("a.png", "--gradients", "-p", "logo", "-o", "a.svg", "-o", "a.pdf", "-o", "b.png")

    def assert_like(self, name):
        """Mean difference of a channel; bands of 16 colours would have 4."""
        with Image.open(self.path(name)) as image:
            found = image.convert("RGB").resize((SIDE, SIDE))
        total = sum(abs(a - b) for y in range(SIDE) for x in range(SIDE)
                    for a, b in zip(found.getpixel((x, y)), ramped(x, y)))
        self.assertLess(total / (3 * SIDE * SIDE), 2.0, name)

    def test_preview(self):
        self.assert_like("b.png")

    @needs("rsvg-convert")
    def test_rsvg(self):
        run_reader(["rsvg-convert", "a.svg", "-o", "c.png"], self.folder)
        self.assert_like("c.png")

    @needs("inkscape")
    def test_inkscape(self):
        run_reader(["inkscape", "--export-type=png", "--export-filename=c.png", "a.svg"], self.folder)
        self.assert_like("c.png")

    @needs("pdftoppm")
    def test_poppler(self):
        run_reader(["pdftoppm", "-r", "96", "-singlefile", "-png", "a.pdf", "c"], self.folder)
        self.assert_like("c.png")

    @needs("gs")
    def test_ghostscript(self):
        run_reader(["gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-r96", "-sDEVICE=png16m", "-sOutputFile=c.png",
                    "a.pdf"], self.folder)
        self.assert_like("c.png")


def gradients(svg):
    return re.findall(rb"<(linear|radial)Gradient ([^>]*)>(.*?)</", svg)


class Drawn(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(SIDE, SIDE, ramped))

    def svg(self, *arguments):
        return self.run_program("a.png", *arguments, "-o", "-").stdout

    def test_only_where_asked_for_and_in_logos(self):
        for preset in "logo", "photo", "poster":
            self.assertEqual(len(gradients(self.svg("-p", preset))), int(preset == "logo"), preset)
            self.assertEqual(len(gradients(self.svg("-p", preset, "--gradients"))), 1, preset)

    def test_logos_without(self):
        for arguments in (["--no-gradients"], ["--gradients", "--no-gradients"], ["--layers"], ["--outline"],
                          ["-c", "16"], ["--palette", "red,blue"], ["-o", "a.dxf"], ["-o", "a.geojson"]):
            result = self.run_program("a.png", "-p", "logo", *arguments, "-o", "a.svg")
            self.assertNotIn(b"mean colour", result.stderr)
            self.assertEqual(gradients(self.read("a.svg")), [], arguments)
        self.run_program("a.png", "-p", "logo", "-o", "a.json", "-o", "a.svg")
        self.assertEqual(len(gradients(self.read("a.svg"))), 1)
        self.assertIn(b"--gradients has no effect: --no-gradients draws none",
                      self.run_program("a.png", "--gradients", "--no-gradients", "-o", "a.svg").stderr)

    def test_either_fit(self):
        for fit in "engine", "fair":
            kind, places, stops = gradients(self.svg("-p", "logo", "--gradients", "--fit", fit))[0]
            self.assertEqual(kind, b"linear")
            self.assertIn(b'gradientUnits="userSpaceOnUse"', places)
            x1, y1, x2, y2 = (float(n) for n in re.findall(rb'[xy][12]="([^"]*)"', places))
            self.assertAlmostEqual(math.degrees(math.atan2(y2 - y1, x2 - x1)), 30, delta=1)
            self.assertEqual(stops.count(b"<stop"), 2)

    def test_one_area_in_place_of_bands(self):
        self.assertEqual(self.svg("-p", "photo", "--fit", "engine", "--gradients").count(b"<path"), 2)
        self.assertGreater(self.svg("-p", "photo", "--fit", "engine").count(b"<path"), 8)

    def test_auto_sees_what_lies_on_the_ramp(self):
        for arguments in [], ["--gradients"]:
            self.assertIn(b"logo", self.run_program("a.png", "-o", "b.svg", "--stats", *arguments).stdout)
            self.assertEqual(len(gradients(self.read("b.svg"))), 1)
        for arguments in ["-o", "b.svg", "--no-gradients"], ["-o", "b.dxf"], ["-o", "b.svg", "-o", "b.dxf"], ["-o", "b.svg", "--layers"]:
            self.assertIn(b"photo", self.run_program("a.png", *arguments, "--stats").stdout, arguments)

    def test_auto_sees_icons_of_ramps(self):
        """A ball on a button, both shaded, on nothing; a third of it in shades that are no ramps is a photograph."""
        def icon(x, y, waves):
            if max(abs(x - 64), abs(y - 64)) > 56:
                return (0, 0, 0, 0)
            away = math.hypot(x - 50, y - 50)
            if math.hypot(x - 58, y - 58) < 36:
                return tuple(round(top - away * fall) for top, fall in ((250, 1.5), (230, 2.5), (120, 1.2))) + (255,)
            if waves and y > 64:
                return tuple(round(part * (1 + 0.2 * math.sin(x / 3) * math.sin(y / 4))) for part in (120, 130, 180)) + (255,)
            return (40 + y // 2, 90 + y, 200 - y // 2, 255)

        for waves, kind in (False, b"ramps and flat areas"), (True, b"photo"):
            self.write("i.png", png(128, 128, lambda x, y, waves=waves: icon(x, y, waves)))
            self.assertIn(kind, self.run_program("i.png", "-o", "b.svg", "--stats").stdout)
            self.assertEqual(len(gradients(self.read("b.svg"))), 0 if waves else 2)

    def test_auto_sees_shadows(self):
        def shadowed(x, y):
            away = math.hypot(x + 0.5 - SIDE / 2, y + 0.5 - SIDE / 2) - SIDE / 5
            light = 1.0 if away < 0 else min(1.0, 0.4 + 0.05 * away)
            return tuple(int(light * part) for part in ramped(x, y)[:3]) + (255,)

        self.write("s.png", png(SIDE, SIDE, shadowed))
        self.assertIn(b"photo", self.run_program("s.png", "-o", "b.svg", "--stats", "--gradients").stdout)

    def test_auto_sees_shades_beside_flat_areas(self):
        """Shades that no ramp explains would be bands of few colours."""
        def wavy(x, y):
            if y < 3 * SIDE // 5:  # a larger one is a photograph beside a drawing
                return (240, 240, 240, 255) if x < SIDE // 2 else (200, 215, 235, 255)  # no plain ground
            wave = math.sin(x / 5.0 + 2.0 * math.sin(y / 7.0)) * math.sin(y / 6.0)
            return (150 + int(80 * wave), 120 + int(60 * wave), 90 + int(50 * wave), 255)

        self.write("w.png", png(SIDE, SIDE, wavy))
        self.assertIn(b"shading beside flat areas", self.run_program("w.png", "-o", "b.svg", "--stats").stdout)

        def stepped(x, y):  # as many colours, in flat areas
            return tuple(v - v % 16 for v in wavy(x - x % 8, y - y % 8)[:3]) + (255,)

        self.write("f.png", png(SIDE, SIDE, stepped))
        self.assertIn(b"logo", self.run_program("f.png", "-o", "b.svg", "--stats").stdout)

    def test_json_and_back(self):
        self.run_program("a.png", "--gradients", "-p", "logo", "-o", "a.json", "-o", "a.svg")
        drawing = json.loads(self.read("a.json"))
        self.assertEqual(len(drawing["gradients"]), 1)
        self.run_program("a.json", "-o", "b.svg", "-o", "b.json")
        self.assertEqual(self.read("b.svg"), self.read("a.svg"))
        self.assertEqual(self.read("b.json"), self.read("a.json"))

    def test_formats_without_have_the_mean_and_say_so(self):
        for name in "dxf", "geojson":
            result = self.run_program("a.png", "--gradients", "-o", "a." + name)
            self.assertEqual(result.stderr.decode(), "ztrace: %s has no gradients: their areas have the mean colour\n"
                             % name)
        self.run_program("a.png", "--gradients", "-o", "a.json", "-o", "a.svg")
        result = self.run_program("a.json", "-o", "b.dxf")
        self.assertIn(b"dxf has no gradients", result.stderr)
        mean = next(o["color"] for o in json.loads(self.read("a.json"))["outlines"] if "gradient" in o)
        numbers = [int(mean[k:k + 2], 16) for k in (1, 3, 5)]
        pixels = [ramped(x, y) for y in range(SIDE) for x in range(SIDE) if math.dist((x, y), (60, 60)) > 26]
        for channel, number in enumerate(numbers):
            self.assertAlmostEqual(number, sum(p[channel] for p in pixels) / len(pixels), delta=2)
        self.assertNotIn(b"dxf", self.run_program("a.png", "-o", "c.dxf").stderr)

    def test_palettes_and_ink_have_none(self):
        for arguments, words in (["-p", "logo", "--palette", "red,blue"], b"the palette gives the colours"), \
                (["-p", "lineart"], b"the preset makes black and white"), (["--raw"], b"--raw leaves all"):
            result = self.run_program("a.png", "--gradients", *arguments, "-o", "a.svg")
            self.assertIn(b"--gradients has no effect: " + words, result.stderr)
            self.assertEqual(gradients(self.read("a.svg")), [])

    def test_outlines_and_layers(self):
        self.assertEqual(gradients(self.svg("--gradients", "--outline")), [])
        layered = self.svg("--gradients", "-p", "logo", "--layers")
        self.assertEqual(len(gradients(layered)), 1)
        self.assertEqual(layered.count(b'fill="url(#gradient1)"'), 1)

    def test_check_of_batch_draws_them(self):
        self.run_program("batch", "a.png", "--out", "o", "--gradients", "-p", "logo", "-f", "svg")
        line = json.loads(self.read("o/ztrace-results.jsonl").splitlines()[0])
        self.assertLess(line["check"]["colourError"], 0.01)
        self.assertGreater(line["check"]["agreement"], 0.97)
        self.assertNotIn("flags", line)

    def test_two_drawings_are_one(self):
        self.assertEqual(self.svg("--gradients"), self.svg("--gradients"))


class Detail(CommandTest):
    def test_more_detail_is_more_areas(self):
        def blobs(x, y):
            light = 128 + 40 * math.sin(x / 4) * math.sin(y / 5) + 25 * math.sin(x / 1.7 + y / 2.3)
            return tuple(int(light * part) for part in (1.0, 0.9, 0.7)) + (255,)

        self.write("a.png", png(96, 96, blobs))
        counts = []
        for detail in ["--detail", "0"], ["--detail", "3"], ["--detail", "5"], ["--detail", "8"], []:
            self.run_program("a.png", "-p", "photo", *detail, "-o", "b.json")
            counts.append(len(json.loads(self.read("b.json"))["outlines"]))
        self.assertEqual(counts[:4], sorted(set(counts[:4])))
        self.assertGreater(counts[3], 4 * counts[0])
        self.assertEqual(counts[4], counts[2])


if __name__ == "__main__":
    unittest.main()
