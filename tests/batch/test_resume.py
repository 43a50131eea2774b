# (c) the ztrace developers. Licence: see LICENSE.
"""What is finished is not done again, and what is not finished leaves nothing behind."""
import csv
import json
import os
import random
import shutil
import signal
import subprocess
import time
import unittest

from batchsupport import BatchTest, picture, untimed, workers_of
from support import PROGRAM


class Resume(BatchTest):
    def test_nothing_is_done_twice(self):
        self.pictures(5)
        self.put("in/bad.png", b"nonsense")
        self.batch("in", code=1)
        results = self.read("out/ztrace-results.jsonl")
        times = {name: os.stat(self.path("out/" + name)).st_mtime_ns for name in os.listdir(self.path("out"))}
        text = self.batch("in", code=1).stderr.decode()
        self.assertIn("0 done, 5 finished before, 1 failed", text)
        self.assertEqual(self.read("out/ztrace-results.jsonl"), results)
        self.assertEqual({name: os.stat(self.path("out/" + name)).st_mtime_ns for name in times}, times)

    def test_what_has_changed_is_done_again(self):
        self.pictures(5)
        self.put("in/bad.png", b"nonsense")
        self.batch("in", code=1)
        self.put("in/p0000.png", picture(77))
        os.remove(self.path("out/p0001.svg"))
        self.write("out/p0002.svg", self.read("out/p0002.svg") + b"<!-- changed -->")
        self.assertIn("3 done, 2 finished before, 1 failed", self.batch("in", code=1).stderr.decode())
        self.assertIn("5 finished before", self.batch("in", "-j", "1", "--no-check", code=1).stderr.decode())
        self.assertIn("5 done, 1 failed", self.batch("in", "-p", "photo", code=1).stderr.decode())
        self.assertIn("5 done, 1 failed", self.batch("in", "--formats", "svg,dxf", "-p", "photo",
                                                     code=1).stderr.decode())
        self.put("in/bad.png", picture(78))
        self.assertIn("6 done; ", self.batch("in").stderr.decode())

    def test_a_world_file_is_part_of_the_picture(self):
        self.pictures(2)
        geojson = "in", "--formats", "geojson,svg", "-p", "logo"
        self.batch(*geojson)
        before = self.tree()
        self.put("in/p0000.pgw", b"2 0 0 -2 1001 4999\n")
        self.assertIn("1 done, 1 finished before", self.batch(*geojson).stderr.decode())
        self.assertEqual([name for name, data in self.tree().items() if data != before[name]], [b"p0000.geojson"])
        self.put("in/p0000.pgw", b"2 0 0 -2 1001\n")
        self.assertIn("world file", self.batch(*geojson, code=1).stderr.decode())
        self.run_program("batch", "in", "--out", "svg", "-p", "logo")  # which asks for no place
        self.put("in/p0000.pgw", b"4 0 0 -4 1001 4999\n")
        self.assertIn("1 done, 1 finished before", self.batch(*geojson).stderr.decode())
        self.assertIn("2 finished", self.batch(*geojson).stderr.decode())
        os.remove(self.path("in/p0000.pgw"))
        self.assertIn("1 done, 1 finished before", self.batch(*geojson).stderr.decode())
        self.assertEqual(self.tree(), before)

    def test_settings_in_files_count(self):
        self.pictures(1)
        self.write("my.toml", b"colors = 3\n")
        self.batch("in", "--config", "my.toml")
        self.assertIn("1 finished", self.batch("in", "--config", "my.toml").stderr.decode())
        self.write("my.toml", b"colors = 4\n")
        self.assertIn("1 done", self.batch("in", "--config", "my.toml").stderr.decode())

    def test_files_that_a_manifest_names_count(self):
        self.pictures(2)
        self.write("m.csv", b"path,settings\nin/p0000.png,palette=p.txt\nin/p0001.png,preset=my.toml\n")
        self.write("p.txt", b"black,white\n")
        self.write("my.toml", b"colors = 3\n")
        self.batch("--manifest", "m.csv")
        self.assertIn("2 finished", self.batch("--manifest", "m.csv").stderr.decode())
        self.write("p.txt", b"red,white\n")
        self.assertIn("1 done, 1 finished", self.batch("--manifest", "m.csv").stderr.decode())
        self.assertIn(b"#f00", self.read("out/in/p0000.svg"))
        self.write("my.toml", b"colors = 4\n")
        self.assertIn("1 done, 1 finished", self.batch("--manifest", "m.csv").stderr.decode())
        self.assertIn("2 finished", self.batch("--manifest", "m.csv").stderr.decode())

    def test_what_a_limit_has_refused_is_tried_with_another_one(self):
        self.pictures(2)
        self.put("in/big.png", picture(3, 200))
        self.batch("in", "--max-pixels", "0.01", code=1)
        self.assertEqual(self.lines()["in/big.png", 1]["limits"], {"max-pixels": 0.01, "max-memory": 8192})
        again = self.batch("in", "--max-pixels", "0.01", code=1).stderr.decode()
        self.assertIn("0 done, 2 finished before, 1 failed", again)
        self.assertIn("1 done, 2 finished before; ", self.batch("in", "--max-pixels", "1").stderr.decode())
        for other in "0.01", "0.001", "1":  # which only refuse what is not there
            self.assertIn("0 done, 3 finished before; ", self.batch("in", "--max-pixels", other).stderr.decode())
        self.put("in/large.png", picture(4) + bytes(2000000))
        self.assertIn("--max-memory", self.batch("in", "--max-memory", "1", code=1).stderr.decode())
        self.assertIn("1 done, 3 finished before; ", self.batch("in").stderr.decode())

    @unittest.skipUnless(shutil.which("pdftoppm"), "poppler-utils is not installed")
    def test_what_a_limit_has_made_smaller_is_traced_with_another_one(self):
        self.write("a.png", picture(5, 60))
        self.run_program("a.png", "-o", "a.pdf")
        limited = "a.pdf", "--max-pixels", "0.01"
        self.assertIn("instead of", self.batch(*limited).stdout.decode())
        small = self.tree()
        self.assertIn("0 done, 1 finished before; ", self.batch(*limited).stderr.decode())
        self.assertIn("1 done; ", self.batch("a.pdf").stderr.decode())
        self.assertNotEqual(self.tree(), small)
        self.assertNotIn("limits", json.loads(self.read("out/ztrace-results.jsonl").splitlines()[-1]))
        self.assertIn("0 done, 1 finished before; ", self.batch("a.pdf", "--max-pixels", "2").stderr.decode())

    def test_one_picture_by_several_names(self):
        self.pictures(2)
        self.batch("in")
        for name in "./in", "in/", ".//in/.", self.path("in"), os.path.join(os.path.realpath(self.folder), "in"):
            self.assertIn("0 done, 2 finished before; ", self.batch(name).stderr.decode(), name)
        self.put("in/p0000.png", picture(7))
        self.assertIn("1 done, 1 finished before; ", self.batch(self.path("in")).stderr.decode())
        self.assertIn("0 done, 2 finished before; ", self.batch("in").stderr.decode())
        said = json.loads(self.run_program("batch", "summary", "out", "--json").stdout)
        self.assertEqual(said["pictures"], 2)
        self.assertIn("in/p0000.png: is given twice", self.batch("in", "./in", code=2).stderr.decode())
        self.write("list", b"./in/p0000.png\nin//p0001.png\n")
        self.assertEqual(self.batch("--files-from", "list", "--dry-run").stdout,
                         b"in/p0000.png -> out/in/p0000.svg\nin/p0001.png -> out/in/p0001.svg\n")

    def test_formats_in_turn_are_made_once(self):
        self.pictures(2)
        for _ in range(2):
            for formats in "svg", "dxf", "svg,pdf":
                result = self.batch("in", "--formats", formats).stderr.decode()
        self.assertIn("0 done, 2 finished before; ", result)
        before = self.read("out/ztrace-results.jsonl")
        for formats in "svg", "dxf", "pdf,svg":
            self.assertIn("0 done, 2 finished before; ", self.batch("in", "--formats", formats).stderr.decode())
        self.assertEqual((self.read("out/ztrace-results.jsonl"), before.count(b"\n")), (before, 6))
        self.write("out/p0000.dxf", b"")
        self.assertIn("1 done, 1 finished before; ", self.batch("in", "--formats", "dxf", "--overwrite").stderr.decode())

    def test_a_damaged_outcome_costs_a_trace(self):
        self.pictures(2)
        self.batch("in")
        text = self.read("out/ztrace-results.jsonl")
        self.write("out/ztrace-results.jsonl", text.replace(b'"outcome":"done"', b'"outcome":"dome"', 1))
        self.assertIn("1 done, 1 finished before; ", self.batch("in").stderr.decode())

    def test_failures_again_on_request(self):
        self.pictures(1)
        self.put("in/a.png", b"nonsense")
        self.batch("in", code=1)
        for quiet in [], ["-q"]:  # a code of failure comes with a reason
            told = self.batch("in", *quiet, code=1).stderr.decode()
            self.assertIn("--retry failed", told)
            self.assertIn("  in/a.png: ", told)
        os.remove(self.path("in/a.png"))
        self.assertIn("1 finished before, 1 failed",
                      self.batch("in/p0000.png", "in/a.png", "--retry", "failed", code=1).stderr.decode())

    def test_the_first_failures_of_earlier_runs_are_named(self):
        for i in range(23):
            self.put("in/b%02d.png" % i, b"nonsense")
        self.batch("in", code=1)
        told = self.batch("in", code=1).stderr.decode()
        self.assertEqual(told.count("  in/b"), 20)
        self.assertIn("and 3 more (--csv", told)

    def test_a_torn_last_line(self):
        self.pictures(3)
        self.batch("in", "-j", "1")
        text = self.read("out/ztrace-results.jsonl")
        self.write("out/ztrace-results.jsonl", text[:-40])
        self.assertIn("1 done, 2 finished", self.batch("in").stderr.decode())
        again = [untimed(json.loads(line)) for line in self.read("out/ztrace-results.jsonl").splitlines()]
        self.assertEqual(again, [untimed(json.loads(line)) for line in text.splitlines()])

    def rewrite(self, name, **members):
        """Gives the lines of a result file other members."""
        lines = [{**json.loads(text), **members} for text in self.read(name).splitlines()]
        self.write(name, "".join(json.dumps(line) + "\n" for line in lines).encode())

    def settings_in(self, table):
        return {row["path"]: row["settings"] for row in csv.DictReader(self.read(table).decode().splitlines())}

    def test_the_name_of_a_result_file_means_nothing(self):
        self.pictures(5)
        self.batch("in")
        before = self.lines()["in/p0000.png", 1]["settings"]
        os.rename(self.path("out/ztrace-results.jsonl"), self.path("out/ztrace-results.zz.jsonl"))
        for clock in "2001-01-01T00:00:00.000Z", "2099-01-01T00:00:00.000Z":  # of what is out of date
            self.rewrite("out/ztrace-results.zz.jsonl", time=clock)
            for colors in "3", "4":
                words = ["in", "--colors", colors, "--csv", "now.csv"]
                self.batch(*words, "--leases", "2")
                for more in ["--leases", "2"], ["--chunk", "1/2"], []:
                    result = self.batch(*words, *more)
                    self.assertIn("0 done", result.stderr.decode())
                    self.assertNotIn(before, self.settings_in("now.csv").values())
        # Without settings of now the clock is asked.
        self.run_program("batch", "summary", "out", "--csv", "now.csv")
        self.assertEqual(set(self.settings_in("now.csv").values()), {before})
        self.rewrite("out/ztrace-results.zz.jsonl", time="2001-01-01T00:00:00.000Z")
        self.run_program("batch", "summary", "out", "--csv", "now.csv")
        self.assertNotIn(before, self.settings_in("now.csv").values())

    def test_of_lines_of_several_files_one_that_matches_the_picture_counts(self):
        self.pictures(1)
        self.batch("in")
        os.rename(self.path("out/ztrace-results.jsonl"), self.path("out/ztrace-results.zz.jsonl"))
        self.rewrite("out/ztrace-results.zz.jsonl", time="2099-01-01T00:00:00.000Z")
        self.put("in/p0000.png", picture(77))
        self.assertIn("1 done", self.batch("in", "--leases", "2").stderr.decode())
        self.assertIn("0 done, 1 finished before", self.batch("in", "--leases", "2").stderr.decode())
        # A failure under the same conditions does not hide the drawing, whichever came last.
        own = next(name for name in os.listdir(self.path("out")) if name.startswith("ztrace-results-") and self.read("out/" + name))
        failure = {**self.lines("out/" + own)["in/p0000.png", 1], "outcome": "died", "error": "x", "outputs": []}
        self.write("out/ztrace-results.zzz.jsonl", json.dumps({**failure, "time": "2099-02-01T00:00:00.000Z"}).encode()
                   + b"\n")
        self.assertIn("0 done, 1 finished before", self.batch("in").stderr.decode())

    def test_two_runs_do_not_share_results(self):
        os.makedirs(self.path("in"))
        os.mkfifo(self.path("in/a.pipe"))
        run = self.start("in/a.pipe")
        try:
            for _ in range(600):
                if workers_of(run):
                    break
                time.sleep(0.05)
            self.pictures(1)
            self.assertIn("another run is writing there", self.batch("in", code=4).stderr.decode())
        finally:
            run.kill()
            run.communicate()

    def test_the_first_signal_finishes_what_is_begun(self):
        self.pictures(60)
        run = self.start("in", "-j", "2")
        for _ in range(2000):
            if os.path.exists(self.path("out/ztrace-results.jsonl")) and self.read("out/ztrace-results.jsonl"):
                break
            time.sleep(0.002)
        run.send_signal(signal.SIGTERM)
        text = run.communicate(timeout=120)[1].decode()
        self.assertEqual(run.returncode, -signal.SIGTERM, text)
        self.assertEqual(len(self.lines()), len(self.tree()))
        self.batch("in")
        self.assertEqual(len(self.lines()), 60)


class Killed(BatchTest):
    def test_killing_everything_gives_the_same_folder(self):
        count = 150
        self.pictures(count)
        self.run_program("batch", "in", "--out", "right", "--formats", "svg,dxf")
        chance = random.Random(5)
        for _ in range(8):
            run = self.start("in", "--formats", "svg,dxf", "-j", "2", start_new_session=True)
            time.sleep(chance.uniform(0.05, 0.4))
            if chance.random() < 0.5:
                os.killpg(run.pid, signal.SIGKILL)
            else:
                run.kill() # its workers go with it
            run.communicate()
        for _ in range(3): # workers alone
            run = self.start("in", "--formats", "svg,dxf", "-j", "2")
            time.sleep(chance.uniform(0.05, 0.4))
            for worker in workers_of(run):
                os.kill(worker, signal.SIGKILL)
            run.communicate(timeout=300)
        self.batch("in", "--formats", "svg,dxf", "--retry", "failed")
        self.assertEqual(self.tree(), self.tree("right"))
        self.assertEqual(len(self.tree()), 2 * count)
        right = self.lines("right/ztrace-results.jsonl")
        last = {}
        done = []
        for text in self.read("out/ztrace-results.jsonl").splitlines():
            line = json.loads(text)
            last[line["path"], line["page"]] = untimed(line)
            if line["outcome"] == "done":
                done.append(line["path"])
        self.assertEqual(last, {key: untimed(line) for key, line in right.items()})
        self.assertEqual(len(done), len(set(done)))


if __name__ == "__main__":
    unittest.main()
