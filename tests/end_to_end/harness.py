"""What the end-to-end tests share: running the program, and rasters to run it on.

Each test file is a program: NAME_test.py LUMOMIXCALC [unittest's arguments].
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

import numpy as np
from osgeo import gdal

gdal.UseExceptions()
gdal.PushErrorHandler("CPLQuietErrorHandler")

PROGRAM = ""
GIVEN_UP, WRONG_COMMAND_LINE = 1, 2
GEOTRANSFORM = (600000.0, 30.0, 0.0, 5100000.0, 0.0, -30.0)
LINE = re.compile(r"band (\d+): (?:minimum (\S+), maximum (\S+), mean (\S+), sum ([^\s,]+)"
                  r"(?:, (\d+) no data)?|all (\d+) elements are no data)$", re.MULTILINE)


def run(*arguments, **options):
    """Runs the program to its end; a run that hangs is an error."""
    return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True,
                          errors="replace", timeout=100, **options)


def statistics(result):
    """By band, what a run printed: minimum, maximum, mean and sum, NaN where no element is valid,
    and the number of those that are no data."""
    return {int(band): (*(float(number or "nan") for number in numbers), int(some or all_ or 0))
            for band, *numbers, some, all_ in LINE.findall(result.stdout)}


def write(path, bands, gdal_type=gdal.GDT_Float32, driver="GTiff", options=()):
    """Writes a raster of a list of equally large arrays; returns its dataset, still open."""
    rows, columns = bands[0].shape
    dataset = gdal.GetDriverByName(driver).Create(
        str(path), columns, rows, len(bands), gdal_type, list(options))
    for i, band in enumerate(bands, 1):
        dataset.GetRasterBand(i).WriteArray(band)
    return dataset


def read(path):
    """All bands of a raster: one array, bands first."""
    array = gdal.Open(str(path)).ReadAsArray()
    return array if array.ndim == 3 else array[np.newaxis]


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own, which goes when it ends, and names for files in it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="lumomixcalc-test-")
        self.addCleanup(folder.cleanup)
        self.folder = os.path.realpath(folder.name)
        self.a, self.b, self.out = (self.path(name) for name in ("a.tif", "b.tif", "out.tif"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def done(self, *arguments, **options):
        """A run that must succeed."""
        result = run(*arguments, **options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result

    def refused(self, named, *arguments, status=GIVEN_UP, **options):
        """A run that must end with a status and one sentence that has the text named in it."""
        result = run(*arguments, **options)
        self.assertEqual(result.returncode, status, (arguments, result.stderr))
        self.assert_one_sentence(result.stderr, named)
        return result

    def assert_one_sentence(self, stderr, named):
        lines = [line for line in stderr.splitlines()
                 if not line.startswith("lumomixcalc: warning: ")]
        self.assertEqual(len(lines), 1, stderr)
        self.assertTrue(lines[0].startswith("lumomixcalc: "), stderr)
        self.assertIn(str(named), lines[0])


def main():
    global PROGRAM
    PROGRAM = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
