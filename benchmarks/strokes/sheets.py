# (c) the ztrace developers. Licence: see LICENSE.
"""Sheets made up: frame, title block, and views of parts (views.py) in the pens of ISO 128."""
import numpy

import linetypes
import truth
from primitives import is_closed, length, line, moved
from views import VIEWS, Board

SIZES = [(148, 105), (210, 148), (210, 297), (297, 210)]  # millimetres: A6, A5, A4, A4 across
PAIRS = [(0.35, 0.18), (0.5, 0.25), (0.7, 0.35)]          # pens of a drawing, ISO 128
RESOLUTIONS = [200, 300, 400]
LEAST_PEN = 1.9                                           # pixels of the thinnest
MARGIN = 7.0
NAMES = ["FLANGE", "PLATE", "SHAFT", "SECTION A-A", "DETAIL X", "HUB 2:1", "COVER", "BRACKET"]


def frame(board, width, height):
    board.shapes += [dict(item, width=board.thick, role="frame") for item in
                     box_lines(MARGIN, MARGIN, width - MARGIN, height - MARGIN)]


def box_lines(left, top, right, bottom):
    corners = [(left, top), (right, top), (right, bottom), (left, bottom)]
    return [line(one, other) for one, other in zip(corners, corners[1:] + corners[:1])]


def title_block(board, width, height):
    """Rows in the lower right corner; the height that it takes."""
    right, bottom = width - MARGIN, height - MARGIN
    left, row = right - min(95.0, width * 0.6), 2.4 * board.letters
    rows = 3
    top = bottom - rows * row
    board.shapes += [dict(item, width=board.thick, role="frame") for item in
                     (line((left, top), (right, top)), line((left, top), (left, bottom)))]
    split = left + (right - left) * 0.55
    for i in range(1, rows):
        board.fine(line((left, top + i * row), (right, top + i * row)), role="frame")
    board.fine(line((split, top), (split, bottom)), role="frame")
    for i in range(rows):
        name = NAMES[int(board.random.integers(len(NAMES)))]
        board.text(name, ((left + split) / 2, top + (i + 0.5) * row))
        board.text(str(int(board.random.integers(100, 99999))),
                   ((split + right) / 2, top + (i + 0.5) * row))
    return rows * row


def fill(board, width, height):
    """A view in every cell of what the frame leaves."""
    frame(board, width, height)
    below = title_block(board, width, height)
    free_width, free_height = width - 2 * MARGIN - 4, height - 2 * MARGIN - below - 4
    columns, rows = max(1, int(free_width // 85)), max(1, int(free_height // 68))
    order = [VIEWS[i % len(VIEWS)] for i in board.random.permutation(len(VIEWS) * 3)]
    for row in range(rows):
        for column in range(columns):
            start = len(board.shapes)
            view = order[(row * columns + column) % len(order)]
            view(board, min(free_width / columns, 110), min(free_height / rows, 85))
            board.shift(start, MARGIN + 2 + free_width * (column + 0.5) / columns,
                        MARGIN + 2 + free_height * (row + 0.5) / rows)


def dashed(item):
    """With the dashes of its type, closer ones where it is short; whole where they do not fit."""
    if "type" not in item:
        return item
    for shortening in (1.0, 0.6, 0.35):
        dash = linetypes.dash_of(item["type"], item["width"], length(item), is_closed(item),
                                 shortening)
        if dash:
            return dict(item, dash=dash)
    return {key: value for key, value in item.items() if key != "type"}


def sheet(number, random):
    size = SIZES[int(random.integers(len(SIZES)))]
    dots = RESOLUTIONS[number % len(RESOLUTIONS)]
    pairs = [pair for pair in PAIRS if pair[1] * dots / 25.4 >= LEAST_PEN]
    thick, thin = pairs[int(random.integers(len(pairs)))]
    board = Board(random, thick, thin, float(random.choice([2.5, 3.5])))
    fill(board, *size)
    scale = dots / 25.4
    matrix = [[scale, 0, float(random.random())], [0, scale, float(random.random())]]
    placed = [moved(item, matrix) for item in board.shapes]
    letters = [item for item in placed if item.get("role") == "text"]
    shapes = [item for item in placed if item.get("role") != "text"]
    shapes = truth.tellable([dashed(item) for item in truth.join_all(shapes)])
    width, height = (int(side * scale) for side in size)
    return {"name": f"{number:03d}-sheet-{size[0]}x{size[1]}-{dots}", "width": width,
            "height": height, "dpi": dots, "cap": "round" if random.random() < 0.6 else "butt",
            "primitives": shapes + letters}


def drawings(count, seed):
    for number in range(count):
        yield sheet(number, numpy.random.default_rng([seed, 2, number]))
