# (c) the ztrace developers. Licence: see LICENSE.
"""Presets, configuration, and options that are wrong or without effect."""
import json
import math
import os
import subprocess
import unittest

from support import BLACK, CLEAR, RED, WHITE, OptionsTest, paths, png, ring, square


class Presets(OptionsTest):
    def test_auto_looks_at_the_image(self):
        def noise(x, y):
            return (x * 5 % 256, (x * x + 31 * y) * 7 % 256, (x * y + y) * 11 % 256, 255)

        def shading(x, y):  # no ramp
            waves = [int(30 * math.sin(place / 14)) for place in (x, y, x + y)]
            return (130 + waves[0], 120 - waves[1], 100 + waves[2], 255)
        for name, pixel in ("lineart", lambda x, y: BLACK if square(x, y, 9, 9, 20) else WHITE), \
                           ("logo", lambda x, y: RED if square(x, y, 9, 9, 20) else WHITE), \
                           ("logo", lambda x, y: BLACK if square(x, y, 9, 9, 20) else CLEAR), \
                           ("photo", noise):
            self.write("a.png", png(60, 60, pixel))
            self.assertEqual(self.stats("a.png")["preset"], name)
        self.write("a.png", png(48, 48, lambda x, y: RED if x < 8 else noise(x, y)))
        self.assertIn("as small as an icon", self.stats("a.png")["reason"])
        self.write("a.png", png(90, 90, lambda x, y: RED if x < 4 else shading(x // 3 * 3, y // 3 * 3)))
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
        self.run_program("a.png", "-p", "two", "--fit", "engine", "-o", "b.svg", environment={"XDG_CONFIG_HOME": home})
        self.assertEqual(len({fill for fill, _, _ in paths(self.read("b.svg"))}), 2)
        self.assertEqual(len(set(self.fills("a.png", "--fit", "engine", "-p", home + "/ztrace/presets/two.toml"))), 2)


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

    def test_long_values_are_told_by_their_beginning(self):
        long = "\u00e4" * 50000
        for arguments in (["--colors", long], ["--palette", long], ["--preset", long], ["--set", long], ["--set", long + "=1"],
                          ["--background", long], ["--fit", long], ["--" + long]):
            told = self.run_program("a.png", *arguments, "-o", "b.svg", code=2).stderr
            self.assertLess(len(told), 700, arguments[0])
            self.assertIn("\u00e4...", told.decode())
        self.write("long.toml", ('%s = 1' % ("a" * 50000)).encode())
        told = self.run_program("a.png", "--config", "long.toml", "-o", "b.svg", code=2).stderr
        self.assertLess(len(told), 300)

    def test_zero_bytes_are_no_part_of_values(self):
        for name in "palette", "preset", "colors":
            self.write("zero.toml", (name + ' = "a\\u0000b"').encode())
            self.assert_refused("a.png", "--config", "zero.toml", "-o", "b.svg", code=2,
                                words="--%s: the value has a zero byte in it" % name)

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
                self.assertEqual(text.count("\n"), 1 + text.count("the drawing is blank"))
                self.assertEqual(self.run_program("a.png", *arguments, "-q").stderr, b"")

    def test_those_with_one_are_not(self):
        for arguments in [("-p", "lineart", "--despeckle", "3", "--threshold", "9", "--palette", "red,white"),
                          ("-p", "photo", "-c", "3", "--background", "red"), ("--raw", "--set", "ltres=2"),
                          ("--outline", "--stroke-width", "2"), ("-o", "a.png.png", "--scale", "2"),
                          ("-o", "a.dxf", "--dxf-version", "r12", "--dxf-curves", "arc", "--dxf-tolerance", "1")]:
            with self.subTest(arguments):
                told = self.run_program("a.png", *arguments).stderr.splitlines()
                self.assertEqual([line for line in told if b"is blank" not in line], [])

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
        self.write("old.svg", b"old")
        self.assert_refused("a.png", "--only-color", "green", "-o", "old.svg", code=2,
                            words="--only-color #008000: no colour is near to it; the nearest, #ffffff, is 255 of 255 away")
        self.assertEqual(self.read("old.svg"), b"old")
        self.assertEqual(self.run_program("a.png", "--only-color", "red").stderr, b"")

    def test_a_colour_that_is_nearly_there(self):
        wanted = self.svg("a.png", "--only-color", "red")
        result = self.run_program("a.png", "--only-color", "#d8282e", "-o", "-")
        self.assertEqual(result.stdout, wanted)
        self.assertEqual(result.stderr, b"ztrace: --only-color #d8282e: #ff0000 is taken, 46 of 255 away\n")
        far = self.run_program("a.png", "--only-color", "#bf0000", "-o", "x.svg", code=2).stderr
        self.assertIn(b"64 of 255 away", far)

    def test_an_empty_drawing_is_told(self):
        self.write("b.png", png(40, 40, lambda x, y: WHITE))
        self.assertEqual(self.run_program("b.png", "-p", "lineart", "--no-frame").stderr, b"ztrace: b.png: the drawing is empty\n")
        self.assertEqual(self.run_program("a.png").stderr, b"")

    def test_a_blank_drawing_is_told(self):
        """Whatever has dropped all that there was; but not where one colour alone was asked for."""
        blank = b"ztrace: a.png: the drawing is blank, which the image is not: all is #ffffff\n"
        self.write("a.png", png(40, 40, lambda x, y: BLACK if square(x, y, 9, 9, 9) else WHITE))
        for dropping in ("-p", "lineart", "--min-path", "1e9"), ("-p", "lineart", "--despeckle", "99"), \
                ("-p", "poster", "--palette", "white"), ("-p", "lineart", "--min-path", "1e9", "--outline"):
            self.assertEqual(self.run_program("a.png", *dropping).stderr, blank, dropping)
        self.assertEqual(self.run_program("a.png", "--palette", "white", "--only-color", "white").stderr, b"")
        self.assertEqual(self.run_program("a.png", "-p", "lineart").stderr, b"")
        for data in png(40, 40, lambda x, y: WHITE), b"P4 11 3 " + 3 * b"\0\x1F", b"P4 11 3 " + 3 * b"\xFF\xF0":
            self.write("a.png", data)
            self.assertEqual(self.run_program("a.png").stderr, b"")
        for data in png(40, 40, lambda x, y: BLACK if x == y == 39 else WHITE), b"P4 11 3 " + 2 * b"\0\0" + b"\0\x20":
            self.write("a.png", data)
            self.assertEqual(self.run_program("a.png", "-p", "lineart", "--min-path", "9").stderr, blank)

    def test_what_fills_the_page_and_is_not_blank(self):
        near = png(5, 5, lambda x, y: BLACK if 0 < x < 4 and 0 < y < 4 else CLEAR)
        round_one = png(40, 40, lambda x, y: RED if (x - 19.5) ** 2 + (y - 19.5) ** 2 < 400 else CLEAR)
        for picture in near, round_one, ring(WHITE, CLEAR, WHITE):
            self.write("c.png", picture)
            self.assertEqual(self.run_program("c.png", "-p", "logo").stderr, b"")
            self.assertNotIn(b"blank", self.run_program("c.png", "-p", "poster").stderr)


class Mistakes(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", ring(RED, WHITE, WHITE))

    def test_words_that_are_not_understood(self):
        for word, meant in [("--palete", "--palette"), ("--colour", "--colors"), ("--color", "--colors"),
                            ("--only-colour", "--only-color"), ("--thresh", "--threshold"), ("-colors", "--colors"),
                            ("-output", "--output"), ("--untis=mm", "--units")]:
            self.assert_refused(word, "red", "a.png", code=2,
                                words="there is no option %s (did you mean %s?)" % (word.partition("=")[0], meant))
        self.assert_refused("a.png", "--nothing-like-it", code=2, words="no option --nothing-like-it (see ztrace --help)")
        self.assert_refused("a.png", "--set", "ltress=1", code=2, words='"ltress" (did you mean ltres?)')
        self.assert_refused("a.png", "-p", "phot", code=2, words="did you mean photo?")
        self.write("c.toml", b"colour = 3\n")
        self.assert_refused("a.png", "--config", "c.toml", code=2, words='"colour" (did you mean colors?)')

    def test_forms_of_options(self):
        wanted = self.svg("a.png", "--colors", "2", "--layers")
        for arguments in (["--layers", "-c2"], ["-c", "2", "--layers"], ["--colors=2", "--layers", "-q"], ["-qc2", "--layers"]):
            self.assertEqual(self.svg(*arguments, "a.png"), wanted)
        self.write("--odd", self.read("a.png"))
        self.run_program("-o", "b.svg", "--", "--odd")
        self.run_program("./--odd", "--output=--odd.svg")
        self.assertTrue(os.path.exists(self.path("--odd.svg")))
        self.assert_refused("a.png", "-o", "--stats", code=2, words="--output needs a value")
        self.assert_refused("a.png", "-o", "-q", code=2, words="--output needs a value")

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
