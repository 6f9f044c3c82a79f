# Every operator on real files of all pixel types agrees with its formula. That the elements are
# right to the last bit is for the tests of the kernels to say.

from itertools import cycle, product

import numpy as np

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
TYPES = ("Float32", "Float64", "CInt16", "CFloat32", "Int16", "UInt16", "CFloat64", "CInt32",
         "Byte", "UInt32", "Int32")
COEFFICIENTS = (-1.5 + 0j, 0.75 + 0j), (0.25 - 2j, 3 + 0.25j)  # A and B
OUTPUTS = ("float32", "-clamp"), ("cfloat32",), ("float64",)
RELATIVE_ERROR = 2e-6  # of the complex logarithm and power, which work in single precision


class Operators(harness.ProgramTest):
    def test_results_and_statistics(self):
        random = np.random.default_rng(3)
        images = {}
        for name in TYPES:  # two bands of numbers that the type holds, the real parts positive
            pixels = random.integers(1, 100, (2, 20, 30)) + 0j
            pixels.imag = random.integers(-100, 100, pixels.shape)
            pixels /= 4 if "Float" in name else 1
            images[name] = pixels if name.startswith("C") else pixels.real
            harness.write(self.path(name), images[name], type=name, format="GTiff")
        # Every type comes as File1 and as File2. An operator's name tells the files that it reads.
        types = {"1": cycle(TYPES), "2": cycle(TYPES[3:] + TYPES[:3])}
        for ((a, b), operator), (mode, *clamp) in zip(product(COEFFICIENTS, FORMULAS),
                                                      cycle(OUTPUTS)):
            chosen = {n: next(types[n]) for n in "12" if n in operator}
            dataset, report = self.made(
                *(f"-file{n}={self.path(name)}" for n, name in chosen.items()),
                f"-operator={operator}", f"-a={a.real}:{a.imag}", f"-b={b.real}:{b.imag}",
                f"-mode={mode}", *clamp)
            result = FORMULAS[operator](a, b, *(images.get(chosen.get(n)) for n in "12"))
            expected = result if mode == "cfloat32" else result.real
            expected = np.maximum(expected, 0) if clamp else expected
            stored = dataset.ReadAsArray()
            self.assertTrue(np.all(abs(stored - expected) <= RELATIVE_ERROR * abs(result)))
            for elements, band in zip(stored.real, report["bands"], strict=True):
                self.assertEqual((band["minimum"], band["maximum"]),
                                 (elements.min(), elements.max()))
