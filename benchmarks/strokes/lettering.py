# (c) the ztrace developers. Licence: see LICENSE.
"""Single-stroke lettering in the manner of ISO 3098: signs made of lines and arcs.

A sign stands in a box of height 1 (y from 0 above to 1 at the base line) and says its width. Strokes
are ("L", x0, y0, x1, y1, ...), a polyline, or ("A", centre x, centre y, radius, start, sweep) with
degrees that grow from x to y, so clockwise.
"""
import math

from primitives import arc, circle, line

PEN = 0.1      # of the height, lettering type B
SPACING = 0.2  # between signs, of the height

SIGNS = {
    "0": (0.5, [("A", .25, .25, .25, 180, 180), ("L", .5, .25, .5, .75),
                ("A", .25, .75, .25, 0, 180), ("L", 0, .75, 0, .25)]),
    "1": (0.3, [("L", 0, .25, .25, 0, .25, 1)]),
    "2": (0.5, [("A", .25, .25, .25, 180, 225), ("L", .427, .427, 0, 1, .5, 1)]),
    "3": (0.5, [("A", .25, .23, .23, 180, 270), ("A", .23, .73, .27, -90, 260)]),
    "4": (0.5, [("L", .35, 1, .35, 0, 0, .7, .5, .7)]),
    "5": (0.5, [("L", .47, 0, .06, 0, .03, .45), ("A", .22, .72, .28, -130, 270)]),
    "6": (0.5, [("A", .25, .75, .25, 0, 360), ("A", .6, .75, .6, 180, 78)]),
    "7": (0.5, [("L", 0, 0, .5, 0, .15, 1)]),
    "8": (0.5, [("A", .25, .23, .21, 0, 360), ("A", .25, .72, .28, 0, 360)]),
    "9": (0.5, [("A", .25, .25, .25, 0, 360), ("A", -.1, .25, .6, 0, 78)]),
    "A": (0.6, [("L", 0, 1, .3, 0, .6, 1), ("L", .1, .67, .5, .67)]),
    "B": (0.5, [("L", .25, .45, 0, .45), ("L", .27, 0, 0, 0, 0, 1, .25, 1),
                ("A", .27, .225, .225, -90, 180), ("A", .25, .725, .275, -90, 180)]),
    "C": (0.5, [("A", .3, .3, .3, -40, -140), ("L", 0, .3, 0, .7), ("A", .3, .7, .3, 180, -140)]),
    "D": (0.5, [("L", .15, 0, 0, 0, 0, 1, .15, 1), ("A", .15, .35, .35, -90, 90),
                ("L", .5, .35, .5, .65), ("A", .15, .65, .35, 0, 90)]),
    "E": (0.45, [("L", .45, 0, 0, 0, 0, 1, .45, 1), ("L", 0, .5, .38, .5)]),
    "F": (0.45, [("L", .45, 0, 0, 0, 0, 1), ("L", 0, .5, .38, .5)]),
    "G": (0.6, [("A", .3, .3, .3, -40, -140), ("L", 0, .3, 0, .7), ("A", .3, .7, .3, 180, -180),
                ("L", .6, .7, .6, .55, .35, .55)]),
    "H": (0.55, [("L", 0, 0, 0, 1), ("L", .55, 0, .55, 1), ("L", 0, .5, .55, .5)]),
    "I": (0.05, [("L", .02, 0, .02, 1)]),
    "K": (0.55, [("L", 0, 0, 0, 1), ("L", .5, 0, 0, .6), ("L", .17, .4, .55, 1)]),
    "L": (0.45, [("L", 0, 0, 0, 1, .45, 1)]),
    "M": (0.65, [("L", 0, 1, 0, 0, .325, .65, .65, 0, .65, 1)]),
    "N": (0.55, [("L", 0, 1, 0, 0, .55, 1, .55, 0)]),
    "O": (0.6, [("A", .3, .3, .3, 180, 180), ("L", .6, .3, .6, .7),
                ("A", .3, .7, .3, 0, 180), ("L", 0, .7, 0, .3)]),
    "P": (0.5, [("L", 0, 1, 0, 0, .23, 0), ("A", .23, .27, .27, -90, 180),
                ("L", .23, .54, 0, .54)]),
    "R": (0.5, [("L", 0, 1, 0, 0, .23, 0), ("A", .23, .27, .27, -90, 180),
                ("L", .23, .54, 0, .54), ("L", .25, .54, .5, 1)]),
    "S": (0.5, [("A", .25, .24, .24, -30, -240), ("A", .25, .75, .27, -90, 240)]),
    "T": (0.5, [("L", 0, 0, .5, 0), ("L", .25, 0, .25, 1)]),
    "U": (0.5, [("L", 0, 0, 0, .75), ("A", .25, .75, .25, 180, -180), ("L", .5, .75, .5, 0)]),
    "V": (0.5, [("L", 0, 0, .25, 1, .5, 0)]),
    "X": (0.5, [("L", 0, 0, .5, 1), ("L", .5, 0, 0, 1)]),
    "Y": (0.5, [("L", 0, 0, .25, .5, .5, 0), ("L", .25, .5, .25, 1)]),
    "Z": (0.5, [("L", 0, 0, .5, 0, 0, 1, .5, 1)]),
    ":": (0.1, [("L", .05, .3, .05, .42), ("L", .05, .85, .05, .97)]),
    "-": (0.35, [("L", 0, .55, .35, .55)]),
    "o": (0.6, [("A", .3, .55, .3, 0, 360), ("L", 0, 1, .6, .1)]),  # the sign of a diameter
    " ": (0.4, []),
}


def width_of(text, height):
    return height * (sum(SIGNS[sign][0] + SPACING for sign in text) - SPACING)


def strokes_of(sign, place, height, angle):
    """Primitives of one sign with its upper left corner at a place."""
    cosine, sine = math.cos(angle), math.sin(angle)

    def at(x, y):
        return (place[0] + height * (x * cosine - y * sine),
                place[1] + height * (x * sine + y * cosine))

    for kind, *numbers in SIGNS[sign][1]:
        if kind == "L":
            corners = [at(*pair) for pair in zip(numbers[::2], numbers[1::2])]
            for first, last in zip(corners[:-1], corners[1:]):
                yield line(first, last)
        elif abs(numbers[4]) >= 360:
            yield circle(at(*numbers[:2]), numbers[2] * height)
        else:
            yield arc(at(*numbers[:2]), numbers[2] * height, math.radians(numbers[3]) + angle,
                      math.radians(numbers[4]))


def lettering(text, middle, height, angle=0.0):
    """Strokes of a line of text around its middle; angle 0 reads from left to right, growing
    clockwise. The pen is PEN of the height wide."""
    at = -width_of(text, height) / 2
    result = []
    for sign in text:
        place = (middle[0] + at * math.cos(angle) + height / 2 * math.sin(angle),
                 middle[1] + at * math.sin(angle) - height / 2 * math.cos(angle))
        result += [dict(stroke, width=PEN * height, role="text")
                   for stroke in strokes_of(sign, place, height, angle)]
        at += height * (SIGNS[sign][0] + SPACING)
    return result
