#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Makes the pictures that bench_command has traced, as files of the kind that a user has.

    benchmarks/command_pictures.py --corpus build/corpus build/bench/command
    benchmarks/command_pictures.py --smoke build/bench/command-smoke

Writes the pictures, for a scan its bitmap ready for potrace (PBM), for a colour picture its pixels
as vtracer takes them (R, G, B, A), and pictures.json: per picture name, kind (scan, logo, flat,
photo, icon), preset that fits, size, and these files. Without --corpus's folder only --smoke works:
small drawn pictures. The same corpus gives the same pixels.
"""
import argparse
import json
import os
import sys

import numpy
from PIL import Image, ImageDraw, ImageFilter

SHEET = (7016, 4961)  # A2 at 300 dots an inch: 34.8 megapixels
PRESETS = {"scan": "lineart", "logo": "logo", "flat": "logo", "photo": "photo", "icon": "logo"}
SCANS = "src-leptonlib/prog"
CLIPART = "pkg-openclipart-png/usr/share/openclipart/png"
PAPERS = "pkg-plasma-workspace-wallpapers/usr/share/wallpapers"
SCREENS = "pkg-kicad-doc-en/usr/share/doc/kicad/help/en/images"


def softened(page):
    """A bitmap as a scanner in grey gives it: edges two pixels wide, paper not quite white and ink
    not quite black, noise of a few steps."""
    soft = numpy.asarray(page.convert("L").filter(ImageFilter.GaussianBlur(0.7)), dtype=numpy.int32)
    noise = numpy.random.RandomState(1).randint(-3, 4, soft.shape, dtype=numpy.int32)
    return Image.fromarray(numpy.clip(20 + soft * 225 // 255 + noise, 0, 255).astype(numpy.uint8))


def shaded(page):
    """A softened page as an open book lies on the glass: more than half of the light is lost
    towards one edge, and a fifth of it from top to bottom."""
    grey = numpy.asarray(softened(page), dtype=numpy.float32)
    across = numpy.linspace(0, 1, grey.shape[1], dtype=numpy.float32)[None, :]
    down = numpy.linspace(0, 1, grey.shape[0], dtype=numpy.float32)[:, None]
    return Image.fromarray((grey * (1 - 0.6 * across ** 4) * (1 - 0.2 * down)).astype(numpy.uint8))


def lettering(draw, left, top, height, letters):
    """Strokes that look like a line of lettering, each letter another of seven shapes."""
    for k in range(letters):
        x = left + k * height * 7 // 10
        w = height // 2
        pen = max(2, height // 10)
        shape = (k * 5 + letters) % 7
        if shape in (0, 1, 3):
            draw.line((x, top, x, top + height), fill=0, width=pen)
        if shape in (1, 2, 4):
            draw.ellipse((x, top + height - w, x + w, top + height), outline=0, width=pen)
        if shape in (0, 4, 5):
            draw.line((x, top, x + w, top + height), fill=0, width=pen)
        if shape in (3, 5):
            draw.line((x, top + height // 2, x + w, top + height // 2), fill=0, width=pen)


def sheet(size):
    """A drawing with little ink: frame, title block, a plate with holes, their dimensions."""
    page = Image.new("L", size, 255)
    draw = ImageDraw.Draw(page)
    unit = size[0] / 7016
    pen = max(1, round(6 * unit))

    def at(*numbers):
        return tuple(round(n * unit) for n in numbers)

    draw.rectangle(at(236, 118, 6898, 4843), outline=0, width=2 * pen)
    for k in range(8):  # title block, lower right
        draw.line(at(4800, 4000 + k * 105, 6898, 4000 + k * 105), fill=0, width=pen)
        lettering(draw, *at(4850, 4025 + k * 105, 50), letters=8 + 5 * k % 23)
    for x in (4800, 5600, 6300):
        draw.line(at(x, 4000, x, 4843), fill=0, width=pen)
    draw.rectangle(at(900, 900, 4100, 3100), outline=0, width=2 * pen)  # the plate
    for row in range(3):
        for column in range(4):
            x, y = 1400 + 750 * column, 1350 + 650 * row
            radius = 90 + 40 * ((row + column) % 3)
            draw.ellipse(at(x - radius, y - radius, x + radius, y + radius), outline=0, width=2 * pen)
            draw.line(at(x - radius - 60, y, x + radius + 60, y), fill=0, width=pen)
            draw.line(at(x, y - radius - 60, x, y + radius + 60), fill=0, width=pen)
    for k in range(4):  # dimensions below
        x, y = 1400 + 750 * k, 3300 + 120 * k
        draw.line(at(900, y, x, y), fill=0, width=pen)
        draw.polygon(at(x, y, x - 70, y - 18, x - 70, y + 18), fill=0)
        lettering(draw, *at(1000 + (x - 900) / 2, y - 70, 55), letters=4)
    return page


def drawn_flat(size):
    picture = Image.new("RGB", (size, size), "white")
    draw = ImageDraw.Draw(picture)
    for k in range(12):
        x, y = size * k * 7 // 100, size * ((k * 5) % 12) // 20
        draw.ellipse((x, y, x + size * 3 // 10, y + size // 5), fill=f"hsl({30 * k},80%,45%)")
    return picture


def drawn_smooth(size):
    down, across = numpy.mgrid[0:size, 0:size] / size
    wave = 0.5 + 0.25 * numpy.sin(13 * across) * numpy.cos(17 * down)
    return Image.fromarray((255 * numpy.dstack((across, wave, down))).astype(numpy.uint8))


class Pictures:
    def __init__(self, corpus, target):
        self.corpus = corpus
        self.target = target
        self.made = []
        os.makedirs(target, exist_ok=True)

    def open(self, *parts):
        return Image.open(os.path.join(self.corpus, *parts))

    def path(self, name, ending):
        return os.path.abspath(os.path.join(self.target, name.replace(" ", "_") + ending))

    def add(self, name, kind, picture, file=None, ending=".png", bitmap=None, **options):
        """`file` is taken as it is; without it the picture is saved. `bitmap`: the ink of a scan."""
        entry = {"name": name, "kind": kind, "preset": PRESETS[kind], "width": picture.width,
                 "height": picture.height, "file": file or self.path(name, ending)}
        if not file:
            picture.save(entry["file"], **options)
        if kind == "scan":
            entry["bitmap"] = self.path(name, ".pbm")
            (bitmap or picture).convert("L").point(lambda v: 255 * (v > 127)).convert("1").save(
                entry["bitmap"])
        else:
            entry["pixels"] = self.path(name, ".rgba")
            with open(entry["pixels"], "wb") as stream:
                stream.write(picture.convert("RGBA").tobytes())
        self.made.append(entry)

    def add_file(self, name, kind, *parts):
        file = os.path.abspath(os.path.join(self.corpus, *parts))
        self.add(name, kind, Image.open(file), file=file)

    def scans(self):
        text = self.open(SCANS, "feyn.tif")
        self.add_file("text page", "scan", SCANS, "feyn.tif")
        self.add("text page grey", "scan", softened(text), dpi=(300, 300))
        self.add("uneven light", "scan", shaded(text), bitmap=text, dpi=(300, 300))
        self.add_file("music page", "scan", SCANS, "bois-2.tif")
        fax = self.open(SCANS, "pageseg1.tif").convert("L").resize((1728, 2140), Image.BOX)
        self.add("fax", "scan", fax.point(lambda v: 255 * (v > 127)).convert("1"), ending=".tif",
                 compression="group4", dpi=(204, 196))
        drawing = sheet(SHEET)
        self.add("drawing 35M", "scan", drawing.point(lambda v: 255 * (v > 127)).convert("1"),
                 ending=".tif", compression="group4", dpi=(300, 300))
        self.add("drawing 35M grey", "scan", drawing.filter(ImageFilter.BoxBlur(1)), dpi=(300, 300))

    def colours(self):
        self.add_file("logo swirl", "logo", CLIPART, "logos/debian_nuskool_joel_leht_01.png")
        self.add_file("logo emblem", "logo", CLIPART, "logos/velocette_frank_warttig_01.png")
        self.add_file("logo sign", "logo", CLIPART, "logos/info_michael_tunnicliffe_01.png")
        self.add_file("clip art", "flat", CLIPART,
                      "animals/mammals/big_cats/tiger_graig_ryan_smith_-_01.png")
        self.add_file("cartoon", "flat", PAPERS, "FlyingKonqui/contents/images/2560x1600.png")
        self.add_file("map", "flat", CLIPART, "geography/world_map_01.png")
        self.add_file("screenshot layers", "flat", SCREENS,
                      "gerbview_main_screen.png")
        self.add_file("screenshot dialog", "flat", SCREENS,
                      "preferences_common.png")
        evening = self.open(PAPERS, "EveningGlow/contents/images/1920x1080.jpg")
        self.add("photo 2M", "photo", evening.convert("RGB").resize((1920, 1080), Image.LANCZOS),
                 ending=".jpg", quality=90)
        lake = self.open(PAPERS, "Patak/contents/images/5120x2880.png").convert("RGB")
        self.add("photo 12M", "photo", lake.crop((560, 0, 4726, 2880)), ending=".jpg", quality=90)

    def icon(self):
        self.add("icon", "icon", drawn_flat(16))

    def drawn(self):
        page = sheet((220, 156))
        self.add("drawn sheet", "scan", page.point(lambda v: 255 * (v > 127)).convert("1"),
                 ending=".tif", compression="group4")
        self.add("drawn sheet grey", "scan", softened(page))
        self.add("drawn logo", "logo", drawn_flat(96))
        self.add("drawn photo", "photo", drawn_smooth(96), ending=".jpg", quality=90)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--corpus", default=os.environ.get("ZTRACE_CORPUS", "build/corpus"))
    parser.add_argument("--smoke", action="store_true", help="small drawn pictures, no corpus")
    parser.add_argument("target")
    args = parser.parse_args()
    pictures = Pictures(args.corpus, args.target)
    try:
        if args.smoke:
            pictures.drawn()
        else:
            pictures.scans()
            pictures.colours()
        pictures.icon()
    except OSError as error:
        sys.exit(f"command_pictures.py: {error} (benchmarks/corpus.sh fetches the corpus)")
    with open(os.path.join(args.target, "pictures.json"), "w", encoding="utf-8") as stream:
        json.dump(pictures.made, stream, indent=1)


if __name__ == "__main__":
    main()
