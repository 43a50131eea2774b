# (c) the ztrace developers. Licence: see LICENSE.
"""How far a drawing is from its picture. Pixels are RGBA bytes; drawings come as their JSON."""
import math

import numpy as np
from numpy.lib.stride_tricks import sliding_window_view

LEAST_REGION = 8       # pixels of an area of one colour that has to be there
PRESENT = 0.08         # Oklab: a pixel this near to its colour shows the area
PRESENT_SHARE = 0.25   # of its pixels that have to show it
DETAIL = 15.0          # L: a pixel that differs so much from around it is thin detail
DETAIL_WINDOW = 7      # pixels: "around it" is the median of this square
COVERED = 0.98         # alpha of a pixel that counts as covered
JOINT = 12.0           # degrees: a change of direction that shows


def on_white(rgba):
    """Linear light, 0 to 1, over white."""
    alpha = rgba[..., 3:].astype(float) / 255.0
    rgb = rgba[..., :3] / 255.0 * alpha + 1.0 - alpha
    return np.where(rgb <= 0.04045, rgb / 12.92, ((rgb + 0.055) / 1.055) ** 2.4)


# B. Ottosson, "A perceptual color space for image processing", 2020.
CONES = np.array([[0.4122214708, 0.5363325363, 0.0514459929],
                  [0.2119034982, 0.6806995451, 0.1073969566],
                  [0.0883024619, 0.2817188376, 0.6299787005]])
OKLAB = np.array([[0.2104542553, 0.7936177850, -0.0040720468],
                  [1.9779984951, -2.4285922050, 0.4505937099],
                  [0.0259040371, 0.7827717662, -0.8086757660]])


def oklab(rgba):
    return np.cbrt(on_white(rgba) @ CONES.T) @ OKLAB.T


def lightness(rgba):
    """CIE L, 0 to 100."""
    y = on_white(rgba) @ (0.2126, 0.7152, 0.0722)
    return np.where(y > 216 / 24389, 116 * np.cbrt(y) - 16, y * 24389 / 27)


def colour_error(source, drawn):
    """Mean distance in Oklab over the picture, in hundredths."""
    return 100.0 * float(np.linalg.norm(oklab(source) - oklab(drawn), axis=-1).mean())


def thin_detail(source):
    """(where the source has thin detail, lightness around every pixel, contrast to it)."""
    light, reach = lightness(source), DETAIL_WINDOW // 2
    windows = sliding_window_view(np.pad(light, reach, mode="edge"), (DETAIL_WINDOW, DETAIL_WINDOW))
    around = np.median(windows.reshape(*light.shape, -1), axis=-1)
    contrast = light - around
    return np.abs(contrast) > DETAIL, around, contrast


def kept_detail(source, drawn):
    """(where the source has thin detail, where at least half its contrast is left)."""
    thin, around, contrast = thin_detail(source)
    share = np.divide(lightness(drawn) - around, contrast, out=np.zeros_like(contrast), where=thin)
    return thin, thin & (share >= 0.5)


def lost_detail(source, drawn):
    """Percentage of the thin detail of which less than half its contrast is left; None without any."""
    thin, kept = kept_detail(source, drawn)
    return 100.0 * float(1.0 - kept.sum() / thin.sum()) if thin.any() else None


def areas_of(words):
    """A number a pixel: equal ones for equal words that hang together by edges."""
    height, width = words.shape
    number = np.arange(height * width).reshape(height, width)
    across = words[:, 1:] == words[:, :-1]
    down = words[1:] == words[:-1]
    while True:
        before = number.copy()
        for place, low, high in ((across, np.s_[:, :-1], np.s_[:, 1:]), (down, np.s_[:-1], np.s_[1:])):
            least = np.minimum(number[low], number[high])
            number[low] = np.where(place, least, number[low])
            number[high] = np.where(place, least, number[high])
        number = number.ravel()[number]  # whatever its lowest pixel has become
        if (number == before).all():
            return number


def lost_areas(areas, counts, shown):
    """Areas of at least LEAST_REGION of the pixels that count, of which too few are shown."""
    sizes = np.bincount(areas[counts], minlength=areas.size)
    seen = np.bincount(areas[counts], weights=shown[counts], minlength=areas.size)
    return int(((sizes >= LEAST_REGION) & (seen < PRESENT_SHARE * sizes)).sum())


def blocks_in(areas):
    """Pixels of areas that fill a block of 2 x 2 somewhere: others are steps of soft edges."""
    same = (areas[1:, 1:] == areas[:-1, :-1]) & (areas[1:, :-1] == areas[:-1, 1:]) & (areas[1:] == areas[:-1])[:, 1:]
    return np.isin(areas, areas[1:, 1:][same])


def lost_regions(source, drawn):
    """How many areas of one colour, and how many thin lines and dots, are not there."""
    near = np.linalg.norm(oklab(source) - oklab(drawn), axis=-1) < PRESENT
    thin, kept = kept_detail(source, drawn)
    areas = areas_of(source.astype(np.int64) @ (1, 256, 65536, 16777216))
    return lost_areas(areas, blocks_in(areas), near) + lost_areas(areas_of(thin.astype(int)), thin, kept)


def uncovered(source, drawn, times):
    """Opaque pixels of the source that a drawing `times` as large covers by less than 98 %, in thousandths."""
    opaque = np.kron(source[..., 3] == 255, np.ones((times, times), dtype=bool))
    return 1000.0 * float((drawn[..., 3][opaque] < COVERED * 255).mean()) if opaque.any() else 0.0


def control_of_arc(a, b, bulge):
    """Where its tangents meet; positive bulges turn to the left, y upwards. Half a circle and more: nearly there."""
    bulge = min(max(bulge, -0.95), 0.95)
    out = bulge / (1.0 - bulge * bulge)  # half the tangent of half the angle
    return (a[0] + b[0]) / 2 + out * (b[1] - a[1]), (a[1] + b[1]) / 2 - out * (b[0] - a[0])


def pieces_of(outline):
    """(number of coordinates, points) of every piece: start, controls, end."""
    last = tuple(map(float, outline["start"]))
    for kind, *numbers in outline["pieces"]:
        first = 1 if kind in "AS" else 0  # a bulge, a degree
        numbers = [float(number) for number in numbers]
        points = list(zip(numbers[first::2], numbers[first + 1::2]))
        if kind == "A":
            points.insert(0, control_of_arc(last, points[0], numbers[0]))
        yield len(numbers) - (kind == "S"), [last, *points]
        last = points[-1]


def turn(a, b):
    """Degrees between two directions."""
    return abs(math.degrees(math.atan2(a[0] * b[1] - a[1] * b[0], a[0] * b[0] + a[1] * b[1])))


def leaving(points):
    """The direction in which a piece starts."""
    return next(((x - points[0][0], y - points[0][1]) for x, y in points[1:] if (x, y) != points[0]), None)


def shape_of(drawing):
    """(joints a 100 pixels of outline, coordinates written). A curve is as long as the way over its controls."""
    joints, length, numbers = 0, 0.0, 0
    for outline in drawing["outlines"]:
        ways = []
        for count, points in pieces_of(outline):
            numbers += count
            length += sum(math.dist(a, b) for a, b in zip(points, points[1:]))
            if leaving(points):
                arriving = leaving(points[::-1])
                ways.append((leaving(points), (-arriving[0], -arriving[1])))
        joints += sum(turn(a[1], b[0]) > JOINT for a, b in zip(ways, ways[1:] + ways[:1]))
    return 100.0 * joints / max(length, 1.0), numbers
