# What a run makes of values beside the arithmetic: no data, the mode without -mode=, losses and
# their warnings, integer modes, and what is told of a run: the printed line, the bands' metadata
# and the report that -stats= writes.

import json
import math
import os
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import equal, read, write

SHAPE = 40, 50
HOLES = np.add.outer(np.arange(SHAPE[0]), np.arange(SHAPE[1])) % 7 == 0
HOLES[20:] = False  # many numbers in a row without one
VALUES = np.arange(np.prod(SHAPE)).reshape(SHAPE) % 200 + 1.0
REAL = np.random.default_rng(5).normal(2, 1, SHAPE).astype(np.float32)
COMPLEX = REAL + 1j * REAL.T.reshape(SHAPE)
NAN = np.nan
COPY, ADD = "-operator=a1b", "-operator=a1+b"


def scale(dataset, factor, offset):
    for i in range(dataset.RasterCount):
        dataset.GetRasterBand(i + 1).SetScale(factor)
        dataset.GetRasterBand(i + 1).SetOffset(offset)


class NoData(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.write_holes(-9999)
        write(self.b, np.ones(SHAPE))

    def write_holes(self, no_data, type="Float32"):
        write(self.a, np.where(HOLES, no_data, VALUES), type=type, noData=no_data)

    def assert_result(self, dataset, expected, no_data):
        equal(dataset.ReadAsArray(), expected)
        np.testing.assert_equal(dataset.GetRasterBand(1).GetNoDataValue(), no_data)

    def test_becomes_nan_in_either_input(self):
        most_negative = float(np.finfo(np.float32).min)
        for number, (type, no_data) in enumerate((
                ("Int16", -9999), ("Byte", 255), ("Float32", most_negative), ("Float32", 0.1),
                ("Float64", 1e300), ("Float64", -1e300), ("Int32", -2147483648), ("Int64", -7),
                ("UInt64", 777), ("Float32", 0))):
            self.write_holes(no_data, type)
            files = (self.a, self.b)[::-1 if number % 2 else 1]
            self.assert_result(self.made(*files)[0], np.where(HOLES, NAN, VALUES + 1), NAN)

    def test_is_what_an_option_names(self):
        write(self.a, [[-9999, 7, 1]], noData=-9999)
        for options, expected, no_data in (
                (("-nodata=keep", "-a_nodata=7"), [[-9999, 7, 1]], 7),
                (("-nodata=1", "-a_nodata=0.1"), [[-9999, 7, np.float32(0.1)]], np.float32(0.1))):
            dataset, report = self.made(self.a, COPY, *options)
            self.assert_result(dataset, expected, no_data)
            taken = "-a_nodata=7" in options
            self.assertEqual(report["bands"][0]["taken"], int(taken))
            self.assertNotEqual("STATISTICS_MEAN" in dataset.GetRasterBand(1).GetMetadata(), taken)
        for told, value in (f"{self.a} (File1) declares the no-data value -9999, which is a", 7), ("", -9999):
            self.warned(told, self.a, COPY, f"-nodata={value}")
        self.assertEqual(len(self.made(self.a, self.a, "-nodata=7")[1]["warnings"]), 2)
        for number, mode, holder in ((300, "byte", "byte"), (1e-50, "float64", "single precision")):
            option = f"-a_nodata={number}"
            self.refused(f"{option}: {holder} cannot hold it", self.a, self.path("o.tif"), COPY,
                         f"-mode={mode}", option)
        largest = float(np.finfo(np.float32).max)
        for type in ("Float32", "Float64"):  # the shortest text lies beyond the largest float
            write(self.a, [[largest, -largest, 3.4028235e38 if type == "Float64" else 1]], type=type)
            equal(self.result(self.a, COPY, "-nodata=-3.4028235e38"),
                  [[largest, NAN, largest if type == "Float64" else 1]])
        write(self.a, [[1 + 1j, 7, 7j, 7 + 7j, 7 + 1j]])
        equal(self.result(self.a, COPY, "-nodata=7", "-a_nodata=3"),
              [[1 + 1j, 3 + 3j, 7j, 3 + 3j, 7 + 1j]])
        equal(self.result(self.a, COPY, "-nodata=7").imag, [[1, NAN, 7, NAN, 1]])
        taken = self.made(self.a, COPY, "-nodata=keep", "-a_nodata=7")[1]["bands"][0]["taken"]
        self.assertEqual(taken, 2)
        write(self.a, [[np.inf + 0j]])  # the product of which has a NaN imaginary part alone
        equal(self.result(self.a, "-operator=conj_a1", "-nodata=keep", "-a_nodata=3"), [[3 + 3j]])
        write(self.a, [[NAN, 1]])
        equal(self.result(self.a, "-operator=a_phase_1", "-nodata=keep"), [[0, 0]])
        grid = self.path("o.asc")
        self.done(self.b, grid, COPY, "-nodata=1")
        self.assertEqual(Path(grid).read_text().count("-9999"), 1 + HOLES.size)
        self.done(self.b, grid, COPY, "-nodata=1", "-mode=byte", "-overwrite")
        equal(read(grid), np.ones(SHAPE))

    def test_is_what_an_alpha_band_leaves_out(self):
        expected = np.where(HOLES, NAN, VALUES)
        for type, opaque in ("UInt16", 255), ("Float32", 0.25):
            shown = np.where(HOLES, 0, opaque)
            write(self.a, [VALUES, shown], "ALPHA=YES", type=type, noData=65535)
            self.assert_result(self.made(self.a, COPY, "-bands=1")[0], expected, NAN)
            equal(self.result(self.a, COPY, "-bands=1", "-nodata=keep"), VALUES)
        equal(self.result(self.a, COPY, "-bands=2"), shown)
        gdal.Open(self.a, gdal.GA_Update).BuildOverviews("NEAREST", [2])
        coarse, alpha = gdal.OpenEx(self.a, open_options=["OVERVIEW_LEVEL=0"]).ReadAsArray()
        equal(self.result(self.a, COPY, "-bands=1", "-resolution=2", "-resampling=overview"),
              np.where(alpha == 0, NAN, coarse))
        write(self.a, [VALUES] * 3 + [shown], "PHOTOMETRIC=MINISBLACK", type="Byte")  # no alpha band
        result, _ = self.made(self.a, COPY, "-mode=byte")
        self.assertEqual(result.GetRasterBand(1).GetMaskFlags(), gdal.GMF_ALL_VALID)

    def test_is_left_out_of_all_statistics(self):
        file = Path(self.path("report.json"))
        result = self.done(self.a, self.b, self.out, "-mode=int16", "-a=0.75", f"-stats={file}")
        self.assertIn(f", {HOLES.sum()} no data\n", result.stdout)
        self.assertEqual(len(os.listdir(self.folder)), 4)  # nothing beside the report
        for a, told in (("nan", None), ("inf", "inf")):
            dataset, report = self.made(self.a, self.b, f"-a={a}")
            for name in ("minimum", "sum", "mean"):
                self.assertEqual(report["bands"][0].get(name), told)
            self.assertEqual(dataset.GetRasterBand(1).GetMetadata(), {})
        for shape, count in ((SHAPE, "2000 elements"), ((1, 1), "1 element")):
            write(self.b, np.ones(shape))
            result = self.done(self.b, self.out, COPY, "-a=nan", "-overwrite")
            self.assertEqual(result.stdout, f"band 1: {count}, all no data\n")


class Results(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        write(self.a, REAL)
        write(self.b, COMPLEX)

    def test_the_mode_is_complex_when_an_input_that_is_read_is(self):
        mixed, whole = self.path("mixed.vrt"), "-operator=a1+b"
        gdal.BuildVRT(mixed, [self.a, self.b], separate=True)
        for mode, *arguments in (("cfloat32", self.a, self.b), ("cfloat32", mixed, whole),
                                 ("cfloat32", mixed, whole, "-bands=2"),
                                 ("float32", self.b, self.a, "-operator=a/b2"),
                                 ("float32", self.a, self.b, whole)):
            dataset, report = self.made(*arguments)
            self.assertEqual(report["mode"], mode, arguments)
            if mode == "cfloat32":
                band = dataset.GetRasterBand(dataset.RasterCount)
                self.assertTrue((band.ReadAsArray().imag != 0).all())
                self.assertEqual(band.GetMetadata(), {})

    def test_losses_are_warned_of_once(self):
        last, first = self.path("last.tif"), self.path("first.tif")
        write(last, [[1], [1], [-1]])  # the logarithm of a negative number is complex
        write(first, np.pad([[1j]], (0, 3000)).astype(np.complex64))
        small = self.path("small.tif")
        write(small, np.complex64([[1e6 + 1j]]))
        for told, *arguments in (
                ("have imaginary parts", self.b, "-operator=conj_a1", "-mode=int16"),
                ("have imaginary parts", self.a, COPY, "-b=0:1"),
                ("have imaginary parts", last, "-operator=a_ln_1+b", "-b=0"),
                ("", self.a, "-operator=1+b_pow_a", "-a=2", "-b=-2"),
                ("have imaginary parts", small, COPY, "-mode=float32"),
                ("all imaginary parts are zero", self.b, "-operator=abs_a1"),
                ("results have single precision", self.a, COPY, "-mode=float64"),
                ("2000 elements beyond the range of byte, saturated", self.a, COPY, "-mode=byte",
                 "-b=inf"),
                ("2000 elements stored as 0: NaN, which byte cannot hold", self.a, COPY,
                 "-mode=byte", "-b=nan"),
                ("band 1: 2000 elements moved by one", self.a, ADD, "-a=0", "-b=9", "-mode=byte", "-nodata=9"),
                ("2000 elements equal to the number", self.a, ADD, "-a=0", "-b=9", "-a_nodata=9"),
                ("a complex output is not clamped", self.b, COPY, "-clamp"),
                ("the resampling method has no effect", self.a, COPY, "-resampling=cubic"),
                ("", first, COPY), ("", self.b, COPY, "-a=nan"),
                ("does not support open option NO", self.a, self.a, "-oo=NO=1"),
                ("without -b= B is 1", self.b, "-operator=1+b_pow_a"),
                ("-operator=abs_a1 does not read FILE2; none.tif is not used", self.a, "none.tif",
                 "-operator=abs_a1"),
                ("", self.b, "-operator=abs_a1", "-mode=float32"),
                ("", self.a, COPY, "-mode=cfloat32"), ("", self.b, COPY),
                ("", self.a, COPY, "-nodata=7", "-format=HFA"), ("", self.a, COPY)):
            self.warned(told, *arguments)
        digits = f"{self.a} (File2) are held in single precision: " + "{} is taken as {}"
        for value, type, told in (
                (16777217, "Int32", digits.format(16777217, 16777216)),
                (0.1, "Float64", digits.format(0.1, 0.10000000149011612)),
                (2**53 + 1, "Int64", digits.format(2**53 + 1, 9007199254740992)),
                (2**53 + 1, "UInt64", digits.format(2**53 + 1, 9007199254740992)),
                (3e9, "UInt32", ""), (2**62, "Int64", ""), (-2**31, "Int32", ""),
                (2.0**63 + 2**40, "UInt64", ""),
                (1 + 16777217j, "CInt32", digits.format(16777217, 16777216)),
                (3, "Int16", "scale 0.5 and offset 2 of"),
                (16777216, "Int32", ""), (0.5, "Float64", ""), (1e300, "Float64", "")):
            # Of several strips, which take longer, one is enough.
            image = np.full((2, 300, 900) if value == 0.1 else (2, 3, 9), value)
            write(last, np.ones(image.shape[1:]))
            write(self.a, image, type=type,
                  change=lambda dataset: scale(dataset, 0.5, 2) if value == 3 else None,
                  noData=1e300 if value == 1e300 else None)
            self.warned(told, last, self.a)
        several_strips = np.ones((2, 100, 9000), np.float32)
        several_strips[1, 40:80] = -1
        write(self.a, several_strips)
        self.warned("have imaginary parts", self.a, "-operator=a_ln_1+b", "-b=0", "-bands=1,2")

    def test_integer_modes_round_saturate_and_keep_one_value_for_no_data(self):
        edges = (0, -0.5, 0.5, 1.5, 2.5, 0.49999997, -0.6, 255.4, 255.5, -70000, 70000, 2147483648,
                 -2147483904, 4294967040, 3e9, -3e9, 5e9, np.inf, -np.inf, NAN)
        # Far from each other: numbers are stored many at a time where all can be.
        values = np.arange(256 * len(edges) + 256, dtype=np.float32) % 256 / 4
        values[13:-256:256] = edges
        values[-256:] *= 2**25  # the largest that uint32 holds
        finite = values[np.isfinite(values)]
        pairs = np.append(finite + 1j * finite[::-1], complex(NAN, NAN)).astype(np.complex64)
        for mode, declared, no_data in (
                *((mode, None, None) for mode in ("byte", "int16", "uint16", "int32", "uint32",
                                                  "float32", "float64", "cint16", "cfloat32")),
                ("int16", -9999, -9999), ("byte", -9999, 255), ("byte", 0, 0), ("cint16", 5, 5),
                ("uint16", 65536, 65535), ("int16", NAN, -32768), ("int32", 1.5, -2147483648),
                ("cint16", 0, 0), ("cint16", -3, -3)):
            source = (pairs if mode.startswith("c") else values).copy()
            if no_data is not None:
                source[40:900:256], source[50:900:256] = no_data / 2, (no_data + 0.75) / 2
                source[60:900:256] *= 0
            if mode == "cint16" and no_data:
                source[70:900:256] = no_data / 2 * (1 + 1j)
            write(self.a, [source], noData=declared)
            dataset, report = self.made(self.a, COPY, "-a=2", f"-mode={mode}")
            band = dataset.GetRasterBand(1)
            self.assertEqual(gdal.GetDataTypeName(band.DataType).lower(), mode)
            # The parts of an element in a row, which count as one.
            stored = dataset.ReadAsArray()[0]
            stored = stored.view(stored.real.dtype).reshape(source.size, -1)
            expected = np.where(source == declared, NAN, 2 * source).astype(source.dtype)
            expected = expected.view(np.float32).astype(float).reshape(stored.shape)
            counts = dict.fromkeys(("saturated", "zeroed", "moved"), 0)
            if "float" not in mode:
                limits = np.iinfo(mode.removeprefix("c").replace("byte", "uint8"))
                missing = np.isnan(expected).any(axis=1)
                rounded = np.rint(expected)
                expected = rounded.clip(limits.min, limits.max)
                beyond = (expected != rounded) & ~np.isnan(rounded)
                moved = np.zeros_like(missing)
                if no_data is None:
                    counts["zeroed"] = missing.sum()
                else:
                    expected[missing], beyond[missing] = no_data, False
                    moved = ~missing & (expected[:, 0] == no_data) & (
                        (expected[:, -1] == no_data) | (mode == "cint16") & (expected[:, -1] == 0))
                    expected[moved, 0] += -1 if no_data > 0 else 1
                counts.update(saturated=beyond.any(axis=1).sum(), moved=moved.sum())
            equal(stored, np.nan_to_num(expected) if "float" not in mode else expected)
            self.assertLessEqual(counts.items(), report["bands"][0].items(), mode)
            self.assertNotIn("STATISTICS_MINIMUM", band.GetMetadata())
            np.testing.assert_equal(band.GetNoDataValue(), no_data)

    def test_sums_of_rows_are_exact_and_the_deviation_is_that_of_a_large_mean(self):
        half = [[1e30], [1], [2**-53], [2**-120], [-1e30]]  # 2^-120 decides how 1 is rounded
        for values in (np.random.default_rng(6).normal(1e6, 0.1, (300, 70)), half,
                       half + [[-2**-119]]):
            values = np.float32(values)
            write(self.a, values)
            band = self.made(self.a, COPY)[1]["bands"][0]
            exact = values.astype(float).ravel()
            self.assertEqual(band["sum"], math.fsum(exact))
            np.testing.assert_allclose(band["standard_deviation"], np.std(exact - 1e6), rtol=1e-11)
        write(self.a, [[np.inf], [-np.inf]])
        self.assertEqual(self.made(self.a, COPY)[1]["bands"][0]["sum"], "nan")

    def test_report_tells_of_the_run_and_of_the_applications_own_record(self):
        write(self.a, np.ones(SHAPE))
        dataset, report = self.made(self.a, self.a, "-a=0.1", "-b=0:1")
        a = np.float32(0.1)
        total = np.cumsum(np.full(HOLES.size, a))[-1]  # one after the other, in single precision
        record = report.pop("bands")[0]["record"]
        self.assertEqual([np.float32(number) for number in record.values()], [a, a, total])
        del report["seconds"]
        self.assertEqual(report, {
            "command": dataset.GetMetadataItem("LUMOMIXCALC_COMMAND"), "output": self.out,
            "format": "GTiff", "mode": "float32", "columns": SHAPE[1], "rows": SHAPE[0],
            "looks": [1, 1], "warnings": [
                "results have imaginary parts, which float32 leaves out; -mode=cfloat32 keeps them"]})

    def test_the_statistics_file_replaces_nothing_that_it_must_not(self):
        write(self.a, REAL, format="ENVI")
        report = Path(self.path("report.json"))
        report.write_text("old")
        Path(self.path("report.wld")).touch()  # the world file of another image
        os.symlink(self.a, self.path("link"))
        run = self.a, self.out, COPY
        for name, *options in (("a.tif", "-overwrite"), ("a.hdr", "-overwrite"), ("a.hdr",),
                               ("link", "-overwrite"), ("out.tif", "-overwrite"), ("no/r.json",)):
            self.refused(name, *run, f"-stats={self.path(name)}", *options)
        self.refused(f"lumomixcalc: {report} exists already", *run, f"-stats={report}")  # not "the output"
        # By a link: a program that put a file in its place must not take the machine's device.
        os.symlink("/dev/full", self.path("full"))
        with open("/dev/full", "w") as full:
            self.refused("statistics file", *run, f"-stats={self.path('full')}")
            self.refused("statistics to standard output", *run, "-stats=-", stdout=full)
            piped = self.done(*run, "-quiet", "-stats=/dev/stdout").stdout
            self.refused("standard output", *run, "-overwrite", stdout=full)
        reader, unread = os.pipe()
        os.close(reader)
        self.refused("standard output", *run, "-overwrite", stdout=unread)
        self.assertEqual(harness.run("-help", stdout=unread).stderr, "")  # as in "-help | head"
        os.close(unread)
        self.assertEqual(json.loads(piped)["output"], self.out)
        with open(self.path("all.json"), "w") as whole:  # is added to, never replaced
            for name in "/dev/stdout", "-", "/dev/fd/1":
                self.done(*run, "-quiet", "-overwrite", f"-stats={name}", stdout=whole)
        self.assertEqual(Path(self.path("all.json")).read_text().count('"command"'), 3)
        out = os.fsencode(self.path("")) + b"\xe4.tif"
        self.done(self.a, out, COPY, f"-stats={report}", "-overwrite")
        self.assertTrue(os.path.exists(self.path("report.wld")))
        self.assertEqual(json.loads(report.read_text("utf-8"))["output"], self.path("\xe4.tif"))
