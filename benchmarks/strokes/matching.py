# (c) the ztrace developers. Licence: see LICENSE.
"""Which drawn primitives are which true ones: one to one, as many as can be.

A line counts when both ends are within 2 px; where it carries an arrow head it may end anywhere from
the head's base to its tip. A circle counts with its centre within 0.7 px and its radius within 0.5 %
+ 0.3 px; an arc likewise and with its ends and its middle within 2 px, centre and radius in proportion
wider where it sweeps less than a quarter turn; an ellipse with its centre and both radii like a
circle's, and turned so that nothing of it is off by more than a pixel. Dashed ones count alike, when
they have a line type. An arrow head is an area with its centre within 2 px or a quarter of its length
and half to twice its size.
"""
import math

import numpy
from scipy.sparse import csr_matrix
from scipy.sparse.csgraph import maximum_bipartite_matching
from scipy.spatial import cKDTree

from primitives import ends, points_at, turn

END = 2.0
CENTRE = 0.7
SLACK = 3.0  # what any point may be off at most, for the search alone


def end_fits(point, tip, base):
    """Within END of a true end, or of the axis of the arrow head there."""
    if base is None:
        return math.dist(point, tip) <= END
    tip, base = numpy.asarray(tip), numpy.asarray(base)
    axis = base - tip
    share = numpy.clip((numpy.asarray(point) - tip) @ axis / max(axis @ axis, 1e-9), 0, 1)
    return math.dist(point, tip + share * axis) <= END


def ends_fit(true, drawn):
    wanted, there = ends(true), ends(drawn)
    if len(wanted) != len(there):
        return False
    bases = [true.get("tips", {}).get(end) for end in "01"]
    return any(all(map(end_fits, order, wanted, bases)) for order in (there, there[::-1]))


def radius_slack(radius):
    return 0.005 * radius + 0.3


def circle_fits(true, drawn, wider=1.0):
    return math.dist(true["centre"], drawn["centre"]) <= CENTRE * wider and \
        abs(true["radius"] - drawn["radius"]) <= radius_slack(true["radius"]) * wider


def arc_fits(true, drawn):
    wider = max(1.0, math.pi / 2 / abs(turn(true)))
    middles = [points_at(item, [0.5])[0] for item in (true, drawn)]
    return circle_fits(true, drawn, wider) and ends_fit(true, drawn) \
        and math.dist(*middles) <= END


def ellipse_fits(true, drawn):
    if math.dist(true["centre"], drawn["centre"]) > CENTRE:
        return False
    (a, b), (c, d) = true["radii"], drawn["radii"]
    turned = true["angle"] - drawn["angle"]
    if (a > b) != (c > d):
        c, d, turned = d, c, turned + math.pi / 2
    if abs(a - c) > radius_slack(a) or abs(b - d) > radius_slack(b):
        return False
    return abs(math.sin(turned)) * abs(a - b) <= 1.0


def area_of(points):
    x, y = numpy.asarray(points, float).T
    return abs(numpy.dot(x, numpy.roll(y, 1)) - numpy.dot(y, numpy.roll(x, 1))) / 2


def middle_of(points):
    """Centre of gravity of a polygon."""
    x, y = numpy.asarray(points, float).T
    cross = x * numpy.roll(y, -1) - y * numpy.roll(x, -1)
    if abs(cross.sum()) < 1e-9:
        return numpy.array([x.mean(), y.mean()])
    return numpy.array([((x + numpy.roll(x, -1)) * cross).sum(),
                        ((y + numpy.roll(y, -1)) * cross).sum()]) / (3 * cross.sum())


def arrow_fits(true, drawn):
    tip, one, other = numpy.asarray(true["points"])
    size = math.dist(tip, (one + other) / 2)
    ratio = area_of(drawn["points"]) / max(area_of(true["points"]), 1e-9)
    off = math.dist(middle_of(true["points"]), middle_of(drawn["points"]))
    return off <= max(END, size / 4) and 0.5 <= ratio <= 2


FITS = {"line": ends_fit, "circle": circle_fits, "arc": arc_fits, "ellipse": ellipse_fits,
        "arrow": arrow_fits}


def place_of(item):
    """A point that is nearly the same for whatever could be the same primitive."""
    if item["kind"] in ("circle", "ellipse"):
        return item["centre"]
    if item["kind"] in ("arrow", "area"):
        return middle_of(item["points"])
    return points_at(item, [0.5])[0]


def reach_of(items):
    """How far apart the places of a pair that fits may be: an arrow head lets a line be shorter."""
    heads = [math.dist(base, points_at(item, [float(end)])[0])
             for item in items for end, base in item.get("tips", {}).items()]
    sizes = [math.dist(item["points"][0], item["points"][1]) for item in items
             if item["kind"] == "arrow"]
    return SLACK + max(heads + sizes, default=0.0)


def matched(true, drawn):
    """Pairs (index into true, index into drawn), as many as there can be. Dashed and whole ones
    must not be mixed by the caller; kinds may be."""
    if not true or not drawn:
        return []
    tree = cKDTree([place_of(item) for item in drawn])
    near = tree.query_ball_point([place_of(item) for item in true], reach_of(true))
    rows, columns = [], []
    for i, candidates in enumerate(near):
        for j in candidates:
            kind = "arrow" if drawn[j]["kind"] == "area" else drawn[j]["kind"]
            if kind == true[i]["kind"] and FITS[kind](true[i], drawn[j]):
                rows.append(i)
                columns.append(j)
    graph = csr_matrix((numpy.ones(len(rows)), (rows, columns)), (len(true), len(drawn)))
    partner = maximum_bipartite_matching(graph, perm_type="column")
    return [(i, int(j)) for i, j in enumerate(partner) if j >= 0]
