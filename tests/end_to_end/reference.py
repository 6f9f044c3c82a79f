"""What the thirteen operators compute, element by element, written out in real numbers of double
precision, apart from the program: no complex arithmetic of NumPy's, which is not the textbook's.

A number is a pair (real, imaginary) of arrays; the imaginary part is None where real arithmetic is
done, which is not the same as an imaginary part of zero: 0 * inf is NaN.
"""

import ctypes
import ctypes.util

import numpy as np

# The system's own functions. NumPy's are others, less precise in single precision, and Python's
# raise errors where these return infinities and NaNs.
LIBM = ctypes.CDLL(ctypes.util.find_library("m"))


def library(name, number, arguments):
    function = getattr(LIBM, name)
    function.restype, function.argtypes = number, [number] * arguments
    return np.vectorize(function, otypes=[np.float64])


log, pow_, atan2 = (library(name, ctypes.c_double, n)
                    for name, n in (("log", 1), ("pow", 2), ("atan2", 2)))
logf, atan2f, expf = (library(name, ctypes.c_float, n)
                      for name, n in (("logf", 1), ("atan2f", 2), ("expf", 1)))


def single(x):
    """Rounded to single precision, kept as double."""
    return np.float64(np.float32(x))


def zero(c):
    """A coefficient counts as zero when its parts are zeros or NaNs."""
    return all(part == 0 or np.isnan(part) for part in c)


def conj(c):
    return c[0], -c[1]


def times(x, y):
    if x[1] is None:
        return x[0] * y[0], None
    return x[0] * y[0] - x[1] * y[1], x[0] * y[1] + x[1] * y[0]


def plus(x, y):
    return x[0] + y[0], None if x[1] is None else x[1] + y[1]


def divided(x, y):
    if x[1] is None:
        return x[0] / y[0], None
    r = 1.0 / (y[0] * y[0] + y[1] * y[1])
    return (x[0] * y[0] + x[1] * y[1]) * r, (x[1] * y[0] - x[0] * y[1]) * r


def modulus(x):
    if x[1] is None:
        return np.where(x[0] >= 0, x[0], -x[0])
    real, imaginary = np.abs(x[0]), np.abs(x[1])
    s = single(np.where(real >= imaginary, real, imaginary))
    return np.where((s == 0) | np.isnan(s), s, s * np.sqrt((x[0] / s) ** 2 + (x[1] / s) ** 2))


def absolute(a, f):
    w = modulus(times(f, a))
    return w, np.zeros_like(w)


def phase(a, f):
    on_axis = ~(np.abs(f[0]) > 0) | ~(np.abs(f[1]) > 0)  # or not a number
    theta = atan2(f[1], f[0])
    return tuple(np.where(on_axis, 0.0, single(part * theta)) for part in a)


def logarithm(z):
    return logf(single(modulus(z))), atan2f(single(z[1]), single(z[0]))


def a_log(a, z):
    if z[1] is None:
        return log(z[0]) * a[0], None
    return times(logarithm(z), a)


def power(z, a):
    if z[1] is None:
        return pow_(z[0], a[0]), None
    p = times(logarithm(z), a)
    e, theta = expf(single(p[0])), single(p[1])
    at_zero = ~(np.abs(z[0]) > 0) & ~(np.abs(z[1]) > 0)
    return tuple(np.where(at_zero, 0.0, part)
                 for part in (np.cos(theta) * e, e * np.sin(theta)))


def folded(fold, a, b):
    """A coefficient made of both, rounded once."""
    return tuple(map(single, fold(a, b)))


class Operator:
    """One row: its name, what it reads, and plan(a, b, complex1, complex2), which folds the
    coefficients and gives (formula of f1 and f2, whether it needs complex arithmetic even on real
    data, which of the files can make it so)."""

    def __init__(self, name, reads, plan, exact=True, clamps=True, keeps_nan=False):
        self.name, self.reads, self.plan = name, reads, plan
        self.exact = exact          # to the last bit; else library functions come in
        self.clamps = clamps
        self.keeps_nan = keeps_nan  # clamped in real arithmetic

    def compute(self, a, b, f1, f2, complex_out, clamp):
        """The result (real, imaginary or None) in double, as it is counted: f1 and f2 are arrays
        of single precision, real or complex; None when the operator does not read them."""
        flags = [f is not None and np.iscomplexobj(f) for f in (f1, f2)]
        formula, complex_anyway, consulted = self.plan(a, b, *flags)
        complex_ = complex_out or complex_anyway or any(flags[i - 1] for i in consulted)

        def number(f):
            if f is None:
                return None
            real = f.real.astype(np.float64)
            if not complex_:
                return real, None
            return real, f.imag.astype(np.float64)  # zeros for real data

        coefficient = (lambda c: c) if complex_ else (lambda c: (c[0], None))
        with np.errstate(all="ignore"):
            w = formula(coefficient, number(f1), number(f2))
            if clamp and self.clamps and not complex_out:
                keep = w[0] > 0
                if self.keeps_nan and not complex_:
                    keep |= np.isnan(w[0])
                w = np.where(keep, w[0], 0.0), w[1]
        return w


ONE = (1.0, 0.0)


def sum_(a, b, c1, c2):
    if zero(b):
        return lambda k, f, g: times(f, k(folded(times, a, ONE))), False, (1,)
    return lambda k, f, g: plus(times(f, k(a)), times(g, k(b))), False, (1, 2)


def difference(a, b, c1, c2):
    return sum_(a, (-b[0], -b[1]), c1, c2)


def product(a, b, c1, c2):
    ab = folded(times, a, b)
    return lambda k, f, g: times(times(f, k(ab)), g), False, (1, 2)


def quotient(a, b, c1, c2):
    ab = folded(divided, a, b)
    return lambda k, f, g: divided(times(f, k(ab)), g), False, (1, 2)


def product_with_conjugate(a, b, c1, c2):
    if not c2:
        return product(a, conj(b), c1, c2)
    return lambda k, f, g: times(times(f, a), conj(times(g, b))), True, ()


def conjugate(a, b, c1, c2):
    if not c1:
        return sum_(conj(a), (0.0, 0.0), c1, c2)
    return lambda k, f, g: conj(times(f, a)), True, ()


def sum_with_b(a, b, c1, c2):
    if zero(b):
        return sum_(a, b, c1, c2)
    return lambda k, f, g: plus(times(f, k(a)), k(b)), False, (1,)


def times_b(a, b, c1, c2):
    ab = folded(times, a, b)
    return lambda k, f, g: times(f, k(ab)), False, (1,)


def inverse(a, b, c1, c2):
    ab = folded(divided, a, b)
    return lambda k, f, g: divided(k(ab), g), False, (2,)


def imaginary(c):
    return not (c[1] == 0 or np.isnan(c[1]))


OPERATORS = (
    Operator("a1+b2", (1, 2), sum_),
    Operator("a1-b2", (1, 2), difference),
    Operator("a1b2", (1, 2), product),
    Operator("a1/b2", (1, 2), quotient),
    Operator("a1_conj_b2", (1, 2), product_with_conjugate),
    Operator("abs_a1", (1,), lambda a, b, c1, c2: (
        lambda k, f, g: absolute(k(a), f), imaginary(a), (1,)), clamps=False),
    Operator("conj_a1", (1,), conjugate),
    Operator("a_phase_1", (1,), lambda a, b, c1, c2: (
        lambda k, f, g: phase(a, f), True, ()), exact=False),
    Operator("a1+b", (1,), sum_with_b),
    Operator("a1b", (1,), times_b),
    Operator("a/b2", (2,), inverse),
    Operator("a_ln_1+b", (1,), lambda a, b, c1, c2: (
        lambda k, f, g: a_log(k(a), plus(f, k(b))), imaginary(b), (1,)),
        exact=False, keeps_nan=True),
    Operator("1+b_pow_a", (1,), lambda a, b, c1, c2: (
        lambda k, f, g: power(plus(f, k(b)), k(a)), imaginary(a) or imaginary(b), (1,)),
        exact=False, keeps_nan=True),
)
