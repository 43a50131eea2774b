# (c) the ztrace developers. Licence: see LICENSE.
"""How far a drawing of one shape is from the truth."""
import math

import numpy as np
from scipy.spatial import cKDTree

SAME_CORNER = 2.0  # pixels within which a joint may stand for a corner of the truth
MISSED = 1.0       # pixels from a corner of the truth to the next corner of the drawing, or it is missed
CORNER = 12.0      # degrees


def measure(truth, outlines):
    """Measures by name; None where the drawing has nothing."""
    if not outlines:
        return None
    points = np.concatenate([outline.points for outline in outlines])
    joints = np.concatenate([outline.joints for outline in outlines])
    sharp = joints[np.abs(np.degrees(joints[:, 2])) > CORNER][:, :2] if len(joints) else np.zeros((0, 2))
    there = distances(points, truth.dense)
    back = distances(truth.points, [outline.points for outline in outlines])
    values = {
        "rms": math.sqrt((np.mean(there ** 2) + np.mean(back ** 2)) / 2),
        "worst": max(there.max(), back.max()),
        "numbers": sum(outline.numbers for outline in outlines),
        "turning": sum(outline.turning for outline in outlines) / len(outlines),
        "area": 100 * (area_of(outlines) / truth.area - 1),
        "outlines": len(outlines),
    }
    values.update(corners(truth, sharp))
    if truth.radius:
        away = np.hypot(*(points - np.array(truth.centre)).T)
        values["bias"] = abs(away.mean() - truth.radius)
    return values


def distances(points, rings):
    """From each point to the nearest side of rings of points that are close together."""
    starts = np.concatenate(rings)
    after = np.concatenate([np.roll(ring, -1, axis=0) for ring in rings])
    before = np.concatenate([np.roll(ring, 1, axis=0) for ring in rings])
    # The nearest side need not be one of the nearest point's where sides are of different lengths.
    nearest = cKDTree(starts).query(points, k=min(4, len(starts)))[1].reshape(len(points), -1).T
    return np.min([np.minimum(to_sides(points, starts[k], after[k]), to_sides(points, before[k], starts[k]))
                   for k in nearest], axis=0)


def to_sides(points, a, b):
    side = b - a
    squared = np.maximum(np.sum(side * side, axis=1), 1e-30)
    t = np.clip(np.sum((points - a) * side, axis=1) / squared, 0, 1)
    return np.hypot(*(points - a - t[:, None] * side).T)


def area_of(outlines):
    """Holes are drawn as outlines inside others, in either direction."""
    total = 0.0
    boxes = [(outline.points.min(axis=0), outline.points.max(axis=0)) for outline in outlines]
    for k, outline in enumerate(outlines):
        place = outline.points[0]
        depth = sum(contains(other.points, place) for i, other in enumerate(outlines)
                    if i != k and (boxes[i][0] <= boxes[k][0]).all() and (boxes[i][1] >= boxes[k][1]).all())
        total += abs(outline.area) * (-1 if depth % 2 else 1)
    return total


def contains(ring, place):
    (x, y), (px, py) = ring.T, place
    nx, ny = np.roll(x, -1), np.roll(y, -1)
    across = (y > py) != (ny > py)
    at = x[across] + (py - y[across]) / (ny[across] - y[across]) * (nx[across] - x[across])
    return np.count_nonzero(at > px) % 2


def corners(truth, sharp):
    """Joints where the truth has none, corners that are missed, and how far off the others are."""
    if len(truth.corners) == 0:
        return {"kinks": len(sharp), "missed": 0.0, "corner": 0.0}
    if len(sharp) == 0:
        return {"kinks": 0, "missed": 100.0, "corner": math.nan}
    off = cKDTree(sharp).query(truth.corners)[0]
    found = off[off <= MISSED]
    stray = cKDTree(truth.corners).query(sharp)[0] > SAME_CORNER
    return {"kinks": int(stray.sum()), "missed": 100 * np.mean(off > MISSED),
            "corner": math.sqrt(np.mean(found ** 2)) if len(found) else math.nan}
