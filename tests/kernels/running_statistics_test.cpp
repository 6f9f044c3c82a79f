// Counting chunk by chunk against the rule, one value after the other: over data made to sit on
// every boundary on which the faster ways of counting depend.
#include "kernels/running_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr OutputStats kFresh{kInfinity, -kInfinity, 0.0F};

using Random = std::mt19937_64;

double Uniform(Random& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

bool OneIn(Random& random, std::uint64_t n) { return random() % n == 0; }

// Makes the value that comes after the sum so far.
using Maker = double (*)(Random& random, float sum);

// Counts `chunks` chunks of values by the rule and by chunks, uneven ones among them, and compares
// the records after each.
void ExpectCountsByTheRule(Maker maker, OutputStats start, int chunks, bool backward,
                           unsigned seed) {
  Random random(seed);
  OutputStats expected = start;
  RunningStatistics running(&start.minimum);
  for (int chunk = 0; chunk < chunks; ++chunk) {
    const int n = OneIn(random, 16) ? static_cast<int>(random() % (kChunk + 1)) : kChunk;
    std::vector<double> values(static_cast<std::size_t>(n));
    const OutputStats before = expected;
    for (double& v : values) {
      v = maker(random, expected.sum);
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

double Positive(Random& random, float) { return Uniform(random, 0.0, 1.0); }
double ZeroMean(Random& random, float) { return Uniform(random, -1.0, 1.0); }
double Integers(Random& random, float) { return static_cast<double>(random() % 256); }
double SignedIntegers(Random& random, float) {
  return static_cast<double>(static_cast<int>(random() % 201) - 100);
}
double Falling(Random& random, float) { return Uniform(random, -3.0, 1.0); }

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
  const double u = UnitOf(sum);
  if (OneIn(random, 50)) {
    const double P = u * 0x1p23 * (OneIn(random, 2) ? 1.0 : 2.0);
    const double target = std::copysign(P, sum) + NearTie(random, sum, 3.0);
    return target - sum;
  }
  if (OneIn(random, 8)) return std::copysign(1.5 * u * 0x1p23, sum) - sum;
  return NearTie(random, sum, 4.0);
}

// Steps of about half a unit or less, always up or always down, and now and then one to the next
// end of the binade: the sum comes to rest there, on a power of two.
double SmallUp(Random& random, float sum) {
  if (!std::isnormal(sum)) return 1.0;
  if (OneIn(random, 300)) return AroundTheEnds(random, sum);
  return std::fabs(NearTie(random, sum, 1.1));
}
double SmallDown(Random& random, float sum) { return -SmallUp(random, -sum); }

// Steps of about half the binade, just below and just above what the fast way takes.
double HalfTheBinade(Random& random, float sum) {
  if (!std::isnormal(sum)) return 1.5;
  const double u = UnitOf(sum);
  const double P = u * 0x1p23;
  if (OneIn(random, 4)) return NearTie(random, sum, 4.0);
  const double s = std::fabs(sum);
  const double step = (s < 1.5 * P ? 0.5 : -0.5) * P + NearTie(random, sum, 3.0);
  return std::copysign(1.0, sum) * step;
}

// Zeros of both signs, and values that become zeros when rounded.
double Vanishing(Random& random, float) {
  static constexpr std::array kValues = {0.0, -0.0, 1e-60, -1e-60, 0.0, -0.0, 1e-46, -1e-46};
  return OneIn(random, 2000) ? Uniform(random, -1e-44, 1e-44) : kValues[random() % kValues.size()];
}

// What rounds to one zero before the other zero: the first to lower the minimum or to raise the
// maximum gives its sign, though the other one is the extreme.
double VanishingAboveZero(Random& random, float) { return OneIn(random, 2) ? 1e-60 : -0.0; }
double VanishingBelowZero(Random& random, float) { return OneIn(random, 2) ? -1e-60 : 0.0; }

// Takes the sum to an exact zero, or to what rounds to one, again and again.
double ThroughZero(Random& random, float sum) {
  if (OneIn(random, 3)) return -sum + (OneIn(random, 2) ? 1e-60 : -1e-60);
  return OneIn(random, 3) ? -static_cast<double>(sum) : Uniform(random, -1e-30, 1e-30);
}

double WithNans(Random& random, float) {
  return OneIn(random, 700) ? static_cast<double>(kNan) : Uniform(random, -5.0, 5.0);
}

double WithInfinities(Random& random, float) {
  if (OneIn(random, 3000)) return OneIn(random, 2) ? kInfinity : -kInfinity;
  return Uniform(random, -5.0, 5.0);
}

// Up to the largest float and, now and then, to the power of two beyond it and back down.
double Huge(Random& random, float sum) {
  const double step = Uniform(random, 0.0, 1e37);
  if (sum > 3.2e38F && OneIn(random, 30)) return 0x1p128 - std::min(sum, 3.4e38F);
  return sum > 3.3e38F || (sum > 0 && OneIn(random, 3)) ? -step : step;
}

double HugeNegative(Random& random, float sum) { return -Huge(random, -sum); }

double Tiny(Random& random, float) {
  return std::ldexp(std::floor(Uniform(random, -10.0, 16.0)), -150);
}

struct DataCase {
  const char* name;
  Maker maker;
};

void PrintTo(const DataCase& data, std::ostream* stream) { *stream << data.name; }

class Counting : public testing::TestWithParam<DataCase> {};

TEST_P(Counting, ByChunksEqualsTheRule) {
  const OutputStats starts[] = {kFresh,
                                {-1.0F, -kInfinity, 0.0F},
                                {0.0F, 0.0F, 0.0F},
                                {-0.0F, -0.0F, -0.0F},
                                {kNan, kNan, 16777216.0F},
                                {1.0F, 2.0F, -1000.5F},
                                {-1e30F, 1e30F, 3.0F},
                                {0.0F, 1.0F, 8388609.0F},
                                {0.0F, 1.0F, 16777216.0F},
                                {0.0F, 1.0F, -16777216.0F},
                                {5.0F, -5.0F, -12582913.0F},
                                {0.0F, 1.0F, std::numeric_limits<float>::min()},
                                {0.0F, 1.0F, 3e38F},
                                {0.0F, 1.0F, -3e38F},
                                {0.0F, 1.0F, kInfinity},
                                {0.0F, 1.0F, kNan}};
  unsigned seed = 1;
  for (const OutputStats& start : starts) {
    for (const bool backward : {false, true}) {
      SCOPED_TRACE(testing::Message() << "start " << &start - starts << ", backward " << backward);
      for (int run = 0; run < 20; ++run) {
        ExpectCountsByTheRule(GetParam().maker, start, 20, backward, seed++);
        if (HasFatalFailure()) return;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Data, Counting,
    testing::Values(DataCase{"Positive", Positive}, DataCase{"ZeroMean", ZeroMean},
                    DataCase{"Integers", Integers}, DataCase{"SignedIntegers", SignedIntegers},
                    DataCase{"Falling", Falling}, DataCase{"AroundTheEndsOfABinade", AroundTheEnds},
                    DataCase{"StepsOfHalfABinade", HalfTheBinade}, DataCase{"SmallUp", SmallUp},
                    DataCase{"SmallDown", SmallDown}, DataCase{"HugeNegative", HugeNegative},
                    DataCase{"Vanishing", Vanishing},
                    DataCase{"VanishingAboveZero", VanishingAboveZero},
                    DataCase{"VanishingBelowZero", VanishingBelowZero},
                    DataCase{"ThroughZero", ThroughZero}, DataCase{"WithNans", WithNans},
                    DataCase{"WithInfinities", WithInfinities}, DataCase{"Huge", Huge},
                    DataCase{"Tiny", Tiny}),
    [](const auto& data) { return std::string(data.param.name); });

}  // namespace
}  // namespace lumomixcalc
