# (c) the ztrace developers. Licence: see LICENSE.
"""What goes wrong around a run: result lines that were damaged, folders that change or are closed, names that are one
file, too little of what the system gives, values without an end."""
import json
import os
import resource
import subprocess
import unittest

from batchsupport import BatchTest, picture
from support import PROGRAM, tiff

DISASTER = os.environ.get("ZTRACE_DISASTER")
RESULTS = "out/ztrace-results.jsonl"
NOBODY = 65534


class FaultTest(BatchTest):
    def limited(self, kind, most, *arguments):
        return subprocess.run([PROGRAM, "batch", *arguments, "--out", "out"], cwd=self.folder, capture_output=True, check=False,
                              preexec_fn=lambda: resource.setrlimit(kind, (most, most)))

    def words(self, *arguments, code=0):
        return self.batch(*arguments, code=code).stderr.decode()


class Lines(FaultTest):
    def test_formats_that_are_there_already(self):
        """In any order, and fewer of them."""
        self.pictures(3)
        self.batch("in", "--formats", "svg,dxf,json")
        before = self.read(RESULTS)
        for formats in "json,svg,dxf", "dxf,svg", "json":
            self.assertIn("3 finished before", self.words("in", "--formats", formats), formats)
        self.assertEqual(self.read(RESULTS), before)
        os.remove(self.path("out/p0001.dxf"))
        self.assertIn("3 finished before", self.words("in", "--formats", "svg,json"))
        self.assertIn("1 done, 2 finished before", self.words("in", "--formats", "dxf"))
        self.assertIn("3 done", self.words("in", "--formats", "svg,pdf"))

    def test_a_drawing_that_was_changed_by_hand(self):
        self.pictures(2)
        self.batch("in")
        right = self.tree()
        for change in right[b"p0001.svg"] + b"<!-- mine -->", b"":
            self.write("out/p0001.svg", change)
            self.assertIn("0 done, 1 finished before, 1 failed", self.words("in", "--no-clobber", code=1))
            self.assertEqual(self.read("out/p0001.svg"), change)
            self.assertIn("1 done, 1 finished before", self.words("in"))
            self.assertEqual(self.tree(), right)
        self.write("out/p0001.svg", b"<!-- of an editor --><svg/>")
        self.assertIn("drawing that ztrace has not made; --overwrite replaces it", self.words("in", code=1))
        self.assertIn("1 done, 1 finished before", self.words("in", "--overwrite"))
        self.assertEqual(self.tree(), right)

    def test_a_run_replaces_what_it_wrote_beside_its_drawings(self):
        self.pictures(1)
        for words in "1 done", "1 finished before":
            self.assertIn(words, self.words("in", "--premis", "p.xml", "--csv", "t.csv", "--report", "r.html"))

    def test_what_is_no_image_is_tried_once(self):
        self.put("in/a.png", picture(1))
        self.put("in/bad.jpg", b"nonsense")
        self.batch("in", "--page", "all", code=1)
        self.assertIn("sha256", self.lines()["in/bad.jpg", 1])
        before = self.read(RESULTS)
        self.assertIn("1 of the failures is of an earlier run", self.words("in", "--page", "all", code=1))
        self.assertEqual(self.read(RESULTS), before)

    def test_damaged_lines_cost_their_pictures_alone(self):
        self.pictures(20)
        self.batch("in")
        right, drawings = self.read(RESULTS), self.tree()
        lines = right.splitlines(keepends=True)
        for damaged, lost in ((bytes(30) + right[30:], 1), (right[:9] + right[len(lines[0]) + 40:], 2),
                              (b"".join(lines[:5]) + b"{}\n[]\nnull\n" + b"".join(lines[6:]), 1), (right + bytes(4096), 0),
                              (b"".join(lines[:-1]) + lines[-1][:-20], 1), (bytes(9000), 20), (b"", 20),
                              (right.replace(b'"version":"', b'"version":"x'), 20)):
            self.write(RESULTS, damaged)
            text = self.words("in")
            self.assertIn("%d done%s" % (lost, ", %d finished before" % (20 - lost) if lost < 20 else ""), text)
            self.assertEqual("no result line" in text, b"[]" in damaged or (0 < lost < 3 and damaged.endswith(b"}\n")), text)
            self.assertEqual(self.tree(), drawings)

    @unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
    def test_a_disk_that_fails_under_the_lines(self):
        """The run ends, and the next one does neither again what is there nor forgets what is not."""
        self.pictures(40)
        for fault in ("SYNC", "1"), ("SYNC", "2"), ("TORN", "1"), ("TORN", "2"):
            subprocess.run(["rm", "-rf", self.path("out")], check=True)
            environment = {**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_SLOW": "1", "DISASTER_" + fault[0]: fault[1]}
            done = subprocess.run([PROGRAM, "batch", "in", "--out", "out", "-j", "1"], cwd=self.folder, env=environment,
                                  capture_output=True, check=False)
            self.assertEqual(done.returncode, 4, (fault, done.stderr))
            self.assertIn(b"out/ztrace-results.jsonl: Input/output error", done.stderr)
            there = len(self.lines())
            self.assertLess(there, 40)
            self.assertIn("%d done%s" % (40 - there, ", %d finished before" % there if there else ""), self.words("in"), fault)
            self.assertEqual({line["outcome"] for line in self.lines().values()}, {"done"})
            self.assertEqual((len(self.lines()), len(self.tree())), (40, 40))

    def test_lines_with_other_members(self):
        self.pictures(2)
        self.batch("in")
        lines = self.read(RESULTS).splitlines()
        line = json.loads(lines[0])
        for change in {"outputs": None}, {"outputs": 3}, {"outputs": [5]}, {"outcome": []}, {"sha256": {}}, {"settings": 1}, \
                {"time": 7, "outputs": []}, {"seconds": "x", "check": [1], "flags": {"a": 1}, "warnings": "w", "outputs": {}}:
            self.write(RESULTS, lines[1] + b"\n" + json.dumps({**line, **change}).encode() + b"\n")
            self.run_program("batch", "summary", "out", "--csv", "t.csv", "--premis", "p.xml", "--report", "r.html")
            self.assertIn("1 done, 1 finished before", self.words("in"), change)


class Folders(FaultTest):
    def test_result_lines_that_are_moved_away(self):
        """Not what becomes of the rest is told of a file that nobody finds."""
        self.pictures(1)
        os.mkfifo(self.path("pipe"))
        run = self.start("in/p0000.png", "pipe", "-j", "1")
        # Its other end is open when the first picture is past.
        with open(self.path("pipe"), "wb") as pipe:
            os.rename(self.path("out"), self.path("away"))
            pipe.write(picture(2))
        text = run.communicate(timeout=300)[1].decode()
        self.assertEqual(run.returncode, 4, text)
        self.assertIn("out/ztrace-results.jsonl: has been moved or removed during the run", text)

    def test_a_folder_that_is_closed_ends_the_run(self):
        self.pictures(50)
        self.batch("in/p0000.png")
        os.chmod(self.folder, 0o755)
        os.chmod(self.path(RESULTS), 0o666)
        os.chmod(self.path("out"), 0o555)
        user = {"user": NOBODY} if os.geteuid() == 0 else {}
        try:
            run = subprocess.Popen([PROGRAM, "batch", "in", "--out", "out"], cwd=self.folder, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, **user)
        except PermissionError:
            self.skipTest("the program is in a folder that others may not enter")
        text = run.communicate(timeout=300)[1].decode()
        os.chmod(self.path("out"), 0o755)
        self.assertEqual(run.returncode, 4, text)
        self.assertRegex(text, r"^ztrace: at most (49|50) left \(start again to go on\)\nztrace: out/.*: Permission denied\n$")
        self.assertEqual({line["outcome"] for line in self.lines().values()}, {"done"})
        self.assertIn("49 done, 1 finished before", self.words("in"))

    def test_what_cannot_be_looked_at_is_counted(self):
        self.pictures(1)
        os.symlink("nothing.png", self.path("in/gone.png"))
        text = self.words("in", code=1)
        self.assertIn("in/gone.png: No such file or directory", text)
        self.assertIn("1 done, 1 not accessible; ", text)

    def test_drawings_beside_their_pictures(self):
        """Neither the run's own nor those of single ones are pictures of the next run."""
        self.pictures(2)
        self.run_program("in/p0000.png", "-o", "in/other.png")
        self.run_program("in/p0000.png", "-o", "in/single.pdf")
        for text in "2 done; ", "2 finished before; ":
            told = self.run_program("batch", "in", "--out", "in", "--formats", "pdf,svg,dxf").stderr.decode()
            self.assertIn(text, told)
            self.assertRegex(told, r"in: drawings left out: \d \(--pattern takes them\)")
        names = sorted(os.listdir(self.path("in")))
        self.assertEqual(len([name for name in names if name.endswith((".pdf", ".svg"))]), 5)
        self.assertIn("2 done; ", self.words("in"))
        self.assertIn("other.png", self.words("in", "--pattern", "*.pdf", "--pattern", "o*.png", "--dry-run", code=0)
                      or self.batch("in", "--pattern", "o*.png", "--dry-run").stdout.decode())

    def test_a_preview_that_cannot_be_written(self):
        self.pictures(3)
        self.put("out/.ztrace-previews", b"in the way")
        text = self.words("in", "--report", "r.html")
        self.assertIn("3 done, 3 with warnings", text)
        self.assertIn("r.html: 3 of 3 drawings are not shown there", text)
        for line in self.lines().values():
            self.assertRegex(line["warnings"][0], r"it is not in reports, as its small picture could not be written \(.*File exists\)")
        os.remove(self.path("out/.ztrace-previews"))
        self.assertNotIn("not shown", self.words("in", "--report", "r.html"))
        preview, = [name for name in os.listdir(self.path("out/.ztrace-previews"))][:1]
        os.remove(self.path("out/.ztrace-previews/" + preview))
        os.mkdir(self.path("out/.ztrace-previews/" + preview))
        os.remove(self.path(RESULTS))
        self.assertIn("3 done, 1 with warnings", self.words("in", "--report", "r.html"))


    def test_previews_are_smaller_where_earlier_runs_have_many(self):
        self.pictures(1)
        for earlier, height in (0, 960), (200, 384), (1001, 144):
            lines = [b'{"path":"q%d","page":1,"outcome":"failed"}\n' % i for i in range(earlier)]
            self.put(RESULTS, b"".join(lines))
            self.batch("in", "--report", "r.html")
            preview, = os.listdir(self.path("out/.ztrace-previews"))
            data = self.read("out/.ztrace-previews/" + preview)
            frame = data.index(b"\xff\xc0")
            self.assertEqual(int.from_bytes(data[frame + 5:frame + 7], "big"), height)


class OneFile(FaultTest):
    def test_links_between_drawings(self):
        self.pictures(3)
        for target, code in ("p0002.svg", 2), ("../elsewhere.svg", 0):
            for there in False, True:
                os.makedirs(self.path("out"))
                os.symlink(target, self.path("out/p0001.svg"))
                if there:
                    self.write("out/" + target, b"")
                text = self.words("in", code=code)
                self.assertEqual("p0001.svg and p0002.svg are one file by a link" in text, code == 2, text)
                self.run_program("batch", "in", "--out", "right")
                if code == 0:
                    self.assertEqual(self.tree(), self.tree("right"))
                subprocess.run(["rm", "-r", self.path("out")], check=True)
        os.makedirs(self.path("out"))
        for name in "p0000", "p0002":
            os.symlink("../new.svg", self.path("out/%s.svg" % name))
        self.assertIn("p0000.svg and p0002.svg are one file by a link", self.words("in", code=2))

    @unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
    def test_names_that_differ_in_the_case_of_letters(self):
        for name in "A", "a", "B", "\u00c9t\u00e9", "e\u0301TE\u0301":
            self.put("in/%s.png" % name, picture(1))
        self.batch("in")
        self.assertEqual(len(self.tree()), 5)
        done = subprocess.run([PROGRAM, "batch", "in", "--out", "out"], cwd=self.folder, capture_output=True,
                              env={**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_CASE": "1"}, check=False)
        self.assertEqual(done.returncode, 2)
        text = done.stderr.decode()
        self.assertIn("A.svg and a.svg would be one file, as that folder does not tell upper and lower case letters apart", text)
        self.assertIn("\u00e9.svg", text.replace("E\u0301", "\u00e9"))
        self.assertEqual(text.count("would be one file"), 2)


class Scarcity(FaultTest):
    def test_fewer_workers_do_the_work(self):
        self.put("a.tif", tiff([lambda x, y: 5 < x < 20 < y] * 3))
        self.pictures(9)
        done = self.limited(resource.RLIMIT_NOFILE, 24, "in", "a.tif", "--page", "all", "-j", "40")
        text = done.stderr.decode()
        self.assertEqual(done.returncode, 0, text)
        self.assertEqual(text.count("fewer workers can be started than are asked for: Too many open files"), 1, text)
        self.assertIn("12 done", text)
        if not DISASTER:
            return  # sanitizers look at memory through pipes, which are files as well
        self.assertIn("no worker can be started", self.limited(resource.RLIMIT_NOFILE, 6, "in").stderr.decode())

    def test_many_files_a_picture_with_few_that_may_be_open(self):
        self.pictures(40)
        done = self.limited(resource.RLIMIT_NOFILE, 64, "in", "-j", "2", "--formats", "svg,dxf,pdf,png,json,geojson,topojson")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(self.tree()), 7 * 40)

    def test_what_is_repeated_has_an_end(self):
        self.pictures(1)
        long = "x" * 90000
        for name, text in ("a.csv", "path\n%s\n"), ("b.csv", "path,%s\n"), ("c.csv", "path,settings\na,%s\n"), \
                ("d.csv", "path,sha256\na,%s\n"), ("e.json", '{"path":"a","%s":1}\n'), ("f.csv", "path,settings\na,%s=1\n"), \
                ("g.json", '{"path":"a","settings":{"%s":1}}\n'), ("h.csv", "path,page\na,%s\n"):
            self.write(name, (text % long).encode())
            told = subprocess.run([PROGRAM, "batch", "--manifest", name, "--out", "out"], cwd=self.folder, capture_output=True, check=False)
            self.assertIn(told.returncode, (1, 2), name)
            self.assertLess(len(told.stderr), 13000 if name == "a.csv" else 500, name)
        self.write("list", long.encode())
        self.assertLess(len(self.words("--files-from", "list", code=1)), 13000)
        for names in "%s{nam}.{format}", "{%s}{name}.{format}", "{name}.%s", "../%s{name}.{format}":
            self.assertLess(len(self.words("in", "--names", names % long, code=2)), 500, names)


if __name__ == "__main__":
    unittest.main()
