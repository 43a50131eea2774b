# (c) the ztrace developers. Licence: see LICENSE.
"""What a run must not write over, not take for done, and not keep as failed."""
import hashlib
import json
import os
import re
import shutil
import subprocess
import unittest

from batchsupport import BatchTest, picture
from support import PROGRAM, tiff

DISASTER = os.environ.get("ZTRACE_DISASTER")
RESULTS = "out/ztrace-results.jsonl"


class Care(BatchTest):
    def refused(self, *arguments, words, code=2):
        """Nothing is begun, and all files stay what they are."""
        before = self.tree(".")
        result = self.run_program("batch", *arguments, code=code)
        self.assertIn(words, result.stderr.decode())
        self.assertEqual(self.tree("."), before, arguments)

    def test_side_files_go_over_nothing_of_the_run(self):
        self.pictures(2)
        self.put("own.toml", b"# mine\n")
        self.put("names.txt", b"in/p0000.png\n")
        self.put("m.json", b'{"path":"in/p0000.png"}\n')
        os.symlink("in/p0000.png", self.path("link.html"))
        self.put("elsewhere.png", picture(7))
        run = "in", "--out", "out"
        for option in "--csv", "--premis", "--report", "--results":
            self.refused(*run, option, "in/p0001.png", words="picture" if option == "--results" else "the file is an image")
            self.refused(*run, option, "in/p0001.png", "--overwrite", words="a picture of this run")
            self.refused(*run, option, "link.html", "--overwrite", words="a picture of this run")
            self.refused(*run, option, "out/p0001.svg", words="a drawing of this run")
            self.refused(*run, option, "./out/../out/p0001.svg" if os.path.isdir(self.path("out")) else "./out/p0001.svg",
                         words="a drawing of this run")
            self.refused(*run, option, "own.toml", "--config", "own.toml", words="read by this run")
            self.refused("--files-from", "names.txt", "--out", "out", option, "names.txt", words="read by this run")
            self.refused("--manifest", "m.json", "--out", "out", option, "m.json", words="read by this run")
        self.refused(*run, "--csv", "x", "--premis", "./x", words="--premis: ./x is the file of --csv already")
        self.refused(*run, "--csv", "r.jsonl", "--results", "r.jsonl", words="is the file of --csv already")
        for option in "--csv", "--premis", "--report":
            self.refused(*run, option, "elsewhere.png", words="the file is an image or a drawing that ztrace has not made; --overwrite")
            self.refused(*run, option, "elsewhere.png", "--no-clobber", words="the file exists (--no-clobber)")

    def test_drawings_go_over_nothing_that_is_read(self):
        self.pictures(1, folder=".")
        self.put("p0000.json", b'{"path":"p0000.png"}\n')
        self.refused("--manifest", "p0000.json", "--out", ".", "--formats", "json", words="p0000.json")
        self.put("p0000.svg", b"p0000.png\n")
        self.refused("--files-from", "p0000.svg", "--out", ".", words="p0000.svg")

    def test_only_result_lines_are_added_to(self):
        self.pictures(1)
        for data in picture(3), b"first line\nno end", b"{\n  \"outlines\": []\n}\n", b'{"a":1}\n':
            self.put("r.jsonl", data)
            result = self.run_program("batch", "in", "--out", "out", "--results", "r.jsonl", code=2)
            self.assertIn(b"r.jsonl: is no file of result lines, and is left as it is", result.stderr)
            self.assertEqual(self.read("r.jsonl"), data)
        self.put("r.jsonl", b'{"attempts":1,"by')
        self.run_program("batch", "in", "--out", "out", "--results", "r.jsonl")
        self.assertEqual(len(self.lines("r.jsonl")), 1)

    def test_side_files_that_cannot_be_written_are_told_first(self):
        self.pictures(1)
        for option in "--csv", "--premis", "--report":
            result = self.run_program("batch", "in", "--out", "out", option, "no/such/file", code=4)
            self.assertIn(b"no/such/file: there is no folder", result.stderr)
            self.assertEqual(result.stdout, b"")

    def test_a_summary_keeps_what_it_reads(self):
        self.pictures(1)
        self.batch("in")
        before = self.read(RESULTS)
        result = self.run_program("batch", "summary", RESULTS, "--csv", RESULTS, code=2)
        self.assertIn(b"is read by this run", result.stderr)
        self.assertEqual(self.read(RESULTS), before)

    def test_a_table_has_standard_output_to_itself(self):
        self.pictures(2)
        for option, beginning in ("--csv", b"path,page,"), ("--premis", b"<?xml"), ("--report", b"<!DOCTYPE html>"):
            shutil.rmtree(self.path("out"), ignore_errors=True)
            result = self.batch("in", option, "-")
            self.assertTrue(result.stdout.startswith(beginning), result.stdout[:100])
            self.assertNotIn(b"1/2 done", result.stdout)
            self.assertIn(b"2/2 done in/p", result.stderr)

    def test_result_lines_do_not_go_to_standard_output(self):
        self.pictures(1)
        self.refused("in", "--out", "out", "--results", "-", words="--results: result lines go to a file")
        self.assertFalse(os.path.exists(self.path("out")))

    def test_an_expected_checksum_counts_for_what_was_done_before(self):
        self.pictures(1)
        self.put("m.csv", b"path\nin/p0000.png\n")
        self.batch("--manifest", "m.csv")
        right = hashlib.sha256(self.read("in/p0000.png")).hexdigest()
        for sha, code, words in (right, 0, "1 finished before"), ("0" * 64, 1, "its SHA-256 is not the expected one"), \
                (right, 0, "1 finished before"):
            self.put("m.csv", b"path,sha256\nin/p0000.png,%s\n" % sha.encode())
            self.assertIn(words, self.batch("--manifest", "m.csv", code=code).stderr.decode())

    def test_a_picture_that_has_gone_is_named(self):
        self.pictures(1)
        self.batch("in/p0000.png")
        os.remove(self.path("in/p0000.png"))
        text = self.batch("in/p0000.png").stderr.decode()
        self.assertIn("in/p0000.png: finished before, and not there any more (No such file or directory)", text)
        self.assertIn("1 finished before, 1 with warnings", text)

    @unittest.skipUnless(DISASTER, "sanitizers have allocators of their own, which another preloaded library would come before")
    def test_a_worker_that_is_lost_with_other_settings_leaves_a_line(self):
        self.put("a.tif", tiff([lambda x, y: 5 < x < 20 < y]))
        self.batch("a.tif")
        for name in "end", "end2":
            self.write(name, b"")
        lost = subprocess.run([PROGRAM, "batch", "a.tif", "--out", "out", "--colors", "3"], cwd=self.folder, capture_output=True,
                              env={**os.environ, "LD_PRELOAD": DISASTER, "DISASTER_END": self.path("end")}, check=False)
        self.assertEqual(lost.returncode, 1)
        last = json.loads(self.read(RESULTS).splitlines()[-1])
        self.assertEqual(last["outcome"], "died")

    def test_failures_that_are_not_of_the_picture_are_tried_again(self):
        self.pictures(1)
        self.put("out/p0000.svg", picture(1))
        self.assertIn(b"the file is an image", self.batch("in", code=1).stderr)
        os.remove(self.path("out/p0000.svg"))
        self.assertIn(b"1 done", self.batch("in").stderr)
        self.put("a.pdf", b"%PDF-1.4")
        nowhere = {"PATH": self.path("empty")}
        result = self.run_program("batch", "a.pdf", "--out", "out", code=1, environment=nowhere)
        self.assertIn(b"reading it takes pdfinfo", result.stderr)
        result = self.run_program("batch", "a.pdf", "--out", "out", code=1, environment=nowhere)
        self.assertIn(b"reading it takes pdfinfo", result.stderr)

    def test_a_higher_limit_is_another_try(self):
        self.put("bad.png", b"nonsense")
        self.batch("bad.png", code=1)
        line = json.loads(self.read(RESULTS))
        self.write(RESULTS, json.dumps({**line, "outcome": "time limit", "limit": 5}).encode() + b"\n")
        for limit, words in ("5", "of an earlier run"), ("4", "of an earlier run"), ("6", "not an image"):
            self.assertIn(words, self.batch("bad.png", "--time-limit", limit, code=1).stderr.decode())

    def test_members_of_other_kinds_are_errors(self):
        self.pictures(1)
        for member, words in ('"page":[2,3]', '"page" is no text in quotes'), ('"page":null', '"page" is no text in quotes'), \
                ('"sha256":12345', '"sha256" is no text in quotes'), ('"page":true', '"page" is no text in quotes'):
            self.put("m.json", b'{"path":"in/p0000.png",%s}\n' % member.encode())
            self.refused("--manifest", "m.json", "--out", "out", words="m.json, line 1: " + words)
        self.put("m.csv", b"path,path,page\nin/p0000.png,in/x.png,1\n")
        self.refused("--manifest", "m.csv", "--out", "out", words='m.csv, line 1: there are several columns "path"')

    def test_a_page_of_a_manifest_is_not_page_one(self):
        self.put("a.tif", tiff([lambda x, y: 5 < x < 20 < y] * 3))
        self.put("m.json", b'{"path":"a.tif","page":3}\n')
        self.batch("--manifest", "m.json")
        (line,) = self.lines().values()
        self.assertEqual((line["page"], line.get("warnings")), (3, None))

    def test_templates_say_one_thing(self):
        self.pictures(1)
        for pattern, formats, words in ("{name}.dxf", "svg", "all drawings would end with .dxf"), \
                ("{name}.svg", "svg,dxf", "({format} stands for theirs)"), \
                ("../{name}.{format}", "svg", "leads out of the folder"), ("/{name}.{format}", "svg", "leads out of the folder"), \
                ("{name}", "svg", "does not end with .{format}"), ("{format}.{name}", "svg", "does not end with .{format}"):
            self.refused("in", "--out", "out", "--names", pattern, "--formats", formats, words=words)
        self.batch("in", "--names", "x/{name}..dxf")
        self.assertEqual(sorted(self.tree()), [b"x/p0000..dxf"])

    def test_what_a_folder_has_besides_is_told(self):
        self.put("in/a.png", picture(1))
        self.put("in/b.jpe", picture(2))
        self.put("in/notes.txt", b"x")
        self.put("in/scan", picture(3))
        os.mkfifo(self.path("in/pipe.png"))
        text = self.batch("in").stderr.decode()
        self.assertIn("in/pipe.png: is no file, left out", text)
        self.assertIn("in: files that are not called as images are, left out: 2 (--pattern takes them)", text)
        self.assertIn("2 done;", text)

    def test_what_killed_workers_leave_goes_with_a_run_that_writes_nothing(self):
        self.pictures(1)
        self.batch("in")
        drawings = self.tree()
        for name in "out/.ztrace-0123456789abcdef-0.new", "out/.ztrace-previews/.ztrace-0123456789abcdef-0.new":
            self.put(name, b"<svg")
        self.assertIn(b"1 finished before", self.batch("in").stderr)
        self.assertEqual(self.tree(), drawings)

    def test_a_plan_has_a_line_a_drawing(self):
        self.put("in/a\nb.png", picture(1))
        self.assertEqual(self.batch("in", "--dry-run").stdout, b"in/a?b.png -> out/a?b.svg\n")

    def test_events_tell_pictures_from_drawings(self):
        self.put("a.png", picture(1))
        self.run_program("batch", "a.png", "--out", "d", "--formats", "png", "--premis", "p.xml")
        objects = re.findall(rb"<(?:premis:)?objectIdentifierType>([^<]*)</[^>]*><[^>]*>([^<]*)<", re.sub(rb">\s+<", b"><", self.read("p.xml")))
        self.assertEqual(objects, [(b"file name of the picture", b"a.png"), (b"file name of the drawing", b"a.png")])


if __name__ == "__main__":
    unittest.main()
