"""A part of the inputs: regions, windows on the map, coarser resolutions, bands, each with the
georeferencing that belongs to it."""

import numpy as np
from osgeo import gdal

import harness
from harness import GEOTRANSFORM, WRONG_COMMAND_LINE, bounds, write

ROWS, COLUMNS = 400, 2000  # several strips, of a coarser resolution too
IMAGE = np.random.default_rng(2).normal(size=(3, ROWS, COLUMNS)).astype(np.float32)
LEFT, TOP = GEOTRANSFORM[0], GEOTRANSFORM[3]


class Selection(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        write(self.a, IMAGE, creationOptions=["TILED=YES"], **bounds(COLUMNS, ROWS))

    def copied(self, *options, of=None):
        """What the program makes of the image itself with these options."""
        return self.made(of or self.a, "-operator=a1b", *options)[0]

    def assert_place(self, dataset, x, y, n=1):
        """Its upper left corner is the input's pixel x, y, and its pixels are n times as large."""
        self.assertEqual(dataset.GetGeoTransform(),
                         (LEFT + 30 * x, 30 * n, 0, TOP - 30 * y, 0, -30 * n))

    def test_region_and_window(self):
        for x, y, columns, rows in ((0, 0, COLUMNS, ROWS), (5, 7, 11, 13), (1999, 399, 1, 1),
                                    (1000, 0, 1000, 400), (0, 399, 2000, 1)):
            left, right = LEFT + 30 * x, LEFT + 30 * (x + columns)
            bottom, top = TOP - 30 * (y + rows), TOP - 30 * y
            for option in (f"-region={x}:{y}:{columns}:{rows}",
                           f"-window={left}:{bottom}:{right}:{top}",
                           # whatever the area touches
                           f"-window={left + 9}:{bottom + 9}:{right - 16}:{top - 16}",
                           f"-window={left + 16}:{bottom + 16}:{right - 9}:{top - 9}"):
                result = self.copied(option)
                np.testing.assert_array_equal(result.ReadAsArray(),
                                              IMAGE[:, y:y + rows, x:x + columns])
                self.assert_place(result, x, y)

    def test_part_that_is_not_inside_is_refused_with_the_size(self):
        copying = self.a, self.out, "-operator=a1b"
        for option in ("-region=0:0:2001:1", "-region=0:400:1:1", "-region=-1:0:5:5",
                       "-region=2147483647:0:2147483647:1", "-window=0:0:1:1",
                       "-window=599990:5099000:600100:5099900"):
            self.refused(f"{option} is not inside {self.a} (File1), which has 2000 x 400 pixels",
                         *copying, option)
        self.refused("leaves no pixel of the 2000 x 400 pixels", *copying, "-resolution=401")
        self.refused("there is no band 4", *copying, "-bands=4")

    def test_malformed_options(self):
        for option, values in (
                ("-region", ("", "1:2:3", "1:2:3:4:5", "1:2:3:", "1,2,3,4", "a:0:1:1", "1.0:2:3:4",
                             "0:0:0:1", "1:2:-3:4", "0:0:1:99999999999")),
                ("-window", ("1:2:3", "1:2:3:x", "5:1:1:5", "0:5:1:5", "nan:0:1:1", "0:0:inf:1")),
                ("-resolution", ("0", "-1", "2.5", "1/2")),
                ("-resampling", ("", "Average", "near", "preview")),
                ("-bands", ("", "0", "x", "1.5", "1 ", "1,", "1,,2", "1-", "3-1", "1-2-3",
                            "1-65536,1", "1-999999999"))):
            for value in values:
                self.refused(f"{option}={value}", self.a, self.out, f"{option}={value}",
                             status=WRONG_COMMAND_LINE)

    def test_resolution_is_that_of_the_whole_region_at_once(self):
        """Strips leave no seams, and overviews are not taken in silence."""
        overviews = gdal.Open(self.a, gdal.GA_Update)
        overviews.BuildOverviews("NEAREST", [2, 4])
        for i in range(1, 4):
            for level in range(2):
                overviews.GetRasterBand(i).GetOverview(level).Fill(-1e6)
        overviews = None
        whole = gdal.OpenEx(self.a, open_options=["OVERVIEW_LEVEL=NONE"])
        for n in (2, 3, 4, 7):
            columns, rows = (COLUMNS - 20) // n, (ROWS - 10) // n
            for method, algorithm in (("nearest", gdal.GRIORA_NearestNeighbour),
                                      ("average", gdal.GRIORA_Average),
                                      ("bilinear", gdal.GRIORA_Bilinear),
                                      ("cubic", gdal.GRIORA_Cubic)):
                result = self.copied(f"-region=20:10:{COLUMNS - 20}:{ROWS - 10}",
                                     f"-resolution={n}", f"-resampling={method}")
                expected = whole.ReadAsArray(20, 10, columns * n, rows * n, buf_xsize=columns,
                                             buf_ysize=rows, resample_alg=algorithm)
                np.testing.assert_allclose(result.ReadAsArray(), expected, rtol=0, atol=2e-6)
                self.assert_place(result, 20, 10, n)
        overview = self.copied("-resolution=4", "-resampling=overview").ReadAsArray()
        self.assertTrue(np.all(overview == -1e6))

    def test_bands_are_taken_in_the_order_given(self):
        dataset = gdal.Open(self.a, gdal.GA_Update)
        for band in 1, 2, 3:
            dataset.GetRasterBand(band).SetDescription(f"band {band}")
        dataset = None
        write(self.b, np.ones((ROWS, COLUMNS)))
        for option, bands in (("1-2", [1, 2]), ("3,1-2,3", [3, 1, 2, 3])):
            result, _ = self.made(self.a, self.b, f"-bands={option}")
            np.testing.assert_array_equal(result.ReadAsArray(), IMAGE[np.array(bands) - 1] + 1)
            self.assertEqual([result.GetRasterBand(i + 1).GetDescription()
                              for i in range(len(bands))], [f"band {band}" for band in bands])

    def test_ground_control_points_follow(self):
        points = [gdal.GCP(1, 2, 3, 0, 0), gdal.GCP(4, 5, 6, 30, 0), gdal.GCP(7, 8, 9, 0, 20)]
        crs = write(self.b, IMAGE[0], outputSRS="EPSG:32632", GCPs=points).GetGCPSpatialRef()
        for x, y, n, *options in ((0, 0, 1), (4, 6, 2, "-region=4:6:100:100", "-resolution=2")):
            result = self.copied(*options, of=self.b)
            self.assertTrue(result.GetGCPSpatialRef().IsSame(crs))
            self.assertEqual(
                [(p.GCPX, p.GCPY, p.GCPZ, p.GCPPixel, p.GCPLine) for p in result.GetGCPs()],
                [(p.GCPX, p.GCPY, p.GCPZ, (p.GCPPixel - x) / n, (p.GCPLine - y) / n)
                 for p in points])
