// Counting chunk by chunk against the rule, one value after the other: over data made to sit on
// every boundary on which the faster ways of counting depend.
#include "kernels/running_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

using Random = std::mt19937_64;

double Uniform(Random& random, double low, double high) {
  return low + (high - low) * 0x1p-53 * static_cast<double>(random() >> 11U);
}

bool OneIn(Random& random, std::uint64_t n) { return random() % n == 0; }

// The unit of the sum in its binade.
double UnitOf(float sum) {
  return std::ldexp(1.0, std::max(std::ilogb(std::fabs(sum)), -126) - 23);
}

// A whole or half number of units, nudged by an amount around the last bit that a double near the
// sum has: ties, and what is a tie only once the sum is rounded to double.
double NearTie(Random& random, float sum, double magnitude) {
  const double halves = std::floor(Uniform(random, -2.0 * magnitude, 2.0 * magnitude));
  static constexpr std::array kNudges = {0.0,      0.0,     0x1p-29,  -0x1p-29, 0x1p-30,
                                         -0x1p-30, 0x1p-31, -0x1p-31, 0x1p-60,  -0x1p-60};
  return (halves / 2.0 + kNudges[random() % kNudges.size()]) * UnitOf(sum);
}

// ---- Data: each makes the value that comes after the sum so far, of a kind from 0 to 3 ----------

// Positive, of zero mean, or tiny.
double Ordinary(Random& random, float, unsigned kind) {
  const double v = Uniform(random, kind == 0 ? 0 : -10, kind < 2 ? 10 : 16);
  return kind < 2 ? v : std::floor(v) * 0x1p-150;
}

// Zeros of both signs, values that become zeros when rounded, and what takes the sum to one. Of the
// first two alone, the first to lower the minimum or to raise the maximum gives its sign, though
// the other one is the extreme.
double Vanishing(Random& random, float sum, unsigned kind) {
  const double values[] = {1e-60, -0.0, 0, -1e-60, 1e-46, -1e-46, -sum, -sum + 1e-60, -sum - 1e-60};
  if (kind == 0) return values[random() % 2];
  return OneIn(random, 1000) ? Uniform(random, -1e-30, 1e-30)
                             : values[random() % std::size(values)];
}

// NaNs and infinities: about one in a chunk, or every other value. The others are numbers of both
// signs, or zeros of both signs and what becomes one.
double NotFinite(Random& random, float, unsigned kind) {
  constexpr double kValues[] = {NAN, INFINITY, INFINITY, INFINITY, -INFINITY};
  if (OneIn(random, kind < 2 ? 2 : 300)) return kValues[random() % std::size(kValues)];
  return kind % 2 == 0 ? Uniform(random, -1, 1) : Vanishing(random, 0, OneIn(random, 9) ? 1 : 0);
}

// Mostly small steps back to the middle of the binade; now and then to within a few units of one of
// its ends, from this side or the other. Of two kinds, always up: steps of about half a unit or
// less, with which the sum comes to rest on a power of two, and larger ones, seldom near a tie or
// into the next binade.
double AroundTheEnds(Random& random, float sum, unsigned kind) {
  if (!std::isnormal(sum)) return Uniform(random, 1.0, 2.0);
  const double P = UnitOf(sum) * 0x1p23;
  if (kind == 0 && !OneIn(random, 300)) return std::fabs(NearTie(random, sum, 1.1));
  if (kind == 1 && sum > 0) {
    if (OneIn(random, 300)) return 2 * P - sum;
    if (OneIn(random, 100)) return std::fabs(NearTie(random, sum, 4.0));
    return (std::floor(Uniform(random, 0.0, 4.0)) + 0.3) * UnitOf(sum);
  }
  if (OneIn(random, 50))
    return std::copysign(OneIn(random, 2) ? P : 2 * P, sum) + NearTie(random, sum, 3.0) - sum;
  if (OneIn(random, 8)) return std::copysign(1.5 * P, sum) - sum;
  return NearTie(random, sum, 4.0);
}

// Steps of about half the binade, just below and just above what the fast way takes.
double HalfTheBinade(Random& random, float sum, unsigned) {
  if (!std::isnormal(sum)) return 1.5;
  if (OneIn(random, 4)) return NearTie(random, sum, 4.0);
  const double P = UnitOf(sum) * 0x1p23;
  const double step = (std::fabs(sum) < 1.5 * P ? P / 2 : -P / 2) + NearTie(random, sum, 3.0);
  return std::copysign(1.0, sum) * step;
}

// Up to the largest float and, now and then, to the power of two beyond it and back down.
double Huge(Random& random, float sum, unsigned) {
  const double step = Uniform(random, 0.0, 1e37);
  if (sum > 3.2e38F && OneIn(random, 30)) return 0x1p128 - std::min(sum, 3.4e38F);
  return sum > 3.3e38F || (sum > 0 && OneIn(random, 3)) ? -step : step;
}

// Integers about zero, zeros among them and seldom what is none; now and then to where floats
// cannot hold every integer any more, and back. Of one kind mostly -0.
double Integers(Random& random, float sum, unsigned kind) {
  if (kind == 0) return OneIn(random, 2000) ? 0.0 : -0.0;
  if (OneIn(random, 4000)) return Uniform(random, -1.0, 1.0);
  if (OneIn(random, 700)) return 0x1p24 - Uniform(random, 0.0, 1e5) - sum;
  if (OneIn(random, 700)) return -sum;
  return std::floor(Uniform(random, -300.0, 301.0));
}

// Counts the values by bounds around them, where these may have a tie at their end, if they round
// to the same floats and suffice.
bool CountedBetween(const std::vector<double>& values, float sum, RunningStatistics& running,
                    Random& random) {
  std::vector<double> low;
  std::vector<double> high;
  for (const double v : values) {
    const double margins[] = {0, std::fabs(v) * 0x1p-42, UnitOf(sum) * 0x1p-29,
                              UnitOf(sum) * 0x1p-30};
    low.push_back(v - (std::isfinite(v) ? margins[random() % 4] : 0));
    high.push_back(v + (std::isfinite(v) ? margins[random() % 4] : 0));
    if (!SameBits(static_cast<float>(low.back()), static_cast<float>(high.back()))) return false;
  }
  return running.CountBetween(low.data(), high.data(), static_cast<int>(values.size()));
}

// Counts chunks of values, uneven ones among them, by the rule and by chunks, and compares the
// records after each. A sign of -1 turns all around zero.
void ExpectCountsByTheRule(double (*data)(Random&, float, unsigned), OutputStats start, float sign,
                           bool backward, unsigned seed) {
  Random random(seed);
  if (sign < 0) start = {-start.maximum, -start.minimum, -start.sum};
  OutputStats expected = start;
  RunningStatistics running(&start.minimum);
  for (int chunk = 0; chunk < 20; ++chunk) {
    const int n = OneIn(random, 16) ? static_cast<int>(random() % (kChunk + 1)) : kChunk;
    std::vector<double> values(static_cast<std::size_t>(n));
    for (double& v : values) {
      v = sign * data(random, sign * expected.sum, seed % 4);
      ReferenceCount(v, expected);
    }
    if (backward) std::reverse(values.begin(), values.end());
    if (backward || !CountedBetween(values, expected.sum, running, random))
      running.CountChunk(values.data(), n, backward);
    OutputStats actual{};
    running.Store(&actual.minimum);
    ASSERT_TRUE(SameBits(actual, expected))
        << "chunk " << chunk << ": minimum, maximum and sum " << StatsText(actual) << ", the rule "
        << StatsText(expected);
  }
}

TEST(RunningStatistics, CountByChunksAsByTheRule) {
  constexpr std::pair<float, float> kExtremes[] = {{INFINITY, -INFINITY}, {-1, -INFINITY}, {0, 0},
                                                   {-0.0F, -0.0F},        {NAN, NAN},      {1, 2}};
  constexpr float kSums[] = {0,        -0.0F,   3,     -1000.5F, 8388609, -12582913,
                             16777216, FLT_MIN, 3e38F, INFINITY, NAN};
  for (const auto data :
       {Ordinary, Vanishing, NotFinite, AroundTheEnds, HalfTheBinade, Huge, Integers}) {
    for (unsigned run = 0; run < 4 * 6 * 11 * 2 * 2 && !HasFatalFailure(); ++run) {
      const auto digit = [run](unsigned place, unsigned base) { return run / place % base; };
      const auto& [minimum, maximum] = kExtremes[digit(4, 6)];
      SCOPED_TRACE(run);
      ExpectCountsByTheRule(data, {minimum, maximum, kSums[digit(24, 11)]},
                            digit(264, 2) == 0 ? 1 : -1, digit(528, 2) != 0, run);
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
