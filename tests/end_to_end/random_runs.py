#!/usr/bin/python3
"""Compares whole runs of random operators, images and options with formulas in NumPy, and runs in
parts with runs in one piece.

    LUMOMIXCALC=/path/to/lumomixcalc tests/end_to_end/random_runs.py SECONDS [FIRST_SEED]

Every case has a seed of its own. The first that fails ends it and is shown; FIRST_SEED repeats it.
"""

import contextlib
import io
import sys
import time

import numpy as np
from osgeo import gdal

import harness
from operators_test import FORMULAS, TYPES

HOLE = 37  # the value that marks no data
LAYOUTS = (("GTiff",), ("GTiff", "INTERLEAVE=BAND"), ("GTiff", "INTERLEAVE=BAND", "BLOCKYSIZE=3"),
           ("GTiff", "TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"), ("GTiff", "COMPRESS=DEFLATE"),
           ("GTiff", "BIGTIFF=YES"), ("GTiff", "ENDIANNESS=BIG"), ("ENVI", "INTERLEAVE=BSQ"),
           ("ENVI", "INTERLEAVE=BIL"), ("ENVI", "INTERLEAVE=BIP"))
RELATIVE_ERROR = 1e-5  # of complex powers, which compute in single precision; others err less


class Case(harness.ProgramTest):
    """A random run and what it must give."""

    def __init__(self, seed):
        super().__init__()
        self.random = np.random.default_rng(seed)

    def pick(self, choices):
        return choices[self.random.integers(len(choices))]

    def input(self, path, bands, shape, declared):
        """Writes an image; returns whether it is complex, and its elements."""
        driver, *creation = self.pick(LAYOUTS)
        name = self.pick([t for t in TYPES if driver == "GTiff" or not t.startswith("CInt")])
        pixels = self.random.integers(1, 100, (bands, *shape)) + 0j
        if name.startswith("C"):
            pixels.imag = self.random.integers(-100, 100, pixels.shape)
        pixels /= 4 if "Float" in name else 1
        holes = self.random.random(pixels.shape) < self.pick((0, 0.2, 1))
        pixels[holes] = HOLE * (1 + 1j * (name.startswith("C") and self.pick((False, True))))
        harness.write(path, pixels if name.startswith("C") else pixels.real, *creation, type=name,
                      format=driver, noData=HOLE if declared else None)
        # Not the pixels: GDAL stores a strip of no data alone in the wrong order of bytes.
        return name.startswith("C"), harness.read(path).reshape(pixels.shape) + 0j

    def coefficient(self):
        """Of a positive real part, so that no sum with a pixel is zero or has no real logarithm."""
        return complex(self.random.integers(1, 9) / 4,
                       self.random.integers(-8, 9) / 4 * self.pick((0, 1)))

    def run_case(self):
        operator, (rows, columns) = self.pick(list(FORMULAS)), self.random.integers(1, 60, 2)
        read = [n for n in "12" if n in operator]
        declared, rule = self.pick((False, True)), self.pick((None, "keep", str(HOLE)))
        count, single = self.random.integers(1, 4), self.pick((None, *read))
        images = {n: self.input(self.path(f"{n}.raster"), 1 if n == single else count,
                                (rows, columns), declared) for n in read}
        bands = max(len(pixels) for _, pixels in images.values())

        # The part of the images that is read.
        chosen = self.random.permutation(bands)[:self.random.integers(1, bands + 1)]
        x, y = self.random.integers(columns), self.random.integers(rows)
        width, height = self.random.integers(1, columns - x + 1), self.random.integers(1, rows - y + 1)
        step = min(self.pick((1, 1, 2, 3)), width, height)
        nx, ny = (self.random.integers(1, min(5, side // step) + 1) * self.pick((0, 1)) or 1
                  for side in (width, height))
        files = [np.broadcast_to(images[n][1], (bands, rows, columns))[
            chosen, y:y + height, x:x + width][:, step // 2::step, step // 2::step]
            [:, :height // step, :width // step] if n in images else None for n in "12"]

        a, b = self.coefficient(), self.coefficient()
        result = np.array(FORMULAS[operator](a, b, *files), complex)
        size = abs(result)
        if rule == str(HOLE) or declared and rule is None:
            for pixels in files:
                if pixels is not None:
                    result[(pixels == HOLE) | (pixels == HOLE * (1 + 1j))] = np.nan
        mode = self.pick((None, "float32", "cfloat32", "int16"))
        if mode == "int16" and np.isnan(result).any():
            mode = "float64"  # integers move away from the value that they store for no data
        complex_ = mode == "cfloat32" or mode is None and any(image[0] for image in images.values())
        clamp = not complex_ and self.pick((False, True))
        result = result if complex_ else result.real
        result = np.fmax(result, 0, where=~np.isnan(result), out=result) if clamp else result
        arguments = [*(f"-file{n}={self.path(f'{n}.raster')}" for n in read),
                     f"-operator={operator}", f"-a={a.real}:{a.imag}", f"-b={b.real}:{b.imag}",
                     f"-region={x}:{y}:{width}:{height}", f"-resolution={step}",
                     f"-looks={nx}:{ny}", "-bands=" + ",".join(str(i + 1) for i in chosen),
                     f"-co=BLOCKYSIZE={self.random.integers(1, 5)}",
                     "-co=INTERLEAVE=" + self.pick(("BAND", "PIXEL")), *["-clamp"] * clamp,
                     *[f"-mode={mode}"] * bool(mode), *[f"-nodata={rule}"] * bool(rule)]
        self.compare(arguments, self.looks(result, nx, ny), self.looks(size, nx, ny), mode)

    @staticmethod
    def looks(elements, nx, ny):
        """Averages of nx x ny elements without NaN."""
        bands, rows, columns = elements.shape
        blocks = elements[:, :rows // ny * ny, :columns // nx * nx].reshape(
            bands, rows // ny, ny, columns // nx, nx)
        valid = (~np.isnan(blocks)).sum(axis=(2, 4))
        with np.errstate(invalid="ignore"):
            return np.nansum(blocks, axis=(2, 4)) / valid

    def compare(self, arguments, expected, size, mode):
        dataset, report = self.made(*arguments)
        stored = dataset.ReadAsArray().reshape(expected.shape)
        error = RELATIVE_ERROR * size
        if mode == "int16":
            limits = np.iinfo("int16")
            expected, error = expected.clip(limits.min, limits.max), error + 0.5
        np.testing.assert_array_equal(np.isnan(stored), np.isnan(expected))
        self.assertTrue((abs(stored - expected) <= error)[~np.isnan(expected)].all(),
                        f"\n{stored}\n{expected}")
        self.assertEqual([band["valid"] for band in report["bands"]],
                         [(~np.isnan(band)).sum() for band in expected])
        if self.pick((True, False, False)):
            self.compare_parts(arguments, dataset)

    def compare_parts(self, arguments, dataset):
        blocks = -(-dataset.RasterYSize // dataset.GetRasterBand(1).GetBlockSize()[1])
        parts = self.random.integers(1, min(blocks, 4) + 1)
        for part in range(parts):
            self.done(*arguments, self.path("joined.vrt"), f"-part={part + 1}/{parts}")
        self.done(f"-join={self.path('joined.vrt')}")
        self.assertEqual(gdal.Open(self.path("joined.vrt")).ReadAsArray().tobytes(),
                         dataset.ReadAsArray().tobytes())


def main():
    seconds = float(sys.argv[1])
    seed = first = int(sys.argv[2]) if len(sys.argv) > 2 else time.time_ns() // 10**6
    end = time.monotonic() + seconds
    while seed == first or time.monotonic() < end:
        case, told = Case(seed), io.StringIO()
        try:
            with contextlib.redirect_stdout(told):
                case.setUp()
                case.run_case()
        except BaseException:
            print(f"{told.getvalue()}The case of the seed {seed} fails.", flush=True)
            raise
        finally:
            case.doCleanups()
        seed += 1
    print(f"{seed - first} random runs, of the seeds from {first}, are as they must be.")


if __name__ == "__main__":
    main()
