# Faults made for real: whatever goes wrong, the program ends with a status and one sentence that
# names the file, what was there before is there unchanged, and nothing else is.

import errno
import os
import pty
import re
import resource
import select
import shutil
import signal
import subprocess
import time
import unittest
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import GIVEN_UP, read, write

COPY = "-operator=a1b"
TILES = "TILED=YES", "BLOCKXSIZE=32", "BLOCKYSIZE=32"
LAYOUTS = (  # file, driver, creation options
    ("striped.tif", "GTiff"), ("tiled.tif", "GTiff", *TILES),
    ("deflate.tif", "GTiff", "COMPRESS=DEFLATE"),
    ("tiled-deflate.tif", "GTiff", "COMPRESS=DEFLATE", *TILES),
    ("raw.img", "ENVI", "INTERLEAVE=BIP"), ("hfa.img", "HFA"),
)
OUTPUT_LAYOUTS = (
    ("a.tif", "GTiff", *TILES),  # in place of an input
    *(layout for layout in LAYOUTS if layout[0] != "tiled.tif"),
    ("copied-text.asc", "AAIGrid"), ("copied-points.xyz", "XYZ"), ("netcdf.nc", "netCDF"),
    ("pcidsk.pix", "PCIDSK"),
)
RAW_HEADER = ("ENVI\nsamples = {}\nlines = {}\nbands = 1\ndata type = 4\ninterleave = bsq\n"
              "byte order = 0\n")
SIGNALS = signal.SIGINT, signal.SIGTERM, signal.SIGHUP


def limit(**sizes):
    """For preexec_fn: limits of resources by name."""
    return lambda: [resource.setrlimit(getattr(resource, f"RLIMIT_{name}"), (size, size))
                    for name, size in sizes.items()]


class Faults(harness.ProgramTest):
    def setUp(self):
        super().setUp()
        self.noise = np.random.default_rng(1).normal(size=(100, 120)).astype(np.float32)
        write(self.a, self.noise)
        write(self.b, self.noise[::-1])

    def test_full_disk(self):
        for number, (file, driver, *options) in enumerate(OUTPUT_LAYOUTS):
            out = self.path(file)
            arguments = (self.a, self.b, out, "-overwrite", f"-format={driver}",
                         *(f"-co={option}" for option in options))
            self.done(*arguments)
            size = os.path.getsize(out)
            # Without a byte or in the header, among the elements, in the last of them.
            for bytes_ in (number % 2 * 100, size // 2, size - 1000):
                self.refused(out, *arguments, preexec_fn=limit(FSIZE=bytes_))
        write(self.a, [[1]])  # has more metadata than elements
        self.refused("Unable to save auxiliary information", self.a, self.path("o.img"), COPY,
                     "-format=ENVI", preexec_fn=limit(FSIZE=500))

    def test_input_cut_short_or_overwritten(self):
        for file, driver, *options in (*LAYOUTS, ("pci.pix", "PCIDSK")):
            damaged = self.path(file)
            write(damaged, [self.noise] * 2, *options, format=driver)
            whole = Path(damaged).read_bytes()
            middle = len(whole) // 2
            damages = [(damaged, whole[:100]), (damaged, whole[:-500])]
            if "deflate" in file:  # elsewhere these are other pixels
                damages.append(("Decoding error", whole[:middle] + b"\xff" * 5000 + whole[middle + 5000:]))
            for named, data in damages:
                Path(damaged).write_bytes(data)
                self.refused(named, self.b, damaged, self.out)
            Path(self.path("out.hdr")).touch()  # is found before a missing end of elements
            if file == "striped.tif":
                self.refused("out.hdr", damaged, self.path("out.img"), "-format=ENVI", COPY)
            if driver == "ENVI":
                Path(damaged).write_bytes(whole[:-1])
                self.refused(damaged, self.b, damaged, self.out, "-resolution=2")
                bare, nested, rows = self.path("bare"), self.path("nested.vrt"), len(self.noise)
                os.rename(damaged, bare)  # without its header
                gdal.GetDriverByName("VRT").Create(
                    self.path("bare.vrt"), len(whole) // rows // 4, rows, 0).AddBand(
                    gdal.GDT_Float32, ["subClass=VRTRawRasterBand", "SourceFilename=bare",
                                       "relativeToVRT=1"])
                gdal.Translate(nested, self.path("bare.vrt"), format="VRT")
                for vrt in self.path("bare.vrt"), nested:
                    self.refused(f"the file {bare} has {len(whole) - 1} bytes, and its header claims "
                                 f"{len(whole)}", vrt, self.out, COPY)
        gdal.Translate(self.path("mosaic.vrt"), self.a, format="VRT")
        os.remove(self.a)
        self.refused("mosaic.vrt", self.path("mosaic.vrt"), self.out, COPY)
        os.mkfifo(self.a)
        self.refused("it is a pipe; a file is expected", self.b, self.a, self.out)
        gdal.SetConfigOption("GDAL_TIFF_INTERNAL_MASK", "NO")
        self.addCleanup(gdal.SetConfigOption, "GDAL_TIFF_INTERNAL_MASK", None)
        write(self.b, self.noise, change=lambda raster: raster.CreateMaskBand(gdal.GMF_PER_DATASET))
        gdal.Open(f"{self.b}.msk", gdal.GA_Update).WriteArray(self.noise > 0)
        os.truncate(f"{self.b}.msk", os.path.getsize(f"{self.b}.msk") - 200)
        self.refused("cannot read the mask", self.b, self.out, COPY)

    def test_closed_standard_descriptors_are_no_files_of_the_run(self):
        virtual = [self.path("v.vrt")] * 2  # whose source is opened after the output
        gdal.Translate(virtual[0], self.a)
        arguments = *virtual, self.out, "-operator=a1_conj_b2", "-b=0:1", "-overwrite"
        self.assertIn("imaginary", self.done(*arguments).stderr)
        files = self.files()
        for closed in (0, 1), (1, 2), (2, 3), (0, 3):  # from the first to before the second
            self.done(*arguments, preexec_fn=lambda: os.closerange(*closed))
            self.assertEqual(self.files(), files)

    def test_panel_is_started_with_all_arguments_and_without_any_on_a_desktop_alone(self):
        program, panel = self.path("lumomixcalc"), Path(self.path("lumomixcalc-panel"))
        shutil.copy(harness.PROGRAM, program)
        none, pipe, display = subprocess.DEVNULL, subprocess.PIPE, {"DISPLAY": ":nowhere"}
        hidden = {name: text for name, text in os.environ.items() if "DISPLAY" not in name}
        for shown, stdin, stdout, environment, *arguments in (
                (True, none, none, display), (True, none, none, {"WAYLAND_DISPLAY": "nowhere"}),
                (True, none, pipe, {}, "-a=2", "-panel", "a b"), (False, none, none, {}),
                (False, none, pipe, display), (False, pipe, none, display)):
            panel.write_text('#!/bin/sh\necho shown "$@" >&2')
            panel.chmod(0o755)
            for there in True, False:
                told = subprocess.run([program, *arguments], stdin=stdin, stdout=stdout,
                                      stderr=pipe, env=hidden | environment, text=True,
                                      check=False).stderr
                expected = f"shown {' '.join(arguments) or '-panel'}\n"
                if not (shown and there):
                    expected = "cannot start" if arguments else "no output file"
                self.assertIn(expected, told)
                panel.unlink(missing_ok=True)

    def test_no_thread(self):
        self.refused("cannot start a thread", self.a, self.out, COPY,
                     preexec_fn=limit(STACK=1 << 46))

    def test_forbidden_places(self):
        # Root must obey file permissions, too.
        bound = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"]
        bound = bound if os.geteuid() == 0 else []
        folder = self.path("read-only")
        os.mkdir(folder)
        for file in f"{folder}/old.tif", self.path("secret.tif"):
            Path(file).write_bytes(b"old")
        os.chmod(self.path("secret.tif"), 0o200)
        os.chmod(folder, 0o555)
        self.addCleanup(os.chmod, folder, 0o755)
        for out in f"{folder}/old.tif", f"{folder}/new.tif":
            self.refused(out, self.a, self.b, out, "-overwrite", "-check", prefix=bound)
        self.refused("secret.tif", self.path("secret.tif"), self.out, COPY, prefix=bound)
        Path(self.path("out.img")).write_bytes(b"old")
        os.mkdir(self.path("out.hdr"))
        self.refused("out.hdr", self.a, self.b, self.path("out.img"), "-format=ENVI", "-overwrite")


@unittest.skipIf(b"__asan_init" in Path(harness.PROGRAM).read_bytes(),
                 "sanitizers reserve more address space than any limit leaves")
class LimitedMemory(harness.ProgramTest):
    def test_sizes_that_no_image_has(self):
        Path(self.path("raw.img")).write_bytes(b"1234" * 1000)
        virtual = ('<VRTDataset rasterXSize="{}" rasterYSize="{}">'
                   '<VRTRasterBand dataType="Float32" band="1"/></VRTDataset>')
        for file, text, columns, rows, named in (
                # Valid images of zeros, but vast.
                ("claim.vrt", virtual, 2_000_000, 2_000_000, "out.tif"),
                ("claim.vrt", virtual, 3, 2_147_483_647, "out.tif"),
                ("raw.hdr", RAW_HEADER, 2_000_000, 2_000_000, "raw.img")):
            Path(self.path(file)).write_text(text.format(columns, rows))
            raster = self.path(file.replace(".hdr", ".img"))
            self.refused(named, raster, self.out, COPY,
                         preexec_fn=limit(AS=2 << 30, FSIZE=20 << 20))


class MidRun(harness.ProgramTest):
    """Faults that come while the program is at work: slow arithmetic on a sparse raw file."""

    def setUp(self):
        super().setUp()
        self.big = self.path("big.img")
        Path(self.path("big.hdr")).write_text(RAW_HEADER.format(2000, 2000))
        Path(self.big).touch()
        os.truncate(self.big, 4 * 2000 * 2000)
        Path(self.out).write_bytes(b"old")

    def start(self, *options, ignored=(), stderr=subprocess.PIPE):
        """A run on the large image, stopped when it has begun to write."""
        before = self.temporary_files().keys()
        process = subprocess.Popen(
            [harness.PROGRAM, self.big, *[self.out] * ("-part=1/1" not in options),
             "-operator=1+b_pow_a", "-a=1:1e-6", "-mode=byte", *options],
            stderr=stderr, stdout=subprocess.DEVNULL, text=True,
            # Where the tests run in the background, some may be ignored.
            preexec_fn=lambda: [signal.signal(
                number, signal.SIG_IGN if number in ignored else signal.SIG_DFL)
                for number in SIGNALS])
        self.addCleanup(process.kill)
        while process.poll() is None and self.temporary_files().keys() <= before:
            time.sleep(0.001)
        self.assertIsNone(process.poll(), "the run ended before it could be disturbed")
        process.send_signal(signal.SIGSTOP)
        return process

    def end(self, process, stopped=True):
        """Lets a run go on to its end; returns its status and what it told."""
        if stopped:  # to others SIGCONT would undo the stop in which a sanitizer looks for leaks
            process.send_signal(signal.SIGCONT)
        stderr = process.communicate(timeout=60)[1]
        return process.returncode, stderr

    def assert_nothing_left(self):
        self.assertEqual(sorted(os.listdir(self.folder)), ["big.hdr", "big.img", "out.tif"])

    def test_disturbed(self):
        def hurry(process):  # the second ends it at once, without a word
            for number in SIGNALS[:2]:
                process.send_signal(number)
        for status, named, disturb in (
                *((-n, signal.strsignal(n), lambda run, n=n: run.send_signal(n)) for n in SIGNALS),
                (-signal.SIGINT, None, hurry),
                (GIVEN_UP, self.out, lambda _: shutil.rmtree(*map(os.path.dirname, self.temporary_files()))),
                (GIVEN_UP, "big.hdr of the input", lambda _: os.utime(self.path("big.hdr"))),
                (GIVEN_UP, self.big, lambda _: os.truncate(self.big, 4 * 2000))):
            process = self.start("-overwrite")
            disturb(process)
            returned, stderr = self.end(process)
            self.assertEqual(returned, status, stderr)
            self.assertEqual(Path(self.out).read_bytes(), b"old")
            if named:
                self.assert_one_sentence(stderr, named)
            self.assert_nothing_left()

    def open_for(self, process, pipe):
        """Opens a pipe for writing when the process has opened it for reading."""
        while True:
            self.assertIsNone(process.poll(), "the run ended before it read")
            try:
                return os.open(pipe, os.O_WRONLY | os.O_NONBLOCK)
            except OSError as error:
                self.assertEqual(error.errno, errno.ENXIO)  # nobody reads yet
            time.sleep(0.001)

    def test_a_thread_that_waits_for_ever_does_not_keep_a_signal_waiting(self):
        os.mkfifo(self.path("pipe"))
        image = ('<VRTDataset rasterXSize="1" rasterYSize="1"><VRTRasterBand band="1"><SimpleSource>'
                 f'<SourceFilename>{self.path("pipe")}</SourceFilename></SimpleSource>'
                 '</VRTRasterBand></VRTDataset>')
        for signals in (1, 2):
            process = subprocess.Popen([harness.PROGRAM, image, self.out, COPY],
                                       stderr=subprocess.DEVNULL)
            self.addCleanup(process.kill)
            self.addCleanup(os.close, self.open_for(process, self.path("pipe")))
            for _ in range(signals):
                process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(timeout=15), -signal.SIGTERM)

    def test_no_output_is_published_after_a_signal(self):
        # The report is written before, to a pipe that holds less of it.
        pipe = self.path("pipe")
        os.mkfifo(pipe)
        with open(os.open(pipe, os.O_RDONLY | os.O_NONBLOCK), "rb") as report:
            process = subprocess.Popen(
                [harness.PROGRAM, self.big, self.out, "-overwrite", COPY, "-region=0:0:9:9",
                 f"-stats={pipe}", "-bands=" + "1," * 399 + "1"], stderr=subprocess.DEVNULL)
            self.addCleanup(process.kill)
            self.assertTrue(select.select([report], [], [], 60)[0], "there is no report")
            os.set_blocking(report.fileno(), True)
            process.send_signal(signal.SIGTERM)
            state = Path(f"/proc/{process.pid}/status")
            while "ShdPnd:\t0000000000000000" not in state.read_text():  # has not arrived
                time.sleep(0.001)
            report.read()
        self.assertEqual(process.wait(), -signal.SIGTERM)
        os.remove(pipe)
        self.assertEqual(Path(self.out).read_bytes(), b"old")
        self.assert_nothing_left()

    def test_progress_is_a_bar_in_a_terminal_alone_or_numbers_and_an_ignored_hangup_stays_ignored(self):
        line = r"(\[(?=.{30}\])=* *\] +\d+ %, \d+:\d\d left\r\x1b\[K)+"
        for terminal, bar, *options in (
                (True, line), (True, "", "-quiet"), (False, ""),
                (True, r"(\d+\r\n){5,100}100\r\n", "-progress"),
                (False, r"(\d+\n){5,100}100\n", "-progress", "-quiet")):
            main, end = pty.openpty()
            process = self.start("-b=1", "-overwrite", *options, ignored=[signal.SIGHUP],
                                 stderr=end if terminal else subprocess.PIPE)
            process.send_signal(signal.SIGHUP)
            time.sleep(0.6)  # a shorter run shows no bar
            status, told = self.end(process)
            os.write(end, b".")
            shown = "" if terminal else told + "."
            while not shown.endswith("."):
                shown += os.read(main, 10_000).decode()
            os.close(main)
            os.close(end)
            self.assertEqual(status, 0)
            self.assertRegex(shown, rf"\A{bar}(lumomixcalc: warning: .*\r?\n)*\.\Z")
            # Half a second or more has passed.
            for done, left in re.findall(r"(\d+) %, 0:(\d+)", shown)[:1]:
                self.assertGreaterEqual((int(done) + 1) * int(left), 0.5 * (99 - int(done)))

    def test_a_compressed_output_has_room_beyond_the_limit_of_a_classic_tiff(self):
        process = self.start("-overwrite", "-mode=cfloat32", "-co=COMPRESS=LZW",
                             "-bands=" + "1," * 99 + "1")
        process.send_signal(signal.SIGCONT)
        head, (path,) = b"", self.temporary_files()
        while not head:
            self.assertIsNone(process.poll())
            with open(path, "rb") as file:
                head = file.read(4)
        self.assertEqual(head, b"II\x2b\0")

    def test_two_runs_to_one_output(self):
        mosaic = f"-save={self.path('o.vrt')}", "-part=1/1"
        processes = [self.start(*mosaic), self.start(*mosaic)]
        for process in processes:
            process.send_signal(signal.SIGCONT)
        while min(self.temporary_files().values(), default=4e6) < 4e6:
            time.sleep(0.001)  # until both have passed the checks before a run
        processes[1].send_signal(signal.SIGSTOP)
        ends = [self.end(processes[0], stopped=False), self.end(processes[1])]
        self.assertEqual([status for status, _ in ends], [0, 0], ends)
        shutil.rmtree(self.path("o.parts"))
        # The later to end replaces the other's where it may, and is refused where it may not.
        for options, statuses in ((["-overwrite"], [0, 0]), ([], [0, GIVEN_UP])):
            os.remove(self.out)
            processes = [self.start(f"-b={number}", *options) for number in (1, 2)]
            processes[1].send_signal(signal.SIGCONT)
            ends, told = zip(self.end(processes[0]), self.end(processes[1], stopped=False))
            self.assertEqual(sorted(ends), statuses, told)
            self.assertEqual("".join(told).count(self.out), statuses.count(GIVEN_UP))
            result = read(self.out)
            self.assertEqual(ends[result[0, 0] - 1], 0)
            self.assertTrue(np.all(result == result[0, 0]))
            self.assert_nothing_left()
