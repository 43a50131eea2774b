#!/usr/bin/env python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Draws the input pictures of the golden drawings. Run once; the pictures are kept beside it.

A small picture for every kind that the command tells apart: soft and hard edges, one bit, grey,
palettes, flat colours, shading, thin coloured lines, transparency, crossing corners, uneven light,
a crooked page.
"""
import os

import numpy
from PIL import Image, ImageDraw

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.path.join(HERE, "..", "..", "..", "examples")
FINE = 8


def save(name, image, **options):
    image.save(os.path.join(HERE, name + ".png"), **options)


def crop(name, source, box, scale=None):
    image = Image.open(os.path.join(EXAMPLES, source))
    image = image.crop(box)
    if scale:
        image = image.resize(scale, Image.BOX)
    save(name, image)


def soft(size, draw, mode="RGB", paper="white"):
    """A picture drawn eight times as large and averaged."""
    large = Image.new(mode, (size * FINE, size * FINE), paper)
    draw(ImageDraw.Draw(large), lambda *values: [value * FINE for value in values])
    return large.resize((size, size), Image.BOX)


def emblem(draw, at):
    draw.ellipse(at(6, 6, 90, 90), fill=(30, 80, 160))
    draw.ellipse(at(20, 20, 76, 76), fill=(250, 240, 200))
    draw.polygon(at(48, 24, 70, 66, 26, 66), fill=(200, 40, 30))
    draw.line(at(10, 84, 88, 70), fill=(20, 20, 20), width=2 * FINE)
    draw.line(at(8, 50, 88, 50), fill=(240, 140, 20), width=FINE)


def letters(draw, at):
    draw.ellipse(at(8, 8, 44, 60), fill=0)
    draw.ellipse(at(16, 16, 36, 52), fill=255)
    draw.line(at(56, 60, 70, 8, 84, 60), fill=0, width=5 * FINE)
    draw.line(at(62, 42, 78, 42), fill=0, width=3 * FINE)
    for step in range(6):
        draw.line(at(6, 70 + 4 * step, 90, 68 + 4.3 * step), fill=60 * (step % 3), width=FINE)


def shaded():
    y, x = numpy.mgrid[0:72, 0:96]
    red = 90 + 120 * x / 95
    green = 60 + 90 * y / 71 + 20 * numpy.sin(x / 9.0)
    blue = 200 - 110 * (x + y) / 166
    noise = numpy.random.RandomState(7).normal(0, 5, (72, 96, 3))
    picture = numpy.clip(numpy.dstack([red, green, blue]) + noise, 0, 255).astype("uint8")
    image = Image.fromarray(picture)
    draw = ImageDraw.Draw(image)
    draw.ellipse((20, 14, 58, 52), fill=(230, 200, 60))
    draw.rectangle((60, 40, 88, 66), fill=(40, 60, 50))
    return image


def crossings():
    grid = numpy.full((40, 40), 255, "uint8")
    for y in range(4, 36):
        for x in range(4, 36):
            if (x // 4 + y // 4) % 2 or x in (4, 35) or y in (4, 35):
                grid[y, x] = 0
    for i in range(12):
        grid[12 + i, 12 + i] = 0
    return Image.fromarray(grid)


def page(size=160, light=0.0, angle=0.0):
    image = Image.new("L", (size, size), 235)
    draw = ImageDraw.Draw(image)
    random = numpy.random.RandomState(3)
    for line in range(10, size - 14, 12):
        x = 12
        while x < size - 14:
            width = int(random.randint(3, 9))
            draw.rectangle((x, line, x + width, line + int(random.randint(3, 8))), fill=25)
            x += width + int(random.randint(2, 5))
    if angle:
        image = image.rotate(angle, Image.BICUBIC, fillcolor=235)
    grey = numpy.asarray(image).astype(float)
    if light:
        grey *= 1 - light * numpy.linspace(0, 1, size)[None, :] ** 2
    grey += random.normal(0, 4, grey.shape)
    for _ in range(40):
        grey[tuple(random.randint(0, size, 2))] = 40
    return Image.fromarray(numpy.clip(grey, 0, 255).astype("uint8"))


def transparent():
    large = Image.new("RGBA", (80 * FINE, 80 * FINE), (0, 0, 0, 0))
    draw = ImageDraw.Draw(large)
    draw.ellipse([v * FINE for v in (8, 8, 60, 60)], fill=(220, 60, 40, 255))
    draw.ellipse([v * FINE for v in (22, 22, 46, 46)], fill=(0, 0, 0, 0))
    draw.rectangle([v * FINE for v in (36, 40, 74, 74)], fill=(40, 90, 200, 128))
    draw.line([v * FINE for v in (2, 76, 78, 66)], fill=(0, 0, 0, 255), width=2 * FINE)
    return large.resize((80, 80), Image.BOX)


def main():
    save("emblem", soft(96, emblem))
    save("letters", soft(96, letters, "L", 255))
    save("letters-one-bit", soft(96, letters, "L", 255).point(lambda v: 255 if v > 140 else 0).convert("1"))
    save("shaded", shaded())
    save("crossings", crossings())
    save("page", page())
    save("page-shadow", page(size=240, light=0.75))
    save("page-crooked", page(size=240, angle=2.3))
    save("transparent", transparent())
    save("indexed", soft(64, emblem).quantize(9))
    crop("scan", "page.png", (300, 300, 440, 420))
    crop("badge", "badge.png", (60, 40, 200, 160))
    crop("hills", "hills.jpg", (200, 150, 320, 240))
    save("icon", soft(24, lambda draw, at: (draw.ellipse(at(2, 2, 22, 22), fill=(20, 120, 60)),
                                           draw.line(at(7, 12, 11, 17, 18, 7), fill="white", width=3 * FINE))))
    save("one-colour", Image.new("RGB", (9, 5), (12, 200, 99)))
    random = numpy.random.RandomState(11)
    save("noise", Image.fromarray(random.randint(0, 256, (32, 32, 3)).astype("uint8")))
    save("fax", page(size=120).point(lambda v: 255 if v > 128 else 0).convert("1").resize((120, 60)), dpi=(204, 98))


if __name__ == "__main__":
    main()
