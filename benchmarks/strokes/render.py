# (c) the ztrace developers. Licence: see LICENSE.
"""Draws primitives with Cairo: the share of ink in every pixel."""
import math

import cairo
import numpy

from primitives import ellipse_points, ends, is_path, turn


def context_of(width, height, matrix):
    surface = cairo.ImageSurface(cairo.FORMAT_A8, width, height)
    context = cairo.Context(surface)
    context.set_antialias(cairo.ANTIALIAS_BEST)
    context.set_tolerance(0.02)
    (xx, xy, x0), (yx, yy, y0) = matrix
    context.set_matrix(cairo.Matrix(xx, yx, xy, yy, x0, y0))
    return surface, context


def pixels_of(surface):
    """Shares of ink, 0..255, as an array of bytes."""
    surface.flush()
    rows = numpy.ndarray((surface.get_height(), surface.get_stride()), numpy.uint8,
                         surface.get_data())
    return rows[:, :surface.get_width()].copy()


def shortened(points, tips):
    """The two ends of a line, drawn into its arrow heads and no further."""
    points = [list(point) for point in points]
    for end, base in tips.items():
        tip = points[int(end)]
        points[int(end)] = [base[axis] + 0.3 * (tip[axis] - base[axis]) for axis in (0, 1)]
    return points


def add_path(context, primitive):
    kind = primitive["kind"]
    context.new_path()
    if kind == "line":
        first, last = shortened(primitive["points"], primitive.get("tips", {}))
        context.move_to(*first)
        context.line_to(*last)
    elif kind in ("circle", "arc"):
        start, sweep = primitive.get("start", 0.0), turn(primitive)
        for end, base in primitive.get("tips", {}).items():
            trim = 0.7 * math.dist(base, ends(primitive)[int(end)]) / primitive["radius"]
            start += math.copysign(trim, sweep) * (end == "0")
            sweep -= math.copysign(trim, sweep)
        draw = context.arc if sweep > 0 else context.arc_negative
        draw(*primitive["centre"], primitive["radius"], start, start + sweep)
        if kind == "circle" and not primitive.get("dash"):
            context.close_path()
    else:
        points = primitive["points"] if kind == "curve" else \
            ellipse_points(primitive, numpy.linspace(0, 1, 721))
        context.move_to(*points[0])
        for point in points[1:]:
            context.line_to(*point)


def draw_one(context, primitive, cap):
    if not is_path(primitive):
        context.new_path()
        for point in primitive["points"]:
            context.line_to(*point)
        context.close_path()
        context.fill()
        return
    context.set_line_width(primitive["width"])
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    dashed = bool(primitive.get("dash"))
    context.set_dash(primitive.get("dash", []))
    context.set_line_cap(cairo.LINE_CAP_ROUND if cap == "round" and not dashed
                         else cairo.LINE_CAP_BUTT)
    add_path(context, primitive)
    context.stroke()


def draw_corners(context, primitives):
    """Discs where ends of several paths meet, which butt ends would leave notched."""
    met = {}
    for primitive in primitives:
        if is_path(primitive):
            for point in ends(primitive):
                key = (round(point[0]), round(point[1]))
                met.setdefault(key, []).append((tuple(point), primitive["width"]))
    for meeting in met.values():
        if len(meeting) > 1:
            context.new_path()
            context.arc(*meeting[0][0], min(width for _, width in meeting) / 2, 0, 2 * math.pi)
            context.fill()


def coverage(primitives, width, height, matrix=((1, 0, 0), (0, 1, 0)), cap="round"):
    """Shares of ink, 0..255, of every pixel. The affine map takes primitives, and their pens, to
    pixels; cap is "round" or "butt"."""
    surface, context = context_of(width, height, matrix)
    for primitive in primitives:
        draw_one(context, primitive, cap)
    if cap == "butt":
        draw_corners(context, primitives)
    return pixels_of(surface)
