#!/usr/bin/python3
"""Every operator on random images, with random options, agrees with its formula in NumPy, and a run in
parts with one in one piece. That elements are right to the last bit is for the kernels' tests to say.

For SECONDS with new seeds, or with those from FIRST_SEED on, to repeat a failure:
    LUMOMIXCALC=/path/to/lumomixcalc tests/end_to_end/operators_test.py SECONDS [FIRST_SEED]
"""

import itertools
import sys
import time
import unittest

import numpy as np

import harness
from harness import equal, read

FORMULAS = {  # of A, B, File1 and File2; a real result is the real part
    "a1+b2": lambda a, b, f, g: a * f + b * g,
    "a1-b2": lambda a, b, f, g: a * f - b * g,
    "a1b2": lambda a, b, f, g: a * f * b * g,
    "a1/b2": lambda a, b, f, g: a * f / (b * g),
    "a1_conj_b2": lambda a, b, f, g: a * f * np.conj(b * g),
    "abs_a1": lambda a, b, f, g: abs(a * f),
    "conj_a1": lambda a, b, f, g: np.conj(a * f),
    "a_phase_1": lambda a, b, f, g: a * np.angle(f),
    "a1+b": lambda a, b, f, g: a * f + b,
    "a1b": lambda a, b, f, g: a * f * b,
    "a/b2": lambda a, b, f, g: a / (b * g),
    "a_ln_1+b": lambda a, b, f, g: a * np.log(f + b),
    "1+b_pow_a": lambda a, b, f, g: (f + b) ** a,
}
TYPES = ("Float32", "Float64", "CFloat32", "Int16", "UInt16", "CFloat64", "Byte", "UInt32", "Int32",
         "CInt16", "CInt32")  # ENVI has none of the last two
LAYOUTS = (("GTiff",), ("GTiff", "INTERLEAVE=BAND"), ("GTiff", "INTERLEAVE=BAND", "BLOCKYSIZE=3"),
           ("GTiff", "TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"), ("GTiff", "COMPRESS=DEFLATE"),
           ("GTiff", "BIGTIFF=YES"), ("GTiff", "ENDIANNESS=BIG"), ("ENVI", "INTERLEAVE=BSQ"),
           ("ENVI", "INTERLEAVE=BIL"), ("ENVI", "INTERLEAVE=BIP"))
HOLE = 37  # the value that marks no data
RELATIVE_ERROR = 1e-5  # of the complex power, which works in single precision; others err less


def looks(elements, nx, ny):
    """Averages of nx x ny elements without NaN."""
    bands, rows, columns = elements.shape
    blocks = elements[:, :rows // ny * ny, :columns // nx * nx].reshape(
        bands, rows // ny, ny, columns // nx, nx)
    with np.errstate(invalid="ignore"):
        return np.nansum(blocks, axis=(2, 4)) / (~np.isnan(blocks)).sum(axis=(2, 4))


class Operators(harness.ProgramTest):
    first_seed = seconds = 0

    def test_random_runs(self):
        end = time.monotonic() + self.seconds
        for seed in itertools.count(self.first_seed):
            if seed >= self.first_seed + 2 * len(FORMULAS) and time.monotonic() >= end:
                break
            with self.subTest(seed=seed):
                self.check(seed)
        print(f"{seed - self.first_seed} random runs, of the seeds from {self.first_seed} on",
              file=sys.__stdout__, flush=True)

    def pick(self, *choices):
        return choices[self.random.integers(len(choices))]

    def number(self, first, last):
        return int(self.random.integers(first, last + 1))

    def coefficient(self):
        """Of a positive real part: no sum with a pixel is zero or has no real logarithm."""
        return complex(self.number(1, 8) / 4, self.number(-8, 8) / 4 * self.pick(0, 1))

    def write_input(self, path, shape, declared):
        """Writes an image; returns its elements, all complex, and whether the file's are."""
        driver, *creation = self.pick(*LAYOUTS)
        name = self.pick(*TYPES[:-2 if driver == "ENVI" else None])
        is_complex = name.startswith("C")
        pixels = self.random.integers(1, 100, shape) + 0j
        pixels.imag = self.random.integers(-100, 100, shape) * is_complex
        pixels /= 4 if "Float" in name else 1
        holes = self.random.random(shape) < self.pick(0, 0.2, 1)
        pixels[holes] = HOLE * (1 + 1j * is_complex * self.pick(0, 1))
        harness.write(path, pixels if is_complex else pixels.real, *creation, type=name,
                      format=driver, noData=HOLE if declared else None)
        # Not the pixels: GDAL stores a strip of no data alone in the wrong order of bytes.
        return read(path).reshape(shape) + 0j, is_complex

    def check(self, seed):
        """Makes all choices of a run; compares what it gives."""
        self.random = np.random.default_rng(seed)
        operator = list(FORMULAS)[seed % len(FORMULAS)]
        used = [n for n in "12" if n in operator]
        bands, rows, columns = self.number(1, 3), self.number(1, 60), self.number(1, 60)
        single = self.pick(None, *used)  # has one band, to go with each of the other's
        declared, rule = self.pick(False, True), self.pick(None, "keep", str(HOLE))
        paths = {n: self.path(f"{seed}-{n}") for n in used}
        images = {n: self.write_input(path, (1 if n == single else bands, rows, columns), declared)
                  for n, path in paths.items()}
        bands = max(len(pixels) for pixels, _ in images.values())

        chosen = self.random.permutation(bands)[:self.number(1, bands)]
        x, y = self.number(0, columns - 1), self.number(0, rows - 1)
        width, height = self.number(1, columns - x), self.number(1, rows - y)
        step = min(self.pick(1, 1, 2, 3), width, height)  # the resolution
        nx, ny = (self.number(1, min(5, side // step)) for side in (width, height))

        def used_part(pixels):
            ys, xs = (slice(start + step // 2, start + side // step * step, step)
                      for start, side in ((y, height), (x, width)))
            return np.broadcast_to(pixels, (bands, rows, columns))[chosen][:, ys, xs]

        files = {n: used_part(pixels) for n, (pixels, _) in images.items()}
        a, b = self.coefficient(), self.coefficient()
        result = FORMULAS[operator](a, b, files.get("1"), files.get("2")) + 0j
        size = looks(abs(result), nx, ny)
        if rule == str(HOLE) or declared and rule is None:
            for pixels in files.values():
                result[(pixels == HOLE) | (pixels == HOLE * (1 + 1j))] = np.nan
        mode = self.pick(None, "float32", "cfloat32", "float64", "int16")
        if mode == "int16" and np.isnan(result).any():
            mode = None  # integers move away from the value that they store for no data
        if not (mode == "cfloat32" or mode is None and any(is_c for _, is_c in images.values())):
            result = result.real
        clamp = np.isrealobj(result) and self.pick(False, True)
        expected = looks(np.maximum(result, 0) if clamp else result, nx, ny)
        arguments = [*(f"-file{n}={path}" for n, path in paths.items()), f"-operator={operator}",
                     f"-a={a.real}:{a.imag}", f"-b={b.real}:{b.imag}", f"-looks={nx}:{ny}",
                     f"-region={x}:{y}:{width}:{height}", f"-resolution={step}",
                     "-bands=" + ",".join(str(i + 1) for i in chosen),
                     f"-co=BLOCKYSIZE={self.number(1, 4)}",
                     "-co=INTERLEAVE=" + self.pick("BAND", "PIXEL"), *["-clamp"] * clamp,
                     *[f"-mode={mode}"] * bool(mode), *[f"-nodata={rule}"] * bool(rule)]
        self.compare(arguments, expected, RELATIVE_ERROR * size, mode == "int16")
        if self.pick(True, False, False, False):
            self.compare_parts(arguments, self.path(f"{seed}.vrt"))

    def compare(self, arguments, expected, error, is_integer):
        dataset, report = self.made(*arguments)
        stored = dataset.ReadAsArray().reshape(expected.shape)
        if is_integer:
            expected, error = expected.clip(-2**15, 2**15 - 1), error + 0.5
        equal(np.isnan(stored), np.isnan(expected))
        wrong = ~np.isnan(stored) & ~(abs(stored - expected) <= error)
        self.assertFalse(wrong.any(), f"{stored[wrong]} instead of {expected[wrong]}")
        for elements, band in zip(stored.real, report["bands"], strict=True):
            valid = elements[~np.isnan(elements)]
            self.assertEqual(band["valid"], valid.size)
            if valid.size and not is_integer:
                self.assertEqual((band["minimum"], band["maximum"]), (valid.min(), valid.max()))

    def compare_parts(self, arguments, mosaic):
        whole = read(self.out)
        dataset = harness.gdal.Open(self.out)  # bands do not outlive it
        height = dataset.GetRasterBand(1).GetBlockSize()[1]
        parts = self.number(1, min(-(-whole.shape[-2] // height), 4))
        for part in range(parts):
            self.done(*arguments, mosaic, f"-part={part + 1}/{parts}")
        self.done(f"-join={mosaic}")
        self.assertEqual(read(mosaic).tobytes(), whole.tobytes())


if __name__ == "__main__":
    Operators.seconds = float(sys.argv[1])
    Operators.first_seed = int(sys.argv[2] if sys.argv[2:] else time.time_ns() // 10**6)
    unittest.main(argv=sys.argv[:1], buffer=True, failfast=True)
