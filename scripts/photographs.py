#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Measures drawings of photographs by what they cost: colour error and likeness over the numbers written.

    scripts/photographs.py [--colors 8,16,32,64,128] [--ztrace "COMMAND OPTIONS"] PICTURE...

Every picture is drawn at each number of colours by ztrace (several commands may be named, one a --ztrace), by
Inkscape's tracer with --inkscape (slow), and by vtracer at several precisions, where ./bench has put it. Drawings are
rendered by rsvg-convert at the size of the picture.

numbers   coordinates written, as scripts/quality.py counts them
dE        mean colour error (CIEDE2000)
SSIM      of lightness (Wang et al. 2004; windows of 11 x 11, sigma 1.5), mean over the picture

Under the rows stand, for each pair of a ztrace command and a peer, the areas between their curves: means, over the
logarithm of the numbers where both curves are, of how much lower the error and how much higher the likeness is.
"""
import argparse
import os
import subprocess
import tempfile
import time

import numpy as np
from PIL import Image
from scipy import ndimage

from quality import colours_of, lab, numbers_in, on_white, render

VTRACER = ((4, 48), (5, 32), (6, 24), (6, 16), (7, 12), (8, 8))  # bits a channel, step between layers


def ciede2000(a, b):
    """Sharma, Wu and Dalal, "The CIEDE2000 color-difference formula", 2005."""
    (l1, a1, b1), (l2, a2, b2) = np.moveaxis(a, -1, 0), np.moveaxis(b, -1, 0)
    chroma7 = ((np.hypot(a1, b1) + np.hypot(a2, b2)) / 2) ** 7
    g = 0.5 * (1 - np.sqrt(chroma7 / (chroma7 + 25.0 ** 7)))
    a1, a2 = (1 + g) * a1, (1 + g) * a2
    c1, c2 = np.hypot(a1, b1), np.hypot(a2, b2)
    h1, h2 = np.degrees(np.arctan2(b1, a1)) % 360, np.degrees(np.arctan2(b2, a2)) % 360
    dh = (h2 - h1 + 180) % 360 - 180
    dh = np.where(c1 * c2 == 0, 0, dh)
    dl, dc, dbig = l2 - l1, c2 - c1, 2 * np.sqrt(c1 * c2) * np.sin(np.radians(dh / 2))
    l, c, h = (l1 + l2) / 2, (c1 + c2) / 2, np.where(c1 * c2 == 0, h1 + h2, h1 + dh / 2)
    t = (1 - 0.17 * np.cos(np.radians(h - 30)) + 0.24 * np.cos(np.radians(2 * h))
         + 0.32 * np.cos(np.radians(3 * h + 6)) - 0.20 * np.cos(np.radians(4 * h - 63)))
    sl = 1 + 0.015 * (l - 50) ** 2 / np.sqrt(20 + (l - 50) ** 2)
    sc, sh = 1 + 0.045 * c, 1 + 0.015 * c * t
    around = np.exp(-((h % 360 - 275) / 25) ** 2)
    turn = -2 * np.sqrt(c ** 7 / (c ** 7 + 25.0 ** 7)) * np.sin(np.radians(60 * around))
    return np.sqrt(np.maximum(0, (dl / sl) ** 2 + (dc / sc) ** 2 + (dbig / sh) ** 2 + turn * (dc / sc) * (dbig / sh)))


def similarity(a, b):
    def blur(x):
        return ndimage.gaussian_filter(x, 1.5, truncate=3.4)
    ma, mb = blur(a), blur(b)
    va, vb, ab = blur(a * a) - ma * ma, blur(b * b) - mb * mb, blur(a * b) - ma * mb
    c1, c2 = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    return float(((2 * ma * mb + c1) * (2 * ab + c2) / ((ma * ma + mb * mb + c1) * (va + vb + c2))).mean())


def measure(picture, svg):
    source = on_white(np.array(picture.convert("RGBA")))
    drawn = on_white(render(svg, picture.size))
    grey = np.array([0.299, 0.587, 0.114])
    return {"numbers": numbers_in(svg), "dE": float(ciede2000(lab(source), lab(drawn)).mean()),
            "SSIM": similarity(source @ grey, drawn @ grey), "colours": colours_of(svg)}


def timed(command):
    """Processor seconds of a command."""
    before = os.times()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    after = os.times()
    return after.children_user + after.children_system - before.children_user - before.children_system


def ztrace_drawings(command, file, colours, svg):
    for count in colours:
        options = ["-c", str(count)] if count else []
        yield count, timed(command.split() + [file, "-o", svg, "--overwrite"] + options)


def vtracer_drawings(peers, picture, svg):
    with tempfile.NamedTemporaryFile(suffix=".rgba") as pixels:
        pixels.write(picture.convert("RGBA").tobytes())
        pixels.flush()
        for bits, step in VTRACER:
            yield "%d bits, step %d" % (bits, step), timed(
                ["node", os.path.join(peers, "vtracer.mjs"), "stacked", str(picture.width), str(picture.height),
                 pixels.name, svg, str(bits), str(step)])


def inkscape_drawings(file, colours, svg):
    for count in colours:
        # scans, smooth, stack, remove background, speckles, corners, optimise
        actions = "select-all;object-trace:%d,false,true,false,4,1,0.2;export-plain-svg;export-filename:%s;export-do" % (
            count, svg)
        yield count, timed(["inkscape", "--actions", actions, file])


def area_between(ours, theirs, what):
    """Mean of ours minus theirs over the logarithm of the numbers, where both are; None where they do not meet."""
    def curve(rows):
        rows = sorted((np.log(row["numbers"]), row[what]) for row in rows)
        return np.array(rows).T
    (x, y), (u, v) = curve(ours), curve(theirs)
    low, high = max(x[0], u[0]), min(x[-1], u[-1])
    if high <= low:
        return None
    grid = np.linspace(low, high, 200)
    return float((np.interp(grid, x, y) - np.interp(grid, u, v)).mean())


def rows_of(args, file):
    """{tool: [row]} of one picture."""
    picture = Image.open(file)
    rows = {}
    with tempfile.TemporaryDirectory() as folder:
        svg = folder + "/drawing.svg"
        colours = [int(count) for count in args.colors.split(",")]
        tools = [(command, ztrace_drawings(command, file, colours, svg)) for command in args.ztrace]
        if os.path.exists(os.path.join(args.peers, "vtracer.mjs")):
            tools.append(("vtracer", vtracer_drawings(args.peers, picture, svg)))
        if args.inkscape:
            tools.append(("Inkscape", inkscape_drawings(file, colours, svg)))
        for tool, drawings in tools:
            for asked, seconds in drawings:
                row = dict(measure(picture, svg), asked=asked, seconds=seconds)
                rows.setdefault(tool, []).append(row)
                print("| %s | %s | %s | %d | %d | %.2f | %.3f | %.2f |" % (
                    os.path.basename(file), tool, asked, row["colours"], row["numbers"], row["dE"], row["SSIM"],
                    seconds), flush=True)
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("pictures", nargs="+", metavar="PICTURE")
    parser.add_argument("--colors", default="8,16,32,64,128", help="0: as the preset has it")
    parser.add_argument("--ztrace", action="append", metavar="COMMAND", help="with options; several times")
    parser.add_argument("--peers", default="build/bench/peers", help="where ./bench has put vtracer")
    parser.add_argument("--inkscape", action="store_true")
    args = parser.parse_args()
    args.ztrace = args.ztrace or ["build/release/cli/ztrace --preset photo"]
    print("| picture | drawn by | asked | colours | numbers | dE | SSIM | seconds |\n|---|---|---|---|---|---|---|---|")
    between = {}
    for file in args.pictures:
        rows = rows_of(args, file)
        for ours in args.ztrace:
            for theirs in set(rows) - {ours}:
                areas = [area_between(rows[ours], rows[theirs], what) for what in ("dE", "SSIM")]
                between.setdefault((ours, theirs), []).append(areas)
    print("\n| curve of | against | dE | SSIM | pictures |\n|---|---|---|---|---|")
    for (ours, theirs), areas in sorted(between.items()):
        met = np.array([pair for pair in areas if None not in pair])
        if len(met):
            print("| %s | %s | %+.2f | %+.3f | %d of %d |" % (ours, theirs, *met.mean(axis=0), len(met), len(areas)))


if __name__ == "__main__":
    main()
