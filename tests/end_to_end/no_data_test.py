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
                                   (gdal.GDT_Float64, 1e300), (gdal.GDT_Float64, -1e300),
                                   (gdal.GDT_Int32, -2147483648), (gdal.GDT_Int64, -7),
                                   (gdal.GDT_UInt64, 777), (gdal.GDT_Float32, 0)):
            self.write_holes(self.a, gdal_type, no_data)
            for files in ((self.a, self.b), (self.b, self.a)):
                with self.subTest(type=gdal.GetDataTypeName(gdal_type), no_data=no_data):
                    self.done(*files, self.out, "-overwrite")
                    self.assert_result(np.where(HOLES, np.nan, self.values + 1), np.nan)

    def test_complex_no_data_is_nan_in_both_parts(self):
        no_data = -9
        for holes, other in ((no_data, no_data + 1j), (no_data * (1 + 1j), no_data * 1j)):
            pixels = np.where(HOLES, holes, (1 + 2j) * self.values)
            pixels[0, 1] = other
            dataset = write(self.a, [pixels], gdal.GDT_CFloat32)
            dataset.GetRasterBand(1).SetNoDataValue(no_data)
            dataset = None
            self.done(self.a, self.b, self.out, "-overwrite")
            result = read(self.out)[0]
            self.assertTrue(np.all(np.isnan(result.real[HOLES]) & np.isnan(result.imag[HOLES])))
            np.testing.assert_array_equal(result[~HOLES], pixels[~HOLES] + 1)

    def test_integer_modes_store_a_value_that_they_hold(self):
        for mode, declared, no_data in (("int16", -9999, -9999), ("byte", -9999, 255),
                                        ("byte", 0, 0), ("uint16", 65536, 65535),
                                        ("int16", np.nan, -32768), ("int32", 1.5, -2147483648)):
            with self.subTest(mode=mode, declared=declared):
                self.write_holes(self.a, gdal.GDT_Float32, declared)
                self.done(self.a, self.b, self.out, f"-mode={mode}", "-a=0.75", "-overwrite")
                stored = np.where(HOLES, no_data, np.rint(0.75 * self.values + 1))
                self.assert_result(stored, no_data)
                dataset = gdal.Open(self.out)
                metadata = dataset.GetRasterBand(1).GetMetadata()
                self.assertEqual([metadata[f"STATISTICS_{name}"] for name in
                                  ("MINIMUM", "MAXIMUM", "VALID_PERCENT")],
                                 [f"{stored[~HOLES].min():.0f}", f"{stored[~HOLES].max():.0f}",
                                  f"{100 * np.mean(~HOLES):.4g}"])

    def test_no_element_of_an_integer_mode_takes_the_value_by_chance(self):
        for mode, no_data, moved in (("int16", -32768, -32767), ("byte", 255, 254), ("byte", 0, 1)):
            with self.subTest(mode=mode):
                self.write_holes(self.a, gdal.GDT_Float32, no_data)
                other = np.ones(SHAPE)
                other[0, 1] = no_data - self.values[0, 1]
                write(self.b, [other]).FlushCache()
                result = self.done(self.a, self.b, self.out, f"-mode={mode}", "-overwrite")
                expected = np.where(HOLES, no_data, self.values + 1)
                expected[0, 1] = moved
                self.assert_result(expected, no_data)
                self.assertIn("band 1: 1 elements were moved by one", result.stderr)
                dataset = gdal.Open(self.out)
                self.assertNotIn("STATISTICS_MINIMUM", dataset.GetRasterBand(1).GetMetadata())

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
                self.assertEqual(len(os.listdir(self.folder)), 4)  # nothing beside the report

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
