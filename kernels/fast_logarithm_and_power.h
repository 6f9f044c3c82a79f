// Fast forms of the real logarithm and the real power (see TryFast in proc_as_real.h):
//
//   x = 2^k m, m in [sqrt(1/2), sqrt(2));  f = m - 1;  s = f / (2 + f);  z = s^2
//   ln m = 2 (s + s^3/3 + s^5/5 + ...) = f - s (f - 2 z (1/3 + z/5 + ... + z^7/17))
//   ln x = k ln2_high + (ln m + k ln2_low)
//
//   |x|^A = exp t, t = A ln|x|;  n = t / ln 2 to the nearest;  r = t - n ln2_high - n ln2_low
//   exp t = 2^n (1 + r + r^2/2! + ... + r^11/11!)
//
// Half of each series is computed beside the other: chains of operations would wait. Errors are
// relative, in units of u = 2^-53, the rounding of one operation. The library's are taken to be
// below one unit in the last place, or 2 u.
#ifndef LUMOMIXCALC_KERNELS_FAST_LOGARITHM_AND_POWER_H
#define LUMOMIXCALC_KERNELS_FAST_LOGARITHM_AND_POWER_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "kernels/elementary_functions.h"

namespace lumomixcalc {

// ln 2 in two parts. The first ends in 21 zero bits: its product with an exponent is exact.
inline constexpr double kLn2High = 0x1.62e42feep-1;
inline constexpr double kLn2Low = 0x1.a39ef35793c76p-33;

// ln x for a positive, normal x; for a zero, an infinity or a NaN a number beyond 700 in size. f is
// exact, |s| < 0.172, z < 0.03. s errs by 2 u, 2 z (...) by 10 u. This is at most 0.07 |f|, so that
// f - 2 z (...) errs by 1.7 u, and its product with s by 4.7 u. This is at most 0.2 |ln m|: ln m
// errs by 2 u, and with z^9/19, at which the series is cut, by 11 u. If k = 0, this is all, since
// zeros are added. Otherwise |ln x| >= |ln m|, and the two sums add 1 u each: below 14 u.
inline double FastLog(double x) {
  constexpr auto kRoot = std::bit_cast<std::uint64_t>(std::numbers::sqrt2 / 2);
  constexpr std::uint64_t kOne = std::uint64_t{1} << 52U;  // the last bit of an exponent
  // The exponent of the difference is k. 1024 are added, since vectors have no signed shift.
  const std::uint64_t scaled = std::bit_cast<std::uint64_t>(x) - kRoot + 1024 * kOne;
  const std::uint64_t exponent = (scaled >> 52U) | std::bit_cast<std::uint64_t>(0x1p52);
  const double k = std::bit_cast<double>(exponent) - (0x1p52 + 1024);
  const double f = std::bit_cast<double>((scaled & (kOne - 1)) + kRoot) - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  const double series = Polynomial(z, 1.0 / 17, 1.0 / 15, 1.0 / 13, 1.0 / 11) * (z * z * (z * z)) +
                        Polynomial(z, 1.0 / 9, 1.0 / 7, 1.0 / 5, 1.0 / 3);
  const double lnM = f - s * (f - 2.0 * z * series);
  return k * kLn2High + (lnM + k * kLn2Low);
}

// exp t for |t| <= 87, whose result is a normal float; for other numbers anything. Below 85 u: of
// r, at most 0.35, the first difference is exact, and the second errs by 0.25 u. The series is cut
// at 80 u. Its last two sums err by 1 u, the one before, multiplied by r, by 0.35 u, and so on.
inline double FastExp(double t) {
  constexpr double kToInteger = 0x1.8p52;  // near it, a double has no fraction
  const double shifted = t * std::numbers::log2e + kToInteger;
  const double n = shifted - kToInteger;
  const double r = (t - n * kLn2High) - n * kLn2Low;
  const double series = Polynomial(r, 1.0 / 39916800, 1.0 / 3628800, 1.0 / 362880, 1.0 / 40320,
                                   1.0 / 5040, 1.0 / 720) *
                            (r * r * r * (r * r * r)) +
                        Polynomial(r, 1.0 / 120, 1.0 / 24, 1.0 / 6, 1.0 / 2, 1.0, 1.0);
  // n is in the last bits of the shifted number, and is added to the exponent.
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(series) +
                               (std::bit_cast<std::uint64_t>(shifted) << 52U));
}

// A * std::log(F1 + B) for all floats. A sum of floats is not subnormal.
class FastLogarithm {
 public:
  // The logarithm's 14 u, the library's 2 u, and 1 u of each product by A are below 32 u.
  static constexpr double kMargin = 0x1p-48;

  FastLogarithm(double A, double B) : A_(A), B_(B) {}
  [[gnu::always_inline]] double operator()(double F1) const {
    const double x = F1 + B_;
    double ln = FastLog(x);
    ln = x < INFINITY ? ln : x;
    ln = x < 0.0 ? ofNegative_ : ln;
    ln = x == 0.0 ? -INFINITY : ln;
    return A_ * ln;
  }

 private:
  double A_;
  double B_;
  double ofNegative_ = std::log(-1.0);  // the library's NaN
};

// std::pow(F1 + B, A) for floats, or the middle between two floats, whose rounding is not certain.
class FastPower {
 public:
  // The logarithm and the product give t, at most 87, an error of 15 u, which is one of 1305 u in
  // the exponential. Its own 85 u and the library's 2 u are added: below 2048 u.
  static constexpr double kMargin = 0x1p-42;

  FastPower(double A, double B)
      : A_(A), B_(B), ofZero_(std::pow(0.0, A)), ofNegative_(std::pow(-1.0, A)) {
    const bool isWhole = std::trunc(A) == A;
    if (std::isfinite(A)) limit_ = std::min(104.0, 87.0 / std::fabs(A));
    if (isWhole) lowest_ = -INFINITY;
    if (isWhole && std::fmod(A, 2.0) != 0.0) sign_ = std::uint64_t{1} << 63U;
    if (A == 0.0 || sign_ != 0) keepsNan_ = 0.0;
  }

  // The square of a float is exact as a double, and the library's power where it can be.
  bool IsSquare() const { return A_ == 2.0 && B_ == 0.0; }
  [[gnu::always_inline]] double operator()(double F1) const {
    const double x = F1 + B_;
    const double size = std::fabs(x);
    const double ln = FastLog(size);
    double v = FastExp(A_ * ln);
    v = size == 0.0 ? ofZero_ : v;
    v = std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) |
                              (std::bit_cast<std::uint64_t>(x) & sign_));
    v = x < lowest_ ? ofNegative_ : v;
    const double reach = size == 0.0 ? 0.0 : std::fabs(ln);
    v = reach <= limit_ ? v : 1.0 + 0x1p-24;
    return x != x && keepsNan_ != 0.0 ? x : v;
  }

 private:
  double A_;
  double B_;
  double ofZero_;
  double ofNegative_;       // the library's NaN, if A is not whole
  double limit_ = -1.0;     // of |ln x| for which |t| <= 87, below 700; of zero, it is 0
  double lowest_ = 0.0;     // of the x that have a power
  std::uint64_t sign_ = 0;  // the sign bit, if the power has the sign of x
  double keepsNan_ = 1.0;   // whether the power of a NaN is this NaN
};

}  // namespace lumomixcalc

#endif
