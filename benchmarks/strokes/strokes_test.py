#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""The truth of drawings and the score of centre lines: what a perfect result scores, and damaged ones."""
import copy
import math
import os
import subprocess
import sys
import tempfile
import unittest

import numpy
from PIL import Image

import degradation
import dxf_read
import dxf_write
import fig
import junctions
import linetypes
import marks
import measures
import sheets
import truth
import views
from primitives import arc, circle, ends, is_path, length, line, moved, samples

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = "#FIG 3.2\nLandscape\nCenter\nMetric\nA4\n100.00\nSingle\n-2\n1200 2\n"


def drawing_of(view, seed=3, dots=200):
    """A small sheet with one view."""
    board = views.Board(numpy.random.default_rng(seed), 0.5, 0.25, 3.5)
    view(board, 90, 70)
    scale = dots / 25.4
    shapes = [moved(item, [[scale, 0, 50 * scale], [0, scale, 40 * scale]])
              for item in board.shapes]
    letters = [item for item in shapes if item.get("role") == "text"]
    rest = [item for item in shapes if item.get("role") != "text"]
    return {"name": view.__name__, "state": "0", "width": int(100 * scale),
            "height": int(80 * scale), "dpi": dots, "cap": "round",
            "primitives": truth.tellable([sheets.dashed(item) for item in truth.join_all(rest)])
            + letters}


def scored(drawing, drawn):
    """{mark: value}"""
    numbers = measures.measured(drawing, drawn)
    numbers.update(name="", complaint="", seconds=None, memory=None, pixels=1)
    return {row["mark"]: row["value"] for row in marks.rows({"0": [numbers]}, False)}


def through_dxf(drawing):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "truth.dxf")
        dxf_write.write(path, drawing)
        return dxf_read.read(path, drawing["height"])[0]


def read_text(text, height=100):
    with tempfile.NamedTemporaryFile("w", suffix=".dxf") as stream:
        stream.write(text)
        stream.flush()
        return dxf_read.read(stream.name, height)


def entities(*values):
    return dxf_write.pairs(0, "SECTION", 2, "ENTITIES", *values, 0, "ENDSEC", 0, "EOF")


class Fig(unittest.TestCase):
    def test_polyline_is_a_line_a_side(self):
        shapes = fig.read(HEADER + "2 1 0 1 0 7 50 0 -1 0.000 0 0 -1 0 0 3\n\t 0 0 100 0 100 50\n")
        self.assertEqual([item["points"] for item in shapes],
                         [[[0, 0], [100, 0]], [[100, 0], [100, 50]]])

    def test_filled_and_invisible_shapes_are_left_out(self):
        self.assertEqual(fig.read(HEADER + "1 3 0 1 0 7 50 0 20 0.0 1 0.0 9 9 5 5 9 9 14 9\n"), [])
        self.assertEqual(fig.read(HEADER + "1 3 0 0 0 7 50 0 -1 0.0 1 0.0 9 9 5 5 9 9 14 9\n"), [])

    def test_arc_goes_through_its_middle_point(self):
        row = "5 1 0 1 0 7 50 0 -1 0.000 0 1 0 0 100.0 100.0 150 100 100 50 50 100\n"
        found = fig.read(HEADER + row)[0]
        self.assertAlmostEqual(found["radius"], 50)
        middle = found["start"] + found["sweep"] / 2
        self.assertAlmostEqual(100 + 50 * math.sin(middle), 50)

    def test_filled_arrow_head_is_an_area_and_marks_its_line(self):
        text = "2 1 0 1 0 7 50 0 -1 0.000 0 0 -1 1 0 2\n\t1 1 1.00 60.00 120.00\n\t 0 0 1000 0\n"
        shaft, head = fig.read(HEADER + text)
        self.assertEqual(head["points"][0], [1000, 0])
        self.assertEqual(shaft["tips"], {"1": [880, 0]})

    def test_splines_and_text_are_passed_over(self):
        text = "3 0 0 1 0 7 50 0 -1 0.000 0 0 0 3\n\t 0 0 5 5 9 0\n\t 0.0 1.0 0.0\n" \
               "4 0 0 50 0 0 12 0.0 4 135 105 0 0 two\nlines\\001\n" \
               "1 3 0 1 0 7 50 0 -1 0.000 1 0.0000 9 9 5 5 9 9 14 9\n"
        self.assertEqual([item["kind"] for item in fig.read(HEADER + text)], ["circle"])

    def test_what_is_no_drawing_is_refused(self):
        for text in ("", "GIF89a", HEADER + "7 1 2\n", HEADER + "2 1 0 1 0 7 50 0 -1 0 0 0 -1 0 0 9\n"):
            with self.assertRaises(ValueError):
                fig.read(text)


class Truth(unittest.TestCase):
    def test_collinear_lines_that_meet_are_one(self):
        joined = truth.join_all([line((0, 0), (50, 0), width=3), line((100, 0.2), (50, 0), width=3),
                                 line((120, 0), (150, 0), width=3)])
        self.assertEqual(sorted(round(length(item)) for item in joined), [30, 100])

    def test_gap_that_the_pen_closes_is_none(self):
        for gap, lines in ((2.5, 1), (3.5, 2)):
            parts = [line((0, 0), (50, 0), width=3), line((50 + gap, 0), (90, 0), width=3)]
            self.assertEqual(len(truth.join_all(parts)), lines)

    def test_other_pens_and_corners_stay_apart(self):
        self.assertEqual(len(truth.join_all([line((0, 0), (50, 0), width=3),
                                             line((50, 0), (90, 0), width=6),
                                             line((50, 0), (50, 40), width=3)])), 3)

    def test_what_is_drawn_twice_counts_once(self):
        self.assertEqual(len(truth.join_all([circle((9, 9), 5, width=1)] * 2)), 1)

    def test_arcs_around_are_a_circle(self):
        parts = [arc((0, 0), 50, start, 2.4, width=3) for start in (0, 2, 4)]
        self.assertEqual([item["kind"] for item in truth.join_all(parts)], ["circle"])
        half = truth.join_all([arc((0, 0), 50, 0, 1, width=3), arc((0, 0), 50, 3, -2, width=3)])
        self.assertAlmostEqual(half[0]["sweep"], 3)

    def test_lines_that_run_into_each_other_are_one(self):
        kept = truth.tellable([line((0, 0), (200, 0), width=5), line((20, 4), (150, 4), width=5),
                               line((0, 30), (200, 30), width=5), line((0, 50), (4, 50), width=5)])
        self.assertEqual(sorted(item["points"][0][1] for item in kept), [0, 30])

    def test_dashes_end_with_a_dash(self):
        dash = linetypes.dash_of("centre", 3, 1000)
        item = line((0, 0), (1000, 0), width=3, dash=dash)
        _, down = samples(item)
        self.assertTrue(down[0] and down[-2])
        self.assertTrue(0.1 < 1 - down.mean() < 0.4)
        self.assertIsNone(linetypes.dash_of("centre", 3, 100))


class Scan(unittest.TestCase):
    def setUp(self):
        self.drawing = drawing_of(views.plate, dots=300)

    def test_same_seed_same_picture(self):
        first = degradation.degraded(self.drawing, "2", 5)[0]
        self.assertTrue((first == degradation.degraded(self.drawing, "2", 5)[0]).all())
        self.assertFalse((first == degradation.degraded(self.drawing, "2", 6)[0]).all())

    def test_clean_truth_is_not_moved(self):
        picture, moved, _ = degradation.degraded(self.drawing, "0", 1)
        self.assertEqual(set(numpy.unique(picture)), {0, 255})
        self.assertEqual(moved["primitives"][0].get("points"),
                         self.drawing["primitives"][0].get("points"))

    def test_truth_lies_on_the_ink(self):
        for state in ("0", "0g", "1"):
            picture, moved, _ = degradation.degraded(self.drawing, state, 4)
            for item in moved["primitives"]:
                if not is_path(item) or item.get("role") == "text" or item.get("tips"):
                    continue
                points, down = samples(item)
                points = points[down][4:-4].astype(int)
                self.assertLess(picture[points[:, 1], points[:, 0]].mean(), 130, (state, item))


class Oracle(unittest.TestCase):
    def test_truth_scores_one_throughout(self):
        for view in views.VIEWS:
            drawing = drawing_of(view)
            found = scored(drawing, through_dxf(drawing))
            for name in (row[0] for row in marks.MARKS[:-2]):
                if math.isnan(found[name]):
                    self.assertIn(name.split()[0], ("F1", "junctions"))
                elif name.startswith(("mean", "95th")):
                    self.assertLess(found[name], 0.02, (view, name))
                else:
                    self.assertAlmostEqual(found[name], 1.0, 9, (view, name))


class Damaged(unittest.TestCase):
    def setUp(self):
        self.drawing = drawing_of(views.bracket)
        self.drawn = through_dxf(self.drawing)

    def of_kind(self, kind):
        return [item for item in self.drawn if item["kind"] == kind and not item.get("type")]

    def test_shift_is_measured(self):
        off = copy.deepcopy(self.drawn)
        for item in off:
            for point in item.get("points", []) + [item.get("centre", [0, 0])]:
                point[0] += 0.4
                point[1] += 0.3
        found = scored(self.drawing, off)
        self.assertTrue(0.25 < found["mean distance, px"] < 0.5)
        self.assertEqual(found["F1 all"], 1.0)
        for item in off:
            for point in item.get("points", []) + [item.get("centre", [0, 0])]:
                point[1] += 3.0
        found = scored(self.drawing, off)
        self.assertEqual(found["F1 all"], 0.0)
        self.assertLess(found["length found"], 0.6)

    def test_nothing_drawn_is_nothing_found(self):
        found = scored(self.drawing, [])
        self.assertEqual((found["F1 all"], found["length found"]), (0.0, 0.0))
        self.assertTrue(math.isnan(found["segments per true primitive"]))

    def test_line_in_two_pieces_is_a_miss_and_two_false(self):
        whole = self.of_kind("line")
        self.assertEqual(len(whole), 2)
        one = whole[0]
        middle = numpy.mean(one["points"], axis=0).tolist()
        pieces = [dict(one, points=[one["points"][0], middle]),
                  dict(one, points=[middle, one["points"][1]])]
        drawn = [item for item in self.drawn if item is not one] + pieces
        found = scored(self.drawing, drawn)
        self.assertAlmostEqual(found["F1 lines"], 2 * 1 / (2 + 3))
        self.assertEqual(found["length found"], 1.0)

    def test_circle_of_two_arcs_is_no_circle(self):
        ring = self.of_kind("circle")[0]
        halves = [dict(ring, kind="arc", start=start, sweep=math.pi) for start in (0, math.pi)]
        found = scored(self.drawing, [item for item in self.drawn if item is not ring] + halves)
        self.assertLess(found["F1 circles"], 1.0)
        self.assertLess(found["F1 arcs"], 1.0)

    def test_radius_beyond_the_limit_is_a_miss(self):
        for off, right in ((0.3, 1.0), (1.0, 0.0)):
            drawn = copy.deepcopy(self.drawn)
            for item in drawn:
                if item["kind"] == "circle":
                    item["radius"] += off
            self.assertEqual(scored(self.drawing, drawn)["F1 circles"], right)

    def test_dashed_line_drawn_whole_is_no_dashed_one(self):
        drawn = copy.deepcopy(self.drawn)
        for item in drawn:
            item.pop("type", None)
        found = scored(self.drawing, drawn)
        self.assertEqual(found["F1 dashed"], 0.0)
        self.assertLess(found["F1 lines"], 1.0)

    def test_each_dash_a_line_finds_the_ink_alone(self):
        dashed = next(item for item in self.drawing["primitives"] if item.get("dash")
                      and item["kind"] == "line")
        points, down = samples(dashed)
        starts = numpy.flatnonzero(numpy.diff(down.astype(int)) == 1) + 1
        stops = numpy.flatnonzero(numpy.diff(down.astype(int)) == -1)
        dashes = [line(points[a], points[b], width=1.0, layer="0", weight=25)
                  for a, b in zip([0] + starts.tolist(), stops.tolist() + [len(points) - 1])]
        only = dict(self.drawing, primitives=[dashed])
        found = scored(only, dashes)
        self.assertGreater(found["length found"], 0.99)
        self.assertEqual((found["F1 dashed"], found["F1 all"]), (0.0, 0.0))
        self.assertGreater(found["segments per true primitive"], 3)

    def test_weights_of_the_neighbour_count_and_others_do_not(self):
        series = linetypes.WEIGHTS
        for steps, right in ((1, True), (3, False)):
            drawn = copy.deepcopy(self.drawn)
            for item in drawn:
                item["weight"] = series[series.index(item["weight"]) + steps]
            found = scored(self.drawing, drawn)["length of the right line weight"]
            self.assertEqual(found > 0.99, right)
            self.assertEqual(found < 0.01, not right)

    def test_arrow_heads_as_lines_are_missed(self):
        drawing = drawing_of(views.plate)
        drawn = [item for item in through_dxf(drawing) if item["kind"] != "area"]
        self.assertEqual(scored(drawing, drawn)["F1 arrow heads"], 0.0)

    def test_dimension_line_may_stop_at_the_base_of_its_head(self):
        drawing = drawing_of(views.plate)
        drawn = through_dxf(drawing)
        for item in drawing["primitives"]:
            for end, base in item.get("tips", {}).items():
                tip = ends(item)[int(end)]
                for other in drawn:
                    for point in other["points"] if other["kind"] == "line" else []:
                        if math.dist(point, tip) < 0.01 and length(other) == length(item):
                            point[:] = base
        found = scored(drawing, drawn)
        self.assertEqual(found["F1 lines"], 1.0)
        self.assertGreater(found["length found"], 0.999)

    def test_lettering_is_not_judged_one_to_one(self):
        drawing = drawing_of(views.plate)
        letters = [item for item in drawing["primitives"] if item.get("role") == "text"]
        self.assertTrue(letters)
        without = dict(drawing, primitives=[item for item in drawing["primitives"]
                                            if item.get("role") != "text"])
        found = scored(drawing, through_dxf(without))
        self.assertEqual(found["F1 all"], 1.0)
        self.assertLess(found["length found"], 1.0)


class Junctions(unittest.TestCase):
    def kinds(self, *paths):
        return sorted(kind for _, kind in junctions.junctions(list(paths), 1.0))

    def test_kinds(self):
        across = line((0, 50), (100, 50), width=3)
        self.assertEqual(self.kinds(across, line((50, 0), (50, 100), width=3)), ["X"])
        self.assertEqual(self.kinds(across, line((50, 50), (50, 100), width=3)), ["T"])
        self.assertEqual(self.kinds(across, line((100, 50), (100, 100), width=3)), ["L"])
        self.assertEqual(self.kinds(line((50, 50), (50, 0), width=3),
                                    line((50, 50), (0, 90), width=3),
                                    line((50, 50), (100, 90), width=3)), ["Y"])
        self.assertEqual(self.kinds(across, circle((50, 50), 30, width=3)), ["X", "X"])

    def test_smooth_joins_and_dashes_are_none(self):
        across = line((0, 50), (100, 50), width=3)
        self.assertEqual(self.kinds(across, arc((100, 70), 20, -math.pi / 2, 1.5, width=3)), [])
        self.assertEqual(self.kinds(across, line((50, 0), (50, 100), width=3, type="hidden")), [])


class Dxf(unittest.TestCase):
    def test_bulges_are_arcs(self):
        found, complaint = read_text(entities(0, "LWPOLYLINE", 8, "0", 70, 0, 10, 0.0, 20, 0.0, 42,
                                              1.0, 10, 20.0, 20, 0.0, 42, 0.0, 10, 40.0, 20, 0.0))
        self.assertEqual(complaint, "")
        half, straight = found
        self.assertEqual((half["kind"], straight["kind"]), ("arc", "line"))
        self.assertAlmostEqual(half["radius"], 10)
        self.assertAlmostEqual(half["centre"][0], 10)
        points, _ = samples(half)
        self.assertGreater(points[len(points) // 2][1], 105)  # a bulge > 0 is to the right: below

    def test_layers_give_line_type_and_weight(self):
        text = dxf_write.pairs(0, "SECTION", 2, "TABLES", 0, "LTYPE", 2, "HIDDEN", 49, 5.0, 49, -2.0,
                               0, "LAYER", 2, "A", 6, "HIDDEN", 370, 35, 0, "ENDSEC")
        found, _ = read_text(text + entities(0, "LINE", 8, "A", 10, 0.0, 20, 0.0, 11, 9.0, 21, 0.0))
        self.assertEqual((found[0]["type"], found[0]["weight"]), ("hidden", 35))

    def test_closed_polyline_on_dim_is_an_area(self):
        corners = [0, "LWPOLYLINE", 8, "DIM", 70, 1]
        for x, y in ((0, 0), (9, 3), (9, -3)):
            corners += [10, float(x), 20, float(y)]
        self.assertEqual([item["kind"] for item in read_text(entities(*corners))[0]], ["area"])

    def test_spline_is_a_curve_of_its_spans(self):
        values = [0, "SPLINE", 8, "0", 71, 2]
        for knot in (0, 0, 0, 1, 2, 2, 2):
            values += [40, float(knot)]
        for x, y in ((0, 0), (10, 20), (20, 20), (30, 0)):
            values += [10, float(x), 20, float(y)]
        found = read_text(entities(*values))[0][0]
        self.assertEqual((found["kind"], found["spans"]), ("curve", 2))
        self.assertEqual(found["points"][0], [0, 100])
        self.assertEqual(found["points"][-1], [30, 100])

    def test_broken_files_are_read_as_far_as_they_go(self):
        good = entities(0, "LINE", 8, "0", 10, 0.0, 20, 0.0, 11, 9.0, 21, 0.0)
        self.assertEqual(len(read_text(good[:-20])[0]), 1)
        for text in ("", "nonsense", good.replace("9", "x"), "0\nSECTION\n2\nENTITIES\n0\nARC\n40"):
            found, complaint = read_text(text)
            self.assertEqual((found, bool(complaint)), ([], True))
        self.assertTrue(dxf_read.read("/nowhere.dxf", 5)[1])


class Commands(unittest.TestCase):
    def run_script(self, *words):
        done = subprocess.run([sys.executable, os.path.join(HERE, words[0]), *words[1:]],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        return done.returncode, done.stdout, done.stderr

    def test_from_drawing_to_score(self):
        with tempfile.TemporaryDirectory() as folder:
            truth.write(os.path.join(folder, "flange.json"), drawing_of(views.flange, dots=100))
            self.assertEqual(self.run_script("degrade", folder, "--states", "0,1")[0], 0)
            status, page, _ = self.run_script("score", folder, "--oracle")
            self.assertEqual(status, 0)
            self.assertNotIn("not met", page)
            status, page, _ = self.run_script("score", folder, "--ztrace", "/no/program")
            self.assertEqual(status, 1)
            self.assertIn("failed: flange", page)
            picture = os.path.join(folder, "1", "flange.png")
            out = os.path.join(folder, "over.png")
            status = self.run_script("overlay", picture, out, "--drawn", "/none.dxf", "--list")
            self.assertEqual(status[0], 0)
            self.assertIn("missed circle", status[1])
            with Image.open(out) as sheet:
                self.assertGreater(sheet.width, 1000)

    def test_exit_status_of_what_cannot_be(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(self.run_script("score", folder)[0], 3)
            self.assertEqual(self.run_script("score")[0], 2)
            self.assertEqual(self.run_script("degrade", folder)[0], 3)
            self.assertEqual(self.run_script("degrade", folder, "--states", "9")[0], 2)
            self.assertEqual(self.run_script("generate", folder, "--figs", folder + "/none")[0], 3)
            self.assertEqual(self.run_script("generate", folder, "--figs", folder, "--sheets", "0")[0],
                             1)
            self.assertEqual(self.run_script("generate", "/dev/null/x", "--drawings", "0", "--sheets",
                                             "1")[0], 4)


if __name__ == "__main__":
    unittest.main()
