#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Draws the example images beside it: page.png, badge.png and hills.jpg.

Needs python3-pil, python3-numpy and fonts-dejavu-core. The same every time.
"""
import math
import os

import numpy as np
from PIL import Image, ImageDraw, ImageFilter, ImageFont

HERE = os.path.dirname(os.path.abspath(__file__))
FONTS = "/usr/share/fonts/truetype/dejavu/"
TEXT = ("Old drawings seldom come with their files. A sheet of paper, a scanner and a little patience "
        "are what is left of them; the rest is a matter of outlines. Every letter on this page is a "
        "closed line around ink, every hole in an a, e, g or o another one around paper.").split()


def font(name, size):
    return ImageFont.truetype(FONTS + name, size)


def noise(shape, seed):
    return np.random.RandomState(seed).normal(size=shape)


def save(image, name, **options):
    image.save(os.path.join(HERE, name), optimize=True, **options)


def draw_gear(draw, cx, cy, outer, inner, teeth, width):
    points = []
    for i in range(teeth * 4):
        radius = outer if i % 4 < 2 else inner
        angle = 2 * math.pi * (i + 0.5) / (teeth * 4)
        points.append((cx + radius * math.cos(angle), cy + radius * math.sin(angle)))
    draw.line(points + points[:2], fill=0, width=width, joint="curve")
    for radius in inner * 0.62, inner * 0.25:
        draw.ellipse((cx - radius, cy - radius, cx + radius, cy + radius), outline=0, width=width)
    for i in range(5):
        angle = 2 * math.pi * i / 5 + 0.3
        x, y, r = cx + inner * 0.43 * math.cos(angle), cy + inner * 0.43 * math.sin(angle), inner * 0.1
        draw.ellipse((x - r, y - r, x + r, y + r), outline=0, width=width - 2)


def page():
    """A page of 150 dots an inch: text and a line drawing, the paper uneven, a grain over all."""
    big = 3
    width, height = 900, 1100
    sheet = Image.new("L", (width * big, height * big), 255)
    draw = ImageDraw.Draw(sheet)
    draw.text((80 * big, 60 * big), "Plate VII", font=font("DejaVuSerif-Bold.ttf", 52 * big), fill=0)
    body = font("DejaVuSerif.ttf", 25 * big)
    line, y = "", 150
    for word in TEXT + [""]:
        if not word or draw.textlength(line + " " + word, font=body) > 740 * big:
            draw.text((80 * big, y * big), line, font=body, fill=0)
            line, y = word, y + 40
        else:
            line = (line + " " + word).strip()
    draw_gear(draw, 330 * big, 690 * big, 210 * big, 172 * big, 18, 4 * big)
    draw_gear(draw, 640 * big, 870 * big, 132 * big, 104 * big, 11, 4 * big)
    for x in range(40):  # hatching of the ground
        draw.line(((90 + 18 * x) * big, 1040 * big, (78 + 18 * x) * big, 1060 * big), fill=0, width=2 * big)
    draw.line((70 * big, 1040 * big, 820 * big, 1040 * big), fill=0, width=4 * big)
    sheet = sheet.rotate(0.4, resample=Image.BICUBIC, fillcolor=255)
    sheet = sheet.resize((width, height), Image.BOX).filter(ImageFilter.GaussianBlur(0.7))
    grey = np.asarray(sheet, float)
    ys, xs = np.mgrid[0:height, 0:width]
    paper = 236 - 16 * (xs / width) ** 2 - 10 * (ys / height)
    grey = 42 + grey / 255 * (paper - 42) + 3 * noise(grey.shape, 1)
    levels = np.clip(grey / 17 + 0.5, 0, 15).astype("uint8")
    sheet = Image.fromarray(levels, "P")
    sheet.putpalette([17 * (i // 3) for i in range(48)])
    save(sheet, "page.png", dpi=(150, 150), bits=4)


def badge():
    """Flat colours on nothing: an O with its hole, a leaf, half-transparent shade."""
    big = 4
    size = 480
    image = Image.new("RGBA", (size * big, size * big), (0, 0, 0, 0))
    draw = ImageDraw.Draw(image)

    def disc(x, y, radius, colour):
        draw.ellipse(((x - radius) * big, (y - radius) * big, (x + radius) * big, (y + radius) * big), fill=colour)
    draw.ellipse((100 * big, 418 * big, 380 * big, 454 * big), fill=(0, 0, 0, 64))
    disc(240, 230, 190, (23, 63, 122, 255))
    disc(240, 230, 168, (250, 250, 246, 255))
    disc(240, 230, 150, (23, 63, 122, 255))
    disc(240, 230, 84, (0, 0, 0, 0))
    # A leaf: two arcs between its tips.
    tips, bend = ((330, 40), (250, 176)), 46
    along = [(tips[0][0] + t * (tips[1][0] - tips[0][0]), tips[0][1] + t * (tips[1][1] - tips[0][1]), t)
             for t in np.linspace(0, 1, 80)]
    points = [(x + bend * 0.86 * math.sin(math.pi * t), y + bend * 0.51 * math.sin(math.pi * t)) for x, y, t in along]
    points += [(x - bend * 0.86 * math.sin(math.pi * t), y - bend * 0.51 * math.sin(math.pi * t))
               for x, y, t in reversed(along)]
    draw.polygon([(x * big, y * big) for x, y in points], fill=(232, 119, 34, 255))
    draw.text((168 * big, 312 * big), "orbit", font=font("DejaVuSans-Bold.ttf", 52 * big), fill=(250, 250, 246, 255))
    image = image.resize((size, size), Image.LANCZOS)
    save(image, "badge.png")


def hills():
    """Hills in haze under an evening sky, a lake, grain as of film."""
    width, height = 720, 480
    ys, xs = np.mgrid[0:height, 0:width].astype(float)
    t = ys / height
    sky = np.stack([90 + 160 * t ** 0.7, 110 + 70 * t, 170 - 60 * t], -1)
    glow = np.exp(-(((xs - 500) / 190) ** 2 + ((ys - 210) / 90) ** 2))
    picture = sky + glow[..., None] * np.array([90, 60, 10])
    picture[np.hypot(xs - 500, ys - 205) < 26] = (255, 236, 190)
    random = np.random.RandomState(5)
    for layer in range(5):
        phases = random.uniform(0, 6.28, 6)
        ridge = 215 + 38 * layer + sum(
            (34 - 4 * layer) / (k + 1) * np.sin(xs[0] / width * 6.28 * (k + 0.6) * 1.3 + phases[k]) for k in range(6))
        near = layer / 4
        tone = np.array([150, 120, 140]) * (1 - near) + np.array([28, 40, 34]) * near
        mask = ys > ridge[None, :]
        texture = 10 * near * noise(ys.shape, layer)
        texture = (texture + np.roll(texture, 1, 0) + np.roll(texture, 1, 1) + np.roll(texture, (1, 1), (0, 1))) / 2
        depth = np.clip((ys - ridge[None, :]) / 120, 0, 1)[..., None]
        colour = tone + texture[..., None] * 2 + depth * np.array([24, 18, 12])
        picture[mask] = colour[mask]
    lake = ys > 400 + 8 * np.sin(xs / 90)
    mirrored = picture[np.clip(800 - ys.astype(int), 0, height - 1), xs.astype(int)]
    ripples = 8 * np.sin(ys / 2.4 + 2 * np.sin(xs / 37))[..., None]
    picture[lake] = (0.7 * mirrored + 0.3 * np.array([120, 110, 130]) + ripples)[lake]
    picture += 3 * noise(picture.shape, 9)
    image = Image.fromarray(np.clip(picture, 0, 255).astype("uint8"))
    image.save(os.path.join(HERE, "hills.jpg"), quality=88, dpi=(96, 96))


if __name__ == "__main__":
    page()
    badge()
    hills()
