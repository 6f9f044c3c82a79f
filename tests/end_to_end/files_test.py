"""What the program makes of its files and its command line: bands, georeferencing, formats, integer
modes, results in place of inputs, the command that repeats a run, wrong commands.

Usage: files_test.py LUMOMIXCALC
"""

import json
import os
import subprocess
from pathlib import Path

import numpy as np
from osgeo import gdal, osr

import harness
from harness import GEOTRANSFORM, WRONG_COMMAND_LINE, read, write

ROWS, COLUMNS = 6, 9


def ramp(first, bands=1):
    """Bands of distinct small integers: their sums and products are exact."""
    return [first + 100 * band + np.arange(ROWS * COLUMNS, dtype=np.float32).reshape(ROWS, COLUMNS)
            for band in range(bands)]


class FileTest(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        write(self.a, ramp(1)).FlushCache()
        write(self.b, ramp(10)).FlushCache()

    def assert_array(self, path, expected):
        np.testing.assert_array_equal(read(path), np.array(expected))


class Bands(FileTest):
    def test_one_band_goes_with_every_band_of_the_other(self):
        many = self.path("many.tif")
        write(many, ramp(1000, bands=3)).FlushCache()
        for files in ((many, self.b), (self.b, many)):
            result = self.done(*files, self.out, "-operator=a1-b2", "-overwrite")
            first, second = map(read, files)
            self.assert_array(self.out, first - second)
            self.assertEqual(list(harness.statistics(result)), [1, 2, 3])

    def test_inputs_that_do_not_fit_are_refused_with_both_sizes(self):
        for other, size in ((np.zeros((2, ROWS, COLUMNS)), "9 x 6 pixels, 2 bands"),
                            (np.zeros((3, ROWS + 1, COLUMNS)), "9 x 7 pixels, 3 bands")):
            write(self.a, ramp(1, bands=3)).FlushCache()
            write(self.b, list(other)).FlushCache()
            for text in ("9 x 6 pixels, 3 bands", size, self.a, self.b):
                self.refused(text, self.a, self.b, self.out, "-overwrite")
            self.done(self.a, self.b, self.out, "-operator=a1+b", "-overwrite")  # File2 unread


class Georeferencing(FileTest):
    def setUp(self):
        super().setUp()
        self.crs = osr.SpatialReference()
        self.crs.ImportFromEPSG(32632)
        dataset = write(self.a, ramp(1, bands=2))
        dataset.SetGeoTransform(GEOTRANSFORM)
        dataset.SetSpatialRef(self.crs)
        dataset.GetRasterBand(2).SetDescription("near infrared")
        dataset.FlushCache()

    def test_of_the_first_file_read_is_carried(self):
        for arguments in ((self.a, self.b, self.out),
                          (f"-file2={self.a}", self.out, "-operator=a/b2", "-overwrite"),
                          (self.b, self.a, self.out, "-operator=a/b2", "-overwrite")):
            self.done(*arguments)
            result = gdal.Open(self.out)
            self.assertEqual(result.GetGeoTransform(), GEOTRANSFORM)
            self.assertTrue(result.GetSpatialRef().IsSame(self.crs))
            self.assertEqual([result.GetRasterBand(i).GetDescription() for i in (1, 2)],
                             ["", "near infrared"])

    def test_other_places_are_warned_of_and_combined(self):
        moved = write(self.b, ramp(1))
        moved.SetGeoTransform((GEOTRANSFORM[0] + 15, *GEOTRANSFORM[1:]))
        moved.FlushCache()
        result = self.done(self.a, self.b, self.out)
        for text in ("warning", self.a, self.b, "0.5 pixels"):
            self.assertIn(text, result.stderr)
        self.assert_array(self.out, read(self.a) + read(self.b))


class Formats(FileTest):
    def test_extension_or_option_chooses_the_format(self):
        os.mkdir(self.path("of.img"))
        # Text grids turn an image without georeferencing upside down.
        gdal.Open(self.a, gdal.GA_Update).SetGeoTransform(GEOTRANSFORM)
        for name, options, driver in (
                ("r.tif", (), "GTiff"), ("r.img", (), "HFA"), ("r.nc", (), "netCDF"),
                ("r.png", ("-mode=byte",), "PNG"), ("r.asc", (), "AAIGrid"), ("r", (), "GTiff"),
                ("r.raw", ("-format=envi",), "ENVI"), ("r.tif", ("-format=HFA",), "HFA"),
                ("r.IMG", (), "HFA"), (".img", (), "GTiff"), ("of.img/r", (), "GTiff"),
                ("t.tif", ("-co=TILED=YES", "-co=BLOCKXSIZE=16", "-co=BLOCKYSIZE=16"), "GTiff")):
            with self.subTest(name=name, options=options):
                path = self.path(name)
                self.done(self.a, path, "-operator=a1+b", "-overwrite", *options)
                self.assertEqual(gdal.Open(path).GetDriver().ShortName, driver)
                self.assert_array(path, read(self.a) + 1)
                os.remove(path)

    def test_blocks_that_a_tiff_leaves_out_are_zeros(self):
        for options in ((), ("TILED=YES",)):
            gdal.GetDriverByName("GTiff").Create(self.a, COLUMNS, ROWS, 1, gdal.GDT_Float32,
                                                 ["SPARSE_OK=TRUE", *options]).FlushCache()
            self.done(self.a, self.b, self.out, "-overwrite")
            self.assert_array(self.out, read(self.b))

    def test_modes_store_their_types_and_saturate(self):
        values = np.array([[0, -0.5, 0.5, 1.5, 2.5, 0.49999997, -0.6, 255.4, 255.5, -70000, 70000,
                            2147483648, -2147483904, 4294967040, 3e9, -3e9, 5e9, np.inf, -np.inf,
                            np.nan]], np.float32)
        write(self.a, [values]).FlushCache()
        for mode in "byte", "int16", "uint16", "int32", "uint32", "float32", "float64":
            with self.subTest(mode=mode):
                self.done(self.a, self.out, "-operator=a1b", f"-mode={mode}", "-overwrite",
                          f"-stats={self.path('report.json')}")
                expected, counts = values.astype(float), (0, 0, 0)
                if not mode.startswith("float"):
                    limits = np.iinfo(mode.replace("byte", "uint8"))
                    rounded = np.rint(expected)
                    expected = np.nan_to_num(rounded.clip(limits.min, limits.max))
                    counts = int(np.sum((rounded < limits.min) | (rounded > limits.max))), 0, 1
                self.assert_counts(*counts)
                self.assert_array(self.out, [expected])
                dataset = gdal.Open(self.out)
                stored = gdal.GetDataTypeName(dataset.GetRasterBand(1).DataType)
                self.assertEqual(stored.lower(), mode)
                self.assertNotIn("STATISTICS_MINIMUM", dataset.GetRasterBand(1).GetMetadata())

    def test_complex_modes_store_pairs_and_count_each_once(self):
        values = np.array([[40000 - 2.5j, 3.5 - 40000j, 4e4 - 4e4j, 1 + 2j,
                            complex(np.nan, np.nan)]])
        write(self.a, [values], gdal.GDT_CFloat32).FlushCache()
        self.done(self.a, self.out, "-operator=a1b", "-mode=cint16",
                  f"-stats={self.path('report.json')}")
        self.assert_array(self.out, [[[32767 - 2j, 4 - 32768j, 32767 - 32768j, 1 + 2j, 0]]])
        self.assert_counts(3, 0, 1)
        self.done(self.a, self.out, "-operator=a1b", "-overwrite")
        dataset = gdal.Open(self.out)  # statistics of complex pixels would not be of real parts
        self.assertNotIn("STATISTICS_MINIMUM", dataset.GetRasterBand(1).GetMetadata())

    def assert_counts(self, *expected):
        band = json.loads(Path(self.path("report.json")).read_text())["bands"][0]
        self.assertEqual((band["saturated"], band["moved"], band["zeroed"]), expected)


class InPlace(FileTest):
    def test_output_may_be_an_input_by_any_path(self):
        os.symlink(self.a, self.path("symbolic.tif"))
        os.link(self.a, self.path("hard.tif"))
        os.mkdir(self.path("sub"))
        expected = read(self.a)
        for output in (self.a, self.path("symbolic.tif"), self.path("hard.tif"),
                       self.path("sub/.././a.tif"), "a.tif", "./a.tif"):
            with self.subTest(output=output):
                before = read(self.a)
                result = self.done(self.a, self.b, output, "-overwrite", cwd=self.folder)
                self.assert_array(self.path(output), before + read(self.b))
                self.assertEqual(len(harness.statistics(result)), 1)
        self.assertTrue(os.path.islink(self.path("symbolic.tif")))
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["a.tif", "b.tif", "hard.tif", "sub", "symbolic.tif"])

    def test_existing_output_is_refused_without_overwrite(self):
        before = Path(self.b).read_bytes()
        os.symlink(self.b, self.path("link.tif"))
        for output in (self.b, self.path("link.tif")):
            self.refused(output, self.a, output, "-operator=a1+b")
        self.assertEqual(Path(self.b).read_bytes(), before)

    def test_file_beside_a_new_output_is_kept_unless_it_belongs_to_a_file_that_is_gone(self):
        arguments = self.a, self.b, self.path("out.img"), "-format=ENVI"
        Path(self.path("out.hdr")).write_text("old")
        self.refused(self.path("out.hdr"), *arguments)
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "b.tif", "out.hdr"])
        os.remove(self.path("out.hdr"))
        Path(self.path("out.img.aux.xml")).write_text("old")
        self.done(*arguments)
        self.assertNotEqual(Path(self.path("out.img.aux.xml")).read_text(), "old")

    def test_replaced_file_keeps_its_permissions(self):
        os.chmod(self.b, 0o640)
        self.done(self.a, self.b, self.b, "-overwrite")
        self.assertEqual(os.stat(self.b).st_mode & 0o777, 0o640)


class RepeatingCommand(FileTest):
    def test_shell_runs_the_command_to_the_same_result(self):
        names = ("plain.tif", "two words.tif", "it's $HOME;.tif", "-dash.tif", "umlaut-ä.tif")
        numbers = "-a=0.1:-3.0000001", "-b=1e-7", "-operator=a1_conj_b2", "-nodata=keep"
        map_ = gdal.Open(self.a, gdal.GA_Update)
        map_.SetGeoTransform(GEOTRANSFORM)
        map_.GetRasterBand(1).SetNoDataValue(5)
        map_ = None
        left, _, _, top = GEOTRANSFORM[:4]
        settings = (
            ("-mode=cfloat32", "-co=COMPRESS=DEFLATE"), ("-format=HFA", "-clamp"),
            ("-region=1:2:6:4", "-resolution=2", "-resampling=average", "-bands=1,1-1"),
            (f"-window={left + 30}:{top - 120}:{left + 90.5}:{top - 0.1}",), ("-clamp",))
        for name, more in zip(names, settings):
            options = *numbers, *more
            with self.subTest(name=name):
                os.rename(self.path("a.tif"), self.path(name))
                out = f"of {name}"
                self.done(f"-file1={name}", "b.tif", out, *options, cwd=self.folder)
                first = self.values(out)
                command = gdal.Open(self.path(out)).GetMetadataItem("LUMOMIXCALC_COMMAND")
                os.remove(self.path(out))
                path = f"{os.path.dirname(harness.PROGRAM)}:{os.environ['PATH']}"
                subprocess.run(["sh", "-c", command], check=True, cwd=self.folder,
                               env={**os.environ, "PATH": path}, stdout=subprocess.DEVNULL)
                self.assertEqual(self.values(out), first)
                os.rename(self.path(name), self.path("a.tif"))

    def values(self, name):
        dataset = gdal.Open(self.path(name))
        return (dataset.ReadAsArray().tobytes(), dataset.GetMetadata(),
                dataset.GetMetadata("IMAGE_STRUCTURE"))


class CommandLines(FileTest):
    def test_wrong_ones_are_told_in_one_sentence(self):
        a, b, out = self.a, self.b, self.out
        write(self.path("complex.tif"), [np.zeros((ROWS, COLUMNS))], gdal.GDT_CFloat32).FlushCache()
        wrong = (
            ((), "no output file"),
            ((a,), a),
            ((f"-save={out}",), "no input file"),
            ((f"-file1={a}",), "no output file"),
            (("-file1", out), "-file1"),
            (("-file1=", out), "-file1="),
            ((f"-file1={a}", f"-file2={b}", "c.tif", out), "c.tif is left over"),
            (("-panel", a, b, out, "d.tif"), f"{out} is left over"),
            ((a, b, out, "d.tif"), f"{out} is left over"),
            ((a, out, f"-file1={b}", f"-file1={a}"), f"-file1={a}"),
            ((a, b, ""), "file name is empty"),
            ((a, b, out, "-mode=float16"), "-mode=float16"),
            ((a, b, out, "-mode=complex"), "cfloat32"),
            ((a, b, out, "-mode="), "-mode="),
            ((a, b, out, "-mode"), "-mode"),
            ((a, b, out, "-MODE=byte"), "-MODE=byte"),
            ((a, b, out, "-format=NONE"), "-format=NONE"),
            ((a, b, out, "-format=VRT"), "-format=VRT"),
            ((a, b, out, "-format=HDF5"), "-format=HDF5"),
            ((a, b, self.path("out.vrt")), "out.vrt"),
            ((a, b, out, "-co=TILED"), "-co=TILED"),
            ((a, b, out, "-co==YES"), "-co==YES"),
            ((a, b, out, "-co=NOTHING=YES"), "NOTHING"),
            ((a, b, out, "-co=COMPRESS=FOO"), "FOO"),
            ((a, b, out, "-overwrite=yes"), "-overwrite=yes"),
            ((a, b, out, "-a=1:"), "-a requires one or two real-valued arguments"),
            ((a, b, out, "-b=1e999"), "-b requires"),
            ((a, b, out, "-operator=A1+B2"), "Unrecognized operator A1+B2"),
            ((a, b, out, "-operator="), "Unrecognized operator"),
            ((a, b, out, "-clamp=1"), "Unrecognized option -clamp=1"),
            ((a, b, out, "-"), "Unrecognized option -"),
            ((a, b, out, "--unknown"), "Unrecognized option --unknown"),
        )
        for arguments, named in wrong:
            with self.subTest(arguments=arguments):
                self.refused(named, *arguments, status=WRONG_COMMAND_LINE)
        self.assertFalse(os.path.exists(out))

    def test_what_cannot_be_done_is_told_in_one_sentence(self):
        a, b, out = self.a, self.b, self.out
        Path(self.path("text.tif")).write_text("no raster")
        cannot = (
            ((a, out), "Operation requires File2, but it does not exist."),
            ((a, out, "-operator=a/b2"), "Operation requires File2, but it does not exist."),
            ((f"-file2={a}", out), "Operation requires File1, but it does not exist."),
            ((self.path("missing.tif"), b, out), self.path("missing.tif")),
            ((a, self.path("text.tif"), out), self.path("text.tif")),
            ((self.folder, b, out), self.folder),
            ((a, b, self.folder), self.folder),
            ((a, b, f"{self.folder}/"), self.folder),
            ((a, b, self.path("none/out.tif")), self.path("none")),
            ((a, b, f"{b}/out.tif"), b),
            ((a, b, "/vsimem/out.tif"), "/vsimem/out.tif"),
            ((a, b, "/dev/full", "-overwrite"), "/dev/full"),
            ((a, b, self.path("out.png")), "PNG cannot hold float32"),
            ((a, b, self.path("out.asc"), "-mode=cfloat32"), "cfloat32"),
            ((a, b, self.path("x" * 300 + ".tif")), "xxx"),
        )
        for arguments, named in cannot:
            with self.subTest(arguments=arguments):
                self.refused(named, *arguments)
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "b.tif", "text.tif"])

    def test_help_and_version_go_to_standard_output(self):
        for arguments, text in ((("-help",), "FILE1 [FILE2] SAVE"), (("-help",), "-operator=op"), (("--help", "-mode=byte"), "-mode="),
                                (("--version",), "lumomixcalc ")):
            result = self.done(*arguments)
            self.assertIn(text, result.stdout)
            self.assertEqual(result.stderr, "")

    def test_quiet_prints_nothing(self):
        result = self.done(self.a, self.b, self.out, "-quiet")
        self.assertEqual((result.stdout, result.stderr), ("", ""))

    def test_after_two_dashes_all_are_files(self):
        os.rename(self.a, self.path("-clamp"))
        self.done("-operator=a1+b", "--", "-clamp", "-quiet", cwd=self.folder)
        self.assert_array(self.path("-quiet"), read(self.path("-clamp")) + 1)

    def test_standard_output_that_cannot_be_written_is_a_failure(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run([harness.PROGRAM, self.a, self.b, self.out], stdout=full,
                                    stderr=subprocess.PIPE, text=True)
        self.assertEqual(result.returncode, harness.GIVEN_UP)
        self.assert_one_sentence(result.stderr, "standard output")


if __name__ == "__main__":
    harness.main()
