"""Every operator on real files agrees with the formulas of reference.py: to the last bit where only
+, -, *, / and square roots are involved, else to one unit in the last place.

Usage: operators_test.py LUMOMIXCALC
"""

import itertools
from concurrent.futures import ThreadPoolExecutor

import numpy as np
from osgeo import gdal

import harness
import reference

SHAPE = 20, 30
COEFFICIENTS = (  # A and B
    ((1.0, 0.0), (1.0, 0.0)),
    ((-1.5, 0.0), (0.0, 0.0)),    # B is dropped from sums, and divides to NaN
    ((0.3, -2.0), (3.0, 0.25)),
    ((2.0, 0.0), (0.0, 1.0)),
    ((2.5, 0.0), (1e-30, 0.0)),
    ((0.7, 0.0), (np.nan, -0.0)),  # counts as zero in sums
)
TYPES = (  # of File1 and File2
    ("Float32", "Float32"),
    ("Int16", "CFloat32"),
    ("CInt16", "Float64"),
    ("CFloat32", "CFloat64"),
    ("Int32", "UInt16"),
    ("CInt32", "UInt32"),
    ("Float64", "Byte"),
)
OUTPUTS = (("float32", False), ("cfloat32", False), ("float32", True), ("float64", False))
SPECIAL = np.array([0.0, -0.0, 1.0, -1.0, 0.5, -2.0, 3.0, np.inf, -np.inf, np.nan, 1e-45, -1e-40,
                    3e38, -3e38, 1e-30, -1e30, 16777217.0, 1e300, np.pi])


def parts(random, gdal_type):
    """Two bands of real numbers that the type holds: ordinary ones, then those at the edges."""
    if "Float" in gdal_type:
        edges = SPECIAL.astype(np.float32).astype(float) if gdal_type.endswith("32") else SPECIAL
        ordinary = random.uniform(-100, 100, SHAPE)
        return ordinary, random.choice(edges, SHAPE)
    limits = np.iinfo({"Byte": "uint8"}.get(gdal_type, gdal_type.lower().removeprefix("c")))
    edges = [limits.min, limits.max, limits.max - 1, 0, 1, 2]
    ordinary = random.integers(max(-100, limits.min), 100, SHAPE)
    return ordinary.astype(float), random.choice(edges, SHAPE).astype(float)


def image(seed, gdal_type):
    """The bands of an image, and the same in single precision, as the program computes with it."""
    random = np.random.default_rng(seed)
    with np.errstate(over="ignore", invalid="ignore"):
        bands = parts(random, gdal_type)
        if gdal_type.startswith("C"):
            pairs = []
            for real, imaginary in zip(bands, parts(random, gdal_type)):
                pairs.append(np.empty(SHAPE, complex))
                pairs[-1].real, pairs[-1].imag = real, imaginary
            return pairs, [band.astype(np.complex64) for band in pairs]
        return bands, [band.astype(np.float32) for band in bands]


def ordered(x):
    """Integers in the order of the floats, one a unit in the last place."""
    bits = np.atleast_1d(np.asarray(x, np.float32)).view(np.int32).astype(np.int64)
    return np.where(bits < 0, -(2**31) - bits, bits)


def same_bits(a, b):
    a, b = (np.atleast_1d(np.asarray(x, np.float32)) for x in (a, b))
    return (np.isnan(a) & np.isnan(b)) | (a.view(np.int32) == b.view(np.int32))


def within_one_unit(a, b):
    return same_bits(a, b) | (~np.isnan(a) & ~np.isnan(b) & (np.abs(ordered(a) - ordered(b)) <= 1))


def text(c):
    return f"{c[0]!r}:{c[1]!r}"


class Operators(harness.ProgramTest):
    def test_results_and_statistics(self):
        images = {}
        for number, gdal_type in {(n, t) for pair in TYPES for n, t in enumerate(pair, 1)}:
            bands, singles = image([number, *gdal_type.encode()], gdal_type)
            harness.write(self.path(f"{number}{gdal_type}.tif"), bands,
                          gdal.GetDataTypeByName(gdal_type))
            images[number, gdal_type] = singles

        # Every operator with all coefficients on all types, the outputs taking turns: their number
        # has no factor in common with the others'.
        outputs = itertools.cycle(OUTPUTS)
        cases = [(operator, a, b, types, *next(outputs))
                 for operator in reference.OPERATORS
                 for types in TYPES for a, b in COEFFICIENTS]
        with ThreadPoolExecutor(2) as pool:
            results = list(pool.map(self.run_case, cases))
        for case, (result, path) in zip(cases, results):
            operator, a, b, types, mode, clamp = case
            with self.subTest(operator=operator.name, a=a, b=b, types=types, mode=mode,
                              clamp=clamp):
                self.assertEqual(result.returncode, 0, result.stderr)
                self.check(case, harness.read(path), harness.statistics(result), images)

    def run_case(self, case):
        operator, a, b, types, mode, clamp = case
        path = self.path("_".join([operator.name.replace("/", "over"), *types, text(a), text(b)]))
        files = [f"-file{n}={self.path(f'{n}{types[n - 1]}.tif')}" for n in operator.reads]
        return harness.run(*files, path, f"-operator={operator.name}", f"-a={text(a)}",
                           f"-b={text(b)}", f"-mode={mode}", *["-clamp"] * clamp), path

    def check(self, case, output, printed, images):
        """Compares what a run stored and printed."""
        operator, a, b, types, mode, clamp = case
        same = same_bits if operator.exact else within_one_unit
        a, b = (tuple(map(reference.single, c)) for c in (a, b))
        complex_out = mode == "cfloat32"
        for band in range(2):
            f1, f2 = (images[n, types[n - 1]][band] if n in operator.reads else None
                      for n in (1, 2))
            real, imaginary = operator.compute(a, b, f1, f2, complex_out, clamp)
            with np.errstate(over="ignore"):
                self.assertTrue(np.all(same(output[band].real, np.float32(real))), f"band {band}")
                if complex_out:
                    self.assertTrue(np.all(same(output[band].imag, np.float32(imaginary))))
            self.check_statistics(output[band].real.astype(np.float64), printed[band + 1])

    def check_statistics(self, stored, printed):
        """What is printed is of the elements as stored, apart from those that are NaN."""
        valid = stored[~np.isnan(stored)]
        self.assertEqual(printed[-1], stored.size - valid.size)
        if valid.size == 0:
            return
        minimum, maximum, mean, total = printed[:-1]
        self.assertEqual((reference.single(minimum), reference.single(maximum)),
                         (valid.min(), valid.max()))
        with np.errstate(invalid="ignore"):
            self.assertTrue(np.isclose(total, valid.sum(), rtol=0, equal_nan=True,
                                       atol=1e-14 * np.abs(valid).sum()), (total, valid.sum()))
            self.assertTrue(np.isclose(mean, total / valid.size, rtol=1e-15, equal_nan=True))


if __name__ == "__main__":
    harness.main()
