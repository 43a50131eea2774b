#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""The marks and the page of command_report.py, from numbers that are easy to count with."""
import copy
import unittest

import command_report

MEGA = 1000 * 1000


def process(cpu, peak=50 * MEGA):
    return {"cpu": cpu, "wall": cpu, "peak": peak}


SCAN = {"name": "page", "kind": "scan", "preset": "lineart", "width": 10000, "height": 1000,
        "runs": {"ztrace": [process(0.30, 100 * MEGA)], "ztrace preset": [process(0.20)],
                 "potrace": [process(0.25)], "decoding": [{"cpu": 0.05}], "engine": [{"cpu": 0.10}]}}
PHOTO = {"name": "lake", "kind": "photo", "preset": "photo", "width": 1000, "height": 1000,
         "runs": {"ztrace": [process(0.1), process(0.3), process(0.2)],
                  "ztrace preset": [process(0.2)] * 3, "vtracer": [{"cpu": 2.0}],
                  "decoding": [{"cpu": 0.04}] * 3, "engine": [{"cpu": 0.01}] * 3}}
START = {"toolkit": [process(0.010, 10 * MEGA)], "ztrace icon": [process(0.025, 20 * MEGA)]}


def numbers(*pictures):
    return {"date": "a day", "rounds": 3, "failed": [], "versions": {}, "start": START,
            "machine": {"processor": "", "processors": 1, "memory": "", "system": "", "load": ""},
            "pictures": [copy.deepcopy(picture) for picture in pictures]}


def verdicts(given):
    """{mark: (measured, met or not)}"""
    return {row[0]: (row[1], row[3].split(",")[0]) for row in command_report.marks(given)}


class Marks(unittest.TestCase):
    def test_scan_is_judged_by_the_slower_way(self):
        found = verdicts(numbers(SCAN))
        self.assertEqual(found["page: times potrace and decoding"], ("1.00", "met"))
        self.assertEqual(found["page: times decoding and engine"], ("2.00", "met"))
        self.assertEqual(found["page: bytes a pixel"], ("10.0", "met"))

    def test_preset_that_is_slower_counts(self):
        given = numbers(SCAN)
        given["pictures"][0]["runs"]["ztrace preset"] = [process(0.6, 200 * MEGA)]
        found = verdicts(given)
        self.assertEqual(found["page: times potrace and decoding"], ("2.00", "**not met**"))
        self.assertEqual(found["page: times decoding and engine"], ("4.00", "**not met**"))
        self.assertEqual(found["page: bytes a pixel"], ("20.0", "**not met**"))

    def test_median_of_the_rounds(self):
        found = verdicts(numbers(PHOTO))
        self.assertEqual(found["lake: times decoding and engine"], ("4.00", "**not met**"))
        self.assertEqual(found["lake: times as fast as vtracer"], ("10.00", "met"))

    def test_large_scan_has_a_second(self):
        self.assertNotIn("page: processor seconds", verdicts(numbers(SCAN)))
        large = dict(SCAN, width=34000)
        self.assertEqual(verdicts(numbers(large))["page: processor seconds"], ("0.30", "met"))

    def test_memory_of_a_small_picture_is_not_judged(self):
        small = dict(SCAN, width=1000)  # 14 megabytes allowed, 20 for an icon
        self.assertNotIn("page: bytes a pixel", verdicts(numbers(small)))

    def test_peer_that_is_not_there_is_no_success(self):
        given = numbers(SCAN)
        del given["pictures"][0]["runs"]["potrace"]
        self.assertEqual(verdicts(given)["page: times potrace and decoding"], ("-", "not measured"))

    def test_start_is_beyond_the_toolkit(self):
        mark = "16 x 16 icon, beyond the toolkit's start"
        self.assertEqual(verdicts(numbers())[mark], ("15.0 ms", "met"))
        given = numbers()
        given["start"] = dict(START, toolkit=[])
        self.assertEqual(verdicts(given)[mark], ("-", "not measured"))


class Page(unittest.TestCase):
    def test_base_has_columns_where_it_was_run(self):
        given = numbers(SCAN, PHOTO)
        self.assertNotIn("base", command_report.page(given))
        given["pictures"][0]["runs"]["base"] = [process(0.4321)]
        page = command_report.page(given)
        self.assertIn("| ztrace preset | base | base preset |", page)
        self.assertIn("432.1", page)

    def test_short_table_is_of_the_command_by_itself(self):
        lines = command_report.short_table(numbers(SCAN, PHOTO)).splitlines()
        self.assertEqual(lines[2:], ["| page, 10.0 megapixels | 300 | 150 | 250 | - | 2.0 | 10.0 | 9.0 |",
                                     "| lake, 1.0 megapixels | 200 | 50.0 | - | 2000 | 4.0 | 50.0 | 40.0 |"])

    def test_memory_is_told_whole_and_beyond_both_starts(self):
        page = command_report.page(numbers(SCAN, PHOTO))
        self.assertIn("| page | 10.0 | 5.0 | 9.0 | 8.0 |", page)
        self.assertIn("| lake | 50.0 | 50.0 | 40.0 | 30.0 |", page)
        self.assertIn("beyond the 10.0 megabytes of a program that only starts the toolkit", page)

    def test_nothing_measured_makes_a_page_too(self):
        given = numbers(dict(SCAN, runs={}))
        given["start"] = {"toolkit": []}
        given["failed"] = ["ztrace: status 1"]
        page = command_report.page(given)
        self.assertIn("- ztrace: status 1", page)
        self.assertIn("0 of 4 met", page)
        self.assertIn("| page, 10.0 megapixels | - | - |", command_report.short_table(given))


if __name__ == "__main__":
    unittest.main()
