# (c) the ztrace developers. Licence: see LICENSE.
"""More shapes of known geometry: what drawings are made of besides circles and rectangles."""
import math

import numpy as np

from truth import Truth, placed, slanted, turned


def path(random, kind, extent, trace):
    """A shape that `trace` draws around the origin of a context, turned by any angle at any place."""
    side, x, y = placed(extent, random)
    angle = slanted(random)

    def draw(context):
        context.save()
        turned(context, x, y, angle)
        trace(context)
        context.restore()
    return Truth(kind, draw, side)


def polygon_of(context, corners):
    for x, y in corners:
        context.line_to(x, y)
    context.close_path()


def around(count, radii, start=0.0):
    """Corners on circles of these radii in turn, as many as `count` times the number of radii."""
    steps = count * len(radii)
    return [(radii[k % len(radii)] * math.cos(start + 2 * math.pi * k / steps),
             radii[k % len(radii)] * math.sin(start + 2 * math.pi * k / steps)) for k in range(steps)]


def star(random, radius, tips=5):
    return path(random, "star", 2 * radius, lambda c: polygon_of(c, around(tips, (radius, 0.42 * radius))))


def polygon(random, radius, sides=6):
    return path(random, "polygon", 2 * radius, lambda c: polygon_of(c, around(sides, (radius,))))


def gear(random, radius, teeth=12):
    """Square teeth on a disc with a hole."""
    def trace(context):
        step = 2 * math.pi / teeth
        for k in range(teeth):
            context.arc(0, 0, radius, k * step, (k + 0.5) * step)
            context.arc(0, 0, 0.8 * radius, (k + 0.5) * step, (k + 1) * step)
        context.close_path()
        context.new_sub_path()
        context.arc_negative(0, 0, 0.35 * radius, 2 * math.pi, 0)
        context.close_path()
    return path(random, "gear", 2 * radius, trace)


def arrow(random, length, width=3.0):
    head, half = 4.0 * width, 0.5 * width
    corners = ((-length / 2, -half), (length / 2 - head, -half), (length / 2 - head, -0.45 * head), (length / 2, 0),
               (length / 2 - head, 0.45 * head), (length / 2 - head, half), (-length / 2, half))
    return path(random, "arrow", length, lambda c: polygon_of(c, corners))


def sector(random, radius, degrees=70):
    def trace(context):
        context.move_to(0, 0)
        context.arc(0, 0, radius, 0, math.radians(degrees))
        context.close_path()
    return path(random, "sector", 2 * radius, trace)


def half_circle(random, radius):
    def trace(context):
        context.arc(0, 0, radius, 0, math.pi)
        context.close_path()
    return path(random, "half", 2 * radius, trace)


def ring(random, radius, width):
    def trace(context):
        context.arc(0, 0, radius, 0, 2 * math.pi)
        context.close_path()
        context.new_sub_path()
        context.arc_negative(0, 0, radius - width, 2 * math.pi, 0)
        context.close_path()
    return path(random, "ring", 2 * radius, trace)


def crescent(random, radius):
    """A disc less another that is moved by half the radius."""
    def trace(context):
        inner, off = 0.85 * radius, 0.5 * radius
        along = (radius ** 2 - inner ** 2 + off ** 2) / (2 * off)
        across = math.sqrt(radius ** 2 - along ** 2)
        outer_angle, inner_angle = math.atan2(across, along), math.atan2(across, along - off)
        context.arc(0, 0, radius, outer_angle, 2 * math.pi - outer_angle)
        context.arc_negative(off, 0, inner, 2 * math.pi - inner_angle, inner_angle)
        context.close_path()
    return path(random, "crescent", 2 * radius, trace)


def blob(random, radius, knots=7):
    """A smooth closed curve of cubics through places around a centre."""
    places = np.array([(radius * random.uniform(0.55, 1) * math.cos(2 * math.pi * k / knots),
                        radius * random.uniform(0.55, 1) * math.sin(2 * math.pi * k / knots)) for k in range(knots)])
    slopes = (np.roll(places, -1, axis=0) - np.roll(places, 1, axis=0)) / 6

    def trace(context):
        context.move_to(*places[0])
        for k in range(knots):
            after = (k + 1) % knots
            context.curve_to(*(places[k] + slopes[k]), *(places[after] - slopes[after]), *places[after])
        context.close_path()
    return path(random, "blob", 2 * radius, trace)


def ribbon(random, length, width):
    """A thick curve with square ends: the two sides of an arc of 100 degrees."""
    def trace(context):
        radius = length / math.radians(100)
        context.translate(0, -radius)
        context.arc(0, 0, radius + width / 2, math.radians(40), math.radians(140))
        context.arc_negative(0, 0, radius - width / 2, math.radians(140), math.radians(40))
        context.close_path()
    return path(random, "ribbon", length, trace)


FIGURES = {"star %d" % r: (star, r) for r in (12, 40)}
FIGURES.update({"hexagon %d" % r: (polygon, r) for r in (8, 40)})
FIGURES.update({"triangle %d" % r: (polygon, r, 3) for r in (10, 40)})
FIGURES.update({"gear %d" % r: (gear, r) for r in (24, 60)})
FIGURES.update({"arrow %d" % n: (arrow, n) for n in (40, 80)})
FIGURES.update({"sector %d" % r: (sector, r) for r in (15, 50)})
FIGURES.update({"half circle %d" % r: (half_circle, r) for r in (8, 30)})
FIGURES.update({"ring %d %d" % (r, w): (ring, r, w) for r, w in ((8, 2), (30, 3))})
FIGURES.update({"crescent %d" % r: (crescent, r) for r in (10, 40)})
FIGURES.update({"blob %d" % r: (blob, r) for r in (15, 50)})
FIGURES.update({"ribbon %d" % w: (ribbon, 80, w) for w in (2, 5)})
