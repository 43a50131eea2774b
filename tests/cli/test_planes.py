# (c) the ztrace developers. Licence: see LICENSE.
"""Random planes of labels as maps, as lines, and as JSON: valid polygons without gaps, every boundary once.

ZTRACE_PLANES is the number of planes, 40 without it; ZTRACE_FIRST_PLANE is the first one's seed, 0."""
import json
import os
import unittest
from random import Random

from osgeo import gdal, ogr

from support import OptionsTest, png

gdal.UseExceptions()

FOUND = (10100,)  # two areas lay over a third: both sides of an area passed each other between its nodes

COLOURS = [(200, 30, 30, 255), (30, 90, 200, 255), (20, 20, 20, 255), (240, 200, 40, 255), (60, 160, 60, 255),
           (250, 250, 250, 255), (150, 60, 160, 255), (120, 200, 210, 255)]


def noise(random, width, height, colours):
    return [[random.choice(colours) for _ in range(width)] for _ in range(height)]


def cells(random, width, height, colours):
    places = [(random.random() * width, random.random() * height, random.choice(colours)) for _ in range(12)]
    return [[min(places, key=lambda p: (p[0] - x) ** 2 + (p[1] - y) ** 2)[2] for x in range(width)] for y in range(height)]


def discs(random, width, height, colours):
    plane = [[colours[0]] * width for _ in range(height)]
    for _ in range(10):
        x, y, r, colour = random.random() * width, random.random() * height, 1 + random.random() * 9, random.choice(colours)
        for row in range(height):
            for column in range(width):
                if (column - x) ** 2 + (row - y) ** 2 < r * r:
                    plane[row][column] = colour
    return plane


def bars(random, width, height, colours):
    """Lines one to three pixels wide at any angle, and specks."""
    plane = [[colours[0]] * width for _ in range(height)]
    for _ in range(8):
        x, y, thick = random.random() * width, random.random() * height, 0.5 + random.random()
        u, v, colour = random.random() - 0.5, random.random() - 0.5, random.choice(colours)
        for row in range(height):
            for column in range(width):
                if abs((column - x) * v - (row - y) * u) < thick * (u * u + v * v) ** 0.5 or random.random() < 0.003:
                    plane[row][column] = colour
    return plane


def plane_of(seed):
    random = Random(seed)
    width, height = random.randrange(4, 34), random.randrange(4, 34)
    colours = random.sample(COLOURS, random.randrange(2, len(COLOURS) + 1))
    return (noise, cells, discs, bars)[seed % 4](random, width, height, colours)


def walked(shape):
    """A shape's pieces as one text for either direction."""
    there = [shape["start"], *shape["pieces"]]
    places = [shape["start"]] + [piece[-2:] for piece in shape["pieces"]]
    back = [places[-1]]
    for place, piece in zip(reversed(places[:-1]), reversed(shape["pieces"])):
        inner = piece[1:-2]
        if piece[0] in "AE":
            inner = [-inner[0], *inner[1:]]
        elif piece[0] == "S":
            pairs = list(zip(inner[1::2], inner[2::2]))
            inner = [inner[0], *(number for pair in reversed(pairs) for number in pair)]
        back.append([piece[0], *inner, *place])
    return min(json.dumps(there), json.dumps(back))


class Planes(OptionsTest):
    def check_map(self, seed, width, height):
        source = ogr.Open(self.path("a.geojson"))
        polygons = [feature.GetGeometryRef().Clone() for feature in source.GetLayer(0)]
        invalid = [polygon.ExportToWkt() for polygon in polygons if not polygon.IsValid()]
        self.assertEqual(invalid, [], seed)
        area = sum(polygon.GetArea() for polygon in polygons)
        self.assertLess(abs(area / (width * height) - 1), 1e-9, seed)
        return len(polygons)

    def check_chains(self, seed, drawing):
        """Each of them once, in whichever direction, and with its two sides, none of them the same area."""
        chains = drawing["chains"]
        self.assertEqual(len({walked(chain) for chain in chains}), len(chains), seed)
        self.assertTrue(all(chain["left"] != chain["right"] for chain in chains), seed)
        sides = sorted(reference for outline in drawing["outlines"]
                       for ring in outline.get("rings", ()) for reference in ring)
        wanted = sorted([k for k, chain in enumerate(chains) if chain["right"] >= 0]
                        + [~k for k, chain in enumerate(chains) if chain["left"] >= 0])
        self.assertEqual(sides, wanted, seed)
        return {walked(chain) for chain in chains if min(chain["left"], chain["right"]) >= 0}

    def check_edges(self, seed, inner):
        """The lines for cutters are these boundaries, and some of the rim."""
        with open(self.path("e.json"), "rb") as file:
            lines = [walked(outline) for outline in json.load(file)["outlines"]]
        self.assertEqual(len(set(lines)), len(lines), seed)
        self.assertLessEqual(inner, set(lines), seed)
        return len(lines)

    def test_random_planes(self):
        first = int(os.environ.get("ZTRACE_FIRST_PLANE", 0))
        count = int(os.environ.get("ZTRACE_PLANES", 40))
        polygons = lines = 0
        for seed in (*FOUND, *range(first, first + count)):
            plane = plane_of(seed)
            width, height = len(plane[0]), len(plane)
            self.write("a.png", png(width, height, lambda x, y: plane[y][x]))
            palette = ",".join("#%02x%02x%02x" % colour[:3] for colour in sorted({c for row in plane for c in row}))
            options = "a.png", "-p", "logo", "--palette", palette, "--min-path", "0", "--fit", "fair", "--overwrite", "--quiet"
            self.run_program(*options, "--decimals", "exact", "-o", "a.geojson", "-o", "a.json")
            polygons += self.check_map(seed, width, height)
            with open(self.path("a.json"), "rb") as file:
                inner = self.check_chains(seed, json.load(file))
            self.run_program(*options, "--edges", "-o", "e.json")
            lines += self.check_edges(seed, inner)
            # The program's own reader checks that rings are shapes.
            self.run_program("a.json", "--quiet", "--overwrite", "-o", "b.json")
            self.assertEqual(self.read("a.json"), self.read("b.json"), seed)
        if count > 1000:
            print(f"{count} planes: {polygons} polygons, {lines} lines")


if __name__ == "__main__":
    unittest.main()
