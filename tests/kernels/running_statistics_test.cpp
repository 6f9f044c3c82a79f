// Counting chunk by chunk against the rule, one value after the other: over data made to sit on
// every boundary on which the faster ways of counting depend.
#include "kernels/running_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Random = std::mt19937_64;

double Uniform(Random& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

bool OneIn(Random& random, std::uint64_t n) { return random() % n == 0; }

// Makes the value that comes after the sum so far.
using Maker = double (*)(Random& random, float sum);

// Counts chunks of values, uneven ones among them, by the rule and by chunks, and compares the
// records after each. A sign of -1 turns all around zero.
void ExpectCountsByTheRule(Maker maker, OutputStats start, float sign, bool backward,
                           unsigned seed) {
  Random random(seed);
  if (sign < 0) start = {-start.maximum, -start.minimum, -start.sum};
  OutputStats expected = start;
  RunningStatistics running(&start.minimum);
  for (int chunk = 0; chunk < 20; ++chunk) {
    const int n = OneIn(random, 16) ? static_cast<int>(random() % (kChunk + 1)) : kChunk;
    std::vector<double> values(static_cast<std::size_t>(n));
    const OutputStats before = expected;
    for (double& v : values) {
      v = sign * maker(random, sign * expected.sum);
      ReferenceCount(v, expected);
    }
    if (backward) std::reverse(values.begin(), values.end());
    running.CountChunk(values.data(), n, backward);
    OutputStats actual{};
    running.Store(&actual.minimum);
    ASSERT_TRUE(SameBits(actual, expected))
        << std::hexfloat << "chunk " << chunk << " from minimum " << before.minimum << ", maximum "
        << before.maximum << ", sum " << before.sum << "\n  counted " << actual.minimum << " "
        << actual.maximum << " " << actual.sum << "\n  rule    " << expected.minimum << " "
        << expected.maximum << " " << expected.sum;
  }
}

// ---- Data ---------------------------------------------------------------------------------------

// The unit of the sum in its binade.
double UnitOf(float sum) {
  return std::ldexp(1.0, std::max(std::ilogb(std::fabs(sum)), -126) - 23);
}

// A whole or half number of units, nudged by an amount around the last bit that a double near the
// sum has: ties, and what is a tie only once the sum is rounded to double.
double NearTie(Random& random, float sum, double magnitude) {
  const double u = UnitOf(sum);
  const double halves = std::floor(Uniform(random, -2.0 * magnitude, 2.0 * magnitude));
  static constexpr std::array kNudges = {0.0,      0.0,     0x1p-29,  -0x1p-29, 0x1p-30,
                                         -0x1p-30, 0x1p-31, -0x1p-31, 0x1p-60,  -0x1p-60};
  return (halves / 2.0 + kNudges[random() % kNudges.size()]) * u;
}

// Mostly small steps back to the middle of the binade; now and then to within a few units of one of
// its ends, from this side or the other.
double AroundTheEnds(Random& random, float sum) {
  if (!std::isnormal(sum)) return Uniform(random, 1.0, 2.0);
  const double P = UnitOf(sum) * 0x1p23;
  if (OneIn(random, 50)) {
    return std::copysign(OneIn(random, 2) ? P : 2 * P, sum) + NearTie(random, sum, 3.0) - sum;
  }
  if (OneIn(random, 8)) return std::copysign(1.5 * P, sum) - sum;
  return NearTie(random, sum, 4.0);
}

// Steps of about half the binade, just below and just above what the fast way takes.
double HalfTheBinade(Random& random, float sum) {
  if (!std::isnormal(sum)) return 1.5;
  if (OneIn(random, 4)) return NearTie(random, sum, 4.0);
  const double P = UnitOf(sum) * 0x1p23;
  const double step = (std::fabs(sum) < 1.5 * P ? P / 2 : -P / 2) + NearTie(random, sum, 3.0);
  return std::copysign(1.0, sum) * step;
}

// Steps of about half a unit or less, always up, and now and then one to an end of the
// binade: the sum comes to rest there, on a power of two.
double Small(Random& random, float sum) {
  if (!std::isnormal(sum)) return 1.0;
  if (OneIn(random, 300)) return AroundTheEnds(random, sum);
  return std::fabs(NearTie(random, sum, 1.1));
}

// Zeros of both signs, values that become zeros when rounded, and what takes the sum to one.
double Vanishing(Random& random, float sum) {
  const double values[] = {0, -0.0, 1e-60, -1e-60, 1e-46, -1e-46, -sum, -sum + 1e-60, -sum - 1e-60};
  return OneIn(random, 1000) ? Uniform(random, -1e-30, 1e-30)
                             : values[random() % std::size(values)];
}

// Integers about zero, zeros among them and seldom what is none; now and then to where floats
// cannot hold every integer any more, and back.
double Integers(Random& random, float sum) {
  if (OneIn(random, 4000)) return Uniform(random, -1.0, 1.0);
  if (OneIn(random, 700)) return 0x1p24 - Uniform(random, 0.0, 1e5) - sum;
  if (OneIn(random, 700)) return -sum;
  return std::floor(Uniform(random, -300.0, 301.0));
}

// Up to the largest float and, now and then, to the power of two beyond it and back down.
double Huge(Random& random, float sum) {
  const double step = Uniform(random, 0.0, 1e37);
  if (sum > 3.2e38F && OneIn(random, 30)) return 0x1p128 - std::min(sum, 3.4e38F);
  return sum > 3.3e38F || (sum > 0 && OneIn(random, 3)) ? -step : step;
}

const std::pair<const char*, Maker> kData[] = {
    {"positive", [](Random& random, float) { return Uniform(random, 0, 1); }},
    {"zero mean, seldom infinite or NaN",
     [](Random& random, float) {
       constexpr float kRare[] = {kInfinity, -kInfinity, kNan};
       return OneIn(random, 5000) ? kRare[random() % 3] : Uniform(random, -5, 5);
     }},
    {"tiny", [](Random& random, float) { return 0x1p-150 * std::floor(Uniform(random, -10, 16)); }},
    // What rounds to one zero before the other zero: the first to lower the minimum or to raise the
    // maximum gives its sign, though the other one is the extreme.
    {"vanishing above zero", [](Random& random, float) { return OneIn(random, 2) ? 1e-60 : -0.0; }},
    {"vanishing", Vanishing},
    {"around the ends of a binade", AroundTheEnds},
    {"steps of half a binade", HalfTheBinade},
    {"small", Small},
    {"huge", Huge},
    {"integers", Integers},
    {"zeros", [](Random& random, float) { return OneIn(random, 2000) ? 0.0 : -0.0; }},
};

TEST(RunningStatistics, CountByChunksAsByTheRule) {
  constexpr std::pair<float, float> kExtremes[] = {
      {kInfinity, -kInfinity}, {-1, -kInfinity}, {0, 0}, {-0.0F, -0.0F}, {kNan, kNan}, {1, 2}};
  constexpr float kSums[] = {0,       -0.0F,     3,        -1000.5F,
                             8388609, -12582913, 16777216, std::numeric_limits<float>::min(),
                             3e38F,   kInfinity, kNan};
  for (const auto& [name, maker] : kData) {
    for (unsigned run = 0; run < 6 * 11 * 2 * 2 * 4; ++run) {
      const auto& [minimum, maximum] = kExtremes[run % 6];
      const OutputStats start = {minimum, maximum, kSums[run / 6 % 11]};
      const float sign = run / 66 % 2 == 0 ? 1 : -1;
      const bool backward = run / 132 % 2 != 0;
      SCOPED_TRACE(testing::Message() << name << ", run " << run);
      ExpectCountsByTheRule(maker, start, sign, backward, run);
      if (HasFatalFailure()) return;
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
