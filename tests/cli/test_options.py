# (c) the ztrace developers. Licence: see LICENSE.
"""Palettes, units, and what of the outlines is kept."""
import json
import math
import os
import re
import struct
import unittest

from support import BLACK, CLEAR, RED, WHITE, OptionsTest, paths, png, ring, square


class Palettes(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, 128, 255 if x > 20 else 0)))

    def test_nothing_but_the_given_colours(self):
        pens = ["#102030", "#f0e010", "#c02080"]
        for preset in "logo", "poster", "photo", "auto":
            found = self.svg("a.png", "--fit", "engine", "-p", preset, "--palette", ",".join(pens))
            self.assertLessEqual(set(re.findall(rb"#[0-9a-f]{6}", found)), {p.encode() for p in pens})
        self.assertEqual(set(self.fills("a.png", "--fit", "engine", "-p", "lineart", "--palette", "navy,#fff,gray")),
                         {"#ffffff", "#000080"})

    def test_one_and_three_hundred_colours(self):
        self.assertEqual(set(self.fills("a.png", "--fit", "engine", "-p", "photo", "--palette", "#123456")), {"#123456"})
        many = ",".join("#%02x%02x80" % (i % 20 * 12, i // 20 * 16) for i in range(300))
        self.assertGreater(len(set(self.fills("a.png", "--fit", "engine", "-p", "photo", "--palette", many, "--min-path", "0"))), 20)
        self.assertEqual(len(set(self.fills("a.png", "--fit", "engine", "-p", "photo", "--colors", "1"))), 1)
        self.run_program("a.png", "-p", "photo", "--colors", "300")
        self.run_program("a.png", "-p", "logo", "--colors", "300")

    def test_palette_file(self):
        self.write("pens.gpl", b"GIMP Palette\nName: pens\nColumns: 2\n# comment\n255   0   0\tRed\n  0 0 255 Blue\n")
        fills = self.fills("a.png", "--fit", "engine", "--palette", "pens.gpl")
        self.assertLessEqual(set(fills), {"#ff0000", "#0000ff"})
        for name, text in [("PENS.GPL", b"\xef\xbb\xbfGIMP Palette\r\nName: 2 pens\r\n255 0 0\r\n0 0 255 Blue\r\n"),
                           ("pens.txt", b"red\n\n#0000ff\n"), ("pens", b"#f00,blue")]:
            self.write(name, text)
            self.assertEqual(self.fills("a.png", "--fit", "engine", "--palette", name), fills)

    def test_mistakes_are_told(self):
        self.write("a.gpl", b"GIMP Palette\n#\n256 0 0\n")
        self.write("b.gpl", b"red\nreed\n")
        self.write("c.gpl", b"GIMP Palette\n")
        self.write("e.gpl", b"GIMP Palette\n12 13 x\n")
        for value, code, words in [("", 2, "no colours"), ("#12", 2, '"#12" is not a colour'), (",,", 2, '"" is not'),
                                   ("a.gpl", 2, 'a.gpl, line 3: "256 0 0" is not a colour'),
                                   ("b.gpl", 2, 'b.gpl, line 2: "reed" is not a colour'), ("c.gpl", 2, "no colours"),
                                   ("d.gpl", 3, "No such file"), ("e.gpl", 2, 'line 2: "12 13 x" is not a colour'),
                                   ("#ff000080", 2, "not an opaque colour"), ("transparent", 2, "not an opaque"), ("/dev/zero", 3, "too long")]:
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
        self.assertEqual(self.fills("a.png", "--fit", "engine", "--background", "#0000ff", "-p", "logo"), ["#0000ff", "#ff0000", "#0000ff"])

    def test_no_frame(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        svg = self.svg("a.png", "--fit", "engine", "--no-frame")
        self.assertEqual([fill for fill, _, _ in paths(svg)], ["#ff0000", "#ffffff"])
        self.assertNotIn(b"<rect", svg)
        self.assertEqual(self.fills("a.png", "--fit", "engine", "--no-frame", "-p", "lineart"), ["#000000", "#ffffff"])

    def test_only_colour(self):
        self.write("a.png", ring(RED, BLACK, WHITE))
        found = paths(self.svg("a.png", "--fit", "engine", "--only-color", "red", "-p", "logo"))
        self.assertEqual([(fill, d.count("M")) for fill, _, d in found], [("#ff0000", 2)])
        self.assertEqual(self.fills("a.png", "--fit", "engine", "--only-color", "red", "--only-color", "black", "-p", "logo"),
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
        self.assertEqual(self.fills("a.png", "--fit", "engine", "-p", "logo", "--no-frame"), ["#ff0000", "#ffffff"])
        # Nothing is left out here, and so the ground is not either.
        self.write("b.png", png(90, 60, lambda x, y: (RED, WHITE, BLACK)[x // 30]))
        self.assertEqual(self.svg("b.png", "--fit", "engine", "-p", "logo", "--no-frame"), self.svg("b.png", "--fit", "engine", "-p", "logo"))

    def test_no_seams(self):
        self.write("a.png", png(90, 60, lambda x, y: (RED, CLEAR, BLACK, RED)[x // 24]))
        for arguments in [], ["--layers"]:
            self.assertIn(b"stroke", self.svg("a.png", "--fit", "engine", "-p", "logo", *arguments))
            self.assertNotIn(b"stroke", self.svg("a.png", "--fit", "engine", "-p", "logo", "--no-seams", *arguments))

    def test_strokes_lie_below_later_neighbours_alone(self):
        self.write("a.png", png(40, 40, lambda x, y: WHITE if not square(x, y, 4, 4, 32) else RED if x < 20 else BLACK))
        for arguments in [], ["--layers"]:
            strokes = re.findall(rb'fill="(#\w+)"[^>]* stroke="', self.svg("a.png", "--fit", "engine", "-p", "logo", *arguments))
            self.assertEqual(strokes, [b"#ff0000"])
        self.write("b.png", png(40, 40, lambda x, y: CLEAR if not square(x, y, 4, 4, 32) else RED if x < 20 else BLACK))
        for arguments, other in ([], b"0.25"), (["--layers"], b"0.5"):
            widths = re.findall(rb'stroke-width="([\d.]+)"', self.svg("b.png", "--fit", "engine", "-p", "logo", *arguments))
            self.assertEqual(widths, [b"1.25", other])

    def test_layers_do_not_paint_over_each_other(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        svg = self.svg("a.png", "--fit", "engine", "--layers")
        self.assertEqual(re.findall(rb'inkscape:label="(\w+)"', svg), [b"COLOR_FFFFFF", b"COLOR_FF0000"])
        self.assertEqual([(fill, d.count("M")) for fill, _, d in paths(svg)],
                         [("#ffffff", 2), ("#ffffff", 1), ("#ff0000", 2)])

    def test_edges_are_drawn_once(self):
        self.write("a.png", png(60, 40, lambda x, y: RED if square(x, y, 0, 10, 20) else BLACK if square(x, y, 20, 10, 20) else WHITE))
        svg = self.svg("a.png", "--edges", "--stroke-width", "0.5")
        self.assertNotIn(b'fill="#', svg)
        self.assertIn(b'stroke-width="0.5"', svg)
        self.assertEqual(set(re.findall(rb'stroke="(#\w+)"', svg)), {b"#000", b"#f00"})
        self.run_program("a.png", "--edges", "-o", "a.dxf")
        lines = self.read("a.dxf").split(b"AcDbEntity")
        layers = [re.search(rb"\n8\n(\w+)", line).group(1) for line in lines if b"\nAcDbLine\n" in line or b"AcDbPolyline" in line]
        self.assertEqual(set(layers), {b"COLOR_000000", b"COLOR_FF0000"})
        told = self.run_program("a.png", "--edges", "--no-seams", "--fit", "engine", "-o", "a.svg").stderr.decode()
        self.assertIn("--fit has no effect: --edges are the boundaries of true shapes", told)
        self.assertIn("--no-seams has no effect: --edges have no areas", told)

    def test_edges_of_noise_are_refused(self):
        self.write("a.png", png(1400, 1400, lambda x, y: BLACK if (x // 2 + y // 2) % 2 else WHITE))
        self.assert_refused("a.png", "-p", "lineart", "--edges", "--min-path", "0", "-o", "a.svg", code=1, words="too many small areas")

    def test_fit(self):
        self.write("a.png", png(60, 60, lambda x, y: RED if (x - 30) ** 2 + (y - 28) ** 2 < 500 else WHITE))

        def fit(*arguments):
            return self.stats("a.png", *arguments)["statistics"].get("fit", "engine")
        for preset in "lineart", "logo", "photo", "poster":
            self.assertEqual(fit("-p", preset), "fair")
            self.assertEqual(fit("-p", preset, "--fit", "engine"), "engine")
            for option in ("-t", "0.5"), ("--curve-tolerance", "1"), ("--upsample", "1"), ("--set", "ltres=1"):
                self.assertEqual(fit("-p", preset, *option), "engine", option)
                self.assertEqual(fit("-p", preset, *option, "--fit", "fair"), "fair")
        self.assertEqual(fit("--raw"), "engine")
        self.assertEqual(self.svg("a.png"), self.svg("a.png", "--fit", "auto"))
        self.write("a.png", png(600, 600, lambda x, y: (x * 7 % 251, y * 13 % 241, x * y % 239, 255)))  # borders everywhere
        for preset in "photo", "poster":
            self.assertEqual(fit("-p", preset, "--detail", "9"), "engine")
            self.assertEqual(fit("-p", preset, "--detail", "9", "--fit", "fair"), "fair")

    def test_min_path(self):
        self.write("a.png", png(40, 40, lambda x, y: RED if square(x, y, 9, 9, 3) else WHITE))
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "-p", "logo", "--min-path", "12")), 2)
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "-p", "logo", "--min-path", "13")), 1)
        self.assertEqual(len(self.fills("a.png", "--raw", "--min-path", "13", "--set", "monochrome=0")), 1)

    def test_tolerances_are_squared_for_the_engine(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        options = self.stats("a.png", "--tolerance", "0.5", "--curve-tolerance", "2")["options"]
        self.assertEqual((options["ltres"], options["qtres"]), (0.25, 4))
        self.assertEqual(self.stats("a.png", "-t", "3", "--set", "qtres=7")["options"]["qtres"], 7)

    def test_options_that_had_no_part_are_not_told(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        told = lambda *more: sorted(self.stats("a.png", "-p", "logo", "--fit", "engine", *more)["options"])
        outlines = ["ltres", "pathomit", "qtres"]
        self.assertEqual(told(), sorted(outlines + ["numberofcolors"]))
        self.assertEqual(told("--palette", "#ff0000,#ffffff"), outlines)
        self.assertEqual(len(told("--set", "blurradius=1")), 12)
        self.assertEqual(self.stats("a.png", "-p", "logo", "--fit", "fair")["options"], {"numberofcolors": 64})

    def test_decimals(self):
        self.write("a.png", png(60, 60, lambda x, y: RED if (x - 30) ** 2 + (y - 28) ** 2 < 500 else WHITE))
        longest = max(len(n.partition(b".")[2]) for n in re.findall(rb"\d*\.?\d+", self.svg("a.png", "--fit", "engine", "--decimals", "2")))
        self.assertEqual(longest, 2)
        exact = self.svg("a.png", "--fit", "engine", "--decimals", "exact")
        self.assertEqual(exact, self.svg("a.png", "--fit", "engine"))
        self.assertLess(len(self.svg("a.png", "--fit", "engine", "--decimals", "2")), len(exact))


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
        self.assertIn(b"ztrace: standard input: 96 pixels an inch",
                      self.run_program("-", "-u", "mm", "-o", "c.svg", stdin=self.read("b.png")).stderr)
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
        for sizes in ('"width":-5,"height":3,"dpi":96,"outlines":[]', '"width":1.5,"height":3,"dpi":96,"outlines":[]',
                      '"width":5,"height":3,"dpi":-3,"outlines":[]', '"width":5,"height":3,"dpi":"nan","outlines":[]',
                      '"width":5,"height":3,"dpi":1e-300,"outlines":[]', '"width":5,"height":3,"dpi":96,"outlines":7'):
            self.write("a.json", b'{"format":"ztrace drawing","version":1,' + sizes.encode() + b"}")
            self.assert_refused("a.json", "-o", "b.svg", code=3, words="a.json: ")
        self.write("a.json", b'\xef\xbb\xbf{"format":"ztrace drawing","version":1,"width":5,"height":3,"dpi":96,"outlines":[]}')
        self.run_program("a.json", "-o", "b.svg")


    def test_coordinates_that_are_none_are_told(self):
        def drawing(*pieces, **more):
            outline = {"color": "#ff0000", "start": [0, 0], "pieces": [["L", 10, 0], ["L", 10, 10], *pieces], **more}
            self.write("a.json", json.dumps({"format": "ztrace drawing", "version": 2, "width": 20, "height": 20, "dpi": 96,
                                             "unit": "mm", "outlines": [outline]}).encode())

        for piece in ["L", "nan", 3], ["L", 3, 1e308], ["A", "inf", 3, 4], ["Q", "nan", 1, 3, 4]:
            drawing(piece, ["L", 3, 3])
            for target in "svg", "dxf", "pdf", "png", "geojson", "topojson":
                with self.subTest(piece, target=target):
                    told = self.run_program("a.json", "-o", "b." + target).stderr
                    self.assertRegex(told, rb"\Aztrace: a.json: some coordinates are no finite numbers; [^\n]+\n\Z")
                    if target not in ("pdf", "png"):
                        self.assertNotRegex(self.read("b." + target).lower(), rb"\bnan\b|\binf\b")
        # An arc of a circle that is none is a line, and no number that is none comes of it.
        drawing(["A", 1e300, 3, 4], ["A", 1e-300, 5, 5])
        for target in "svg", "dxf", "geojson", "topojson":
            self.assertEqual(self.run_program("a.json", "-o", "b." + target).stderr, b"")
            self.assertNotRegex(self.read("b." + target).lower(), rb"\bnan\b|inf\b")

    def test_curves_that_would_be_too_many_lines_are_told(self):
        arcs = [["A", 0.5, 1e9 * (i % 2), i] for i in range(2000)]
        self.write("a.json", json.dumps({"format": "ztrace drawing", "version": 2, "width": 20, "height": 20, "dpi": 96,
                                         "outlines": [{"color": "#ff0000", "start": [0, 0], "pieces": arcs}]}).encode())
        for target in "dxf", "geojson", "topojson":
            told = self.run_program("a.json", "-o", "b." + target).stderr
            self.assertIn(b"a.json: curves would be very many lines; ", told, target)
        for more in ("--dxf-curves", "polyline"), ("--dxf-curves", "arc"), ("--dxf-version", "r12"):
            self.run_program("a.json", "-o", "b.dxf", *more)
            self.assertLess(len(self.read("b.dxf")), 20000000)


class Outputs(OptionsTest):
    def test_names_that_are_none_or_doubled(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.assert_refused("a.png", "-o", "", code=2, words="--output: the file name is empty")
        self.assert_refused("a.png", "-o", "-", "-o", "-", code=2, words="- is given twice")


if __name__ == "__main__":
    unittest.main()
