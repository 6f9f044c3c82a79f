"""Outputs that are computed in parts and joined: to the bit those of one run, and nothing lost when a
part is missing, broken or of something else."""

import os
import shutil
import subprocess

import numpy as np
from osgeo import gdal

import harness
from harness import PROGRAM, WRONG_COMMAND_LINE, bounds, strict_json, write

ROWS, COLUMNS = 35, 2100  # a row of any mode but byte is a block of a TIFF
NORMAL = np.random.default_rng(3).normal(size=(2, 2, ROWS, COLUMNS)).astype(np.float32)
COMPLEX, REAL = NORMAL[0] + 1j * NORMAL[1], 100 * NORMAL[0]
REAL[:, 3:9, 40:900] = REAL[1, 12] = -9999


def describe(dataset):
    dataset.GetRasterBand(2).SetDescription("second")
    dataset.SetMetadataItem("SENSOR", "any")
    dataset.SetMetadata({"LINE_OFF": "7", "SAMP_OFF": "9", "LINE_SCALE": "2"}, "RPC")


class Parts(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.mosaic, self.folder_of_parts = self.path("m & m.vrt"), self.path("m & m.parts")
        write(self.a, COMPLEX, change=describe, **bounds(COMPLEX))
        write(self.b, REAL, noData=-9999, GCPs=[gdal.GCP(1, 2, 3, 4, 5)], outputSRS="EPSG:4326")

    def part(self, name):
        return os.path.join(self.folder_of_parts, name)

    def make(self, count, *arguments):
        for number in range(1, count + 1):
            self.done(f"-part={number}/{count}", *arguments, self.mosaic, "-quiet")

    def state(self):
        """What files there are, in which state."""
        return {name: os.stat(self.part(name)).st_mtime_ns
                for name in os.listdir(self.folder_of_parts)}

    def told(self, path, stdout):
        """All that a raster and its run tell, but for its command and the application's records."""
        dataset = gdal.Open(path)
        bands = [dataset.GetRasterBand(i + 1) for i in range(dataset.RasterCount)]
        metadata = dataset.GetMetadata()
        self.assertIn("-operator=", metadata.pop("LUMOMIXCALC_COMMAND"))
        report = strict_json(stdout)
        records = [band.pop("record", None) or band.pop("records") for band in report["bands"]]
        return records, [
            dataset.ReadAsArray().tobytes(), metadata, dataset.GetMetadata("RPC"),
            dataset.GetGeoTransform(), dataset.GetProjection(),
            [(round(p.GCPPixel, 4), round(p.GCPLine, 4), p.GCPX) for p in dataset.GetGCPs()], report["mode"],
            report["columns"], report["rows"], report["bands"],
            [(b.GetMetadata(), repr(b.GetNoDataValue()), b.GetDescription(), b.DataType,
              b.GetColorInterpretation()) for b in bands]]

    def test_joined_parts_are_the_output_of_one_run(self):
        tiles = "-co=TILED=YES", "-co=BLOCKXSIZE=16", "-co=BLOCKYSIZE=16"
        for counts, *arguments in (
                ((1, 2, 7, ROWS), self.a, "-operator=1+b_pow_a", "-a=0.5:1"),
                ((7,), self.b, "-operator=a1b", "-a=200", "-mode=int16"),
                ((7,), self.b, self.a, "-operator=a1_conj_b2"),
                ((7,), self.a, "-operator=a1b", "-a=9000", "-mode=cint16"),
                ((7,), self.a, "-operator=a1b", "-mode=float32"),
                ((7,), self.b, "-operator=a1b", "-mode=uint16", "-nodata=keep"),
                ((7,), self.b, "-operator=a1b", "-b=0", "-a_nodata=0", "-oo=NUM_THREADS=1"),
                ((2,), self.b, "-operator=a1b", "-mode=byte", *tiles, "-co=COMPRESS=JPEG",
                 "-region=0:2:2100:32"),
                ((3,), self.a, "-operator=a_phase_1", "-mode=float32", *tiles, "-bands=2,1,2"),
                ((2, 3), self.a, self.b, "-operator=a1_conj_b2", "-looks=1:5"),
                ((4,), self.b, "-operator=a1b", "-looks=1:2", "-resolution=2"),
                ((7,), self.b, "-operator=a1b", "-resolution=2", "-resampling=average"),
                ((7,), self.b, "-operator=a1b", "-resolution=3", "-resampling=bilinear"),
                ((5,), self.b, "-operator=a1b", "-resolution=3", "-resampling=cubic"),
                ((7,), self.a, "-operator=a1b", "-resolution=2", "-resampling=cubic",
                 "-region=1:4:2099:15"),
                ((7,), self.b, "-operator=a1b", "-region=5:2:2095:11", "-bands=2")):
            one = self.done(*arguments, self.out, "-overwrite", "-stats=-")
            records, expected = self.told(self.out, one.stdout)
            for count in counts:
                with self.subTest(arguments, count=count):
                    shutil.rmtree(self.folder_of_parts, ignore_errors=True)
                    self.make(count, *arguments)
                    joined = self.done(f"-join={self.mosaic}", "-stats=-", "-overwrite")
                    records_of_parts, told = self.told(self.mosaic, joined.stdout)
                    self.assertEqual(told, expected)
                    self.assertEqual(joined.stderr, one.stderr)
                    self.assertEqual([len(of_band) for of_band in records_of_parts],
                                     [count] * len(records))

    def test_only_what_is_missing_is_computed(self):
        command = self.a, "-operator=a1b"
        self.make(3, *command)
        before = self.state()
        self.make(3, *command)
        self.assertEqual(self.state(), before)
        os.remove(self.part("2-of-3.json"))
        os.truncate(self.part("3-of-3.tif"), 50000)
        self.make(3, *command)
        self.assertEqual({name for name, time in self.state().items() if time != before[name]},
                         {f"{k}-of-3.{end}" for k in (2, 3) for end in ("tif", "json")})
        before = self.state()
        self.done("-part=1/3", self.a, "-operator=a1b", "-a=2", self.mosaic, "-overwrite")
        self.assertEqual({name for name, time in self.state().items() if time != before[name]},
                         {"1-of-3.tif", "1-of-3.json"})
        self.refused("parts 2-3 of 3 are of another command, unlike part 1", f"-join={self.mosaic}")

    def test_bad_input_is_refused_with_nothing_lost(self):
        command = self.a, "-operator=a1b", self.mosaic
        for option in ("0/3", "4/3", "-1/3", "1/0", "3", "1/3/5", "/3", "1/", "x/y", "1/99999999999"):
            self.refused(f"-part={option}: write K/N", f"-part={option}", *command,
                         status=WRONG_COMMAND_LINE)
        for told, *arguments in (
                ("must end in .vrt", "-part=1/2", self.a, self.out), ("must end in .vrt", "-join=m"),
                ("-format=", "-part=1/2", *command, "-format=GTiff"),
                ("-stats=", "-part=1/2", *command, "-stats=-"),
                ("-panel", "-part=1/2", *command, "-panel"),
                ("-mode=byte: -join= goes with", f"-join={self.mosaic}", "-mode=byte")):
            self.refused(told, *arguments, status=WRONG_COMMAND_LINE)
        self.refused("35 rows in blocks of 1, enough for 35 parts", "-part=1/36", *command)
        self.refused("there are no parts of", f"-join={self.mosaic}")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.tif", "b.tif"])

        self.make(4, *command[:2])
        before = self.state()
        self.refused("4-of-4.json, which is there, is of another command", "-part=4/4", *command,
                     "-a=2")
        self.refused("which is none of 5 parts", "-part=1/5", *command)
        self.refused("has files in", "-part=1/4", self.part("1-of-4.tif"), "-operator=a1b",
                     self.mosaic, "-overwrite")
        os.utime(self.a)
        self.refused("of inputs that changed since", "-part=1/4", *command)
        self.assertEqual(self.state(), before)
        self.done("-part=4/4", *command, "-overwrite")
        self.refused("part 4 of 4 is of other inputs", f"-join={self.mosaic}")
        os.remove(self.part("1-of-4.json"))
        os.remove(self.part("3-of-4.json"))
        os.truncate(self.part("2-of-4.tif"), 50000)
        self.refused("part 2 of 4 is broken; parts 1,3 of 4 are missing", f"-join={self.mosaic}")
        self.assertFalse(os.path.exists(self.mosaic))

    def test_a_folder_of_something_else_is_left_alone(self):
        os.mkdir(self.folder_of_parts)
        open(self.part("thesis.txt"), "w").close()
        for arguments in (("-part=1/2", self.a, "-operator=a1b", self.mosaic),
                          (f"-join={self.mosaic}",)):
            self.refused("holds thesis.txt and no parts", *arguments, "-overwrite")
        self.assertEqual(os.listdir(self.folder_of_parts), ["thesis.txt"])

    def test_of_two_joins_at_once_one_succeeds(self):
        self.make(7, self.a, "-operator=a1b")
        joins = [subprocess.Popen([PROGRAM, f"-join={self.mosaic}", "-quiet"], text=True,
                                  stderr=subprocess.PIPE) for _ in range(2)]
        told = sorted(join.communicate(timeout=100)[1] for join in joins)
        self.assertEqual(sorted(join.returncode for join in joins), [0, 1])
        self.assert_one_sentence(told[1], "exists")
        self.assertEqual(gdal.Open(self.mosaic).RasterYSize, ROWS)
