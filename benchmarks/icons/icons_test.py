#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Colours differ by what is published, numbers are counted as written, and a moved edge is as far off as it was moved."""
import importlib.machinery
import importlib.util
import os
import unittest

import numpy as np

from ciede2000 import ciede2000, lab_of


def load_table():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "table")
    loader = importlib.machinery.SourceFileLoader("table", path)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("table", loader))
    loader.exec_module(module)
    return module


table = load_table()


class Measures(unittest.TestCase):
    def test_published_pairs(self):  # Sharma, Wu, Dalal 2005, table 1
        for one, other, wanted in (((50, 2.6772, -79.7751), (50, 0, -82.7485), 2.0425),
                                   ((50, -1, 2), (50, 0, 0), 2.3669),
                                   ((50, 2.5, 0), (58, 24, 15), 19.4535),
                                   ((60.2574, -34.0099, 36.2677), (60.4626, -34.1751, 39.4387), 1.2644),
                                   ((2.0776, 0.0795, -1.1350), (0.9033, -0.0636, -0.5514), 0.9082)):
            self.assertAlmostEqual(float(ciede2000(np.array(one), np.array(other))), wanted, 4)

    def test_white_and_black(self):
        np.testing.assert_allclose(lab_of([[255, 255, 255], [0, 0, 0]]), [[100, 0, 0], [0, 0, 0]], atol=0.01)

    def drawing(self, body):
        return '<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24">%s</svg>' % body

    def test_numbers(self):
        self.assertEqual(table.numbers_of(self.drawing('<circle cx="9" cy="9" r="4" fill="#000"/>')), 3)
        self.assertEqual(table.numbers_of(self.drawing('<rect x="2" y="2" width="9" height="7" rx="2" fill="#000"/>')), 5)
        self.assertEqual(table.numbers_of(self.drawing('<path d="M2 2H9V9Q5 12 2 9Z" fill="#000"/>')), 2 + 2 + 2 + 4)
        self.assertEqual(table.numbers_of(self.drawing('<path d="M2 2H9V9Z" fill="none"/>')), 0)

    def test_edge_is_as_far_off_as_it_was_moved(self):
        truth = np.full((160, 160, 3), 255, np.uint8)
        truth[:, 80:] = 0
        moved = np.full((160, 160, 3), 255, np.uint8)
        moved[:, 82:] = 0
        self.assertEqual(table.edge_error(truth, truth), 0)
        self.assertAlmostEqual(table.edge_error(truth, moved), 2 / table.FINER * 4 / np.pi, 6)


if __name__ == "__main__":
    unittest.main()
