# (c) the ztrace developers. Licence: see LICENSE.
"""One PDF of all pages of a file, as the single command makes it, however its pages come about."""
import json
import os
import random
import re
import signal
import subprocess
import time
import unittest

from batchsupport import BatchTest, workers_of
from support import PROGRAM, tiff

DISASTER = os.environ.get("ZTRACE_DISASTER")
PAGES = 12
KINDS = [lambda x, y, n=n: 10 < x < 20 + n and y > 20 for n in range(PAGES)]
RESULTS = "out/ztrace-results.jsonl"


class Books(BatchTest):
    def setUp(self):
        super().setUp()
        self.write("a.tif", tiff(KINDS))

    def book(self, *arguments, name="a.tif", pages="all"):
        self.run_program(name, "--page", pages, "-o", "single.pdf", "-q", "--overwrite", *arguments)
        return self.read("single.pdf")

    def traced(self, result):
        """Pictures that were traced, by what the run says at the end."""
        return int(result.stderr.decode().rpartition(" done")[0].rpartition(" ")[2])

    def test_the_book_is_that_of_the_single_command(self):
        for arguments in (), ("--layers",), ("-p", "poster", "--gradients"):
            self.setUp()
            result = self.batch("a.tif", "--page", "all", "--formats", "pdf,dxf", "-j", "3", *arguments)
            self.assertIn(b"12 done, 1 file of all its pages;", result.stderr)
            drawings = self.tree()
            self.assertEqual(sorted(drawings), sorted([b"a.pdf"] + [b"a-%02d.dxf" % (i + 1) for i in range(PAGES)]))
            self.assertEqual(drawings[b"a.pdf"], self.book(*arguments))
            self.assertFalse(os.path.exists(self.path("out/.ztrace-pages")))

    def test_lines_say_what_is_where(self):
        self.batch("a.tif", "--page", "2-4,7", "--formats", "pdf,svg")
        lines = self.lines()
        self.assertEqual(sorted(page for _, page in lines), [0, 2, 3, 4, 7])
        book = lines["a.tif", 0]
        self.assertEqual((book["outcome"], book["pages"], book["sha256"]), ("done", "2-4,7", lines["a.tif", 2]["sha256"]))
        self.assertEqual([output["file"] for output in book["outputs"]], ["a.pdf"])
        self.assertEqual([output["file"] for output in lines["a.tif", 7]["outputs"]], ["a-07.svg"])
        self.assertIn("agreement", lines["a.tif", 7]["check"])
        self.assertNotIn("missing", book)
        self.assertEqual(self.read("out/a.pdf"), self.book(pages="2-4,7"))
        said = json.loads(self.run_program("batch", "summary", "out", "--json", "--premis", "p.xml", "--report", "r.html").stdout)
        self.assertEqual((said["pictures"], said["books"], said["outcomes"]), (4, 1, {"done": 4}))
        self.assertIn(b"putting together pages 2-4,7", self.read("p.xml"))
        rows = json.loads(re.search(rb'id="rows">(.*?)</script>', self.read("r.html"), re.S).group(1))
        self.assertEqual(sorted(row["page"] for row in rows), [2, 3, 4, 7])

    def test_nothing_is_done_twice(self):
        words = "a.tif", "--page", "all", "--formats", "pdf,dxf"
        self.batch(*words)
        before, drawings = self.read(RESULTS), self.tree()
        self.assertIn(b"0 done, 12 finished before;", self.batch(*words).stderr)
        self.assertEqual(self.read(RESULTS), before)
        os.remove(self.path("out/a-03.dxf"))
        self.assertEqual(self.traced(self.batch(*words)), 1)
        self.assertEqual(self.tree(), drawings)
        os.remove(self.path("out/a.pdf")) # parts have gone
        self.assertEqual(self.traced(self.batch(*words)), PAGES)
        self.assertEqual(self.tree(), drawings)
        self.assertEqual(self.traced(self.batch(*words, "--colors", "2")), PAGES)

    def test_other_pages_are_another_book(self):
        self.batch("a.tif", "--page", "1-3", "--formats", "pdf")
        self.batch("a.tif", "--page", "1-5", "--formats", "pdf")
        self.assertEqual(self.read("out/a.pdf"), self.book(pages="1-5"))

    def changed_meanwhile(self, words, place):
        """Starts a run over a.tif, which becomes another file when the first pages of the book are traced."""
        pages = [KINDS * 15, KINDS[::-1] * 15]
        self.put(place + "a.tif", tiff(pages[0]))
        self.put("new/a.tif", tiff(pages[1]))
        run = subprocess.Popen([PROGRAM, "batch", *words, "--out", "out", "--page", "all", "--formats", "pdf,svg", "-j", "1",
                                "--no-check"], cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        while not (os.path.exists(self.path(RESULTS)) and self.read(RESULTS)):
            time.sleep(0.005)
        os.replace(self.path("new/a.tif"), self.path(place + "a.tif"))
        return run

    def test_a_file_that_changes_while_it_is_traced(self):
        """No PDF has pages of both, neither now nor later."""
        words = "in/a.tif", "--page", "all", "--formats", "pdf,svg", "--no-check"
        run = self.changed_meanwhile(["in/a.tif"], "in/")
        told = run.communicate(timeout=300)[1].decode()
        self.assertEqual(run.returncode, 1, told)
        self.assertIn("was changed while its pages were traced (start again", told)
        self.assertFalse(os.path.exists(self.path("out/a.pdf")))
        traced = self.traced(self.batch(*words))
        self.assertGreater(traced, 0)
        self.assertLess(traced, 180)
        self.assertEqual(self.read("out/a.pdf"), self.book(name="in/a.tif"))
        self.assertIn(b"0 done, 180 finished before; ", self.batch(*words).stderr)
        # A book that was put together before is none of a file that has changed since.
        self.write("in/a.tif", tiff(KINDS[:3] * 60))
        self.batch(*words)
        self.assertEqual(self.read("out/a.pdf"), self.book(name="in/a.tif"))

    def test_a_file_that_changes_while_its_folder_is_watched(self):
        os.mkdir(self.path("in"))
        run = self.changed_meanwhile(["--watch", "in"], "in/")
        right = self.book(name="in/a.tif")
        for _ in range(1200):
            if os.path.exists(self.path("out/a.pdf")) and self.read("out/a.pdf") == right:
                break
            time.sleep(0.05)
        run.send_signal(signal.SIGTERM)
        told = run.communicate(timeout=60)[1].decode()
        self.assertEqual(self.read("out/a.pdf"), right, told)

    def test_runs_that_are_killed(self):
        words = "a.tif", "b.tif", "--page", "all", "--formats", "pdf,svg", "-j", "2"
        self.write("b.tif", tiff(KINDS[::-1]))
        chance = random.Random(5)
        for turn in range(12):
            process = self.start(*words)
            time.sleep(chance.uniform(0.02, 0.4))
            if turn % 2:
                for worker in workers_of(process)[:1]:
                    os.kill(worker, signal.SIGKILL)
                time.sleep(0.1)
            process.kill()
            process.communicate()
        self.batch(*words)
        self.batch(*words, "--retry", "failed")
        right = {"a.pdf": self.book(), "b.pdf": self.book(name="b.tif")}
        self.assertEqual({name: self.read("out/" + name) for name in right}, right)
        self.assertEqual(sorted(name for name in self.tree() if b"svg" not in name), [b"a.pdf", b"b.pdf"])
        done = [(line["path"], line["page"]) for line in map(json.loads, self.read(RESULTS).splitlines())
                if line["outcome"] == "done"]
        self.assertEqual(len(done), len(set(done)))

    @unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
    def test_a_worker_is_lost_while_it_counts_pages(self):
        """A file of twelve pages never becomes one of one page."""
        words = "batch", "a.tif", "--out", "out", "--page", "all", "--formats", "pdf"
        environment = {**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_END": self.path("end")}
        self.write("end", b"")
        done = subprocess.run([PROGRAM, *words], cwd=self.folder, env=environment, capture_output=True, check=False)
        self.assertEqual((done.returncode, self.read("out/a.pdf")), (0, self.book()))
        self.assertFalse(os.path.exists(self.path("end")))
        os.remove(self.path("out/a.pdf"))
        self.write("end", b"")
        self.write("end2", b"")
        done = subprocess.run([PROGRAM, *words], cwd=self.folder, env=environment, capture_output=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"a.tif: its pages could not be counted before (start again to trace them)", done.stderr)
        self.assertFalse(os.path.exists(self.path("out/a.pdf")))
        self.assertIn(b"12 done, 1 file of all its pages;", self.run_program(*words).stderr)
        self.assertEqual(self.read("out/a.pdf"), self.book())

    def test_a_page_that_cannot_be_traced(self):
        """The book is made without it, and its parts are kept until it can be."""
        self.put("out/a-04.dxf/in-the-way", b"")
        words = "a.tif", "--page", "2-5", "--formats", "pdf,dxf"
        result = self.batch(*words, code=1)
        self.assertIn(b"3 done, 1 file of all its pages, 1 failed;", result.stderr)
        self.assertIn(b"its pages in one file, without 4", result.stdout)
        self.assertEqual(self.read("out/a.pdf"), self.book(pages="2-3,5"))
        book = self.lines()["a.tif", 0]
        self.assertEqual((book["pages"], book["missing"]), ("2-3,5", "4"))
        self.assertIn(b"0 done, 3 finished before, 1 failed;", self.batch(*words, code=1).stderr)
        os.remove(self.path("out/a-04.dxf/in-the-way"))
        os.rmdir(self.path("out/a-04.dxf"))
        self.assertIn(b"1 done, 3 finished before, 1 file of all its pages;", self.batch(*words, "--retry", "failed").stderr)
        self.assertEqual(self.read("out/a.pdf"), self.book(pages="2-5"))
        self.assertFalse(os.path.exists(self.path("out/.ztrace-pages")))

    def test_a_file_of_which_no_page_can_be_traced(self):
        self.write("n.tif", tiff([None, None]))
        text = self.batch("n.tif", "--page", "all", "--formats", "pdf", code=1).stderr.decode()
        self.assertIn("0 done, 2 failed;", text)
        self.assertNotIn("in one file", text)
        self.assertEqual(sorted(self.tree()), [])

    def test_names_that_tell_pages_apart_make_no_book(self):
        self.batch("a.tif", "--page", "2,3", "--formats", "pdf", "--names", "{name}_{page}.{format}")
        self.assertEqual(sorted(self.tree()), [b"a_02.pdf", b"a_03.pdf"])
        self.write("one.tif", tiff(KINDS[:1]))
        self.run_program("batch", "one.tif", "--out", "one", "--page", "all", "--formats", "pdf")
        self.assertEqual(sorted(self.tree("one")), [b"one.pdf"])

    def test_clashes_are_told_before(self):
        self.put("d/a.png", self.read("a.tif"))
        words = "--page", "all", "--names", "{name}.{format}", "--formats"
        text = self.batch("a.tif", "d/a.png", *words, "pdf", code=2).stderr.decode()
        self.assertIn("a.tif and d/a.png would both become a.pdf", text)
        plan = self.batch("a.tif", "--dry-run", *words, "pdf,svg").stdout.decode().splitlines()
        self.assertEqual(plan[-2:], ["a.tif, page 12 -> out/a-12.svg", "a.tif, pages 1-12 -> out/a.pdf"])
        self.write("m.csv", b"path,page\na.tif,1-2\na.tif,3-4\n")
        text = self.batch("--manifest", "m.csv", "--formats", "pdf", code=2).stderr.decode()
        self.assertIn("pages of a.tif are asked for several times", text)
        plan = self.batch("a.tif", "--page", "1-2,5", "--formats", "pdf,dxf", "--dry-run").stdout.decode().splitlines()
        self.assertEqual(plan[-1], "a.tif, pages 1-2,5 -> out/a.pdf")
        self.assertEqual(len(plan), 4)

    def test_books_of_files_that_come(self):
        os.mkdir(self.path("in"))
        run = subprocess.Popen([PROGRAM, "batch", "--watch", "in", "--out", "out", "--page", "all", "--formats", "pdf"],
                               cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.put("in/a.tif", self.read("a.tif"))
        for _ in range(1200):
            if os.path.exists(self.path("out/a.pdf")):
                break
            time.sleep(0.05)
        run.send_signal(signal.SIGTERM)
        text = run.communicate(timeout=60)[1].decode()
        self.assertEqual(run.returncode, 0, text)
        self.assertEqual(self.read("out/a.pdf"), self.book())


if __name__ == "__main__":
    unittest.main()
