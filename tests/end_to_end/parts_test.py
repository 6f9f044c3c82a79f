# Outputs that are computed in parts and joined: to the bit those of one run, and nothing lost when
# a part is missing, broken or of something else.

import os
import shutil
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import RPC, bounds, strict_json, write

ROWS, COLUMNS = 35, 2100  # a row of any mode but byte is a block of a TIFF
NORMAL = np.random.default_rng(3).normal(size=(2, 2, ROWS, COLUMNS)).astype(np.float32)
COMPLEX, REAL = NORMAL[0] + 1j * NORMAL[1], 100 * NORMAL[0]
TILES = "-co=TILED=YES", "-co=BLOCKXSIZE=16", "-co=BLOCKYSIZE=16"
REAL[:, 3:9, 40:900] = REAL[1, 12] = -9999
REAL[0, 30, 5] = 4e4  # of the last parts, beyond int16
COMPLEX.imag[:, 10:15] = 0  # all of a first or last part, but not of the whole


def describe(dataset):
    dataset.GetRasterBand(2).SetDescription("second")
    dataset.GetRasterBand(2).SetMetadataItem("wavelength", "850")
    dataset.SetMetadataItem("SENSOR", "any")
    dataset.SetMetadata(RPC, "RPC")


class Parts(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.mosaic, self.folder_of_parts = self.path("m & m.vrt"), self.path("m & m.parts")
        write(self.a, COMPLEX, change=describe, **bounds(COMPLEX))
        write(self.b, REAL, noData=-9999, GCPs=[gdal.GCP(1, 2, 3, 4, 5)], outputSRS="EPSG:4326")

    def part(self, name):
        return os.path.join(self.folder_of_parts, name)

    def make(self, count, *arguments):
        """Makes all parts. Returns the names of the files that this changes."""
        before = self.times()
        for number in range(1, count + 1):
            self.done(f"-part={number}/{count}", *arguments, self.mosaic, "-quiet")
        return {name for name, time in self.times().items() if time != before.get(name)}

    def times(self):
        return {path.name: path.stat().st_mtime_ns for path in Path(self.folder_of_parts).glob("*")}

    def test_joined_parts_are_the_output_of_one_run(self):
        a, b, gain = (self.a,), (self.b,), "-operator=a1b"
        write(self.path("doubles.tif"), 1.1 * REAL.astype(float))
        for count, *arguments in (
                # The first part has nothing but no data in band 2.
                (3, *b, "-operator=a1+b", "-a=30", "-b=3e4", "-mode=int16", "-region=0:12:2100:3"),
                (2, *a, gain, "-mode=float32", "-region=0:5:2100:10"),
                (2, *a, gain, "-a=9000", "-mode=cint16", "-region=0:10:2100:10"),
                (2, self.path("doubles.tif"), gain),  # each part has an example of its own
                (2, *b, gain, "-b=0", "-a_nodata=0", "-oo=NUM_THREADS=1"),
                (2, *b, gain, "-mode=int16"),
                (2, *b, "-operator=a1+b", "-a=0.1", "-b=99", "-mode=byte", *TILES, "-co=COMPRESS=JPEG",
                 "-region=0:2:2100:32"),
                (3, *a, "-operator=a_phase_1", "-mode=float32", *TILES, "-bands=2,1,2"),
                (3, *b, gain, "-resolution=3", "-resampling=bilinear", "-mode=cfloat32"),
                (3, *a, gain, "-resolution=2", "-resampling=cubic", "-region=1:4:2099:15")):
            with self.subTest(arguments, count=count):
                one = self.done(*arguments, self.out, "-overwrite", "-stats=-")
                _, expected = self.told(self.out, strict_json(one.stdout))
                shutil.rmtree(self.folder_of_parts, ignore_errors=True)
                self.make(count, *arguments)
                joined = self.done(f"-join={self.mosaic}", "-stats=-", "-overwrite")
                records, told = self.told(self.mosaic, strict_json(joined.stdout))
                self.assertEqual(told, expected)
                self.assertEqual(*(sorted(run.stderr.splitlines()) for run in (joined, one)))
                self.assertEqual({len(of_band) for of_band in records}, {count})

    def test_only_what_is_missing_is_computed(self):
        command = self.a, "-operator=a1b"
        self.assertEqual(len(self.make(2, *command)), 2)
        os.remove(self.part("2-of-2.tif"))
        Path(self.part("1-of-3 notes.txt")).touch()
        self.assertEqual(self.make(2, *command), {"2-of-2.tif"})
        self.assertEqual(len(self.make(2, *command, "-overwrite")), 2)
        self.done(f"-join={self.mosaic}")
        self.refused("exists already", f"-join={self.mosaic}")

    def test_bad_input_is_refused_with_nothing_lost(self):
        command, join = (self.a, "-operator=a1b", self.mosaic), f"-join={self.mosaic}"
        self.refused("35 rows in blocks of 16, enough for 3 parts", "-part=1/4", *command, *TILES)
        self.refused("there are no parts of", join)
        self.refused("-co=PROFILE=BASELINE", "-part=1/4", *command, "-co=PROFILE=BASELINE")
        lossy = "-part=1/1", self.b, *command[1:], "-co=NBITS=16"
        self.refused("-strict: 1 warning", *lossy, "-strict")
        self.done(*lossy)
        self.refused("-strict: 1 warning", *lossy, "-strict")
        self.refused("-strict: 1 warning", join, "-strict")
        shutil.rmtree(self.folder_of_parts)

        Path(f"{self.a}.aux.xml").write_text("<PAMDataset/>")
        self.make(6, *command[:2])
        for name in "1-of-6.tif", "new.json":
            self.refused("in the folder", join, "-overwrite", f"-stats={self.part(name)}")
        self.done(join)
        for told, *arguments in (
                ("4-of-6.tif was made by another command", "-part=4/6", *command, "-a=2"),
                ("which is none of 5 parts", "-part=1/5", *command),
                ("belongs to the input", "-part=1/6", self.mosaic, *command[1:], "-overwrite")):
            self.refused(told, *arguments)
        part = gdal.Open(self.part("3-of-6.tif"), gdal.GA_Update)
        facts = part.GetMetadata("LUMOMIXCALC_PART")["FACTS"]
        part.SetMetadata({"FACTS": facts.replace('version":"', 'version":"old ')},
                         "LUMOMIXCALC_PART")
        del part
        self.refused("3-of-6.tif was made by another version", "-part=3/6", *command)
        os.remove(self.mosaic)
        os.utime(f"{self.a}.aux.xml")
        self.refused("from inputs that changed since", "-part=1/6", *command)
        self.done("-part=4/6", *command, "-overwrite")
        for number in 1, 5, 6:
            os.remove(self.part(f"{number}-of-6.tif"))
        whole = Path(self.part("2-of-6.tif"))
        for bytes_ in (whole.stat().st_size - 1, 50_000, 0):
            os.truncate(whole, bytes_)
            self.refused(f"cannot join the 6 parts in {self.folder_of_parts}: broken: 2; made from "
                         "other inputs, or from inputs that changed since, unlike part 3: 4; "
                         "missing: 1,5-6", join)
        for other in self.a, self.part("3-of-6.tif"):
            shutil.copy(other, whole)
            self.refused("2-of-6.tif is not a whole part", "-part=2/6", *command)
        os.rename(whole, f"{whole}.ovr")
        self.refused("2-of-6.tif.ovr", "-part=2/6", *command)

    def test_a_mosaic_whose_parts_are_not_found_by_their_names_is_refused(self):
        for name in "back\\slash.vrt", " blank.vrt", "bell\a.vrt":
            self.done("-part=1/1", self.a, self.path(name), "-operator=a1b")
            self.refused("does not read back", f"-join={self.path(name)}")
