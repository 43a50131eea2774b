# (c) the ztrace developers. Licence: see LICENSE.
"""Reads FIG drawings (format 3.2) into primitives.

Taken are polylines, boxes, boxes with round corners, polygons, circles, ellipses, arcs, their dashes
and their arrow heads. Left out are text, pictures, splines, filled shapes, and what has no pen. Lengths
are the file's units, 1200 an inch; y points down there too. The pen's width is the file's thickness,
in units of 1/80 inch: who draws it says what that means in pixels.
"""
import math

import numpy

from primitives import arc, circle, line

UNITS_PER_80TH = 15.0
STYLES = {1: "hidden", 2: "dot", 3: "centre", 4: "phantom"}


class Numbers:
    """The lines of a file as one goes through it."""

    def __init__(self, text):
        self.lines = [row for row in text.split("\n") if not row.startswith("#")]
        self.at = 0

    def next(self):
        self.at += 1
        return self.lines[self.at - 1]

    def more(self):
        return self.at < len(self.lines)

    def take(self, count):
        """That many numbers from the next lines."""
        numbers = []
        while len(numbers) < count:
            numbers += [float(word) for word in self.next().split()]
        return numbers


def common(fields):
    """What every shape has in the same places: (pen's attributes, whether it is drawn)."""
    style, thickness, fill = int(fields[2]), int(fields[3]), int(fields[8])
    pen = {"width": float(thickness)}
    if style > 0:
        pen["type"] = STYLES.get(style, "hidden")
    return pen, thickness > 0 and fill < 0


def arrows_of(source, fields, forward, backward):
    """{end: (filled or not, width, length)} of the arrow heads, whose lines follow."""
    result = {}
    for end, field in (("1", forward), ("0", backward)):
        if int(fields[field]):
            kind, style, _, width, height = source.take(5)
            result[end] = (kind > 0 and style > 0, width, height)
    return result


def with_arrow(path, end, tip, back, arrow):
    """Adds the head at one end of a path; `back` is the direction from the tip along the path."""
    solid, width, height = arrow
    tip, back = numpy.asarray(tip), numpy.asarray(back)
    across = numpy.array([-back[1], back[0]]) * width / 2
    base = tip + back * height
    if solid:
        path.setdefault("tips", {})[end] = base.tolist()
        return [{"kind": "arrow", "points": [tip.tolist(), (base + across).tolist(),
                                             (base - across).tolist()]}]
    return [line(tip, base + across, width=path["width"]),
            line(tip, base - across, width=path["width"])]


def polyline(source, fields):
    pen, drawn = common(fields)
    arrows = arrows_of(source, fields, 13, 14)
    if int(fields[1]) == 5:
        source.next()
        drawn = False
    points = numpy.array(source.take(2 * int(fields[15]))).reshape(-1, 2)
    points = points[numpy.concatenate([[True], numpy.abs(numpy.diff(points, axis=0)).sum(1) > 0])]
    if not drawn or len(points) < 2:
        return []
    if int(fields[1]) == 4:
        return round_box(points, float(fields[12]) * UNITS_PER_80TH, pen)
    result = [line(first, last, **pen) for first, last in zip(points[:-1], points[1:])]
    heads = []
    for end, arrow in arrows.items():
        path = result[0] if end == "0" else result[-1]
        tip, other = path["points"] if end == "0" else path["points"][::-1]
        back = numpy.subtract(other, tip)
        heads += with_arrow(path, end, tip, back / math.hypot(*back), arrow)
    return result + heads


def round_box(points, radius, pen):
    (left, top), (right, bottom) = points.min(axis=0), points.max(axis=0)
    radius = min(radius, (right - left) / 2, (bottom - top) / 2)
    if radius <= 0:
        return []
    result = []
    for x0, y0, x1, y1 in ((left + radius, top, right - radius, top),
                           (right, top + radius, right, bottom - radius),
                           (right - radius, bottom, left + radius, bottom),
                           (left, bottom - radius, left, top + radius)):
        if math.hypot(x1 - x0, y1 - y0) > 0:
            result.append(line((x0, y0), (x1, y1), **pen))
    corners = ((right - radius, top + radius, -0.5), (right - radius, bottom - radius, 0.0),
               (left + radius, bottom - radius, 0.5), (left + radius, top + radius, 1.0))
    return result + [arc((x, y), radius, quarter * math.pi, math.pi / 2, **pen)
                     for x, y, quarter in corners]


def ellipse(fields):
    pen, drawn = common(fields)
    centre, radii = (float(fields[12]), float(fields[13])), (float(fields[14]), float(fields[15]))
    if not drawn or min(radii) <= 0:
        return []
    if abs(radii[0] - radii[1]) <= 0.002 * max(radii):
        return [circle(centre, sum(radii) / 2, **pen)]
    return [dict(kind="ellipse", centre=list(centre), radii=list(radii), angle=-float(fields[11]),
                 **pen)]


def arc_of(source, fields):
    pen, drawn = common(fields)
    centre = numpy.array([float(fields[14]), float(fields[15])])
    points = numpy.array([float(field) for field in fields[16:22]]).reshape(3, 2) - centre
    arrows = arrows_of(source, fields, 12, 13)
    if not drawn:
        return []
    at = numpy.arctan2(points[:, 1], points[:, 0])
    to_middle, sweep = (at[1] - at[0]) % (2 * math.pi), (at[2] - at[0]) % (2 * math.pi)
    if to_middle > sweep:
        sweep -= 2 * math.pi
    radius = float(numpy.hypot(points[:, 0], points[:, 1]).mean())
    if radius <= 0 or abs(sweep) < 1e-6:
        return []
    path = arc(centre, radius, at[0], sweep, **pen)
    result = [path]
    if int(fields[1]) == 2:
        result += [line(centre, centre + points[0], **pen), line(centre + points[2], centre, **pen)]
    for end, arrow in arrows.items():
        sign, angle = (1, at[0]) if end == "0" else (-1, at[0] + sweep)
        tip = centre + radius * numpy.array([math.cos(angle), math.sin(angle)])
        back = sign * math.copysign(1, sweep) * numpy.array([-math.sin(angle), math.cos(angle)])
        result += with_arrow(path, end, tip, back, arrow)
    return result


def skip_spline(source, fields):
    arrows_of(source, fields, 11, 12)
    source.take(3 * int(fields[13]))


def skip_text(source, first):
    """Text goes on over lines until its end mark."""
    while "\\001" not in first and source.more():
        first = source.next()


def shapes(source):
    """Primitives of the objects that follow the header."""
    while source.more():
        row = source.next()
        fields = row.split()
        if not fields:
            continue
        if fields[0] == "1":
            yield from ellipse(fields)
        elif fields[0] == "2":
            yield from polyline(source, fields)
        elif fields[0] == "3":
            skip_spline(source, fields)
        elif fields[0] == "4":
            skip_text(source, row)
        elif fields[0] == "5":
            yield from arc_of(source, fields)
        elif fields[0] not in ("0", "6", "-6"):
            raise ValueError(f"unknown object {fields[0]}")


def read(text):
    """Primitives of a FIG file, as drawn there; ValueError where it is not one."""
    if not text.startswith("#FIG 3"):
        raise ValueError("no FIG drawing of version 3")
    source = Numbers(text)
    try:
        for _ in range(7):
            source.next()
        source.take(2)
        return list(shapes(source))
    except IndexError:
        raise ValueError("ends within an object") from None
