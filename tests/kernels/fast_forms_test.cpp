// The fast forms of logarithm, power and phase against the library's functions, element by element.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "kernels/fast_logarithm_and_power.h"
#include "kernels/fast_phase.h"
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

// The stored bits, those of real NaNs included, and the record.
void ExpectTheLibrarys(const OperatorRun& run, const std::vector<float>& elements, float sum) {
  const bool isReal = run.layout.in1 == 0;
  const auto n = static_cast<std::int32_t>(elements.size() / (isReal ? 1 : 2));
  std::vector<float> expected(elements.size());
  std::vector<float> actual(elements.size());
  OutputStats expectedStats = {INFINITY, -INFINITY, sum};
  OutputStats stats = expectedStats;
  Reference(run, run.layout, expected.data(), expectedStats, elements.data(), elements.data(), n);
  PerformProcessing(actual.data(), &stats.minimum, elements.data(), elements.data(), n,
                    Select(run).get());
  ASSERT_TRUE(SameBits(stats, expectedStats))
      << StatsText(stats) << ", not " << StatsText(expectedStats);
  for (std::size_t i = 0; i < elements.size(); ++i)
    ASSERT_TRUE(isReal ? std::memcmp(&actual[i], &expected[i], sizeof(float)) == 0
                       : SameBits(actual[i], expected[i]))
        << "float " << i << " of the output is " << actual[i] << ", not " << expected[i]
        << "; input " << elements[i];
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

TEST(Phase, IsTheLibrarysWhateverTheElement) {
  Random random;
  std::normal_distribution<float> normal;
  constexpr float kTanPi8 = 0x1.a8279ap-2F;
  std::vector<float> elements;
  for (int i = 0; i < 60000; ++i) {
    const float x = normal(random);
    const auto whole = [&] { return static_cast<float>(static_cast<int>(random() % 31) - 15); };
    const auto tiny = [&] { return static_cast<float>(random() % 99) * 1e-45F; };
    const auto beside = [&](float v) { return v * (1 + 0x1p-23F * whole()); };
    const std::pair<float, float> kinds[] = {{x, normal(random)},
                                             {AnyBits(random), AnyBits(random)},
                                             {whole(), whole()},
                                             {x, beside(i % 2 == 0 ? x : -x)},
                                             {x, beside(x * kTanPi8)},
                                             {beside(x * kTanPi8), -x},
                                             {tiny(), i % 2 == 0 ? x : -tiny()}};
    const auto [re, im] = kinds[random() % std::size(kinds)];
    elements.insert(elements.end(), {re, im});
    // Rarely, so that most chunks are without.
    if (i % 1000 == 0) elements.insert(elements.end(), {Special(random), Special(random)});
    if (i % 1000 == 1) elements.insert(elements.end(), {Special(random), x});
  }
  const std::complex<float> factors[] = {
      1, {57.29578F, 0}, -1, {0.3F, -7}, {1e-30F, 1e30F}, {1e-44F, 3e38F}, {NAN, INFINITY}};
  for (const auto& A : factors)
    for (const std::int32_t outComplex : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "A = " << A << ", complex " << outComplex);
      ExpectTheLibrarys({7, 0, A, 0, {outComplex, 1, 0}}, elements, 0);
      if (HasFatalFailure()) return;
    }
}

TEST(Phase, FastArcTangentIsWithinItsBound) {
  Random random;
  for (int i = 0; i < 300000; ++i) {
    const float y = i % 2 == 0 ? AnyBits(random) : Draw(false, random);
    const float x = i % 2 == 0 ? AnyBits(random) : Draw(false, random);
    if (!std::isnormal(x) || !std::isnormal(y)) continue;
    const long double angle = std::atan2(static_cast<long double>(y), static_cast<long double>(x));
    EXPECT_LE(std::abs(FastAtan2(y, x) / angle - 1), 9 * 0x1p-53L) << y << " " << x;
  }
}

// Whatever is within the margin of the middle between two floats may round to either.
TEST(Phase, IsNotCertainNextToTheMiddleBetweenTwoFloats) {
  Random random;
  for (int i = 0; i < 100000; ++i) {
    const float v = AnyBits(random);
    if (!std::isnormal(v)) continue;
    const double middle = (double{v} + double{std::nextafter(v, 0.0F)}) / 2;
    for (const double side : {-1.0, 1.0}) {
      ASSERT_FALSE(IsFloatCertain(middle * (1 + side * 0x1p-49))) << v;
      ASSERT_TRUE(IsFloatCertain(middle * (1 + side * 0x1p-47))) << v;
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
