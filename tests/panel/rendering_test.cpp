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
  const Limits most = LimitsOf(values, Stretch::kPercentiles);
  EXPECT_EQ(most.low, 20);
  EXPECT_EQ(most.high, 979);
  const Limits all = LimitsOf(values, Stretch::kMinMax);
  EXPECT_EQ(all.low, 0);
  EXPECT_EQ(all.high, 999);
  const Limits none = LimitsOf(std::vector<float>{NAN, INFINITY}, Stretch::kPercentiles);
  EXPECT_LT(none.low, none.high);
}

TEST(Spread, TakesLogarithmsAndPutsWhatHasNoneLowest) {
  EXPECT_EQ(Spread({100, 0, -5, 1}, Stretch::kLogarithm),
            (std::vector<float>{2, -INFINITY, -INFINITY, 0}));
  EXPECT_TRUE(std::isnan(Spread({NAN}, Stretch::kLogarithm)[0]));
  EXPECT_EQ(Spread({-5}, Stretch::kMinMax), std::vector<float>{-5});
}

TEST(Picture, GoFromBlackToWhiteBetweenTheLimits) {
  const std::vector<float> values = {-INFINITY, 0, 5, 10, 1e30F, NAN};
  const std::vector<QRgb> pixels = Pixels(values, {0, 10}, false);
  EXPECT_EQ(pixels,
            (std::vector<QRgb>{0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF, 0xFFFFFFFF, 0}));
  constexpr float kMost = std::numeric_limits<float>::max();
  EXPECT_EQ(Pixels({0}, {-kMost, kMost}, false)[0], 0xFF808080);
  EXPECT_EQ(Pixels({4}, {4, 4}, false)[0], 0xFF808080);
}

TEST(Picture, GiveTheTwoEndsOfATurnNeighbouringColours) {
  const Limits turn = PhaseLimits();
  const auto colours = Pixels({turn.low, -1.5F, 0, 1.5F, turn.high}, turn, true);
  for (int shift = 0; shift < 24; shift += 8)
    EXPECT_NEAR(colours[0] >> shift & 0xFF, colours[4] >> shift & 0xFF, 6);
  EXPECT_NE(colours[1], colours[2]);
  EXPECT_NE(colours[2], colours[3]);
}

TEST(HistogramOf, CountsEveryFiniteValue) {
  const auto sum = [](const Histogram& histogram) {
    return std::accumulate(histogram.counts.begin(), histogram.counts.end(), 0U);
  };
  EXPECT_EQ(sum(HistogramOf(Ramp(), {0, 999})), 1000U);
  EXPECT_EQ(sum(HistogramOf(std::vector<float>{4, 4, NAN, INFINITY}, {4, 4})), 2U);
}

}  // namespace
}  // namespace lumomixcalc::standalone
