# (c) the ztrace developers. Licence: see LICENSE.
"""The outlines of an SVG: points on them, joints, and the numbers that they take."""
import io
import math
import re

import numpy as np
import svgelements as svg

SPACING = 0.1  # pixels between points
NUMBERS = {svg.Line: 2, svg.QuadraticBezier: 4, svg.CubicBezier: 6, svg.Arc: 7}
SHAPES = {svg.Circle: 3, svg.SimpleLine: 4, svg.Ellipse: 4, svg.Rect: 4}


class Outline:
    """points n x 2; joints as (place, turn in radians); turning: sum of all turns, absolute."""

    def __init__(self, points, joints, numbers, corners):
        self.points, self.joints, self.numbers, self.corners = points, joints, numbers, corners
        steps = np.roll(points, -1, axis=0) - points
        steps = steps[np.hypot(steps[:, 0], steps[:, 1]) > 1e-6]
        after = np.roll(steps, -1, axis=0)
        turns = np.arctan2(steps[:, 0] * after[:, 1] - steps[:, 1] * after[:, 0], np.sum(steps * after, axis=1))
        self.turning = math.degrees(np.abs(turns).sum())
        x, y = points[:, 0], points[:, 1]
        self.area = 0.5 * np.sum(x * np.roll(y, -1) - np.roll(x, -1) * y)


def tangent(segment, at):
    a, b = (0.0, 0.002) if at == 0 else (0.998, 1.0)
    p, q = segment.point(a), segment.point(b)
    return complex(q.x - p.x, q.y - p.y)


def outline_of(segments, whole, has_joints=True):
    points, joints = [], []
    for segment in segments:
        count = max(2 if isinstance(segment, (svg.Line, svg.Close)) else 24, math.ceil(segment.length(error=1e-3) / SPACING))
        places = segment.npoint(np.arange(count) / count)
        points.append(np.asarray(places).reshape(-1, 2))
    for one, other in zip(segments, segments[1:] + segments[:1]):
        before, after = tangent(one, 1), tangent(other, 0)
        if has_joints and abs(before) > 0 and abs(after) > 0:
            turn = math.atan2((before.conjugate() * after).imag, (before.conjugate() * after).real)
            joints.append((one.end.x, one.end.y, turn))
    numbers = whole or sum(NUMBERS.get(type(segment), 0) for segment in segments) + 2
    return Outline(np.concatenate(points), np.array(joints).reshape(-1, 3), numbers, None)


def outlines_of(file, size):
    """All outlines of a drawing of a picture `size` pixels wide but the page itself."""
    with open(file) as text:
        words = text.read()
    # Points of a page are pixels here, and a drawing of a picture made larger is made smaller again.
    scale = size / float(re.search(r'<svg[^>]*\bwidth="([\d.]+)', words).group(1))
    words = re.sub(r'\b(width|height)="([\d.]+)pt"', r'\1="\2"', words)
    drawing = svg.SVG.parse(io.StringIO(words), reify=True, transform="scale(%g)" % scale)
    found = []
    for element in drawing.elements(lambda e: isinstance(e, svg.Shape)):
        if element.fill is None or element.fill.value is None:
            continue
        whole = SHAPES.get(type(element), 0)
        # Of shapes that are written as such only rectangles have corners.
        has_joints = not whole or (isinstance(element, svg.Rect) and not (element.rx and element.ry))
        path = svg.Path(element)
        path.reify()
        for part in path.as_subpaths():
            segments = [s for s in svg.Path(part) if not isinstance(s, svg.Move) and s.length(error=1e-3) > 1e-4]
            if not segments:
                continue
            outline = outline_of(segments, whole, has_joints)
            low, high = outline.points.min(axis=0), outline.points.max(axis=0)
            if (low > 0.75).all() and (high < size - 0.75).all():
                found.append(outline)
    return found
