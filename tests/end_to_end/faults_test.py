"""Faults made for real: whatever goes wrong, the program ends with a status and one sentence that
names the file, what was there before is there unchanged, and nothing else is.

Usage: faults_test.py LUMOMIXCALC
"""

import contextlib
import os
import re
import resource
import shutil
import signal
import subprocess
import time
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import WRONG_COMMAND_LINE, read, write

LAYOUTS = {  # name: driver, extension, creation options
    "striped": ("GTiff", "tif", ()),
    "tiled": ("GTiff", "tif", ("TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64")),
    "deflate": ("GTiff", "tif", ("COMPRESS=DEFLATE",)),
    "tiled deflate": ("GTiff", "tif", ("TILED=YES", "COMPRESS=DEFLATE")),
    "raw": ("ENVI", "img", ()),
    "hfa": ("HFA", "img", ()),
}
OUTPUT_LAYOUTS = {**LAYOUTS, "copied text": ("AAIGrid", "asc", ()), "netcdf": ("netCDF", "nc", ())}
# Sanitizers reserve more address space than any limit leaves.
SANITIZED = "the program is built with a sanitizer"


def limit(what, size):
    """For preexec_fn."""
    return lambda: resource.setrlimit(what, (size, size))


def sanitized():
    return b"__asan_init" in Path(harness.PROGRAM).read_bytes()


class FaultTest(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        random = np.random.default_rng(1)
        self.noise = random.normal(size=(512, 400)).astype(np.float32)
        write(self.a, [self.noise]).FlushCache()
        write(self.b, [self.noise[::-1]]).FlushCache()

    def files(self):
        return {path: path.read_bytes() for path in Path(self.folder).rglob("*") if path.is_file()}

    @contextlib.contextmanager
    def nothing_changes(self):
        """All files are afterwards what they were, and there are no others, nor folders."""
        before, names = self.files(), sorted(Path(self.folder).rglob("*"))
        yield
        self.assertEqual(sorted(Path(self.folder).rglob("*")), names)
        for path, data in self.files().items():
            self.assertTrue(data == before[path], f"{path} changed")

    def loses_nothing(self, named, *arguments, **options):
        """A run over an old output that must fail and leave all as it was."""
        with self.nothing_changes():
            return self.refused(named, *arguments, "-overwrite", **options)


class FullDisk(FaultTest):
    def test_limit_on_the_size_of_a_file(self):
        for layout, (driver, extension, options) in OUTPUT_LAYOUTS.items():
            out = self.path(f"{layout.replace(' ', '-')}.{extension}")
            arguments = (self.a, self.b, out, f"-format={driver}",
                         *(f"-co={option}" for option in options))
            self.done(*arguments)
            size = os.path.getsize(out)
            limits = {0, 1, 7, 8, 16, 100, 400, 1000, 4096, size // 4, size // 2, size * 3 // 4,
                      size - 70000, size - 5000, size - 1000, size - 100, size - 8, size - 1}
            for bytes_ in sorted(limits):
                with self.subTest(layout=layout, bytes=bytes_, of=size):
                    self.loses_nothing(out, *arguments,
                                       preexec_fn=limit(resource.RLIMIT_FSIZE, bytes_))

    def test_result_in_place_of_an_input(self):
        for bytes_ in (0, 1000, os.path.getsize(self.a) // 2, os.path.getsize(self.a) - 1000):
            with self.subTest(bytes=bytes_):
                self.loses_nothing(self.a, self.a, self.b, self.a,
                                   preexec_fn=limit(resource.RLIMIT_FSIZE, bytes_))

    def test_small_file_system(self):
        small = self.path("small")
        os.mkdir(small)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=600k", "tmpfs", small],
                                 capture_output=True)
        if mounted.returncode != 0:
            self.skipTest("no right to mount a file system")
        self.addCleanup(subprocess.run, ["umount", small], check=True)
        for layout, (driver, extension, options) in OUTPUT_LAYOUTS.items():
            with self.subTest(layout=layout):
                out = f"{small}/out.{extension}"
                Path(out).write_bytes(b"old")
                self.loses_nothing(out, self.a, self.b, out, f"-format={driver}",
                                   *(f"-co={option}" for option in options))


class DamagedInput(FaultTest):
    def test_cut_short(self):
        for layout, (driver, extension, options) in LAYOUTS.items():
            damaged = self.path(f"damaged-{layout}.{extension}")
            write(damaged, [self.noise], driver=driver, options=options).FlushCache()
            whole = Path(damaged).read_bytes()
            self.done(damaged, self.b, self.out, "-overwrite")
            for kept in (0, 5, 100, len(whole) // 2, len(whole) - 500):
                Path(damaged).write_bytes(whole[:kept])
                with self.subTest(layout=layout, kept=kept, of=len(whole)):
                    self.loses_nothing(damaged, damaged, self.b, self.out)
                    self.loses_nothing(damaged, self.b, damaged, self.out)

    def test_overwritten_in_the_middle(self):
        for layout in ("deflate", "tiled deflate"):
            damaged = self.path(f"damaged-{layout}.tif")
            write(damaged, [self.noise], options=LAYOUTS[layout][2]).FlushCache()
            with open(damaged, "r+b") as file:
                file.seek(os.path.getsize(damaged) // 2)
                file.write(b"\xff" * 5000)
            self.done(self.a, self.out, "-operator=a1+b", "-overwrite")
            with self.subTest(layout=layout):
                self.loses_nothing(damaged, damaged, self.b, self.out)

    def test_part_of_a_mosaic_vanished(self):
        mosaic = self.path("mosaic.vrt")
        gdal.Translate(mosaic, self.a, format="VRT").FlushCache()
        self.done(mosaic, self.out, "-operator=a1+b")
        os.remove(self.a)
        self.loses_nothing(mosaic, mosaic, self.out, "-operator=a1+b")

    def test_sizes_that_no_image_has(self):
        """Neither a crash nor the memory of the machine, whatever a header claims."""
        band = '<VRTRasterBand dataType="Float32" band="1"/>'
        for columns, rows, named in ((10, 0, "claim.vrt"), (0, 10, "claim.vrt"),
                                     (-5, 5, "claim.vrt"), (2_000_000, 2_000_000, "out.tif"),
                                     (2_147_483_647, 2, "out.tif"), (3, 2_147_483_647, "out.tif")):
            claim = self.path("claim.vrt")
            Path(claim).write_text(f'<VRTDataset rasterXSize="{columns}" rasterYSize="{rows}">'
                                   f"{band}</VRTDataset>")
            with self.subTest(columns=columns, rows=rows):
                self.claims_too_much(named, claim)

    def test_raw_file_that_claims_more_than_it_has(self):
        raw = self.path("raw.img")
        write(raw, [self.noise], driver="ENVI").FlushCache()
        header = Path(self.path("raw.hdr"))
        header.write_text(header.read_text().replace("= 512", "= 2000000")
                          .replace("= 400", "= 2000000"))
        self.claims_too_much(raw, raw)

    def claims_too_much(self, named, raster):
        if sanitized():
            self.skipTest(SANITIZED)

        def limits():
            limit(resource.RLIMIT_AS, 2 << 30)()
            limit(resource.RLIMIT_FSIZE, 20 << 20)()  # of a valid but vast image, so much

        self.loses_nothing(named, raster, self.out, "-operator=a1+b", preexec_fn=limits)


class ForbiddenPlaces(FaultTest):
    def test_folder_that_is_read_only(self):
        folder = self.path("read-only")
        os.mkdir(folder)
        Path(f"{folder}/old.tif").write_bytes(b"old")
        os.chmod(folder, 0o555)
        self.addCleanup(os.chmod, folder, 0o755)
        self.refused_without_rights(f"{folder}/old.tif", self.a, self.b, f"{folder}/old.tif")
        self.refused_without_rights(f"{folder}/new.tif", self.a, self.b, f"{folder}/new.tif")

    def test_folder_in_the_place_of_a_header(self):
        out, header = self.path("out.img"), self.path("out.hdr")
        self.done(self.a, self.b, out, "-format=ENVI")
        os.remove(header)
        os.mkdir(header)
        self.loses_nothing(header, self.a, self.b, out, "-format=ENVI", "-a=2")

    def test_input_that_may_not_be_read(self):
        os.chmod(self.b, 0o000)
        self.refused_without_rights(self.b, self.a, self.b, self.out)

    def refused_without_rights(self, named, *arguments):
        """As loses_nothing, but root too shall be bound by the modes of files."""
        program = [harness.PROGRAM, *arguments, "-overwrite"]
        if os.geteuid() == 0:
            program[:0] = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"]
        with self.nothing_changes():
            result = subprocess.run(program, capture_output=True, text=True)
            self.assertEqual(result.returncode, harness.GIVEN_UP, result.stderr)
            self.assert_one_sentence(result.stderr, named)


class LongCommandLines(FaultTest):
    def test_forty_thousand_characters(self):
        many = "1" * 40_000
        files = self.a, self.b, self.out
        for arguments, status in (
                ((*files, f"-operator={many}"), WRONG_COMMAND_LINE),
                ((*files, f"-{many}"), WRONG_COMMAND_LINE),
                ((*files, f"-a={many}"), WRONG_COMMAND_LINE),
                ((*files, f"-mode={many}"), WRONG_COMMAND_LINE),
                ((*files, f"-co={many}=1"), WRONG_COMMAND_LINE),
                ((*files, *["-oops"] * 8_000), WRONG_COMMAND_LINE),
                ((*files, *["x"] * 40_000), WRONG_COMMAND_LINE),
                ((self.a, self.b, self.path(many)), harness.GIVEN_UP),
                ((self.a, many, self.out), harness.GIVEN_UP),
                ((*files, f"-a=0.{many}"), 0),
                ((*files, *["-a=1"] * 10_000, "-overwrite"), 0)):
            with self.subTest(first=arguments[-1][:12], status=status):
                self.assertEqual(harness.run(*arguments).returncode, status)


class MidRun(FaultTest):
    """Faults that come while the program is at work on a large image, a sparse raw file."""

    SIZE = 12000

    def setUp(self):
        super().setUp()
        self.big = self.path("big.img")
        write(self.big, [np.zeros((1, 1), np.float32)], driver="ENVI").FlushCache()
        header = Path(self.path("big.hdr"))
        header.write_text(re.sub(r"(samples|lines  ) = 1\b", rf"\1 = {self.SIZE}",
                                 header.read_text()))
        os.truncate(self.big, 4 * self.SIZE**2)
        Path(self.path("big.img.aux.xml")).unlink(missing_ok=True)
        Path(self.out).write_bytes(b"old")

    def start(self, *options, overwrite=("-overwrite",)):
        """A run on the large image that has begun to write."""
        begun = lambda: len(list(Path(self.folder).glob(".lumomixcalc-*/out.tif")))
        before = begun()
        process = subprocess.Popen(
            [harness.PROGRAM, self.big, self.out, "-operator=a1+b", "-mode=byte", *options,
             *overwrite], stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True)
        self.addCleanup(process.stderr.close)
        while process.poll() is None and begun() == before:
            time.sleep(0.001)
        self.assertIsNone(process.poll(), "the run ended before it could be disturbed")
        return process

    def assert_ends(self, process, named, status=harness.GIVEN_UP):
        _, stderr = process.communicate(timeout=60)
        self.assertEqual(process.returncode, status, stderr)
        self.assert_one_sentence(stderr, named)
        self.assert_old()
        self.assert_nothing_left()

    def assert_old(self):
        self.assertEqual(Path(self.out).read_bytes(), b"old")

    def assert_nothing_left(self):
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["a.tif", "b.tif", "big.hdr", "big.img", "out.tif"])

    def test_killed(self):
        process = self.start()
        process.kill()
        process.wait()
        self.assert_old()
        self.done(self.a, self.b, self.out, "-overwrite")
        np.testing.assert_array_equal(read(self.out), read(self.a) + read(self.b))
        self.assert_nothing_left()

    def test_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number):
                process = self.start()
                process.send_signal(number)
                self.assert_ends(process, signal.strsignal(number), 128 + number)

    def test_input_cut_short_in_mid_run(self):
        process = self.start()
        process.send_signal(signal.SIGSTOP)
        os.truncate(self.big, 4 * self.SIZE)
        process.send_signal(signal.SIGCONT)
        self.assert_ends(process, self.big)

    def test_temporary_files_swept_away(self):
        process = self.start()
        process.send_signal(signal.SIGSTOP)
        for folder in Path(self.folder).glob(".lumomixcalc-*"):
            shutil.rmtree(folder)
        process.send_signal(signal.SIGCONT)
        self.assert_ends(process, self.out)

    def test_two_runs_to_one_output(self):
        processes = [self.start("-b=1"), self.start("-b=2")]
        for process in processes:
            _, stderr = process.communicate(timeout=60)
            self.assertEqual((process.returncode, stderr), (0, ""))
        result = read(self.out)
        self.assertIn(result[0, 0, 0], (1, 2))
        self.assertTrue(np.all(result == result[0, 0, 0]))
        self.assert_nothing_left()

    def test_of_two_runs_to_one_new_output_the_second_to_end_is_refused(self):
        os.remove(self.out)
        processes = [self.start("-b=1", overwrite=()), self.start("-b=2", overwrite=())]
        stderr = [process.communicate(timeout=60)[1] for process in processes]
        self.assertEqual(sorted(process.returncode for process in processes), [0, 1], stderr)
        self.assert_one_sentence("".join(stderr), self.out)
        first = next(b for b, process in enumerate(processes, 1) if process.returncode == 0)
        self.assertTrue(np.all(read(self.out) == first))
        self.assert_nothing_left()


if __name__ == "__main__":
    harness.main()
