# (c) the ztrace developers. Licence: see LICENSE.
"""What is true of a drawing: its primitives as a draftsman would count them.

Whatever looks like one line is one: collinear lines of one pen that meet are joined, what was drawn
twice counts once, arcs of one circle that meet are one arc or the circle. What no one could tell from
the ink is not drawn: lines hidden by others, lines shorter than their pen is wide, parallels that
the pen has run into each other.
"""
import json
import math

import numpy
from scipy.spatial import cKDTree

from primitives import is_path, length, points_at, samples

OFF_CARRIER = 0.6   # pixels: two lines are on one carrier when no end is further from it
MEETING = 0.5       # pixels: ends that are not further apart meet; so do those within a pen's width


def same_pen(one, other):
    return (abs(one["width"] - other["width"]) < 0.05 and one.get("type") == other.get("type")
            and one.get("role") == other.get("role"))


def joined_lines(one, other):
    """The line that both are together, or None."""
    first, second = (one, other) if length(one) >= length(other) else (other, one)
    origin, last = numpy.asarray(first["points"])
    whole = math.hypot(*(last - origin))
    if whole < 1e-9:
        return None
    along = (last - origin) / whole
    offsets = numpy.asarray(second["points"]) - origin
    if numpy.abs(offsets @ numpy.array([-along[1], along[0]])).max() > OFF_CARRIER:
        return None
    places = offsets @ along
    meeting = max(MEETING, one["width"])
    if places.min() > whole + meeting or places.max() < -meeting:
        return None
    low, high = min(0.0, places.min()), max(whole, places.max())
    joined = dict(first, points=[(origin + along * low).tolist(), (origin + along * high).tolist()])
    joined.pop("tips", None)
    tips = tips_of(joined, [one, other])
    if tips:
        joined["tips"] = tips
    return joined


def tips_of(joined, parts):
    """The arrow heads of the parts that are still at an end."""
    tips = {}
    for part in parts:
        for end, base in part.get("tips", {}).items():
            tip = points_at(part, [float(end)])[0]
            for other in ("0", "1"):
                if math.dist(tip, points_at(joined, [float(other)])[0]) < 1.0:
                    tips[other] = base
    return tips


def joined_arcs(one, other):
    """The arc or circle that both are together, or None."""
    if math.dist(one["centre"], other["centre"]) > OFF_CARRIER:
        return None
    if abs(one["radius"] - other["radius"]) > OFF_CARRIER:
        return None
    if "circle" in (one["kind"], other["kind"]):
        return one if one["kind"] == "circle" else other
    slack = max(MEETING, one["width"]) / one["radius"]
    low, span = forward(one)
    start, sweep = forward(other)
    offset = (start - low + slack) % (2 * math.pi) - slack
    if offset > span + slack:
        offset -= 2 * math.pi
        if offset + sweep < -slack:
            return None
    begin, end = min(0.0, offset), max(span, offset + sweep)
    if end - begin >= 2 * math.pi - slack:
        rest = {key: value for key, value in one.items() if key not in ("start", "sweep", "tips")}
        return dict(rest, kind="circle")
    joined = dict(one, start=low + begin, sweep=end - begin)
    joined.pop("tips", None)
    tips = tips_of(joined, [one, other])
    return dict(joined, tips=tips) if tips else joined


def forward(arc):
    """Start and sweep with the sweep made positive."""
    if arc["sweep"] < 0:
        return arc["start"] + arc["sweep"], -arc["sweep"]
    return arc["start"], arc["sweep"]


def joined(one, other):
    if not same_pen(one, other):
        return None
    kinds = {one["kind"], other["kind"]}
    if kinds == {"line"}:
        return joined_lines(one, other)
    if kinds <= {"arc", "circle"}:
        return joined_arcs(one, other)
    if kinds == {"ellipse"} and math.dist(one["centre"], other["centre"]) < OFF_CARRIER \
            and numpy.abs(numpy.subtract(one["radii"], other["radii"])).max() < OFF_CARRIER:
        return one
    return None


def join_all(primitives):
    """Joins until nothing is left to join."""
    done = []
    waiting = list(primitives)
    while waiting:
        now = waiting.pop()
        if not is_path(now) or now["kind"] == "curve":
            done.append(now)
            continue
        for place, other in enumerate(done):
            both = joined(now, other) if is_path(other) and other["kind"] != "curve" else None
            if both is not None:
                del done[place]
                waiting.append(both)
                break
        else:
            done.append(now)
    return done[::-1]


def is_too_small(primitive):
    width = primitive["width"]
    if primitive["kind"] in ("circle", "ellipse"):
        return min(primitive.get("radii", [primitive.get("radius")])) < 1.5 * width + 2
    if primitive["kind"] == "arc" and primitive["radius"] < width + 2:
        return True
    return length(primitive) < 2 * width + 3


def directions(points):
    steps = numpy.gradient(points, axis=0)
    return steps / numpy.maximum(numpy.hypot(steps[:, 0], steps[:, 1]), 1e-9)[:, None]


def runs_into(one, others, nearest):
    """Whether a third of the path runs so near along one that is longer that the ink is one."""
    points, _ = samples(one)
    heading = directions(points)
    for other in others:
        if length(other) < length(one):
            continue
        distance, other_heading = nearest(other, points)
        along = numpy.abs((heading * other_heading).sum(axis=1)) > 0.98
        near = distance < (one["width"] + other["width"]) / 2 + max(one["width"], 2.5)
        if (near & along).mean() > 0.33:
            return True
    return False


def tellable(primitives):
    """Without what could not be told from the ink."""
    def nearest(other, points):
        if id(other) not in trees:
            at, _ = samples(other)
            trees[id(other)] = (cKDTree(at), directions(at))
        tree, heading = trees[id(other)]
        distance, index = tree.query(points)
        return distance, heading[index]

    trees = {}
    kept = []
    paths = [item for item in primitives if is_path(item) and not is_too_small(item)]
    for item in sorted(paths, key=length, reverse=True):
        if not runs_into(item, kept, nearest):
            kept.append(item)
    solids = [item for item in primitives if not is_path(item)]
    tips = [points_at(item, [float(end)])[0] for item in kept for end in item.get("tips", {})]
    solids = [item for item in solids if item["kind"] != "arrow"
              or any(math.dist(item["points"][0], tip) < 1 for tip in tips)]
    return kept + solids


def write(path, drawing):
    """drawing: name, width, height, dpi, seed, primitives."""
    with open(path, "w", encoding="utf-8") as stream:
        json.dump(drawing, stream, default=float)
        stream.write("\n")


def read(path):
    with open(path, encoding="utf-8") as stream:
        return json.load(stream)
