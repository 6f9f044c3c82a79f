// Modulus, logarithm and power of a working value. The real and the complex function have the same
// name, so that an element operation is one formula for both.
//
// The complex functions call the platform's single-precision library functions, with each argument
// rounded to single precision; the real ones call the double-precision functions.
#ifndef LUMOMIXCALC_KERNELS_ELEMENTARY_FUNCTIONS_H
#define LUMOMIXCALC_KERNELS_ELEMENTARY_FUNCTIONS_H

#include <cmath>

#include "kernels/complex_value.h"

namespace lumomixcalc {

// True for +0, -0 and NaN: the comparison with zero counts an unordered pair as equal.
constexpr bool IsZeroOrNan(double v) { return !(v < 0.0 || v > 0.0); }

// |v|. -0 stays -0, since it compares equal to zero, and a NaN has its sign flipped.
constexpr double Modulus(double v) { return v >= 0.0 ? v : -v; }

// |z| by scaling with the larger part, so that no square overflows or underflows:
// s * sqrt((re / s)^2 + (im / s)^2) with s = max(|re|, |im|) rounded to single precision.
// A zero or NaN s is returned as it is. Not interchangeable with std::hypot: an infinite part
// gives NaN (infinity divided by infinity).
inline double Modulus(Complex z) {
  const double re = std::fabs(z.re);
  const double im = std::fabs(z.im);
  const double s = static_cast<float>(re >= im ? re : im);
  // Dividing by 1 where s cannot be the divisor keeps the loop around this free of branches.
  const double divisor = IsZeroOrNan(s) ? 1.0 : s;
  const double x = z.re / divisor;
  const double y = z.im / divisor;
  const double modulus = s * std::sqrt(x * x + y * y);
  return IsZeroOrNan(s) ? s : modulus;
}

// Natural logarithm; NaN for v < 0, -infinity for 0.
inline double Log(double v) { return std::log(v); }

// Principal logarithm ln|z| + i arg(z), arg in [-pi, pi]. The cut is the negative real axis; the
// sign of im, that of a zero included, chooses the side. Log(0) is -infinity + i atan2(im, re).
inline Complex Log(Complex z) {
  return {std::log(static_cast<float>(Modulus(z))),
          std::atan2(static_cast<float>(z.im), static_cast<float>(z.re))};
}

// base to the power exponent, as std::pow.
inline double Pow(double base, double exponent) { return std::pow(base, exponent); }

// exp(exponent * Log(base)), the principal value. A base whose parts are each zero or NaN gives 0,
// whatever the exponent.
inline Complex Pow(Complex base, Complex exponent) {
  if (IsZeroOrNan(base.re) && IsZeroOrNan(base.im)) return {};
  const Complex p = exponent * Log(base);
  const double e = std::exp(static_cast<float>(p.re));
  const double angle = static_cast<float>(p.im);
  return {std::cos(angle) * e, e * std::sin(angle)};
}

// (... (highest * x + next) * x + ...) * x + last, in this order.
template <class... Rest>
double Polynomial(double x, double highest, Rest... next) {
  return ((highest = highest * x + next), ...);
}

}  // namespace lumomixcalc

#endif
