"""A part of the inputs: regions, windows on the map, coarser resolutions, bands, each with the
georeferencing that belongs to it.

Usage: selection_test.py LUMOMIXCALC
"""

import numpy as np
from osgeo import gdal, osr

import harness
from harness import GEOTRANSFORM, WRONG_COMMAND_LINE, read, write

ROWS, COLUMNS = 150, 2000  # several strips


class Selection(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        random = np.random.default_rng(2)
        self.bands = [random.normal(size=(ROWS, COLUMNS)).astype(np.float32) for _ in range(3)]
        dataset = write(self.a, self.bands, options=["TILED=YES"])
        dataset.SetGeoTransform(GEOTRANSFORM)
        for i in (1, 2, 3):
            dataset.GetRasterBand(i).SetDescription(f"band {i} of a")
        dataset.FlushCache()

    def copy(self, *options):
        """What the program makes of the image itself with these options, and its dataset."""
        self.done(self.a, self.out, "-operator=a1b", "-overwrite", *options)
        return read(self.out), gdal.Open(self.out)

    def geotransform(self, x, y, n=1):
        return (GEOTRANSFORM[0] + 30 * x, 30.0 * n, 0.0, GEOTRANSFORM[3] - 30 * y, 0.0, -30.0 * n)

    def test_region_and_window(self):
        whole = np.array(self.bands)
        for x, y, columns, rows in ((0, 0, COLUMNS, ROWS), (5, 7, 11, 13), (1999, 149, 1, 1),
                                    (1000, 0, 1000, 150), (0, 149, 2000, 1)):
            left, _, _, top = self.geotransform(x, y)[:4]
            for option in (f"-region={x}:{y}:{columns}:{rows}",
                           f"-window={left}:{top - 30 * rows}:{left + 30 * columns}:{top}",
                           # whatever the area touches
                           f"-window={left + 9}:{top - 30 * rows + 9}"
                           f":{left + 30 * columns - 9}:{top - 9}"):
                with self.subTest(option=option):
                    result, dataset = self.copy(option)
                    np.testing.assert_array_equal(
                        result, whole[:, y:y + rows, x:x + columns])
                    self.assertEqual(dataset.GetGeoTransform(), self.geotransform(x, y))

    def test_part_that_is_not_inside_is_refused_with_the_size(self):
        for option in ("-region=0:0:2001:1", "-region=0:150:1:1", "-region=-1:0:5:5",
                       "-region=2147483647:0:2147483647:1", "-window=0:0:1:1",
                       "-window=599990:5099000:600100:5099900", "-resolution=151"):
            with self.subTest(option=option):
                result = self.refused(option.split("=")[0], self.a, self.out, "-operator=a1b",
                                      option)
                self.assertIn("2000 x 150 pixels", result.stderr)
                self.assertIn(self.a, result.stderr)
        self.refused("no band 4", self.a, self.out, "-operator=a1b", "-bands=4")

    def test_malformed_options(self):
        for option in ("-region=1:2:3", "-region=1:2:3:4:5", "-region=a:0:1:1", "-region=0:0:0:1",
                       "-region=0:0:1:99999999999", "-region=", "-region=1:2:3:", "-region=1,2,3,4",
                       "-region=1.0:2:3:4", "-region=1:2:-3:4", "-window=1:2:3:x", "-window=1:2:3",
                       "-window=5:1:1:5", "-window=0:5:1:5", "-window=nan:0:1:1",
                       "-window=0:0:inf:1", "-resolution=0", "-resolution=2.5", "-resolution=-1",
                       "-resolution=1/2", "-resampling=Average", "-resampling=near",
                       "-resampling=preview", "-resampling=", "-bands=0", "-bands=3-1",
                       "-bands=1,,2", "-bands=1,", "-bands=1-", "-bands=1-2-3", "-bands=1.5",
                       "-bands=", "-bands=1 ", "-bands=1-65536,1", "-bands=1-999999999",
                       "-bands=x"):
            with self.subTest(option=option):
                self.refused(option, self.a, self.out, "-operator=a1b", option,
                             status=WRONG_COMMAND_LINE)

    def test_resolution_is_that_of_the_whole_image_at_once(self):
        """Strips leave no seams, and overviews are not taken in silence."""
        overviews = gdal.Open(self.a, gdal.GA_Update)
        overviews.BuildOverviews("NEAREST", [2, 4])
        for i in range(1, 4):
            for level in range(2):
                overviews.GetRasterBand(i).GetOverview(level).Fill(-1e6)
        overviews = None
        for n in (2, 3, 4, 7):
            columns, rows = COLUMNS // n, ROWS // n
            for method, algorithm in (("nearest", gdal.GRIORA_NearestNeighbour),
                                      ("average", gdal.GRIORA_Average),
                                      ("bilinear", gdal.GRIORA_Bilinear),
                                      ("cubic", gdal.GRIORA_Cubic)):
                with self.subTest(n=n, method=method):
                    result, dataset = self.copy(f"-resolution={n}", f"-resampling={method}")
                    expected = gdal.OpenEx(self.a, open_options=["OVERVIEW_LEVEL=NONE"]) \
                        .ReadAsArray(0, 0, columns * n, rows * n, buf_xsize=columns,
                                     buf_ysize=rows, resample_alg=algorithm)
                    np.testing.assert_allclose(result, expected, rtol=0, atol=2e-6)
                    self.assertEqual(dataset.GetGeoTransform(), self.geotransform(0, 0, n))
        self.assertTrue(np.all(self.copy("-resolution=4", "-resampling=overview")[0] == -1e6))

    def test_average_of_complex_data(self):
        pairs = self.bands[0] + 1j * self.bands[1]
        write(self.b, [pairs], gdal.GDT_CFloat32).FlushCache()
        self.done(self.b, self.out, "-operator=a1b", "-resolution=5", "-resampling=average")
        np.testing.assert_allclose(
            read(self.out)[0], pairs.reshape(30, 5, 400, 5).mean(axis=(1, 3)), atol=1e-6)

    def test_resolution_of_a_region(self):
        result, dataset = self.copy("-region=10:20:101:50", "-resolution=2",
                                    "-resampling=average")
        means = np.array(self.bands)[:, 20:70, 10:110].reshape(3, 25, 2, 50, 2).mean(axis=(2, 4))
        np.testing.assert_allclose(result, means, atol=1e-6)
        self.assertEqual(dataset.GetGeoTransform(), self.geotransform(10, 20, 2))

    def test_bands_are_taken_in_the_order_given(self):
        write(self.b, [np.ones((ROWS, COLUMNS))]).FlushCache()
        for option, bands in (("2", (2,)), ("1-3", (1, 2, 3)), ("3,1-2,3", (3, 1, 2, 3))):
            with self.subTest(option=option):
                self.done(self.a, self.b, self.out, f"-bands={option}", "-overwrite")
                np.testing.assert_array_equal(read(self.out),
                                              [self.bands[i - 1] + 1 for i in bands])
                dataset = gdal.Open(self.out)
                self.assertEqual([dataset.GetRasterBand(i).GetDescription()
                                  for i in range(1, len(bands) + 1)],
                                 [f"band {i} of a" for i in bands])

    def test_ground_control_points_follow(self):
        crs = osr.SpatialReference()
        crs.ImportFromEPSG(32632)
        write(self.b, self.bands[:1]).SetGCPs(
            [gdal.GCP(x, y, 0, x / 30, y / 30) for x, y in ((0, 0), (900, 0), (0, 600))], crs)
        for options, places in (
                ((), [(0, 0, 0, 0), (900, 0, 30, 0), (0, 600, 0, 20)]),
                (("-region=4:6:100:100", "-resolution=2"),
                 [(0, 0, -2, -3), (900, 0, 13, -3), (0, 600, -2, 7)])):
            self.done(self.b, self.out, "-operator=a1b", "-overwrite", *options)
            result = gdal.Open(self.out)
            self.assertEqual([(p.GCPX, p.GCPY, p.GCPPixel, p.GCPLine) for p in result.GetGCPs()],
                             places)
            self.assertTrue(result.GetGCPSpatialRef().IsSame(crs))


if __name__ == "__main__":
    harness.main()
