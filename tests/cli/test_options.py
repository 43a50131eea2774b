# (c) the ztrace developers. Licence: see LICENSE.
"""Presets, palettes, scans, pages, units, configuration and what is kept."""
import json
import math
import os
import re
import struct
import subprocess
import unittest

from support import BLACK, CLEAR, PROGRAM, RED, WHITE, CommandTest, paths, png, ring, square


def tiff(pages, dpi=(300, 300)):
    """A little-endian TIFF of bilevel pages: functions of (x, y) that tell whether there is ink. A page of None has
    no pixels."""
    size = 64
    data = b"II*\0"
    offset_at = len(data)
    data += bytes(4)
    for ink in pages:
        strip = len(data)
        for y in range(size):
            if ink:
                data += bytes(sum((0 if ink(8 * b + i, y) else 1) << (7 - i) for i in range(8)) for b in range(size // 8))
        resolution = len(data)
        data += struct.pack("<IIII", dpi[0], 1, dpi[1], 1)
        entries = [(256, 4, size), (257, 4, size), (258, 3, 1), (259, 3, 1), (262, 3, 1),
                   (273, 4, strip if ink else 1 << 30), (277, 3, 1), (278, 4, size), (279, 4, size * size // 8),
                   (282, 5, resolution), (283, 5, resolution + 8), (296, 3, 2)]
        data = data[:offset_at] + struct.pack("<I", len(data)) + data[offset_at + 4:]
        data += struct.pack("<H", len(entries))
        for tag, kind, value in entries:
            data += struct.pack("<HHII", tag, kind, 1, value)
        offset_at = len(data)
        data += bytes(4)
    return data


class OptionsTest(CommandTest):
    def svg(self, *arguments):
        return self.run_program(*arguments, "-o", "-").stdout

    def fills(self, *arguments):
        return [fill for fill, _, _ in paths(self.svg(*arguments))]

    def stats(self, *arguments):
        return json.loads(self.run_program(*arguments, "--json", "-o", self.path("ignored.svg")).stdout)


class Presets(OptionsTest):
    def test_auto_looks_at_the_image(self):
        def noise(x, y):
            return (x * 5 % 256, (x * x + 31 * y) * 7 % 256, (x * y + y) * 11 % 256, 255)

        def shading(x, y):
            return (x, 255 - x, 100 + y // 2, 255)
        for name, pixel in ("lineart", lambda x, y: BLACK if square(x, y, 9, 9, 20) else WHITE), \
                           ("logo", lambda x, y: RED if square(x, y, 9, 9, 20) else WHITE), \
                           ("logo", lambda x, y: BLACK if square(x, y, 9, 9, 20) else CLEAR), \
                           ("photo", noise):
            self.write("a.png", png(60, 60, pixel))
            self.assertEqual(self.stats("a.png")["preset"], name)
        self.write("a.png", png(48, 48, noise))
        self.assertEqual(self.stats("a.png")["reason"], "as small as an icon")
        self.write("a.png", png(90, 90, lambda x, y: shading(x // 3 * 3, y // 3 * 3)))
        self.assertEqual(self.stats("a.png")["preset"], "poster")

    def test_statistics_say_why(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.assertIn("in flat areas", self.stats("a.png")["reason"])
        self.assertRegex(self.run_program("a.png", "--stats").stdout.decode(), r"preset +logo \(\d+ % in flat areas")

    def test_they_are_listed(self):
        text = self.run_program("presets").stdout.decode()
        for name in "auto", "lineart", "logo", "poster", "photo":
            self.assertRegex(text, r"(?m)^%s +\w" % name)

    def test_own_presets(self):
        home = self.path("home")
        os.makedirs(home + "/ztrace/presets")
        with open(home + "/ztrace/presets/two.toml", "w", encoding="utf-8") as file:
            file.write('description = "mine"\nmethod = "blend"\ncolors = 2\n')
        self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, 0, 255)))
        self.assertIn(b"two          mine", self.run_program("presets", environment={"XDG_CONFIG_HOME": home}).stdout)
        self.run_program("a.png", "-p", "two", "-o", "b.svg", environment={"XDG_CONFIG_HOME": home})
        self.assertEqual(len({fill for fill, _, _ in paths(self.read("b.svg"))}), 2)
        self.assertEqual(len(set(self.fills("a.png", "-p", home + "/ztrace/presets/two.toml"))), 2)


class Configuration(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, 0, 255)))

    def test_order_of_precedence(self):
        self.write("c.toml", b'preset = "photo"\ncolors = 3\nseed = 5\n\n[set]\nltres = 0.25\n')
        stats = self.stats("a.png", "--config", "c.toml")
        self.assertEqual((stats["preset"], stats["seed"]), ("photo", 5))
        self.assertEqual((stats["options"]["numberofcolors"], stats["options"]["ltres"]), (3, 0.25))
        stats = self.stats("a.png", "--config", "c.toml", "--colors", "4", "--set", "ltres=2")
        self.assertEqual((stats["options"]["numberofcolors"], stats["options"]["ltres"]), (4, 2))

    def test_flags_and_lists(self):
        self.write("c.toml", b'outline = true\noutput = ["x.svg", "y.dxf"]\n')
        self.run_program("a.png", "--config", "c.toml")
        self.assertTrue(os.path.exists(self.path("y.dxf")))
        self.assertEqual({fill for fill, _, _ in paths(self.read("x.svg"))}, {"none"})

    def test_all_of_the_notation(self):
        self.write("c.toml", b"palette = '#ff0000,#0000ff' # two pens\noutput = [\n  \"x.svg\", # one\n  \"y.json\",\n]\n"
                             b"'seed' = 0x10\nset.ltres = inf\nset.qtres = 1e-1\n")
        self.run_program("a.png", "--config", "c.toml")
        self.assertLessEqual({fill for fill, _, _ in paths(self.read("x.svg"))}, {"#ff0000", "#0000ff"})
        data = json.loads(self.read("y.json"))
        self.assertEqual((data["seed"], data["options"]["ltres"], data["options"]["qtres"]), (16, "inf", 0.1))
        self.write("d.toml", b"palette = ['#ff0000', 'blue']\nunits = 'MM'\ndxf-version = 'R12'\n")
        self.assertEqual(self.svg("a.png", "--config", "d.toml", "--dpi", "96", "-q"),
                         self.svg("a.png", "--palette", "red,blue", "-u", "mm", "--dpi", "96"))

    def test_presets_that_come_too_late(self):
        for name in "output", "format", "page", "config", "preset":
            self.write("p.toml", b"# mine\n%s = 'svg'\n" % name.encode())
            self.assert_refused("a.png", "-p", "p.toml", code=2, words='p.toml, line 2: "%s" cannot be set here' % name)

    def test_mistakes_are_told(self):
        for text, words in [(b"colours = 3\n", '"colours"'), (b"colors = 'many'\n", '"many"'), (b"colors = many\n", "in quotes"),
                            (b"[set]\nfoo = 1\n", '"foo"'), (b"[other]\ncolors = 1\n", "[other]"),
                            (b"colors = [1, 2]\n", "one value"), (b"outline = 1\n", "true or false"),
                            (b"seed = 2\n\npreset = logo\n", "c.toml, line 3: "), (b"seed = 1979-05-27\n", "a number"),
                            (b"# one\nseed = -1\n", 'c.toml, line 2: --seed: "-1"'), (b"set = 1\n", '"set"'),
                            (b"seed = 1\nseed = 2\n", "line 2"), (b"[set]\nltres = nan\n", "not a number"),
                            (b"config = 'd.toml'\n", '"config" cannot be set here'),
                            (b".".join([b"a"] * 50000) + b" = 1\n", "c.toml: too long")]:
            self.write("c.toml", text)
            with self.subTest(text):
                self.assert_refused("a.png", "--config", "c.toml", code=2, words=words)
        self.assert_refused("a.png", "--config", "none.toml", code=3, words="none.toml: No such file")


class Palettes(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, 128, 255 if x > 20 else 0)))

    def test_nothing_but_the_given_colours(self):
        pens = ["#102030", "#f0e010", "#c02080"]
        for preset in "logo", "poster", "photo", "auto":
            found = self.svg("a.png", "-p", preset, "--palette", ",".join(pens))
            self.assertLessEqual(set(re.findall(rb"#[0-9a-f]{6}", found)), {p.encode() for p in pens})
        self.assertEqual(set(self.fills("a.png", "-p", "lineart", "--palette", "navy,#fff,gray")),
                         {"#ffffff", "#000080"})

    def test_one_and_three_hundred_colours(self):
        self.assertEqual(set(self.fills("a.png", "-p", "photo", "--palette", "#123456")), {"#123456"})
        many = ",".join("#%02x%02x80" % (i % 20 * 12, i // 20 * 16) for i in range(300))
        self.assertGreater(len(set(self.fills("a.png", "-p", "photo", "--palette", many, "--min-path", "0"))), 20)
        self.assertEqual(len(set(self.fills("a.png", "-p", "photo", "--colors", "1"))), 1)
        self.run_program("a.png", "-p", "photo", "--colors", "300")
        self.run_program("a.png", "-p", "logo", "--colors", "300")

    def test_palette_file(self):
        self.write("pens.gpl", b"GIMP Palette\nName: pens\nColumns: 2\n# comment\n255   0   0\tRed\n  0 0 255 Blue\n")
        fills = self.fills("a.png", "--palette", "pens.gpl")
        self.assertLessEqual(set(fills), {"#ff0000", "#0000ff"})
        for name, text in [("PENS.GPL", b"\xef\xbb\xbfGIMP Palette\r\nName: 2 pens\r\n255 0 0\r\n0 0 255 Blue\r\n"),
                           ("pens.txt", b"red\n\n#0000ff\n"), ("pens", b"#f00,blue")]:
            self.write(name, text)
            self.assertEqual(self.fills("a.png", "--palette", name), fills)

    def test_mistakes_are_told(self):
        self.write("a.gpl", b"GIMP Palette\n#\n256 0 0\n")
        self.write("b.gpl", b"red\nreed\n")
        self.write("c.gpl", b"GIMP Palette\n")
        self.write("e.gpl", b"GIMP Palette\n12 13 x\n")
        for value, code, words in [("", 2, "no colours"), ("#12", 2, '"#12" is not a colour'), (",,", 2, '"" is not'),
                                   ("a.gpl", 2, 'a.gpl, line 3: "256 0 0" is not a colour'),
                                   ("b.gpl", 2, 'b.gpl, line 2: "reed" is not a colour'), ("c.gpl", 2, "no colours"),
                                   ("d.gpl", 3, "No such file"), ("e.gpl", 2, 'line 2: "12 13 x" is not a colour'),
                                   ("#ff000080", 2, "not an opaque colour"), ("transparent", 2, "not an opaque")]:
            with self.subTest(value):
                self.assert_refused("a.png", "--palette", value, code=code, words=words)


class Keeping(OptionsTest):
    def test_the_look_is_at_what_lies_on_the_background(self):
        self.write("a.png", png(80, 80, lambda x, y: BLACK if x % 20 == 3 or y == 40 else CLEAR))
        self.write("b.png", png(80, 80, lambda x, y: BLACK if x % 20 == 3 or y == 40 else WHITE))
        self.assertEqual(self.stats("a.png")["preset"], "logo")
        self.assertEqual(self.svg("a.png", "--background", "white"), self.svg("b.png"))

    def test_background(self):
        self.write("a.png", ring(RED, CLEAR, CLEAR))
        self.assertEqual(self.fills("a.png", "--background", "#0000ff", "-p", "logo"), ["#0000ff", "#ff0000", "#0000ff"])

    def test_no_frame(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        svg = self.svg("a.png", "--no-frame")
        self.assertEqual([fill for fill, _, _ in paths(svg)], ["#ff0000", "#ffffff"])
        self.assertNotIn(b"<rect", svg)
        self.assertEqual(self.fills("a.png", "--no-frame", "-p", "lineart"), ["#000000", "#ffffff"])

    def test_only_colour(self):
        self.write("a.png", ring(RED, BLACK, WHITE))
        found = paths(self.svg("a.png", "--only-color", "red", "-p", "logo"))
        self.assertEqual([(fill, d.count("M")) for fill, _, d in found], [("#ff0000", 2)])
        self.assertEqual(self.fills("a.png", "--only-color", "red", "--only-color", "black", "-p", "logo"),
                         ["#ff0000", "#000000"])

    def test_ink_in_layers_is_not_bolder(self):
        self.write("a.png", ring(BLACK, WHITE, WHITE))
        found = self.svg("a.png", "-p", "lineart", "--layers")
        self.assertNotIn(b"stroke", found)
        # The ground is part of the paper's layer, so that the layer can be switched off.
        self.assertRegex(found, rb'inkscape:label="COLOR_FFFFFF">\n<rect [^>]*fill="#ffffff"/>\n<path')
        self.assertLess(found.index(b"<rect"), found.index(b"COLOR_000000"))

    def test_no_frame_keeps_shapes_that_reach_all_sides(self):
        def disc(x, y):
            return WHITE if square(x, y, 40, 40, 20) else RED if math.hypot(x - 49.5, y - 49.5) < 50 else CLEAR
        self.write("a.png", png(100, 100, disc))
        self.assertEqual(self.fills("a.png", "-p", "logo", "--no-frame"), ["#ff0000", "#ffffff"])
        # Nothing is left out here, and so the ground is not either.
        self.write("b.png", png(90, 60, lambda x, y: (RED, WHITE, BLACK)[x // 30]))
        self.assertEqual(self.svg("b.png", "-p", "logo", "--no-frame"), self.svg("b.png", "-p", "logo"))

    def test_no_seams(self):
        self.write("a.png", png(90, 60, lambda x, y: (RED, CLEAR, BLACK, RED)[x // 24]))
        for arguments in [], ["--layers"]:
            self.assertIn(b"stroke", self.svg("a.png", "-p", "logo", *arguments))
            self.assertNotIn(b"stroke", self.svg("a.png", "-p", "logo", "--no-seams", *arguments))

    def test_strokes_lie_below_later_neighbours_alone(self):
        self.write("a.png", png(40, 40, lambda x, y: WHITE if not square(x, y, 4, 4, 32) else RED if x < 20 else BLACK))
        for arguments in [], ["--layers"]:
            strokes = re.findall(rb'fill="(#\w+)"[^>]* stroke="', self.svg("a.png", "-p", "logo", *arguments))
            self.assertEqual(strokes, [b"#ff0000"])
        self.write("b.png", png(40, 40, lambda x, y: CLEAR if not square(x, y, 4, 4, 32) else RED if x < 20 else BLACK))
        for arguments, other in ([], b"0.75"), (["--layers"], b"0.5"):
            widths = re.findall(rb'stroke-width="([\d.]+)"', self.svg("b.png", "-p", "logo", *arguments))
            self.assertEqual(widths, [b"1.25", other])

    def test_layers_do_not_paint_over_each_other(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        svg = self.svg("a.png", "--layers")
        self.assertEqual(re.findall(rb'inkscape:label="(\w+)"', svg), [b"COLOR_FFFFFF", b"COLOR_FF0000"])
        self.assertEqual([(fill, d.count("M")) for fill, _, d in paths(svg)],
                         [("#ffffff", 2), ("#ffffff", 1), ("#ff0000", 2)])

    def test_min_path(self):
        self.write("a.png", png(40, 40, lambda x, y: RED if square(x, y, 9, 9, 3) else WHITE))
        self.assertEqual(len(self.fills("a.png", "-p", "logo", "--min-path", "12")), 2)
        self.assertEqual(len(self.fills("a.png", "-p", "logo", "--min-path", "13")), 1)
        self.assertEqual(len(self.fills("a.png", "--raw", "--min-path", "13", "--set", "monochrome=0")), 1)

    def test_tolerances_are_squared_for_the_engine(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        options = self.stats("a.png", "--tolerance", "0.5", "--curve-tolerance", "2")["options"]
        self.assertEqual((options["ltres"], options["qtres"]), (0.25, 4))
        self.assertEqual(self.stats("a.png", "-t", "3", "--set", "qtres=7")["options"]["qtres"], 7)

    def test_decimals(self):
        self.write("a.png", png(60, 60, lambda x, y: RED if (x - 30) ** 2 + (y - 28) ** 2 < 500 else WHITE))
        longest = max(len(n.partition(b".")[2]) for n in re.findall(rb"[\d.]+", self.svg("a.png", "--decimals", "2")))
        self.assertEqual(longest, 2)


class Units(OptionsTest):
    def test_resolution(self):
        self.write("a.png", png(60, 30, lambda x, y: WHITE, dpi=300))
        self.write("b.png", png(60, 30, lambda x, y: WHITE))
        for arguments, size in [(("a.png",), b'width="60" height="30"'), (("a.png", "-u", "in"), b'width="0.2in"'),
                                (("a.png", "-u", "mm", "--dpi", "auto"), b'width="5.08mm" height="2.54mm"'),
                                (("a.png", "-u", "mm", "--dpi", "600"), b'width="2.54mm"'),
                                (("b.png", "-u", "in"), b'width="0.625in"')]:
            self.assertIn(size, self.svg(*arguments))

    def test_what_is_guessed_is_told(self):
        self.write("a.png", png(60, 30, lambda x, y: WHITE, dpi=300))
        self.write("b.png", png(60, 30, lambda x, y: WHITE))
        for arguments, words in [(("a.png", "-u", "mm"), b""), (("b.png",), b""),
                                 (("b.png", "-u", "mm", "--dpi", "96"), b""), (("b.png", "-u", "mm", "-q"), b""),
                                 (("b.png", "-u", "mm"), b"ztrace: b.png: 96 pixels an inch are taken, as it says nothing "
                                                         b"else (see --dpi)\n")]:
            self.assertEqual(self.run_program(*arguments, "-o", "c.svg").stderr, words)
        self.assertIn(b"r12 has no place for the unit",
                      self.run_program("a.png", "-u", "mm", "--dxf-version", "r12", "-o", "c.dxf").stderr)

    def test_mistakes_are_told(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        for arguments in [("--dpi", "0"), ("--dpi", "-3"), ("--dpi", "nan"), ("--dpi", "1e308"), ("--dpi", "inf"), ("--units", "cm"),
                          ("--dxf-tolerance", "0"), ("--dxf-curves", "x"), ("--dxf-version", "2018"),
                          ("--curve-tolerance", "-1"), ("--min-path", "-1"), ("--stroke-width", "-1"),
                          ("--scale", "0"), ("--despeckle", "-1"), ("--page", "0"), ("--decimals", "18"),
                          ("--format", "gif"), ("--progress", "maybe"), ("--background", "no"),
                          ("-o", "a.gif"), ("-o", "a")]:
            with self.subTest(arguments):
                self.assert_refused("a.png", *arguments, code=2, words=arguments[1])

    def test_format_of_standard_output(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        for name, start in ("svg", b"<?xml"), ("dxf", b"0\nSECTION"), ("pdf", b"%PDF"), ("png", b"\x89PNG"), \
                           ("json", b'{"format"'):
            self.assertTrue(self.run_program("a.png", "-f", name, "-o", "-").stdout.startswith(start))
        self.run_program("a.png", "-f", "dxf")
        self.assertTrue(os.path.exists(self.path("a.dxf")))

    def test_scale_of_the_preview(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.run_program("a.png", "-o", "b.png", "--scale", "2.5")
        self.assertEqual(struct.unpack(">II", self.read("b.png")[16:24]), (100, 100))
        self.assert_refused("a.png", "-o", "c.png", "--scale", "1000", code=4, words="c.png: a picture of more than")


class Scans(OptionsTest):
    def test_pages(self):
        self.write("a.tif", tiff([lambda x, y: square(x, y, 10, 10, 20), lambda x, y: square(x, y, 30, 5, 30)]))
        self.assertEqual(self.stats("a.tif")["dpi"], 300)
        one, two = self.svg("a.tif"), self.svg("a.tif", "--page", "2")
        self.assertNotEqual(one, two)
        self.run_program("a.tif", "--page", "all", "-o", "p.svg", "-o", "p.dxf")
        self.assertEqual((self.read("p-1.svg"), self.read("p-2.svg")), (one, two))
        self.assertTrue(os.path.exists(self.path("p-2.dxf")))
        self.assert_refused("a.tif", "--page", "3", code=3, words="there is no page 3 (the file has 2)")
        self.assert_refused("a.tif", "--page", "all", "-o", "-", code=2, words="standard output")

    def test_a_broken_page_keeps_no_other_from_being_written(self):
        self.write("a.tif", tiff([lambda x, y: x < 9, None, lambda x, y: y < 9]))
        result = self.run_program("a.tif", "--page", "all", "-o", "p.svg", code=1)
        self.assertRegex(result.stderr.decode(), r"^ztrace: page 2: a.tif: [^\n]+\n$")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "p-1.svg", "p-3.svg"])
        self.assert_refused("a.tif", "--page", "2", code=3, words="a.tif: ")

    def test_pixels_that_are_not_square(self):
        self.write("fax.tif", tiff([lambda x, y: square(x, y, 20, 20, 30)], dpi=(204, 98)))
        result = self.run_program("fax.tif", "-o", "a.svg", "-o", "a.json", "-u", "in")
        self.assertEqual(result.stderr, b"ztrace: fax.tif: 204 x 98 pixels an inch are made square\n")
        data = json.loads(self.read("a.json"))
        self.assertEqual((data["preset"], data["width"], data["height"], data["dpi"]), ("lineart", 64, 133, 204))
        self.assertIn(b'viewBox="0 0 64 133"', self.read("a.svg"))
        points = [data["outlines"][1]["start"]] + [p[-2:] for p in data["outlines"][1]["pieces"]]
        self.assertAlmostEqual(max(x for x, _ in points) - min(x for x, _ in points), 30, delta=1)
        self.assertAlmostEqual(max(y for _, y in points) - min(y for _, y in points), 30 * 204 / 98, delta=1)
        self.assertIn("taken as square", self.run_program("fax.tif", "--raw", "-o", "b.svg").stderr.decode())
        for arguments in ["--dpi", "204"], ["-q", "--raw"]:
            self.assertEqual(self.run_program("fax.tif", "-o", "b.svg", *arguments).stderr, b"")
            self.assertIn(b'viewBox="0 0 64 64"', self.read("b.svg"))

    def test_the_input_is_not_overwritten_by_a_page(self):
        data = tiff([lambda x, y: square(x, y, 10, 10, 20), lambda x, y: square(x, y, 30, 5, 30)])
        self.write("scan-1.png", data)
        self.run_program("scan-1.png", "--page", "all", "-o", "scan.png", code=2)
        self.assertEqual(self.read("scan-1.png"), data)
        self.write("a.png", ring(RED, WHITE, WHITE))
        with open(self.path("a.png"), "rb") as file:
            result = subprocess.run([PROGRAM, "-", "-o", "a.png"], stdin=file, capture_output=True, cwd=self.folder)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"would overwrite the input", result.stderr)

    def test_pages_without_an_ending(self):
        self.write("a.tif", tiff([lambda x, y: square(x, y, 10, 10, 20), lambda x, y: square(x, y, 30, 5, 30)]))
        self.run_program("a.tif", "--page", "all", "-f", "svg", "-o", "p")
        self.assertTrue(os.path.exists(self.path("p-1")) and os.path.exists(self.path("p-2")))
        self.run_program("a.tif", "--page", "all", "-f", "svg", "-o", "/dev/null")
        self.assertFalse(os.path.exists("/dev/null-1"))

    def test_all_pages_of_a_file_with_one(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.run_program("a.png", "--page", "all")
        self.assertTrue(os.path.exists(self.path("a.svg")))

    def test_despeckle(self):
        def page(x, y):
            speck = square(x, y, 80, 80, 3) or square(x, y, 30, 30, 3)
            return BLACK if square(x, y, 20, 20, 40) != speck else WHITE
        self.write("a.png", png(100, 100, page))
        self.assertEqual(len(self.fills("a.png")), 4)
        self.assertEqual(len(self.fills("a.png", "--despeckle", "8")), 4)
        self.assertEqual(len(self.fills("a.png", "--despeckle", "9")), 2)

    def test_adaptive_threshold_under_uneven_light(self):
        def page(x, y):
            light = 60 + x
            return (light // 3,) * 3 + (255,) if x % 20 < 4 and y % 20 < 4 else (light,) * 3 + (255,)
        self.write("a.png", png(180, 100, page))
        self.assertEqual(len(self.fills("a.png", "-p", "lineart", "--threshold", "adaptive")), 46)
        self.assertNotEqual(len(self.fills("a.png", "-p", "lineart", "--threshold", "otsu")), 46)

    def test_uneven_light_is_evened_out(self):
        def page(x, y):
            light = 70 + x // 2
            ink = x % 40 < 8 and y % 40 < 20
            return (light // 3 if ink else light,) * 3 + (255,)
        self.write("a.png", png(360, 200, page))
        stats = self.stats("a.png")
        self.assertEqual((stats["preset"], stats["statistics"]["outlines"], stats["statistics"]["evened"]),
                         ("lineart", 46, True))
        self.assertIn("unevenly lit", stats["reason"])
        self.write("b.png", png(360, 200, lambda x, y: (40, 40, 40, 255) if x % 40 < 8 else (110, 110, 110, 255)
                                if x > 200 else WHITE))
        self.assertNotIn("evened", self.stats("b.png", "-p", "lineart")["statistics"])
        # What gets dark in the middle of the page is drawn so.
        self.write("c.png", png(400, 400, lambda x, y: (240 - x // 2 + 20,) * 3 + (255,) if square(x, y, 50, 50, 300)
                                else (250, 250, 250, 255)))
        self.assertNotIn("evened", self.stats("c.png", "-p", "lineart")["statistics"])

    def test_missing_pages_are_told(self):
        data = tiff([lambda x, y: x < 9, lambda x, y: y < 9])
        place = struct.unpack_from("<I", data, 4)[0]
        count = struct.unpack_from("<H", data, place)[0]
        self.write("a.tif", data[:place + 2 + 12 * count] + struct.pack("<I", 1 << 30) + data[place + 6 + 12 * count:])
        result = self.run_program("a.tif", "--page", "all", "-o", "p.svg", code=1)
        self.assertEqual(result.stderr, b"ztrace: a.tif: only 1 of 2 pages can be read\n")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "p-1.svg"])
        self.write("b.tif", tiff([None, None]))
        self.run_program("b.tif", "--page", "all", "-o", "q.svg", code=3)

    def test_a_resolution_in_one_direction_is_that_of_both(self):
        for dpi in (0, 300), (300, 0):
            self.write("a.tif", tiff([lambda x, y: square(x, y, 20, 20, 30)], dpi=dpi))
            result = self.run_program("a.tif", "-u", "in", "--json", "-o", "a.svg")
            self.assertEqual((json.loads(result.stdout)["dpi"], result.stderr), (300, b""))

    def test_what_could_not_be_done_is_told(self):
        self.write("a.png", ring(BLACK, WHITE, WHITE))
        for arguments, words in [(("--deskew",), b"--deskew: no clear direction"),
                                 (("--upsample", "2"), b"--upsample has no effect: the image has no soft edges")]:
            self.assertIn(words, self.run_program("a.png", "-p", "lineart", *arguments).stderr)
        self.assertIn(b"no soft edges", self.run_program("a.png", "-p", "logo", "--upsample", "2").stderr)

    def test_tiny_images(self):
        for size in 1, 5, 11:
            self.write("a.png", png(size, size, lambda x, y: BLACK if x > 2 else WHITE))
            self.run_program("a.png", "-p", "lineart", "--threshold", "adaptive", "--deskew", "--despeckle", "2")

    def test_deskew(self):
        def page(x, y):
            line = y + x * 0.035  # two degrees
            return BLACK if 30 < x < 370 and 60 < line < 340 and line % 20 < 7 and x % 11 < 8 else WHITE
        self.write("a.png", png(400, 400, page))
        stats = self.stats("a.png", "--deskew", "-p", "lineart")
        self.assertAlmostEqual(abs(stats["statistics"]["angle"]), 2.0, delta=0.3)
        self.assertNotIn("angle", self.stats("a.png", "-p", "lineart")["statistics"])


class Faint(OptionsTest):
    def test_small_and_faint_pictures_are_drawn(self):
        for size in 1, 2, 3, 7, 40:
            for alpha in 20, 100, 128, 200:
                self.write("a.png", png(16 + size, 16 + size, lambda x, y: (255, 0, 0, alpha) if square(x, y, 8, 8, size)
                                        else CLEAR))
                self.write("b.png", png(size, size, lambda x, y: (0, 255, 0, alpha)))
                for preset in "logo", "photo", "poster", "auto":
                    with self.subTest((size, alpha, preset)):
                        if size > 6:
                            self.assertEqual(self.stats("a.png", "-p", preset)["statistics"]["outlines"], 1)
                        self.assertEqual(self.stats("b.png", "-p", preset)["page"], 1)

    def test_what_several_areas_surround_is_no_layer(self):
        def pixel(x, y):
            if square(x, y, 15, 15, 10) or not square(x, y, 5, 5, 30):
                return CLEAR
            return RED if x < 20 else (0, 0, 255, 255)
        self.write("a.png", png(40, 40, pixel))
        self.run_program("a.png", "-o", "a.dxf", "-o", "a.svg", "--layers")
        for name in "a.dxf", "a.svg":
            self.assertNotIn(b"TRANSPARENT", self.read(name))


class Upsampling(OptionsTest):
    """A disc with soft edges, on a field that its outline is measured against."""
    CENTRE, RADIUS, SIZE = 30.3, 20.4, 60

    def disc(self, ink, paper):
        def pixel(x, y):
            inside = sum((x + (i + 0.5) / 8 - self.CENTRE) ** 2 + (y + (j + 0.5) / 8 - self.CENTRE) ** 2
                         < self.RADIUS ** 2 for i in range(8) for j in range(8)) / 64
            return tuple(round(a * inside + b * (1 - inside)) for a, b in zip(ink, paper))
        return png(self.SIZE, self.SIZE, pixel)

    def worst_distance(self, *arguments):
        """Of the points on the disc's outline from the true circle."""
        self.run_program("a.png", "-o", "a.json", *arguments)
        data = json.loads(self.read("a.json"))
        points = [piece[-2:] for outline in data["outlines"] if outline["start"][0] > 0.6
                  for piece in outline["pieces"]]
        self.assertGreater(len(points), 4)
        return max(abs(((x - self.CENTRE) ** 2 + (self.SIZE - y - self.CENTRE) ** 2) ** 0.5 - self.RADIUS)
                   for x, y in points)

    def test_outlines_of_soft_edges_are_nearer_to_the_truth(self):
        for ink, preset in ((BLACK, "lineart"), (RED, "logo")):
            with self.subTest(preset):
                self.write("a.png", self.disc(ink, WHITE))
                coarse = self.worst_distance("-p", preset, "--upsample", "1")
                fine = self.worst_distance("-p", preset, "--upsample", "4")
                self.assertLess(fine, 0.7 * coarse, (coarse, fine))

    def test_auto(self):
        self.write("a.png", self.disc(BLACK, WHITE))
        self.write("crisp.png", ring(RED, WHITE, WHITE))
        self.assertEqual(self.stats("a.png")["statistics"]["upsampling"], 2)
        self.assertIn(b"upsampled 2 times", self.run_program("a.png", "--stats").stdout)
        self.assertEqual(self.svg("a.png"), self.svg("a.png", "--upsample", "2"))
        for arguments in [("crisp.png",), ("a.png", "-p", "photo"), ("a.png", "--set", "ltres=1"), ("a.png", "--raw"),
                          ("a.png", "--despeckle", "3")]:
            self.assertNotIn("upsampling", self.stats(*arguments)["statistics"])

    def test_size_of_the_drawing_stays(self):
        self.write("a.png", ring(RED, WHITE, CLEAR))
        for arguments in (), ("--layers",), ("--no-frame",), ("-p", "photo"):
            one = json.loads(self.run_program("a.png", "-f", "json", "-o", "-", *arguments).stdout)
            three = json.loads(self.run_program("a.png", "-f", "json", "-o", "-", "--upsample", "3", *arguments).stdout)
            self.assertEqual((three["width"], three["height"]), (40, 40))
            self.assertEqual([(o["color"], o["alpha"], o["holes"] if "holes" in o else []) for o in three["outlines"]],
                             [(o["color"], o["alpha"], o["holes"] if "holes" in o else []) for o in one["outlines"]])

    def test_too_much(self):
        self.write("a.png", self.disc(BLACK, WHITE))
        for value in "0", "9", "x", "1.5":
            self.assert_refused("a.png", "--upsample", value, code=2, words="--upsample")


class Drawings(OptionsTest):
    def test_a_drawing_becomes_other_formats(self):
        self.write("a.png", ring(RED, CLEAR, WHITE))
        self.run_program("a.png", "-o", "a.json", "-o", "a.svg", "-o", "a.dxf", "-u", "mm")
        self.run_program("a.json", "-o", "b.svg", "-o", "b.dxf")
        self.assertEqual(self.read("a.svg"), self.read("b.svg"))
        self.assertEqual(self.read("a.dxf"), self.read("b.dxf"))

    def test_what_the_file_says(self):
        self.write("a.png", ring(RED, WHITE, WHITE, size=40))
        self.run_program("a.png", "-o", "a.json", "--seed", "9")
        data = json.loads(self.read("a.json"))
        self.assertEqual((data["width"], data["seed"], data["preset"]), (40, 9, "logo"))
        self.assertEqual([c["color"] for c in data["palette"]], ["#ffffff", "#ff0000"])
        self.assertEqual(len(data["outlines"]), data["statistics"]["outlines"])

    def test_a_drawing_is_told_by_its_contents(self):
        self.write("a.png", ring(RED, CLEAR, WHITE))
        self.run_program("a.png", "-o", "a.json", "-o", "a.svg")
        self.write("drawing.txt", self.read("a.json"))
        self.assertEqual(self.svg("drawing.txt"), self.read("a.svg"))
        self.assertEqual(self.run_program("-", stdin=self.read("a.json")).stdout, self.read("a.svg"))

    def test_a_drawing_written_again_is_the_same(self):
        self.write("a.png", ring(RED, (0, 0, 255, 90), WHITE))
        self.run_program("a.png", "-o", "a.json", "--set", "ltres=inf", "--set", "qtres=0.1", "--colors", "7")
        self.run_program("a.json", "-o", "b.json")
        self.assertEqual(self.read("b.json"), self.read("a.json"))
        data = json.loads(self.read("a.json"))
        self.assertEqual(data["settings"], {"method": ["flat"], "colors": ["7"], "set": ["ltres=inf", "qtres=0.1"]})
        self.assertEqual((data["options"]["ltres"], data["options"]["qtres"]), ("inf", 0.1))

    def test_statistics_of_a_drawing(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        traced = self.stats("a.png")
        self.run_program("a.png", "-o", "a.json")
        read = self.stats("a.json")
        self.assertEqual({name for name in traced if name not in read}, {"reason", "seconds"})
        self.assertEqual({**traced, **read}, {**traced, "input": "a.json"})
        self.assertRegex(self.run_program("a.json", "-o", "b.svg", "--stats").stdout.decode(),
                         r"^image +40 x 40 pixels, 96 an inch\noutlines +3\nsegments ")

    def test_other_json_is_refused(self):
        self.write("a.json", b"{}")
        self.assert_refused("a.json", "-o", "b.svg", code=3, words="a.json: not a drawing")


class WithoutEffect(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", ring(RED, WHITE, WHITE))

    def test_are_told(self):
        for arguments, words in [(("--deskew",), "--deskew has no effect: it is for black and white"),
                                 (("--threshold", "9"), "--threshold has no effect"),
                                 (("-c", "3", "-p", "lineart"), "--colors has no effect: the preset"),
                                 (("-c", "3", "--palette", "red"), "--colors has no effect: the palette"),
                                 (("--stroke-width", "2"), "--outline draws outlines"),
                                 (("--scale", "2"), "no png is written"),
                                 (("-o", "a.dxf", "--layers"), "--layers has no effect: dxf has"),
                                 (("-o", "a.dxf", "--outline"), "--outline has no effect"),
                                 (("-o", "a.dxf", "-f", "svg"), "--format has no effect: the endings"),
                                 (("--raw", "-p", "photo"), "--preset has no effect: --raw"),
                                 (("-p", "lineart", "--despeckle", "2", "--upsample", "2"), "whole pixels"),
                                 (("-o", "a.dxf", "--dxf-version", "r12", "--dxf-curves", "spline"), "no splines")]:
            with self.subTest(arguments):
                text = self.run_program("a.png", *arguments).stderr.decode()
                self.assertIn(words, text)
                self.assertEqual(text.count("\n"), 1)
                self.assertEqual(self.run_program("a.png", *arguments, "-q").stderr, b"")

    def test_those_with_one_are_not(self):
        for arguments in [("-p", "lineart", "--despeckle", "3", "--threshold", "9", "--palette", "red,white"),
                          ("-p", "photo", "-c", "3", "--background", "red"), ("--raw", "--set", "ltres=2"),
                          ("--outline", "--stroke-width", "2"), ("-o", "a.png.png", "--scale", "2"),
                          ("-o", "a.dxf", "--dxf-version", "r12", "--dxf-curves", "arc", "--dxf-tolerance", "1")]:
            with self.subTest(arguments):
                self.assertEqual(self.run_program("a.png", *arguments).stderr, b"")

    def test_those_of_a_file_are_not(self):
        self.write("c.toml", b"deskew = true\ncolors = 3\n")
        self.assertEqual(self.run_program("a.png", "--config", "c.toml").stderr, b"")


    def test_what_a_drawing_has_already(self):
        self.run_program("a.png", "-o", "a.json")
        for arguments in ("--colors", "4"), ("--preset", "logo"), ("--tolerance", "2"), ("--set", "ltres=2"), ("--layers",):
            text = self.run_program("a.json", "-o", "b.svg", *arguments).stderr.decode()
            self.assertIn(arguments[0], text)
            self.assertIn("the input is a drawing already", text)
        self.assertEqual(self.run_program("a.json", "-o", "b.dxf", "-u", "mm", "--dxf-curves", "arc").stderr, b"")

    def test_a_colour_that_is_nowhere(self):
        self.assertIn(b"no area has a colour", self.run_program("a.png", "--only-color", "green").stderr)
        self.assertEqual(self.run_program("a.png", "--only-color", "red").stderr, b"")


class Mistakes(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", ring(RED, WHITE, WHITE))

    def test_words_that_are_not_understood(self):
        self.assert_refused("--palete", "red", "a.png", code=2, words="there is no option --palete")
        self.assert_refused("a.png", "out.svg", code=2, words="-o out.svg makes it an output")

    def test_folders_that_are_not_there(self):
        self.assert_refused("no/a.png", code=3, words="no/a.png: No such file")
        self.assert_refused("a.png", "-o", "no/a.svg", code=4, words="no/a.svg: there is no folder no")

    def test_a_broken_preset_that_nobody_asked_for(self):
        folder = self.path("ztrace/presets")
        os.makedirs(folder)
        for name, text in ("bad", "colrs = 3\n"), ("mine", "description = 'x'\ncolors = 2\n"):
            with open(os.path.join(folder, name + ".toml"), "w", encoding="utf-8") as file:
                file.write(text)
        environment = {"XDG_CONFIG_HOME": self.folder}
        self.run_program("a.png", "-o", "a.svg", environment=environment)
        self.run_program("a.png", "-o", "a.svg", "-p", "mine", environment=environment)
        listed = self.run_program("presets", environment=environment)
        self.assertIn(b"mine", listed.stdout)
        self.assertIn(b"photo", listed.stdout)
        self.assertIn(b'bad.toml, line 1: there is no setting "colrs"', listed.stderr)
        result = self.run_program("a.png", "-p", "bad", code=2, environment=environment)
        self.assertIn(b"colrs", result.stderr)


class Outputs(OptionsTest):
    def test_names_that_are_none_or_doubled(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.assert_refused("a.png", "-o", "", code=2, words="a file name is wanted")
        self.assert_refused("a.png", "-o", "-", "-o", "-", code=2, words="- is given twice")


class CutShort(OptionsTest):
    def test_a_jpeg_that_ends_early_is_traced_with_a_warning(self):
        with open(os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "examples/hills.jpg"), "rb") as file:
            whole = file.read()
        self.write("whole.jpg", whole)
        self.write("half.jpg", whole[:len(whole) // 2])
        self.assertEqual(self.run_program("whole.jpg").stderr, b"")
        self.assertIn(b"half.jpg: the image is incomplete", self.run_program("half.jpg").stderr)
        self.assertTrue(os.path.exists(self.path("half.svg")))

    def test_a_png_that_does_is_refused(self):
        whole = ring(RED, WHITE, WHITE)
        self.write("half.png", whole[:len(whole) - 40])
        self.assert_refused("half.png", code=3, words="half.png: the image is damaged or incomplete")


class Progress(OptionsTest):
    def test_silence_without_a_terminal(self):
        self.write("a.png", png(300, 300, lambda x, y: (x * y % 256, x % 256, y % 256, 255)))
        self.assertEqual(self.run_program("a.png", "-p", "photo").stderr, b"")
        self.assertEqual(self.run_program("a.png", "-p", "photo", "--progress", "never").stderr, b"")
        told = self.run_program("a.png", "--progress", "always").stderr.decode().splitlines()
        self.assertEqual((told[0], told[-1]), ("ztrace: reading a.png", "ztrace: writing"))


class FullDisk(OptionsTest):
    def test_a_small_file_system(self):
        os.mkdir(self.path("disk"))
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "none", self.path("disk")],
                               capture_output=True)
        if mount.returncode:
            self.skipTest("no right to mount a file system")
        try:
            self.write("disk/a.svg", b"old")
            self.write("a.png", png(400, 400, lambda x, y: (x * y % 256, x % 256, y % 256, 255)))
            result = self.run_program("a.png", "-p", "photo", "-o", "disk/a.svg", code=4)
            self.assertIn(b"disk/a.svg: No space left on device", result.stderr)
            self.assertEqual(self.read("disk/a.svg"), b"old")
            self.assertEqual(os.listdir(self.path("disk")), ["a.svg"])
            # Nearly full: the last bytes of a small file do not fit either.
            free = os.statvfs(self.path("disk"))
            self.write("disk/fill", b"x" * (free.f_bavail * free.f_bsize))
            self.write("small.png", ring(RED, WHITE, WHITE))
            for name in "a.svg", "a.dxf", "a.json", "a.pdf", "a.png":
                result = self.run_program("small.png", "-o", "disk/" + name, code=4)
                self.assertIn(b"disk/" + name.encode() + b": ", result.stderr)
            self.assertEqual(self.read("disk/a.svg"), b"old")
            self.assertEqual(sorted(os.listdir(self.path("disk"))), ["a.svg", "fill"])
        finally:
            subprocess.run(["umount", self.path("disk")], check=True)


if __name__ == "__main__":
    unittest.main()
