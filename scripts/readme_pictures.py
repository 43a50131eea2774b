#!/usr/bin/python3
# (c) the ztrace developers. Licence: see LICENSE.
"""Draws the pictures of the README: each example image beside what ztrace makes of it.

scripts/readme_pictures.py [--ztrace build/release/cli/ztrace]

Renders with rsvg-convert (librsvg2-bin); joins with Pillow (python3-pil). Writes docs/pictures/.
"""
import argparse
import pathlib
import subprocess
import tempfile

from PIL import Image

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEIGHT = 420  # of a picture, in pixels
GAP = 16
ZOOM = 3  # the drawing is rendered larger than its source, where a raster image would blur

# name, source, arguments, and the part shown: left, top, right, bottom as shares of the image
PICTURES = [
    ("page", "examples/page.png", ["--preset", "lineart"], (0.12, 0.42, 0.56, 0.72)),
    ("badge", "examples/badge.png", ["--preset", "logo"], (0.0, 0.0, 1.0, 1.0)),
    ("sheet", "examples/sheet.png", ["--strokes"], (0.0, 0.03, 1.0, 0.7)),
    ("hills", "examples/hills.jpg", ["--preset", "photo"], (0.3, 0.2, 0.9, 0.8)),
]


def on_white(image):
    image = image.convert("RGBA")
    page = Image.new("RGBA", image.size, "white")
    page.alpha_composite(image)
    return page.convert("RGB")


def part(image, box):
    width, height = image.size
    return image.crop((int(box[0] * width), int(box[1] * height),
                       int(box[2] * width), int(box[3] * height)))


def scaled(image, resample):
    width = round(image.width * HEIGHT / image.height)
    return image.resize((width, HEIGHT), resample)


def rendered(ztrace, source, arguments, folder):
    drawing = folder / "drawing.svg"
    bitmap = folder / "drawing.png"
    subprocess.run([ztrace, source, "-o", drawing, "--quiet", *arguments], check=True)
    width = Image.open(source).width * ZOOM
    subprocess.run(["rsvg-convert", "-w", str(width), drawing, "-o", bitmap], check=True)
    return Image.open(bitmap)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--ztrace", default=str(ROOT / "build/release/cli/ztrace"))
    options = parser.parse_args()
    target = ROOT / "docs/pictures"
    target.mkdir(parents=True, exist_ok=True)
    for name, source, arguments, box in PICTURES:
        with tempfile.TemporaryDirectory() as folder:
            drawing = rendered(options.ztrace, ROOT / source, arguments, pathlib.Path(folder))
            left = scaled(part(on_white(Image.open(ROOT / source)), box), Image.NEAREST)
            right = scaled(part(on_white(drawing), box), Image.LANCZOS)
        joined = Image.new("RGB", (left.width + GAP + right.width, HEIGHT), "white")
        joined.paste(left, (0, 0))
        joined.paste(right, (left.width + GAP, 0))
        joined.save(target / f"{name}.png", optimize=True)
        print(target / f"{name}.png")


if __name__ == "__main__":
    main()
