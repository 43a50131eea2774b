# (c) the ztrace developers. Licence: see LICENSE.
"""A small input of every format that is read without other programs, whole, by a name of its own."""
import gzip
import io
import json

from PIL import Image, ImageDraw

# Of each TIFF its compression.
TIFFS = {"tiff": None, "tiff-lzw": "tiff_lzw", "tiff-deflate": "tiff_adobe_deflate", "tiff-packbits": "packbits",
         "tiff-jpeg": "jpeg", "tiff-g4": "group4"}


def picture(side):
    image = Image.new("RGB", (side, side), (250, 250, 240))
    draw = ImageDraw.Draw(image)
    draw.ellipse((side // 8, side // 8, side - side // 4, side - side // 6), fill=(20, 60, 120))
    draw.rectangle((side // 3, side // 2, side - 3, side - 5), fill=(220, 30, 40))
    return image


def packed(image, form, **more):
    buffer = io.BytesIO()
    image.save(buffer, form, **more)
    return buffer.getvalue()


def xpm(image):
    few = image.quantize(4)
    colours = few.getpalette()[:12]
    rows = ['"%d %d 4 1"' % few.size] + ['"%s c #%02x%02x%02x"' % ("ABCD"[i], *colours[3 * i:3 * i + 3]) for i in range(4)]
    pixels = few.load()
    rows += ['"' + "".join("ABCD"[pixels[x, y]] for x in range(few.width)) + '"' for y in range(few.height)]
    return ("/* XPM */\nstatic char *a[] = {\n" + ",\n".join(rows) + "\n};\n").encode()


def svg(side):
    return ('<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d"><rect width="100%%" height="100%%" fill="white"/>'
            '<circle cx="%d" cy="%d" r="%d" fill="#16c"/></svg>\n' % (side, side, side // 2, side // 2, side // 3)).encode()


def wbmp(image):
    black = image.convert("1")
    rows = black.tobytes()
    return bytes((0, 0, black.width, black.height)) + rows


def drawing(side):
    """As the command writes it, by hand."""
    pieces = [["L", side - 2, 2], ["Q", side, side / 2, side - 2, side - 2], ["A", 0.4, 2, side - 2], ["L", 2, 2]]
    outline = {"layer": "a", "color": "#ff0000", "alpha": 255, "seam": 0.5, "start": [2, 2], "pieces": pieces}
    return json.dumps({"format": "ztrace drawing", "version": 1, "width": side, "height": side, "dpi": 96, "unit": "px",
                       "outlines": [outline] * 30}).encode()


def inputs(side=48):
    image = picture(side)
    few, grey, black = image.quantize(4), image.convert("L"), image.convert("1")
    turned = [image.rotate(angle).quantize(4) for angle in (30, 60)]
    made = {"bmp": packed(image, "BMP"), "bmp-colours": packed(few, "BMP"), "bmp-bits": packed(black, "BMP"),
            "gif": packed(few, "GIF"), "gif-frames": packed(few, "GIF", save_all=True, append_images=turned, duration=50),
            "ico": packed(image, "ICO", sizes=[(32, 32)]), "ico-several": packed(image, "ICO", sizes=[(16, 16), (32, 32)]),
            "jpeg": packed(image, "JPEG"), "jpeg-progressive": packed(image, "JPEG", progressive=True),
            "pbm": packed(black, "PPM"), "pgm": packed(grey, "PPM"), "ppm": packed(image, "PPM"),
            "png": packed(image, "PNG"), "png-colours": packed(few, "PNG"), "png-bits": packed(black, "PNG"),
            "webp": packed(image, "WEBP"), "webp-lossless": packed(image, "WEBP", lossless=True),
            "webp-frames": packed(image, "WEBP", save_all=True, append_images=turned, duration=50),
            "xbm": packed(black, "XBM"), "xpm": xpm(image), "wbmp": wbmp(image), "svg": svg(side),
            "svgz": gzip.compress(svg(side), mtime=0), "json": drawing(side)}
    for name, compression in TIFFS.items():
        made[name] = packed(black if name == "tiff-g4" else image, "TIFF", compression=compression)
    made["tiff-pages"] = packed(image, "TIFF", save_all=True, append_images=[image.rotate(30), image.rotate(60)])
    return made
