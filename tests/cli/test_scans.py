# (c) the ztrace developers. Licence: see LICENSE.
"""Pages, resolutions, light, grids, damaged and incomplete images."""
import json
import os
import random
import re
import struct
import subprocess
import unittest

from support import BLACK, CLEAR, PROGRAM, RED, WHITE, OptionsTest, png, ring, square, tiff


class Scans(OptionsTest):
    def test_no_libraries_of_image_formats_are_brought_along(self):
        """The imaging library's own, which nothing is read or written by (docs/decisions/0023-leptonica-without-files.md)."""
        linked = self.run_program(environment={"LD_TRACE_LOADED_OBJECTS": "1"}).stdout.decode()
        if "libQt" not in linked or "liblept" in linked:
            self.skipTest("the imaging library is linked as a shared one, or the loader lists nothing")
        for library in "libtiff", "libwebp", "libopenjp2", "libgif", "libjpeg":
            self.assertNotIn(library, linked)
        self.write("a.tif", tiff([lambda x, y: square(x, y, 20, 20, 30)]))
        for cleaning in (["--deskew"], ["--threshold", "adaptive"], ["--despeckle", "4"]):
            self.run_program("a.tif", "-o", "a.svg", *cleaning)
            self.assertIn(b"<svg", self.read("a.svg"))

    def test_libraries_are_not_looked_for_where_it_is_started(self):
        """That folder may be anybody's."""
        linked = self.run_program(environment={"LD_TRACE_LOADED_OBJECTS": "1"}).stdout.decode()
        library = re.search(r"(libz\.so\.\d+) => ", linked)
        if not library:
            self.skipTest("the loader lists nothing")
        self.write(library[1], b"no library\n" * 100)
        self.assertIn(b"ztrace ", self.run_program("--version").stdout)

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

    def test_a_pdf_holds_all_pages(self):
        pages = [lambda x, y: square(x, y, 10, 10, 20), None, lambda x, y: square(x, y, 30, 5, 30)]
        self.write("a.tif", tiff([pages[0], pages[2], pages[0]]))
        self.run_program("a.tif", "--page", "1-2", "-o", "p.pdf", "-o", "p.dxf", "--layers")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "p-1.dxf", "p-2.dxf", "p.pdf"])
        self.assertIn(b"/Kids [3 0 R", self.read("p.pdf"))
        self.assertIn(b"/Count 2 >>", self.read("p.pdf"))
        self.run_program("a.tif", "--page", "2", "-o", "one.pdf")
        self.assertIn(b"/Count 1 >>", self.read("one.pdf"))
        self.run_program("a.tif", "--page", "all", "-f", "pdf", "-o", "-")
        self.run_program("a.tif", "--page", "all", "-o", "p.pdf", "--no-clobber", code=2)
        self.write("b.tif", tiff(pages))
        self.run_program("b.tif", "--page", "all", "-o", "b.pdf", code=1)
        self.assertIn(b"/Count 2 >>", self.read("b.pdf"))

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
        self.assertEqual(len(self.fills("a.png", "--fit", "engine")), 4)
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "--despeckle", "8")), 4)
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "--despeckle", "9")), 2)

    def test_adaptive_threshold_under_uneven_light(self):
        def page(x, y):
            light = 60 + x
            return (light // 3,) * 3 + (255,) if x % 20 < 4 and y % 20 < 4 else (light,) * 3 + (255,)
        self.write("a.png", png(180, 100, page))
        self.assertEqual(len(self.fills("a.png", "-p", "lineart", "--threshold", "adaptive", "--fit", "engine")), 46)
        self.assertNotEqual(len(self.fills("a.png", "-p", "lineart", "--threshold", "otsu", "--fit", "engine")), 46)

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

    def test_patterns_are_no_drawings(self):
        words = b"a.png: --strokes: most of what was found are short pieces and solid areas; all are drawn"
        self.write("a.png", png(320, 320, lambda x, y: BLACK if (x // 4 + y // 4) % 2 else WHITE))
        self.assertIn(words, self.run_program("a.png", "--strokes", "-o", "a.dxf").stderr)
        self.write("b.png", png(320, 320, lambda x, y: BLACK if x % 20 < 3 or y % 20 < 3 else WHITE))
        self.assertEqual(self.run_program("b.png", "--strokes", "-o", "b.dxf").stderr, b"")

    def test_what_strokes_leave_out_is_told(self):
        def page(x, y):
            shade = 190 if 60 <= x < 110 and 80 <= y < 120 else 0 if y % 160 < 3 else 255
            return (shade, shade, shade, 255)
        self.write("a.png", png(300, 200, page))
        told = self.run_program("a.png", "--strokes", "-o", "a.dxf").stderr
        self.assertEqual(told, b"ztrace: a.png: --strokes leaves out 1 pale part, of 2000 pixels at 84, 99 from the "
                         b"upper left; a --threshold nearer to the paper draws it as well\n")
        told = self.run_program("a.png", "--strokes", "--threshold", "210", "-o", "b.dxf").stderr
        self.assertNotIn(b"leaves out", told)

    def test_what_is_no_drawing_is_told(self):
        few = b"a.png: --strokes: lines are little of what is dark"
        text = b"b.png: --strokes: most of what was found is lettering"
        self.write("a.png", png(256, 256, lambda x, y: BLACK if (x - 128) ** 2 + (y - 150) ** 2 < 8000
                                or (20 <= x < 236 and 20 <= y < 24) else WHITE))
        self.assertIn(few, self.run_program("a.png", "--strokes", "-o", "a.dxf").stderr)

        def letters(x, y):
            u, v = x % 24, y % 40
            return BLACK if 4 <= u < 18 and 6 <= v < 26 and (u < 7 or v < 9 or v >= 23 or 15 <= v < 18) else WHITE
        self.write("b.png", png(600, 600, letters))
        self.assertIn(text, self.run_program("b.png", "--strokes", "-o", "b.dxf").stderr)
        self.write("c.png", png(600, 600, lambda x, y: letters(x, y) if y > 520 else BLACK if y % 40 < 3 else WHITE))
        self.assertEqual(self.run_program("c.png", "--strokes", "-o", "c.dxf").stderr, b"")

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

    def test_stamps_keep_their_colours(self):
        noise = random.Random(4)
        def page(x, y):
            line = y + x * 0.035  # two degrees
            stamp = 240 < x < 330 and 100 < line < 150 and not (246 < x < 324 and 106 < line < 144)
            text = 30 < x < 370 and 60 < line < 340 and line % 20 < 4 and x % 9 < 6
            word = (176, 48, 64) if stamp else (40, 36, 34) if text else (230, 226, 212)
            grain = noise.randint(-9, 9)
            return tuple(value + grain for value in word) + (255,)
        self.write("a.png", png(400, 400, page))
        def reds(*options):
            colours = re.findall(r"#([0-9a-f]{6})", self.svg("a.png", *options).decode())
            return len({c for c in colours if int(c[:2], 16) > 2 * int(c[2:4], 16)})
        self.assertEqual(self.stats("a.png")["settings"]["method"], ["ink"])
        self.assertEqual(reds(), 1)
        self.assertEqual(reds("--deskew"), 1)
        self.assertEqual(reds("-p", "lineart"), 0)


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
        self.assertEqual(self.stats("a.png", "--fit", "engine")["statistics"]["upsampling"], 2)
        self.assertIn(b"upsampled 2 times", self.run_program("a.png", "--fit", "engine", "--stats").stdout)
        self.assertEqual(self.svg("a.png", "--fit", "engine"), self.svg("a.png", "--upsample", "2"))
        for arguments in [("crisp.png", "--fit", "engine"), ("a.png",), ("a.png", "-p", "photo"), ("a.png", "--set", "ltres=1"), ("a.png", "--raw"),
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


class CutShort(OptionsTest):
    def test_a_jpeg_that_ends_early_is_traced_with_a_warning(self):
        with open(os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "examples/hills.jpg"), "rb") as file:
            whole = file.read()
        self.write("whole.jpg", whole)
        self.write("half.jpg", whole[:len(whole) // 2])
        self.assertEqual(self.run_program("whole.jpg").stderr, b"")
        # What follows the end is none of the picture's business.
        self.write("more.jpg", whole + b"\xff\xda\x00\x00" + bytes(range(256)))
        self.assertEqual(self.run_program("more.jpg").stderr, b"")
        self.assertIn(b"half.jpg: the image is incomplete", self.run_program("half.jpg").stderr)
        self.assertTrue(os.path.exists(self.path("half.svg")))

    def test_a_png_that_does_is_refused(self):
        whole = ring(RED, WHITE, WHITE)
        self.write("half.png", whole[:len(whole) - 40])
        self.assert_refused("half.png", code=3, words="half.png: the image is damaged or incomplete")

    def test_a_bmp_that_does_is_traced_with_a_warning(self):
        rows = b"".join(bytes([(x * y) % 256, 0, 255 - x]) for y in range(40) for x in range(40))
        whole = (b"BM" + struct.pack("<IIIIiiHHIIiiII", 54 + len(rows), 0, 54, 40, 40, 40, 1, 24, 0, 0, 0, 0, 0, 0)
                 + rows)
        self.write("whole.bmp", whole)
        self.write("half.bmp", whole[:2000])
        self.assertEqual(self.run_program("whole.bmp").stderr, b"")
        self.assertEqual(self.run_program("half.bmp").stderr,
                         b"ztrace: half.bmp: the image is incomplete; what is missing has one colour\n")


class Limits(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", ring(RED, WHITE, WHITE))

    def test_images_that_ask_for_more(self):
        for arguments, words in [(("--max-pixels", "0.0015"), "a.png: an image of 40 x 40 pixels has more than 0.0015 "
                                                              "million pixels (see --max-pixels)"),
                                 (("--max-memory", "0.03"), "a.png: an image of 40 x 40 pixels takes 1 million bytes of "
                                                            "memory, more than 0.03 (see --max-memory)"),
                                 (("--max-memory", "0.0001"), "a.png: has more than 1 million bytes")]:
            self.assert_refused("a.png", *arguments, code=3, words=words)
        self.assert_refused("/dev/zero", "--max-memory", "2", code=3, words="has more than 2 million bytes (see --max-memory)")
        self.run_program("a.png", "--max-pixels", "0.0016", "--max-memory", "0.0384")

    def test_small_files_that_claim_much(self):
        self.write("a.svg", b"<svg xmlns='http://www.w3.org/2000/svg' width='32000' height='32000'/>")
        self.assert_refused("a.svg", "-o", "b.svg", code=3, words="an image of 32000 x 32000 pixels has more than 1000 million")
        self.write("b.svg", b"<svg xmlns='http://www.w3.org/2000/svg' width='20000' height='20000'/>")
        self.assert_refused("b.svg", "-o", "c.svg", code=3, words="takes 9600 million bytes of memory, more than 8192")

    def test_endless_input(self):
        self.assert_refused("/dev/zero", "-o", "b.svg", "--max-memory", "2", code=3, words="has more than 2 million bytes")

    def test_input_that_cannot_be_read_to_its_end(self):
        """As on a disk with a fault: a part of the memory of this process that is not there."""
        script = ("import os, subprocess, sys\n"
                  "memory = open('/proc/self/mem', 'rb', buffering=0)\n"
                  "line = [l for l in open('/proc/self/maps') if '[heap]' in l][0].split()[0]\n"
                  "end = int(line.split('-')[1], 16)\n"
                  "os.lseek(memory.fileno(), end - 8192, 0)\n"
                  "sys.exit(subprocess.run([sys.argv[1], '-', '-o', 'x.svg'], stdin=memory).returncode)\n")
        result = subprocess.run(["/usr/bin/python3", "-c", script, PROGRAM], cwd=self.folder, capture_output=True)
        self.assertEqual((result.returncode, result.stderr), (3, b"ztrace: standard input: cannot be read: Input/output error\n"))
        self.assertFalse(os.path.exists(self.path("x.svg")))


class OtherPages(OptionsTest):
    def test_those_that_are_left_out_are_told(self):
        self.write("a.tif", tiff([lambda x, y: x < 20, lambda x, y: y < 20, lambda x, y: y < 9]))
        told = b"ztrace: a.tif: page 1 of 3 is traced (see --page; --page all takes every one)\n"
        self.assertEqual(self.run_program("a.tif").stderr, told)
        self.assertEqual(self.run_program("a.tif", "-q").stderr, b"")
        for page in "1", "3", "all":
            self.assertEqual(self.run_program("a.tif", "--page", page).stderr, b"")

    def test_files_that_an_svg_names(self):
        self.write("red.png", png(40, 40, lambda x, y: RED))
        self.write("a.svg", b"<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' width='40' "
                            b"height='40'><rect width='20' height='20' fill='#0000ff'/><image width='40' height='40' xlink:href='red.png'/></svg>")
        result = self.run_program("a.svg", "-o", "b.svg")
        self.assertEqual(result.stderr, b"ztrace: a.svg: files that the image names are not loaded\n")
        self.assertNotIn(b"#ff0000", self.read("b.svg"))


if __name__ == "__main__":
    unittest.main()
