# (c) the ztrace developers. Licence: see LICENSE.
"""Where paths meet, and how: L, T, Y or X by the directions of the arms that leave the point.

A path that ends there has one arm, one that passes has two. Two arms are an L unless they go on
straight; three are a T where two of them are opposite and a Y where not; four are an X where they
are two opposite pairs. More is no kind of its own and is left out, as are dashed paths.
"""
import math

import numpy
from scipy.spatial import cKDTree

from primitives import ends, is_path, samples

LOOK = 5.0         # pixels along an arm to where its direction is taken
OPPOSITE = 20.0    # degrees that opposite arms may deviate from straight
CROSSING = 0.7     # pixels between samples of paths that cross, the step being half a pixel
APART = 2.5        # pixels: meeting points nearer than that are one junction


class Web:
    """All paths as samples, with which path each belongs to."""

    def __init__(self, paths):
        self.paths = paths
        sampled = [samples(path)[0] for path in paths]
        self.starts = numpy.concatenate([[0], numpy.cumsum([len(points) for points in sampled])])
        self.points = numpy.concatenate(sampled)
        self.owner = numpy.repeat(numpy.arange(len(paths)), [len(points) for points in sampled])
        self.tree = cKDTree(self.points)
        self.ends = [ends(path) for path in paths]

    def crossings(self):
        """Points where two paths come together, one for every pair and place."""
        pairs = self.tree.query_pairs(CROSSING, output_type="ndarray")
        pairs = pairs[self.owner[pairs[:, 0]] != self.owner[pairs[:, 1]]]
        gaps = numpy.hypot(*(self.points[pairs[:, 0]] - self.points[pairs[:, 1]]).T)
        taken = {}
        for place in numpy.argsort(gaps, kind="stable"):
            first, second = pairs[place]
            key = (self.owner[first], self.owner[second])
            point = self.crossing_of(first, second)
            if point is not None and all(math.dist(point, other) > APART
                                         for other in taken.get(key, [])):
                taken.setdefault(key, []).append(point)
                yield point

    def heading(self, sample):
        owner = self.owner[sample]
        low, high = self.starts[owner], self.starts[owner + 1] - 1
        step = self.points[min(sample + 1, high)] - self.points[max(sample - 1, low)]
        return step / max(math.hypot(*step), 1e-9)

    def crossing_of(self, first, second):
        """Where the tangents at two samples cross; None where they run along each other."""
        one, other = self.heading(first), self.heading(second)
        cross = one[0] * other[1] - one[1] * other[0]
        if abs(cross) < 0.17:
            return None
        gap = self.points[second] - self.points[first]
        place = (gap[0] * other[1] - gap[1] * other[0]) / cross
        return self.points[first] + one * place if abs(place) < 4 else None

    def arms(self, point, reach):
        """Directions of the arms that leave a point."""
        near = self.tree.query_ball_point(point, reach)
        result = []
        for owner in set(self.owner[near].tolist()):
            own = [sample for sample in near if self.owner[sample] == owner]
            nearest = min(own, key=lambda sample: math.dist(self.points[sample], point))
            result += self.arms_of(owner, nearest, point, reach)
        return result

    def arms_of(self, owner, sample, point, reach):
        low, high = self.starts[owner], self.starts[owner + 1] - 1
        steps = int(LOOK / 0.5)
        closed = len(self.ends[owner]) == 0
        result = []
        for sign, end in ((-1, low), (1, high)):
            there = sample + sign * steps
            if closed:
                there = low + (there - low) % (high - low)
            elif (end - sample) * sign * 0.5 <= reach:
                continue
            else:
                there = min(max(there, low), high)
            step = self.points[there] - self.points[sample]
            result.append(step / max(math.hypot(*step), 1e-9))
        return result


def kind_of(arms):
    """L, T, Y, X, or None."""
    count = len(arms)
    if not 2 <= count <= 4:
        return None
    straight = -math.cos(math.radians(OPPOSITE))
    pairs = [(i, j) for i in range(count) for j in range(i) if arms[i] @ arms[j] < straight]
    if count == 2:
        return None if pairs or arms[0] @ arms[1] > -straight else "L"
    if count == 3:
        return "T" if pairs else "Y"
    return "X" if any(set(one) | set(other) == {0, 1, 2, 3} for one in pairs for other in pairs) \
        else None


def apart(points):
    """The points without those within APART of one before them."""
    kept, cells = [], {}
    for point in points:
        column, row = int(point[0] // APART), int(point[1] // APART)
        around = [other for x in (-1, 0, 1) for y in (-1, 0, 1)
                  for other in cells.get((column + x, row + y), ())]
        if all(math.dist(point, other) > APART for other in around):
            cells.setdefault((column, row), []).append(point)
            kept.append(point)
    return kept


def junctions(paths, reach, near=None):
    """[(point, kind)] of paths that are whole lines. A path ends at a point when its end is within
    `reach` pixels, and meets what is as near. With points `near`, only those around them."""
    paths = [path for path in paths if is_path(path) and not path.get("type")]
    if near is not None:
        paths = around(paths, near)
    if not paths:
        return []
    web = Web(paths)
    places = list(web.crossings())
    places += [point for both in web.ends for point in both]
    if near is not None:
        gaps = cKDTree(near).query(places)[0]
        places = [point for point, gap in zip(places, gaps) if gap <= 2 * APART]
    found = [(point, kind_of(web.arms(point, reach))) for point in apart(places)]
    return [(point, kind) for point, kind in found if kind]


def around(paths, points, reach=20.0):
    """The paths that come near one of the points."""
    if not len(points):
        return []
    tree = cKDTree(points)
    return [path for path in paths if tree.query(samples(path)[0][::8])[0].min() <= reach]


def near_each_other(wanted, there, within):
    """For each of `wanted`, whether one of its kind is there within that distance."""
    right = numpy.zeros(len(wanted), bool)
    for kind in "LTYX":
        mine = [i for i, (_, other) in enumerate(wanted) if other == kind]
        points = [point for point, other in there if other == kind]
        if mine and points:
            right[mine] = cKDTree(points).query([wanted[i][0] for i in mine])[0] <= within
    return right
