# (c) the ztrace developers. Licence: see LICENSE.
"""Drawings in a few inks keep their colours as strokes: files, layers, and what turns it off."""
import json
import re
import unittest

from support import BLACK, RED, WHITE, OptionsTest, png

BLUE = (0, 0, 255, 255)


def three_pens(x, y):
    """A black frame, a red line across it, a blue one under the red."""
    if 10 <= x < 230 and 10 <= y < 190 and not (14 <= x < 226 and 14 <= y < 186):
        return BLACK
    if 98 <= y < 102 and 40 <= x < 200:
        return RED
    if 118 <= x < 122 and 40 <= y < 160:
        return BLUE
    return WHITE


def strokes(svg):
    return sorted(re.findall(rb'stroke="(#\w+)"', svg))


class Inks(OptionsTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(240, 200, three_pens))

    def test_every_pen_keeps_its_colour(self):
        svg = self.svg("a.png", "--strokes")
        self.assertEqual(set(strokes(svg)), {b"#000", b"#00f", b"#f00"})
        self.run_program("a.png", "--strokes", "--json", "-o", "a.json")
        outlines = json.loads(self.read("a.json"))["outlines"]
        self.assertEqual(len(outlines), 6)
        self.assertEqual({(o["layer"], o["color"]) for o in outlines},
                         {("PEN_1", "#000000"), ("PEN_1_FF0000", "#ff0000"), ("PEN_1_0000FF", "#0000ff")})

    def test_dxf_has_a_layer_a_pen_and_ink(self):
        self.run_program("a.png", "--strokes", "-o", "a.dxf")
        text = self.read("a.dxf").decode()
        layers = dict(re.findall(r"\n(PEN_\w+)\n\s*70\n\s*0\n\s*62\n\s*(\d+)\n", text))
        self.assertEqual(layers, {"PEN_1": "7", "PEN_1_FF0000": "10", "PEN_1_0000FF": "170"})

    def test_a_palette_names_the_ink(self):
        for palette in ["#008000,#ffffff"], ["#000000,#ffffff"]:
            svg = self.svg("a.png", "--strokes", "--palette", *palette)
            self.assertEqual(len(set(strokes(svg))), 1)

    def test_one_ink_needs_no_name(self):
        self.write("b.png", png(240, 200, lambda x, y: BLUE if 98 <= y < 102 and 20 <= x < 220 else WHITE))
        self.run_program("b.png", "--strokes", "-o", "b.json")
        (line,) = json.loads(self.read("b.json"))["outlines"]
        self.assertEqual((line["layer"], line["color"]), ("PEN_1", "#0000ff"))

    def test_solid_parts_keep_their_colour(self):
        def pixel(x, y):
            return RED if (x - 60) ** 2 + (y - 150) ** 2 < 400 else three_pens(x, y)
        self.write("c.png", png(240, 200, pixel))
        self.run_program("c.png", "--strokes", "-o", "c.json")
        solids = [o["color"] for o in json.loads(self.read("c.json"))["outlines"] if o["layer"] == "SOLID"]
        self.assertEqual(solids, ["#ff0000"])

    def test_even_areas_are_filled_and_their_outlines_are_strokes(self):
        def pixel(x, y):
            if 20 <= x < 222 and 20 <= y < 142:
                inside = 22 <= y < 140 and (22 <= x < 120 or 122 <= x < 220)
                return ((200, 220, 245, 255) if x < 120 else (245, 200, 200, 255)) if inside else BLACK
            return RED if 160 <= y < 164 and 20 <= x < 220 else WHITE
        self.write("d.png", png(240, 200, pixel))
        result = self.run_program("d.png", "--strokes", "--json", "-o", "d.json")
        self.assertEqual(result.stderr, b"")
        outlines = json.loads(self.read("d.json"))["outlines"]
        self.assertEqual(sorted(o["color"] for o in outlines if o["layer"] == "AREA"), ["#c8dcf5", "#f5c8c8"])
        self.assertEqual({o["color"] for o in outlines if "pen" in o}, {"#000000", "#ff0000"})
        self.assertEqual({o["layer"] for o in outlines if "pen" not in o}, {"AREA"})
        self.run_program("d.png", "--strokes", "-o", "d.dxf")
        self.assertEqual(self.read("d.dxf").decode().count("\nAcDbHatch\n"), 2)

    def test_what_reaches_under_another_ink_is_not_of_it(self):
        """Wedges of red and blue on a black line: no slivers of black are left over beside them."""
        def pixel(x, y):
            black = any(abs(y - middle) <= 1 for middle in (20, 40, 60, 290, 300)) or abs(y - 150) <= 2
            if black and 10 <= x < 490:
                return BLACK
            for k in range(6):
                if 152 <= y < 175 and abs(x - 50 - 70 * k) <= 10 * (175 - y) / 23:
                    return RED
                if 120 <= y <= 148 and abs(x - 55 - 70 * k) <= 15 * (y - 120) / 28:
                    return BLUE
            return WHITE
        self.write("e.png", png(500, 320, pixel))
        self.run_program("e.png", "--strokes", "-o", "e.json")
        areas = [o["color"] for o in json.loads(self.read("e.json"))["outlines"] if "pen" not in o]
        self.assertEqual(areas.count("#000000"), 0)
        self.assertGreaterEqual(len(areas), 6)

    def test_what_is_written_is_read_again(self):
        """Solid parts of two inks, one with a hole: their boundaries are counted through the drawing."""
        def pixel(x, y):
            plate = 30 <= x < 90 and 112 <= y < 172 and (x - 60) ** 2 + (y - 142) ** 2 > 30
            return RED if plate else BLACK if 150 <= x < 190 and 30 <= y < 80 else three_pens(x, y)
        self.write("d.png", png(240, 200, pixel))
        self.run_program("d.png", "--strokes", "-o", "d.json", "-o", "direct.svg")
        self.run_program("d.json", "-o", "again.svg")
        self.assertEqual(self.read("again.svg"), self.read("direct.svg"))
        drawing = json.loads(self.read("d.json"))
        sides = {chain[side] for chain in drawing["chains"] for side in ("left", "right") if chain.get(side, -1) >= 0}
        self.assertEqual({(drawing["outlines"][k]["layer"], drawing["outlines"][k]["color"]) for k in sides},
                         {("SOLID", "#ff0000"), ("SOLID", "#000000")})


if __name__ == "__main__":
    unittest.main()
