# (c) the ztrace developers. Licence: see LICENSE.
"""The pictures: a small one of every kind that is traced. Each is a function that gives RGBA bytes, or a plane of
greys or of ones and zeros; PICTURES names it and the options it is traced with."""
import numpy as np

from canvas import Canvas

INK, WHITE, RED, BLUE, GREEN = (20, 22, 30), (255, 255, 255), (200, 40, 30), (30, 80, 160), (40, 140, 70)
YELLOW, ORANGE, CREAM = (240, 200, 40), (232, 119, 34), (250, 244, 228)


def spread(seed, shape, size):
    """Noise with a bell-like distribution of about `size` values each way, from uniform numbers, which are the
    same ones in every release."""
    random = np.random.Generator(np.random.PCG64(seed))
    return (random.random((6, *shape)).sum(axis=0) - 3.0) * size * 1.41


def discs():
    """Circles and rings of several sizes, one over the other."""
    c = Canvas(200, 140)
    for x, y, radius, colour in ((50, 50, 38, BLUE), (95, 62, 30, YELLOW), (150, 50, 34, RED), (150, 50, 12, CREAM),
                                 (30, 115, 14, GREEN), (64, 118, 8, INK), (84, 118, 5, RED), (98, 118, 3, BLUE),
                                 (108, 118, 2, GREEN)):
        c.paint(c.disc(x, y, radius), colour)
    for x, y, radius, width, colour in ((50, 50, 24, 6, WHITE), (140, 112, 16, 3, INK), (178, 112, 12, 1.5, ORANGE)):
        c.paint(c.ring(x, y, radius, width), colour)
    return c.pixels()


def lines():
    """Lines of 1 to 3 pixels at all angles, in colours."""
    c = Canvas(200, 150, CREAM)
    colours = (INK, RED, BLUE, GREEN, ORANGE)
    for k in range(15):
        angle = np.radians(3 + 12 * k)
        dx, dy = float(np.cos(angle)), float(np.sin(angle))
        middle = (100, 75)
        ends = [(middle[0] + s * dx * r, middle[1] + s * dy * r) for s, r in ((1, 14), (1, 66))]
        c.paint(c.line(ends, 1 + k % 3), colours[k % 5])
        ends = [(middle[0] - s * dx * r, middle[1] - s * dy * r) for s, r in ((1, 14), (1, 66))]
        c.paint(c.line(ends, 1 + (k + 1) % 3), colours[(k + 2) % 5])
    for k in range(5):
        wave = [(x, 10 + 6 * k + 2.5 * float(np.sin(x / 7 + k))) for x in range(4, 46, 2)]
        c.paint(c.line(wave, 1 + k % 2), colours[k])
    return c.pixels()


def letters():
    """Small dark and coloured letters on paper."""
    c = Canvas(220, 120, CREAM)
    c.paint(c.text(8, 26, 16, 2.6, "THE COLOR SOL"), INK)
    c.paint(c.text(8, 50, 11, 1.8, "BOX TEST RICH CORE"), BLUE)
    c.paint(c.text(8, 72, 9, 1.4, "SHELL BELT TIRE HALO XO"), RED)
    c.paint(c.text(8, 90, 7, 1.1, "ETHER COBALT OTHER LISTS"), INK)
    c.paint(c.box(6, 96, 214, 116, 4), BLUE)
    c.paint(c.text(14, 111, 10, 1.7, "CELL ROBOTS ABLE"), WHITE)
    return c.pixels()


def logo():
    """Flat shapes on transparency, one of them half transparent."""
    c = Canvas(160, 160, None)
    star = []
    for k in range(10):
        radius, angle = (46, 19)[k % 2], np.radians(36 * k - 90)
        star.append((80 + radius * float(np.cos(angle)), 80 + radius * float(np.sin(angle))))
    c.paint(c.disc(80, 80, 72), BLUE)
    c.paint(c.ring(80, 80, 60, 5), CREAM)
    c.paint(c.polygon(star), YELLOW)
    c.paint(c.box(8, 118, 152, 142, 6), RED)
    c.paint(c.text(22, 136, 12, 2.4, "THE BEST CO"), WHITE)
    c.paint(c.ring(136, 26, 14, 2), GREEN)
    c.paint(c.line([(8, 20), (40, 8)], 1.5), ORANGE)
    c.paint(c.disc(24, 140, 16), INK, opacity=0.5)
    return c.pixels()


def shaded():
    """A ball on a table, with noise."""
    c = Canvas(180, 130)
    c.colour[:] = np.stack([90 + c.x * 0.6, 120 + c.y * 0.5, 190 - c.y * 0.7], axis=-1)
    c.paint(85 - c.y, np.stack([150 - c.y * 0.4, 110 + c.x * 0.2, 70 + 0 * c.x], axis=-1), soft=3)
    c.paint(c.ellipse(102, 104, 44, 9), (70, 58, 44), soft=8, opacity=0.7)
    light = np.clip(1.15 - np.hypot(c.x - 78, c.y - 52) / 62, 0.12, 1.0)[..., None]
    c.paint(c.disc(90, 68, 36), np.asarray((235, 90, 60)) * light + 20)
    c.colour += spread(5, c.x.shape, 3.0)[..., None]
    return c.pixels()


def page(width=230, height=150):
    """Ink on paper: 0 is paper, 1 ink."""
    c = Canvas(width, height, (0, 0, 0))
    one = (1, 1, 1)
    c.paint(c.text(10, 30, 16, 2.4, "BOTH SHELLS"), one)
    c.paint(c.text(10, 50, 10, 1.5, "THE TEXT IS HERE XX"), one)
    c.paint(c.text(10, 68, 8, 1.2, "COLA BLOB AREA RATIO SCALE"), one)
    c.paint(c.ring(45, 110, 28, 2), one)
    c.paint(c.ring(45, 110, 16, 1.2), one)
    c.paint(c.line([(85, 84), (150, 84), (150, 140), (85, 140)], 1.5, closed=True), one)
    c.paint(c.line([(85, 84), (150, 140)], 1), one)
    c.paint(c.line([(85, 140), (150, 84)], 1), one)
    for k in range(8):
        c.paint(c.line([(160 + 8 * k, 84), (164 + 8 * k, 140)], 1 + 0.25 * k), one)
    return c.colour[..., 0]


def specks(seed, shape, share):
    return np.random.Generator(np.random.PCG64(seed)).random(shape) < share


def one_bit():
    """A page of one bit a pixel, with specks and pinholes."""
    ink = page() > 0.5
    return ~(ink ^ specks(9, ink.shape, 0.002))


def grey_page():
    """A scanned page: soft, unevenly lit, with noise and specks."""
    ink = page()
    height, width = ink.shape
    y, x = np.mgrid[0:height, 0:width]
    paper = 236 - 50 * ((x / width) ** 2 + (y / height)) / 2
    grey = paper * (1 - 0.86 * ink) + spread(12, ink.shape, 2.0)
    grey[specks(13, ink.shape, 0.001)] = 60
    return np.clip(grey, 0, 255).astype(np.uint8)


def clean_page():
    """What is on the scanned page, in black on white."""
    return np.clip(255.0 * (1.0 - page()) + 0.5, 0, 255).astype(np.uint8)


def land():
    """A map: areas of pale colours with borders, thin routes, a river and places."""
    c = Canvas(220, 160, (222, 236, 200))
    random = np.random.Generator(np.random.PCG64(21))
    seats = random.random((14, 2)) * (220, 160)
    pale = ((222, 236, 200), (250, 240, 200), (236, 220, 210), (214, 228, 240), (240, 226, 240))
    distances = np.stack([np.hypot(c.x - sx + 3 * np.sin(c.y / 9), c.y - sy + 3 * np.sin(c.x / 11)) for sx, sy in seats])
    nearest = distances.argmin(axis=0)
    for k in range(len(seats)):
        c.colour[nearest == k] = pale[k % 5]
    two = np.sort(distances, axis=0)[:2]
    c.paint((two[1] - two[0]) / 2 - 0.5, (150, 140, 150))
    for k, (width, colour) in enumerate(((3, (120, 170, 220)), (2, RED), (1.2, (90, 90, 90)), (1.2, ORANGE))):
        route = [(x, 30 + 34 * k + (14 - 2 * k) * float(np.sin(x / (16 + 5 * k) + k))) for x in range(-4, 226, 4)]
        c.paint(c.line(route, width), colour)
    for x, y in random.random((9, 2)) * (200, 140) + 10:
        c.paint(c.disc(x, y, 3.2), INK)
        c.paint(c.disc(x, y, 1.8), WHITE)
    c.paint(c.text(20, 150, 8, 1.2, "THE LOCH"), INK)
    return c.pixels()


def dialog():
    """A window with hard edges: bars, buttons, hairlines, small text."""
    c = Canvas(220, 140, (212, 208, 200))
    hard = 1e-3

    def fill(left, top, right, bottom, colour):
        c.paint(c.box(left, top, right, bottom), colour, hard)

    fill(0, 0, 220, 18, (10, 36, 106))
    c.paint(c.text(6, 13, 7, 1.1, "COLOR TABLE"), WHITE)
    fill(10, 28, 210, 92, WHITE)
    for k, colour in enumerate((INK, INK, BLUE, INK, RED)):
        c.paint(c.text(16, 40 + 11 * k, 6, 1.0, "THE LIST OTHER CELLS HERE"[k:]), colour)
    for left, top, right, bottom, colour in ((10, 28, 210, 29, (128, 128, 128)), (10, 28, 11, 92, (128, 128, 128)),
                                             (10, 91, 210, 92, WHITE)):
        fill(left, top, right, bottom, colour)
    for left in (70, 144):
        fill(left, 106, left + 64, 128, (128, 128, 128))
        fill(left, 106, left + 63, 127, WHITE)
        fill(left + 1, 107, left + 63, 127, (212, 208, 200))
        c.paint(c.text(left + 14, 121, 8, 1.1, "BELT" if left == 70 else "EXIT"), INK)
    fill(12, 110, 24, 122, WHITE)
    c.paint(c.line([(14, 115), (17, 119), (22, 112)], 2), GREEN)
    return c.pixels()


def cartoon():
    """Flat fills within soft dark outlines."""
    c = Canvas(180, 160, (180, 220, 245))
    c.paint(118 + 6 * np.sin(c.x / 22) - c.y, (120, 190, 90), 2)
    c.paint(np.abs(118 + 6 * np.sin(c.x / 22) - c.y) - 1.2, INK, 2)

    def both(shape, colour, width=2.5):
        c.paint(shape, colour, 2.2)
        c.paint(np.abs(shape) - width / 2, INK, 2.2)

    both(c.disc(150, 28, 16), YELLOW)
    both(c.ellipse(80, 108, 34, 36), (230, 110, 60))
    both(c.disc(80, 56, 30), (245, 190, 140))
    both(c.polygon([(52, 42), (44, 12), (70, 26)]), (230, 110, 60))
    both(c.polygon([(108, 42), (116, 12), (90, 26)]), (230, 110, 60))
    for x in (68, 92):
        both(c.ellipse(x, 52, 6, 8), WHITE, 1.6)
        c.paint(c.disc(x + 1, 54, 2.6), INK, 1.6)
    c.paint(c.line([(66, 70), (72, 75), (80, 77), (88, 75), (94, 70)], 2), INK, 2)
    for dy in (-3, 3):
        c.paint(c.line([(50, 62 + dy), (30, 60 + 2 * dy)], 1.2), INK, 1.6)
        c.paint(c.line([(110, 62 + dy), (130, 60 + 2 * dy)], 1.2), INK, 1.6)
    return c.pixels()


def icon():
    """32 x 32, soft, on transparency."""
    c = Canvas(32, 32, None)
    c.paint(c.box(2, 4, 30, 28, 4), BLUE)
    c.paint(c.box(4, 10, 28, 26, 2), CREAM)
    c.paint(c.disc(11, 17, 4), RED)
    c.paint(c.line([(17, 15), (26, 15)], 1), INK)
    c.paint(c.line([(17, 19), (24, 19)], 1), INK)
    c.paint(c.disc(26, 7, 1.2), YELLOW)
    return c.pixels()


def hills():
    """Smooth areas, as for a poster."""
    c = Canvas(180, 120)
    c.colour[:] = np.stack([250 - c.y * 0.5, 210 - c.y * 0.6, 170 + c.y * 0.2], axis=-1)
    c.paint(c.disc(130, 36, 18), (255, 240, 190), soft=4)
    for k, colour in enumerate(((140, 120, 150), (90, 90, 125), (50, 60, 90))):
        c.paint(60 + 20 * k + 12 * np.sin(c.x / (24 - 4 * k) + 2 * k) - c.y, colour, soft=2)
    return c.pixels()


def marks():
    """Colours of few pixels and colours that are nearly the same: lamps, swatches, a key."""
    c = Canvas(160, 110, (236, 236, 232))
    hard = 1e-3
    for k in range(12):
        tone = (150 + 6 * k, 170 - 2 * k, 200 - 5 * k)
        c.paint(c.box(8 + 12 * k, 8, 20 + 12 * k, 34), tone, hard)
    c.paint(c.box(8, 44, 152, 74), (44, 48, 60), hard)
    lamps = (RED, GREEN, YELLOW, (90, 170, 250), ORANGE, (220, 90, 200), WHITE)
    for k, colour in enumerate(lamps):
        side = 3 + k % 2
        for left, top in ((14 + 20 * k, 48), (24 + 20 * k, 62))[:1 + k % 2]:
            c.paint(c.box(left, top, left + side, top + 3), colour, hard)
    for k in range(4):
        c.paint(c.disc(18 + 14 * k, 90, 5), (200, 60 + 10 * k, 50))
    c.paint(c.text(80, 96, 9, 1.5, "LIST"), BLUE)
    return c.pixels()


def glass():
    """Half-transparent shapes, one with a soft shadow."""
    c = Canvas(150, 110, None)
    c.paint(c.box(20, 24, 96, 84, 8) + 2, INK, soft=14, opacity=0.4)
    c.paint(c.box(14, 16, 90, 76, 8), CREAM)
    c.paint(c.disc(96, 40, 26), BLUE, opacity=0.6)
    c.paint(c.disc(116, 70, 26), RED, opacity=0.6)
    c.paint(c.box(4, 92, 146, 102, 3), GREEN, opacity=0.8)
    c.paint(c.text(24, 48, 12, 2, "TOTAL"), INK)
    return c.pixels()


def window():
    """A window with a soft shadow on nothing: dark letters on a small button, white ones on a selected row."""
    c = Canvas(180, 130, None)
    c.paint(c.box(18, 18, 162, 112, 6), INK, soft=16, opacity=0.5)
    c.paint(c.box(18, 14, 162, 108, 4), WHITE)
    for row, words in enumerate(("COLOR BOX", "RICH CORE", "THE BELT", "HALO TEST")):
        if row == 2:
            c.paint(c.box(24, 55, 156, 70), BLUE)
        c.paint(c.text(30, 33 + 17 * row, 9, 1.3, words), WHITE if row == 2 else INK)
    c.paint(c.box(100, 90, 156, 104, 2), (216, 220, 228))
    c.paint(c.text(108, 101, 8, 1.2, "CLOSE"), INK)
    return c.pixels()


# Name: picture and options.
PICTURES = {
    "discs": (discs, "-p logo"),
    "lines": (lines, "-p logo"),
    "letters": (letters, "-p logo"),
    "logo": (logo, "-p auto"),
    "logo-layers": (logo, "-p logo --layers"),
    "icon": (icon, "-p auto"),
    "marks": (marks, "-p logo -c 24"),
    "glass": (glass, "-p logo"),
    "window": (window, "-p auto"),
    "map": (land, "-p logo"),
    "map-layers": (land, "-p logo --layers"),
    "dialog": (dialog, "-p auto"),
    "cartoon": (cartoon, "-p logo"),
    "cartoon-few": (cartoon, "-p logo -c 5"),
    "hills-flat": (hills, "-p logo -c 6"),
    "shaded-flat": (shaded, "-p logo -c 10"),
    "shaded": (shaded, "-p photo"),
    "shaded-few": (shaded, "-p photo -c 12"),
    "hills": (hills, "-p poster"),
    "one-bit": (one_bit, "-p auto"),
    "one-bit-fine": (one_bit, "-p lineart -t 0.5"),
    "grey-page": (grey_page, "-p auto"),
    # The engine's outlines.
    "letters-engine": (letters, "-p logo --fit engine"),
    "map-engine": (land, "-p logo --fit engine"),
    "dialog-engine": (dialog, "-p auto --fit engine"),
    "grey-page-engine": (grey_page, "-p auto --fit engine"),
}

# What a drawing is compared with, where that is not the picture itself.
WANTED = {
    "grey-page": clean_page,
    "grey-page-engine": clean_page,
}
