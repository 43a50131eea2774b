# (c) the ztrace developers. Licence: see LICENSE.
"""The command line: what it writes, and how it fails."""
import fcntl
import gzip
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import unittest

from support import BLACK, CLEAR, PROGRAM, RED, WHITE, CommandTest, area, paths, png, ring, square, tiff

HALF = (0, 0, 255, 128)


class SlowReaders(CommandTest):
    """What is printed waits for its reader also where the pipe does not wait, as when others have set it so."""
    ROOM = 4096

    def through(self, stream, *arguments):
        """The code, and what has come through a pipe that was full before it was read."""
        end, start = os.pipe()
        fcntl.fcntl(start, fcntl.F_SETPIPE_SZ, self.ROOM)
        fcntl.fcntl(start, fcntl.F_SETFL, os.O_NONBLOCK)
        streams = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, stream: start}
        process = subprocess.Popen([PROGRAM, *arguments], cwd=self.folder, **streams)
        os.close(start)
        while process.poll() is None and self.waiting(end) < self.ROOM:
            os.sched_yield()
        with open(end, "rb") as file:
            got = file.read()
        return process.wait(), got

    @staticmethod
    def waiting(end):
        return struct.unpack("i", fcntl.ioctl(end, termios.FIONREAD, bytes(4)))[0]

    def test_standard_output(self):
        whole = self.run_program("--help").stdout
        self.assertGreater(len(whole), 2 * self.ROOM)
        self.assertEqual(self.through("stdout", "--help"), (0, whole))

    def test_standard_error(self):
        self.write("a.png", png(64, 64, lambda x, y: (x // 4 * 16, y // 4 * 16, 128, 255)))
        command = ["a.png", "-o", "-", "-f", "svg", "--raw", "--set", "numberofcolors=256", "--json", "--quiet"]
        whole = self.run_program(*command).stderr
        self.assertGreater(len(whole), 2 * self.ROOM)
        code, got = self.through("stderr", *command)
        self.assertEqual((code, len(got) > 2 * self.ROOM, got[-2:]), (0, True, whole[-2:]))

    def test_a_reader_that_leaves(self):
        end, start = os.pipe()
        fcntl.fcntl(start, fcntl.F_SETFL, os.O_NONBLOCK)
        os.close(end)
        result = subprocess.run([PROGRAM, "--help"], stdout=start, stderr=subprocess.PIPE)
        os.close(start)
        self.assertEqual((result.returncode, result.stderr), (4, b"ztrace: standard output: Broken pipe\n"))


class Writing(CommandTest):
    def test_without_output_the_ending_is_replaced(self):
        self.write("a.b.png", ring(RED, WHITE, WHITE))
        self.run_program("a.b.png")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.b.png", "a.b.svg"])

    def test_says_nothing(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        result = self.run_program("a.png")
        self.assertEqual((result.stdout, result.stderr), (b"", b""))

    def test_pipe_to_pipe(self):
        data = ring(RED, WHITE, WHITE)
        self.write("a.png", data)
        self.run_program("a.png", "-o", "a.svg")
        piped = self.run_program("-", stdin=data)
        named = self.run_program("-", "-o", "-", stdin=data)
        self.assertEqual(piped.stdout, self.read("a.svg"))
        self.assertEqual(named.stdout, piped.stdout)

    def test_several_outputs(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        self.run_program("a.png", "-o", "b.svg", "-o", "c.svg")
        self.assertEqual(self.read("b.svg"), self.read("c.svg"))

    def test_contents_tell_the_format(self):
        self.write("a.jpg", ring(RED, WHITE, WHITE))
        self.run_program("a.jpg", "-o", "a.svg")

    def test_bytes_of_file_names_are_kept(self):
        name = os.path.join(os.fsencode(self.folder), b"\xff\xe4.png")
        with open(name, "wb") as file:
            file.write(ring(RED, WHITE, WHITE))
        self.run_program(name)
        self.assertTrue(os.path.exists(name[:-4] + b".svg"))

    def test_same_input_gives_same_bytes(self):
        image = self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, (x * y) % 256, 255)))
        for preset in "lineart", "logo", "poster", "photo":
            first = self.run_program(image, "-o", "-", "-p", preset).stdout
            self.assertEqual(first, self.run_program(image, "-o", "-", "-p", preset).stdout)

    def test_image_is_not_turned_without_need(self):
        self.write("a.png", png(30, 10, lambda x, y: BLACK if x < 10 else WHITE))
        svg = self.run_program("a.png", "-o", "-").stdout
        self.assertIn(b'width="30" height="10" viewBox="0 0 30 10"', svg)


class Colours(CommandTest):
    def fills(self, *arguments):
        return [fill for fill, _, _ in paths(self.run_program(*arguments, "-o", "-").stdout)]

    def test_flat_colours_come_back(self):
        self.write("a.png", ring((200, 30, 40, 255), (10, 90, 250, 255), (250, 240, 10, 255)))
        self.assertEqual(self.fills("a.png", "--fit", "engine", "-p", "logo"), ["#faf00a", "#c81e28", "#0a5afa"])

    def test_lineart_paints_paper_ink_paper(self):
        self.write("a.png", ring((60, 40, 20, 255), (230, 230, 200, 255), CLEAR))
        self.assertEqual(self.fills("a.png", "--fit", "engine", "-p", "lineart"), ["#ffffff", "#000000", "#ffffff"])

    def test_ring_that_closes_over_corners_keeps_its_hole(self):
        self.write("a.png", png(60, 60, lambda x, y: BLACK if 20 <= abs(x - 30) + abs(y - 30) <= 20 else WHITE))
        for preset in "lineart", "logo", "poster", "photo":
            self.assertEqual(self.fills("a.png", "--fit", "engine", "-p", preset), ["#ffffff", "#000000", "#ffffff"])

    def test_threshold_decides_what_is_ink(self):
        self.write("a.png", ring((60, 60, 60, 255), (120, 120, 120, 255), WHITE))
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "-p", "lineart", "--threshold", "59")), 1)
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "-p", "lineart", "--threshold", "60")), 3)
        self.assertEqual(len(self.fills("a.png", "--fit", "engine", "-p", "lineart", "--threshold", "120")), 2)

    def test_transparent_hole_is_cut_out(self):
        self.write("a.png", ring(RED, CLEAR, CLEAR))
        found = paths(self.run_program("a.png", "--fit", "engine", "-o", "-").stdout)
        self.assertEqual(len(found), 1)
        areas = [abs(a) for a in area(found[0][2])]
        self.assertEqual(len(areas), 2)
        self.assertAlmostEqual(areas[0], 900, delta=35)
        self.assertAlmostEqual(areas[1], 100, delta=10)
        self.assertIn(b'fill-rule="evenodd"', self.run_program("a.png", "--fit", "engine", "-o", "-").stdout)

    def test_half_transparent_region_is_cut_out_and_painted(self):
        self.write("a.png", ring(RED, HALF, WHITE))
        found = paths(self.run_program("a.png", "--fit", "engine", "-o", "-").stdout)
        self.assertEqual([(fill, opacity) for fill, opacity, _ in found],
                         [("#ffffff", None), ("#ff0000", None), ("#0000ff", "0.502")])
        self.assertEqual([len(area(d)) for _, _, d in found], [2, 2, 1])

    def test_island_in_a_hole_is_not_cut_twice(self):
        def pixel(x, y):
            if square(x, y, 30, 30, 10):
                return CLEAR
            if square(x, y, 20, 20, 30):
                return RED
            if square(x, y, 10, 10, 50):
                return CLEAR
            return WHITE
        self.write("a.png", png(70, 70, pixel))
        found = paths(self.run_program("a.png", "--fit", "engine", "-o", "-").stdout)
        self.assertEqual([fill for fill, _, _ in found], ["#ffffff", "#ff0000"])
        self.assertEqual([len(area(d)) for _, _, d in found], [2, 2])

    def test_outline_strokes(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        svg = self.run_program("a.png", "--fit", "engine", "-o", "-", "--outline", "--stroke-width", "2.5").stdout
        self.assertEqual({fill for fill, _, _ in paths(svg)}, {"none"})
        self.assertIn(b'stroke="#ff0000" stroke-width="2.5"', svg)

    def test_seed_changes_a_sampled_palette(self):
        self.write("a.png", png(60, 60, lambda x, y: (x * 4, y * 4, 0, 255)))
        raw = ["a.png", "--raw", "--set", "monochrome=0", "-o", "-"]
        one = self.run_program(*raw).stdout
        self.assertEqual(one, self.run_program(*raw, "--seed", "1").stdout)
        self.assertNotEqual(one, self.run_program(*raw, "--seed", "2").stdout)


class Options(CommandTest):
    NAMES = ("monochrome numberofcolors mincolorratio colorquantcycles colorsampling blurradius blurdelta "
             "pathomit ltres qtres alphathreshold brightnessthreshold").split()

    def test_every_engine_option_can_be_set(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        for name in self.NAMES:
            out = self.run_program("a.png", "--raw", "--set", name + "=2", "--stats").stdout.decode()
            self.assertIn(" %s=2" % name, out)

    def test_statistics(self):
        self.write("a.png", ring(RED, WHITE, WHITE))
        out = self.run_program("a.png", "--stats").stdout.decode()
        self.assertRegex(out, r"image +40 x 40 pixels, 96 an inch\n")
        self.assertRegex(out, r"palette +2 colours: #")
        self.assertRegex(out, r"outlines +3\nsegments +\d+ \(\d+ lines, \d+ curves\)\n")
        self.assertRegex(out, r"times .*trace [\d.]+ s")

    def test_statistics_stay_out_of_a_piped_drawing(self):
        result = self.run_program("-", "--stats", stdin=ring(RED, WHITE, WHITE))
        self.assertTrue(result.stdout.startswith(b"<?xml"))
        self.assertIn(b"outlines", result.stderr)

    def test_version_and_help(self):
        self.assertRegex(self.run_program("--version").stdout.decode(), r"^ztrace \d+\.\d+\.\d+\n$")
        text = self.run_program("--help").stdout.decode()
        for word in self.NAMES + ["Exit codes", "--seed", "--preset"]:
            self.assertIn(word, text)


class Failing(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", ring(RED, WHITE, WHITE))

    def test_wrong_usage(self):
        for arguments, words in [
                ((), "no input"),
                (("a.png", "b.png"), "b.png"),
                (("a.png", "--bogus"), "--bogus"),
                (("presets", "foo"), "foo: presets takes nothing more"),
                (("presets", "-o", "x.svg"), "presets: it takes no options"),
                (("a.png", "--layers=5"), "--layers"),
                (("a.png", "-o"), "--output needs a value"),
                (("a.png", "--config", ""), "--config: the file name is empty"),
                (("a.png", "--set", "foo=1"), '"foo"'),
                (("a.png", "--set", "ltres"), "name=value"),
                (("a.png", "--set", "ltres=abc"), '"abc" is not a number'),
                (("a.png", "--set", "ltres=1x"), '"1x" is not a number'),
                (("a.png", "--set", "ltres="), '"" is not a number'),
                (("a.png", "--set", "ltres=nan"), '"nan" is not a number'),
                (("a.png", "--seed", "x"), '"x" is not a whole number'),
                (("a.png", "--seed", "1", "--seed", "2"), "more than once"),
                (("a.png", "--tolerance", "-1"), "at least 0"),
                (("a.png", "--tolerance", "inf"), "finite"),
                (("a.png", "--colors", "0"), "from 1 to"),
                (("a.png", "--threshold", "256"), "from 0 to 255"),
                (("a.png", "--preset", "none"), "lineart, logo"),
                (("a.png", "-o", "a.png"), "overwrite")]:
            with self.subTest(arguments):
                self.assert_refused(*arguments, code=2, words=words)

    def test_unreadable_input(self):
        self.write("empty.png", b"")
        self.write("text.png", b"hello\n")
        self.write("cut.png", png(99, 99, lambda x, y: (x, y, x * y % 251, 255))[:2000])
        os.mkdir(self.path("folder.png"))
        for name, words in [("none.png", "No such file"), ("empty.png", "is empty"),
                            ("text.png", "not an image"), ("cut.png", "the image is damaged or incomplete"),
                            ("folder.png", "is a folder (ztrace batch traces the images in one)")]:
            with self.subTest(name):
                self.assert_refused(name, "-o", "out.svg", code=3, words=name + ": " + words)

    def test_empty_standard_input(self):
        self.assert_refused("-", code=3, words="standard input: is empty")

    def test_unwritable_output(self):
        os.mkdir(self.path("folder"))
        for name, words in [("none/a.svg", "there is no folder none"), ("folder", "it is a folder"),
                            ("/dev/full", "No space left")]:
            with self.subTest(name):
                self.assert_refused("a.png", "-o", name, code=4, words=name + ": " + words)

    def test_palette_that_cannot_be_made(self):
        for arguments in (["--raw"], ["-p", "photo"]):
            self.assert_refused("a.png", *arguments, "--set", "numberofcolors=1e300", code=1,
                                words="no palette of that many colours")
            self.assert_refused("a.png", *arguments, "--set", "numberofcolors=0", code=1,
                                words="no palette of that many colours can be made")

    def test_outputs_appear_together(self):
        outputs = ["-o", "a.svg", "-o", "a.dxf"]
        self.assert_refused("a.png", *outputs, "-o", "/dev/full", code=4, words="/dev/full: No space left")
        self.assert_refused("a.png", *outputs, "-o", "large.png", "--scale", "1000", code=4,
                            words="large.png: a picture of more than")

    def test_an_output_by_two_names(self):
        self.assert_refused("a.png", "-o", "b.svg", "-o", "./b.svg", code=2, words="./b.svg is given twice")

    def test_names_that_lead_to_one_file(self):
        self.write("b.svg", b"old")
        os.symlink("b.svg", self.path("c.dxf"))
        os.symlink(".", self.path("here"))
        for other in "c.dxf", "here/b.svg", "here/none.svg":
            first = "none.svg" if "none" in other else "b.svg"
            self.assert_refused("a.png", "-o", first, "-o", other, code=2, words=other + " is given twice")
        self.assert_refused("a.png", "-o", "-", "-o", "/dev/stdout", code=2, words="is given twice")
        self.assertEqual(self.read("b.svg"), b"old")

    def test_links_to_a_file_that_is_not_there(self):
        os.symlink("new.svg", self.path("c.dxf"))
        os.symlink("c.dxf", self.path("d.dxf"))
        os.mkdir(self.path("folder"))
        os.symlink("../new.svg", self.path("folder/e.dxf"))
        for other in "c.dxf", "d.dxf", "folder/e.dxf":
            self.assert_refused("a.png", "-o", "new.svg", "-o", other, code=2, words=other + " is given twice")
        self.run_program("a.png", "-o", "c.dxf")
        self.assertIn(b"SECTION", self.read("new.svg"))

    def test_pages_that_lead_to_one_file(self):
        self.write("a.tif", tiff([lambda x, y: x < 20, lambda x, y: y < 20]))
        os.symlink("b-1.svg", self.path("c-1.dxf"))
        self.assert_refused("a.tif", "--page", "all", "-o", "b.svg", "-o", "c.dxf", code=2, words="c-1.dxf is given twice")

    def test_files_of_settings_are_not_overwritten(self):
        self.write("pens.svg", b"red\nwhite\n")
        self.write("c.svg", b"colors = 2\n")
        self.assert_refused("a.png", "--palette", "pens.svg", "-o", "pens.svg", code=2, words="would overwrite it")
        self.assert_refused("a.png", "--config", "c.svg", "-o", "c.svg", code=2, words="would overwrite it")
        # A preset and a colour of that name are no files.
        self.run_program("a.png", "-p", "photo", "-f", "svg", "-o", "photo")
        self.run_program("a.png", "--palette", "red", "-f", "svg", "-o", "red")

    def test_standard_output_by_its_name_is_not_opened_anew(self):
        with open(self.path("log"), "wb") as log:
            log.write(b"first\n")
            log.flush()
            subprocess.run([PROGRAM, "a.png", "-f", "svg", "-o", "/dev/stdout"], cwd=self.folder, stdout=log, check=True)
        self.assertTrue(self.read("log").startswith(b"first\n<?xml"))

    def test_waiting_for_a_reader_can_be_interrupted(self):
        os.mkfifo(self.path("pipe.svg"))
        process = subprocess.Popen([PROGRAM, "a.png", "-o", "pipe.svg"], cwd=self.folder)
        try:
            with self.assertRaises(subprocess.TimeoutExpired):
                process.wait(0.5)
            process.terminate()
            self.assertEqual(process.wait(20), -signal.SIGTERM)
        finally:
            process.kill()

    def test_signals_are_for_the_main_thread_alone(self):
        """Another one would end the program while files get their names."""
        try:
            master, slave = pty.openpty()
        except OSError:
            self.skipTest("there are no pseudo-terminals here")
        os.mkfifo(self.path("pipe.svg"))
        process = subprocess.Popen([PROGRAM, "a.png", "-o", "pipe.svg"], cwd=self.folder, stderr=slave)
        try:
            with self.assertRaises(subprocess.TimeoutExpired):
                process.wait(0.5)
            tasks = "/proc/%d/task" % process.pid
            others = [task for task in os.listdir(tasks) if task != str(process.pid)]
            self.assertEqual(len(others), 1)  # the one that draws the progress
            with open("%s/%s/status" % (tasks, others[0]), encoding="ascii") as file:
                blocked = int(re.search(r"(?m)^SigBlk:\s*([0-9a-f]+)", file.read()).group(1), 16)
            for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
                self.assertTrue(blocked >> (number - 1) & 1, number)
        finally:
            process.kill()
            process.wait()
            os.close(master)
            os.close(slave)

    def test_report_that_does_not_arrive(self):
        """The drawing does."""
        self.write("a.svg", b"old")
        with open("/dev/full", "wb") as full:
            result = subprocess.run([PROGRAM, "a.png", "--stats"], cwd=self.folder, stdout=full,
                                    stderr=subprocess.PIPE)
        self.assertEqual((result.returncode, result.stderr), (4, b"ztrace: standard output: No space left on device\n"))
        self.assertTrue(self.read("a.svg").startswith(b"<?xml"))

    def test_a_reader_of_the_report_that_goes_away(self):
        for option in "--stats", "--json":
            self.write("a.svg", b"old")
            reading, writing = os.pipe()
            os.close(reading)
            result = subprocess.run([PROGRAM, "a.png", option], cwd=self.folder, stdout=writing, stderr=subprocess.PIPE)
            os.close(writing)
            self.assertEqual((result.returncode, result.stderr), (4, b"ztrace: standard output: Broken pipe\n"))
            self.assertTrue(self.read("a.svg").startswith(b"<?xml"))

    def test_printed_text_that_does_not_arrive(self):
        for arguments in ["presets"], ["--help"], ["--version"]:
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                result = subprocess.run([PROGRAM, *arguments], stdout=full, stderr=subprocess.PIPE)
                self.assertEqual((result.returncode, result.stderr),
                                 (4, b"ztrace: standard output: No space left on device\n"))
                closed = subprocess.run(["sh", "-c", 'exec "$0" "$@" >&-', PROGRAM, *arguments], stderr=subprocess.PIPE)
                self.assertEqual((closed.returncode, closed.stderr),
                                 (4, b"ztrace: standard output: Bad file descriptor\n"))

    def test_closed_standard_streams(self):
        """What is printed does not go into the drawing, which is the next file to be opened."""
        self.run_program("a.png", "-o", "wanted.svg")
        for closed in ">&-", "<&- >&-", "<&- >&- 2>&-", "2>&-":
            self.write("a.svg", b"old")
            result = subprocess.run(["sh", "-c", 'exec "$0" a.png --stats ' + closed, PROGRAM], cwd=self.folder,
                                    capture_output=True)
            self.assertEqual(self.read("a.svg"), self.read("wanted.svg"))
            self.assertEqual(result.returncode, 4 if ">&- " in closed + " " and closed != "2>&-" else 0, closed)

    def test_surroundings_of_the_toolkit(self):
        for value in "xcb", "wayland", "nonsense", "":
            self.run_program("a.png", environment={"QT_QPA_PLATFORM": value})
        self.run_program("a.png", environment={"QT_LOGGING_CONF": "/dev/zero"}) # which has no end

    def test_svg_without_an_area(self):
        for size in "width='-5' height='3'", "width='-5' height='-3'", "viewBox='0 0 -5 5'", "width='1e-9' height='3'":
            self.write("n.svg", b"<svg xmlns='http://www.w3.org/2000/svg' %s><rect width='2' height='2'/></svg>" % size.encode())
            self.assert_refused("n.svg", "-o", "m.svg", code=3,
                                words="n.svg: the image is damaged, or its size is not above 0")

    def test_warnings_of_the_toolkit_are_not_fatal(self):
        """What it says of a damaged image does not end the program."""
        self.write("cut.png", png(99, 99, lambda x, y: (x, y, 0, 255))[:300])
        fatal = {"QT_FATAL_WARNINGS": "1", "QT_FATAL_CRITICALS": "1"}
        result = self.run_program("cut.png", code=3, environment=fatal)
        self.assertIn(b"ztrace: cut.png: ", result.stderr)

    def test_images_are_not_replaced(self):
        """`ztrace a.png b.png` means two inputs, and its reader might make an output of the second."""
        self.assert_refused("a.png", "b.png", code=2, words="b.png: there is one INPUT only; several are for ztrace batch, and an output is -o b.png")
        for second, words in [("b.dxf", "for ztrace batch, and an output is -o b.dxf (see"), ("b.tif", "for ztrace batch (see"),
                              ("b", "for ztrace batch (see")]:
            self.assert_refused("a.png", second, code=2, words=words)
        for option in [], ["--csv", "-"]:
            self.assert_refused("summary", "o", *option, code=2, words="did you mean ztrace batch summary?")
        for name, data in ("b.png", ring(RED, WHITE, WHITE)), ("b.svg", ring(RED, WHITE, WHITE)):
            self.write(name, data)
            self.assert_refused("a.png", "-o", name, code=2, words=name + self.STRANGERS)
            self.assertEqual(self.read(name), data)
            self.run_program("a.png", "-o", name, "--overwrite")
            self.assertNotEqual(self.read(name), data)

    STRANGERS = ": the file is an image or a drawing that ztrace has not made; --overwrite replaces it"

    def test_drawings_of_others_are_not_replaced(self):
        """Nor such as other programs have saved since; what is no drawing is."""
        entities = b'<!DOCTYPE svg PUBLIC "-//W3C//DTD SVG 1.1//EN" "x.dtd" [\n<!ENTITY ns "http://x/">\n]>\n'
        others = {
            "a.svg": [b'<svg xmlns="http://www.w3.org/2000/svg"><circle r="4"/></svg>',
                      b'<?xml version="1.0" encoding="UTF-8" standalone="no"?>\n<!-- <g> -->\n<svg\n   width="8"/>',
                      b"\xEF\xBB\xBF\n<?xml version='1.0'?>\n" + entities + b"<svg:svg xmlns:svg='http://www.w3.org/2000/svg'/>",
                      gzip.compress(b'<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><circle r="4"/></svg>')],
            "a.pdf": [b"%PDF-1.5\n%\xBF\xF7\xA2\xFE\n1 0 obj\n", b"%PDF-1.7\n4 0 obj\n<< /Length 3 >>"],
            "a.dxf": [b"  0\r\nSECTION\r\n  2\r\nHEADER\r\n", b"999\nmade by hand\n  0\nSECTION\n  2\nHEADER\n"],
            "a.geojson": [b'{"type":"FeatureCollection","features":[{"type":"Feature"}]}', b'{\n"type": "FeatureCollection"}'],
            "a.topojson": [b'{ "arcs": [], "type" : "Topology" }'],
        }
        for name, contents in others.items():
            for data in contents:
                self.write(name, data)
                self.assert_refused("a.png", "-o", name, code=2, words=name + self.STRANGERS)
                self.assertEqual(self.read(name), data)
            self.run_program("a.png", "-o", name, "--overwrite")
            self.run_program("a.png", "-o", name)
        for data in b"", b"old", b"<html><!-- x --><body><svg/></body></html>":
            self.write("a.svg", data)
            self.run_program("a.png")
            self.assertIn(b"<svg", self.read("a.svg"))
            self.run_program("a.png")

    def test_what_was_drawn_before_is_replaced(self):
        for name in "a.svg", "a.dxf", "a.pdf", "b.png", "a.json":
            self.run_program("a.png", "-o", name)
            self.write(name + ".copy", self.read(name))
            self.run_program("a.png", "-o", name)
            self.assertEqual(self.read(name), self.read(name + ".copy"))
            self.assert_refused("a.png", "-o", name, "--no-clobber", code=2, words=name + ": the file exists")
            self.assert_refused("a.png", "-o", name, "--no-clobber", "--overwrite", code=2, words=name + ": the file exists")
        self.run_program("a.png", "-o", "new.svg", "--no-clobber")

    def test_however_it_was_drawn(self):
        self.write("blank.png", png(9, 9, lambda x, y: WHITE))
        ways = [(), ("-q", "-u", "mm", "--layers"), ("--outline", "-q", "-u", "in"), ("--dxf-version", "r12", "-q"),
                ("--dxf-version", "2000", "-q"), ("-p", "lineart", "--no-frame", "-q"), ("--strokes", "-q"),
                ("--decimals", "exact", "-q"), ("--gradients", "-q"), ("--page", "all", "-q")]
        outputs = [word for ending in ("svg", "dxf", "pdf", "png", "json", "geojson", "topojson")
                   for word in ("-o", "x." + ending)]
        for image in "a.png", "blank.png":
            for way in ways:
                self.run_program(image, *outputs, *way)
        self.run_program("x.json", *[word for word in outputs if word != "x.json"][:6])

    def test_what_cannot_be_read_is_said_in_one_line(self):
        """An animation is not said to be traced in part when it is not traced."""
        whole = ring(RED, WHITE, WHITE)
        control = b"\0\0\0\x08acTL\0\0\0\x02\0\0\0\0\xF3\x8D\x93\x70"
        self.write("a.png", whole[:33] + control + whole[33:])
        self.assertIn(b"the first of 2 frames is traced", self.run_program("a.png").stderr)
        self.write("a.png", whole[:33] + control + whole[33:60])
        self.assertEqual(self.run_program("a.png", code=3).stderr.count(b"\n"), 1)

    def test_outputs_whose_state_cannot_be_told(self):
        os.symlink("loop.svg", self.path("loop.svg"))
        self.assert_refused("a.png", "-o", "loop.svg", code=4, words="loop.svg: its symbolic links lead in a circle")

    def test_failure_keeps_the_old_file(self):
        self.write("out.svg", b"old")
        self.write("cut.png", png(99, 99, lambda x, y: (x, y, 0, 255))[:300])
        self.run_program("cut.png", "-o", "out.svg", code=3)
        self.assertEqual(self.read("out.svg"), b"old")


class Sizes(CommandTest):
    def test_one_pixel(self):
        for preset in "lineart", "logo", "poster", "photo":
            self.write("a.png", png(1, 1, lambda x, y: RED))
            svg = self.run_program("a.png", "-p", preset, "-o", "-").stdout
            self.assertIn(b'viewBox="0 0 1 1"', svg)

    def test_one_row_and_one_column(self):
        for width, height in (1, 50), (50, 1), (2, 2):
            self.write("a.png", png(width, height, lambda x, y: RED if (x + y) % 9 < 4 else WHITE))
            for preset in "lineart", "logo", "poster", "photo":
                self.run_program("a.png", "-p", preset, "-o", "-")

    def test_bilevel_and_grey_files(self):
        self.write("a.pbm", b"P4 8 8\n" + bytes([0] + [0x7E] * 6 + [0]))
        self.assertEqual(len(paths(self.run_program("a.pbm", "--fit", "engine", "-p", "lineart", "-o", "-").stdout)), 2)
        self.write("a.pgm", b"P5 20 20 65535\n" + b"".join(bytes([y * 12, 0]) for y in range(20) for _ in range(20)))
        self.run_program("a.pgm", "--fit", "engine", "-p", "photo", "-o", "-")


if __name__ == "__main__":
    unittest.main()
