// How a chunk of values is counted faster than one by one, and why the bits are the same.
//
// The rule makes a chain: every sum waits for the one before it to be added, rounded to double and
// rounded to float. The chain is cut as follows, in the rounding mode to nearest, ties to even. Let
// the sum s be in a binade, P <= |s| < 2P with P = 2^k. Its unit there is u = 2^(k-23): s is a
// whole number m of units, below 2^24.
//
//   1. Let v be finite with |v| <= P/2 and let the new sum lie strictly inside the same binade. The
//      rule rounds v + s first to double, whose grid in the binade is g = 2^(k-52). Since s is an
//      even multiple of g, this is s + r with r = v rounded to the grid g, ties to even, whatever s
//      is. With D = 1.5 P, v + D is in [P, 2P], where double has the grid g, and D is an even
//      multiple of g: r = (v + D) - D.
//   2. The rule then rounds s + r to a multiple of u, ties to even. With E = 1.5 * 2^(k+29), the
//      doubles near E have the grid u, and E is an even multiple of u: S = E + s holds s exactly,
//      and S + r in double arithmetic is E + (s + r rounded to u). One addition per element.
//   3. "Strictly inside": the new sum s' = S' - E has P < |s'| < 2P. At least one unit away from
//      both ends, v + s cannot have been outside, where the rule's grids are others. If s' were P,
//      the exact sum could lie just below P and the rule's result be half a unit less; but if no
//      value pulls the sum towards zero, none lies below P, and P itself is accepted. This matters,
//      because a sum stops at a power of two if the values are below half its unit.
//   4. How s + r rounds depends on m only through its parity (by a tie). So the increments of a run
//      of elements can be computed before s is known, once from an even start and once from an odd
//      one, and runs ("segments") of a chunk are computed side by side. The two differ by one unit
//      until the first tie. This makes both even, and from then on they differ by 0 or 2 units. So
//      the sums of the odd one are those of the even one within one unit, and only the even one's
//      extremes are kept.
//   5. Without NaNs, minimum and maximum do not depend on the order, since rounding is monotonic:
//      the rule ends with the smallest value, rounded, if that is below the minimum it began with.
//      A NaN to begin with is replaced by the first value. Exception: a new extreme that rounds to
//      zero, whose sign depends on which zero came first.
//   6. Sums near zero or a power of two, which change binades all the time, are often sums of
//      integers. Let B = |s| + |v1| + |v2| + ... over a chunk be below 2P, now for any binade, and
//      let s and every v be whole numbers of its unit u: (v + E) - E = v. Then every sum on the way
//      is one, too, and at most 2^24 of them, which a float holds: nothing is ever rounded, and the
//      values can be added in any order. Below the smallest normal number floats have the unit of
//      the binade above it, which is valid for any smaller B. A zero sum is -0 only if s and every
//      v are, in any order; so adding starts from -0.
//   7. A NaN sum stays NaN. An infinite sum stays as it is until a NaN or an infinity of the other
//      sign comes. A finite one that ceases to be finite is not finite again. So chunks that change
//      one of these into another are rare.
//   8. A NaN replaces the minimum whatever it was, and passes the maximum by. So a chunk with NaNs
//      has the rule's minimum over the values that follow its last NaN, begun with this NaN, and
//      its maximum is as in 5, over the other values.
//
// Whatever does not meet a condition is counted by the rule itself: a segment whose sum leaves the
// binade, or the whole chunk where the order of its extremes matters or where the sum changes
// between finite, infinite and NaN.
#include "kernels/running_statistics.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "kernels/multiversioning.h"

namespace lumomixcalc {
namespace {

constexpr int kSegments = 8;
constexpr int kSegmentLength = kChunk / kSegments;
static_assert(kSegments * kSegmentLength == kChunk);

// The values of a full chunk in walking order, turned so that the segments lie side by side: value
// t of segment j is at [t][j]. A processor's vector then holds one value of each of several
// segments, and the loop over the segments in TrySegments is computed side by side.
struct Walk {
  double Value(int i) const { return at[i % kSegmentLength][i / kSegmentLength]; }
  alignas(64) double at[kSegmentLength][kSegments];  // a vector of 64 bytes is one cache line
};

// The binade of a normal sum, and the constants above that go with it.
struct Binade {
  explicit Binade(float sum)
      : P(std::bit_cast<float>(std::bit_cast<std::uint32_t>(sum) & 0x7f800000U)) {}

  double P;
  double u = P * 0x1p-23;
  double D = 1.5 * P;
  double E = 1.5 * P * 0x1p29;
};

// What each segment would do to a sum in the binade.
struct Trial {
  double change[2][kSegments];  // of the sum, from an even and from an odd number of units; not
                                // finite where a value is not
  double lowest[kSegments];     // the extremes of the change from even, on the way
  double highest[kSegments];
  double smallest[kSegments];  // the extremes of the values that are not NaN, or else infinities
  double largest[kSegments];
};

// The direction is chosen outside the loops. With the choice inside, compilers copy single values,
// and the loads of whole vectors that follow wait until all of these are stored.
LUMOMIXCALC_PER_PROCESSOR void Turn(const double* values, bool backward, Walk& walk) {
  if (backward) {
    const double* last = values + kChunk - 1;
    for (int t = 0; t < kSegmentLength; ++t) {
      for (int j = 0; j < kSegments; ++j) walk.at[t][j] = last[-(j * kSegmentLength + t)];
    }
  } else {
    for (int t = 0; t < kSegmentLength; ++t) {
      for (int j = 0; j < kSegments; ++j) walk.at[t][j] = values[j * kSegmentLength + t];
    }
  }
}

LUMOMIXCALC_PER_PROCESSOR void TrySegments(const Walk& __restrict walk, const Binade& binade,
                                           Trial& __restrict trial) {
  const double D = binade.D;
  const double E = binade.E;
  const double u = binade.u;
  for (int j = 0; j < kSegments; ++j) {
    double even = E;
    double odd = E + u;
    double lowest = even;
    double highest = even;
    double smallest = INFINITY;
    double largest = -INFINITY;
    for (int t = 0; t < kSegmentLength; ++t) {
      const double v = walk.at[t][j];
      const double r = (v + D) - D;
      even += r;
      odd += r;
      lowest = even < lowest ? even : lowest;
      highest = even > highest ? even : highest;
      smallest = v < smallest ? v : smallest;
      largest = v > largest ? v : largest;
    }
    trial.change[0][j] = even - E;
    trial.change[1][j] = odd - (E + u);
    trial.lowest[j] = lowest - E;
    trial.highest[j] = highest - E;
    trial.smallest[j] = smallest;
    trial.largest[j] = largest;
  }
}

// Adds a chunk to the sum if no sum on the way needs rounding. Otherwise returns false and changes
// nothing. Data that are not integers mostly fail the test of three values before the loop.
LUMOMIXCALC_PER_PROCESSOR bool AddUnrounded(const Walk& walk, const Trial& trial, float& sum) {
  double bound = std::fabs(sum);
  for (int j = 0; j < kSegments; ++j) {
    bound += kSegmentLength * std::max(trial.largest[j], -trial.smallest[j]);
  }
  const double E = Binade(std::max(static_cast<float>(bound), FLT_MIN)).E;
  const auto rest = [E](double v) { return (v + E) - E - v; };
  if (rest(sum) != 0 || rest(trial.smallest[0]) != 0 || rest(trial.largest[0]) != 0) return false;
  double sums[kSegments];
  double rests[kSegments];
  for (int j = 0; j < kSegments; ++j) {
    sums[j] = -0.0;
    rests[j] = 0.0;
    for (int t = 0; t < kSegmentLength; ++t) {
      sums[j] += walk.at[t][j];
      rests[j] += std::fabs(rest(walk.at[t][j]));
    }
  }
  double total = sum;
  double totalRest = 0.0;
  for (int j = 0; j < kSegments; ++j) {
    total += sums[j];
    totalRest += rests[j];
  }
  if (totalRest != 0) return false;
  sum = static_cast<float>(total);
  return true;
}

// Adds a segment's change to the sum, a float widened to double, if the conditions hold for it.
// Otherwise returns false and changes nothing.
bool AddSegment(const Trial& trial, int j, const Binade& binade, double& sum) {
  // The parity of the sum's units is the last bit that it has as a float. It is used as an index,
  // since a branch on it would be mispredicted every other time.
  const std::uint64_t parity = (std::bit_cast<std::uint64_t>(sum) >> 29U) & 1U;
  const double slack = static_cast<double>(parity) * binade.u;
  const double lowest = sum + trial.lowest[j] - slack;
  const double highest = sum + trial.highest[j] + slack;
  const double P = binade.P;
  const bool isInside = sum > 0
                            ? (trial.smallest[j] >= 0 ? sum >= P : lowest > P) && highest < 2 * P
                            : (trial.largest[j] <= 0 ? sum <= -P : highest < -P) && lowest > -2 * P;
  const bool areSmall = trial.largest[j] <= P / 2 && trial.smallest[j] >= -P / 2;
  if (!isInside || !areSmall) return false;
  sum += trial.change[parity][j];
  return true;
}

// Lowers the minimum and raises the maximum as a chunk does, if their order does not matter and the
// sum stays finite, infinite or NaN as it is. Otherwise returns false and changes nothing.
bool CountExtremes(const Walk& walk, const Trial& trial, OutputStats& stats) {
  double smallest = trial.smallest[0];
  double largest = trial.largest[0];
  double changes = 0.0;  // finite only if every value is
  for (int j = 0; j < kSegments; ++j) {
    smallest = std::min(smallest, trial.smallest[j]);
    largest = std::max(largest, trial.largest[j]);
    changes += trial.change[0][j];
  }
  int afterLastNan = std::isfinite(changes) ? 0 : kChunk;
  while (afterLastNan > 0 && !std::isnan(walk.Value(afterLastNan - 1))) --afterLastNan;
  // An infinity of the other sign is one of the extremes.
  const bool staysInfinite =
      std::isinf(stats.sum) && afterLastNan == 0 && stats.sum + smallest + largest == stats.sum;
  if (!std::isfinite(changes) && !std::isnan(stats.sum) && !staysInfinite) return false;
  float minimum = std::isnan(stats.minimum) ? static_cast<float>(walk.Value(0)) : stats.minimum;
  if (afterLastNan > 0) {
    for (int i = afterLastNan - 1; i < kChunk; ++i)
      minimum = walk.Value(i) >= minimum ? minimum : static_cast<float>(walk.Value(i));
  } else if (smallest < minimum) {
    minimum = static_cast<float>(smallest);
    if (minimum == 0.0F) return false;
  }
  if (largest > stats.maximum) {
    const auto maximum = static_cast<float>(largest);
    if (maximum == 0.0F) return false;
    stats.maximum = maximum;
  }
  stats.minimum = minimum;
  return true;
}

// Counts a full chunk. Returns false and changes nothing if the rule must count all of it.
bool CountFullChunk(const double* values, bool backward, OutputStats& stats) {
  Walk walk;
  Turn(values, backward, walk);
  const Binade binade(std::isnormal(stats.sum) ? stats.sum : 1.0F);
  Trial trial;
  TrySegments(walk, binade, trial);
  if (!CountExtremes(walk, trial, stats)) return false;
  if (!std::isfinite(stats.sum)) return true;
  double sum = stats.sum;
  bool mayRound = false;
  for (int j = 0; j < kSegments; ++j) {
    if (AddSegment(trial, j, binade, sum)) continue;
    if (!mayRound && AddUnrounded(walk, trial, stats.sum)) return true;
    mayRound = true;
    auto byRule = static_cast<float>(sum);
    for (int t = 0; t < kSegmentLength; ++t) byRule = AddToSum(walk.at[t][j], byRule);
    sum = byRule;
  }
  stats.sum = static_cast<float>(sum);
  return true;
}

// Whether values between low and high, counted by the rule, change the sum as low does. True only
// if all have the sign of the sum and it stays in its binade. By 1 and 2 it is enough that, a gap
// of the grid g away on both sides, they have the same nearest multiple of u.
LUMOMIXCALC_PER_PROCESSOR bool RoundAlike(const double* low, const double* high, int n, float start,
                                          float end) {
  const Binade binade(start);
  if (!std::isnormal(start) || Binade(end).P != binade.P) return false;
  const double g = binade.u * 0x1p-29;
  const auto sign = std::bit_cast<std::uint64_t>(double{start});
  std::uint64_t difference = 0;
  std::uint64_t signs = 0;
  for (int i = 0; i < n; ++i) {
    difference |= std::bit_cast<std::uint64_t>(low[i] - g + binade.E) ^
                  std::bit_cast<std::uint64_t>(high[i] + g + binade.E);
    signs |= std::bit_cast<std::uint64_t>(low[i]) ^ sign;
  }
  return difference == 0 && signs >> 63U == 0;
}

}  // namespace

void RunningStatistics::CountChunk(const double* values, int n, bool backward) {
  if (n == kChunk && CountFullChunk(values, backward, stats_)) return;
  for (int i = 0; i < n; ++i) Count(values[backward ? n - 1 - i : i]);
}

// Minimum and maximum depend only on the rounded values and on the signs of those rounded to zero.
// The sum is the same if all increments are (RoundAlike). Otherwise, since the rule's sum is
// monotonic in each value and in the sum before it, it is between those of low and high.
bool RunningStatistics::CountBetween(const double* low, const double* high, int n) {
  RunningStatistics byLow = *this;
  byLow.CountChunk(low, n, false);
  if (std::isfinite(stats_.sum) && !RoundAlike(low, high, n, stats_.sum, byLow.stats_.sum)) {
    RunningStatistics byHigh = *this;
    byHigh.CountChunk(high, n, false);
    if (std::memcmp(&byLow.stats_, &byHigh.stats_, sizeof stats_) != 0) return false;
  }
  *this = byLow;
  return true;
}

}  // namespace lumomixcalc
