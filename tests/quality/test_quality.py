#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Traces a small picture of every kind and holds the drawing to the limits of limits.py.

Prints the table. `test_quality.py --propose` prints limits.py anew, from what is reached now; `--keep FOLDER` leaves
pictures and drawings there to be looked at. docs/testing.md, "Quality".
"""
import json
import math
import os
import subprocess
import sys
import tempfile

import numpy as np
from PIL import Image

import measures
from limits import LIMITS
from pictures import PICTURES, WANTED

PROGRAM = os.environ["ZTRACE"]
MEASURES = ("colour", "detail", "regions", "uncovered", "uncovered4", "hairlines", "joints", "numbers")

# A proposed limit lies above the value by this share, and by at least one of the last digit that is kept.
MARGIN = 0.02
DIGITS = {"colour": 3, "detail": 1, "regions": 0, "uncovered": 2, "uncovered4": 2, "hairlines": 2, "joints": 3,
          "numbers": 0}
EXACT = ("regions",)
# Where a value is so much better than its limit, the limit wants tightening.
SLACK = 0.1


def run(*arguments):
    subprocess.run([PROGRAM, "--quiet", *arguments], check=True)


def pixels(path):
    return np.array(Image.open(path).convert("RGBA"))


def measured(name, folder):
    """The measures of one picture; None where it has nothing to measure."""
    draw, options = PICTURES[name]
    kinds = (".in.png", ".wanted.png", ".json", ".png", ".4.png", ".bare.json", ".bare.png")
    path = {kind: os.path.join(folder, name + kind) for kind in kinds}
    Image.fromarray(draw()).save(path[".in.png"])
    Image.fromarray(WANTED.get(name, draw)()).save(path[".wanted.png"])
    # Areas lie on a ground of the commonest colour. What they cover without it is what closes the hairlines
    # in formats and on layers that have none. Where the ground is an area itself nothing lies below it.
    run(path[".in.png"], *options.split(), "-o", path[".json"], "-o", path[".png"])
    run(path[".json"], "-o", path[".4.png"], "--scale", "4")
    with open(path[".json"], encoding="utf-8") as file:
        drawing = json.load(file)
    is_area = any(outline.get("ground") for outline in drawing["outlines"])
    bare = {key: value for key, value in drawing.items() if is_area or key != "ground"}
    with open(path[".bare.json"], "w", encoding="utf-8") as file:
        json.dump(bare, file)
    run(path[".bare.json"], "-o", path[".bare.png"], "--scale", "4")
    source, drawn = pixels(path[".wanted.png"]), pixels(path[".png"])
    joints, numbers = measures.shape_of(drawing)
    return {
        "colour": measures.colour_error(source, drawn),
        "detail": measures.lost_detail(source, drawn),
        "regions": measures.lost_regions(source, drawn),
        "uncovered": measures.uncovered(source, drawn, 1),
        "uncovered4": measures.uncovered(source, pixels(path[".4.png"]), 4),
        "hairlines": measures.uncovered(source, pixels(path[".bare.png"]), 4),
        "joints": joints,
        "numbers": numbers,
    }


def text_of(measure, value):
    return "-" if value is None else f"{value:.{DIGITS[measure]}f}"


def proposal(results):
    """limits.py for these results."""
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "limits.py"), encoding="utf-8") as file:
        lines = [file.read().split("LIMITS = {")[0] + "LIMITS = {"]
    for name, result in results.items():
        cells = []
        for measure in MEASURES:
            value, step = result[measure], 10.0 ** -DIGITS[measure]
            if value is None:
                continue
            above = 0.0 if measure in EXACT else max(MARGIN * value, step)
            limit = math.ceil((value + above) / step - 1e-9) * step
            cells.append(f'"{measure}": {limit:.{DIGITS[measure]}f}')
        half = len(cells) // 2
        lines += [f'    "{name}": {{', "        " + ", ".join(cells[:half]) + ",", "        " + ", ".join(cells[half:]),
                  "    },"]
    return "\n".join(lines + ["}"])


def compared(results):
    """Prints the table, `!` behind what is over its limit; returns sentences about what is wrong."""
    wrong, slack = [], []
    print(f"{'picture':<14}" + "".join(f"{measure:>12}" for measure in MEASURES))
    for name, result in results.items():
        limits, row = LIMITS.get(name, {}), f"{name:<14}"
        for measure in MEASURES:
            value, limit = result[measure], limits.get(measure)
            if (value is None) != (limit is None):
                wrong.append(f"{name}, {measure}: a value without a limit, or a limit without a value")
            over = None not in (value, limit) and value > limit
            if over:
                wrong.append(f"{name}, {measure}: {text_of(measure, value)} is over the limit of {limit}")
            elif None not in (value, limit) and limit - value > max(SLACK * limit, 2 * 10.0 ** -DIGITS[measure]):
                slack.append(f"{name}, {measure}: {text_of(measure, value)} of {limit}")
            row += f"{text_of(measure, value) + ('!' if over else ' '):>12}"
        print(row)
    for name in LIMITS.keys() - results.keys():
        wrong.append(f"{name}: limits without a picture")
    if slack:
        print("Limits that can be tightened:", *slack, sep="\n  ")
    return wrong


def main(arguments):
    propose = "--propose" in arguments
    with tempfile.TemporaryDirectory() as folder:
        if "--keep" in arguments:
            folder_to_use = arguments[arguments.index("--keep") + 1]
            os.makedirs(folder_to_use, exist_ok=True)
        else:
            folder_to_use = folder
        results = {name: measured(name, folder_to_use) for name in PICTURES}
    if propose:
        print(proposal(results))
        return 0
    wrong = compared(results)
    print(*wrong, sep="\n")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
