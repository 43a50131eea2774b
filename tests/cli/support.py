# (c) the ztrace developers. Licence: see LICENSE.
"""Helpers of the tests that run the program: small PNG files, runs, and SVG read back."""
import json
import os
import re
import struct
import subprocess
import tempfile
import unittest
import zlib

PROGRAM = os.environ["ZTRACE"]
WHITE, BLACK, RED, CLEAR = (255, 255, 255, 255), (0, 0, 0, 255), (255, 0, 0, 255), (0, 0, 0, 0)


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width, height, pixel, dpi=None):
    """A PNG of 8-bit RGBA whose pixel (x, y) is pixel(x, y)."""
    rows = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))
    density = b""
    if dpi:
        metre = round(dpi / 0.0254)
        density = chunk(b"pHYs", struct.pack(">IIB", metre, metre, 1))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0))
            + density + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def square(x, y, left, top, side):
    return left <= x < left + side and top <= y < top + side


def ring(outer, inner, around, size=40):
    """A square ring: `around` outside, `outer` the ring, `inner` its hole."""
    def pixel(x, y):
        if square(x, y, 15, 15, 10):
            return inner
        return outer if square(x, y, 5, 5, 30) else around
    return png(size, size, pixel)


class CommandTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True) # a browser may still be ending
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_program(self, *arguments, code=0, stdin=b"", environment=None):
        """Runs the program in the test's folder and checks its exit code."""
        result = subprocess.run([PROGRAM, *arguments], input=stdin, capture_output=True,
                                cwd=self.folder, env={**os.environ, **(environment or {})})
        self.assertEqual(result.returncode, code, (arguments, result.stdout, result.stderr))
        return result

    def assert_refused(self, *arguments, code, words, stdin=b""):
        """One line on standard error that contains `words`, nothing else written anywhere."""
        before = sorted(os.listdir(self.folder))
        result = self.run_program(*arguments, code=code, stdin=stdin)
        text = result.stderr.decode()
        self.assertEqual(result.stdout, b"")
        self.assertEqual(text.count("\n"), 1, text)
        self.assertTrue(text.startswith("ztrace: "), text)
        self.assertIn(words, text)
        self.assertEqual(sorted(os.listdir(self.folder)), before)


def paths(svg):
    """(fill, opacity, d) of every path."""
    found = []
    for tag in re.findall(rb"<path[^>]*>", svg):
        def value(name):
            match = re.search(rb'\s' + name + rb'="([^"]*)"', tag)
            return match.group(1).decode() if match else None
        found.append((value(b"fill"), value(b"fill-opacity"), value(b"d")))
    return found


def area(d):
    """Signed areas of the closed parts of a path, its curves taken as their control polygons."""
    areas = []
    for part in d.split("M")[1:]:
        numbers = [float(n) for n in re.findall(r"-?[\d.]+", part)]
        points = list(zip(numbers[::2], numbers[1::2]))
        areas.append(sum(a[0] * b[1] - b[0] * a[1] for a, b in zip(points, points[1:] + points[:1])) / 2)
    return areas


def tiff(pages, dpi=(300, 300)):
    """A little-endian TIFF of bilevel pages: functions of (x, y) that tell whether there is ink. A page of None has
    no pixels."""
    size = 64
    data = b"II*\0"
    offset_at = len(data)
    data += bytes(4)
    for ink in pages:
        strip = len(data)
        for y in range(size):
            if ink:
                data += bytes(sum((0 if ink(8 * b + i, y) else 1) << (7 - i) for i in range(8)) for b in range(size // 8))
        resolution = len(data)
        data += struct.pack("<IIII", dpi[0], 1, dpi[1], 1)
        entries = [(256, 4, size), (257, 4, size), (258, 3, 1), (259, 3, 1), (262, 3, 1),
                   (273, 4, strip if ink else 1 << 30), (277, 3, 1), (278, 4, size), (279, 4, size * size // 8),
                   (282, 5, resolution), (283, 5, resolution + 8), (296, 3, 2)]
        data = data[:offset_at] + struct.pack("<I", len(data)) + data[offset_at + 4:]
        data += struct.pack("<H", len(entries))
        for tag, kind, value in entries:
            data += struct.pack("<HHII", tag, kind, 1, value)
        offset_at = len(data)
        data += bytes(4)
    return data


class OptionsTest(CommandTest):
    def svg(self, *arguments):
        return self.run_program(*arguments, "-o", "-").stdout

    def fills(self, *arguments):
        return [fill for fill, _, _ in paths(self.svg(*arguments))]

    def stats(self, *arguments):
        return json.loads(self.run_program(*arguments, "--json", "-o", self.path("ignored.svg")).stdout)
