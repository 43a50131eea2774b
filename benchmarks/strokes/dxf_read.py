# (c) the ztrace developers. Licence: see LICENSE.
"""Reads a DXF file into primitives (primitives.py), y downwards again.

Every LINE, ARC, CIRCLE and ELLIPSE, every segment of a polyline, and every spline is a primitive of
its own: what a program left in pieces stays in pieces. Areas (SOLID, TRACE, HATCH, closed polylines
on the layer DIM) are kind "area". Line type and line weight come from the entity or its layer. A file
that ends early or holds nonsense gives what could be read before that.
"""
import math

import numpy

import linetypes
from primitives import arc, circle, line

FULL = 2 * math.pi
AREAS = ("SOLID", "TRACE", "HATCH", "3DFACE")
AREA_LAYER = "DIM"


def pairs(path):
    """(code, value) of a DXF file in text form, as far as it is well formed."""
    with open(path, encoding="utf-8", errors="replace") as stream:
        while True:
            code, value = stream.readline(), stream.readline()
            if not value:
                return
            try:
                yield int(code), value.strip()
            except ValueError:
                return


class Record:
    """One entity: its type and its pairs."""

    def __init__(self, kind):
        self.kind = kind
        self.pairs = []

    def text(self, code, otherwise=""):
        return next((value for key, value in self.pairs if key == code), otherwise)

    def number(self, code, otherwise=0.0):
        return float(self.text(code, otherwise))

    def all(self, code):
        return [float(value) for key, value in self.pairs if key == code]

    def point(self, code):
        return numpy.array([self.number(code), self.number(code + 10)])


def records(path):
    """(section, record) of everything in the file."""
    section, record = "", None
    for code, value in pairs(path):
        if code == 0:
            if record is not None:
                yield section, record
            record = Record(value)
            if value == "ENDSEC":
                section = ""
        elif record is not None:
            record.pairs.append((code, value))
            if record.kind == "SECTION" and code == 2:
                section = value
    if record is not None and record.kind != "EOF":
        yield section, record


class Reader:
    """Collects primitives; `height` turns y upwards into y downwards."""

    def __init__(self, height):
        self.height = height
        self.layers = {}
        self.patterns = {}
        self.found = []
        self.polyline = None

    def place(self, point):
        return [float(point[0]), float(self.height - point[1])]

    def look(self, record):
        """What an entity looks like: its layer, line weight, and dashes."""
        layer = record.text(8, "0")
        layer_type, layer_weight = self.layers.get(layer, ("CONTINUOUS", -3))
        kind = record.text(6, "BYLAYER")
        weight = int(record.number(370, -1))
        kind = layer_type if kind.upper() == "BYLAYER" else kind
        result = {"layer": layer, "width": math.nan,
                  "weight": layer_weight if weight == -1 else weight}
        if not linetypes.is_whole(kind):
            pattern = self.patterns.get(kind.upper())
            scale = record.number(48, 1.0)
            result["type"] = linetypes.name_of(pattern) if pattern else kind.lower()
            if pattern:
                result["dash"] = [value * scale for value in pattern]
        return result

    def table(self, record):
        if record.kind == "LAYER":
            self.layers[record.text(2)] = (record.text(6, "CONTINUOUS"),
                                           int(record.number(370, -3)))
        elif record.kind == "LTYPE":
            lengths = record.all(49)
            if lengths:
                self.patterns[record.text(2).upper()] = [abs(value) for value in lengths]

    def arc(self, centre, radius, start, sweep, look):
        """From angles of y upwards."""
        if radius <= 0:
            return
        if abs(sweep) > FULL - 1e-4:
            self.found.append(circle(self.place(centre), radius, **look))
        else:
            self.found.append(arc(self.place(centre), radius, -start, -sweep, **look))

    def entity(self, record):
        look = self.look(record)
        kind = record.kind
        if kind == "LINE":
            self.line(record.point(10), record.point(11), look)
        elif kind == "CIRCLE":
            self.arc(record.point(10), record.number(40), 0.0, FULL, look)
        elif kind == "ARC":
            start, end = math.radians(record.number(50)), math.radians(record.number(51))
            sweep = (end - start) % FULL or FULL
            self.arc(record.point(10), record.number(40), start, sweep, look)
        elif kind == "ELLIPSE":
            self.ellipse(record, look)
        elif kind == "LWPOLYLINE":
            self.light_polyline(record, look)
        elif kind == "SPLINE":
            self.spline(record, look)
        elif kind in AREAS:
            self.area(record, look)
        elif kind == "POLYLINE":
            self.polyline = (record, look, [])
        elif kind == "VERTEX" and self.polyline:
            self.polyline[2].append((*record.point(10), record.number(42)))
        elif kind == "SEQEND" and self.polyline:
            head, head_look, corners = self.polyline
            self.polyline = None
            self.run(corners, int(head.number(70)) & 1, head_look)

    def line(self, first, last, look):
        if math.dist(first, last) > 0:
            self.found.append(line(self.place(first), self.place(last), **look))

    def ellipse(self, record, look):
        centre, major = record.point(10), record.point(11)
        long = math.hypot(*major)
        if long == 0:
            return
        start, end = record.number(41, 0.0), record.number(42, FULL)
        shape = dict(kind="ellipse", centre=self.place(centre),
                     radii=[long, long * record.number(40, 1.0)],
                     angle=-math.atan2(major[1], major[0]), **look)
        if abs(end - start) < FULL - 1e-4:
            shape.update(start=-start, sweep=-((end - start) % FULL))
        self.found.append(shape)

    def light_polyline(self, record, look):
        corners = []
        for code, value in record.pairs:
            if code == 10:
                corners.append([float(value), 0.0, 0.0])
            elif corners and code in (20, 42):
                corners[-1][1 if code == 20 else 2] = float(value)
        self.run(corners, int(record.number(70)) & 1, look)

    def run(self, corners, closed, look):
        """A polyline of corners with bulges."""
        if closed and look["layer"].upper() == AREA_LAYER:
            self.found.append(dict(kind="area", points=self.outline(corners), **look))
            return
        following = corners[1:] + (corners[:1] if closed else [])
        for (x0, y0, bulge), (x1, y1, _) in zip(corners, following):
            if abs(bulge) < 1e-9:
                self.line((x0, y0), (x1, y1), look)
            elif math.dist((x0, y0), (x1, y1)) > 0:
                self.bulge(numpy.array([x0, y0]), numpy.array([x1, y1]), bulge, look)

    def bulge(self, first, last, bulge, look):
        sweep = 4 * math.atan(bulge)
        chord = last - first
        half = math.hypot(*chord) / 2
        radius = half / abs(math.sin(sweep / 2))
        across = numpy.array([-chord[1], chord[0]]) / (2 * half)
        centre = (first + last) / 2 + across * half * (1 - bulge * bulge) / (2 * bulge)
        start = math.atan2(first[1] - centre[1], first[0] - centre[0])
        self.arc(centre, radius, start, sweep, look)

    def outline(self, corners):
        return [self.place(corner[:2]) for corner in corners]

    def area(self, record, look):
        if record.kind == "HATCH":
            xs, ys = record.all(10)[1:], record.all(20)[1:]  # the first is the elevation
            if not xs:
                xs, ys = record.all(11), record.all(21)
            points = [self.place(point) for point in zip(xs, ys)]
        else:
            codes = [code for code in (10, 11, 13, 12) if record.text(code)]
            points = [self.place(record.point(code)) for code in codes]
        if len(points) > 2:
            self.found.append(dict(kind="area", points=points, **look))

    def spline(self, record, look):
        """A curve; how many spans it has is kept, as each is a segment to whoever edits it."""
        knots, degree = record.all(40), int(record.number(71, 3))
        control = numpy.array(list(zip(record.all(10), record.all(20))))
        if len(control) < 2 or len(knots) != len(control) + degree + 1:
            return
        inner = numpy.unique(knots[degree:len(knots) - degree])
        at = numpy.concatenate([numpy.linspace(low, high, 17)[:-1]
                                for low, high in zip(inner[:-1], inner[1:])] + [inner[-1:]])
        points = de_boor(control, numpy.asarray(knots), degree, at)
        self.found.append(dict(kind="curve", points=[self.place(point) for point in points],
                               spans=len(inner) - 1, **look))


def de_boor(control, knots, degree, at):
    span = numpy.clip(numpy.searchsorted(knots, at, "right") - 1, degree, len(control) - 1)
    values = [control[span - degree + j] for j in range(degree + 1)]
    for level in range(1, degree + 1):
        for j in range(degree, level - 1, -1):
            low, high = knots[span - degree + j], knots[span + j + 1 - level]
            share = ((at - low) / numpy.where(high > low, high - low, 1))[:, None]
            values[j] = (1 - share) * values[j - 1] + share * values[j]
    return values[degree]


def read(path, height):
    """(primitives, complaint or ""). Nothing of a file that is not there."""
    reader = Reader(height)
    try:
        for section, record in records(path):
            if section == "TABLES":
                reader.table(record)
            elif section == "ENTITIES":
                reader.entity(record)
    except (OSError, ValueError, OverflowError, ZeroDivisionError) as error:
        return reader.found, str(error)
    return reader.found, "" if reader.found else "no entities"
