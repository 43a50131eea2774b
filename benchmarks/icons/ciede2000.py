# (c) the ztrace developers. Licence: see LICENSE.
"""Differences of colours as they are seen."""
import numpy as np

FROM_LINEAR = np.array([[0.4124564, 0.3575761, 0.1804375], [0.2126729, 0.7151522, 0.0721750], [0.0193339, 0.1191920, 0.9503041]])
WHITE = np.array([0.95047, 1.0, 1.08883])  # D65


def lab_of(rgb):
    """CIELAB of sRGB bytes, ... x 3."""
    v = np.asarray(rgb, dtype=float) / 255.0
    v = np.where(v <= 0.04045, v / 12.92, ((v + 0.055) / 1.055) ** 2.4)
    xyz = v @ FROM_LINEAR.T / WHITE
    f = np.where(xyz > 216 / 24389, np.cbrt(xyz), (24389 / 27 * xyz + 16) / 116)
    return np.stack([116 * f[..., 1] - 16, 500 * (f[..., 0] - f[..., 1]), 200 * (f[..., 1] - f[..., 2])], axis=-1)


def ciede2000(one, other):
    """dE00 of CIELAB, ... x 3 (Sharma, Wu, Dalal 2005: implementation notes and test data)."""
    (l1, a1, b1), (l2, a2, b2) = np.moveaxis(one, -1, 0), np.moveaxis(other, -1, 0)
    chroma = (np.hypot(a1, b1) + np.hypot(a2, b2)) / 2
    g = 1.5 - 0.5 * np.sqrt(chroma ** 7 / (chroma ** 7 + 25.0 ** 7))
    c1, c2 = np.hypot(g * a1, b1), np.hypot(g * a2, b2)
    h1, h2 = np.degrees(np.arctan2(b1, g * a1)) % 360, np.degrees(np.arctan2(b2, g * a2)) % 360
    grey = c1 * c2 == 0
    dh = np.where(grey, 0, (h2 - h1 + 180) % 360 - 180)
    mean = (h1 + h2) / 2
    mean = np.where(grey, h1 + h2, np.where(np.abs(h1 - h2) <= 180, mean, np.where(h1 + h2 < 360, mean + 180, mean - 180)))
    l, c = (l1 + l2) / 2, (c1 + c2) / 2
    cos = lambda times, shift: np.cos(np.radians(times * mean + shift))
    t = 1 - 0.17 * cos(1, -30) + 0.24 * cos(2, 0) + 0.32 * cos(3, 6) - 0.20 * cos(4, -63)
    sl = 1 + 0.015 * (l - 50) ** 2 / np.sqrt(20 + (l - 50) ** 2)
    sc, sh = 1 + 0.045 * c, 1 + 0.015 * c * t
    turn = np.sin(np.radians(60 * np.exp(-((mean - 275) / 25) ** 2)))
    rt = -2 * np.sqrt(c ** 7 / (c ** 7 + 25.0 ** 7)) * turn
    dl, dc = (l2 - l1) / sl, (c2 - c1) / sc
    hue = 2 * np.sqrt(c1 * c2) * np.sin(np.radians(dh / 2)) / sh
    return np.sqrt(np.maximum(0, dl ** 2 + dc ** 2 + hue ** 2 + rt * dc * hue))
