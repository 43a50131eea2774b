#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Measures how good traced drawings are, beside other tools, and prints the table of docs/quality.md.

    scripts/quality.py [--corpus build/corpus | IMAGE...]

The corpus is what benchmarks/corpus.sh fetches (./bench runs it): CORPUS below lists its images.
Every drawing is rendered by rsvg-convert and compared with the image. An image of one bit a pixel
is a row of line art, everything else a row of colour. Other tools run as separate programs where
they are installed: potrace for line art, vtracer for colour (./bench installs it for node).

agree     share of pixels that are the same as in the image, rendered hard-edged (crispEdges) at its
          size, both split at half lightness
dE        mean colour error (CIE 1976) over the opaque pixels; `quantiser`: what the imaging
          library's median cut makes of the same number of colours
seams     share of the opaque pixels that the drawing covers by less than 98 %
over      share of the fully transparent pixels that the drawing paints by more than half
numbers   coordinates written per 1000 boundary edges (a line 2, a quadratic 4, a cubic 6); a
          boundary edge lies between two pixels of different colour, in the image for line art, in
          the rendered drawing for colour
lost      black or white regions of at least 8 pixels of which the drawing shows nothing; -1 where
          python3-scipy is missing
"""
import argparse
import ctypes
import os
import re
import shutil
import subprocess
import tempfile
import time

import numpy as np
from PIL import Image

Image.MAX_IMAGE_PIXELS = None
SHAPES = {"circle": 3, "ellipse": 4, "rect": 4, "line": 4}
NUMBERS = {"L": 2, "H": 1, "V": 1, "Q": 4, "T": 2, "C": 6, "S": 4, "A": 7}


def run(command):
    start = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - start


def numbers_in(svg):
    """Coordinates in all paths, those of M left out, and those of whole shapes."""
    text = open(svg, encoding="utf-8").read()
    count = sum(SHAPES[shape] for shape in re.findall(r"<(circle|ellipse|rect|line)\s", text))
    for path in re.findall(r'\sd="([^"]*)"', text):
        for command, rest in re.findall(r"([A-Za-z])([^A-Za-z]*)", path):
            if command.upper() != "M":
                count += len(re.findall(r"-?(?:\d+\.?\d*|\.\d+)", rest))
    return count


def render(svg, size):
    with tempfile.NamedTemporaryFile(suffix=".png") as png:
        run(["rsvg-convert", "--unlimited", "-w", str(size[0]), "-h", str(size[1]), svg, "-o", png.name])
        return np.array(Image.open(png.name).convert("RGBA"))


def on_white(rgba):
    alpha = rgba[..., 3:].astype(float) / 255
    return rgba[..., :3] * alpha + 255 * (1 - alpha)


def boundary_edges(image):
    image = image.reshape(image.shape[0], image.shape[1], -1).astype(int)
    return int((image[:, 1:] != image[:, :-1]).any(-1).sum() + (image[1:] != image[:-1]).any(-1).sum())


def lab(rgb):
    c = rgb / 255.0
    c = np.where(c > 0.04045, ((c + 0.055) / 1.055) ** 2.4, c / 12.92)
    xyz = c @ np.array([[0.4124, 0.3576, 0.1805], [0.2126, 0.7152, 0.0722], [0.0193, 0.1192, 0.9505]]).T
    xyz /= [0.95047, 1.0, 1.08883]
    f = np.where(xyz > 0.008856, np.cbrt(xyz), 7.787 * xyz + 16 / 116)
    return np.stack([116 * f[..., 1] - 16, 500 * (f[..., 0] - f[..., 1]), 200 * (f[..., 1] - f[..., 2])], -1)


def colour_error(a, b, mask):
    return float(np.sqrt(((lab(a[mask]) - lab(b[mask])) ** 2).sum(-1)).mean())


def library_quantised(rgb, colours):
    """The image in so many colours by the imaging library's median cut, through files."""
    lept = ctypes.CDLL("liblept.so.5")
    for name in ("pixRead", "pixMedianCutQuantGeneral", "pixConvertTo32"):
        getattr(lept, name).restype = ctypes.c_void_p
    with tempfile.TemporaryDirectory() as folder:
        source, target = folder + "/a.png", folder + "/b.png"
        Image.fromarray(rgb).save(source)
        pix = ctypes.c_void_p(lept.pixRead(source.encode()))
        reduced = ctypes.c_void_p(lept.pixMedianCutQuantGeneral(pix, 0, 8, min(max(colours, 2), 256), 5, 1, 0))
        lept.pixWrite(target.encode(), ctypes.c_void_p(lept.pixConvertTo32(reduced)), 3)
        return np.array(Image.open(target).convert("RGB"))


def lost_regions(image, drawn):
    """Regions of the image of which the drawing shows nothing."""
    try:
        return sum(1 for value in (True, False) for _ in lost_of(image == value, drawn == value))
    except ImportError:
        return -1


def lost_of(image, drawn):
    from scipy import ndimage
    labels, count = ndimage.label(image)
    if count == 0:
        return
    index = range(1, count + 1)
    sizes = ndimage.sum(np.ones(labels.shape), labels, index)
    shown = ndimage.sum(drawn, labels, index)
    for size, kept in zip(sizes, shown):
        if size >= 8 and kept == 0:
            yield size


def measure_lineart(image, svg):
    ink = np.array(image.convert("L")) < 128
    text = open(svg, encoding="utf-8").read()
    with open(svg, "w", encoding="utf-8") as file:
        file.write(text.replace("<svg ", '<svg shape-rendering="crispEdges" ', 1))
    drawn = on_white(render(svg, image.size)).mean(-1) < 128
    return {"agree": 100 * (ink == drawn).mean(), "numbers": 1000 * numbers_in(svg) / boundary_edges(ink),
            "lost": lost_regions(ink, drawn)}


def measure_colour(image, svg):
    source = np.array(image.convert("RGBA"))
    drawn = render(svg, image.size)
    opaque = source[..., 3] == 255
    clear = source[..., 3] == 0
    return {"dE": colour_error(on_white(source), on_white(drawn), opaque),
            "seams": 100 * (drawn[..., 3][opaque] < 0.98 * 255).mean() if opaque.any() else None,
            "over": 100 * (drawn[..., 3][clear] > 127).mean() if clear.any() else None,
            "numbers": 1000 * numbers_in(svg) / max(1, boundary_edges(drawn))}


def colours_of(svg):
    return len(set(re.findall(r'fill="(#[0-9a-fA-F]{6})"', open(svg, encoding="utf-8").read())))


CLIP_ART = "pkg-openclipart-png/usr/share/openclipart/png/"
WALLPAPERS = "pkg-plasma-workspace-wallpapers/usr/share/wallpapers/"
CORPUS = {
    "text page": "src-leptonlib/prog/feyn.tif",
    "magazine page": "src-leptonlib/prog/pageseg1.tif",
    "patent drawing": "src-leptonlib/prog/patent.png",
    "stamp": CLIP_ART + "logos/francobollo_gnome_ezechi_02.png",
    "badge": CLIP_ART + "logos/velocette_frank_warttig_01.png",
    "tiger": CLIP_ART + "animals/mammals/big_cats/tiger_graig_ryan_smith_-_01.png",
    "swan": CLIP_ART + "animals/birds/cigno_architetto_frances_01.png",
    "cartoon": WALLPAPERS + "FlyingKonqui/contents/images/2560x1600.png",
    "portrait": "pkg-python3-skimage/usr/lib/python3/dist-packages/skimage/data/astronaut.png",
    "painting": WALLPAPERS + "Autumn/contents/images/1920x1080.jpg",
    "photograph": WALLPAPERS + "EveningGlow/contents/images/1920x1080.jpg",
}
LINEART = (("agree", "%.2f %%"), ("numbers", "%.0f"), ("lost", "%d"))
COLOUR = (("colours", "%d"), ("dE", "%.1f"), ("quantiser", "%.1f"), ("seams", "%.2f %%"), ("over", "%.2f %%"),
          ("numbers", "%.0f"))


class Table:
    """A table in Markdown that is printed row by row."""

    def __init__(self, columns):
        self.columns = columns
        self.last = None

    def row(self, image, tool, values, seconds):
        if self.last is None:
            names = ["image", "drawn by"] + [name for name, _ in self.columns] + ["seconds"]
            print("\n| " + " | ".join(names) + " |\n|" + "---|" * len(names), flush=True)
        cells = [form % values[name] if values.get(name) is not None else "" for name, form in self.columns]
        print("| " + " | ".join(["" if image == self.last else image, tool] + cells + ["%.2f" % seconds]) + " |",
              flush=True)
        self.last = image


def lineart_rows(table, args, name, file, image, folder):
    for options in ([], ["--fit", "engine"], ["--tolerance", "0.5"]):
        svg = folder + "/z.svg"
        seconds = run([args.ztrace, file, "--preset", "lineart", "-o", svg] + options)
        table.row(name, " ".join(["ztrace"] + options), measure_lineart(image, svg), seconds)
    if shutil.which("potrace"):
        pbm = folder + "/a.pbm"
        image.convert("1").save(pbm)
        seconds = run(["potrace", "-s", pbm, "-o", folder + "/p.svg"])
        table.row(name, "potrace", measure_lineart(image, folder + "/p.svg"), seconds)


def colour_rows(table, args, name, file, image, folder):
    rgb = np.array(image.convert("RGB"))
    mask = np.array(image.convert("RGBA"))[..., 3] == 255
    for options in args.options or ["", "--preset photo --colors 16"]:
        svg = folder + "/z.svg"
        seconds = run([args.ztrace, file, "-o", svg] + options.split())
        values = measure_colour(image, svg)
        values["colours"] = colours_of(svg)
        if mask.any():
            quantised = library_quantised(on_white(np.array(image.convert("RGBA"))).astype("uint8"), values["colours"])
            values["quantiser"] = colour_error(rgb, quantised, mask)
        table.row(name, ("ztrace " + options).strip(), values, seconds)
    vtracer = os.path.join(args.peers, "vtracer.mjs")
    if os.path.exists(vtracer) and shutil.which("node"):
        rgba = folder + "/a.rgba"
        with open(rgba, "wb") as file:
            file.write(image.convert("RGBA").tobytes())
        for mode in ("stacked", "cutout"):
            svg = folder + "/v.svg"
            seconds = run(["node", vtracer, mode, str(image.width), str(image.height), rgba, svg])
            values = measure_colour(image, svg)
            values["colours"] = colours_of(svg)
            table.row(name, "vtracer " + mode, values, seconds)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("images", nargs="*", metavar="IMAGE")
    parser.add_argument("--corpus", default="build/corpus", help="used when no image is named")
    parser.add_argument("--ztrace", default="build/release/cli/ztrace")
    parser.add_argument("--peers", default="build/bench/peers", help="where ./bench has put vtracer")
    parser.add_argument("--options", action="append", help="options of a colour row; several times")
    args = parser.parse_args()
    # Line art first: a table each.
    named = {os.path.basename(file): file for file in args.images} or {
        name: os.path.join(args.corpus, file) for name, file in CORPUS.items()}
    opened = [(name, file, Image.open(file)) for name, file in named.items()]
    lineart, colour = Table(LINEART), Table(COLOUR)
    for name, file, image in sorted(opened, key=lambda entry: entry[2].mode != "1"):
        with tempfile.TemporaryDirectory() as folder:
            if image.mode == "1":
                lineart_rows(lineart, args, name, file, image, folder)
            else:
                if image.mode not in ("RGB", "RGBA"):
                    image = image.convert("RGBA")
                colour_rows(colour, args, name, file, image, folder)


if __name__ == "__main__":
    main()
