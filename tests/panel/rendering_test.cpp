#include "standalone/panel/rendering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace lumomixcalc::standalone {
namespace {

// From 0 to 999 in no order.
std::vector<float> Ramp() {
  std::vector<float> values(1000);
  std::iota(values.begin(), values.end(), 0.0F);
  std::shuffle(values.begin(), values.end(), std::mt19937(1));
  return values;
}

std::vector<QRgb> Pixels(const std::vector<float>& values, Limits limits, bool cyclic) {
  const QImage row = Picture(values, static_cast<int>(values.size()), limits, cyclic);
  const auto* const pixels = reinterpret_cast<const QRgb*>(row.constScanLine(0));
  return {pixels, pixels + row.width()};
}

TEST(PartOf, GivesEachPartOfComplexElements) {
  const std::vector<float> pairs = {3, 4, 0, -2};
  EXPECT_EQ(PartOf(pairs, ComplexPart::kMagnitude), (std::vector<float>{5, 2}));
  EXPECT_EQ(PartOf(pairs, ComplexPart::kReal), (std::vector<float>{3, 0}));
  EXPECT_EQ(PartOf(pairs, ComplexPart::kImaginary), (std::vector<float>{4, -2}));
  EXPECT_FLOAT_EQ(PartOf(pairs, ComplexPart::kPhase)[1], -std::acos(0.0F));
}

TEST(LimitsOf, LeavesOutWhatIsNotFiniteAndTwoPercentAtEitherEnd) {
  std::vector<float> values = Ramp();
  values.insert(values.begin() + 500, {NAN, INFINITY, -INFINITY});
  const auto limits = [](const std::vector<float>& of, Stretch stretch) {
    const Limits found = LimitsOf(of, stretch);
    return std::pair(found.low, found.high);
  };
  EXPECT_EQ(limits(values, Stretch::kPercentiles), std::pair(20.0F, 979.0F));
  EXPECT_EQ(limits(values, Stretch::kMinMax), std::pair(0.0F, 999.0F));
  EXPECT_EQ(limits({NAN, INFINITY}, Stretch::kPercentiles), std::pair(0.0F, 1.0F));
}

TEST(Spread, TakesLogarithmsAndPutsNegativeNumbersLowest) {
  EXPECT_EQ(Spread({100, 0, -5, 1}, Stretch::kLogarithm),
            (std::vector<float>{2, -INFINITY, -INFINITY, 0}));
  EXPECT_TRUE(std::isnan(Spread({NAN}, Stretch::kLogarithm)[0]));
  EXPECT_EQ(Spread({-5}, Stretch::kMinMax), std::vector<float>{-5});
}

TEST(Picture, GoesFromBlackToWhiteOrOnceAroundTheColourCircle) {
  EXPECT_EQ(Pixels({-INFINITY, 0, 5, 10, 1e30F, NAN}, {0, 10}, false),
            (std::vector<QRgb>{0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF, 0xFFFFFFFF, 0}));
  constexpr float kMost = std::numeric_limits<float>::max();
  EXPECT_EQ(Pixels({0}, {-kMost, kMost}, false)[0], 0xFF808080);
  EXPECT_EQ(Pixels({4}, {4, 4}, false)[0], 0xFF808080);
  const auto colours = Pixels({kTurn.low, -1.5F, 0, 1.5F, kTurn.high}, kTurn, true);
  for (int shift = 0; shift < 24; shift += 8)
    EXPECT_NEAR(colours[0] >> shift & 0xFF, colours[4] >> shift & 0xFF, 6);
  EXPECT_NE(colours[1], colours[2]);
  EXPECT_NE(colours[2], colours[3]);
}

TEST(HistogramOf, CountsEveryFiniteValue) {
  const auto sum = [](const std::vector<float>& values, Limits limits) {
    const Histogram histogram = HistogramOf(values, limits);
    return std::accumulate(histogram.counts.begin(), histogram.counts.end(), 0U);
  };
  EXPECT_EQ(sum(Ramp(), {0, 999}), 1000U);
  EXPECT_EQ(sum({4, 4, NAN, INFINITY}, {4, 4}), 2U);
}

}  // namespace
}  // namespace lumomixcalc::standalone
