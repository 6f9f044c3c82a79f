"""What the end-to-end tests share: running the program, and rasters to run it on.

By hand: LUMOMIXCALC=/path/to/lumomixcalc python3 -m unittest -b faults_test, in this folder. With
-b a test that fails shows its runs.
"""

import atexit
import contextlib
import functools
import glob
import json
import os
import re
import signal
import socket
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy as np
from osgeo import gdal, gdal_array

gdal.UseExceptions()
gdal.PushErrorHandler("CPLQuietErrorHandler")

PROGRAM = os.environ["LUMOMIXCALC"]
GIVEN_UP, WRONG_COMMAND_LINE = 1, 2
GEOTRANSFORM = (600000.0, 30.0, 0.0, 5100000.0, 0.0, -30.0)
RPC = {  # without any of these GDAL keeps none
    "SAMP_OFF": "150", "SAMP_SCALE": "300", "LINE_OFF": "350", "LINE_SCALE": "700",
    **{f"{name}_{item}": "1" for name in ("LAT", "LONG", "HEIGHT") for item in ("OFF", "SCALE")},
    **{f"{axis}_{term}_COEFF": "1 " * 20 for axis in ("LINE", "SAMP") for term in ("NUM", "DEN")}}
equal = np.testing.assert_array_equal


@functools.cache
def fork_server():
    """A socket to a process that starts the program: see fork_server.cpp. None without its file."""
    file = os.environ.get("LUMOMIXCALC_FORK_SERVER")
    if not file:
        return None
    requests, socket_there = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    requests.settimeout(100)
    with open(file, "rb") as library, socket_there:  # LD_PRELOAD holds no name with a blank
        process = subprocess.Popen(
            [PROGRAM], stdin=socket_there, process_group=0, pass_fds=[library.fileno()],
            env={**os.environ, "LD_PRELOAD": f"/proc/self/fd/{library.fileno()}"})

    @atexit.register
    def _():  # a run that hangs ends, too
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        requests.close()

    return requests


def fork(requests, arguments, folder):
    """What subprocess.run returns, of a run through the fork server."""
    with (tempfile.NamedTemporaryFile("r", errors="replace") as stdout,
          tempfile.NamedTemporaryFile("r", errors="replace") as stderr):
        words = folder or os.getcwd(), stdout.name, stderr.name, PROGRAM, *arguments
        requests.send(b"".join(os.fsencode(word) + b"\0" for word in words))
        (status,) = struct.unpack("i", requests.recv(4))
        return subprocess.CompletedProcess(arguments, os.waitstatus_to_exitcode(status),
                                           stdout.read(), stderr.read())


def run(*arguments, prefix=(), cwd=None, **options):
    """Runs the program to its end; a run that hangs is an error."""
    print(str(arguments)[:1000])
    if not prefix and not options and fork_server():
        return fork(fork_server(), arguments, cwd)
    options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "cwd": cwd, **options}
    return subprocess.run([*prefix, PROGRAM, *arguments], text=True, errors="replace",
                          timeout=100, **options)


def write(path, array, *creation, type=None, change=None, **options):
    """Writes an array, bands first, with creation options, as the type of this name; other options
    are gdal.Translate's. Changes the dataset before it is closed."""
    options.setdefault("creationOptions", creation)
    dataset = gdal.Translate(path, gdal_array.OpenArray(np.asarray(array)),
                             outputType=gdal.GetDataTypeByName(type or "Unknown"), **options)
    if change:
        change(dataset)


def bounds(array, x=0):
    """The option that gives a raster GEOTRANSFORM's place, moved by x metres."""
    left, pixel, _, top, _, _ = GEOTRANSFORM
    rows, columns = array.shape[-2:]
    return {"outputBounds": (left + x, top, left + x + pixel * columns, top - pixel * rows)}


def read(path):
    return gdal.Open(path).ReadAsArray()


def strict_json(text):
    """Fails on NaN and infinities, which are not JSON."""
    return json.loads(text, parse_constant=lambda name: 1 / 0)


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own, which goes when it ends, and names for files in it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="lumomixcalc-test-")
        self.addCleanup(folder.cleanup)
        self.folder = os.path.realpath(folder.name)
        self.a, self.b, self.out = map(self.path, ("a.tif", "b.tif", "out.tif"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def files(self):
        """What is in all files, and the modes of folders and whatever else is there or cannot be
        read, by path."""
        return {path: path.read_bytes() if path.is_file() and os.access(path, os.R_OK)
                else path.lstat().st_mode for path in Path(self.folder).rglob("*")}

    def temporary_files(self):
        """The rasters that runs are writing: sizes by path, without those that vanish meanwhile."""
        sizes = {}
        for path in glob.glob(self.path("**/.lumomixcalc-*/*.tif"), recursive=True):
            with contextlib.suppress(FileNotFoundError):
                sizes[path] = os.path.getsize(path)
        return sizes

    def done(self, *arguments, **options):
        """A run that must succeed."""
        result = run(*arguments, **options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result

    def made(self, *arguments):
        """A run that must succeed, over an older output: its dataset and its report."""
        result = self.done(*arguments, self.out, "-overwrite", "-stats=-")
        return gdal.Open(self.out), strict_json(result.stdout)

    def told(self, path, report):
        """The application's records of each band; and all else that a raster and its run tell."""
        dataset = gdal.Open(path)
        bands = [dataset.GetRasterBand(i + 1) for i in range(dataset.RasterCount)]
        metadata = dataset.GetMetadata()
        self.assertIn("-operator=", metadata.pop("LUMOMIXCALC_COMMAND"))
        records = [band.pop("records", None) or [band.pop("record")] for band in report["bands"]]
        return records, [
            [end(float(one[name]) for one in of_band)  # the application's depend on where NaN is
             for band, of_band in zip(report["bands"], records)
             for name, end in (("minimum", min), ("maximum", max))
             if band["no_data"] == 0 and report["looks"] == [1, 1]],
            hash(dataset.ReadAsArray().tobytes()), metadata, dataset.GetMetadata("RPC"),
            dataset.GetGeoTransform(), dataset.GetProjection(), dataset.GetGCPProjection(),
            [(round(p.GCPPixel, 4), round(p.GCPLine, 4), p.GCPX) for p in dataset.GetGCPs()],
            *(report[key] for key in ("mode", "columns", "rows", "looks", "bands")),
            sorted(report["warnings"]),
            [(b.GetMetadata(), repr(b.GetNoDataValue()), b.GetDescription(), b.GetUnitType(),
              b.DataType, b.GetColorInterpretation()) for b in bands]]

    def result(self, *arguments):
        """The elements of such a run."""
        return self.made(*arguments)[0].ReadAsArray()

    def warned(self, text, *arguments):
        """A run with -strict that must tell one warning, and be refused for it, or one note, and
        succeed, with the text in it; or, without a text, nothing."""
        result = run(*arguments, self.out, "-overwrite", "-strict")
        told = rf"lumomixcalc: note: .*{re.escape(text)}.*\n" if text else ""
        if text and result.returncode == GIVEN_UP:
            told = told.replace("note", "warning") + "lumomixcalc: -strict: 1 warning, .*\n"
        else:
            self.assertEqual(result.returncode, 0, result.stderr)
        self.assertRegex(result.stderr, rf"\A{told}\Z")

    def refused(self, named, *arguments, status=GIVEN_UP, **options):
        """A run that must end with a status and one sentence that has the text named in it, and
        leave all files as they were."""
        before = self.files()
        result = run(*arguments, **options)
        self.assertEqual(result.returncode, status, result.stderr)
        self.assert_one_sentence(result.stderr, named)
        after = self.files()
        changed = [path for path in {*before, *after} if before.get(path) != after.get(path)]
        self.assertEqual(changed, [])

    def assert_one_sentence(self, stderr, named):
        """Warnings and notes may come before it."""
        self.assertRegex(stderr, r"\A(lumomixcalc: (warning|note): .*\n)*lumomixcalc: .*\n\Z")
        self.assertIn(named, stderr[:-1].rpartition("\n")[2])
        self.assertNotRegex(stderr, r"\.lumomixcalc-\w{6}/|/vsimem/l")
