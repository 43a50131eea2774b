# (c) the ztrace developers. Licence: see LICENSE.
"""Programs that read PDF and HEIC for the command: what they say is not believed, what they take is limited, and
none outlives the command. Scripts of their names stand in for them."""
import os
import shutil
import signal
import subprocess
import sys
import time
import unittest

from support import BLACK, PROGRAM, WHITE, CommandTest, png, square

PDF, HEIC = b"%PDF-1.4\n", b"\0\0\0\x18ftypheic\0\0\0\0mif1heic"
LONG = "import time; open('running', 'w').write(str(os.getpid())); time.sleep(600)"


class OutsideTest(CommandTest):
    def setUp(self):
        super().setUp()
        os.mkdir(self.path("bin"))
        os.mkdir(self.path("tmp"))
        self.write("a.pdf", PDF)
        self.write("a.heic", HEIC)
        self.write("page.png", png(20, 20, lambda x, y: BLACK if square(x, y, 5, 5, 9) else WHITE))
        self.environment = {"PATH": self.path("bin") + ":/usr/bin:/bin", "TMPDIR": self.path("tmp")}
        self.page("100 x 50")
        self.program("pdfimages", "")
        self.program("pdftoppm", "open('said', 'w').write(repr(sys.argv)); sys.stdout.buffer.write(open('page.png', 'rb').read())")
        self.program("heif-info", "print('MIME type: image/heic\\n\\nimage: 20x20 (id=1), primary')")
        self.program("heif-convert", "open(sys.argv[2], 'wb').write(open('page.png', 'rb').read())")

    def program(self, name, text):
        path = self.write("bin/" + name, b"#!%s\nimport os, sys\n%s\n" % (sys.executable.encode(), text.encode()))
        os.chmod(path, 0o755)

    def page(self, size, before="", pages=3):
        self.program("pdfinfo", "print(%r + 'Pages:  %d\\nPage    1 size:  %s pts\\nPage rot: 0')" % (before, pages, size))

    def trace(self, *arguments, code=0):
        result = self.run_program(*arguments, code=code, environment=self.environment)
        self.assertEqual(os.listdir(self.path("tmp")), [])
        return result.stderr.decode()

    def asked(self):
        """The resolution that the page was asked for with."""
        words = eval(self.read("said"))
        return int(words[words.index("-r") + 1])

    def gone(self, process):
        for _ in range(200):
            try:
                with open("/proc/%d/stat" % process) as file:
                    if " Z " in file.read():
                        return True
            except OSError:
                return True
            time.sleep(0.05)
        return False

    def running(self):
        while not os.path.exists(self.path("running")) or not self.read("running"):
            time.sleep(0.02)
        return int(self.read("running"))


class Belief(OutsideTest):
    def test_what_the_file_says_of_itself(self):
        """Its title comes before what the program says."""
        self.page("100 x 50", before="Title:  x\nPages:  77\nPage    1 size:  9000000 x 9000000 pts\n")
        text = self.trace("a.pdf")
        self.assertEqual(text, "ztrace: a.pdf: page 1 of 3 is traced (see --page; --page all takes every one)\n")
        self.assertEqual(self.asked(), 300)

    def test_fewer_pixels_are_told(self):
        self.page("1000 x 500", pages=1)
        self.assertEqual(self.trace("a.pdf", "--max-pixels", "1"),
                         "ztrace: a.pdf: page 1 is taken at 101 pixels an inch instead of 300"
                         " (see --max-pixels and --max-memory)\n")
        self.assertEqual(self.asked(), 101)
        self.trace("batch", "a.pdf", "--out", "out", "--max-pixels", "1")
        self.assertIn("is taken at 101 pixels", self.read("out/ztrace-results.jsonl").decode())

    def test_pages_beyond_all_paper(self):
        for size in "1e+09 x 1e+09", "2e+300 x 2e+300", "1e+12 x 1e-12":
            self.page(size)
            self.assertIn("page 1 has too many pixels even at one an inch", self.trace("a.pdf", code=3))
        for size in "0 x 10", "-5 x 10", "nan x nan", "inf x 5", "much x more":
            self.page(size)
            self.assertIn("the size of page 1 is not told", self.trace("a.pdf", code=3))
        self.assertEqual(os.path.exists(self.path("said")), False)

    def test_what_comes_is_asked_for_its_size(self):
        self.assertIn("20 x 20 pixels has more than 1e-04 million", self.trace("a.heic", "--max-pixels", "0.0001", code=3))
        self.write("page.png", b"nonsense")
        for name in "a.pdf", "a.heic":
            self.assertIn("damaged or incomplete", self.trace(name, code=3).splitlines()[-1])

    def test_several_pictures(self):
        self.program("heif-info", "print('image: 20x20 (id=1), primary\\n  x\\nimage: 20x20 (id=2)')")
        self.program("heif-convert", "for i in '12': open(sys.argv[2].replace('.', '-%s.' % i), 'wb').write(open('page.png', 'rb').read())")
        self.assertIn("page 1 of 2 is traced", self.trace("a.heic"))
        self.trace("a.heic", "--page", "all", "-o", "b.svg")
        self.assertEqual(self.read("b-1.svg"), self.read("b-2.svg"))
        self.assertIn("there is no page 3", self.trace("a.heic", "--page", "3", code=3))


class Damage(OutsideTest):
    """The programs draw what they make of a damaged file and end well: what they say is a warning."""
    GOOD = "sys.stdout.buffer.write(open('page.png', 'rb').read()); "

    def said(self, *lines):
        self.page("100 x 50", pages=1)
        self.program("pdftoppm", self.GOOD + "sys.stderr.write(%r)" % ("\n".join(lines) + "\n"))
        return self.trace("a.pdf")

    def test_the_first_error_is_told(self):
        said = self.said("Syntax Warning: something", "Syntax Error (121): Unexpected \x1bend", "Syntax Error: more")
        self.assertEqual(said, "ztrace: a.pdf: the image may be wrong, as the file is damaged: pdftoppm says "
                               "\"Syntax Error (121): Unexpected ?end\"\n")
        self.trace("batch", "a.pdf", "--out", "out")
        self.assertIn("Unexpected", self.read("out/ztrace-results.jsonl").decode())

    def test_of_a_picture_within(self):
        self.assertIn("Corrupt JPEG data: premature end", self.said("Corrupt JPEG data: premature end of data segment"))

    def test_chatter_is_not(self):
        self.assertEqual(self.said("Syntax Warning: Invalid Font Weight", "Config Error: No display font for 'Symbol'",
                                   "xx Syntax Error: within a line", ""), "")

    def test_pictures_of_telephones(self):
        self.program("heif-convert", "open(sys.argv[2], 'wb').write(open('page.png', 'rb').read());"
                                     "sys.stderr.write('Warning: bitstream error\\n')")
        self.assertIn("heif-convert says \"Warning: bitstream error\"", self.trace("a.heic"))

    @unittest.skipUnless(shutil.which("pdftoppm"), "pdftoppm is not installed")
    def test_a_file_whose_bits_were_flipped(self):
        self.environment["PATH"] = "/usr/bin:/bin"
        self.write("page.png", png(60, 60, lambda x, y: BLACK if square(x, y, 15, 15, 29) else WHITE))
        self.run_program("page.png", "-o", "whole.pdf")
        self.assertEqual(self.trace("whole.pdf"), "")
        whole = self.read("whole.pdf")
        start = whole.index(b"stream", whole.index(b"FlateDecode")) + 20
        self.write("damaged.pdf", whole[:start] + bytes(255 - byte for byte in whole[start:start + 4]) + whole[start + 4:])
        self.assertIn("damaged.pdf: the image may be wrong, as the file is damaged: pdftoppm says",
                      self.trace("damaged.pdf"))


class Limits(OutsideTest):
    def test_limits_are_set(self):
        self.program("pdfinfo", "import resource as r; sys.stderr.write(' '.join(str(r.getrlimit(x)[0]) for x in "
                                "(r.RLIMIT_AS, r.RLIMIT_FSIZE, r.RLIMIT_CPU, r.RLIMIT_CORE))); sys.exit(1)")
        self.assertEqual(self.trace("a.pdf", "--max-memory", "3", code=3),
                         "ztrace: a.pdf: cannot be read by pdfinfo: 515000000 3000000 300 0\n")

    def test_output_without_end(self):
        self.program("pdftoppm", "import signal; signal.signal(signal.SIGXFSZ, signal.SIG_DFL)\n"
                                 "while True: os.write(1, bytes(1 << 16))")
        self.assertIn("cannot be read by pdftoppm: it becomes too large (see --max-memory)",
                      self.trace("a.pdf", "--max-memory", "20", code=3).splitlines()[-1])

    def test_messages_without_end(self):
        self.program("pdfinfo", "sys.stderr.write('\\x1b[2J first\\n' + 'more\\n' * 1000000); sys.exit(1)")
        self.assertEqual(self.trace("a.pdf", code=3), "ztrace: a.pdf: cannot be read by pdfinfo: ?[2J first\n")

    def test_one_that_dies(self):
        self.program("pdfinfo", "os.kill(os.getpid(), 11)")
        self.assertIn("it was ended by signal 11", self.trace("a.pdf", code=3))
        self.program("pdfinfo", "sys.exit(24)")  # the number of a signal, and none
        self.assertIn("it says nothing", self.trace("a.pdf", code=3))

    def test_no_descriptors_are_handed_on(self):
        self.program("pdfinfo", "sys.stderr.write(' '.join(sorted(os.listdir('/proc/self/fd')))); sys.exit(1)")
        said = self.trace("a.pdf", code=3).split("pdfinfo: ")[1]
        self.assertLessEqual(len(said.split()), 4, said)  # with the one of the folder itself


class Ends(OutsideTest):
    """None goes on when the command has ended, and no folder stays."""
    def test_time_limit(self):
        for program, name in ("pdfimages", "a.pdf"), ("heif-convert", "a.heic"):
            self.program(program, LONG)
            self.assertIn("the time limit of 0.5 seconds is over", self.trace(name, "--time-limit", "0.5", code=5))
            self.assertTrue(self.gone(self.running()))
            os.unlink(self.path("running"))

    def test_signals(self):
        for number in signal.SIGTERM, signal.SIGINT, signal.SIGHUP:
            self.program("heif-convert", LONG)
            process = subprocess.Popen([PROGRAM, "a.heic"], cwd=self.folder, env={**os.environ, **self.environment})
            other = self.running()
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=30), -number)
            self.assertTrue(self.gone(other))
            self.assertEqual(os.listdir(self.path("tmp")), [])
            os.unlink(self.path("running"))

    def test_kill(self):
        self.program("pdftoppm", LONG)
        process = subprocess.Popen([PROGRAM, "a.pdf"], cwd=self.folder, env={**os.environ, **self.environment})
        other = self.running()
        process.kill()
        process.wait()
        self.assertTrue(self.gone(other))


if __name__ == "__main__":
    unittest.main()
