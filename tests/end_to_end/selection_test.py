# A part of the inputs: regions, windows on the map, coarser resolutions, bands, each with the
# georeferencing that belongs to it.

import itertools
import os
import shlex
import signal
import subprocess
import time
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import GEOTRANSFORM, bounds, equal, read, write

ROWS, COLUMNS = 400, 2000  # several strips, of a coarser resolution too
IMAGE = np.random.default_rng(2).normal(size=(3, ROWS, COLUMNS)).astype(np.float32)
LEFT, TOP = GEOTRANSFORM[0], GEOTRANSFORM[3]
NAN = np.nan


class Selection(harness.ProgramTest):
    def test_windows_of_decimals_and_on_rotated_images(self):
        window, copy = "-window=0.3:1.8:0.7:2.7", (self.b, self.out, "-operator=a1b", "-overwrite")

        def place(*transform):
            write(self.b, IMAGE[0], change=lambda dataset: dataset.SetGeoTransform(transform))
        place(0, 0.1, 0, 0, 0, 0.3)  # decimals that no double holds exactly shall not add a pixel
        self.done(*copy, window)
        equal(read(self.out), IMAGE[0, 6:9, 3:7])
        self.refused("is not inside", *copy, "-window=1e300:0:2e300:1")
        place(100, 3, 4, 200, 5, -3)
        self.done(*copy, "-region=10:20:40:40", "-resolution=2", "-looks=1:2")
        self.assertEqual(gdal.Open(self.out).GetGeoTransform(), (210, 6, 16, 190, 10, -12))
        self.refused("is rotated on the map", *copy, window)
        write(self.b, IMAGE[0])
        self.refused("has no geotransform", *copy, window)

    def test_part_that_is_not_inside_is_refused_with_the_size(self):
        write(self.a, IMAGE[:, :40, :200], **bounds(IMAGE[:, :40, :200]))
        outside = f" is not inside {self.a} (File1), which has 200 x 40 pixels"
        for option, told in (
                ("-region=0:0:201:1", outside), ("-region=0:40:1:1", outside),
                ("-region=-1:0:5:5", outside), ("-region=2147483647:0:2147483647:1", outside),
                ("-window=0:0:1:1", outside), ("-window=599990:5099000:600100:5099900", outside),
                ("-resolution=41", "is left by -resolution=41"),
                ("-bands=4", "-bands=: there is no band 4")):
            self.refused((option if told[0] == " " else "") + told, self.a, self.out,
                         "-operator=a1b", option)
        write(self.b, IMAGE[0])
        self.refused("there is no band 2", self.b, self.out, "-operator=a1b", "-bands=2")
        write(self.b, IMAGE[:2, :40, :200])
        for pair in (self.a, self.b), (self.b, self.a):
            self.refused(f"choose by -bands=: {pair[0]}", *pair, self.out)
            self.refused(f", {pair[1]} (File2) has 200 x 40", *pair, self.out, "-bands=1,3")

    def write_at(self, path, image, grid, x=0, y=0, system="EPSG:32632", change=None):
        """Its upper left corner is the pixel x, y of a grid."""
        a, b, c, d, e, f = grid
        write(path, image, noData=-9999, outputSRS=system, change=lambda dataset:
              dataset.SetGeoTransform((a + x * b + y * c, b, c, d + x * e + y * f, e, f)))

    def test_images_on_one_grid_are_told_of_the_area_that_they_share(self):
        one, other, share = IMAGE[0, :90, :80], IMAGE[1, :70, :100], "-extent=intersection"
        self.write_at(self.b, other, GEOTRANSFORM, 7, 20)
        self.write_at(self.a, one, GEOTRANSFORM)
        self.refused("is not inside the shared area 7:20:73:70", self.a, self.b, self.out, share,
                     "-region=0:0:80:90")
        self.refused("; -extent=intersection combines the area", self.a, self.b, self.path("o.tif"))

    def test_images_that_share_no_pixels_are_refused_with_the_command_that_makes_them_fit(self):
        one, other, name = IMAGE[0, :90, :80], 1j * IMAGE[1, :70, :100], self.path("it's & 2.tif")
        north, rotated = (LEFT, 30, 0, TOP, 0, -20), (LEFT, 24, 12, TOP, 18, -16)
        self.write_at(self.a, one, north)
        for told, grid, x, *system in (
                ("their origins are 0.5 columns and 0 rows apart", north, 0.5),
                ("their origins are 0.002 columns and 0 rows apart", north, 0.002),
                ("their pixel sizes are ", (LEFT, 15, 0, TOP - 1640, 0, -15), 0),
                ("one is rotated or mirrored against the other", rotated, 0),
                ("one is rotated or mirrored against the other", (LEFT, 30, 0, TOP - 900, 0, 20), 0),
                ("their coordinate reference systems differ", (370.29, 3e-4, 0, 46.05, 0, -3e-4), 0,
                 "EPSG:4326"),
                ("their coordinate reference systems differ", (99e3, 30, 0, 117e3, 0, -30), 0,
                 "+proj=laea +lat_0=45 +lon_0=9")):
            self.write_at(name, other, grid, x, 0, *system)
            self.refused(f"share no pixels of one grid: {told}", name, self.a, self.out,
                         "-extent=intersection")
            for pair in (self.a, name), (name, self.a):
                stderr = harness.run(*pair, self.out).stderr
                self.assertRegex(stderr, f"; {told}.*; to make a file that fits: gdalwarp .* -te (600|370|99)")
                *options, source, made = shlex.split(stderr[stderr.index("gdalwarp"):])
                made = self.path(made)
                gdal.Warp(made, source, options=options[1:])
                self.assertEqual(read(made).dtype, read(source).dtype)
                self.warned("", *({made, *pair} - {source}))
                os.remove(made)
        for told, grid, x in (("their origins are 80 columns and 0 rows apart", north, 80),
                              ("their origins are 0 columns and 90 rows apart",
                               (LEFT, 30, 0, TOP - 1800, 0, -20), 0),
                              ("; they share no area", (LEFT, 15, 0, TOP, 0, -15), 160),
                              ("both have", north, None)):
            if x is not None:
                self.write_at(name, other, grid, x)
            else:
                write(name, other)
            stderr = harness.run(self.a, name, self.out, "-extent=intersection").stderr
            self.assertRegex(stderr, f"share no pixels of one grid: .*{told}.*")
            self.assertNotIn("gdalwarp", stderr)

    def test_resolution_is_that_of_the_whole_region_at_once(self):
        # Strips leave no seams, and overviews are not taken in silence.
        write(self.a, IMAGE, "TILED=YES", **bounds(IMAGE),
              change=lambda dataset: dataset.BuildOverviews("NEAREST", [2, 4]))
        levels = fine, coarse = -1e6 * IMAGE[:, ::2, ::2], -1e6 * IMAGE[:, ::4, ::4]
        dataset = gdal.Open(self.a, gdal.GA_Update)
        for i, level in np.ndindex(3, 2):
            dataset.GetRasterBand(i + 1).GetOverview(level).WriteArray(levels[level][i])
        dataset = None
        whole = gdal.OpenEx(self.a, open_options=["OVERVIEW_LEVEL=NONE"])
        for n, method, algorithm in (
                (4, "nearest", gdal.GRIORA_NearestNeighbour), (7, "average", gdal.GRIORA_Average),
                (2, "bilinear", gdal.GRIORA_Bilinear), (3, "bilinear", gdal.GRIORA_Bilinear),
                (2, "cubic", gdal.GRIORA_Cubic), (4, "cubic", gdal.GRIORA_Cubic)):
            columns, rows = (COLUMNS - 60) // n, (ROWS - 40) // n
            result = self.result(self.a, "-operator=a1b", f"-resolution={n}",
                                 f"-region=20:10:{COLUMNS - 60}:{ROWS - 40}", f"-resampling={method}")
            expected = whole.ReadAsArray(20, 10, columns * n, rows * n, buf_xsize=columns,
                                         buf_ysize=rows, resample_alg=algorithm)
            np.testing.assert_allclose(result, expected, rtol=0, atol=2e-6)
        overview = self.a, "-operator=a1b", "-resampling=overview"
        equal(self.result(*overview, "-resolution=2"), fine)
        equal(self.result(*overview, "-resolution=2", "-oo=OVERVIEW_LEVEL=0"), coarse)
        write(self.b, IMAGE[0], f"BLOCKYSIZE={ROWS}",
              change=lambda dataset: dataset.BuildOverviews("NEAREST", [2]))
        level = "OVERVIEW_LEVEL=0"
        equal(self.result(self.b, "-operator=a1b", f"-oo={level}"),
              gdal.OpenEx(self.b, open_options=[level]).ReadAsArray())
        result, _ = self.made(*overview, "-resolution=4", "-region=8:20:400:81")
        equal(result.ReadAsArray(), coarse[:, 5:25, 2:102])
        self.assertEqual(result.GetGeoTransform(), (LEFT + 240, 120, 0, TOP - 600, 0, -120))
        for told, *options in (("pixel 9, 20, which", "-resolution=4", "-region=9:20:400:80"),
                               ("pixel 8, 21, which", "-resolution=4", "-region=8:21:400:80"),
                               ("no overview of 667 x 134 pixels", "-resolution=3")):
            self.refused(told, *overview, self.out, *options, "-overwrite")

    def test_coarser_pixels_are_made_of_numbers(self):
        signed = {"creationOptions": ["PIXELTYPE=SIGNEDBYTE"], "type": "Byte"}
        image = np.random.default_rng(3).normal(size=(2, 90, 90)).astype(np.float32)
        image[:, 10:80:9, 10:80:7] = NAN
        for method, n in itertools.product(("average", "bilinear", "cubic"), (2, 3)):
            pair = []
            for pixels in (image[0], image[1], image[0] + 1j * image[1]):
                write(self.a, pixels)
                pair.append(self.result(self.a, "-operator=a1b", f"-resolution={n}",
                                        f"-resampling={method}"))
            equal(pair[2], pair[0] + 1j * pair[1])  # no data fills no more of a complex image
        for method, pixels, expected, options, *arguments in (
                ("average", [[255, 1], [255, 1]], 0, signed),
                ("cubic", [[255, 1], [255, 1]], 0, signed),
                ("average", [[NAN, 1], [1, 4]], NAN, {}, "-nodata=keep"),
                *(("average", [[hole, 1], [1, 1j]], (2 + 1j) / 3, {})
                  for hole in (complex(NAN, 5), complex(5, NAN)))):
            pixels = np.tile(pixels, (3, 3))
            write(self.a, pixels.astype(np.result_type(pixels, np.float32)), **options)
            result = self.result(self.a, "-operator=a1b", "-resolution=2", f"-resampling={method}",
                                 *arguments)
            np.testing.assert_allclose(result[1, 1], expected, rtol=1e-6)

    def test_looks_average_the_results_without_what_is_no_data(self):
        image = np.full((700, 301), 1 + 2j, np.complex64)
        image[:350] = NAN
        write(self.a, image)
        # No row is left out or counted twice between strips.
        result = self.result(self.a, "-operator=a1b", "-looks=1:7", "-co=BLOCKYSIZE=285")
        equal(result[:, 0], [NAN] * 50 + [1 + 2j] * 50)
        write(self.a, [[3 - 1j, np.inf]])  # the product of which has a NaN imaginary part alone
        equal(self.result(self.a, "-operator=conj_a1", "-looks=2:1", "-nodata=keep"), [[3 + 1j]])


class Coherence(harness.ProgramTest):
    """The script, with the program, or another one of its name, on the path."""

    def start(self, *options, folder=os.path.dirname(harness.PROGRAM)):
        os.makedirs(self.path("tmp"), exist_ok=True)
        script = str(Path(__file__).parents[2] / "packaging/lumomixcalc-coherence")
        return subprocess.Popen(
            [script, self.a, self.b, self.out, "-quiet", *options], stderr=subprocess.PIPE, text=True,
            env={**os.environ, "PATH": f"{folder}:{os.environ['PATH']}", "TMPDIR": self.path("tmp"),
                 "LC_ALL": "C.UTF-8"},
            # Where the tests run in the background, it may be ignored.
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))

    def test_of_images_in_two_places(self):
        one, other = IMAGE[:2, :40, :50] + 1j * IMAGE[1:, :40, :50]
        write(self.a, one, **bounds(one))
        write(self.b, other, **bounds(other, 60))
        for options, a, b, told in (
                ((), one, other, r"\Alumomixcalc: warning: .* do not lie in the same place: .*\n\Z"),
                (("-extent=intersection", "-region=6:4:40:30", "-nodata=7", "-overwrite", "-strict"),
                 one[4:34, 6:46], other[4:34, 4:44], r"\A\Z")):
            with self.start("-looks=5:2", *options) as script:
                self.assertRegex(script.communicate()[1], told)
            a, b = (x.reshape(x.shape[0] // 2, 2, -1, 5) for x in (a, b))
            cross, *powers = ((x * y.conj()).mean((1, 3)) for x, y in ((a, b), (a, a), (b, b)))
            np.testing.assert_allclose(read(self.out), abs(cross / np.sqrt(powers[0] * powers[1])),
                                       rtol=1e-5)
        with self.start("-overwrite", "-strict") as script:
            self.assertRegex(script.communicate()[1], "-strict: 1 warning, so nothing was written")
        with self.start("-extent=intersection") as script:
            self.assertRegex(script.communicate()[1], r"\Alumomixcalc: .* exists already; .*\n\Z")
        one = one * np.float32(1e11)  # as a spectrum has it
        write(self.a, [one, one])
        for b in one, np.where(np.arange(50) % 5 < 2, NAN, one):  # with holes
            write(self.b, b)
            with self.start("-overwrite", "-bands=2"):
                pass
            np.testing.assert_allclose(read(self.out), 1, rtol=1e-5)

    def test_signal_ends_the_run_of_the_script_too(self):
        program = Path(self.path("lumomixcalc"))
        program.write_text("#!/bin/sh\ncase $1 in -check) echo $$ > $0.pid; exec sleep 100; esac\n")
        program.chmod(0o755)
        pid = Path(f"{program}.pid")
        for number in signal.SIGINT, signal.SIGTERM:
            with self.start(folder=self.folder) as script:
                while script.poll() is None and not (pid.exists() and pid.read_text()):
                    time.sleep(0.01)
                script.send_signal(number)
                self.assertEqual(script.wait(10), 128 + number)
            self.assertFalse(os.path.exists(f"/proc/{int(pid.read_text())}"))
            self.assertEqual(os.listdir(self.path("tmp")), [])
            pid.unlink()
