# (c) the ztrace developers. Licence: see LICENSE.
"""Runs over many pictures: what is taken, what drawings are called, and what is refused."""
import fcntl
import hashlib
import json
import os
import random
import shutil
import signal
import socket
import struct
import subprocess
import time
import unittest
import zlib

from batchsupport import BatchTest, picture, workers_of
from support import BLACK, PROGRAM, WHITE, chunk, png, tiff


class Inputs(BatchTest):
    def test_a_folder_gives_what_single_runs_give(self):
        self.pictures(3)
        self.put("in/notes.txt", b"no image")
        self.put("in/deep/p.png", picture(9))
        self.batch("in", "--formats", "svg,dxf", "-p", "lineart")
        self.assertEqual(sorted(self.tree()), sorted(b"p%04d.%s" % (i, e) for i in range(3) for e in (b"svg", b"dxf")))
        for i in range(3):
            for ending in "svg", "dxf":
                self.run_program("in/p%04d.png" % i, "-p", "lineart", "-o", "alone." + ending)
                self.assertEqual(self.read("alone." + ending), self.read("out/p%04d.%s" % (i, ending)))

    def test_folders_in_folders_and_patterns(self):
        self.pictures(1)
        self.put("in/deep/er/p.PNG", picture(5))
        self.put("in/deep/odd.data", picture(6))
        self.put("in/.hidden/p.png", picture(7))
        self.batch("in", "--recursive")
        self.assertEqual(sorted(self.tree()), [b"deep/er/p.svg", b"p0000.svg"])
        self.batch("in", "--recursive", "--pattern", "*.data", "--names", "{folder}-{name}.{suffix}.{format}")
        self.assertIn(b"deep-odd.data.svg", self.tree())

    def test_lists(self):
        self.pictures(3)
        self.write("names", b"in/p0000.png\r\n\nin/p0001.png")
        self.batch("--files-from", "names")
        self.assertEqual(sorted(self.tree()), [b"in/p0000.svg", b"in/p0001.svg"])
        self.write("marked", b"\xef\xbb\xbfin/p0000.png\n")
        self.run_program("batch", "--files-from", "marked", "--out", "marks")
        self.assertEqual(sorted(self.tree("marks")), [b"in/p0000.svg"])
        self.batch("-", stdin=b"in/p0002.png\0")
        self.assertIn(b"in/p0002.svg", self.tree())

    def test_lists_without_an_end(self):
        for option in "--files-from", "--manifest":
            result = self.run_program("batch", option, "/dev/zero", "--out", "out", code=3)
            self.assertEqual(result.stderr, b"ztrace: /dev/zero: has more than 1000 million bytes\n")

    def test_pages_get_numbers_of_one_length(self):
        self.write("a.tif", tiff([lambda x, y, n=n: x < 20 + n for n in range(11)]))
        self.batch("a.tif", "--page", "all")
        self.assertEqual(sorted(self.tree()), [b"a-%02d.svg" % n for n in range(1, 12)])
        self.assertEqual({line["page"] for line in self.lines().values()}, set(range(1, 12)))
        self.run_program("a.tif", "--page", "11", "-o", "alone.svg")
        self.assertEqual(self.read("alone.svg"), self.read("out/a-11.svg"))

    def test_pages_without_a_number_in_their_names(self):
        self.write("a.tif", tiff([lambda x, y, n=n: x < 20 + n for n in range(3)]))
        words = "a.tif", "--page", "all", "--names", "{name}.{format}", "--formats"
        self.batch(*words, "svg,pdf")
        self.assertEqual(sorted(self.tree()), [b"a-1.svg", b"a-2.svg", b"a-3.svg", b"a.pdf"])
        self.assertEqual(self.read("out/a.pdf").count(b"/Type /Page "), 3)

    @unittest.skipUnless(os.environ.get("ZTRACE_DISASTER"), "sanitizers have their own idea of memory")
    def test_the_memory_of_a_picture_is_its_own(self):
        """Not that of a larger one before it, by the same worker; a fifth of that at most stays."""
        noise = random.Random(3)
        self.write("a.png", png(700, 700, lambda x, y: (noise.randrange(256), 2 * x // 7, y // 3, 255)))
        self.write("b.png", picture(2))
        self.batch("b.png")
        alone = self.lines()["b.png", 1]["peak"]
        self.run_program("batch", "a.png", "b.png", "--out", "both", "-j", "1")
        both = self.lines("both/ztrace-results.jsonl")
        self.assertLess(both["b.png", 1]["peak"] - alone, 0.2 * (both["a.png", 1]["peak"] - alone))

    def test_slashes_behind_the_folder_of_the_drawings(self):
        self.write("b.png", picture(3))
        text = self.run_program("batch", "b.png", "--out", "out//").stderr
        self.assertEqual(text, b"ztrace: 1 done; results in out/ztrace-results.jsonl\n")

    def test_warnings_are_told(self):
        self.write("a.tif", tiff([lambda x, y, n=n: x < 20 + n for n in range(3)]))
        self.write("b.png", picture(3))
        result = self.batch("a.tif", "b.png")
        self.assertIn(b" done a.tif; page 1 of 3 is traced (see --page; --page all takes every one)\n", result.stdout)
        self.assertIn(b" done b.png\n", result.stdout)
        self.assertIn(b"2 done, 1 with warnings; ", result.stderr)
        self.assertRegex(self.run_program("batch", "summary", "out").stdout, rb"\nwarnings +1\n")

    def test_names_that_are_no_text(self):
        name = os.path.join(os.fsencode(self.folder), b"in", b"\xff\xfe x.png")
        os.makedirs(os.path.dirname(name))
        with open(name, "wb") as file:
            file.write(picture(1))
        self.batch("in")
        self.assertEqual(list(self.tree()), [b"\xff\xfe x.svg"])
        line = json.loads(self.read("out/ztrace-results.jsonl"))
        self.assertEqual(line["pathBytes"], "in/%FF%FE%20x.png")
        self.assertIn("1 finished before", self.batch("in").stderr.decode())

    def test_links_in_circles_and_folders_twice(self):
        self.pictures(1)
        os.symlink(".", self.path("in/again"))
        os.symlink("loop.png", self.path("in/loop.png"))
        text = self.batch("in", "--recursive", code=1).stderr.decode()
        self.assertIn("in/again: a folder that was there already", text)
        self.assertIn("in/loop.png: Too many levels of symbolic links", text)
        self.assertEqual(list(self.tree()), [b"p0000.svg"])

    def test_drawings_in_the_folder_of_the_pictures(self):
        self.pictures(2)
        for _ in range(2):
            text = self.run_program("batch", "in", "--recursive", "--formats", "svg,png",
                                    "--out", "in/out").stderr.decode()
            self.assertIn("in/out", text)
        self.assertEqual(sorted(self.tree("in/out")), [b"p0000.png", b"p0000.svg", b"p0001.png", b"p0001.svg"])

    def test_a_folder_that_cannot_be_read(self):
        if os.geteuid() == 0:
            self.skipTest("nothing is forbidden to root")
        self.pictures(1)
        os.makedirs(self.path("in/closed"), 0)
        self.assertIn("in/closed: Permission denied", self.batch("in", "--recursive", code=1).stderr.decode())
        self.assertEqual(list(self.tree()), [b"p0000.svg"])

    def test_a_drawing_can_be_the_input(self):
        self.pictures(1)
        self.run_program("in/p0000.png", "-o", "a.json")
        self.batch("a.json", "--formats", "dxf")
        self.run_program("a.json", "-o", "a.dxf")
        self.assertEqual(self.read("out/a.dxf"), self.read("a.dxf"))


class Refusals(BatchTest):
    def refused(self, *arguments, code=2, words, stdin=b""):
        result = self.run_program("batch", *arguments, code=code, stdin=stdin)
        self.assertIn(words, result.stderr.decode())
        self.assertFalse(os.path.exists(self.path("out")))

    def test_two_pictures_with_one_drawing(self):
        for name in "a.png", "b.png":
            self.put("in/" + name, picture(1))
            self.put("in/deep/" + name, picture(1))
        self.put("in/a.jpg", picture(1))
        self.refused("in", "--out", "out", words="in/a.jpg and in/a.png would both become a.svg (--names '{folder}/{name}-{suffix}.{format}'")
        self.refused("in/a.png", "in/a.png", "--out", "out", words="in/a.png: is given twice")
        self.refused("in", "--recursive", "--pattern", "*.png", "--names", "{name}.{format}", "--out", "out",
                     words="in/b.png and in/deep/b.png would both become b.svg")
        self.batch("in", "--names", "{name}.{suffix}.{format}")

    def test_a_drawing_on_a_picture(self):
        self.pictures(1)
        self.run_program("in/p0000.png", "-o", "a.json")
        result = self.run_program("batch", "a.json", "--out", ".", "-f", "json", code=2)
        self.assertIn("a.json: is a picture of this run", result.stderr.decode())

    def test_usage(self):
        self.pictures(1)
        self.refused("in", words="--out DIR")
        self.refused("--out", "out", words="no input")
        self.refused("in", "--out", "out", "-o", "a.svg", words="--output: not for ztrace batch")
        self.refused("in", "--out", "out", "--names", "{nam}", words="there is no {nam}")
        self.refused("in", "--out", "out", "--names", "x.{format}", words="without {name}")
        self.refused("in", "--out", "out", "--formats", "svg,doc", words='"doc" is not')
        self.refused("in", "--out", "out", "--chunk", "3/2", words="--chunk")
        self.refused("in", "--out", "out", "-p", "nonsense", words='no preset "nonsense"')
        self.refused("in", "--out", "out", "--pattern", "*.tif", code=3, words="there is no picture")
        result = self.run_program("in/p0000.png", "--jobs", "2", code=2)
        self.assertIn("--jobs: only for ztrace batch", result.stderr.decode())

    def test_manifests_with_errors_start_nothing(self):
        self.pictures(2)
        self.write("m.csv", b'path,page,settings,sha256\nin/p0000.png,1,,\nin/p0001.png,0,,\n"in/p,1.png",,,abc\n'
                            b"x.png,,presett=logo,\nx.png,,jobs=2,\nx.png,,colors=none,\nx.png\n,,,\n")
        text = self.run_program("batch", "--manifest", "m.csv", "--out", "out", code=2).stderr.decode()
        for line, words in [(3, '"0" is not'), (4, '"abc" is no SHA-256'), (5, "did you mean --preset?"),
                            (6, '"jobs" cannot be a picture\'s own'), (7, '"none" is not'), (8, "1 fields where"),
                            (9, "there is no path")]:
            self.assertRegex(text, "m.csv, line %d: .*%s" % (line, words.replace("?", r"\?")))
        self.assertNotIn("line 2:", text)
        self.assertFalse(os.path.exists(self.path("out")))
        self.write("m.csv", b"path,colour\na.png,red\n")
        self.refused("--manifest", "m.csv", "--out", "out", words='line 1: there is no column "colour"')
        self.write("m.csv", b'path\n"a.png\nb\n')
        self.refused("--manifest", "m.csv", "--out", "out", words="line 2: a quote has no end")
        self.write("m.jsonl", b'{"path": "a.png"}\n{"path": }\n')
        self.refused("--manifest", "m.jsonl", "--out", "out", words="m.jsonl, line 2: is no JSON object")
        self.write("m.jsonl", b'{"path": "a.png", "pages": 3}\n')
        self.refused("--manifest", "m.jsonl", "--out", "out", words='no member "pages"')
        self.refused("--manifest", "none", "--out", "out", code=3, words="none: No such file")

    def test_files_that_a_manifest_names_begin_at_its_folder(self):
        for i in range(3):
            self.put("list/in/p%d.png" % i, picture(i))
        self.put("list/p.txt", b"red,white\n")
        self.put("list/more/my.toml", b"palette = '#00ff00,#ffffff'\n")
        self.put("list/m.csv", b"path,settings\nin/p0.png,palette=p.txt\nin/p1.png,preset=more/my.toml\n"
                               b'in/p2.png,"palette=blue,white"\n')
        self.batch("--manifest", "list/m.csv")
        for i, colour in enumerate((b"#f00", b"#0f0", b"#00f")):
            self.assertIn(colour, self.read("out/in/p%d.svg" % i))
        before = self.lines()
        self.run_program("batch", "--manifest", self.path("list/m.csv"), "--out", "absolute")
        self.assertEqual(self.tree("absolute"), self.tree())
        self.assertEqual(before.keys(), self.lines().keys())

    def test_errors_in_what_a_manifest_names_start_nothing(self):
        self.pictures(1)
        self.put("list/bad.toml", b"colors = 3\nnonsense = 1\n")
        self.put("list/p.txt", b"redd\n")
        self.write("p.txt", b"red,white\n")
        self.put("list/m.csv", b"path,settings\na.png,preset=nope\na.png,preset=bad.toml\na.png,palette=p.txt\n"
                               b"a.png,palette=none.gpl\na.png,max-pixels=1\na.png,max-memory=1\n")
        text = self.batch("--manifest", "list/m.csv", code=2).stderr.decode()
        for line, words in [(2, 'there is no preset "nope"'), (3, 'list/bad.toml, line 2: there is no setting "nonsense"'),
                            (4, 'list/p.txt, line 1: "redd"'), (5, "list/none.gpl: No such file"),
                            (6, '"max-pixels" cannot be a picture\'s own'), (7, '"max-memory" cannot be a picture\'s own')]:
            self.assertRegex(text, "list/m.csv, line %d: .*%s" % (line, words))
        self.assertFalse(os.path.exists(self.path("out")))
        for mark, name in (b";", "semicolons"), (b"\t", "tabs"):
            self.write("m.csv", mark.join([b"path", b"page"]) + b"\n" + mark.join([b"in/p0000.png", b"1"]) + b"\n")
            self.refused("--manifest", "m.csv", "--out", "out",
                         words="line 1: %s stand between the columns where commas are wanted" % name)

    def test_a_clash_says_what_would_help(self):
        """Drawings in a PDF of all pages, and in DXF of one each, of files that differ in the ending alone."""
        book = tiff([lambda x, y, n=n: x < 20 + n for n in range(3)])
        self.put("in/a.tif", book)
        self.put("in/a.tiff", book)
        words = "in", "--out", "out", "--page", "all", "--formats", "pdf,dxf"
        self.refused(*words, words="--names '{folder}/{name}-{suffix}.{format}' tells them apart")
        self.run_program("batch", *words, "--names", "{folder}/{name}-{suffix}.{format}")
        self.assertEqual(sorted(self.tree()), sorted([b"a-tif.pdf", b"a-tiff.pdf"] + [b"a-%s-%d.dxf" % (end, page)
                                                     for end in (b"tif", b"tiff") for page in (1, 2, 3)]))
        self.assertIn("would both become a.svg (see --names)",
                      self.batch("in/a.tif", "in/../in/a.tif", code=2).stderr.decode())

    def test_a_drawing_where_a_folder_is_to_be(self):
        self.put("in/c.gif", b"")
        self.put("in/c.svg/bit.png", picture(1))
        self.refused("in", "--recursive", "--out", "out",
                     words="c.svg would be a drawing, and the folder of c.svg/bit.svg")

    def test_clashes_beyond_the_first_are_counted(self):
        for i in range(25):
            self.put("in/%02d.png" % i, b"")
            self.put("in/%02d.jpg" % i, b"")
        text = self.run_program("batch", "in", "--out", "out", code=2).stderr.decode()
        self.assertEqual(text.count("would both become"), 20)
        self.assertIn("and 5 more drawings have the names of others", text)

    def test_an_output_folder_that_cannot_be(self):
        self.pictures(1)
        self.write("file", b"")
        result = self.run_program("batch", "in", "--out", "file/x", code=4)
        self.assertIn("file/x: Not a directory", result.stderr.decode())


class Manifests(BatchTest):
    def test_settings_pages_and_hashes(self):
        self.pictures(3, "list/in")
        right = hashlib.sha256(self.read("list/in/p0001.png")).hexdigest().upper()
        self.write("list/m.csv", ('path,settings,sha256\nin/p0000.png,preset=lineart;units=mm;dpi=100,\n'
                                  '"in/p0001.png",set.pathomit=0,%s\nin/p0002.png,,%s\n' % (right, right)).encode())
        text = self.batch("--manifest", "list/m.csv", "-p", "logo", code=1).stderr.decode()
        self.assertIn("p0002.png: its SHA-256 is not the expected one", text)
        self.run_program("list/in/p0000.png", "-p", "lineart", "-u", "mm", "--dpi", "100", "-o", "a.svg")
        self.assertEqual(self.read("a.svg"), self.read("out/in/p0000.svg"))
        self.run_program("list/in/p0001.png", "-p", "logo", "--set", "pathomit=0", "-o", "a.svg")
        self.assertEqual(self.read("a.svg"), self.read("out/in/p0001.svg"))
        self.assertEqual(len(self.tree()), 2)

    def test_json_lines(self):
        self.write("a.tif", tiff([lambda x, y: x < 20, lambda x, y: x < 30]))
        self.pictures(1)
        self.write("m", b'{"path": "a.tif", "page": 2}\n\n{"path": "in/p0000.png", "settings": '
                        b'{"colors": 3, "preset": "logo", "set": {"ltres": 2}, "only-color": ["black"]}}\n')
        self.batch("--manifest", "m")
        self.run_program("in/p0000.png", "-p", "logo", "-c", "3", "--set", "ltres=2", "--only-color", "black",
                         "-o", "b.svg")
        self.assertEqual(self.read("b.svg"), self.read("out/in/p0000.svg"))
        self.run_program("a.tif", "--page", "2", "-o", "a.svg")
        self.assertEqual(self.read("a.svg"), self.read("out/a.svg"))


class Workers(BatchTest):
    def test_one_that_dies_costs_one_picture(self):
        self.pictures(4)
        os.mkfifo(self.path("in/p.pipe"))
        results = "out/ztrace-results.jsonl"
        run = self.start("in/p0000.png", "in/p0001.png", "in/p.pipe", "in/p0002.png", "in/p0003.png", "-j", "1")
        killed = set()
        for lines in 2, 4: # that are there when its turn has come, and come again
            for _ in range(1200):
                if os.path.exists(self.path(results)) and self.read(results).count(b"\n") >= lines:
                    break
                time.sleep(0.05)
            for _ in range(1200):
                fresh = set(workers_of(run)) - killed
                killed |= fresh
                for worker in fresh:
                    os.kill(worker, signal.SIGKILL)
                # The last one may have been idle, about to be ended.
                if (fresh and lines == 2) or run.poll() is not None:
                    break
                time.sleep(0.1)
        text = run.communicate(timeout=120)[1].decode()
        self.assertEqual(run.returncode, 1, text)
        self.assertIn("in/p.pipe: its worker was ended by signal 9", text)
        lines = self.lines()
        self.assertEqual(lines["in/p.pipe", 1]["outcome"], "died")
        self.assertEqual(lines["in/p.pipe", 1]["attempts"], 2)
        self.assertEqual(sum(line["outcome"] == "done" for line in lines.values()), 4)

    def test_one_that_hears_only_a_part_ends(self):
        """It traces nothing into a folder that it was not told of."""
        self.pictures(1)
        task = json.dumps({"path": "in/p0000.png", "page": 1, "pages": 1, "outputs": ["p.svg"], "attempt": 1}).encode()
        for heard in task, b"}", b"", b"\0", b"[1]", b'{"words": ["ztrace", "batch"', b'"\\ud800"':
            ours, theirs = socket.socketpair()
            keep = fcntl.fcntl(theirs, fcntl.F_DUPFD, 20)
            with subprocess.Popen([PROGRAM, "--batch-worker"], cwd=self.folder, stdin=subprocess.DEVNULL,
                                  preexec_fn=lambda fd=keep: os.dup2(fd, 3), close_fds=False) as worker, ours:
                theirs.close()
                os.close(keep)
                ours.sendall(heard + b"\n" + task + b"\n")
                self.assertEqual(ours.recv(1 << 16), b"", heard)
                self.assertEqual(worker.wait(60), 1, heard)
        self.assertEqual(os.listdir(self.folder), ["in"])

    def test_limits_of_time_and_memory(self):
        self.pictures(2)
        os.mkfifo(self.path("in/p.pipe"))
        text = self.batch("in/p0000.png", "in/p.pipe", "in/p0001.png", "--time-limit", "3", code=1).stderr.decode()
        self.assertIn("in/p.pipe: it took longer than --time-limit allows", text)
        self.assertEqual(self.lines()["in/p.pipe", 1]["outcome"], "time limit")
        self.assertEqual(len(self.tree()), 2)

    def test_a_picture_that_memory_does_not_hold(self):
        self.pictures(2)
        rows = zlib.compress((b"\0" + b"\xff" * 12000) * 3000)
        self.put("in/large.png", b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 3000, 3000, 8, 6, 0, 0, 0))
                 + chunk(b"IDAT", rows) + chunk(b"IEND", b""))
        result = subprocess.run([PROGRAM, "batch", "in", "--out", "out", "--memory-limit", "30"],
                                capture_output=True, cwd=self.folder, check=False)
        if result.returncode == 0:
            self.skipTest("sanitizers have their own idea of memory")
        self.assertEqual(result.returncode, 1)
        line = self.lines()["in/large.png", 1]
        self.assertEqual((line["outcome"], line["limit"], line["attempts"]), ("memory limit", 30, 2))
        self.assertIn("(--memory-limit allows 30 MB)", line["error"])
        self.assertEqual(len(self.tree()), 2)
        self.assertIn(b"1 of the failures is of an earlier run", self.batch("in", "--memory-limit", "20", code=1).stderr)
        self.assertIn(b"1 done, 2 finished before", self.batch("in").stderr)

    def test_memory_that_is_missing_is_never_a_damaged_picture(self):
        """Wherever it is missing: a run with more of it tries again."""
        from PIL import Image, ImageDraw
        image = Image.new("RGB", (1600, 1500), "white")
        for i in range(30):
            ImageDraw.Draw(image).ellipse([i * 47, i * 40, i * 47 + 90, i * 40 + 60], fill=(i * 8, 0, 99))
        os.mkdir(self.path("in"))
        kinds = ["bmp", "gif", "jpg", "png", "tif"] + (["pdf"] if shutil.which("pdftoppm") else [])
        for kind in kinds:
            image.convert("L" if kind == "jpg" else "RGB").save(self.path("in/a-%s.%s" % (kind, kind)))
        with open(self.path("in/half.png"), "wb") as file:
            file.write(self.read("in/a-png.png")[:900])

        def run(out, *more):
            return subprocess.run([PROGRAM, "batch", "in", "--out", out, *more], cwd=self.folder, capture_output=True,
                                  check=False).stderr.decode()
        if "memory" not in run("probe", "--memory-limit", "2"):
            self.skipTest("sanitizers have their own idea of memory")
        short = 0
        for limit in "2", "8", "16", "24", "40":
            out = "out" + limit
            run(out, "--memory-limit", limit)
            for (path, _), line in self.lines(out + "/ztrace-results.jsonl").items():
                if line["outcome"] != "done" and path != "in/half.png":
                    self.assertEqual((line.get("limit"), line["outcome"] == "failed"), (float(limit), False), line)
                    short += 1
            self.assertNotIn("in/a-", run(out), limit)
        self.assertGreater(short, 5)


class Results(BatchTest):
    def test_a_line_says_all(self):
        self.put("in/a.png", png(60, 40, lambda x, y: BLACK if 10 < x < 30 and 10 < y < 30 else WHITE, dpi=150))
        self.put("in/bad.png", b"nonsense")
        self.batch("in", "--formats", "svg,json", "--seed", "7", "-p", "lineart", code=1)
        line = self.lines()["in/a.png", 1]
        self.assertEqual(line["sha256"], hashlib.sha256(self.read("in/a.png")).hexdigest())
        for output, name in zip(line["outputs"], ("a.svg", "a.json")):
            self.assertEqual(output["file"], name)
            self.assertEqual(output["sha256"], hashlib.sha256(self.read("out/" + name)).hexdigest())
        self.assertEqual((line["width"], line["height"], line["dpi"], line["seed"]), (60, 40, 150, 7))
        self.assertEqual((line["preset"], line["outcome"], line["colours"]), ("lineart", "done", 2))
        self.assertIn("threshold", line)
        self.assertEqual(line["check"]["agreement"], 1)
        self.assertNotIn("flags", line)
        self.assertGreater(line["peak"], 1e6)
        drawn = json.loads(self.read("out/a.json"))["statistics"]
        self.assertEqual(line["counts"], {"arcs": 0, "strokes": 0, **{n: drawn[n] for n in ("outlines", "lines", "curves")}})
        self.assertEqual(self.lines()["in/bad.png", 1]["code"], 3)
        self.assertEqual(self.lines()["in/bad.png", 1]["error"], "in/bad.png: not an image of a known format")

    def test_what_is_lost_is_flagged(self):
        def pixel(x, y):
            return BLACK if y % 20 < 2 and 5 < x < 95 else (150, 150, 150, 255) if 30 < x < 34 else WHITE
        self.put("in/a.png", png(100, 100, pixel))
        self.batch("in", "-p", "lineart", "--threshold", "60")
        self.assertIn("lost", self.lines()["in/a.png", 1]["flags"])
        self.batch("in", "-p", "lineart", "--threshold", "200", "--results", "other.jsonl")
        self.assertNotIn("flags", self.lines("other.jsonl")["in/a.png", 1])

    def test_chunks_are_the_whole(self):
        self.pictures(20)
        for i in range(1, 4):
            self.batch("in", "--chunk", "%d/3" % i)
        self.assertEqual(len(self.tree()), 20)
        counts = [len(self.lines("out/ztrace-results-%d-of-3.jsonl" % i)) for i in range(1, 4)]
        self.assertEqual(sum(counts), 20)
        self.assertGreater(min(counts), 0)
        self.assertIn("20 finished before", self.batch("in").stderr.decode())

    def test_dry_run_and_fail_fast(self):
        self.pictures(3)
        result = self.batch("in", "--dry-run")
        self.assertEqual(result.stdout.decode().splitlines(),
                         ["in/p%04d.png -> out/p%04d.svg" % (i, i) for i in range(3)])
        self.assertFalse(os.path.exists(self.path("out")))
        self.put("in/a.png", b"nonsense")
        text = self.batch("in", "--fail-fast", "-j", "1", code=1).stderr.decode()
        self.assertIn("3 left", text)
        self.assertEqual(self.tree(), {})


if __name__ == "__main__":
    unittest.main()
