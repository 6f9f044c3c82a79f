"""Faults made for real: whatever goes wrong, the program ends with a status and one sentence that
names the file, what was there before is there unchanged, and nothing else is.
"""

import os
import resource
import shutil
import signal
import subprocess
import time
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import GIVEN_UP, read, write

TILES = "TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64"
LAYOUTS = (  # file, driver, creation options
    ("striped.tif", "GTiff", ()),
    ("tiled.tif", "GTiff", TILES),
    ("deflate.tif", "GTiff", ("COMPRESS=DEFLATE",)),
    ("tiled-deflate.tif", "GTiff", ("TILED=YES", "COMPRESS=DEFLATE")),
    ("raw.img", "ENVI", ()),
    ("hfa.img", "HFA", ()),
)
OUTPUT_LAYOUTS = (
    *LAYOUTS,
    ("copied-text.asc", "AAIGrid", ()),
    ("copied-points.xyz", "XYZ", ()),
    ("netcdf.nc", "netCDF", ()),
    ("a.tif", "GTiff", TILES),  # in place of an input
)
RAW_HEADER = ("ENVI\nsamples = {}\nlines = {}\nbands = 1\ndata type = 4\ninterleave = bsq\n"
              "byte order = 0\n")
SIGNALS = signal.SIGINT, signal.SIGTERM, signal.SIGHUP


def limit(**sizes):
    """For preexec_fn: limits of resources by name."""
    return lambda: [resource.setrlimit(getattr(resource, f"RLIMIT_{name}"), (size, size))
                    for name, size in sizes.items()]


class FaultTest(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.noise = np.random.default_rng(1).normal(size=(512, 400)).astype(np.float32)
        write(self.a, self.noise)
        write(self.b, self.noise[::-1])

    def files(self):
        """All files with what is in them, and folders with what their modes are."""
        return {path: path.read_bytes() if path.is_file() else path.stat().st_mode
                for path in Path(self.folder).rglob("*")}

    def loses_nothing(self, named, *arguments, **options):
        """A run over an old output that must fail and leave all as it was."""
        before = self.files()
        self.refused(named, *arguments, "-overwrite", **options)
        after = self.files()
        changed = [path for path in {*before, *after} if before.get(path) != after.get(path)]
        self.assertEqual(changed, [])


class FullDisk(FaultTest):
    def test_limit_on_the_size_of_a_file(self):
        for file, driver, options in OUTPUT_LAYOUTS:
            out = self.path(file)
            arguments = (self.a, self.b, out, f"-format={driver}",
                         *(f"-co={option}" for option in options))
            self.done(*arguments, "-overwrite")
            size = os.path.getsize(out)
            # Without a byte, in the header, among the elements, in the last of them.
            limits = {0, 100, 4096, size // 2, size - 1000}
            for bytes_ in sorted(limits):
                with self.subTest(bytes=bytes_, of=size):
                    self.loses_nothing(out, *arguments, preexec_fn=limit(FSIZE=bytes_))

    def test_device_that_is_full(self):
        # By a link: a program that put a file in its place must not take the machine's device.
        report = self.path("full")
        os.symlink("/dev/full", report)
        self.refused(report, self.a, self.b, self.out, f"-stats={report}")
        with open("/dev/full", "w") as full:
            self.refused("standard output", self.a, self.b, self.out, "-overwrite", stdout=full)


class DamagedInput(FaultTest):
    def test_cut_short_or_overwritten(self):
        for file, driver, options in LAYOUTS:
            damaged = self.path(file)
            write(damaged, self.noise, format=driver, creationOptions=options)
            self.done(damaged, self.b, self.out, "-overwrite")
            whole = Path(damaged).read_bytes()
            middle = len(whole) // 2
            damages = [whole[:kept] for kept in (0, 100, middle, len(whole) - 500)]
            if "deflate" in file:  # elsewhere these are other pixels
                damages.append(whole[:middle] + b"\xff" * 5000 + whole[middle + 5000:])
            for data in damages:
                Path(damaged).write_bytes(data)
                with self.subTest(kept=len(data), of=len(whole)):
                    self.loses_nothing(damaged, self.b, damaged, self.out)

    def test_part_of_a_mosaic_vanished(self):
        mosaic = self.path("mosaic.vrt")
        gdal.Translate(mosaic, self.a, format="VRT")
        self.done(mosaic, self.out, "-operator=a1+b")
        os.remove(self.a)
        self.loses_nothing(mosaic, mosaic, self.out, "-operator=a1+b")

    def test_sizes_that_no_image_has(self):
        """Neither a crash nor the memory of the machine, whatever a header claims."""
        if b"__asan_init" in Path(harness.PROGRAM).read_bytes():
            self.skipTest("sanitizers reserve more address space than any limit leaves")
        Path(self.path("raw.img")).write_bytes(b"1234" * 1000)
        virtual = ('<VRTDataset rasterXSize="{}" rasterYSize="{}">'
                   '<VRTRasterBand dataType="Float32" band="1"/></VRTDataset>')
        for file, text, columns, rows, named in (
                ("claim.vrt", virtual, 0, 10, "claim.vrt"),
                ("claim.vrt", virtual, -5, 5, "claim.vrt"),
                # Valid images of zeros, but vast.
                ("claim.vrt", virtual, 2_000_000, 2_000_000, "out.tif"),
                ("claim.vrt", virtual, 3, 2_147_483_647, "out.tif"),
                ("raw.hdr", RAW_HEADER, 2_000_000, 2_000_000, "raw.img")):
            Path(self.path(file)).write_text(text.format(columns, rows))
            raster = self.path(file.replace(".hdr", ".img"))
            self.loses_nothing(named, raster, self.out, "-operator=a1+b",
                               preexec_fn=limit(AS=2 << 30, FSIZE=20 << 20))


class ForbiddenPlaces(FaultTest):
    def test_folder_that_is_read_only(self):
        folder = self.path("read-only")
        os.mkdir(folder)
        Path(f"{folder}/old.tif").write_bytes(b"old")
        os.chmod(folder, 0o555)
        self.addCleanup(os.chmod, folder, 0o755)
        # Root too shall be bound by the modes of files.
        bound = ["setpriv", "--bounding-set=-dac_override"] if os.geteuid() == 0 else []
        for out in f"{folder}/old.tif", f"{folder}/new.tif":
            self.loses_nothing(out, self.a, self.b, out, prefix=bound)

    def test_folder_in_the_place_of_a_header(self):
        out, header = self.path("out.img"), self.path("out.hdr")
        self.done(self.a, self.b, out, "-format=ENVI")
        os.remove(header)
        os.mkdir(header)
        self.loses_nothing(header, self.a, self.b, out, "-format=ENVI", "-a=2")


class MidRun(FaultTest):
    """Faults that come while the program is at work on a large image, a sparse raw file."""

    SIZE = 12000

    def setUp(self):
        super().setUp()
        self.big = self.path("big.img")
        Path(self.path("big.hdr")).write_text(RAW_HEADER.format(self.SIZE, self.SIZE))
        Path(self.big).touch()
        os.truncate(self.big, 4 * self.SIZE**2)
        Path(self.out).write_bytes(b"old")

    def temporary_folders(self):
        return {path.parent for path in Path(self.folder).glob(".lumomixcalc-*/out.tif")}

    def start(self, *options, ignored=()):
        """A run on the large image that has begun to write."""
        before = self.temporary_folders()
        process = subprocess.Popen(
            [harness.PROGRAM, self.big, self.out, "-operator=a1+b", "-mode=byte", *options],
            stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True,
            # Where the tests run in the background, some may be ignored.
            preexec_fn=lambda: [signal.signal(
                number, signal.SIG_IGN if number in ignored else signal.SIG_DFL)
                for number in SIGNALS])
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        while process.poll() is None and self.temporary_folders() <= before:
            time.sleep(0.001)
        self.assertIsNone(process.poll(), "the run ended before it could be disturbed")
        return process

    def assert_nothing_left(self):
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["a.tif", "b.tif", "big.hdr", "big.img", "out.tif"])

    def test_disturbed(self):
        for status, named, disturb in (
                *((-n, signal.strsignal(n), lambda run, n=n: run.send_signal(n)) for n in SIGNALS),
                (GIVEN_UP, self.out, lambda _: shutil.rmtree(*self.temporary_folders())),
                (GIVEN_UP, self.big, lambda _: os.truncate(self.big, 4 * self.SIZE))):
            process = self.start("-overwrite")
            process.send_signal(signal.SIGSTOP)
            disturb(process)
            process.send_signal(signal.SIGCONT)
            _, stderr = process.communicate(timeout=60)
            self.assertEqual(process.returncode, status, stderr)
            self.assertEqual(Path(self.out).read_bytes(), b"old")
            self.assert_one_sentence(stderr, named)
            self.assert_nothing_left()

    def test_a_kill_leaves_one_hidden_folder_and_the_old_output(self):
        process = self.start("-overwrite")
        process.kill()
        process.communicate()
        self.assertEqual(Path(self.out).read_bytes(), b"old")
        self.assertEqual(len(os.listdir(self.folder)), 6)

    def test_a_thread_that_waits_for_ever_does_not_keep_a_signal_waiting(self):
        os.mkfifo(self.path("pipe"))
        for signals in (1, 2):
            process = subprocess.Popen([harness.PROGRAM, self.path("pipe"), self.out, "-overwrite"],
                                       stderr=subprocess.DEVNULL)
            time.sleep(0.2)
            for _ in range(signals):
                process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(timeout=30), -signal.SIGTERM)

    def test_an_ignored_hangup_stays_ignored(self):
        process = self.start("-overwrite", ignored=[signal.SIGHUP])
        process.send_signal(signal.SIGHUP)
        self.assertEqual(process.wait(timeout=60), 0)

    def test_two_runs_to_one_output(self):
        """The later to end replaces the other's where it may, and is refused where it may not."""
        for options, statuses in ((["-overwrite"], [0, 0]), ([], [0, GIVEN_UP])):
            os.remove(self.out)
            processes = []
            for number in (0, 1):
                processes.append(self.start(f"-b={number}", *options))
                processes[-1].send_signal(signal.SIGSTOP)
            for process in processes:
                process.send_signal(signal.SIGCONT)
            stderr = "".join(process.communicate(timeout=60)[1] for process in processes)
            ends = [process.returncode for process in processes]
            self.assertEqual(sorted(ends), statuses, stderr)
            self.assertEqual(stderr.count(self.out), statuses.count(GIVEN_UP))
            result = read(self.out)
            self.assertEqual(ends[result[0, 0]], 0)
            self.assertTrue(np.all(result == result[0, 0]))
            self.assert_nothing_left()
