# (c) the ztrace developers. Licence: see LICENSE.
"""Areas for maps: GeoJSON and TopoJSON, placed by a world file or by the tags of a GeoTIFF, read by OGR."""
import json
import os
import unittest
from random import Random

from osgeo import gdal, ogr, osr

from support import BLACK, RED, WHITE, OptionsTest, png, square

gdal.UseExceptions()


def land(x, y):
    if square(x, y, 10, 10, 20):
        return RED if not square(x, y, 15, 15, 6) else WHITE
    return BLACK if x >= 40 else WHITE


class Maps(OptionsTest):
    def features(self, name):
        source = ogr.Open(self.path(name))
        return [(f.GetField("color"), f.GetGeometryRef().Clone()) for f in source.GetLayer(0)]

    def areas(self, name):
        """Area by colour; all polygons valid, and none over another."""
        found = {}
        whole = None
        total = 0.0
        for colour, polygon in self.features(name):
            self.assertTrue(polygon.IsValid())
            self.assertEqual(polygon.GetGeometryName(), "POLYGON")
            found[colour] = found.get(colour, 0.0) + polygon.GetArea()
            total += polygon.GetArea()
            whole = polygon if whole is None else whole.Union(polygon)
        self.assertAlmostEqual(whole.GetArea(), total, 6)
        return found

    def same_as_topology(self, seed):
        """What is written of a.png as TopoJSON are the polygons of a.geojson."""
        for decimals in (), ("--decimals", "exact"):
            self.run_program("a.png", *self.options, *decimals, "-o", "a.topojson", "--overwrite")
            for (colour, polygon), (wanted, other) in zip(self.features("a.topojson"), self.features("a.geojson"), strict=True):
                self.assertEqual(colour, wanted)
                self.assertTrue(polygon.IsValid(), seed)
                self.assertAlmostEqual(polygon.GetArea(), other.GetArea(), delta=0.02)
                self.assertAlmostEqual(polygon.SymDifference(other).GetArea(), 0, delta=0.02)

    def test_topology_shares_boundaries(self):
        self.write("a.png", png(60, 40, land))
        self.run_program("a.png", "-p", "logo", "-o", "a.topojson", "-o", "a.geojson")
        areas = self.areas("a.topojson")
        self.assertAlmostEqual(sum(areas.values()), 60 * 40, 3)
        with open(self.path("a.topojson"), "rb") as file:
            topology = json.load(file)
        used = [arc if arc >= 0 else ~arc for area in topology["objects"]["areas"]["geometries"]
                for ring in area["arcs"] for arc in ring]
        self.assertEqual(set(used), set(range(len(topology["arcs"]))))
        self.assertEqual(max(used.count(arc) for arc in used), 2)
        self.write("a.pgw", b"2.0\n0.0\n0.0\n-2.0\n1001.0\n4999.0\n")
        self.run_program("a.png", "-p", "logo", "-o", "a.topojson", "--overwrite")
        self.assertAlmostEqual(sum(self.areas("a.topojson").values()), 4 * 60 * 40, 3)

    def test_areas_fill_the_picture_once(self):
        self.write("a.png", png(60, 40, land))
        self.run_program("a.png", "-p", "logo", "-o", "a.geojson")
        areas = self.areas("a.geojson")
        self.assertAlmostEqual(sum(areas.values()), 60 * 40, 3)
        self.assertAlmostEqual(areas["#000000"], 20 * 40, delta=3)
        self.assertAlmostEqual(areas["#ff0000"], 400 - 36, delta=5)
        # The engine's outlines leave gaps.
        self.run_program("a.png", "-p", "logo", "--fit", "engine", "-o", "a.svg", "-o", "b.geojson")
        self.assertLess(sum(self.areas("b.geojson").values()), 2399)
        with open(self.path("a.geojson"), "rb") as file:
            self.assertIn("no coordinate reference system", json.load(file)["coordinates"])

    def test_random_planes_are_valid_polygons(self):
        colours = (RED, BLACK, WHITE, (20, 90, 200, 255), (240, 200, 40, 255))
        for seed in range(12):
            random = Random(seed)
            width, height = random.randrange(6, 30), random.randrange(6, 30)
            if seed % 2:  # one pixel, one colour
                plane = [[random.choice(colours) for _ in range(width)] for _ in range(height)]
            else:  # the nearest of some places
                places = [(random.random() * width, random.random() * height, random.choice(colours)) for _ in range(8)]
                nearest = lambda x, y: min(places, key=lambda p: (p[0] - x) ** 2 + (p[1] - y) ** 2)[2]
                plane = [[nearest(x, y) for x in range(width)] for y in range(height)]
            self.write("a.png", png(width, height, lambda x, y: plane[y][x]))
            palette = ",".join("#%02x%02x%02x" % colour[:3] for colour in sorted({c for row in plane for c in row}))
            self.options = "-p", "logo", "--palette", palette, "--min-path", "0"
            self.run_program("a.png", *self.options, "-o", "a.geojson", "--overwrite")
            areas = sum(polygon.GetArea() for _, polygon in self.features("a.geojson"))
            self.assertTrue(all(polygon.IsValid() for _, polygon in self.features("a.geojson")), seed)
            self.assertAlmostEqual(areas, width * height, delta=0.02)
            self.same_as_topology(seed)

    def test_areas_that_touch_at_corners_are_valid(self):
        """On a chequered board neither colour hangs together; a hole may touch its rim."""
        boards = (lambda x, y: (x // 10 + y // 10) % 2, lambda x, y: ((x + 3) // 7 + y // 5) % 2,
                  lambda x, y: 10 <= x < 50 and 10 <= y < 50 and (x // 10 + y // 10) % 2,
                  lambda x, y: (3 * x + y) // 31 % 2 == (3 * y - x) // 31 % 2)
        for seed, board in enumerate(boards):
            self.write("a.png", png(60, 60, lambda x, y, board=board: BLACK if board(x, y) else WHITE))
            self.options = "-p", "logo"
            self.run_program("a.png", *self.options, "-o", "a.geojson", "--overwrite")
            self.assertAlmostEqual(sum(self.areas("a.geojson").values()), 3600, 3)
            self.assertGreaterEqual(len(self.features("a.geojson")), 10, seed)
            self.same_as_topology(seed)

    def test_world_file(self):
        self.write("a.png", png(60, 40, land))
        self.write("a.pgw", b"2.0\n0.0\n0.0\n-2.0\n1001.0\n4999.0\n")  # the middle of the first pixel
        self.run_program("a.png", "-p", "logo", "-o", "a.geojson")
        self.assertAlmostEqual(sum(self.areas("a.geojson").values()), 4 * 60 * 40, 3)
        red = next(g for colour, g in self.features("a.geojson") if colour == "#ff0000")
        for found, wanted in zip(red.GetEnvelope(), (1020, 1060, 4940, 4980)):
            self.assertAlmostEqual(found, wanted, delta=0.6)
        self.write("a.pgw", b"2.0 0 0 -2 1001\n")
        self.assert_refused("a.png", "-p", "logo", "-o", "b.geojson", code=3, words="six numbers are expected of a world file")
        self.run_program("a.png", "-p", "logo", "-o", "a.svg")  # which asks for no place

    def test_a_pipe_is_no_world_file(self):
        self.write("a.png", png(60, 40, land))
        os.mkfifo(self.path("a.pgw"))
        self.run_program("a.png", "-p", "logo", "-o", "a.geojson")
        self.assertAlmostEqual(sum(self.areas("a.geojson").values()), 60 * 40, 3)

    def test_a_world_file_that_cannot_be_looked_up(self):
        """Not the same as none: the drawing would be in the wrong place."""
        self.write("a.png", png(60, 40, land))
        for link in "a.pgw", "a.pngw", "a.wld":
            os.symlink(link, self.path(link))
            self.assert_refused("a.png", "-p", "logo", "-o", "b.geojson", code=3,
                                words=link + ": its symbolic links lead in a circle")
            os.unlink(self.path(link))
        os.symlink("nothing", self.path("a.pgw"))
        self.run_program("a.png", "-p", "logo", "-o", "b.geojson")
        long = "a" * 251 + ".png"  # whose world file a.pngw would have too long a name
        self.write(long, png(60, 40, land))
        self.run_program(long, "-p", "logo", "-o", "c.geojson")

    def test_tags_of_a_geotiff(self):
        for place, kind in ((500000, 10, 0, 4600000, 0, -10), "upright"), ((500000, 6, 8, 4600000, 8, -6), "turned"):
            raster = gdal.GetDriverByName("GTiff").Create(self.path("a.tif"), 60, 40, 3, gdal.GDT_Byte)
            raster.SetGeoTransform(place)
            reference = osr.SpatialReference()
            reference.ImportFromEPSG(32633)
            raster.SetProjection(reference.ExportToWkt())
            for band in range(3):
                rows = bytes(land(x, y)[band] for y in range(40) for x in range(60))
                raster.GetRasterBand(band + 1).WriteRaster(0, 0, 60, 40, rows)
            raster = None
            self.run_program("a.tif", "-p", "logo", "-o", kind + ".geojson")
            self.assertAlmostEqual(sum(self.areas(kind + ".geojson").values()) / 240000, 1, 9)
            source = ogr.Open(self.path(kind + ".geojson"))
            self.assertEqual(source.GetLayer(0).GetSpatialRef().GetAuthorityCode(None), "32633")
            centre = next(g for colour, g in self.features(kind + ".geojson") if colour == "#ff0000").Centroid()
            self.assertAlmostEqual(centre.GetX(), place[0] + 20 * place[1] + 20 * place[2], delta=3)
            self.assertAlmostEqual(centre.GetY(), place[3] + 20 * place[4] + 20 * place[5], delta=3)

    def test_other_outputs_of_the_run(self):
        """A map's areas are cut out of each other, in all that is written beside it."""
        self.write("a.png", png(60, 40, land))
        self.run_program("a.png", "-p", "logo", "-o", "a.geojson", "-o", "a.svg")
        self.run_program("a.png", "-p", "logo", "-o", "b.svg")
        self.assertNotEqual(self.read("a.svg"), self.read("b.svg"))

    def test_centre_lines(self):
        self.write("a.png", png(80, 60, lambda x, y: BLACK if 20 <= y < 24 and 10 <= x < 70 else WHITE))
        self.run_program("a.png", "--strokes", "-o", "a.geojson")
        (_, line), = self.features("a.geojson")
        self.assertEqual(line.GetGeometryName(), "LINESTRING")
        self.assertAlmostEqual(line.Length(), 60, delta=1)


if __name__ == "__main__":
    unittest.main()
