# (c) the ztrace developers. Licence: see LICENSE.
"""Pages, sources that other programs read, folders that files come into, and runs beside each other."""
import glob
import os
import re
import select
import shutil
import signal
import subprocess
import threading
import time
import unittest

from batchsupport import BatchTest, picture
from support import PROGRAM, tiff

KINDS = [lambda x, y, n=n: 10 < x < 20 + n and y > 20 for n in range(12)]


def gif(frames):
    """An animation of 8 x 8 pixels in two colours; a frame is the number of dark columns."""
    data = b"GIF89a\x08\0\x08\0\x80\0\0" + b"\xff\xff\xff\0\0\0"
    for dark in frames:
        bits = "".join(format(code, "03b")[::-1] for y in range(8) for code in
                       [4] + [1 if x < dark else 0 for x in range(2)] + [4] + [1 if x < dark else 0 for x in range(2, 4)]
                       + [4] + [1 if x < dark else 0 for x in range(4, 6)] + [4] + [1 if x < dark else 0 for x in range(6, 8)])
        bits += format(5, "03b")[::-1]
        bits += "0" * (-len(bits) % 8)
        codes = bytes(int(bits[i:i + 8][::-1], 2) for i in range(0, len(bits), 8))
        data += b",\0\0\0\0\x08\0\x08\0\0\x02" + bytes([len(codes)]) + codes + b"\0"
    return data + b";"


class Pages(BatchTest):
    def test_pages_by_ranges(self):
        self.write("a.tif", tiff(KINDS))
        for pages, found in [("2-4,7", [2, 3, 4, 7]), ("11-", [11, 12]), ("3,3,2-3", [2, 3]), ("all", range(1, 13)),
                             ("4-2", [2, 3, 4])]:
            for folder in "out", "single":
                shutil.rmtree(self.path(folder), ignore_errors=True)
            self.batch("a.tif", "--page", pages)
            os.mkdir(self.path("single"))
            self.run_program("a.tif", "--page", pages, "-o", "single/a.svg", "-q")
            self.assertEqual(self.tree(), self.tree("single"))
            self.assertEqual(sorted(self.tree()), [b"a-%02d.svg" % page for page in found])

    def test_pages_that_are_not_there(self):
        self.write("a.tif", tiff(KINDS[:3]))
        told = self.run_program("a.tif", "--page", "2-9", "-o", "a.svg").stderr
        self.assertEqual(told, b"ztrace: a.tif: there is no page 9 (the file has 3)\n")
        self.assertEqual(sorted(n for n in os.listdir(self.folder) if n.endswith("svg")), ["a-2.svg", "a-3.svg"])
        self.assertIn("there is no page 7", self.run_program("a.tif", "--page", "7-9", code=3).stderr.decode())
        self.assertIn("there is no page 7", self.batch("a.tif", "--page", "7,8", code=1).stderr.decode())
        self.assertIn("a.tif: there is no page 9 (the file has 3)\n", self.batch("a.tif", "--page", "2-9").stderr.decode())
        self.assertNotIn("there is no", self.batch("a.tif", "--page", "3-").stderr.decode())
        self.assertIn("page 9: a.tif: there is no page 9",
                      self.run_program("a.tif", "--page", "2,9", "-o", "b.svg", code=1).stderr.decode())
        self.assertEqual(sorted(n for n in os.listdir(self.folder) if n.startswith("b")), ["b-2.svg"])
        self.write("one.png", picture(3))
        for pages in "2-4", "2,3":
            self.assertIn("there is no page 2",
                          self.run_program("one.png", "--page", pages, "-o", "c.svg", code=3).stderr.decode())
        self.assertFalse(os.path.exists(self.path("c.svg")))
        for wrong in "0", "x", "2-", "1,,2", "-3", "1-x", "":
            if wrong != "2-":
                self.assertIn("--page", self.run_program("a.tif", "--page=" + wrong, code=2).stderr.decode())

    def test_pages_of_a_file_that_is_cut(self):
        """Its directory of pages tells of more than can be read."""
        whole = tiff(KINDS[:3])
        for size in range(len(whole) - 1, 0, -1):
            self.write("a.tif", whole[:size])
            told = subprocess.run([PROGRAM, "a.tif", "--page", "3", "-o", "a.svg", "--overwrite"], cwd=self.folder,
                                  capture_output=True, check=False)
            if told.returncode != 0:
                break
        self.assertEqual(told.returncode, 3)
        self.assertEqual(told.stderr, b"ztrace: a.tif: page 3 cannot be read, as only 2 of 3 pages can be\n")
        self.assertIn(b"a.tif, page 3: page 3 cannot be read, as only 2 of 3 pages can be",
                      self.batch("a.tif", "--page", "all", code=1).stderr)

    def test_frames_of_an_animation(self):
        self.write("a.gif", gif([2, 4, 6]))
        self.batch("a.gif", "--page", "all", "-p", "logo")
        drawings = self.tree()
        self.assertEqual(sorted(drawings), [b"a-1.svg", b"a-2.svg", b"a-3.svg"])
        self.assertEqual(len(set(drawings.values())), 3)


class Foreign(BatchTest):
    @unittest.skipUnless(shutil.which("pdftoppm") and shutil.which("qpdf"), "poppler-utils or qpdf is not installed")
    def test_pages_of_pdf(self):
        for i in range(2):
            self.write("a.png", picture(i, 60))
            self.run_program("a.png", "-o", "p%d.pdf" % i)
        subprocess.run(["qpdf", "--empty", "--pages", "p0.pdf", "p1.pdf", "--", "both.pdf"], cwd=self.folder, check=True)
        self.batch("both.pdf", "--page", "all")
        self.assertEqual(sorted(self.tree()), [b"both-1.svg", b"both-2.svg"])
        line = self.lines()["both.pdf", 2]
        self.assertEqual((line["dpi"], line["outcome"]), (300, "done"))
        self.assertAlmostEqual(line["width"], 60 * 300 / 96, delta=2)
        self.assertIn("there is no page 3", self.run_program("both.pdf", "--page", "3", code=3).stderr.decode())
        self.write("bad.pdf", b"%PDF-1.4\nnonsense")
        self.assertIn("cannot be read by pdf", self.run_program("bad.pdf", code=3).stderr.decode())

    @unittest.skipUnless(shutil.which("pdftoppm"), "poppler-utils is not installed")
    def test_a_pdf_cut_anywhere(self):
        """Refused, or told, or nothing is lost."""
        self.write("a.png", picture(5, 60))
        self.run_program("a.png", "-o", "a.pdf")
        self.assert_cut_is_told("a.pdf", 40)

    @unittest.skipUnless(shutil.which("heif-convert") and shutil.which("heif-enc"), "libheif-examples is not installed")
    def test_a_heic_cut_anywhere(self):
        self.write("a.png", picture(5, 64))
        made = subprocess.run(["heif-enc", "a.png", "-o", "a.heic"], cwd=self.folder, check=False, capture_output=True)
        if made.returncode != 0 or not os.path.exists(self.path("a.heic")):
            self.skipTest("heif-enc has no encoder here")
        self.assert_cut_is_told("a.heic", 40)

    def assert_cut_is_told(self, name, places):
        whole = self.read(name)
        self.run_program(name, "-o", "whole.svg")
        drawing = self.read("whole.svg")
        told = 0
        for size in sorted({*range(0, len(whole), 1 + len(whole) // places), *range(len(whole) - 40, len(whole), 5)}):
            self.write("cut", whole[:size])
            result = subprocess.run([PROGRAM, "cut", "-o", "cut.svg", "--overwrite"], cwd=self.folder, capture_output=True)
            told += result.stderr != b""
            if result.returncode == 0 and not result.stderr:
                self.assertEqual(self.read("cut.svg"), drawing, size)
            else:
                self.assertIn(result.returncode, (0, 3), (size, result))
        self.assertGreater(told, places // 2)

    def test_the_missing_package_is_named(self):
        self.write("a.pdf", b"%PDF-1.4\n")
        self.write("a.heic", b"\0\0\0\x18ftypheic\0\0\0\0mif1heic")
        for name, package in ("a.pdf", "poppler-utils"), ("a.heic", "libheif-examples"):
            text = self.run_program(name, code=3, environment={"PATH": self.folder}).stderr.decode()
            self.assertIn("Debian package " + package, text)
        listed = self.run_program("formats", environment={"PATH": self.folder}).stdout.decode()
        self.assertRegex(listed, r"(?m)^read   .*\bpng\b")
        self.assertRegex(listed, r"(?m)^write  svg dxf pdf png json geojson topojson$")
        self.assertIn("poppler-utils would add pages of pdf", listed)
        self.assertNotRegex(listed.splitlines()[0], r"\bpdf\b")
        self.assert_refused("formats", "x", code=2, words="formats takes nothing more")


class Folders(BatchTest):
    def test_drawings_beside_pictures_are_no_pictures(self):
        self.pictures(2)
        self.run_program("in/p0000.png")
        self.assertTrue(os.path.exists(self.path("in/p0000.svg")))
        told = self.batch("in").stderr.decode()
        self.assertIn("drawings left out: 1", told)
        self.assertIn("2 done", told)
        self.batch("in", "--pattern", "*.svg")


class Watching(BatchTest):
    def test_files_that_are_written_slowly(self):
        os.mkdir(self.path("in"))
        os.mkdir(self.path("in/deep"))
        self.put("in/first.png", picture(1))
        run = subprocess.Popen([PROGRAM, "batch", "--watch", "in", "--out", "in/out"], cwd=self.folder,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)

        def write(i):
            data = picture(i)
            with open(self.path("in/w%d.png" % i), "wb") as file:
                for part in range(5):
                    file.write(data[part * len(data) // 5:(part + 1) * len(data) // 5])
                    file.flush()
                    time.sleep(0.3)
        writers = [threading.Thread(target=write, args=(i,)) for i in range(6)]
        for writer in writers:
            writer.start()
        for writer in writers:
            writer.join()
        os.rename(self.put("moved", picture(8)), self.path("in/moved.png"))
        for _ in range(1200):
            if len(self.tree("in/out")) == 8:
                break
            time.sleep(0.05)
        run.send_signal(signal.SIGTERM)
        text = run.communicate(timeout=60)[1].decode()
        self.assertEqual(run.returncode, 0, text)
        self.assertIn("8 done;", text)
        lines = self.lines("in/out/ztrace-results.jsonl") # each once
        self.assertEqual({line["outcome"] for line in lines.values()}, {"done"})
        self.assertEqual(len(lines), 8)
        self.assertIn("none: No such file", self.run_program("batch", "--watch", "none", "--out", "out", code=3).stderr.decode())


    def end(self, run, code):
        run.send_signal(signal.SIGTERM)
        text = run.communicate(timeout=60)[1].decode()
        self.assertEqual(run.returncode, code, text)
        return text

    def test_what_it_writes_is_never_a_picture(self):
        """Whatever the names of pictures and drawings are, in this run and in the next one."""
        words = "--pattern", "*", "--formats", "png,svg", "--names", "{name}-t.{format}", "--csv", "in/t.csv", "--overwrite"
        self.pictures(2)
        for _ in range(2):
            run = subprocess.Popen([PROGRAM, "batch", "--watch", "in", "--out", "in", *words], cwd=self.folder,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            self.wait_for("p0000-t.svg", "in")
            self.wait_for("p0001-t.svg", "in")
            time.sleep(2.5)  # drawings lie still for a second before they would be taken
            self.end(run, 0)
        self.assertEqual(len(self.lines("in/ztrace-results.jsonl")), 2)
        result = self.run_program("batch", "in", "--out", "in", *words)
        self.assertIn(b"drawings of runs into in, left out: 4", result.stderr)
        self.assertIn(b"0 done, 2 finished before; ", result.stderr)
        # The drawings of another folder are pictures like others.
        result = self.run_program("batch", "in", "--out", "out", "--pattern", "*-t.png")
        self.assertIn(b"2 done; ", result.stderr)

    def test_result_lines_are_not_counted_among_other_files(self):
        self.pictures(1)
        self.put("in/notes.txt", b"")
        for _ in range(2):
            result = self.run_program("batch", "in", "--out", "in", "--csv", "in/t.csv", "--overwrite")
            self.assertIn(b"not called as images are, left out: 1 ", result.stderr)

    def test_what_cannot_be_looked_at_is_counted(self):
        self.pictures(1)
        os.symlink("nowhere", self.path("in/link.png"))
        run = self.start("--watch", "in")
        self.wait_for("p0000.svg")
        self.assertIn("1 not accessible", self.end(run, 1))
        run = self.start("--watch", "in", "in")
        self.wait_for("p0000.svg")
        time.sleep(1.5)
        os.remove(self.path("in/link.png"))  # is mended
        self.put("in/more.png", picture(7))
        self.wait_for("more.svg")
        self.assertIn("1 not accessible", self.end(run, 1))  # at the beginning
        self.assertNotIn("accessible", self.batch("in").stderr.decode())

    def test_a_folder_to_watch_is_looked_for_before_anything_is_traced(self):
        self.pictures(1)
        told = self.run_program("batch", "in", "--watch", "none", "--out", "out", code=3)
        self.assertEqual((told.stdout, told.stderr), (b"", b"ztrace: none: No such file or directory\n"))
        self.assertFalse(os.path.exists(self.path("out")))

    def test_an_empty_file_is_told(self):
        self.put("in/a.png", picture(1))
        self.put("in/empty.png", b"")
        run = self.start("--watch", "in")
        self.wait_for("a.svg")
        run.send_signal(signal.SIGTERM)
        self.assertIn("in/empty.png: is empty", run.communicate(timeout=60)[1].decode())
        self.assertEqual(run.returncode, 1)

    def test_a_folder_that_is_made_anew_is_listened_to(self):
        self.put("in/a.png", picture(1))
        run = self.start("--watch", "in")
        try:
            self.wait_for("a.svg")
            shutil.rmtree(self.path("in"))
            self.assertIn(b"in: has gone", run.stderr.readline())
            self.put("in/b.png", picture(2))
            self.wait_for("b.svg")
            news = [name for name in glob.glob("/proc/%d/fd/*" % run.pid) if "inotify" in os.readlink(name)]
            self.assertIn(b"inotify wd", self.read(news[0].replace("/fd/", "/fdinfo/")))
        finally:
            run.terminate()
            run.communicate(timeout=60)

    def test_a_folder_that_goes_each_time_and_its_own_folder_too(self):
        """Each time is told; neither way another folder of the name is overlooked."""
        self.put("top/in/a.png", picture(1))
        run = self.start("--watch", "top/in")
        try:
            self.wait_for("a.svg")
            for name in "b", "c":
                shutil.rmtree(self.path("top/in"))
                self.assertIn(b"in: has gone", run.stderr.readline())
                self.put("top/in/%s.png" % name, picture(2))
                self.wait_for(name + ".svg")
            os.rename(self.path("top"), self.path("away"))
            self.put("top/in/d.png", picture(3))
            self.wait_for("d.svg")
            inode = b"ino:%x " % os.stat(self.path("top/in")).st_ino
            self.assertTrue(any(inode in line for line in self.listened(run)))
        finally:
            run.terminate()
            run.communicate(timeout=60)

    def listened(self, run):
        """What the kernel says of folders that the run hears of."""
        news = [name for name in glob.glob("/proc/%d/fd/*" % run.pid) if "inotify" in os.readlink(name)]
        return self.read(news[0].replace("/fd/", "/fdinfo/")).splitlines()

    def wait_for(self, drawing, folder="out"):
        for _ in range(1200):
            if os.path.exists(self.path(folder + "/" + drawing)):
                return
            time.sleep(0.05)
        self.fail(drawing + " does not come")


class Together(BatchTest):
    def test_runs_share_the_parts_and_take_over_those_of_the_dead(self):
        self.pictures(40)
        words = [PROGRAM, "batch", "in", "--out", "out", "--leases", "7", "-j", "1"]
        runs = [subprocess.Popen(words, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) for _ in range(3)]
        for run in runs:
            run.communicate(timeout=300)
            self.assertEqual(run.returncode, 0)
        done = [name for name in os.listdir(self.path("out")) if name.startswith("ztrace-results")]
        paths = [path for name in done for path, _ in self.lines("out/" + name)]
        self.assertEqual(sorted(paths), ["in/p%04d.png" % i for i in range(40)])
        # One that has died: its part waits for two minutes, by the clock of the file system.
        folder = self.lease_folder()
        self.assertEqual(sorted(os.listdir(folder)), sorted("done-%d" % i for i in range(1, 8)))
        os.rename(folder + "/done-3", folder + "/busy-3.elsewhere.1")
        os.utime(folder + "/busy-3.elsewhere.1", (time.time() - 1000,) * 2)
        self.put("in/new.png", picture(1000))
        os.remove(self.path("out/p0001.svg"))
        result = self.run_program("batch", "in", "--out", "out", "--leases", "7")
        self.assertIn("done-3", os.listdir(folder))
        self.assertIn("2 done, 39 finished before; ", result.stderr.decode())
        self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), 41)

    def lease_folder(self):
        return self.path("out/" + next(n for n in os.listdir(self.path("out")) if n.startswith(".ztrace-leases-")))

    def test_parts_of_a_killed_run_are_looked_at_again(self):
        self.pictures(4)
        words = "batch", "in", "--out", "out", "--leases", "4"
        self.run_program(*words)
        for name in "done-3", "done-4":  # as a run leaves it that is killed
            os.rename(self.lease_folder() + "/" + name, self.lease_folder() + "/todo-" + name[-1])
        self.pictures(60)
        self.assertIn("56 done, 4 finished before; ", self.run_program(*words).stderr.decode())
        self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), 60)
        # Other words share no parts.
        self.run_program(*words, "-p", "photo")
        self.assertEqual(len([n for n in os.listdir(self.path("out")) if n.startswith(".ztrace-leases-")]), 2)

    def test_pictures_that_runs_beside_have_not_found_are_traced(self):
        self.pictures(3)
        words = "batch", "in", "--out", "out", "--leases", "2"
        self.run_program(*words)
        folder = self.lease_folder()
        self.pictures(30)
        os.rename(folder + "/done-1", folder + "/busy-1.elsewhere.1") # it is at work, with three pictures
        os.utime(folder + "/busy-1.elsewhere.1")
        run = self.start("in", "--leases", "2")
        told = run.stderr.readline()
        self.assertIn(b"waits for other runs (busy-1.elsewhere.1)", told)
        os.rename(folder + "/busy-1.elsewhere.1", folder + "/done-1")
        told = run.communicate(timeout=300)[1].decode()
        self.assertEqual(run.returncode, 0, told)
        self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), 30)

    def test_a_part_that_was_taken_over_is_left(self):
        self.pictures(40)
        os.remove(self.path("in/p0000.png"))
        os.mkfifo(self.path("in/p0000.png"))
        names = ["in/p%04d.png" % i for i in range(40)]
        self.write("list", "\n".join(names).encode())
        run = self.start("--files-from", "list", "--leases", "2", "-j", "1")
        try:
            with open(self.path("in/p0000.png"), "wb") as pipe:  # is open when a worker reads it
                busy = glob.glob(self.path("out/.ztrace-leases-*/busy-*"))
                self.assertEqual(len(busy), 1)
                others = re.sub("(busy-[0-9]+).*", r"\1.elsewhere.1", busy[0])
                os.rename(busy[0], others)
                self.assertTrue(select.select([run.stderr], [], [], 60)[0], "it goes on")
                self.assertIn(b"was taken over by another run", run.stderr.readline())
                pipe.write(picture(0))
            told = run.stderr.readline()
            self.assertIn(b"waits for other runs (%s)" % os.path.basename(others).encode(), told)
            self.assertLess(len([n for n in self.tree() if n.endswith(b".svg")]), 40)
            os.rename(self.put("again.png", picture(0)), self.path("in/p0000.png"))
            os.rename(others, others.replace("busy-", "done-").replace(".elsewhere.1", ""))
            told = run.communicate(timeout=60)[1].decode()
            self.assertEqual(run.returncode, 0, told)
            self.assertEqual(len([n for n in self.tree() if n.endswith(b".svg")]), 40)
        finally:
            run.kill()
            run.communicate()

    def test_a_run_with_nothing_to_do_leaves_no_file(self):
        self.pictures(3)
        for _ in range(2):
            self.batch("in", "--leases", "2")
        self.assertEqual(len([n for n in os.listdir(self.path("out")) if n.startswith("ztrace-results")]), 1)

    def test_words_that_divide_twice(self):
        self.pictures(1)
        for more in ["--chunk", "1/2"], ["--watch", "in"]:
            self.assertIn("--leases", self.batch("in", "--leases", "4", *more, code=2).stderr.decode())
        self.assertFalse(os.path.exists(self.path("out")))


if __name__ == "__main__":
    unittest.main()
