# (c) the ztrace developers. Licence: see LICENSE.
"""Shapes of known geometry: their outlines as dense points, and pictures of them.

Coordinates are pixels of the picture, y downwards; a picture is a numpy array of bytes, ink 0 on
paper 255.
"""
import math
from dataclasses import dataclass, field

import cairo
import numpy as np

SPACING = 0.05  # pixels between the points of an outline
CORNER = math.radians(12)  # what turns more at one place is a corner
MARGIN = 6  # pixels of paper around a shape


@dataclass
class Truth:
    """A shape, drawn by a function of a cairo context that leaves its path there."""
    kind: str
    draw: object
    size: int  # side of the picture
    radius: float = 0.0  # of circles
    centre: tuple = (0.0, 0.0)
    loops: list = field(default_factory=list)  # arrays n x 2
    corners: np.ndarray = None  # n x 2
    dense: list = field(default_factory=list)  # loops with points SPACING apart

    def __post_init__(self):
        context = cairo.Context(cairo.ImageSurface(cairo.FORMAT_A8, 1, 1))
        context.set_tolerance(0.001)
        self.draw(context)
        self.loops = [loop for loop in flat_loops(context.copy_path_flat()) if len(loop) > 2]
        corners = [corners_of(loop) for loop in self.loops]
        self.corners = np.concatenate(corners)
        self.dense = [dense(loop) for loop in self.loops]
        self.points = np.concatenate(self.dense)
        self.area = abs(sum(signed_area(loop) for loop in self.loops))


def flat_loops(path):
    loops, points = [], []
    for kind, place in path:
        if kind == cairo.PATH_MOVE_TO:
            loops.append(np.array(points))
            points = [place]
        elif kind == cairo.PATH_LINE_TO and math.dist(place, points[-1]) > 1e-7:
            points.append(place)
    loops.append(np.array(points))
    closed = []
    for loop in loops:
        if len(loop) > 1 and math.dist(loop[0], loop[-1]) < 1e-6:
            loop = loop[:-1]
        closed.append(loop)
    return closed


def corners_of(loop):
    before = loop - np.roll(loop, 1, axis=0)
    after = np.roll(before, -1, axis=0)
    turn = np.arctan2(before[:, 0] * after[:, 1] - before[:, 1] * after[:, 0], np.sum(before * after, axis=1))
    return loop[np.abs(turn) > CORNER]


def dense(loop):
    points = []
    for a, b in zip(loop, np.roll(loop, -1, axis=0)):
        count = max(1, math.ceil(math.dist(a, b) / SPACING))
        points.append(a + (b - a) * np.arange(count)[:, None] / count)
    return np.concatenate(points)


def signed_area(loop):
    x, y = loop[:, 0], loop[:, 1]
    return 0.5 * np.sum(x * np.roll(y, -1) - np.roll(x, -1) * y)


def by_cairo(truth):
    """Antialiased by the drawing library."""
    return 255 - mask(truth, 1, cairo.ANTIALIAS_BEST)


def by_area(truth):
    """Antialiased by counting a raster sixteen times as fine, eight times for large pictures."""
    return averaged(truth, 0.01)


def by_chords(truth):
    """The same with curves drawn as chords that are up to a fifth of a pixel off, as renderers do."""
    return averaged(truth, 0.2)


def averaged(truth, tolerance):
    fine = 16 if truth.size < 300 else 8
    ink = mask(truth, fine, cairo.ANTIALIAS_NONE, tolerance * fine) > 127
    share = ink.reshape(truth.size, fine, truth.size, fine).mean(axis=(1, 3))
    return np.rint(255 * (1 - share)).astype(np.uint8)


def one_bit(truth):
    return np.where(by_area(truth) < 128, 0, 255).astype(np.uint8)


def mask(truth, fine, antialias, tolerance=0.01):
    side = truth.size * fine
    surface = cairo.ImageSurface(cairo.FORMAT_A8, side, side)
    context = cairo.Context(surface)
    context.set_antialias(antialias)
    context.set_tolerance(tolerance)
    context.scale(fine, fine)
    truth.draw(context)
    context.set_fill_rule(cairo.FILL_RULE_WINDING)
    context.fill()
    surface.flush()
    rows = np.frombuffer(surface.get_data(), np.uint8).reshape(side, surface.get_stride())
    return rows[:, :side].copy()


def placed(extent, random):
    """Side of a picture for a shape that far across, and a centre at any phase."""
    side = math.ceil(extent) + 2 * MARGIN
    return side, side / 2 + random.random() - 0.5, side / 2 + random.random() - 0.5


def circle(random, radius):
    side, x, y = placed(2 * radius, random)
    return Truth("circle", lambda c: c.arc(x, y, radius, 0, 2 * math.pi), side, radius, (x, y))


def turned(context, x, y, angle):
    context.translate(x, y)
    context.rotate(angle)


def ellipse(random, a, b):
    side, x, y = placed(2 * a, random)
    angle = random.uniform(0, math.pi)

    def draw(context):
        context.save()
        turned(context, x, y, angle)
        context.scale(a, b)
        context.arc(0, 0, 1, 0, 2 * math.pi)
        context.restore()
    return Truth("ellipse", draw, side)


def slanted(random):
    """An angle at least four degrees from those at which a raster says nothing of the place."""
    return random.choice((0, 45)) * math.pi / 180 + math.radians(random.uniform(4, 41))


def rectangle(random, width, height, radius=0.0):
    side, x, y = placed(math.hypot(width, height), random)
    angle = slanted(random)
    w, h = width / 2, height / 2

    def draw(context):
        context.save()
        turned(context, x, y, angle)
        if not radius:
            context.rectangle(-w, -h, width, height)
        else:
            for k, (cx, cy) in enumerate(((w, h), (-w, h), (-w, -h), (w, -h))):
                cx -= math.copysign(radius, cx)
                cy -= math.copysign(radius, cy)
                context.arc(cx, cy, radius, k * math.pi / 2, (k + 1) * math.pi / 2)
            context.close_path()
        context.restore()
    return Truth("rounded" if radius else "rectangle", draw, side)


def line(random, width, length=80):
    truth = rectangle(random, length, width)
    truth.kind = "line"
    return truth


def text(random, size, words="Rasage", font="DejaVu Serif"):
    side, x, y = placed(4.0 * size, random)
    x -= 1.8 * size
    y += 0.3 * size

    def draw(context):
        context.select_font_face(font)
        options = cairo.FontOptions()
        options.set_hint_style(cairo.HINT_STYLE_NONE)
        options.set_hint_metrics(cairo.HINT_METRICS_OFF)
        context.set_font_options(options)
        context.set_font_size(size)
        context.move_to(x, y)
        context.text_path(words)
    return Truth("text", draw, side)
