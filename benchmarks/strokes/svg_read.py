# (c) the ztrace developers. Licence: see LICENSE.
"""Reads the paths of the centre lines in an SVG as autotrace writes it: absolute M, L, C, z.

Lines stay lines, a cubic becomes a curve of one span. `shift` is added to every point, for programs
whose pixels are centred on whole numbers.
"""
import re

import numpy

from primitives import line


def cubic(corners):
    at = numpy.linspace(0, 1, 17)[:, None]
    p0, p1, p2, p3 = (numpy.asarray(corner) for corner in corners)
    return ((1 - at) ** 3 * p0 + 3 * (1 - at) ** 2 * at * p1 + 3 * (1 - at) * at ** 2 * p2
            + at ** 3 * p3).tolist()


def path_of(text, shift):
    words = re.findall(r"[A-Za-z]|-?[\d.]+(?:e-?\d+)?", text)
    start = now = None
    at, command = 0, ""

    def points(count):
        nonlocal at
        values = [float(word) for word in words[at:at + 2 * count]]
        at += 2 * count
        return [[values[2 * i] + shift[0], values[2 * i + 1] + shift[1]] for i in range(count)]

    while at < len(words):
        if words[at].isalpha():
            command = words[at]
            at += 1
        if command == "M":
            start = now = points(1)[0]
            command = "L"
        elif command == "L":
            there = points(1)[0]
            if there != now:
                yield line(now, there, width=float("nan"), layer="")
            now = there
        elif command == "C":
            corners = [now] + points(3)
            yield dict(kind="curve", points=cubic(corners), spans=1, width=float("nan"), layer="")
            now = corners[3]
        elif command in "zZ":
            if now != start:
                yield line(now, start, width=float("nan"), layer="")
            now, command = start, ""
        else:
            raise ValueError(f"command {command!r} of a path")


def read(path, shift=(0.0, 0.0)):
    """(primitives, complaint or "")"""
    found = []
    try:
        with open(path, encoding="utf-8", errors="replace") as stream:
            for text in re.findall(r'\sd="([^"]*)"', stream.read()):
                found += path_of(text, shift)
    except (OSError, ValueError, IndexError) as error:
        return found, str(error)
    return found, "" if found else "no paths"
