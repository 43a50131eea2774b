# (c) the ztrace developers. Licence: see LICENSE.
"""What scanning does to a drawing, from its truth to a grey or one-bit picture.

In this order: pen breaks, the sheet laid askew (the truth is moved with it), optics, paper tone,
ink, grain and noise, creases, threshold, flips near edges, specks, JPEG. How much of each lies in
STATES; every number is drawn anew for every picture, from its seed.
"""
import io
import math

import numpy
from PIL import Image
from scipy import ndimage

import primitives
import render

# Ranges from which a picture's numbers are drawn, evenly. Shares are of all pictures of the state.
#   turn      degrees, of either sign              scale     of 1, of either sign
#   unlike    scale of y against x, of either sign breaks    a pixel of line
#   blur      standard deviation of a Gaussian, px paper, ink  grey levels of 255
#   uneven    grey levels from lightest to darkest paper
#   contrast  of the greys that are left, of 1
#   noise     standard deviation, grey levels; of it a share is grain, correlated over `grain` px
#   one_bit   share of pictures with a threshold   threshold  of the way from ink to paper
#   flips     probability of a flip beside an edge specks    a megapixel
#   cleaned   share of the one-bit pictures that the scanner clears of single pixels (median 3 x 3)
#   creases   a picture                            jpeg      quality; share of greys through JPEG
STATES = {
    "0": {"one_bit": 1.0, "threshold": (0.5, 0.5)},
    "0g": {"one_bit": 0.0},
    "1": {"turn": (0, 0.5), "scale": (0, 0.005), "unlike": (0, 0.0005), "blur": (1.0, 1.4),
          "paper": (225, 250), "ink": (15, 60), "uneven": (0, 10), "noise": (11, 17),
          "grain": (0.4, 0.8), "one_bit": 0.25, "threshold": (0.45, 0.55), "specks": (0, 5)},
    "2": {"turn": (0, 1.0), "scale": (0, 0.005), "unlike": (0, 0.001), "breaks": (0.0005, 0.003),
          "blur": (1.0, 1.5), "paper": (215, 245), "ink": (20, 60), "uneven": (10, 35),
          "noise": (16, 27), "grain": (0.4, 0.8), "one_bit": 0.5, "threshold": (0.3, 0.45),
          "flips": (0.0, 0.05), "cleaned": 0.5, "specks": (3, 30), "creases": (0, 2),
          "contrast": (0.5, 1.0), "jpeg": (60, 90), "jpeg_share": 0.6},
}


class Rolls:
    """Numbers from a state's ranges; 0 where it has none."""

    def __init__(self, state, seed):
        self.state = STATES[state]
        self.random = numpy.random.default_rng(seed)
        self.said = {}

    def __call__(self, name):
        low, high = self.state.get(name, (0, 0))
        self.said[name] = float(self.random.uniform(low, high))
        return self.said[name]

    def either(self, name):
        return self(name) * float(self.random.choice([-1, 1]))

    def share(self, name):
        return bool(self.random.random() < self.state.get(name, 0))


def laid(rolls, width, height):
    """The map from drawing to scan: about the middle of the sheet."""
    angle = math.radians(rolls.either("turn"))
    scale, unlike = 1 + rolls.either("scale"), 1 + rolls.either("unlike")
    turned = scale * numpy.array([[math.cos(angle), -math.sin(angle) * unlike],
                                  [math.sin(angle), math.cos(angle) * unlike]])
    middle = numpy.array([width / 2, height / 2])
    return numpy.column_stack([turned, middle - turned @ middle])


def breaks(rolls, ink, paths, matrix):
    """Short gaps in lines, as a worn pen leaves them: the ink there is rubbed out."""
    rate = rolls("breaks")
    for path in paths:
        count = rolls.random.poisson(rate * primitives.length(path))
        for share in rolls.random.random(count):
            here, there = primitives.points_at(path, [share, min(1, share + 1e-4)])
            middle = matrix[:, :2] @ here + matrix[:, 2]
            heading = matrix[:, :2] @ (there - here)
            gap = rolls.random.uniform(2, 4 + path["width"])
            rub_out(ink, middle, heading / max(math.hypot(*heading), 1e-9), gap / 2,
                    path["width"] / 2 + 1)


def rub_out(ink, middle, heading, along, across):
    reach = int(math.ceil(along + across))
    left, top = int(middle[0]) - reach, int(middle[1]) - reach
    x, y = numpy.meshgrid(numpy.arange(left, left + 2 * reach), numpy.arange(top, top + 2 * reach))
    inside = (x >= 0) & (y >= 0) & (x < ink.shape[1]) & (y < ink.shape[0])
    dx, dy = x + 0.5 - middle[0], y + 0.5 - middle[1]
    hit = (numpy.abs(dx * heading[0] + dy * heading[1]) <= along) \
        & (numpy.abs(dy * heading[0] - dx * heading[1]) <= across) & inside
    ink[y[hit], x[hit]] = 0


def slow_field(random, shape):
    """0..1, changing slowly over the sheet."""
    coarse = random.random((5, 5)).astype(numpy.float32)
    zoom = (shape[0] / 5 + 1, shape[1] / 5 + 1)
    image = Image.fromarray(coarse).resize((int(5 * zoom[1]), int(5 * zoom[0])), Image.BICUBIC)
    field = numpy.asarray(image)[:shape[0], :shape[1]]
    return (field - field.min()) / max(float(numpy.ptp(field)), 1e-6)


def noise(rolls, shape):
    """Grey levels of that standard deviation, half of its power correlated grain."""
    level, grain = rolls("noise"), rolls("grain")
    if level == 0:
        return numpy.float32(0)
    white = rolls.random.standard_normal(shape, numpy.float32)
    grained = ndimage.gaussian_filter(rolls.random.standard_normal(shape, numpy.float32), grain)
    both = white * math.sqrt(0.5) + grained * (math.sqrt(0.5) / max(float(grained.std()), 1e-6))
    return both * level


def crease(rolls, grey):
    """A fold across the sheet: a faint dark line with a light one beside it."""
    height, width = grey.shape
    random = rolls.random
    x, y = random.uniform(0, width), random.uniform(0, height)
    angle = random.uniform(0, math.pi)
    strength = random.uniform(25, 70)
    for column in (True, False):
        if (abs(math.cos(angle)) < 0.7) != column:
            continue
        at = numpy.arange(height if column else width)
        slope = (1 / math.tan(angle)) if column else math.tan(angle)
        place = (x + (at - y) * slope) if column else (y + (at - x) * slope)
        bend = numpy.cumsum(random.normal(0, 0.15, len(at)))
        for offset, change in ((-1, -0.5), (0, -1.0), (1, -0.5), (3, 0.3)):
            other = numpy.round(place + bend - bend.mean() + offset).astype(int)
            good = (other >= 0) & (other < (width if column else height))
            index = (at[good], other[good]) if column else (other[good], at[good])
            grey[index] += change * strength


def specks(rolls, grey, ink):
    height, width = grey.shape
    for _ in range(rolls.random.poisson(rolls("specks") * width * height / 1e6)):
        radius = rolls.random.uniform(0.5, 2.2)
        x, y = rolls.random.uniform(3, width - 3), rolls.random.uniform(3, height - 3)
        rows, columns = numpy.mgrid[int(y) - 3:int(y) + 4, int(x) - 3:int(x) + 4]
        hit = (columns + 0.5 - x) ** 2 + (rows + 0.5 - y) ** 2 <= radius ** 2
        hit &= (rows >= 0) & (columns >= 0) & (rows < height) & (columns < width)
        grey[rows[hit], columns[hit]] = ink


def flips(rolls, dark):
    """Kanungo's model: a pixel flips with a probability that falls with the square of its distance
    from the edge."""
    rate = rolls("flips")
    if rate == 0:
        return dark
    distance = numpy.minimum(chamfer(dark), chamfer(~dark))
    chance = rate * numpy.exp(-1.2 * (distance - 1) ** 2)
    return dark ^ (rolls.random.random(dark.shape, numpy.float32) < chance)


def chamfer(inside):
    """Distance of pixels to the nearest that is not inside; large where that is far."""
    near = numpy.full(inside.shape, 9.0, numpy.float32)
    near[~inside] = 9.0
    worn = inside
    for step in (1, 2):
        smaller = ndimage.binary_erosion(worn, border_value=1)
        near[worn & ~smaller] = step
        worn = smaller
    near[~inside] = 9.0
    return near


def through_jpeg(grey, quality):
    store = io.BytesIO()
    Image.fromarray(grey).save(store, "JPEG", quality=int(quality))
    return numpy.asarray(Image.open(io.BytesIO(store.getvalue())))


def scanned(rolls, ink):
    """(grey levels of the sheet, level of ink, levels of paper)"""
    blur = rolls("blur")
    share = ink.astype(numpy.float32) / 255
    if blur:
        share = ndimage.gaussian_filter(share, blur)
    paper, black = rolls("paper") or 255.0, rolls("ink")
    tone = paper - rolls("uneven") * slow_field(rolls.random, ink.shape) \
        if rolls.state.get("uneven") else numpy.float32(paper)
    grey = tone - share * (tone - black)
    grey += noise(rolls, ink.shape)
    for _ in range(int(round(rolls("creases")))):
        crease(rolls, grey)
    return grey, black, tone


def degraded(drawing, state, seed):
    """(picture: array of bytes, drawing moved to where the picture shows it, what was rolled)"""
    rolls = Rolls(state, seed)
    width, height = drawing["width"], drawing["height"]
    matrix = laid(rolls, width, height)
    shapes = drawing["primitives"]
    ink = render.coverage(shapes, width, height, matrix, drawing.get("cap", "round"))
    breaks(rolls, ink, [item for item in shapes if primitives.is_path(item)], matrix)
    grey, black, paper = scanned(rolls, ink)
    if rolls.share("one_bit"):
        level = black + rolls("threshold") * (paper - black)
        dark = flips(rolls, grey < level)
        if rolls.share("cleaned"):
            dark = ndimage.median_filter(dark.astype(numpy.uint8), 3) > 0
        picture = numpy.where(dark, 0, 255).astype(numpy.uint8)
        specks(rolls, picture, 0)
    else:
        specks(rolls, grey, black)
        if "contrast" in rolls.state:
            grey = 128 + rolls("contrast") * (grey - 128)
        picture = numpy.clip(numpy.rint(grey), 0, 255).astype(numpy.uint8)
        if rolls.share("jpeg_share"):
            picture = through_jpeg(picture, rolls("jpeg"))
    moved = dict(drawing, primitives=[primitives.moved(item, matrix) for item in shapes],
                 state=state, degraded=rolls.said)
    return picture, moved, rolls.said
