"""No-data values become NaN before anything is computed, and what is told of a run leaves them out:
the printed line, the bands' metadata and the report that -stats= writes.

Usage: no_data_test.py LUMOMIXCALC
"""

import json
import os

import numpy as np
from osgeo import gdal

import harness
import reference
from harness import WRONG_COMMAND_LINE, read, write

SHAPE = 40, 50
HOLES = np.add.outer(np.arange(SHAPE[0]), np.arange(SHAPE[1])) % 7 == 0
MOST_NEGATIVE = float(np.finfo(np.float32).min)


class NoData(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.a, self.b, self.out = (self.path(name) for name in ("a.tif", "b.tif", "out.tif"))
        self.values = np.arange(np.prod(SHAPE)).reshape(SHAPE) % 200 + 1.0
        self.write_holes(self.a, gdal.GDT_Float32, -9999)
        write(self.b, [np.ones(SHAPE)]).FlushCache()

    def write_holes(self, path, gdal_type, no_data, scale=1):
        dataset = write(path, [np.where(HOLES, no_data, scale * self.values)], gdal_type)
        dataset.GetRasterBand(1).SetNoDataValue(no_data)

    def assert_result(self, expected, no_data):
        np.testing.assert_array_equal(read(self.out)[0], expected)
        dataset = gdal.Open(self.out)  # bands do not keep it open
        np.testing.assert_equal(dataset.GetRasterBand(1).GetNoDataValue(), no_data)

    def test_becomes_nan_in_either_input(self):
        for gdal_type, no_data in ((gdal.GDT_Int16, -9999), (gdal.GDT_Byte, 255),
                                   (gdal.GDT_Float32, MOST_NEGATIVE), (gdal.GDT_Float32, 0.1),
                                   (gdal.GDT_Float64, 1e300), (gdal.GDT_Int32, -2147483648)):
            self.write_holes(self.a, gdal_type, no_data)
            for files in ((self.a, self.b), (self.b, self.a)):
                with self.subTest(type=gdal.GetDataTypeName(gdal_type), no_data=no_data):
                    self.done(*files, self.out, "-overwrite")
                    self.assert_result(np.where(HOLES, np.nan, self.values + 1), np.nan)

    def test_complex_no_data_is_nan_in_both_parts(self):
        self.write_holes(self.a, gdal.GDT_CFloat32, -9999, scale=1 + 2j)
        self.done(self.a, self.b, self.out)
        result = read(self.out)[0]
        self.assertTrue(np.all(np.isnan(result.real[HOLES]) & np.isnan(result.imag[HOLES])))
        np.testing.assert_array_equal(result[~HOLES], (1 + 2j) * self.values[~HOLES] + 1)

    def test_integer_modes_store_a_value_that_they_hold(self):
        for mode, no_data in (("int16", -9999), ("byte", 255), ("uint16", 65535)):
            with self.subTest(mode=mode):
                self.done(self.a, self.b, self.out, f"-mode={mode}", "-overwrite")
                self.assert_result(np.where(HOLES, no_data, self.values + 1), no_data)

    def test_kept_as_numbers_on_demand(self):
        result = self.done(self.a, self.b, self.out, "-nodata=keep")
        self.assert_result(np.where(HOLES, -9999, self.values) + 1, None)
        self.assertEqual(harness.statistics(result)[1][0], -9998)
        self.refused("-nodata=drop", self.a, self.out, "-nodata=drop", status=WRONG_COMMAND_LINE)

    def test_is_left_out_of_all_statistics(self):
        for arguments, valid in (((), ~HOLES), (("-a=nan",), np.zeros(SHAPE, bool))):
            with self.subTest(arguments=arguments):
                report_file = self.path("report.json")
                result = self.done(self.a, self.b, self.out, "-overwrite", *arguments,
                                   f"-stats={report_file}")
                with open(report_file, encoding="utf-8") as file:
                    report = json.load(file)
                stored = (self.values + 1)[valid]
                minimum, maximum, mean, total, no_data = harness.statistics(result)[1]
                band = report["bands"][0]
                self.assertEqual((band["elements"], band["valid"], band["no_data"], no_data),
                                 (valid.size, stored.size, valid.size - stored.size,
                                  valid.size - stored.size))
                dataset = gdal.Open(self.out)
                metadata = dataset.GetRasterBand(1).GetMetadata()
                if not stored.size:
                    self.assertNotIn("minimum", band)
                    self.assertNotIn("STATISTICS_MINIMUM", metadata)
                    continue
                expected = [stored.min(), stored.max(), stored.mean(), stored.sum()]
                np.testing.assert_allclose([minimum, maximum, mean, total], expected, rtol=1e-15)
                names = "minimum", "maximum", "mean"
                self.assertEqual([band[name] for name in (*names, "sum")],
                                 [minimum, maximum, mean, total])
                self.assertEqual([float(metadata[f"STATISTICS_{name.upper()}"]) for name in names],
                                 [minimum, maximum, mean])

    def test_report_tells_of_the_run_and_of_the_applications_own_record(self):
        result = self.done(self.b, self.b, self.out, "-a=0.1", "-b=0:1", "-quiet", "-stats=-")
        report = json.loads(result.stdout)
        self.assertEqual((report["columns"], report["rows"]), SHAPE[::-1])
        self.assertEqual((report["output"], report["format"], report["mode"]),
                         (self.out, "GTiff", "float32"))
        self.assertEqual(report["command"],
                         gdal.Open(self.out).GetMetadataItem("LUMOMIXCALC_COMMAND"))
        a = reference.single(0.1)
        total = 0.0
        for _ in range(np.prod(SHAPE)):
            total = float(np.float32(a + total))
        np.testing.assert_array_equal(
            np.float32([report["bands"][0]["record"][name]
                        for name in ("minimum", "maximum", "sum")]),
            np.float32([a, a, total]))

    def test_report_that_cannot_be_written(self):
        for path in (self.folder, self.path("none/report.json")):
            self.refused(path, self.a, self.b, self.out, f"-stats={path}")
            self.assertFalse(os.path.exists(self.out))  # found out before the work
        self.refused("/dev/full", self.a, self.b, self.out, "-stats=/dev/full", "-quiet")


if __name__ == "__main__":
    harness.main()
