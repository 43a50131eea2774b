# (c) the ztrace developers. Licence: see LICENSE.
"""Antialiased shapes on a canvas, by their distance: the same pixels with every release of every library.

Shapes are arrays of signed distances in pixels to the shape's border, below 0 inside, for the middles of the
canvas's pixels; x to the right, y downwards.
"""
import numpy as np


class Canvas:
    """Colours 0 to 255 of floats; `paper` None is transparent."""

    def __init__(self, width, height, paper=(255, 255, 255)):
        self.y, self.x = np.mgrid[0:height, 0:width] + 0.5
        self.colour = np.zeros((height, width, 3)) + (paper or (0, 0, 0))
        self.alpha = np.zeros((height, width)) + (paper is not None)

    def paint(self, shape, colour, soft=1.0, opacity=1.0):
        """Paints over what is there, with a border `soft` pixels wide."""
        over = np.clip(0.5 - shape / soft, 0.0, 1.0) * opacity
        alpha = over + self.alpha * (1.0 - over)
        share = np.divide(over, alpha, out=np.zeros_like(over), where=alpha > 0)[..., None]
        self.colour = np.asarray(colour) * share + self.colour * (1.0 - share)
        self.alpha = alpha

    def pixels(self):
        """RGBA bytes; what is transparent has no colour."""
        alpha = np.floor(255.0 * self.alpha + 0.5)
        rgb = np.where(alpha[..., None] > 0, np.floor(self.colour + 0.5), 0.0)
        return np.dstack([np.clip(rgb, 0, 255), alpha]).astype(np.uint8)

    def disc(self, x, y, radius):
        return np.hypot(self.x - x, self.y - y) - radius

    def ring(self, x, y, radius, width):
        return np.abs(self.disc(x, y, radius)) - width / 2

    def ellipse(self, x, y, across, down):
        """Its distance is right near the border."""
        u, v = (self.x - x) / across, (self.y - y) / down
        length = np.hypot(u, v)
        slope = np.hypot(u / across, v / down)
        return np.divide(length * (length - 1.0), slope, out=-np.ones_like(u), where=slope > 1e-9)

    def box(self, left, top, right, bottom, round_by=0.0):
        dx = np.abs(self.x - (left + right) / 2) - (right - left) / 2 + round_by
        dy = np.abs(self.y - (top + bottom) / 2) - (bottom - top) / 2 + round_by
        outside = np.hypot(np.maximum(dx, 0), np.maximum(dy, 0))
        return outside + np.minimum(np.maximum(dx, dy), 0) - round_by

    def line(self, points, width, closed=False):
        """Lines with round ends through points."""
        points = list(points)
        ends = points[1:] + points[:1] if closed else points[1:]
        best = np.full(self.x.shape, np.inf)
        for (ax, ay), (bx, by) in zip(points, ends):
            dx, dy = bx - ax, by - ay
            along = ((self.x - ax) * dx + (self.y - ay) * dy) / max(dx * dx + dy * dy, 1e-9)
            along = np.clip(along, 0.0, 1.0)
            best = np.minimum(best, np.hypot(self.x - ax - along * dx, self.y - ay - along * dy))
        return best - width / 2

    def polygon(self, points):
        inside = np.zeros(self.x.shape, dtype=bool)
        for (ax, ay), (bx, by) in zip(points, points[1:] + points[:1]):
            crosses = (ay > self.y) != (by > self.y)
            if ay != by:
                inside ^= crosses & (self.x < ax + (self.y - ay) * (bx - ax) / (by - ay))
        distance = self.line(points, 0.0, closed=True)
        return np.where(inside, -distance, distance)

    def text(self, left, base, height, width, words):
        """Lines of letter-like shapes, `height` tall, of strokes `width` wide."""
        best = np.full(self.x.shape, np.inf)
        unit = height / 6.0
        for letter in words:
            for stroke in GLYPHS[letter]:
                points = [(left + unit * x, base - unit * y) for x, y in stroke]
                best = np.minimum(best, self.line(points, width))
            left += unit * 5.2
        return best


# Strokes through points of a grid 4 wide and 6 tall.
def arc(x, y, radius, start, end, steps=10):
    angles = np.radians(np.linspace(start, end, steps))
    return [(x + radius * float(np.cos(a)), y + radius * float(np.sin(a))) for a in angles]


GLYPHS = {
    " ": [],
    "A": [[(0, 0), (2, 6), (4, 0)], [(0.8, 2.2), (3.2, 2.2)]],
    "B": [[(0, 0), (0, 6)], [(0, 6), (2.4, 6)] + arc(2.4, 4.6, 1.4, 90, -90) + [(0, 3.2)],
          [(0, 3.2), (2.4, 3.2)] + arc(2.4, 1.6, 1.6, 90, -90) + [(0, 0)]],
    "C": [arc(2, 3, 2.4, 50, 310, 16)],
    "E": [[(4, 0), (0, 0), (0, 6), (4, 6)], [(0, 3), (3, 3)]],
    "H": [[(0, 0), (0, 6)], [(4, 0), (4, 6)], [(0, 3), (4, 3)]],
    "I": [[(2, 0), (2, 6)]],
    "L": [[(0, 6), (0, 0), (4, 0)]],
    "O": [arc(2, 3, 2.4, 0, 360, 24)],
    "R": [[(0, 0), (0, 6)], [(0, 6), (2.4, 6)] + arc(2.4, 4.4, 1.6, 90, -90) + [(0, 2.8)], [(1.6, 2.8), (4, 0)]],
    "S": [arc(2, 4.5, 1.5, 30, 270, 12) + arc(2, 1.5, 1.5, 90, -150, 12)],
    "T": [[(0, 6), (4, 6)], [(2, 6), (2, 0)]],
    "X": [[(0, 0), (4, 6)], [(0, 6), (4, 0)]],
}
