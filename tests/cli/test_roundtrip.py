# (c) the ztrace developers. Licence: see LICENSE.
"""What a draftsman asks of a scan: a sheet of 300 dots an inch to DXF in millimetres, diameters read back."""
import math
import random
import unittest

from support import CommandTest

try:
    import ezdxf
    from PIL import Image, ImageChops, ImageDraw, ImageFilter
except ImportError:
    ezdxf = None

DOTS = 300 / 25.4                                     # a millimetre
WIDTH, HEIGHT = 90, 62                                # millimetres
CIRCLES = [(10, 12, 2.0), (10, 24, 3.3), (24, 14, 6.35), (50, 22, 20.0), (18, 44, 25.4), (76, 14, 10.0),
           (60, 48, 16.5)]                            # middle and diameter, from the upper left corner
WITHIN = 0.02                                         # millimetres
FINE = 8                                              # samples a pixel, both ways


def sheet(pen, phase):
    """Greys of circles in a pen of that many millimetres, moved by parts of a pixel, and two lines."""
    size = int(WIDTH * DOTS), int(HEIGHT * DOTS)
    image = Image.new("L", (size[0] * FINE, size[1] * FINE), 255)
    draw = ImageDraw.Draw(image)
    for x, y, diameter in CIRCLES:
        middle = [(place * DOTS + off) * FINE for place, off in zip((x, y), phase)]
        for radius, tone in ((diameter + pen) / 2 * DOTS * FINE, 0), ((diameter - pen) / 2 * DOTS * FINE, 255):
            draw.ellipse((middle[0] - radius, middle[1] - radius, middle[0] + radius - 1, middle[1] + radius - 1), tone)
    for y in 3, HEIGHT - 3:
        draw.line((5 * DOTS * FINE, y * DOTS * FINE, 85 * DOTS * FINE, y * DOTS * FINE), 0, round(pen * DOTS * FINE))
    return image.resize(size, Image.BOX)


def scanned(image):
    """Blurred, of less contrast, and with noise of ten grey levels, always the same."""
    chance = random.Random(1)
    noise = Image.frombytes("L", image.size, bytes(min(255, max(0, round(chance.gauss(128, 10))))
                                                   for _ in range(image.width * image.height)))
    faint = image.filter(ImageFilter.GaussianBlur(1.2)).point(lambda tone: 50 + tone * 170 // 255)
    return ImageChops.add(faint, noise, 1, -128)


def one_bit(image):
    return image.point(lambda tone: 255 if tone > 127 else 0).convert("1")


@unittest.skipUnless(ezdxf, "ezdxf or PIL is not installed")
class RoundTrip(CommandTest):
    def diameters_off(self, image):
        """Millimetres that each circle's diameter is off, and its middle."""
        image.save(self.path("scan.png"), dpi=(300, 300))
        result = self.run_program("scan.png", "--strokes", "--units", "mm", "-o", "out.dxf")
        self.assertEqual(result.stderr, b"")
        document = ezdxf.readfile(self.path("out.dxf"))
        self.assertEqual(document.header["$INSUNITS"], 4)  # millimetres
        found = [entity.dxf for entity in document.modelspace() if entity.dxftype() == "CIRCLE"]
        self.assertEqual(len(found), len(CIRCLES))
        height = image.height / DOTS
        for x, y, diameter in CIRCLES:
            place = x, height - y
            best = min(found, key=lambda circle: math.dist(place, (circle.center.x, circle.center.y)))
            yield diameter, 2 * best.radius - diameter, math.dist(place, (best.center.x, best.center.y))

    def check(self, image, *about):
        for diameter, off, aside in self.diameters_off(image):
            self.assertLess(abs(off), WITHIN, (diameter, *about))
            self.assertLess(aside, 1.5 / DOTS, (diameter, *about))  # the phase moves it by up to a pixel

    def test_clean_greys(self):
        for phase in (0, 0), (0.5, 0.5), (0.3, 0.7):
            self.check(sheet(0.35, phase), phase)

    def test_black_and_white(self):
        for phase in (0, 0), (0.5, 0.5), (0.3, 0.7):
            self.check(one_bit(sheet(0.5, phase)), phase)

    def test_scanned(self):
        for pen in 0.25, 0.5:
            self.check(scanned(sheet(pen, (0.4, 0.1))), pen)


if __name__ == "__main__":
    unittest.main()
