"""No-data values become NaN before anything is computed, and what is told of a run leaves them out:
the printed line, the bands' metadata and the report that -stats= writes."""

import json
import os
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import write

SHAPE = 40, 50
HOLES = np.add.outer(np.arange(SHAPE[0]), np.arange(SHAPE[1])) % 7 == 0
HOLES[20:] = False  # many numbers in a row without one
VALUES = np.arange(np.prod(SHAPE)).reshape(SHAPE) % 200 + 1.0
MOST_NEGATIVE = float(np.finfo(np.float32).min)


class NoData(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.write_holes(-9999)
        write(self.b, np.ones(SHAPE))

    def write_holes(self, no_data, gdal_type=gdal.GDT_Float32):
        write(self.a, np.where(HOLES, no_data, VALUES), outputType=gdal_type, noData=no_data)

    def assert_result(self, dataset, expected, no_data):
        np.testing.assert_array_equal(dataset.ReadAsArray(), expected)
        np.testing.assert_equal(dataset.GetRasterBand(1).GetNoDataValue(), no_data)

    def test_becomes_nan_in_either_input(self):
        for gdal_type, no_data in ((gdal.GDT_Int16, -9999), (gdal.GDT_Byte, 255),
                                   (gdal.GDT_Float32, MOST_NEGATIVE), (gdal.GDT_Float32, 0.1),
                                   (gdal.GDT_Float64, 1e300), (gdal.GDT_Float64, -1e300),
                                   (gdal.GDT_Int32, -2147483648), (gdal.GDT_Int64, -7),
                                   (gdal.GDT_UInt64, 777), (gdal.GDT_Float32, 0)):
            self.write_holes(no_data, gdal_type)
            for files in ((self.a, self.b), (self.b, self.a)):
                dataset, _ = self.made(*files)
                self.assert_result(dataset, np.where(HOLES, np.nan, VALUES + 1), np.nan)

    def test_complex_no_data_is_nan_in_both_parts(self):
        for holes, number in ((-9, -9 + 1j), (-9 - 9j, -9j)):
            pixels = np.where(HOLES, holes, (1 + 2j) * VALUES)
            pixels[0, 1] = number
            write(self.a, pixels, outputType=gdal.GDT_CFloat32, noData=-9)
            result = self.made(self.a, self.b)[0].ReadAsArray()
            self.assertTrue(np.all(np.isnan(result.real[HOLES]) & np.isnan(result.imag[HOLES])))
            np.testing.assert_array_equal(result[~HOLES], pixels[~HOLES] + 1)

    def test_integer_modes_store_a_value_that_they_hold_and_no_number_takes(self):
        for mode, declared, no_data, neighbour in (
                ("int16", -9999, -9999, -9998), ("byte", -9999, 255, 254), ("byte", 0, 0, 1),
                ("uint16", 65536, 65535, 65534), ("int16", np.nan, -32768, -32767),
                ("int32", 1.5, -2147483648, -2147483647)):
            self.write_holes(declared)
            other = np.ones(SHAPE)
            other[32, 1] = no_data - 0.75 * VALUES[32, 1]
            write(self.b, other)
            expected = np.where(HOLES, no_data, np.rint(0.75 * VALUES + 1))
            expected[32, 1] = neighbour
            dataset, report = self.made(self.a, self.b, f"-mode={mode}", "-a=0.75")
            self.assert_result(dataset, expected, no_data)
            self.assertEqual(report["bands"][0]["moved"], 1)
            self.assertNotIn("STATISTICS_MINIMUM", dataset.GetRasterBand(1).GetMetadata())

    def test_kept_as_numbers_on_demand(self):
        dataset, report = self.made(self.a, self.b, "-nodata=keep")
        self.assert_result(dataset, np.where(HOLES, -9998, VALUES + 1), None)
        self.assertEqual(report["bands"][0]["minimum"], -9998)

    def test_is_left_out_of_all_statistics(self):
        file = Path(self.path("report.json"))
        result = self.done(self.a, self.b, self.out, "-mode=int16", "-a=0.75", f"-stats={file}")
        self.assertIn(f", {HOLES.sum()} no data\n", result.stdout)
        self.assertEqual(len(os.listdir(self.folder)), 4)  # nothing beside the report
        exact = 0.75 * VALUES[~HOLES] + 1
        told = {"elements": HOLES.size, "valid": exact.size, "no_data": HOLES.sum(),
                "minimum": exact.min(), "maximum": exact.max(), "mean": exact.mean(),
                "sum": exact.sum()}
        band = json.loads(file.read_text())["bands"][0]
        self.assertEqual({name: band[name] for name in told}, told)
        dataset = gdal.Open(self.out)
        metadata = dataset.GetRasterBand(1).GetMetadata()
        deviation = float(metadata.pop("STATISTICS_STDDEV"))
        self.assertEqual(deviation, band["standard_deviation"])
        self.assertAlmostEqual(deviation, exact.std(), delta=1e-12)
        self.assertEqual(metadata,
                         {"STATISTICS_MINIMUM": f"{np.rint(exact.min()):.0f}",
                          "STATISTICS_MAXIMUM": f"{np.rint(exact.max()):.0f}",
                          "STATISTICS_MEAN": f"{exact.mean()}",
                          "STATISTICS_VALID_PERCENT": f"{100 * np.mean(~HOLES):.4g}"})

        dataset, report = self.made(self.a, self.b, "-a=nan")
        self.assertNotIn("minimum", report["bands"][0])
        self.assertNotIn("STATISTICS_MINIMUM", dataset.GetRasterBand(1).GetMetadata())
        result = self.done(self.a, self.b, self.out, "-a=nan", "-overwrite")
        self.assertEqual(result.stdout, "band 1: all 2000 elements are no data\n")

    def test_report_tells_of_the_run_and_of_the_applications_own_record(self):
        dataset, report = self.made(self.b, self.b, "-a=0.1", "-b=0:1")
        a = np.float32(0.1)
        total = np.cumsum(np.full(HOLES.size, a))[-1]  # one after the other, in single precision
        record = report.pop("bands")[0]["record"]
        self.assertEqual([np.float32(number) for number in record.values()], [a, a, total])
        del report["seconds"]
        self.assertEqual(report, {
            "command": dataset.GetMetadataItem("LUMOMIXCALC_COMMAND"), "output": self.out,
            "format": "GTiff", "mode": "float32", "columns": SHAPE[1], "rows": SHAPE[0]})
