# (c) the ztrace developers. Licence: see LICENSE.
"""Numbers of one drawing against its truth, such that those of many drawings can be added.

Distances are taken from samples each half a pixel: from the truth, where the pen is down and no arrow
head covers it, to the nearest that was drawn, and from all that was drawn to the nearest truth.
Lettering, and curves that have no kind of their own, count for distances and lengths alone; so do
outlines of solid areas, which nobody asks to be drawn or not.
"""
import numpy
from scipy.spatial import cKDTree

import junctions
import linetypes
from matching import matched
from primitives import STEP, is_path, samples

WITHIN = 1.5      # pixels: nearer is found, and drawn rightly
FAR = 20.0        # pixels: distances are cut there
BINS = 2000       # of a histogram of distances up to FAR
KINDS = ("line", "circle", "arc", "ellipse")
UNCOUNTED = ("text",)


class Trail:
    """Samples of paths, with what each belongs to."""

    def __init__(self, paths):
        sampled = [samples(path) for path in paths]
        sizes = [len(points) for points, _ in sampled]
        self.points = numpy.concatenate([points for points, _ in sampled] or [numpy.empty((0, 2))])
        self.down = numpy.concatenate([down for _, down in sampled] or [numpy.empty(0, bool)])
        self.owner = numpy.repeat(numpy.arange(len(paths)), sizes)
        self.last = numpy.zeros(len(self.points), bool)
        if len(sizes):
            self.last[numpy.cumsum(sizes) - 1] = True
        self.weights = self.steps()
        self.tree = cKDTree(self.points) if len(self.points) else None

    def steps(self):
        """Length that each sample stands for."""
        gaps = numpy.hypot(*numpy.diff(self.points, axis=0).T) if len(self.points) > 1 \
            else numpy.zeros(0)
        gaps = numpy.append(gaps, 0.0)[:len(self.points)]
        gaps[self.last] = 0
        return (gaps + numpy.concatenate([[0], gaps[:-1]])[:len(gaps)]) / 2

    def nearest(self, points):
        """(distance to the paths, cut at FAR; the nearest sample) of each of the points."""
        if self.tree is None or not len(points):
            return numpy.full(len(points), FAR), numpy.full(len(points), -1)
        distance, index = self.tree.query(points, k=min(2, len(self.points)),
                                          distance_upper_bound=FAR)
        distance, index = (values.reshape(len(points), -1) for values in (distance, index))
        best = numpy.full(len(points), FAR)
        for column in range(index.shape[1]):
            known = index[:, column] < len(self.points)
            at = index[known, column]
            for forward in (True, False):
                near = self.to_segment(points[known], at, forward)
                best[known] = numpy.minimum(best[known], near)
        index[:, 0][index[:, 0] == len(self.points)] = -1
        return numpy.minimum(best, FAR), index[:, 0]

    def to_segment(self, points, at, forward):
        """Distance to the step from a sample to the next of its path, or from the one before."""
        if forward:
            first, second = at, numpy.where(self.last[at], at, numpy.minimum(
                at + 1, len(self.points) - 1))
        else:
            before = numpy.maximum(at - 1, 0)
            first, second = numpy.where((at == 0) | self.last[before], at, before), at
        start, step = self.points[first], self.points[second] - self.points[first]
        square = numpy.maximum((step * step).sum(axis=1), 1e-12)
        share = numpy.clip(((points - start) * step).sum(axis=1) / square, 0, 1)
        return numpy.hypot(*(points - start - step * share[:, None]).T)


def histogram(distances, weights):
    place = numpy.minimum((distances * (BINS / FAR)).astype(int), BINS - 1)
    return numpy.bincount(place, weights, BINS)


def inside(points, corners):
    """Which points lie within a triangle, or on it."""
    corners = numpy.asarray(corners, float)
    sides = []
    for first, second in zip(corners, numpy.roll(corners, -1, axis=0)):
        step, to = second - first, points - first
        sides.append(step[0] * to[:, 1] - step[1] * to[:, 0])
    sides = numpy.array(sides)
    return (sides >= -1e-9).all(axis=0) | (sides <= 1e-9).all(axis=0)


def under_arrows(points, arrows):
    hidden = numpy.zeros(len(points), bool)
    if not len(points):
        return hidden
    tree = cKDTree(points)
    for arrow in arrows:
        corners = numpy.asarray(arrow["points"], float)
        reach = numpy.hypot(*(corners - corners[0]).T).max()
        near = numpy.array(tree.query_ball_point(corners[0], reach), int)
        if len(near):
            hidden[near] |= inside(points[near], corners)
    return hidden


def outline(points):
    corners = [list(map(float, point)) for point in points]
    return [dict(kind="line", points=[one, other], width=0.0)
            for one, other in zip(corners, corners[1:] + corners[:1]) if one != other]


def share_of(owner, count, hit):
    """For each primitive the share of its samples that are hit."""
    total = numpy.bincount(owner, minlength=count)
    return numpy.bincount(owner, hit, count) / numpy.maximum(total, 1)


class Comparison:
    """truth: a drawing (truth.py). drawn: primitives as a reader left them."""

    def __init__(self, truth, drawn):
        self.truth = truth
        shapes = truth["primitives"]
        self.paths = [item for item in shapes if is_path(item)]
        self.arrows = [item for item in shapes if item["kind"] == "arrow"]
        self.solids = [item for item in shapes if not is_path(item)]
        self.counted = [item for item in self.paths
                        if item["kind"] in KINDS and item.get("role") not in UNCOUNTED]
        self.drawn = [item for item in drawn if is_path(item)]
        self.areas = [item for item in drawn if item["kind"] == "area"]
        self.true_trail, self.drawn_trail = Trail(self.paths), Trail(self.drawn)
        self.sort_drawn()

    def sort_drawn(self):
        """Finds which drawn paths are of what is not counted, and how far each sample is off."""
        points = self.drawn_trail.points
        self.off, nearest = self.true_trail.nearest(points)
        edges = [side for solid in self.solids for side in outline(solid["points"])]
        at_edge = Trail(edges).nearest(points)[0] <= WITHIN
        self.of_solid = share_of(self.drawn_trail.owner, len(self.drawn), at_edge) > 0.6
        free = numpy.array([item["kind"] not in KINDS or item.get("role") in UNCOUNTED
                            for item in self.paths] + [False])
        owner = numpy.append(self.true_trail.owner, len(self.paths))[nearest]
        of_free = free[owner] & (self.off <= WITHIN)
        self.of_free = share_of(self.drawn_trail.owner, len(self.drawn), of_free) > 0.6

    def judged(self):
        """The drawn paths that count one to one."""
        return [item for item, solid, free in zip(self.drawn, self.of_solid, self.of_free)
                if not solid and not free]

    def distances(self):
        trail = self.true_trail
        shown = trail.down & ~under_arrows(trail.points, self.arrows)
        missed, _ = self.drawn_trail.nearest(trail.points[shown])
        kept = ~self.of_solid[self.drawn_trail.owner] if len(self.drawn) else slice(None)
        return {"true": histogram(missed, trail.weights[shown]),
                "drawn": histogram(self.off[kept], self.drawn_trail.weights[kept])}

    def lengths_of_weight(self):
        """(length with the right line weight or its neighbour, length found)"""
        trail = self.true_trail
        points, weights = trail.points[trail.down], trail.weights[trail.down]
        off, nearest = self.drawn_trail.nearest(points)
        found = (off <= WITHIN) & (nearest >= 0)
        wanted = numpy.array([linetypes.nearest_weight(linetypes.weight_of(
            item["width"], self.truth["dpi"])) for item in self.paths] + [0])
        given = numpy.array([linetypes.nearest_weight(item["weight"])
                             if item.get("weight", -1) >= 0 else -9
                             for item in self.drawn] + [-9])
        true_owner = trail.owner[trail.down][found]
        drawn_owner = self.drawn_trail.owner[nearest[found]]
        right = numpy.abs(wanted[true_owner] - given[drawn_owner]) <= 1
        return float(weights[found][right].sum()), float(weights[found].sum())

    def matches(self):
        """{kind: (true, drawn, pairs of indices into both)}; dashed ones are a kind of their own."""
        judged = self.judged()
        sets = {}
        for kind in KINDS:
            sets[kind] = ([item for item in self.counted
                           if item["kind"] == kind and not item.get("dash")],
                          [item for item in judged
                           if item["kind"] == kind and not item.get("type")])
        sets["dashed"] = ([item for item in self.counted if item.get("dash")],
                          [item for item in judged if item.get("type")])
        sets["arrow"] = (self.arrows,
                         [item for item in self.areas if item["layer"].upper() == "DIM"])
        return {kind: (true, drawn, matched(true, drawn)) for kind, (true, drawn) in sets.items()}

    def pairs(self):
        """{kind: (right, true, drawn)}"""
        return {kind: (len(pairs), len(true), len(drawn))
                for kind, (true, drawn, pairs) in self.matches().items()}

    def segments(self):
        return sum(item.get("spans", 1) for item in self.judged())

    def junctions(self):
        """(right, true). What is no longer the same seen twice as sharply is not asked for."""
        true = junctions.junctions(self.counted, 2.0)
        sharper = junctions.junctions(self.counted, 1.0)
        sure = junctions.near_each_other(true, sharper, 0.5)
        true = [junction for junction, same in zip(true, sure) if same]
        drawn = junctions.junctions(self.judged(), 2.0, [point for point, _ in true])
        return int(junctions.near_each_other(true, drawn, WITHIN).sum()), len(true)


def measured(truth, drawn):
    """Everything, ready to be added: arrays and numbers by name."""
    both = Comparison(truth, drawn)
    distances = both.distances()
    return {"true": distances["true"], "drawn": distances["drawn"], "pairs": both.pairs(),
            "segments": both.segments(), "primitives": len(both.counted),
            "weight": both.lengths_of_weight(), "junctions": both.junctions()}
