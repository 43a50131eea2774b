# (c) the ztrace developers. Licence: see LICENSE.
"""Summaries, and the report in a browser."""
import csv
import io
import json
import os
import re
import shutil
import subprocess
import unittest
import xml.etree.ElementTree

from batchsupport import BatchTest, picture
from browser import CHROMIUM, Browser
from support import BLACK, PROGRAM, WHITE, png

PDFTOTEXT = shutil.which("pdftotext")


class ResultTest(BatchTest):
    def run_program(self, *arguments, code=0, **more):
        """Of any exit code for None."""
        if code is None:
            return subprocess.run([PROGRAM, *arguments], capture_output=True, cwd=self.folder, check=False)
        return super().run_program(*arguments, code=code, **more)


class Summary(ResultTest):
    def setUp(self):
        super().setUp()
        self.pictures(6)
        self.put("in/bad.png", b"nonsense")
        self.put('in/a, "b" <c>.png', b"")
        for i in range(1, 3):
            self.batch("in", "--chunk", "%d/2" % i, code=None)

    def test_counts_and_percentiles(self):
        told = json.loads(self.run_program("batch", "summary", "out", "--json").stdout)
        self.assertEqual(told["pictures"], 8)
        self.assertEqual(told["outcomes"], {"done": 6, "failed": 2})
        self.assertEqual(told["reasons"], {"not an image of a known format": 1, "is empty": 1})
        lines = [json.loads(text) for i in (1, 2)
                 for text in self.read("out/ztrace-results-%d-of-2.jsonl" % i).splitlines()]
        seconds = sorted(line["seconds"]["total"] for line in lines if line["outcome"] == "done")
        self.assertEqual([told["seconds"][share] for share in ("0", "0.1", "0.5", "1")],
                         [seconds[0], seconds[0], seconds[2], seconds[5]])
        text = self.run_program("batch", "summary", "out/ztrace-results-1-of-2.jsonl",
                                "out/ztrace-results-2-of-2.jsonl").stdout.decode()
        self.assertRegex(text, r"outcome +6  done\noutcome +2  failed\nreason +1  ")

    def test_numbers_are_written_out_and_called_as_in_lines(self):
        lines = [{"path": "p%d" % i, "page": 1, "outcome": "done", "peak": 123456789 + i, "seconds": {"total": seconds},
                  "counts": {"lines": pieces, "arcs": 0, "curves": 0}}
                 for i, (pieces, seconds) in enumerate(((62530, 0.00001234), (999.96, 12345.6), (3, 1.23456)))]
        self.write("l.jsonl", b"".join(json.dumps(line).encode() + b"\n" for line in lines))
        table = {line[:10].strip(): line[10:].split() for line in
                 self.run_program("batch", "summary", "l.jsonl").stdout.decode().splitlines()}
        self.assertEqual(table["pieces"], ["3"] * 3 + ["1000"] + ["62530"] * 3)
        self.assertEqual(table["seconds"], ["0.000012"] * 3 + ["1.235"] + ["12346"] * 3)
        self.assertEqual(set(table["peak MB"]), {"123.5"})
        told = json.loads(self.run_program("batch", "summary", "l.jsonl", "--json").stdout)
        self.assertEqual((told["peak"]["0"], told["peak"]["1"]), (123456789, 123456791))
        self.assertNotIn("peak MB", told)

    def test_a_drawing_goes_before_a_failure_and_torn_lines_are_left_out(self):
        good = self.lines("out/ztrace-results-1-of-2.jsonl")
        key = next(key for key, line in good.items() if line["outcome"] == "done")
        self.write("later.jsonl", b'{"path": %s, "page": 1, "outcome": "failed", "error": "x"}\n[1]\n{"path": '
                   % json.dumps(key[0]).encode())
        result = self.run_program("batch", "summary", "out", "later.jsonl", "--json")
        self.assertEqual(json.loads(result.stdout)["outcomes"], {"done": 6, "failed": 2})
        self.assertIn("1 lines are no result lines", result.stderr.decode())
        self.write("hostile.jsonl", b'{"path": "a", "page": 1, "outcome": "failed", "error": "\\u001b[2Jx\\ny"}\n')
        self.assertIn(b" ?[2Jx?y\n", self.run_program("batch", "summary", "hostile.jsonl").stdout)
        self.assert_refused("batch", "summary", "none", code=3, words="none: No such file")
        self.assert_refused("batch", "summary", code=2, words="give files of result lines")
        self.assert_refused("batch", "summary", "out", "--jobs", "2", code=2, words="--jobs: not for batch summary")

    def test_table_and_events(self):
        self.run_program("batch", "summary", "out", "--csv", "t.csv", "--premis", "p.xml")
        rows = list(csv.DictReader(io.StringIO(self.read("t.csv").decode())))
        self.assertEqual({row["path"] for row in rows},
                         {"in/bad.png", 'in/a, "b" <c>.png'} | {"in/p%04d.png" % i for i in range(6)})
        self.assertEqual(sum(float(row["agreement"]) > 0 for row in rows if row["agreement"]), 6)
        tree = xml.etree.ElementTree.fromstring(self.read("p.xml"))
        space = "{http://www.loc.gov/premis/v3}"
        outcomes = [e.findtext(".//%seventOutcome" % space) for e in tree.iter(space + "event")]
        self.assertEqual(sorted(outcomes), ["failure"] * 2 + ["success"] * 6)
        digests = {e.text for e in tree.iter(space + "messageDigest")}
        for i in (1, 2):
            for line in self.lines("out/ztrace-results-%d-of-2.jsonl" % i).values():
                for output in line.get("outputs", []):
                    self.assertIn(output["sha256"], digests)
        self.assertEqual(self.run_program("batch", "summary", "out", "--premis", "no/p.xml", code=4).stderr[:14],
                         b"ztrace: no/p.x")


@unittest.skipUnless(CHROMIUM, "chromium is not installed")
class Report(ResultTest):
    def setUp(self):
        super().setUp()
        self.pictures(8)
        self.put("in/bad.png", b"nonsense")
        self.put("in/x<script>.png", picture(99))
        self.batch("in", "-p", "lineart", code=1)
        # Finished without a report: previews are made from the drawings.
        self.batch("in", "-p", "lineart", "--report", "r.html", code=1)
        self.browser = Browser(self.path("profile"))
        self.addCleanup(self.browser.close)
        self.page = "file://" + self.path("r.html")

    def number(self, selector):
        return self.browser.evaluate("document.querySelectorAll(%s).length" % json.dumps(selector))

    def text(self, selector):
        return self.browser.evaluate("document.querySelector(%s).textContent" % json.dumps(selector))

    def test_gallery_filters_table_and_viewer(self):
        browser = self.browser
        for width in 1400, 800, 390:
            with self.subTest(width):
                browser.open(self.page, width)
                self.assertEqual(self.number(".card"), 10)
                self.assertEqual(self.number(".card .both"), 9)
                self.assertLessEqual(browser.evaluate("document.documentElement.scrollWidth"), width)
                self.assertGreater(len(set(browser.screenshot())), 100)
                browser.choose("#outcome", "failed")
                self.assertEqual(self.number(".card"), 1)
                self.assertIn("1 of 10 pictures, 1 without a drawing", self.text("#counts"))
                browser.choose("#outcome", "")
                browser.choose("#search", "P0003")
                self.assertEqual(self.number(".card"), 1)
                browser.choose("#search", "")
                browser.click("#asTable")
                self.assertEqual(self.number("#rowsOf tr"), 10)
                browser.click("#heads th:nth-child(5) button")
                browser.click("#heads th:nth-child(5) button")
                self.assertEqual(browser.evaluate("document.querySelector('#heads th:nth-child(5)').ariaSort"), "descending")
                values = [float(v) for v in browser.evaluate(
                    "[...document.querySelectorAll('#rowsOf td:nth-child(5)')].map(c => c.textContent).filter(Boolean)")]
                self.assertEqual(values, sorted(values, reverse=True))
                browser.click("#asGallery")
                browser.choose("#order", "0")
                browser.click(".card:nth-child(3)")
                self.assertEqual(self.text("#title"), "in/p0001.png")
                browser.key("ArrowRight")
                self.assertEqual(self.text("#title"), "in/p0002.png")
                before = browser.evaluate("document.querySelector('#stage .both').clientWidth")
                browser.click("#in")
                browser.click("#in")
                self.assertEqual(browser.evaluate("document.querySelector('#stage .both').clientWidth"), 2 * before)
                self.assertEqual(self.text("#zoom"), "200 %")
                browser.key("Escape", number=27)
                self.assertFalse(browser.evaluate("document.querySelector('#viewer').open"))
                self.assertEqual(browser.evaluate("document.activeElement.querySelector('.name').textContent"), "in/p0002.png")
        self.assertEqual(browser.complaints(), [])

    def test_distributions_show_what_most_pictures_are_like(self):
        """One value far from all others does not leave one bar of them; captions do not collide on a telephone."""
        text = self.read("r.html").decode()
        row = json.loads(re.search(r'id="rows">(.*?)</script>', text, re.S).group(1))[1]
        rows = [{**row, "path": "p%05d" % i, "pieces": 100 + i % 50, "agreement": 1, "seconds": 0.123456 + i} for i in range(500)]
        rows[7].update(pieces=1000000, agreement=0.5)
        self.write("r.html", re.sub(r'id="rows">(.*?)</script>', lambda _: 'id="rows">' + json.dumps(rows) + "</script>",
                                    text, flags=re.S).encode())
        bars = ("[...document.querySelectorAll('.plot')].map(p => [...p.querySelectorAll('rect')].map(r => Number(r.getAttribute('x'))))")
        for width in 1400, 390:
            self.browser.open(self.page, width)
            time, agreement, _, pieces = self.browser.evaluate(bars)
            self.assertGreater(len(time), 25)
            self.assertGreater(len(pieces), 20)
            self.assertEqual(agreement, [0.5, 150.5])
            overlaps = self.browser.evaluate("""[...document.querySelectorAll('.plot p, .plot h2')].filter(line => {
                const boxes = [...line.children].map(c => c.getBoundingClientRect());
                return boxes.some((a, i) => boxes.some((b, k) => i < k && a.left < b.right && b.left < a.right
                    && a.top < b.bottom && b.top < a.bottom)) || line.scrollWidth > line.clientWidth + 1;
            }).map(line => line.textContent)""")
            self.assertEqual(overlaps, [])
        self.assertEqual(self.browser.complaints(), [])

    def test_one_slider_for_all_shows_picture_or_drawing(self):
        self.browser.open(self.page, 1000)
        pictures = []
        for value in "0", "100":
            self.browser.choose("#split", value)
            self.assertEqual(self.browser.evaluate("getComputedStyle(document.querySelector('.both .drawing')).clipPath"),
                             "inset(0px 0px 0px %s%%)" % value)
            pictures.append(self.browser.screenshot())
        self.assertNotEqual(*pictures)

    def test_everything_has_a_name_and_is_reached_by_keys(self):
        self.browser.open(self.page, 1000)
        nameless = self.browser.evaluate("""[...document.querySelectorAll('button, input, select, svg, [role=img]')].filter(e =>
            !(e.getAttribute('aria-label') || e.textContent.trim() || (e.labels && e.labels.length))).map(e => e.outerHTML)""")
        self.assertEqual(nameless, [])
        reached = set()
        for _ in range(10):
            self.browser.key("Tab", number=9)
            reached.add(self.browser.evaluate("document.activeElement.id || document.activeElement.className"))
        self.assertLessEqual({"search", "outcome", "flag", "preset", "order", "split", "asGallery", "asTable", "card"}, reached)
        self.browser.key("Enter", text="\r", number=13)
        self.assertTrue(self.browser.evaluate("document.querySelector('#viewer').open"))

    def test_keys_go_on_after_the_last_picture_and_the_first_one(self):
        self.browser.open(self.page, 1000)
        self.browser.click(".card:nth-child(10)")
        for _ in range(2):
            self.browser.click("#after")
        self.assertEqual(self.browser.evaluate("document.querySelector('#after').ariaDisabled"), "true")
        last = self.text("#title")
        self.browser.key("ArrowLeft")
        self.assertNotEqual(self.text("#title"), last)
        self.browser.key("+")
        self.assertEqual(self.text("#zoom"), "141 %")
        self.browser.key("Escape", number=27)
        self.browser.click(".card:nth-child(2)")
        for _ in range(2):
            self.browser.click("#before")
        first = self.text("#title")
        self.browser.key("ArrowRight")
        self.assertNotEqual(self.text("#title"), first)

    def many(self, count, **members):
        """The report with so many pictures, like its second one."""
        text = self.read("r.html").decode()
        row = json.loads(re.search(r'id="rows">(.*?)</script>', text, re.S).group(1))[1]
        rows = [{**row, "path": "p%05d" % i, **members} for i in range(count)]
        self.write("r.html", re.sub(r'id="rows">(.*?)</script>', lambda _: 'id="rows">' + json.dumps(rows) + "</script>",
                                    text, flags=re.S).encode())

    def printed(self):
        """Names on paper, and the text of all sheets."""
        self.write("r.pdf", self.browser.pdf())
        text = subprocess.run(["pdftotext", self.path("r.pdf"), "-"], capture_output=True, check=True).stdout.decode()
        return set(re.findall(r"p\d{5}", text)), " ".join(text.split())

    @unittest.skipUnless(PDFTOTEXT, "pdftotext is not installed")
    def test_paper_has_all_pictures_or_says_how_many(self):
        self.many(130)
        self.browser.open(self.page, 1000)
        self.assertEqual(self.number(".card"), 60)
        self.assertEqual(len(self.printed()[0]), 130)
        self.browser.click("#asTable")
        names, text = self.printed()
        self.assertEqual(len(names), 130)
        self.assertNotIn("On paper", text)
        self.assertGreater(text.count("Seconds"), 2)
        self.assertEqual(self.number("#heads button"), 10)
        self.assertEqual(self.number("#rowsOf tr"), 100)
        self.many(1100, preview=None)
        self.browser.open(self.page, 1000)
        for selector in "#asGallery", "#asTable":
            self.browser.click(selector)
            names, text = self.printed()
            self.assertEqual(len(names), 1000)
            self.assertIn("On paper: the first 1000 of 1100.", text)

    def test_pictures_are_whole_wherever_they_are_shown(self):
        """On the screen and on paper, wide ones and narrow ones."""
        self.many(3)
        text = self.read("r.html").decode()
        rows = json.loads(re.search(r'id="rows">(.*?)</script>', text, re.S).group(1))
        for row, (width, height) in zip(rows, ((40, 30), (2000, 100), (100, 2000))):
            row.update(width=width, height=height)
        self.write("r.html", re.sub(r'id="rows">(.*?)</script>', lambda _: 'id="rows">' + json.dumps(rows) + "</script>",
                                    text, flags=re.S).encode())
        for media, width in ("screen", 1400), ("screen", 390), ("print", 718), ("print", 500):
            with self.subTest(media, width=width):
                self.browser.open(self.page, width)
                self.browser.call("Emulation.setEmulatedMedia", media=media)
                shapes = self.browser.evaluate("""[...document.querySelectorAll('.both')].map(both => {
                    const a = both.getBoundingClientRect(), b = both.parentNode.getBoundingClientRect();
                    return [a.left >= b.left && a.right <= b.right && a.top >= b.top && a.bottom <= b.bottom, a.width / a.height];
                })""")
                self.assertEqual([inside for inside, _ in shapes], [True] * 3)
                for (_, ratio), row in zip(shapes, rows):
                    self.assertAlmostEqual(ratio / (row["width"] / row["height"]), 1, delta=0.02)

    def test_small_pictures_are_shown_large_with_their_pixels_and_the_smooth_drawing(self):
        disc = [[(x - 12.5) ** 2 + (y - 12.5) ** 2 < 100 for x in range(26)] for y in range(26)]
        for name in "now", "later":
            self.put("small/%s.png" % name, png(26, 26, lambda x, y: BLACK if disc[y][x] else WHITE))
        self.batch("small/later.png", "--preset", "lineart")
        self.batch("small", "--preset", "lineart", "--report", "r.html")
        self.browser.open(self.page, 1000)
        self.browser.choose("#search", "small/")
        for i in range(2):
            size, pixels, lefts = self.browser.evaluate("""(async () => {
                const image = new Image();
                image.src = "data:image/jpeg;base64," + document.getElementById("p" + shown[%d].preview).textContent;
                await image.decode();
                const canvas = new OffscreenCanvas(image.width, image.height).getContext("2d");
                canvas.drawImage(image, 0, 0);
                const data = canvas.getImageData(0, 0, image.width, image.height).data;
                const isDark = (x, y) => data[4 * (y * image.width + x)] < 128;
                const half = image.width / 2, cell = half / 26, all = [...Array(26).keys()];
                const corners = [[0.2, 0.2], [0.8, 0.2], [0.2, 0.8], [0.8, 0.8]];
                const lefts = [];
                for (let y = 300; y < 700; ++y) { let x = half; while (x < image.width && !isDark(x, y)) ++x; lefts.push(x); }
                return [[half, image.height], all.map(y => all.map(x => corners.map(([i, j]) =>
                    isDark(Math.floor((x + i) * cell), Math.floor((y + j) * cell))))), lefts];
            })()""" % i)
            self.assertEqual(size, [988, 988])
            self.assertEqual(pixels, [[[cell] * 4 for cell in row] for row in disc])
            # The drawing's edge is round where the picture's has steps of 38 pixels.
            self.assertLess(max(abs(a - b) for a, b in zip(lefts, lefts[1:])), 10)

    def names(self):
        return self.browser.evaluate("[...document.querySelectorAll('.card .name')].map(e => e.textContent)")

    def test_pages_stand_together_and_numbers_in_names_count(self):
        pages = [("b/book.tif", page) for page in (1, 10, 2, 3)] + [("b/img10.png", 1), ("b/img2.png", 1)]
        lines = [{"path": path, "page": page, "outcome": "done", "seconds": {"total": 10 - i},
                  "width": 3, "height": 2} for i, (path, page) in enumerate(pages[::2] + pages[1::2])]
        self.write("l.jsonl", b"".join(json.dumps(line).encode() + b"\n" for line in lines))
        self.run_program("batch", "summary", "l.jsonl", "--report", "r.html")
        self.browser.open(self.page, 1000)
        self.assertEqual(self.names(), ["b/book.tif, page %d" % page for page in (1, 2, 3, 10)] + ["b/img2.png", "b/img10.png"])
        self.browser.click("#asTable")
        chosen = "document.querySelector('#order').selectedOptions[0].textContent"
        for expected in "Seconds, rising", "slowest first":
            self.browser.click("#heads th:nth-child(5) button")
            self.assertEqual(self.browser.evaluate(chosen), expected)
        self.browser.choose("#order", "4")
        self.assertEqual(self.browser.evaluate(chosen), "as finished")
        self.assertEqual(self.names(), [line["path"] + (", page %d" % line["page"] if "book" in line["path"] else "")
                                        for line in lines])

    def focused(self):
        return self.browser.evaluate("document.activeElement.querySelector('.name')?.textContent || document.activeElement.textContent")

    def test_the_list_goes_on_where_the_viewer_has_ended(self):
        self.many(130, preview=None)
        self.browser.open(self.page, 1000)
        self.browser.click(".card:nth-child(60)")
        for _ in range(6):
            self.browser.evaluate("view(current + 1)")
        self.assertEqual(self.browser.evaluate("document.querySelector('#title').role"), "status")
        self.browser.key("Escape", number=27)
        self.assertEqual(self.focused(), "p00065")
        self.browser.click("#asTable")
        self.browser.click("#rowsOf tr:nth-child(100) button")
        self.browser.key("ArrowRight")
        self.browser.key("Escape", number=27)
        self.assertEqual(self.text("#place"), "101 to 130 of 130")
        self.assertEqual(self.focused(), "p00100")

    def test_zoom_ends_where_there_is_nothing_more_to_see_and_the_mouse_moves_the_picture(self):
        self.browser.open(self.page, 1000)
        self.browser.click(".card:nth-child(2)")
        for _ in range(14):
            self.browser.key("+")
        pixel = self.browser.evaluate("document.querySelector('#stage .both').clientWidth / shown[current].width")
        self.assertTrue(50 < pixel <= 100, pixel)
        self.assertEqual(self.browser.evaluate("document.querySelector('#in').ariaDisabled"), "true")
        place = "[document.querySelector('#stage').scrollLeft, document.querySelector('#stage').scrollTop]"
        before = self.browser.evaluate(place)
        for kind, x, y in ("mousePressed", 400, 400), ("mouseMoved", 340, 380), ("mouseReleased", 340, 380), ("mouseMoved", 100, 100):
            self.browser.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="none" if x == 100 else "left",
                              buttons=0 if x == 100 else 1, clickCount=1)
        self.browser.settle()
        self.assertEqual(self.browser.evaluate(place), [before[0] + 60, before[1] + 20])
        self.browser.call("Input.dispatchKeyEvent", type="keyDown", key="ArrowLeft", modifiers=8, windowsVirtualKeyCode=37)
        self.browser.settle()
        self.assertEqual(self.browser.evaluate(place), [before[0], before[1] + 20])

    def test_the_page_says_what_of_and_when_nothing_is_left(self):
        self.browser.open(self.page, 1000)
        line = next(iter(self.lines().values()))
        about = self.text("#about")
        for word in os.path.realpath(self.path("out")), line["time"][:10], line["version"], line["settings"][:8]:
            self.assertIn(word, about)
        self.browser.choose("#search", "no such name")
        self.assertIn("No picture is like that", self.browser.evaluate("document.querySelector('main').innerText"))
        self.browser.click("#all")
        self.assertEqual(self.number(".card"), 10)
        self.assertNotIn("No picture is like that", self.browser.evaluate("document.querySelector('main').innerText"))
        labels = self.browser.evaluate("[...document.querySelectorAll('[type=range]')].map(e => [e.ariaLabel, e.labels[0].textContent.trim()])")
        for label, visible in labels:
            self.assertTrue(label.startswith(visible), (label, visible))

    def test_buttons_show_their_state(self):
        """Those that lead nowhere, that of the two views, and heads that sort; also in colours of the user's own."""
        style = "(e => { const s = getComputedStyle(e); return [s.color, s.backgroundColor]; })(document.querySelector(%s))"
        for colours in "none", "active":
            with self.subTest(colours):
                self.browser.call("Emulation.setEmulatedMedia", features=[{"name": "forced-colors", "value": colours}])
                self.browser.open(self.page, 1000)
                looks = {name: self.browser.evaluate(style % json.dumps("#" + name)) for name in ("asGallery", "asTable")}
                self.assertNotEqual(looks["asGallery"][1], looks["asTable"][1])
                self.assertNotEqual(*looks["asGallery"])
                self.browser.click(".card:nth-child(1)")
                self.assertNotEqual(*[self.browser.evaluate(style % json.dumps(name))[0] for name in ("#before", "#after")])
                self.browser.key("Escape", number=27)
                self.browser.click("#asTable")
                heads = self.browser.evaluate("[...document.querySelectorAll('th button')].map(e => [e.getBoundingClientRect().height,"
                                              "getComputedStyle(e, '::after').content])")
                self.assertGreaterEqual(min(height for height, _ in heads), 24)
                self.assertEqual([sign.strip('"') for _, sign in heads], ["\u25b2"] + ["\u21c5"] * 9)

    def test_the_table_shows_all_columns_at_every_width_and_its_head_stays(self):
        self.many(60, path="a folder with a long name/of scans/sheet with a long name 0001.png", flags=["agreement", "lost"],
                  width=12000, height=9000, pieces=123456, peak=1234)
        for width in 1800, 1000, 981, 400, 320:
            with self.subTest(width):
                self.browser.open(self.page, width)
                self.browser.click("#asTable")
                out = self.browser.evaluate("""[...document.querySelectorAll('th, td, td button, td span')].filter(e => {
                    const box = e.getBoundingClientRect();
                    return box.width && (box.left < 0 || box.right > document.documentElement.clientWidth);
                }).length""")
                self.assertEqual(out, 0)
                self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), width)
                cells = self.browser.evaluate("document.querySelector('#rowsOf tr').innerText")
                for text in "lineart", "123,000", "1,230", "12000 \u00d7 9000", "lost":
                    self.assertIn(text, cells)
                tree = self.browser.call("Accessibility.getFullAXTree")["nodes"]
                roles = [node.get("role", {}).get("value") for node in tree]
                self.assertEqual(roles.count("columnheader"), 10)
                self.assertEqual(roles.count("cell") + roles.count("gridcell"), 600)
                if width > 980:
                    self.browser.evaluate("document.querySelectorAll('#rowsOf tr')[40].scrollIntoView()")
                    top = self.browser.evaluate("document.querySelector('th').getBoundingClientRect().top")
                    self.assertTrue(0 <= top < 2, top)

    def previews(self):
        return re.findall(rb'<script type="text/plain" id="p\d+">([^<]*)', self.read("r.html"))

    def test_drawings_that_are_not_shown_are_counted_and_a_run_over_all_shows_them(self):
        """As where the parts of many machines have made none."""
        for i in "12":
            self.run_program("batch", "in", "--out", "parts", "--chunk", i + "/2", code=None)
        told = self.run_program("batch", "summary", "parts", "--report", "r.html").stderr.decode()
        self.assertIn("r.html: 9 of 9 drawings are not shown there", told)
        self.assertEqual(self.previews(), [])
        told = self.run_program("batch", "in", "--out", "parts", "--report", "r.html", code=1).stderr.decode()
        self.assertIn("9 finished before", told)
        self.assertNotIn("not shown", told)
        self.assertEqual(len(self.previews()), 9)
        told = self.run_program("batch", "summary", "parts", "--report", "r.html").stderr.decode()
        self.assertNotIn("not shown", told)
        self.assertEqual(len(self.previews()), 9)

    def test_no_drawing_is_shown_but_the_one_that_is_there(self):
        """One of other settings is not, nor is white paper in the place of a DXF."""
        self.put("one/a.png", picture(1))
        self.run_program("batch", "one", "--out", "o", "--report", "r.html")
        before = self.previews()
        more = ["--preset", "lineart", "--despeckle", "500"]
        self.run_program("batch", "one", "--out", "o", *more)
        self.run_program("batch", "one", "--out", "o", "--report", "r.html", *more)
        self.assertEqual(len(self.previews()), 1)
        self.assertNotEqual(self.previews(), before)
        self.run_program("batch", "one", "--out", "d", "--formats", "dxf")
        told = self.run_program("batch", "one", "--out", "d", "--formats", "dxf", "--report", "r.html").stderr.decode()
        self.assertEqual(self.previews(), [])
        self.assertIn("1 of 1 drawings are not shown there", told)

    def test_ten_thousand_pictures_are_drawn_as_they_come_into_sight(self):
        self.many(10000)
        self.browser.open(self.page, 1000)
        self.assertLess(self.number(".card"), 500)
        self.browser.evaluate("scrollTo(0, document.body.scrollHeight)")
        for _ in range(100):
            self.browser.settle()
            if self.number(".card") > 60:
                break
        self.assertGreater(self.number(".card"), 60)
        self.browser.click("#asTable")
        self.browser.click("#next")
        self.assertEqual(self.text("#place"), "101 to 200 of 10000")


if __name__ == "__main__":
    unittest.main()
