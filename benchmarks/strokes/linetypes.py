# (c) the ztrace developers. Licence: see LICENSE.
"""Dashes as ISO 128 has them, fitted to a length; the series of line weights."""
import math

# Pen down and pen up by turns in widths of the pen, as ISO 128-2 gives them (a dot is half a width
# there; a dot shorter than the pen is wide is drawn as long as it is wide).
PATTERNS = {
    "hidden": [12, 3],
    "centre": [24, 3, 1, 3],
    "phantom": [24, 3, 1, 3, 1, 3],
    "dot": [1, 3],
}

# What DXF knows as line weights, in hundredths of a millimetre.
WEIGHTS = [0, 5, 9, 13, 15, 18, 20, 25, 30, 35, 40, 50, 53, 60, 70, 80, 90, 100, 106, 120, 140, 158,
           200, 211]
PENS = [0.13, 0.18, 0.25, 0.35, 0.5, 0.7, 1.0]  # millimetres, ISO 128


def nearest_weight(hundredths):
    """Index into WEIGHTS."""
    return min(range(len(WEIGHTS)), key=lambda i: abs(WEIGHTS[i] - hundredths))


def fitted(pattern, length, closed=False, least=4):
    """The pattern scaled so that it begins and ends with its first dash, or closes, and lengths of
    dashes differ little from those asked for; None where fewer than `least` dashes fit."""
    period = sum(pattern)
    if closed:
        count = max(1, round(length / period))
        dashes = count * len(pattern) // 2
        scale = length / (count * period)
    else:
        count = max(1, round((length - pattern[0]) / period))
        dashes = count * len(pattern) // 2 + 1
        scale = length / (count * period + pattern[0])
    if dashes < least or not 0.5 < scale < 1.6:
        return None
    return [value * scale for value in pattern]


def dash_of(kind, width, length, closed=False, shortening=1.0):
    """A dash array for that type and pen, or None where the line is too short for it."""
    pattern = [max(1.0, value * shortening if value > 1 else value) * width
               for value in PATTERNS[kind]]
    return fitted(pattern, length, closed)


def name_of(pattern):
    """The type that a pattern of any program is most like: by the number of its dashes and by what
    the first is against its gap."""
    if len(pattern) >= 6:
        return "phantom"
    if len(pattern) >= 4:
        return "centre"
    return "dot" if pattern[0] <= pattern[1] * 0.7 else "hidden"


def is_whole(name):
    """Whether a line type's name means no dashes."""
    return name.upper() in ("", "CONTINUOUS", "BYLAYER", "BYBLOCK")


def weight_of(width, dots_per_inch):
    """Hundredths of a millimetre of a width in pixels."""
    return 0.0 if math.isnan(width) else width / dots_per_inch * 2540
