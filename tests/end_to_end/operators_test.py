"""Every operator on real files of all pixel types agrees with its formula. That the elements are
right to the last bit is for the tests of the kernels to say.
"""

import itertools

import numpy as np
from osgeo import gdal

import harness

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
# File1 is of one of these types and File2 of the next.
TYPES = ("Float32", "Float64", "CInt16", "CFloat32", "Int16", "UInt16", "CFloat64", "CInt32",
         "Byte", "UInt32", "Int32")
COEFFICIENTS = (-1.5 + 0j, 0.75 + 0j), (0.25 - 2j, 3 + 0.25j)  # A and B
OUTPUTS = ("float32", "-clamp"), ("cfloat32",), ("float64",)
RELATIVE_ERROR = 2e-6  # of the complex logarithm and power, which work in single precision


def image(gdal_type):
    """Two bands of numbers that the type holds, the real parts positive."""
    random = np.random.default_rng([*gdal_type.encode()])
    pixels = random.integers(1, 100, (2, 20, 30)).astype(complex)
    pixels.imag = random.integers(-100, 100, pixels.shape)
    pixels /= 4 if "Float" in gdal_type else 1
    return pixels if gdal_type.startswith("C") else pixels.real


class Operators(harness.ProgramTest):
    def test_results_and_statistics(self):
        images = {gdal_type: image(gdal_type) for gdal_type in TYPES}
        for gdal_type, pixels in images.items():
            harness.write(self.path(gdal_type), pixels, format="GTiff",
                          outputType=gdal.GetDataTypeByName(gdal_type))
        # Types and outputs take turns: their numbers have no factor in common with the others'.
        cases = itertools.product(COEFFICIENTS, FORMULAS)
        for ((a, b), operator), types, (mode, *clamp) in zip(
                cases, itertools.cycle(zip(TYPES, TYPES[1:] + TYPES[:1])),
                itertools.cycle(OUTPUTS)):
            # An operator's name tells the files that it reads.
            files = [f"-file{n}={self.path(t)}" for n, t in zip("12", types) if n in operator]
            dataset, report = self.made(
                *files, f"-operator={operator}", f"-a={a.real}:{a.imag}",
                f"-b={b.real}:{b.imag}", f"-mode={mode}", *clamp)
            result = FORMULAS[operator](a, b, *(images[t] for t in types))
            expected = result if mode == "cfloat32" else result.real
            expected = np.maximum(expected, 0) if clamp else expected
            stored = dataset.ReadAsArray()
            self.assertTrue(np.all(abs(stored - expected) <= RELATIVE_ERROR * abs(result)))
            for elements, band in zip(stored.real, report["bands"], strict=True):
                self.assertEqual((band["minimum"], band["maximum"]),
                                 (elements.min(), elements.max()))
