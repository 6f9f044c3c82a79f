#include "standalone/panel/rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace lumomixcalc::standalone {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::vector<float> Ramp(int count) {
  std::vector<float> values(static_cast<std::size_t>(count));
  std::iota(values.begin(), values.end(), 0.0F);
  std::shuffle(values.begin(), values.end(), std::mt19937(1));
  return values;
}

TEST(PartOf, GivesEachPartOfComplexElements) {
  const std::vector<float> pairs = {3, 4, 0, -2};
  EXPECT_EQ(PartOf(pairs, ComplexPart::kMagnitude), (std::vector<float>{5, 2}));
  EXPECT_EQ(PartOf(pairs, ComplexPart::kReal), (std::vector<float>{3, 0}));
  EXPECT_EQ(PartOf(pairs, ComplexPart::kImaginary), (std::vector<float>{4, -2}));
  EXPECT_FLOAT_EQ(PartOf(pairs, ComplexPart::kPhase)[1], -std::acos(0.0F));
}

TEST(LimitsOf, LeavesOutTwoPercentAtEitherEndWhateverTheOrder) {
  const Limits limits = LimitsOf(Ramp(1000), Stretch::kPercentiles);
  EXPECT_EQ(limits.low, 20);
  EXPECT_EQ(limits.high, 979);
}

TEST(LimitsOf, CountsOnlyFiniteValues) {
  const std::vector<float> values = {kNan, -3, kInfinity, 8, -kInfinity, 1};
  const Limits limits = LimitsOf(values, Stretch::kMinMax);
  EXPECT_EQ(limits.low, -3);
  EXPECT_EQ(limits.high, 8);
  const Limits none = LimitsOf(std::vector<float>{kNan, kInfinity}, Stretch::kPercentiles);
  EXPECT_LT(none.low, none.high);
}

TEST(Spread, TakesLogarithmsAndPutsWhatHasNoneLowest) {
  EXPECT_EQ(Spread({100, 0, -5, 1}, Stretch::kLogarithm),
            (std::vector<float>{2, -kInfinity, -kInfinity, 0}));
  EXPECT_TRUE(std::isnan(Spread({kNan}, Stretch::kLogarithm)[0]));
  EXPECT_EQ(Spread({-5}, Stretch::kMinMax), std::vector<float>{-5});
}

TEST(Pixels, GoFromBlackToWhiteBetweenTheLimits) {
  const std::vector<float> values = {-kInfinity, 0, 5, 10, 1e30F, kNan};
  const std::vector<std::uint32_t> pixels = Pixels(values, {0, 10}, false);
  EXPECT_EQ(pixels, (std::vector<std::uint32_t>{0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF,
                                                0xFFFFFFFF, 0}));
  constexpr float kMost = std::numeric_limits<float>::max();
  EXPECT_EQ(Pixels(std::vector<float>{0}, {-kMost, kMost}, false)[0], 0xFF808080);
  EXPECT_EQ(Pixels(std::vector<float>{4}, {4, 4}, false)[0], 0xFF808080);
}

TEST(Pixels, GiveTheTwoEndsOfATurnNeighbouringColours) {
  const Limits turn = PhaseLimits();
  const auto ends = Pixels(std::vector<float>{turn.low, turn.high}, turn, true);
  for (int shift = 0; shift < 24; shift += 8) {
    const int first = static_cast<int>(ends[0] >> shift & 0xFF);
    const int last = static_cast<int>(ends[1] >> shift & 0xFF);
    EXPECT_LE(std::abs(first - last), 6);
  }
  const auto quarters = Pixels(std::vector<float>{-1.5F, 0, 1.5F}, turn, true);
  EXPECT_NE(quarters[0], quarters[1]);
  EXPECT_NE(quarters[1], quarters[2]);
}

TEST(HistogramOf, CountsWhatLiesInItsRange) {
  const Histogram histogram = HistogramOf(Ramp(1000), {0, 999});
  EXPECT_EQ(std::accumulate(histogram.counts.begin(), histogram.counts.end(), 0U), 1000U);
  EXPECT_EQ(histogram.counts.front(), 0U);
  EXPECT_LT(histogram.range.low, 0);
  const Histogram constant = HistogramOf(std::vector<float>{4, 4, kNan, kInfinity}, {4, 4});
  EXPECT_EQ(std::accumulate(constant.counts.begin(), constant.counts.end(), 0U), 2U);
}

}  // namespace
}  // namespace lumomixcalc::standalone
