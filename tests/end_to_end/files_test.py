# What the program makes of its files and its command line: layouts, formats, georeferencing,
# results in place of inputs, files beside them, wrong commands.

import os
import shlex
import shutil
import stat
import struct
import subprocess
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import GEOTRANSFORM, RPC, WRONG_COMMAND_LINE, bounds, equal, read, run, write

RAMP = np.arange(3 * 40 * 9, dtype=np.float32).reshape(3, 40, 9) % 200  # sums are exact
COPY, ADD_1 = "-operator=a1b", "-operator=a1+b"


class FileTest(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        write(self.a, RAMP[0], **bounds(RAMP))
        write(self.b, RAMP[1])


class Inputs(FileTest):
    def test_of_other_sizes_are_refused(self):
        write(self.a, RAMP)
        for other, size in ((RAMP[:2], "9 x 40 pixels, 2 bands"),
                            (RAMP[:, 1:], "9 x 39 pixels, 3 bands"),
                            (RAMP[0, :, 1:], "8 x 40 pixels, 1 band")):
            write(self.b, other)
            self.refused(f"{self.a} (File1) has 9 x 40 pixels, 3 bands, {self.b} (File2) has "
                         + size, self.a, self.b, self.out, "-overwrite")
        self.result(self.a, self.b, ADD_1)  # which does not read File2

    def test_layouts_and_sizes_of_all_kinds_are_read(self):
        # Others than those of the random runs.
        for plain, type, *options in (
                (True, "Float32"), (True, "CFloat32", "BLOCKYSIZE=1", "INTERLEAVE=BAND"),
                (False, "Float32", "NBITS=16", "INTERLEAVE=BAND"),
                (False, "Float32", "COMPRESS=PACKBITS")):
            pixels = (RAMP * (1 + 1j) if type == "CFloat32" else RAMP)[() if options else 0]
            write(self.a, pixels, *options, type=type)
            equal(self.result(self.a, COPY), pixels)
            if plain:  # read straight from their place
                os.truncate(self.a, os.path.getsize(self.a) - 1)
                self.refused("the file ends in row 39", self.a, self.out, COPY, "-overwrite")
        for pixels in (np.float32([[5]]), np.arange(900_000, dtype=np.float32).reshape(3, -1)):
            write(self.b, pixels)
            equal(self.result(self.b, ADD_1), np.atleast_2d(pixels.squeeze()) + 1)
        for sparse in ((0,), (1, 0), (0, 1), (1, 0, 0), (0, 1, 1)):  # bands without strips
            made = gdal.GetDriverByName("GTiff").Create(
                self.b, 9, 40, len(sparse), gdal.GDT_Float32, ["SPARSE_OK=YES", "INTERLEAVE=BAND"])
            for band in np.flatnonzero(sparse):
                made.GetRasterBand(int(band) + 1).Fill(1)
            made = None
            equal(self.result(self.b, COPY),
                  np.multiply.outer(sparse, np.ones((40, 9))).squeeze())
        write(self.b, np.uint8([[127, 128, 255]]), "PIXELTYPE=SIGNEDBYTE")
        equal(self.result(self.b, COPY), [[127, -128, -1]])
        write(self.b, np.uint16([[777], [5]]), "NBITS=12")
        equal(self.result(self.b, COPY), [[777], [5]])

    def test_source_of_two_inputs_is_read_by_turns(self):
        noise = np.random.default_rng(3).normal(size=(2000, 2, 250)).astype(np.float32)
        noise.tofile(self.path("raw.bil"))
        for band in (1, 2):
            Path(self.path(f"{band}.vrt")).write_text(
                '<VRTDataset rasterXSize="250" rasterYSize="2000"><GeoTransform>0,1,0,0,0,-1'
                '</GeoTransform><VRTRasterBand dataType="Float32" band="1" '
                'subClass="VRTRawRasterBand"><SourceFilename relativeToVRT="1">raw.bil'
                f'</SourceFilename><ImageOffset>{1000 * (band - 1)}</ImageOffset><LineOffset>2000'
                '</LineOffset><ByteOrder>LSB</ByteOrder></VRTRasterBand></VRTDataset>')
            gdal.BuildVRT(self.path(f"{band}{band}.vrt"), self.path(f"{band}.vrt"))
        write(self.path("bands.tif"), noise.swapaxes(0, 1), "TILED=YES", "COMPRESS=DEFLATE")
        bands = f"vrt://{self.path('bands.tif')}?bands="
        raw = self.folder + "/"
        for one, other in ((raw + "1.vrt", raw + "2.vrt"), (raw + "11.vrt", raw + "22.vrt"),
                           (raw + "11.vrt", raw + "2.vrt"), (raw + "1.vrt", raw + "1.vrt"),
                           (bands + "1", bands + "2")):
            sums = sum(noise[:, int(name.removesuffix(".vrt")[-1]) - 1] for name in (one, other))
            for _ in range(3):
                equal(self.result(one, other), sums)
        for _ in range(3):
            with open(self.path("bands.tif")) as both:
                self.done(*["/vsistdin/"] * 2, "--config", "CPL_VSISTDIN_BUFFER_LIMIT", "-1", self.out,
                          "-overwrite", stdin=both)
            equal(read(self.out), 2 * noise.swapaxes(0, 1))

    def test_files_behind_an_input_are_not_replaced(self):
        write(self.path("e.slc"), RAMP[0], format="ENVI", **bounds(RAMP))
        for source, first, second, warped in ((self.a, "v1.vrt", "v2.vrt", "w.vrt"),
                                              (self.path("e.slc"), "e1.vrt", "e2.vrt", "ew.vrt")):
            gdal.Translate(self.path(first), source, format="VRT")
            gdal.BuildVRT(self.path(second), self.path(first))
            gdal.Warp(self.path(warped), self.path(first), format="VRT")
        masked = Path(self.path("v2.vrt")).read_text().replace("v1.vrt", "b.tif")
        mask = masked[masked.index("<VRTRasterBand"):masked.index("</VRTDataset>")]
        Path(self.path("m.vrt")).write_text(masked.replace(
            "</VRTDataset>", f"<MaskBand>{mask.replace('b.tif', 'v1.vrt')}</MaskBand></VRTDataset>"))
        shutil.copy(self.b, self.path("a.tif.msk"))
        os.mkdir(self.path("sub"))
        os.symlink("../v2.vrt", self.path("sub/v2.vrt"))
        for name in ("zip", "gztar"):
            shutil.make_archive(self.path("archive"), name, self.folder, "a.tif")
        here = self.folder
        for name, file in ((f"{here}/v2.vrt", "a.tif"), (f"{here}/v2.vrt", "a.tif.msk"),
                           (f"{here}/sub/v2.vrt", "a.tif"), (f"{here}/w.vrt", "a.tif"),
                           (f"{here}/m.vrt", "a.tif"), (f"vrt://{self.a}?bands=1", "a.tif"),
                           (f"{here}/e2.vrt", "e.hdr"), (f"{here}/ew.vrt", "e.hdr"),
                           (f"/vsizip/{here}/archive.zip/a.tif", "archive.zip"),
                           (f"/vsizip/{{{here}/archive.zip}}/a.tif", "archive.zip"),
                           (f"/vsitar//vsigzip/{here}/archive.tar.gz/a.tif", "archive.tar.gz"),
                           (f"/vsizip//vsisubfile/0_9999,{here}/archive.zip/a.tif", "archive.zip")):
            self.refused(f"belongs to the input {name}", name, self.out, COPY, "-overwrite",
                         f"-stats={self.path(file)}", "--config", "CPL_VSIL_GZIP_WRITE_PROPERTIES", "NO")

    def test_bits_and_bytes_in_reverse_or_behind_a_head_are_read_as_gdal_reads_them(self):
        write(self.a, RAMP[0], type="Byte")
        tiff = Path(self.a).read_bytes()
        # The number of samples, which is 1 without saying so, becomes a fill order.
        samples = struct.pack("<HHIH", 277, 3, 1, 1)
        self.assertIn(samples, tiff)
        Path(self.a).write_bytes(tiff.replace(samples, struct.pack("<HHIH", 266, 3, 1, 2)))
        equal(self.result(self.a, COPY), read(self.a))
        self.assertNotEqual(read(self.a)[1, 1], RAMP[0, 1, 1])
        for item, number, head, pixels in (("byte order", 1, b"", RAMP[0].byteswap()),
                                           ("header offset", 4, b"head", RAMP[0])):
            write(self.b, pixels, format="ENVI")
            Path(self.b).write_bytes(head + Path(self.b).read_bytes())
            header = Path(self.path("b.hdr"))
            header.write_text(header.read_text().replace(f"{item} = 0", f"{item} = {number}"))
            equal(self.result(self.b, COPY), RAMP[0])

    def test_images_that_are_passed_over_are_told_of(self):
        pages = self.path("it's.tif")
        write(pages, RAMP)
        for _ in range(2):
            write(pages, RAMP[0], "APPEND_SUBDATASET=YES")
        self.warned(f"{pages} (File1) holds 3 images, and only one is read; name another as "
                    f"GTIFF_DIR:2:{pages}; gdalbuildvrt -separate pages.vrt GTIFF_DIR:{{1..3}}:"
                    f"'{self.folder}/it'\\''s.tif' makes", pages, COPY)
        write(self.b, RAMP, "NUMI=2", format="NITF", type="Byte")
        self.warned(f"2 images, and only one is read; name another as NITF_IM:1:{self.b}; "
                    f"gdalinfo {shlex.quote(self.b)} lists", self.b, COPY)
        gdal.SetConfigOption("GDAL_TIFF_INTERNAL_MASK", "YES")
        self.addCleanup(gdal.SetConfigOption, "GDAL_TIFF_INTERNAL_MASK", None)
        write(self.a, RAMP[0], change=lambda dataset: dataset.CreateMaskBand(gdal.GMF_PER_DATASET))
        gdal.Open(self.a, gdal.GA_Update).BuildOverviews("NEAREST", [2])
        for one in f"GTIFF_DIR:1:{pages}", self.a:
            self.warned("", one, COPY)

    def test_containers_name_their_first_complex_raster(self):
        write(self.b, RAMP[:2])
        self.done(self.b, self.path("c.nc"), COPY)
        self.refused(f'such as NETCDF:"{self.path("c.nc")}":Band1', self.path("c.nc"), self.out, COPY)
        for named, types in (("first", "FF"), ("third", "FFC")):
            container = self.path(f"{named}.zarr")
            group = gdal.GetDriverByName("Zarr").CreateMultiDimensional(container).GetRootGroup()
            sides = [group.CreateDimension(side, None, None, 2) for side in "yx"]
            for name, type in zip(("first", "second", "third"), types):
                group.CreateMDArray(name, sides, gdal.ExtendedDataType.Create(
                    gdal.GDT_CFloat32 if type == "C" else gdal.GDT_Float32))
            del group, sides
            self.refused(f'name one of its subdatasets, such as ZARR:"{container}":/{named}',
                         container, self.out, COPY)


class Georeferencing(FileTest):
    def test_other_places_are_warned_of_and_combined(self):
        for told, other in (
                ("origins are 0.02 columns and 0 rows apart", bounds(RAMP, x=0.6)),
                ("origins are 1 column and 0 rows apart; -extent=", bounds(RAMP, x=30)),
                ("coordinate reference systems differ", {"outputSRS": "EPSG:32633", **bounds(RAMP)}),
                ("", bounds(RAMP, x=0.02)), ("", {})):
            write(self.a, RAMP[0], outputSRS="EPSG:32632", **bounds(RAMP))
            write(self.b, RAMP[1], **other)
            dataset, report = self.made(self.a, self.b)
            equal(dataset.ReadAsArray(), RAMP[0] + RAMP[1])
            self.assertEqual(len(report["warnings"]), bool(told))
            self.assertIn(told and f"{self.a} (File1) and {self.b} (File2) do not lie in the same "
                          f"place: their {told}", str(report["warnings"]))
        write(self.b, RAMP[1], metadataOptions=["AREA_OR_POINT=Point"])  # GDAL gives it a system
        dataset, report = self.made(self.b, self.a)
        self.assertEqual((dataset.GetGeoTransform(), dataset.GetMetadataItem("AREA_OR_POINT"),
                          report["warnings"]), (GEOTRANSFORM, "Area", []))
        swapped = self.path("b.zarr")  # GDAL 3.6 lists the axes of its system north before east
        write(self.a, RAMP[0], outputSRS="EPSG:32632", **bounds(RAMP))
        write(swapped, RAMP[1], outputSRS="EPSG:32632", format="Zarr", **bounds(RAMP))
        self.warned("", self.a, swapped)
        write(self.a, RAMP[0], outputSRS="EPSG:4326", outputBounds=[0, 40, 360, 0])
        write(self.b, RAMP[1, :, :2], outputSRS="EPSG:4326", outputBounds=[-80, 40, 0, 0])
        equal(self.result(self.a, self.b, "-extent=intersection"), RAMP[0, :, 7:] + RAMP[1, :, :2])
        write(self.path("r.img"), RAMP[0], format="ENVI", change=lambda dataset: dataset.SetMetadata(
            {**RPC, "SAMP_OFF": "+150.00 pixels"}, "RPC"))
        dataset, _ = self.made(self.path("r.img"), COPY, "-region=3:0:4:4")
        self.assertEqual(dataset.GetMetadata("RPC")["SAMP_OFF"], "147")
        write(self.a, RAMP[0], change=lambda dataset: dataset.SetMetadata(
            {"X_DATASET": self.b}, "GEOLOCATION"))
        self.warned("does not hold the geolocation arrays", self.a, COPY)


class Outputs(FileTest):
    def test_extension_or_option_chooses_the_format(self):
        many = self.path("many.tif")
        write(many, RAMP)
        for file, name, driver, *options in (
                (self.a, "r.img", "HFA"), (self.a, "r.nc", "netCDF"), (self.a, "r.asc", "AAIGrid"),
                (self.a, "r.xyz", "XYZ"), (self.a, "r.png", "PNG", "-mode=byte"),
                (self.a, "q.raw", "ENVI", "-format=envi"),
                (self.a, "s.tif", "HFA", "-format=HFA"), (self.a, "s.IMG", "HFA"),
                (self.a, "r.gpkg", "GPKG", "-mode=byte", "-co=TILE_FORMAT=PNG"),
                (self.a, ".r", "GTiff"), (self.a, "world.tif", "GTiff", "-co=TFW=YES"),
                (many, "t.tif", "GTiff", "-co=TILED=YES", "-co=BLOCKXSIZE=16", "-co=BLOCKYSIZE=16"),
                (many, "big.tif", "GTiff", "-co=BIGTIFF=YES", "-co=BLOCKYSIZE=7"),
                (many, "r.bil", "ENVI", "-format=ENVI", "-co=INTERLEAVE=BIL", "-mode=cfloat32")):
            self.done(file, self.path(name), ADD_1, *options)
            dataset = gdal.Open(self.path(name))
            self.assertEqual(dataset.GetDriver().ShortName, driver)
            equal(dataset.ReadAsArray(), read(file) + 1)
            self.assertEqual(dataset.GetRasterBand(1).GetBlockSize() == [16, 16], name == "t.tif")
        self.assertEqual(Path(self.path("big.tif")).read_bytes()[:4], b"II\x2b\0")
        self.assertTrue(os.path.exists(self.path("world.tfw")))

    def test_output_may_be_an_input_by_any_path_and_keeps_its_permissions(self):
        os.chmod(self.a, 0o640)
        os.symlink(self.a, self.path("symbolic.tif"))
        os.link(self.a, self.path("hard.tif"))
        os.mkdir(self.path("sub"))
        for output in (self.a, self.path("symbolic.tif"), self.path("hard.tif"),
                       self.path("sub/.././a.tif"), "a.tif", "./a.tif"):
            expected = read(self.a) + RAMP[1]
            self.done(self.a, self.b, output, "-overwrite", cwd=self.folder)
            equal(read(self.path(output)), expected)
        self.assertEqual(os.stat(self.a).st_mode & 0o777, 0o640)
        self.assertTrue(os.path.islink(self.path("symbolic.tif")))
        self.assertEqual(len(self.files()), 5)

    def test_files_beside_an_output_are_neither_replaced_nor_read_with_it(self):
        # Without -overwrite they are refused; with it they go, but for those of other files.
        write(self.path("x.slc"), RAMP[0] * 1j, format="ENVI")
        os.mkdir(self.path(".lumomixcalc-notes"))
        Path(self.path("OUT.TIF")).write_text("another's")
        made = gdal.GetDriverByName("GTiff").Create(
            self.path("old.tif"), 9, 40, 1, options=["PROFILE=BASELINE", "RPCTXT=YES"])
        made.SetMetadata(RPC, "RPC")
        made = None
        contents = {".ovr": Path(self.b).read_bytes(), ".msk": Path(self.b).read_bytes(),
                    ".TXT": Path(self.path("old_RPC.TXT")).read_bytes()}
        for out, *names in (("out.img", "out.hdr", "out.img.aux.xml", "out.img.ovr", "out.img.hdr"),
                            ("out.tif", "out.tif.aux.xml", "out.tfw", "out.TFW", "out.WLD",
                             "out_RPC.TXT", "out.tif.msk")):
            arguments = self.b, out, COPY, *["-format=ENVI"] * out.endswith("img")
            for file in map(Path, map(self.path, names)):
                file.write_bytes(contents.get(file.suffix, b"30\n0\n0\n-30\n7\n8\n"))
                old = file.read_bytes()
                if file.name.startswith(out):
                    self.refused(file.name, *arguments, cwd=self.folder)
                else:  # named by the stem alone
                    self.refused(f"{file.name} exists already, and may belong to another file",
                                 *arguments, "-overwrite", cwd=self.folder)
                    Path(self.path(out)).touch()
                self.done(*arguments, "-overwrite", cwd=self.folder)
                self.assertNotEqual(self.files().get(file), old)
                for made in Path(self.folder).glob("out*"):
                    made.unlink()
        gdal.Translate(self.path("x.vrt"), self.path("x.slc"))
        os.rename(self.path("x.hdr"), self.path("y.hdr"))
        os.symlink("y.hdr", self.path("x.hdr"))
        for name, header in (("x.slc", "y.hdr"), ("x.slc", "x.hdr"), ("x.vrt", "x.hdr")):
            self.refused(f"{header} belongs to the input", self.path(name), "-format=ENVI",
                         self.path(header).replace("hdr", "mag"), "-operator=abs_a1", "-overwrite")
        for other in ".lumomixcalc-notes", "OUT.TIF":
            self.assertTrue(os.path.exists(self.path(other)), other)

    def test_temporary_names_and_changed_values_are_told_of(self):
        os.symlink("new.tif", self.out)
        for out, *options in (("out.tif",), ("o.nc",), ("o.img", "-format=ENVI"),
                              ("o.pix", "-format=PCIDSK")):
            self.done(self.a, self.path(out), COPY, *options)
        self.assertTrue(os.path.islink(self.out) and not os.path.islink(self.path("new.tif")))
        for made in Path(self.folder).glob("o.*"):
            self.assertNotIn(b".lumomixcalc-", made.read_bytes(), made)
        write(self.a, np.float32([[0.1234567, 2], [3, 4]]))
        result = self.done(self.a, self.path("o.asc"), COPY, "-a=0.1", "-co=DECIMAL_PRECISION=2")
        self.assertIn("all values exactly: 1 value changed, the first from 0.01234", result.stderr)
        np.testing.assert_allclose(read(self.path("o.asc")), [[0.01, 0.2], [0.3, 0.4]], atol=1e-6)
        self.assertNotIn("STATISTICS_MEAN", gdal.Info(self.path("o.asc")))
        for told, *options in (("", "-co=COMPRESS=LZW"), ("", "-co=ENDIANNESS=BIG"),
                               ("not hold all values", "-co=TILED=YES", "-co=COMPRESS=JPEG",
                                "-mode=byte", "-b=600"),
                               ("not hold all values", "-co=DISCARD_LSB=12")):
            result, report = self.made(self.a, COPY, "-a=0.1", *options)
            self.assertEqual(len(report["warnings"]), bool(told))
            self.assertIn(told, str(report["warnings"]))
            self.assertEqual("STATISTICS_MEAN" in result.GetRasterBand(1).GetMetadata(), not told)
        self.warned("declared: no-data value", self.a, COPY, "-format=GSBG", "-a_nodata=-7")
        write(self.a, np.float32([[np.nan, -1e12], [3, 4]]), outputSRS="EPSG:32632", change=lambda dataset: (
            dataset.SetMetadata(RPC, "RPC"), dataset.GetRasterBand(1).SetDescription("height"),
            dataset.GetRasterBand(1).SetUnitType("m"),
            dataset.GetRasterBand(1).SetMetadataItem("wavelength", "850")))
        for name, expected, lost in (
                ("n.xyz", -9999, "coordinate reference system, metadata, names of bands, no-data "
                 "value, rational polynomial coefficients, units\n"), ("n.asc", -9999, ""), ("n.img", np.nan, "")):
            result = self.done(self.a, self.path(name), COPY)
            equal(read(self.path(name)), np.float32([[expected, -1e12], [3, 4]]))
            self.assertEqual(result.stderr.partition("declared: ")[2], lost)
        self.assertNotIn("STATISTICS_MEAN", gdal.Info(self.path("n.img")))  # beyond 32 bits
        write(self.path("e.img"), RAMP[0], format="ENVI", outputSRS="EPSG:32632", **bounds(RAMP))
        self.assertEqual(gdal.Info(self.path("e.img")).count("Description = Band 1\n"), 1)
        self.done(self.path("e.img"), self.path("e.nc"), COPY, "-strict")
        write(self.b, RAMP[:2], change=lambda raster: raster.GetRasterBand(2).SetDescription("Band of x"))
        self.warned("declared: names of bands", self.b, COPY, "-format=netCDF")
        write(self.b, np.float32([[np.nan, 65535]]))  # a value that GDAL takes as no data
        for mode, expected in ("float32", [[np.nan, 65535]]), ("uint16", [[65535, 65534]]):
            self.done(self.b, self.path("v.nc"), COPY, f"-mode={mode}", "-co=FORMAT=NC4", "-overwrite")
            equal(read(self.path("v.nc")), expected)
        write(self.a, np.full((40, 2100), np.nan), type="Float32", noData=np.nan)
        if not run(self.a, self.out, COPY, "-overwrite", "-co=ENDIANNESS=BIG").returncode:
            equal(read(self.out), read(self.a))  # GDAL 3.6 does not swap the bytes of such strips


class OutputsThatAreImmutable(FileTest):
    def test_output_of_several_files_that_cannot_be_published_leaves_the_old_one(self):
        self.done(self.a, self.path("out.img"), "-format=ENVI", COPY)
        for name in "out.img", "out.hdr":
            file = self.path(name)
            subprocess.run(["chattr", "+i", file], check=False, stderr=subprocess.DEVNULL)
            if subprocess.run(["lsattr", file], capture_output=True, text=True).stdout[4:5] != "i":
                self.skipTest("the file system has no immutable files")
            try:
                self.refused(name, self.b, self.path("out.img"), "-format=ENVI", COPY, "-overwrite")
            finally:
                subprocess.run(["chattr", "-i", file], check=True)


class OutputsWithAccessLists(FileTest):
    def test_replaced_file_shares_its_contents_with_nobody_else(self):
        # Neither by a list that the folder passes on nor because its own list is lost.
        def access_list(owner, named, mask):  # version; owner, user 1, group, mask, others
            entries = (1, owner, -1), (2, named, 1), (4, 4, -1), (16, mask, -1), (32, 0, -1)
            return struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
        several = self.a, self.path("o.img"), COPY, "-format=ENVI", "-overwrite"
        self.done(*several)
        for name in "o.img", "o.hdr":
            os.chmod(self.path(name), 0o6640)
        self.done(*several)
        self.assertEqual([stat.S_IMODE(os.stat(self.path(name)).st_mode)
                          for name in ("o.img", "o.hdr")], [0o640] * 2)
        self.done(self.a, self.out, COPY)
        os.chmod(self.out, 0o6640)
        try:
            os.setxattr(self.folder, "system.posix_acl_default", access_list(7, 6, 6))
        except OSError:
            self.skipTest("the file system has no access control lists")
        self.done(self.a, self.out, COPY, "-overwrite")
        self.assertNotIn("system.posix_acl_access", os.listxattr(self.out))
        self.assertEqual(stat.S_IMODE(os.stat(self.out).st_mode), 0o640)
        os.setxattr(self.out, "system.posix_acl_access", access_list(6, 0, 4))
        self.done(self.a, self.out, COPY, "-overwrite")
        self.assertNotIn("system.posix_acl_access", os.listxattr(self.out))
        self.assertEqual(stat.S_IMODE(os.stat(self.out).st_mode), 0o600)


class CommandLines(FileTest):
    def test_a_check_refuses_what_a_run_does_and_makes_nothing(self):
        write(self.out, RAMP[0])
        write(self.b, np.ones((600, 600), np.complex64))
        write(self.path("x.slc"), RAMP[0], format="ENVI")
        before, new, report = self.files(), self.path("new.vrt"), f"-stats={self.path('new.json')}"
        changed = os.stat(self.folder).st_mtime_ns
        self.refused("complex", self.b, self.path("new.tif"), "-format=COG", COPY, "-check")
        self.refused("x.hdr exists", self.a, self.path("x.mag"), "-format=ENVI", COPY, "-check")
        for kind in "xyz", "asc":
            self.refused("2 bands", self.a, self.path(f"new.{kind}"), ADD_1, "-bands=1,1", "-check")
        for wrong in (self.path("none"), self.out), (self.a, self.out), (self.a, new, "-part=1/2"), (
                self.a, self.path("new.tif"), "-mode=float64", "-strict"):
            sentence = run(*wrong, ADD_1).stderr.splitlines()[-1].removeprefix("lumomixcalc: ")
            self.refused(sentence, *wrong, ADD_1, "-check")
        for a, out, *right in ((self.a, self.out, "-overwrite", "-clamp", report),
                               (self.a, new, "-part=1/1", "-quiet")):
            self.assertEqual(self.done(a, out, *right, ADD_1, "-check").stdout, out + "\n")
        self.assertEqual((self.files(), os.stat(self.folder).st_mtime_ns), (before, changed))

    def test_wrong_ones_are_told_in_one_sentence(self):
        a, b, out, many = self.a, self.b, self.out, "1" * 40_000
        for named, *arguments in (
                # What was meant is said, and files are not blamed for an option.
                ("Unrecognized option -tr", a, b, out, "-tr", "5"),
                ("did you mean a1b2?", a, b, out, "-operator=a1*b2"),
                ("did you mean abs_a1?", a, out, "-operator=abs"),
                ("operator exp; see -help", a, b, out, "-operator=exp"),
                ("Operation requires File2, but it does not exist. -operator=a1b2 needs FILE2; usage",
                 a, out, "-operator=a1b2"),
                ("did you mean GTiff?", a, b, out, "-format=tif"),
                ("\\x1b[31m\\xc2\\x9b", a, b, out, "-x\x1b[31m\x9b"),
                ("-format=ENVI with -co=SUFFIX=ADD", a, b, self.path("out.slc")),
                ("-format=VRT", a, b, out, "-format=VRT"),
                *((f"out.{kind}", a, b, self.path(f"out.{kind}"), "-mode=byte")
                  for kind in ("mbtiles", "pdf", "kmz")),
                ("FOO", a, b, out, "-co=COMPRESS=FOO"), (many, a, b, out, "-operator=" + many)):
            self.refused(named, *arguments, status=WRONG_COMMAND_LINE)

    def test_what_cannot_be_done_is_told_in_one_sentence(self):
        a, b, out, text = self.a, self.b, self.out, self.path("text.tif")
        Path(text).write_text("no raster")
        os.mkfifo(self.path("pipe"))
        os.symlink("loop", self.path("loop"))
        os.symlink("o.hdr", self.path("link"))
        mine = self.path(".lumomixcalc-input-of-mine.tif")
        for named, *arguments in (
                ("missing.tif", self.path("missing.tif"), b, out),
                (self.folder, a, b, self.folder),
                (self.path("none"), a, b, self.path("none/out.tif")),
                (text, a, b, text),
                ("loop of symbolic links", a, b, self.path("loop")),
                (self.path("pipe"), a, b, self.path("pipe"), "-overwrite"),
                ("/vsimem/out.tif", a, b, "/vsimem/out.tif"),
                ("PNG cannot hold float32", a, b, self.path("out.png")),
                ("GTX cannot hold 2 bands of float32", a, b, self.path("o.gtx"), "-bands=1,1"),
                ("AAIGrid cannot hold cfloat32", a, b, self.path("out.asc"), "-mode=cfloat32"),
                (f"{mine}: No such file", mine, b, out),
                ("and GTiff holds all", a, b, self.path("o.xpm"), "-format=XPM"),
                *((name, a, b, self.path(output), "-mode=byte", f"-format={format}",
                   f"-stats={self.path(name)}")
                  for format, output, name in (("HFA", "o.img", "o.img.aux.xml"),
                                               ("PNG", "o.png", "o.png.aux.xml"),
                                               ("GTiff", "o.tif", "o.tif.aux.xml"))),
                ("o.hdr would be a file of", a, b, self.path("o.img"), "-format=ENVI",
                 f"-stats={self.path('link')}"), (self.folder, a, b, out, f"-stats={self.folder}")):
            self.refused(named, *arguments)
