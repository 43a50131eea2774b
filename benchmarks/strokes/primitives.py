# (c) the ztrace developers. Licence: see LICENSE.
"""What drawings are made of: lines, circles, arcs, ellipses, curves, and arrow heads.

Coordinates are pixels, x to the right, y DOWN, and the upper left pixel is the square from (0, 0) to
(1, 1). Angles are in radians and grow from x to y, so clockwise as one sees it. A primitive is a
dictionary, so that truth is read and written as JSON as it is:

    kind     "line"     points [[x, y], [x, y]]
             "circle"   centre [x, y], radius
             "arc"      centre, radius, start (of either sign), sweep (its sign is the direction)
             "ellipse"  centre, radii [a, b], angle (of a against x); start, sweep when not whole
             "curve"    points, at most half a pixel apart: a path that has no kind of its own
             "arrow"    points [tip, corner, corner]: a solid triangle
             "solid"    points: another solid area, in the truth alone
    width    of the pen in pixels
    dash     lengths of pen down and pen up by turns, in pixels; missing when the line is whole
    type     "hidden", "centre", "phantom", "dot" where dash is
    role     "outline", "dim", "hatch", "text", "frame": which part of a drawing it is
    tips     for a line or an arc: {"0": [x, y]}, the middle of the arrow head's base at that end
    weight   in results: the line weight in hundredths of a millimetre
"""
import math

import numpy

STEP = 0.5  # pixels between samples
PATHS = ("line", "circle", "arc", "ellipse", "curve")


def is_path(primitive):
    return primitive["kind"] in PATHS


def turn(primitive):
    """The swept angle, a whole turn where none is said."""
    return primitive.get("sweep", 2 * math.pi)


def length(primitive):
    kind = primitive["kind"]
    if kind in ("line", "curve"):
        steps = numpy.diff(numpy.asarray(primitive["points"], float), axis=0)
        return float(numpy.hypot(steps[:, 0], steps[:, 1]).sum())
    if kind == "ellipse":
        points = ellipse_points(primitive, numpy.linspace(0, 1, 721))
        steps = numpy.diff(points, axis=0)
        return float(numpy.hypot(steps[:, 0], steps[:, 1]).sum())
    return primitive["radius"] * abs(turn(primitive))


def ellipse_points(primitive, shares):
    """Points at shares of the parameter's range, 0..1."""
    a, b = primitive["radii"]
    at = primitive.get("start", 0.0) + turn(primitive) * shares
    x, y = a * numpy.cos(at), b * numpy.sin(at)
    cosine, sine = math.cos(primitive["angle"]), math.sin(primitive["angle"])
    return numpy.stack([primitive["centre"][0] + x * cosine - y * sine,
                        primitive["centre"][1] + x * sine + y * cosine], axis=1)


def along(points, distances):
    """Points of a polyline at distances from its start."""
    steps = numpy.diff(points, axis=0)
    lengths = numpy.concatenate([[0], numpy.cumsum(numpy.hypot(steps[:, 0], steps[:, 1]))])
    return numpy.stack([numpy.interp(distances, lengths, points[:, axis]) for axis in (0, 1)],
                       axis=1)


def points_at(primitive, shares):
    """Points of a path at shares of its length, 0..1."""
    shares = numpy.asarray(shares, float)
    kind = primitive["kind"]
    if kind == "line":
        first, last = numpy.asarray(primitive["points"], float)
        return first + shares[:, None] * (last - first)
    if kind == "curve":
        return along(numpy.asarray(primitive["points"], float), shares * length(primitive))
    if kind == "ellipse":
        fine = ellipse_points(primitive, numpy.linspace(0, 1, 721))
        return along(fine, shares * length(primitive))
    at = primitive.get("start", 0.0) + turn(primitive) * shares
    return numpy.stack([primitive["centre"][0] + primitive["radius"] * numpy.cos(at),
                        primitive["centre"][1] + primitive["radius"] * numpy.sin(at)], axis=1)


def is_closed(primitive):
    kind = primitive["kind"]
    return kind == "circle" or (kind in ("arc", "ellipse")
                                and abs(turn(primitive)) > 2 * math.pi - 1e-6)


def ends(primitive):
    """Both ends of a path; none where it is closed."""
    return [] if is_closed(primitive) else points_at(primitive, [0, 1])


def samples(primitive):
    """Points at most STEP apart with both ends, and for each whether the pen is down there."""
    whole = length(primitive)
    count = max(2, int(math.ceil(whole / STEP)) + 1)
    shares = numpy.linspace(0, 1, count)
    down = numpy.ones(count, bool)
    if primitive.get("dash"):
        pattern = numpy.cumsum([0] + list(primitive["dash"]))
        place = numpy.searchsorted(pattern, (shares * whole + 1e-9) % pattern[-1], "right") - 1
        down = place % 2 == 0
    return points_at(primitive, shares), down


def all_points(primitive):
    """Points that span the primitive, for boxes around it."""
    if primitive["kind"] in ("arrow", "solid"):
        return numpy.asarray(primitive["points"], float)
    return points_at(primitive, numpy.linspace(0, 1, 33))


def box(primitives):
    """x and y of the least and of the greatest corner."""
    points = numpy.concatenate([all_points(primitive) for primitive in primitives])
    return points.min(axis=0), points.max(axis=0)


def moved(primitive, matrix):
    """The primitive under an affine map (2 rows of 3 numbers) that does not mirror and is nearly a
    similarity: circles stay circles, with the mean of both scales."""
    matrix = numpy.asarray(matrix, float)
    scale = math.sqrt(matrix[0, 0] * matrix[1, 1] - matrix[0, 1] * matrix[1, 0])
    angle = math.atan2(matrix[1, 0] - matrix[0, 1], matrix[0, 0] + matrix[1, 1])

    def place(point):
        return [float(v) for v in matrix[:, :2] @ numpy.asarray(point, float) + matrix[:, 2]]

    result = dict(primitive)
    for key in ("points",):
        if key in result:
            result[key] = [place(point) for point in result[key]]
    if "centre" in result:
        result["centre"] = place(result["centre"])
    if "tips" in result:
        result["tips"] = {end: place(point) for end, point in result["tips"].items()}
    for key in ("radius", "width"):
        if key in result:
            result[key] *= scale
    for key in ("radii", "dash"):
        if key in result:
            result[key] = [value * scale for value in result[key]]
    if result["kind"] == "arc":
        result["start"] += angle
    if result["kind"] == "ellipse":
        result["angle"] += angle
    return result


def line(first, last, **more):
    return dict(kind="line", points=[[float(v) for v in first], [float(v) for v in last]], **more)


def circle(centre, radius, **more):
    return dict(kind="circle", centre=[float(v) for v in centre], radius=float(radius), **more)


def arc(centre, radius, start, sweep, **more):
    return dict(kind="arc", centre=[float(v) for v in centre], radius=float(radius),
                start=float(start), sweep=float(sweep), **more)
