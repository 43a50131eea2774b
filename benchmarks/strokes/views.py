# (c) the ztrace developers. Licence: see LICENSE.
"""Views of made-up parts, in millimetres on a sheet, with their dimensions.

A Board takes what is drawn with its thick pen (edges) or its thin one (all else). A view draws around
(0, 0) into a box of the given size; Board.shift moves it to its place.
"""
import math

import numpy

from lettering import lettering
from primitives import arc, circle, line, moved


class Board:
    def __init__(self, random, thick, thin, letters):
        self.random = random
        self.thick, self.thin, self.letters = thick, thin, letters
        self.shapes = []

    def edge(self, *shapes):
        self.shapes += [dict(shape, width=self.thick, role="outline") for shape in shapes]

    def fine(self, *shapes, role="dim"):
        self.shapes += [dict(shape, width=self.thin, role=role) for shape in shapes]

    def typed(self, kind, *shapes):
        width = self.thick if kind == "hidden" and self.thin < 0.2 else self.thin
        self.shapes += [dict(shape, width=width, role="outline", type=kind) for shape in shapes]

    def between(self, low, high):
        return float(self.random.uniform(low, high))

    def text(self, text, middle, angle=0.0):
        self.shapes += lettering(text, middle, self.letters, angle)

    def rectangle(self, left, top, right, bottom, radius=0.0):
        """Lines, and arcs where the corners are round."""
        r = radius
        sides = [line((left + r, top), (right - r, top)), line((right, top + r), (right, bottom - r)),
                 line((right - r, bottom), (left + r, bottom)),
                 line((left, bottom - r), (left, top + r))]
        corners = [arc((right - r, top + r), r, -math.pi / 2, math.pi / 2),
                   arc((right - r, bottom - r), r, 0, math.pi / 2),
                   arc((left + r, bottom - r), r, math.pi / 2, math.pi / 2),
                   arc((left + r, top + r), r, math.pi, math.pi / 2)]
        self.edge(*sides, *(corners if r > 0 else []))

    def head(self, tip, toward):
        """An arrow head at a tip, its body towards a point; the middle of its base."""
        length = max(2.5, 8 * self.thin)
        tip = numpy.asarray(tip, float)
        back = numpy.subtract(toward, tip)
        back = back / math.hypot(*back)
        base = tip + back * length
        across = numpy.array([-back[1], back[0]]) * length * math.tan(math.radians(9))
        self.shapes.append({"kind": "arrow", "role": "dim",
                            "points": [tip.tolist(), (base + across).tolist(),
                                       (base - across).tolist()]})
        return base.tolist()

    def dimension(self, first, last, offset):
        """Between two points, the line `offset` to the left of the way from first to last."""
        first, last = numpy.asarray(first, float), numpy.asarray(last, float)
        along = (last - first) / math.hypot(*(last - first))
        away = numpy.array([along[1], -along[0]]) * math.copysign(1, offset)
        far = abs(offset)
        for point in (first, last):
            self.fine(line(point + away * 1.0, point + away * (far + 1.5)))
        one, other = first + away * far, last + away * far
        tips = {"0": self.head(one, other), "1": self.head(other, one)}
        self.fine(dict(line(one, other), tips=tips))
        angle = math.atan2(along[1], along[0])
        if abs(angle) > math.pi / 2 + 0.01 or angle == math.pi / 2:
            angle += math.pi
        up = numpy.array([math.sin(angle), -math.cos(angle)]) * self.letters * 0.9
        self.text(str(int(round(math.dist(first, last)))), (one + other) / 2 + up, angle)

    def leader(self, centre, radius, angle, text):
        """An arrow from outside to a circle, with text on its shelf."""
        heading = numpy.array([math.cos(angle), math.sin(angle)])
        tip = numpy.asarray(centre) + radius * heading
        knee = tip + heading * 9
        self.fine(dict(line(knee, tip), tips={"1": self.head(tip, knee)}))
        side = math.copysign(1.0, heading[0])
        self.fine(line(knee, knee + [side * 11, 0]))
        self.text(text, knee + [side * 6, -self.letters * 0.8])

    def cross(self, centre, radius, over=3.0):
        """The centre lines of a circle."""
        reach = radius + over
        x, y = centre
        self.typed("centre", line((x - reach, y), (x + reach, y)),
                   line((x, y - reach), (x, y + reach)))

    def hatch(self, left, top, right, bottom, gap, hole=None, lean=1):
        """Lines at 45 degrees within a rectangle and outside of a circle (x, y, radius)."""
        low, high = left + top, right + bottom
        for offset in numpy.arange(low + gap / 2, high, gap):
            x0, x1 = max(left, offset - bottom), min(right, offset - top)
            pieces = [(x0, x1)] if x1 > x0 else []
            if hole:
                pieces = [part for piece in pieces for part in outside(piece, offset, hole)]
            for a, b in pieces:
                if b - a > 1.5:
                    ends = [(x if lean > 0 else left + right - x, offset - x) for x in (a, b)]
                    self.fine(line(*ends), role="hatch")

    def shift(self, start, x, y):
        """Moves what has been drawn since there were `start` shapes."""
        self.shapes[start:] = [moved(shape, [[1, 0, x], [0, 1, y]])
                               for shape in self.shapes[start:]]


def outside(piece, offset, hole):
    """The parts of x0..x1 on the line x + y = offset that are not in the circle."""
    cx, cy, radius = hole
    middle = (cx + offset - cy) / 2
    far = abs(cx + cy - offset) / math.sqrt(2)
    if far >= radius:
        return [piece]
    half = math.sqrt(radius * radius - far * far) / math.sqrt(2)
    parts = [(piece[0], min(piece[1], middle - half)), (max(piece[0], middle + half), piece[1])]
    return [(a, b) for a, b in parts if b > a]


def flange(board, width, height):
    """Circles, a bolt circle, centre lines, a leader."""
    radius = min(width, height) / 2 - 12
    bolt, bore = radius * 0.72, radius * board.between(0.28, 0.42)
    board.edge(circle((0, 0), radius), circle((0, 0), bore))
    board.typed("centre", circle((0, 0), bolt))
    board.cross((0, 0), radius)
    count = int(board.random.choice([4, 6, 8]))
    first = math.pi / count
    for i in range(count):
        at = first + i * 2 * math.pi / count
        hole = radius * 0.085
        board.edge(circle((bolt * math.cos(at), bolt * math.sin(at)), hole))
    board.leader((0, 0), radius, -math.pi / 4, f"o{int(2 * radius)}")


def plate(board, width, height):
    """Fillets, holes, a slot, dimensions on two sides."""
    w, h = width / 2 - 14, height / 2 - 14
    radius = board.between(4, 8)
    board.rectangle(-w, -h, w, h, radius)
    for x, y in ((-1, -1), (1, 1), (1, -1), (-1, 1)):
        at = (x * (w - radius - 2), y * (h - radius - 2))
        board.edge(circle(at, radius * 0.45))
        board.cross(at, radius * 0.45, 2.0)
    long, r = w * board.between(0.25, 0.4), board.between(3, 4.5)
    board.edge(line((-long, -r), (long, -r)), line((long, r), (-long, r)),
               arc((long, 0), r, -math.pi / 2, math.pi), arc((-long, 0), r, math.pi / 2, math.pi))
    board.typed("centre", line((-long - r - 4, 0), (long + r + 4, 0)))
    board.dimension((-w, h), (w, h), -9)
    board.dimension((-w, h), (-w, -h), 9)


def shaft(board, width, height):
    """Steps, chamfers, a centre line, hidden bores, dimensions."""
    w = width / 2 - 8
    cuts = numpy.sort(board.random.uniform(-0.6, 0.6, 2)) * w
    if cuts[1] - cuts[0] < 14:
        cuts = numpy.array([-0.3, 0.3]) * w
    stations = [-w, *cuts, w]
    radii = board.random.permutation([0.16, 0.24, 0.31]) * height
    for i, radius in enumerate(radii):
        a, b = stations[i], stations[i + 1]
        for side in (-1, 1):
            board.edge(line((a, side * radius), (b, side * radius)))
        tall = max(radius, radii[i - 1]) if i else radius
        board.edge(line((a, -tall), (a, tall)))
    board.edge(line((w, -radii[2]), (w, radii[2])))
    board.typed("centre", line((-w - 5, 0), (w + 5, 0)))
    bore = radii[0] * 0.5
    for side in (-1, 1):
        board.typed("hidden", line((-w, side * bore), (-w + (cuts[0] + w) * 0.8, side * bore)))
    board.typed("hidden", line((-w + (cuts[0] + w) * 0.8, -bore), (-w + (cuts[0] + w) * 0.8, bore)))
    low = height * 0.31 + 2
    board.dimension((-w, low), (cuts[0], low), -6)
    board.dimension((cuts[0], low), (w, low), -6)


def section(board, width, height):
    """A hatched block with a bore, another part hatched the other way."""
    w, h = width / 2 - 14, height / 2 - 12
    gap = board.between(2.5, 4.0)
    hole = (0.0, 0.0, min(w, h) * board.between(0.3, 0.5))
    board.rectangle(-w, -h, w, h)
    board.edge(circle(hole[:2], hole[2]))
    board.hatch(-w, -h, w, h, gap, hole)
    board.rectangle(w, -h * 0.5, w + 8, h * 0.5)
    board.hatch(w, -h * 0.5, w + 8, h * 0.5, gap, lean=-1)
    board.dimension((-w, h), (w, h), -8)


def nut(board, width, height):
    """A hexagon with circles, three quarters of a thread, a phantom neighbour."""
    radius = min(width, height) / 2 - 13
    corners = [(radius * math.cos(i * math.pi / 3), radius * math.sin(i * math.pi / 3))
               for i in range(6)]
    for one, other in zip(corners, corners[1:] + corners[:1]):
        board.edge(line(one, other))
    board.edge(circle((0, 0), radius * 0.5))
    board.fine(arc((0, 0), radius * 0.6, math.radians(20), math.radians(270)), role="outline")
    board.cross((0, 0), radius * 1.0)
    board.typed("phantom", line((-radius, radius + 6), (radius, radius + 6)),
                line((-radius, -radius - 6), (radius, -radius - 6)))


def bracket(board, width, height):
    """Lines and arcs that run into each other smoothly, a hidden circle, a dotted line."""
    r = min(width, height) / 2 - 14
    small, far = r * 0.45, width / 2 - 12 - r * 0.45
    left, right = -width / 2 + 12 + r, far
    lean = math.asin((r - small) / (right - left))
    for side in (-1, 1):
        n = numpy.array([math.sin(lean), side * math.cos(lean)])
        board.edge(line(numpy.array([left, 0]) + r * n, numpy.array([right, 0]) + small * n))
    at = math.pi / 2 - lean
    board.edge(arc((left, 0), r, at, 2 * math.pi - 2 * at), arc((right, 0), small, -at, 2 * at))
    board.edge(circle((left, 0), r * 0.45), circle((right, 0), small * 0.5))
    board.typed("hidden", circle((left, 0), r * 0.72))
    board.typed("centre", line((left - r - 4, 0), (right + small + 4, 0)))
    board.typed("dot", line((left, r + 7), (right, r + 7)))


def block(board, width, height):
    """A block drawn from aside: lines at 30 degrees and an ellipse."""
    a = min(width * 0.3, height * 0.42) - 4
    c, s = a * math.cos(math.pi / 6), a * math.sin(math.pi / 6)
    tall = height * 0.32
    top = [(0, -tall), (c, -tall + s), (0, -tall + 2 * s), (-c, -tall + s)]
    for one, other in zip(top, top[1:] + top[:1]):
        board.edge(line(one, other))
    for x, y in top[1:]:
        board.edge(line((x, y), (x, y + tall)))
    for one, other in zip(top[1:3], top[2:]):
        board.edge(line((one[0], one[1] + tall), (other[0], other[1] + tall)))
    big = a * 0.42 * math.sqrt(1.5)
    board.edge(dict(kind="ellipse", centre=[0.0, -tall + s], radii=[big, big / math.sqrt(3)],
                    angle=0.0))
    board.text(f"R{int(a)}", (c + 8, -tall + s))


VIEWS = [flange, plate, shaft, section, nut, bracket, block]
