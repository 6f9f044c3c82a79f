"""What the program makes of its files and its command line: bands, georeferencing, formats, integer
modes, results in place of inputs, the command that repeats a run, wrong commands.
"""

import os
import stat
import struct
import subprocess
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import GEOTRANSFORM, WRONG_COMMAND_LINE, bounds, read, write

ROWS, COLUMNS = 6, 9
RAMP = np.arange(3 * ROWS * COLUMNS, dtype=np.float32).reshape(3, ROWS, COLUMNS)  # sums are exact


class FileTest(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        write(self.a, RAMP[0], **bounds(COLUMNS, ROWS))
        write(self.b, RAMP[1])

    def assert_array(self, path, expected):
        np.testing.assert_array_equal(read(path), expected)


class Bands(FileTest):
    def test_one_band_goes_with_every_band_of_the_other(self):
        many = self.path("many.tif")
        write(many, RAMP)
        for first, second in ((many, self.b), (self.b, many)):
            dataset, _ = self.made(first, second, "-operator=a1-b2")
            np.testing.assert_array_equal(dataset.ReadAsArray(), read(first) - read(second))

    def test_inputs_that_do_not_fit_are_refused_with_both_sizes(self):
        write(self.a, RAMP)
        for other, size in ((RAMP[:2], "9 x 6 pixels, 2 bands"),
                            (RAMP[:, 1:], "9 x 5 pixels, 3 bands"),
                            (RAMP[0, :, 1:], "8 x 6 pixels, 1 band")):
            write(self.b, other)
            self.refused(f"{self.a} (File1) has 9 x 6 pixels, 3 bands, {self.b} (File2) has {size}",
                         self.a, self.b, self.out)
        self.done(self.a, self.b, self.out, "-operator=a1+b")  # which does not read File2


class Georeferencing(FileTest):
    def test_of_the_first_file_read_is_carried(self):
        dataset = write(self.a, RAMP[:2], outputSRS="EPSG:32632", **bounds(COLUMNS, ROWS))
        crs = dataset.GetSpatialRef()
        dataset.GetRasterBand(2).SetDescription("near infrared")
        dataset = None
        for arguments in ((self.a, self.b), (f"-file2={self.a}", "-operator=a/b2"),
                          (self.b, self.a, "-operator=a/b2")):
            result, _ = self.made(*arguments)
            self.assertEqual(result.GetGeoTransform(), GEOTRANSFORM)
            self.assertTrue(result.GetSpatialRef().IsSame(crs))
            self.assertEqual([result.GetRasterBand(i).GetDescription() for i in (1, 2)],
                             ["", "near infrared"])

    def test_other_places_are_warned_of_and_combined(self):
        write(self.b, RAMP[1], **bounds(COLUMNS, ROWS, x=15))
        stderr = self.done(self.a, self.b, self.out).stderr
        self.assertRegex(stderr, f"warning: .*{self.a}.*{self.b}.* 0.5 pixels")
        self.assert_array(self.out, RAMP[0] + RAMP[1])


class Formats(FileTest):
    def test_extension_or_option_chooses_the_format(self):
        for name, driver, *options in (
                ("r.tif", "GTiff"), ("r.img", "HFA"), ("r.nc", "netCDF"), ("r.asc", "AAIGrid"),
                ("r.png", "PNG", "-mode=byte"), ("r.raw", "ENVI", "-format=envi"),
                ("s.tif", "HFA", "-format=HFA"), ("s.IMG", "HFA"), ("r", "GTiff"),
                ("t.tif", "GTiff", "-co=TILED=YES")):
            self.done(self.a, self.path(name), "-operator=a1+b", *options)
            self.assertEqual(gdal.Open(self.path(name)).GetDriver().ShortName, driver)
            self.assert_array(self.path(name), RAMP[0] + 1)
        self.assertNotEqual(gdal.Open(self.path("t.tif")).GetRasterBand(1).GetBlockSize(),
                            gdal.Open(self.path("r.tif")).GetRasterBand(1).GetBlockSize())

    def test_blocks_that_a_tiff_leaves_out_are_zeros(self):
        write(self.a, np.zeros((ROWS, COLUMNS), np.float32), creationOptions=["SPARSE_OK=TRUE"])
        self.done(self.a, self.b, self.out)
        self.assert_array(self.out, RAMP[1])

    def test_signed_bytes_are_read_with_their_signs(self):
        write(self.a, np.uint8([[127, 128, 255]]), creationOptions=["PIXELTYPE=SIGNEDBYTE"])
        self.done(self.a, self.out, "-operator=a1b")
        self.assert_array(self.out, [[127, -128, -1]])

    def test_modes_store_their_types_and_saturate(self):
        edges = (0, -0.5, 0.5, 1.5, 2.5, 0.49999997, -0.6, 255.4, 255.5, -70000, 70000, 2147483648,
                 -2147483904, 4294967040, 3e9, -3e9, 5e9, np.inf, -np.inf, np.nan)
        # Far from each other: numbers are stored many at a time where all can be.
        values = np.arange(256 * len(edges), dtype=np.float32) % 256 / 4
        values[13::256] = edges
        finite = values[np.isfinite(values)]
        pairs = np.append(finite + 1j * finite[::-1], complex(np.nan, np.nan))
        for mode in ("byte", "int16", "uint16", "int32", "uint32", "float32", "float64", "cint16",
                     "cfloat32"):
            pixels = pairs.astype(np.complex64) if mode.startswith("c") else values
            write(self.a, pixels[np.newaxis])
            dataset, report = self.made(self.a, "-operator=a1b", f"-mode={mode}")
            band = dataset.GetRasterBand(1)
            self.assertEqual(gdal.GetDataTypeName(band.DataType).lower(), mode)
            self.assertNotIn("STATISTICS_MINIMUM", band.GetMetadata())
            stored = dataset.ReadAsArray()[0]
            # The parts of an element in a row, which count as one.
            stored = stored.view(stored.real.dtype).reshape(pixels.size, -1)
            expected = pixels.view(np.float32).astype(float).reshape(stored.shape)
            counts = 0, 0
            if "float" not in mode:
                limits = np.iinfo(mode.removeprefix("c").replace("byte", "uint8"))
                rounded = np.rint(expected)
                beyond = (rounded < limits.min) | (rounded > limits.max)
                counts = beyond.any(axis=1).sum(), np.isnan(rounded).any(axis=1).sum()
                expected = np.nan_to_num(rounded.clip(limits.min, limits.max))
            np.testing.assert_array_equal(stored, expected)
            self.assertEqual((report["bands"][0]["saturated"], report["bands"][0]["zeroed"]),
                             counts)


class InPlace(FileTest):
    def test_output_may_be_an_input_by_any_path_and_keeps_its_permissions(self):
        os.chmod(self.a, 0o640)
        os.symlink(self.a, self.path("symbolic.tif"))
        os.link(self.a, self.path("hard.tif"))
        os.mkdir(self.path("sub"))
        for output in (self.a, self.path("symbolic.tif"), self.path("hard.tif"),
                       self.path("sub/.././a.tif"), "a.tif", "./a.tif"):
            expected = read(self.a) + RAMP[1]
            self.done(self.a, self.b, output, "-overwrite", cwd=self.folder)
            self.assert_array(self.path(output), expected)
        self.assertEqual(os.stat(self.a).st_mode & 0o777, 0o640)
        self.assertTrue(os.path.islink(self.path("symbolic.tif")))
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["a.tif", "b.tif", "hard.tif", "sub", "symbolic.tif"])

    def test_files_beside_an_output_are_neither_replaced_nor_read_with_it(self):
        """Without -overwrite they are refused; with it they go, but for those of an input."""
        complex_ = self.path("x.slc")
        write(complex_, RAMP[0] * 1j, format="ENVI")
        header = Path(self.path("x.hdr")).read_bytes()
        notes = Path(self.path(".lumomixcalc-notes"))
        notes.mkdir()
        gdal.Translate(self.path("over.tif"), self.a)
        gdal.Open(self.path("over.tif")).BuildOverviews("NEAREST", [2])
        over = Path(self.path("over.tif.ovr")).read_bytes()
        for out, beside, contents, *options in (
                ("out.img", "out.hdr", b"old", "-format=ENVI"),
                ("out.img", "out.img.aux.xml", b"<PAMDataset/>", "-format=ENVI"),
                ("out.img", "out.img.ovr", over, "-format=ENVI"),
                ("out.img", "out.img.hdr", b"old", "-format=ENVI"),
                ("out.tif", "out.tfw", b"1\n0\n0\n-1\n5\n5\n"),
                ("out.tif", "out.tif.msk", Path(self.a).read_bytes())):
            arguments = self.b, self.path(out), "-operator=a1b", *options
            file = Path(self.path(beside))
            file.write_bytes(contents)
            self.refused(beside, *arguments)
            self.assertEqual(file.read_bytes(), contents)
            self.assertFalse(os.path.exists(self.path(out)))
            self.done(*arguments, "-overwrite")
            self.assertFalse(file.exists() and file.read_bytes() == contents)
            for made in Path(self.folder).glob("out.*"):
                made.unlink()
        self.refused("x.hdr belongs to the input", complex_, self.path("x.mag"), "-format=ENVI",
                     "-operator=abs_a1", "-overwrite")
        self.assertEqual(Path(self.path("x.hdr")).read_bytes(), header)
        self.assertTrue(notes.exists())

    def test_output_of_several_files_that_cannot_be_published_leaves_the_old_one(self):
        out = self.path("out.img")
        self.done(self.a, out, "-format=ENVI", "-operator=a1b")
        before = {file.name: file.read_bytes() for file in Path(self.folder).glob("out.*")}
        subprocess.run(["chattr", "+i", out], check=False, stderr=subprocess.DEVNULL)
        self.addCleanup(subprocess.run, ["chattr", "-i", out], stderr=subprocess.DEVNULL)
        if subprocess.run(["lsattr", out], capture_output=True, text=True).stdout[4:5] != "i":
            self.skipTest("the file system has no immutable files")
        self.refused("out.img", self.b, out, "-format=ENVI", "-operator=a1b", "-overwrite")
        after = {file.name: file.read_bytes() for file in Path(self.folder).glob("out.*")}
        self.assertEqual(after, before)

    def test_replaced_file_shares_its_contents_with_nobody_else(self):
        """Neither by a list that the folder passes on nor without the list that it had."""
        def access_list(named, mask):  # version; owner, user 1, group, mask, others
            entries = (1, 6, -1), (2, named, 1), (4, 4, -1), (16, mask, -1), (32, 0, -1)
            return struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
        self.done(self.a, self.out, "-operator=a1b")
        os.chmod(self.out, 0o6640)
        try:
            os.setxattr(self.folder, "system.posix_acl_default", access_list(6, 6))
        except OSError:
            self.skipTest("the file system has no access control lists")
        self.done(self.a, self.out, "-operator=a1b", "-overwrite")
        self.assertNotIn("system.posix_acl_access", os.listxattr(self.out))
        self.assertEqual(stat.S_IMODE(os.stat(self.out).st_mode), 0o640)
        os.setxattr(self.out, "system.posix_acl_access", access_list(0, 4))
        self.done(self.a, self.out, "-operator=a1b", "-overwrite")
        self.assertEqual(os.getxattr(self.out, "system.posix_acl_access"), access_list(0, 4))

    def test_links_are_followed(self):
        os.symlink("new.tif", self.out)
        self.done(self.a, self.out, "-operator=a1b")
        self.assertTrue(os.path.islink(self.out) and not os.path.islink(self.path("new.tif")))
        os.symlink("loop", self.path("loop"))
        self.refused("loop of symbolic links", self.a, self.path("loop"), "-operator=a1b")

    def test_temporary_names_and_changed_values_are_told_of(self):
        for out, *options in (("o.nc",), ("o.img", "-format=ENVI"), ("o.pix", "-format=PCIDSK")):
            self.done(self.a, self.path(out), "-operator=a1b", *options)
        for file in Path(self.folder).glob("o.*"):
            self.assertNotIn(b".lumomixcalc-", file.read_bytes(), file)
        write(self.a, np.float32([[0.1234567, 2], [3, 4]]))
        result = self.done(self.a, self.path("o.asc"), "-operator=a1b", "-a=0.1",
                           "-co=DECIMAL_PRECISION=2")
        self.assertRegex(result.stderr, "warning: the format AAIGrid .* 4 values? changed|0.01")
        np.testing.assert_allclose(read(self.path("o.asc")), [[0.01, 0.2], [0.3, 0.4]], atol=1e-6)


class RepeatingCommand(FileTest):
    def test_shell_runs_the_command_to_the_same_file(self):
        left, _, _, top = GEOTRANSFORM[:4]
        numbers = "-a=0.1:-3.0000001", "-b=1e-7", "-operator=a1_conj_b2", "-nodata=keep"
        path = f"{os.path.dirname(harness.PROGRAM)}:{os.environ['PATH']}"
        for name, *options in (
                ("plain.tif", "-mode=cfloat32", "-co=COMPRESS=DEFLATE"),
                ("two words.tif", "-format=ENVI", "-clamp"),
                ("it's $HOME;.tif", "-region=1:2:6:4", "-resolution=2", "-resampling=average"),
                ("-dash.tif", f"-window={left + 30}:{top - 120}:{left + 90.5}:{top - 0.1}"),
                ("umlaut-ä.tif", "-bands=1,1-1")):
            write(self.path(name), RAMP[0], noData=5, **bounds(COLUMNS, ROWS))
            self.done(f"-file1={name}", "b.tif", f"of {name}", *numbers, *options,
                      cwd=self.folder)
            file = Path(self.path(f"of {name}"))
            first = file.read_bytes()
            command = gdal.Open(str(file)).GetMetadataItem("LUMOMIXCALC_COMMAND")
            subprocess.run(f"{command} -overwrite -quiet", shell=True, check=True,
                           cwd=self.folder, env={**os.environ, "PATH": path})
            self.assertEqual(file.read_bytes(), first)


class CommandLines(FileTest):
    def test_wrong_ones_are_told_in_one_sentence(self):
        a, b, out, many = self.a, self.b, self.out, "1" * 40_000
        for named, *arguments in (
                ("no output file", f"-file1={a}"),
                ("no input file", f"-save={out}"),
                ("c.tif is left over", f"-file1={a}", f"-file2={b}", "c.tif", out),
                (f"-file1={a}", a, out, f"-file1={b}", f"-file1={a}"),
                ("file name is empty", a, b, ""),
                ("-file1", "-file1", out),
                ("-mode=float16", a, b, out, "-mode=float16"),
                # What was meant is said, and files are not blamed for an option.
                ("Unrecognized option -ot", a, b, out, "-ot", "CFloat32"),
                ("did you mean -overwrite?", a, b, out, "-overwrit"),
                ("did you mean -operator=a1+b2?", a, b, out, "-operator=a1+b3"),
                ("did you mean float32?", a, b, out, "-mode=flot32"),
                ("did you mean average?", a, b, out, "-resampling=avrage"),
                ("did you mean GTiff?", a, b, out, "-format=GeoTIFF"),
                ("from 1e-45 to 3.4e38", a, b, out, "-a=1e39"),
                ("REAL:IMAGINARY", a, b, out, "-a=2,3"),
                ("\\x1b[31m\\xc2\\x9b", a, b, out, "-x\x1b[31m\x9b"),
                ("out.slc", a, b, self.path("out.slc")),
                ("-format=NONE", a, b, out, "-format=NONE"),
                ("-format=VRT", a, b, out, "-format=VRT"),
                ("out.vrt", a, b, self.path("out.vrt")),
                ("-co=TILED", a, b, out, "-co=TILED"),
                ("-co==YES", a, b, out, "-co==YES"),
                ("FOO", a, b, out, "-co=COMPRESS=FOO"),
                ("-window=", a, b, out, "-region=0:0:1:1", "-window=0:0:1:1"),
                ("-nodata=drop", a, b, out, "-nodata=drop"),
                ("-overwrite=yes", a, b, out, "-overwrite=yes"),
                # What is too long is told of, too, and breaks nothing.
                (many, a, b, out, "-" + many),
                (many, a, b, out, "-operator=" + many),
                ("-a requires", a, b, out, "-a=" + many),
                (f"{out} is left over", a, b, out, *["x"] * 40_000)):
            self.refused(named, *arguments, status=WRONG_COMMAND_LINE)
        self.assertFalse(os.path.exists(out))
        self.done(a, b, out, "-a=0." + many)

    def test_what_cannot_be_done_is_told_in_one_sentence(self):
        a, b, out, text = self.a, self.b, self.out, self.path("text.tif")
        Path(text).write_text("no raster")
        os.mkfifo(self.path("pipe"))
        for named, *arguments in (
                ("Operation requires File2, but it does not exist.", a, out),
                ("missing.tif", self.path("missing.tif"), b, out),
                (text, a, text, out),
                (self.folder, self.folder, b, out),
                (self.folder, a, b, self.folder),
                (self.folder, a, b, f"{self.folder}/"),
                (self.path("none"), a, b, self.path("none/out.tif")),
                (b, a, b, f"{b}/out.tif"),
                (text, a, b, text),
                (self.path("pipe"), a, b, self.path("pipe"), "-overwrite"),
                ("/vsimem/out.tif", a, b, "/vsimem/out.tif"),
                ("PNG cannot hold float32", a, b, self.path("out.png")),
                ("AAIGrid cannot hold cfloat32", a, b, self.path("out.asc"), "-mode=cfloat32"),
                ("xxx", a, b, self.path("x" * 300 + ".tif")),
                ("xxx", a, b, self.path("x" * 40_000)),
                (self.folder, a, b, out, f"-stats={self.folder}"),
                (self.path("none"), a, b, out, f"-stats={self.path('none/report.json')}")):
            self.refused(named, *arguments)
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "b.tif", "pipe", "text.tif"])
        self.assertEqual(Path(text).read_text(), "no raster")
