# (c) the ztrace developers. Licence: see LICENSE.
"""Drawings from a folder of FIG files, as pictures of some 1,400 pixels."""
import math
import os

import numpy

import fig
import linetypes
import truth
from primitives import box, is_closed, is_path, length, moved

SIDE = 1400       # pixels of the longer side
MARGIN = 40
LEAST = 8         # primitives a drawing has to have
MOST = 400
LINES_ALONE = 0.35  # share taken of the drawings that have nothing but lines: they are many


def files_of(folder):
    found = []
    for base, _, files in os.walk(folder):
        found += [os.path.join(base, file) for file in files if file.endswith(".fig")]
    return sorted(found)


def pen_of(thickness, thinnest, pen):
    """The pen of the drawing, or one of twice its width for what is thicker by half or more."""
    return pen if thickness < 1.5 * thinnest else min(9.0, 2 * pen)


def penned(shapes, pen):
    thinnest = min(item["width"] for item in shapes if is_path(item))
    return [dict(item, width=pen_of(item["width"], thinnest, pen)) if is_path(item) else item
            for item in shapes]


def dashed(item):
    """With the dashes of its type; without the type where it is too short for them."""
    if "type" not in item:
        return item
    dash = linetypes.dash_of(item["type"], item["width"], length(item), is_closed(item), 0.6)
    if dash:
        return dict(item, dash=dash)
    return {key: value for key, value in item.items() if key != "type"}


def is_faceted(shapes):
    """Whether a curve was drawn as many short lines, for which there is no one truth."""
    lines = [item for item in shapes if item["kind"] == "line"]
    bends = 0
    for one, other in zip(lines[:-1], lines[1:]):
        if math.dist(one["points"][1], other["points"][0]) < 1e-6:
            first, second = numpy.diff(one["points"], axis=0)[0], numpy.diff(other["points"], axis=0)[0]
            turned = abs(math.atan2(first[0] * second[1] - first[1] * second[0], first @ second))
            bends += 0.5 < math.degrees(turned) < 22
    return bends > 0.05 * len(lines)


def drawing_of(path, random):
    """The drawing of a file as truth, or None where it has not enough that is told from ink."""
    try:
        with open(path, encoding="latin-1") as stream:
            shapes = fig.read(stream.read())
    except ValueError:
        return None
    if not LEAST <= sum(map(is_path, shapes)) <= MOST or is_faceted(shapes):
        return None
    low, high = box(shapes)
    extent = high - low
    if extent.min() < 0.1 * extent.max():
        return None
    if all(item["kind"] == "line" for item in shapes) and random.random() > LINES_ALONE:
        return None
    scale = (SIDE - 2 * MARGIN) / extent.max()
    matrix = [[scale, 0, MARGIN - scale * low[0] + random.random()],
              [0, scale, MARGIN - scale * low[1] + random.random()]]
    pen = float(random.uniform(3, 9))
    placed = penned([moved(item, matrix) for item in shapes], pen)
    asked = sum(map(is_path, placed))
    placed = [dashed(item) for item in truth.join_all(placed)]
    placed = truth.tellable(placed)
    kept = sum(map(is_path, placed))
    if kept < LEAST or kept < 0.4 * asked:
        return None
    width, height = (int(math.ceil(value)) for value in extent * scale + 2 * MARGIN)
    return {"name": "fig-" + os.path.splitext(os.path.basename(path))[0].replace(" ", "_"),
            "width": width, "height": height, "dpi": 300,
            "cap": "round" if random.random() < 0.6 else "butt", "primitives": placed}


def drawings(folder, count, seed):
    """Up to `count` drawings of different folders first, in an order that the seed gives."""
    random = numpy.random.default_rng([seed, 1])
    groups = {}
    for path in files_of(folder):
        groups.setdefault(os.path.dirname(path), []).append(path)
    names = sorted(groups)
    for name in names:
        groups[name] = [groups[name][i] for i in random.permutation(len(groups[name]))]
    made = 0
    while made < count and any(groups.values()):
        for at in random.permutation(len(names)):
            if made < count and groups[names[at]]:
                path = groups[names[at]].pop()
                drawing = drawing_of(path, numpy.random.default_rng([seed, len(path), at]))
                if drawing:
                    drawing["name"] = f"{made:03d}-{drawing['name']}"
                    made += 1
                    yield drawing
