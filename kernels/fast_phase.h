// An arc tangent without branches or calls, which a compiler computes for several elements at once,
// and the test whether its result rounds as the library's does.
#ifndef LUMOMIXCALC_KERNELS_FAST_PHASE_H
#define LUMOMIXCALC_KERNELS_FAST_PHASE_H

#include <cmath>
#include <numbers>

#include "kernels/elementary_functions.h"

namespace lumomixcalc {

// atan2(y, x) for floats widened to double, of which not both are zero or infinite; else NaN. The
// sign of a zero x is ignored. No step underflows: the ratio of two floats is at least
// 2^-277.
//
// Bounds of the relative error, in units of u = 2^-53, the rounding of one operation:
//   ratio     3    a difference, a sum and a quotient; the arc tangent does not enlarge it
//   series    1.4  fitted to 2^-57; its terms after the first are below 0.06 in sum, so that only
//                  the last addition counts in full
//   product   1    of ratio and series: 5.4 so far
//   pi/4 +    1.1  the sum is at least pi/8, no less than the arc tangent added
//   pi/2 -    1.1  the difference is at least pi/4, no less than what is subtracted
//   pi -      1.1  the difference is at least pi/2, no less than what is subtracted
// The total is below 9 u, or 2^-49.8.
inline double FastAtan2(double y, double x) {
  constexpr double kTanPi8 = std::numbers::sqrt2 - 1.0;
  const double ax = std::fabs(x);
  const double ay = std::fabs(y);
  const double low = ax < ay ? ax : ay;
  const double high = ax < ay ? ay : ax;
  // atan(r) = pi/4 + atan((r - 1) / (r + 1)), so that |ratio| is at most tan(pi/8).
  const bool isTurned = low > kTanPi8 * high;
  const double ratio = (isTurned ? low - high : low) / (isTurned ? low + high : high);
  const double z = ratio * ratio;
  // atan(t) / t as a polynomial in z = t^2, through its values at the Chebyshev nodes of
  // [0, tan(pi/8)^2].
  const double series = Polynomial(
      z, -0x1.23b93fac21dacp-6, 0x1.3702ea64c11f2p-5, -0x1.9c79c07a989c6p-5, 0x1.def9ecd6a20f2p-5,
      -0x1.10ea1d157f6ffp-4, 0x1.3b10f0f5b1224p-4, -0x1.745cf64dcc6bdp-4, 0x1.c71c70cb775cep-4,
      -0x1.2492492259b3ep-3, 0x1.999999999466ap-3, -0x1.555555555552fp-2, 1.0);
  double angle = ratio * series;
  angle = isTurned ? std::numbers::pi / 4 + angle : angle;
  angle = ax < ay ? std::numbers::pi / 2 - angle : angle;
  angle = x < 0.0 ? std::numbers::pi - angle : angle;
  return std::copysign(angle, y);
}

// True if every number whose relative distance from v is below 2^-48, or 32 u, rounds to the same
// float as v; false for NaN. With v = a * FastAtan2(y, x), a * std::atan2(y, x) is such a number:
// the arc tangents differ by at most 9 u and the library's error, taken to be below one unit in the
// last place or 2 u; the two products add 1 u each, the two below 1 u each. Rounding is monotonic,
// so it is enough to look at both ends, also where the float is subnormal or infinite.
inline bool IsFloatCertain(double v) {
  return static_cast<float>(v * (1.0 - 0x1p-48)) == static_cast<float>(v * (1.0 + 0x1p-48));
}

}  // namespace lumomixcalc

#endif
