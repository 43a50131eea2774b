# (c) the ztrace developers. Licence: see LICENSE.
"""Small files that would have a program work for hours, fill the memory or the disk: what each may take of processor
time, memory and output, as measured when it came in, times three or four. The limits of the system end what goes far
beyond."""
import base64
import gzip
import json
import os
import resource
import struct
import sys
import unittest
import zlib

sys.path.insert(0, os.path.join(os.environ["ZTRACE_SOURCE_DIR"], "tests", "cli"))

from support import PROGRAM, CommandTest, chunk

SECONDS, MEGABYTES = 20, 3000  # of processor time and address space, for any of them
FORMATS = "svg", "dxf", "pdf", "png", "json", "geojson", "topojson"
NOWHERE = [["L", 1e308, -1e308], ["L", "nan", 3], ["L", 4, "inf"], ["A", "-inf", 9, 9], ["Q", "nan", 1, 2, 2]]
LINE = ["L", 10, 0], ["L", 10, 10], ["L", 0, 0]


def outline(**more):
    return {"layer": "a", "color": "#ff0000", "start": [0, 0], "pieces": LINE, **more}


def drawing(outlines, **more):
    return json.dumps({"format": "ztrace drawing", "version": 2, "width": 100, "height": 100, "dpi": 96, "unit": "px",
                       "outlines": outlines, **more}).encode()


def drawings():
    """name: (bytes, exit code)."""
    many = [[(7 * i) % 90, (11 * i) % 89] for i in range(20000)]
    return {
        "degree": (drawing([outline(pieces=[["S", 800] + [i % 90 for i in range(1602)]])]), 3),
        "long-spline": (drawing([outline(pieces=[["S", 3] + sum(many, [])])]), 0),
        "same-hole": (drawing([outline(holes=[1] * 5000), outline()]), 3),
        "all-holes": (drawing([outline(holes=list(range(i + 1, 300))) for i in range(300)]), 3),
        "holes-in-a-circle": (drawing([outline(holes=[1]), outline(holes=[0])]), 3),
        "deep-holes": (drawing([outline(holes=[i + 1]) for i in range(5000)] + [outline()]), 0),
        "layers": (drawing([outline(layer="l%d" % i) for i in range(20000)]), 0),
        "longer-layers": (drawing([outline(layer="L" * i) for i in range(1000)]), 0),
        "layers-that-differ-late": (drawing([outline(layer="x" * 300 + str(i)) for i in range(3000)]), 0),
        "pens": (drawing([outline(pen=i) for i in range(5000)], pens=[{"width": 1 + i, "dashes": [i + 1, 2] * 32}
                                                                         for i in range(5000)]), 0),
        "dashes": (drawing([outline(pen=0)], pens=[{"width": 1e-9, "dashes": [1e-9, 1e-9]}]), 0),
        "arcs": (drawing([outline(pieces=[["A", 1e9 if i % 2 else 1e-9, *p] for i, p in enumerate(many[:5000])])]), 0),
        "ellipses": (drawing([outline(pieces=[["E", 1, 1e-6, 1, *p] for p in many])]), 0),
        "far": (drawing([outline(pieces=[["L", 1e308, -1e308], ["A", 1e300, 1, 1], ["Q", 1e200, 1e200, 0, 0]])]), 0),
        "deep": (b'{"a":' * 50000, 3),
        "star-hole": (drawing([outline(holes=[1]),
                               outline(start=[50, 50], pieces=[["L", 60, 50], ["L", 60, 60], ["L", 50, 50]] * 20000)]), 0),
        "nowhere": (drawing([outline(holes=[1], pieces=NOWHERE * 1000), outline(pieces=NOWHERE * 1000)]), 0),
        "arcs-of-no-circle": (drawing([outline(pieces=[["A", [1e300, 1e-300, 1][i % 3], 1e6 * (i % 89), 1e6 * (i % 7)]
                                                       for i in range(20000)])]), 0),
        "far-ellipses": (drawing([outline(pieces=[["E", 1, 0.5, 1, 1e6 * x, 1e6 * y] for x, y in many])]), 0),
    }


def png(side, rows):
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", side, side, 8, 6, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(bytes(rows))) + chunk(b"IEND", b""))


def bmp(side, bits, compression, data):
    return (b"BM" + struct.pack("<IIIIiiHHIIiiII", 1078 + len(data), 0, 1078, 40, side, side, 1, bits, compression,
                                len(data), 0, 0, 256, 0) + bytes(1024) + data)


def svg(text, side=20, before=""):
    return ('<?xml version="1.0"?>%s<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" '
            'width="%d" height="%d">%s</svg>' % (before, side, side, text)).encode()


def pictures():
    """name: bytes. They are refused, or traced within the budget."""
    entities = "".join('<!ENTITY e%d "%s">' % (i, "&e%d;" % (i - 1) * 10) for i in range(1, 12))
    uses = "".join('<g id="g%d">%s</g>' % (i, '<use xlink:href="#g%d"/>' % (i - 1) * 10) for i in range(1, 12))
    directory = struct.pack("<H", 4) + b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in
                                                ((256, 60000), (257, 60000), (259, 1), (273, 8))) + struct.pack("<I", 0)
    return {
        "svg-size": svg("", 30000),
        "svg-entities": svg("<text>&e11;</text>", before='<!DOCTYPE svg [<!ENTITY e0 "aaaa">%s]>' % entities),
        "svg-uses": svg('<defs><rect id="g0" width="1" height="1"/>%s</defs><use xlink:href="#g11"/>' % uses),
        "svg-use-of-itself": svg('<g id="a"><use xlink:href="#a"/></g>'),
        "svg-deep": svg("<g>" * 20000 + "</g>" * 20000),
        "svg-dashes": svg('<path d="M0 0 L1e9 0" stroke="red" stroke-dasharray="1e-6"/>'),
        "svg-far": svg('<circle r="1e30" stroke="red" stroke-width="1e30"/><path d="M0 0 L1e300 1e300 L-1e300 5z"/>'),
        "svg-images": svg(('<image width="20" height="20" xlink:href="data:image/png;base64,%s"/>'
                           % base64.b64encode(png(16000, 100)).decode()) * 4),
        "svg-sheet": svg("<style>" + "rect{fill:red} " * 20000 + "</style>" + '<rect width="9" height="9"/>' * 4000),
        "svg-stops": svg('<linearGradient id="g">' + '<stop offset="0.5" stop-color="red"/>' * 200000
                         + '</linearGradient><rect width="20" height="20" fill="url(#g)"/>'),
        "svg-text": svg('<text font-size="1e7">' + "W" * 1000 + "</text>"),
        "svgz": gzip.compress(svg(" " * 30000000), mtime=0),
        "png-size": png(40000, 100),
        "png-full": png(4000, 4000 * 16001),
        "jpeg-size": bytes.fromhex("ffd8ffe000104a46494600010100000100010000ffdb004300" + "01" * 64
                                   + "ffc0001108fde8fde803012200021101031101ffc4001f0000010501010101010100000000000000"
                                   "000102030405060708090a0bffda000c03010002110311003f00ffd9"),
        "gif-size": b"GIF89a" + struct.pack("<HHBBB", 65535, 65535, 0x80, 0, 0) + bytes(6) + b"," +
                    struct.pack("<HHHHB", 0, 0, 65535, 65535, 0) + b"\x02\x02\x4c\x01\x00;",
        "gif-frames": b"GIF89a" + struct.pack("<HHBBB", 500, 500, 0x80, 0, 0) + bytes(6) +
                      (b"," + struct.pack("<HHHHB", 0, 0, 500, 500, 0) + b"\x02\x02\x4c\x01\x00") * 5000 + b";",
        "bmp-size": bmp(30000, 8, 0, b""),
        "bmp-runs": bmp(20000, 8, 1, b"\x00\x01"),
        "tiff-size": b"II*\0" + struct.pack("<I", 8) + directory,
        "ppm-size": b"P6 40000 40000 255\n",
        "pgm-letters": b"P2 20000 20000 255\n" + b"1 " * 1000,
        "pbm-digits": b"P1 " + b"9" * 1000000,
        "xpm-size": b'/* XPM */\nstatic char *a[] = {\n"30000 30000 1 1",\n"a c #000000",\n"aaa"};\n',
        "xbm-size": b"#define a_width 30000\n#define a_height 30000\nstatic char a_bits[] = { 0x00 };\n",
        "ico-same": struct.pack("<HHH", 0, 1, 65535) + struct.pack("<BBBBHHII", 1, 1, 0, 0, 1, 32, 40, 22) * 65535,
        "webp-size": b"RIFF" + struct.pack("<I", 22) + b"WEBPVP8L" + struct.pack("<I", 10) + b"\x2f" + b"\xff" * 9,
    }


class BudgetTest(CommandTest):
    def spend(self, *arguments):
        """The exit code, and processor seconds and peak bytes."""
        command = [PROGRAM, *arguments]
        child = os.fork()
        if child == 0:
            resource.setrlimit(resource.RLIMIT_CPU, (SECONDS, SECONDS))
            resource.setrlimit(resource.RLIMIT_AS, (MEGABYTES << 20, MEGABYTES << 20))
            os.chdir(self.folder)
            os.dup2(os.open("said", os.O_CREAT | os.O_TRUNC | os.O_WRONLY), 2)
            os.execv(PROGRAM, command)
        _, status, usage = os.wait4(child, 0)
        self.assertTrue(os.WIFEXITED(status), (command, status))
        return os.WEXITSTATUS(status), usage.ru_utime + usage.ru_stime, usage.ru_maxrss << 10

    def hold(self, name, target, seconds, memory, output, codes):
        path = self.path("o." + target)
        if os.path.exists(path):
            os.unlink(path)
        code, spent, peak = self.spend(name, "-o", path)
        size = os.path.getsize(path) if os.path.exists(path) else 0
        if os.environ.get("ZTRACE_SHOW_BUDGETS"):
            print("%-26s %-5s code %d %6.2f s %5d MB %9d bytes" % (name, target, code, spent, peak >> 20, size))
        self.assertIn(code, codes, self.read("said"))
        self.assertLessEqual(spent, seconds)
        self.assertLessEqual(peak, memory << 20)
        self.assertLessEqual(size, output)
        if code != 0:
            self.assertRegex(self.read("said"), rb"ztrace: [^\n]+\n\Z")
            self.assertEqual(size, 0)


class Budgets(BudgetTest):
    def test_drawings(self):
        for name, (data, code) in drawings().items():
            self.write(name, data)
            for target in FORMATS if code == 0 else ["svg"]:
                with self.subTest(name, target=target):
                    # A preview may be too large to be made, which is told.
                    self.hold(name, target, 8.0, 700, 2000000 + 40 * len(data), {code, 1, 4} if target == "png" else {code})

    def test_pictures(self):
        for name, data in pictures().items():
            self.write(name, data)
            with self.subTest(name):
                self.hold(name, "svg", 8.0, 900, 2000000, {0, 1, 3})

    def test_settings(self):
        for name, text in {"deep": "a = " + "[" * 100000, "tables": "[a" + ".a" * 50000 + "]", "long": "a" * 900000,
                           "palette": 'palette = "' + "#123456," * 100000 + '#000"'}.items():
            self.write(name + ".toml", text.encode())
            self.write("a.json", drawing([outline()]))
            with self.subTest(name):
                code, spent, peak = self.spend("a.json", "--config", name + ".toml", "-o", "x.svg")
                self.assertIn(code, (2, 3), self.read("said"))
                self.assertLess(spent, 8.0)
                self.assertLess(peak >> 20, 500)
                self.assertFalse(os.path.exists(self.path("x.svg")))


if __name__ == "__main__":
    unittest.main()
