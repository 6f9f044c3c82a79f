// The real logarithm and power against the library's functions, element by element.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "kernels/fast_logarithm_and_power.h"
#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

using Random = std::mt19937;

float Normal(Random& random) { return std::normal_distribution<float>(0, 100)(random); }
float AnyBits(Random& random) { return std::bit_cast<float>(static_cast<std::uint32_t>(random())); }
float Whole(Random& random) { return static_cast<float>(random() % 12000) - 4000; }
float Special(Random& random) { return Draw(true, random); }
float NearOne(Random& random) {
  return 1 + std::ldexp(Draw(false, random), -static_cast<int>(random() % 25));
}
// Its logarithm is so near the middle between two floats that only the library can round it.
float OfUncertainLogarithm(Random&) { return 9.47263622F; }
float PositiveOrNone(Random& random) {
  return random() % 3 == 0
             ? std::bit_cast<float>(0xffc00000U | static_cast<std::uint32_t>(random() & 0xfffU))
             : std::fabs(Normal(random));
}

// The stored bits, those of NaNs included, and the record.
void ExpectTheLibrarys(const OperatorRun& run, const std::vector<float>& elements, float sum) {
  const auto n = static_cast<std::int32_t>(elements.size());
  std::vector<float> expected(elements.size());
  std::vector<float> actual(elements.size());
  OutputStats expectedStats = {INFINITY, -INFINITY, sum};
  OutputStats stats = expectedStats;
  Reference(run, {}, expected.data(), expectedStats, elements.data(), elements.data(), n);
  PerformProcessing(actual.data(), &stats.minimum, elements.data(), elements.data(), n,
                    Select(run).get());
  ASSERT_TRUE(SameBits(stats, expectedStats))
      << StatsText(stats) << ", not " << StatsText(expectedStats);
  for (std::size_t i = 0; i < elements.size(); ++i)
    ASSERT_EQ(std::memcmp(&actual[i], &expected[i], sizeof(float)), 0)
        << elements[i] << " gives " << actual[i] << ", not " << expected[i];
}

// Whole numbers have powers in the middle between two floats or between two sums. Special elements
// are many, or too few for the formula to compute a whole chunk.
TEST(LogarithmAndPower, AreTheLibrarysWhateverTheElements) {
  Random random;
  constexpr float kFactors[] = {1,  -1,    4.3429448F, 0.7F,   2,        3,         -3, 0.5F, -0.5F,
                                10, -20.5, 1e-3F,      1e-44F, INFINITY, -INFINITY, 0,  3e38F};
  for (const float A : kFactors)
    for (const float B : {0.0F, 1.0F, -0.3F})
      for (const auto data :
           {Normal, AnyBits, Whole, Special, NearOne, PositiveOrNone, OfUncertainLogarithm})
        for (const std::uint32_t rare : {1U, 20U})
          for (const std::int32_t op : {11, 12}) {
            std::vector<float> elements(2000);
            for (float& x : elements) x = random() % rare == 0 ? data(random) : Normal(random);
            const OperatorRun run = {op, static_cast<std::int32_t>(random() % 2), A, B, {}};
            SCOPED_TRACE(testing::Message() << "operator " << op << ", A = " << A << ", B = " << B);
            ExpectTheLibrarys(run, elements, rare == 1 ? 0 : Normal(random) * 1e5F);
            if (HasFatalFailure()) return;
          }
}

TEST(LogarithmAndPower, FastFormsAreWithinTheirBounds) {
  Random random;
  for (int i = 0; i < 500000; ++i) {
    const double x = std::fabs(i % 2 == 0 ? AnyBits(random) : NearOne(random));
    const double t = std::uniform_real_distribution<double>(-87, 87)(random);
    if (!(x > 0 && x < INFINITY)) continue;
    const long double ln = std::log(static_cast<long double>(x));
    ASSERT_LE(std::abs(FastLog(x) - ln), 14 * 0x1p-53L * std::abs(ln)) << x;
    ASSERT_LE(std::abs(FastExp(t) / std::exp(static_cast<long double>(t)) - 1), 85 * 0x1p-53L) << t;
  }
}

}  // namespace
}  // namespace lumomixcalc
