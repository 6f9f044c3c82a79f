#include "standalone/runs/valid_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// Values whose sums depend on the order of adding.
std::vector<float> Uneven(std::size_t count) {
  std::vector<float> values(count);
  for (std::size_t i = 0; i < count; ++i)
    values[i] = std::ldexp(i % 3 == 0 ? -1.3F : 1.1F, static_cast<int>(i * 7 % 60) - 30);
  return values;
}

TEST(CountRows, SkipsNanWhereverItStands) {
  for (std::size_t place = 0; place < 70; ++place) {
    std::vector<float> values(70, 2);
    values[7] = -3;
    values[place] = kNan;
    ValidStatistics statistics;
    CountRows(values.data(), 70, 1, 1, statistics);
    EXPECT_EQ(statistics.minimum, place == 7 ? 2 : -3);
    EXPECT_EQ(statistics.maximum, 2);
    EXPECT_EQ(statistics.sum, place == 7 ? 138 : 133);
    EXPECT_EQ(statistics.valid, 69U);
    EXPECT_EQ(statistics.noData, 1U);
  }
}

TEST(CountRows, CountsTheRealPartsOfComplexElements) {
  const std::vector<float> values = {1, 100, kNan, 200, 3, kNan};
  ValidStatistics statistics;
  CountRows(values.data(), 3, 1, 2, statistics);
  EXPECT_EQ(statistics.minimum, 1);
  EXPECT_EQ(statistics.maximum, 3);
  EXPECT_EQ(statistics.sum, 4);
  EXPECT_EQ(statistics.noData, 1U);
}

TEST(CountRows, DoesNotDependOnTheHeightOfStrips) {
  constexpr int kColumns = 37;
  constexpr int kRows = 24;
  const std::vector<float> values = Uneven(std::size_t{kColumns} * kRows);
  ValidStatistics whole;
  CountRows(values.data(), kColumns, kRows, 1, whole);
  for (const int height : {1, 2, 3, 8, 12}) {
    ValidStatistics parts;
    for (int row = 0; row < kRows; row += height)
      CountRows(values.data() + std::ptrdiff_t{row} * kColumns, kColumns, height, 1, parts);
    EXPECT_EQ(parts.sum, whole.sum) << height;
    EXPECT_EQ(parts.valid, whole.valid) << height;
  }
}

TEST(CountRows, SumsEachRowIn32PartialSums) {
  const std::vector<float> values = Uneven(101);
  double lanes[32] = {};
  for (std::size_t i = 0; i < values.size(); ++i) lanes[i % 32] += static_cast<double>(values[i]);
  double expected = 0;
  for (const double lane : lanes) expected += lane;
  ValidStatistics statistics;
  CountRows(values.data(), 101, 1, 1, statistics);
  EXPECT_EQ(statistics.sum, expected);
}

TEST(CountRows, GoesOnWhereSinglePrecisionSticks) {
  // Adding 1 to 2^24 in single precision changes nothing.
  const std::vector<float> ones(1 << 16, 1.0F);
  ValidStatistics statistics;
  for (int i = 0; i < 512; ++i) CountRows(ones.data(), 1 << 16, 1, 1, statistics);
  EXPECT_EQ(statistics.sum, 33554432.0);
  EXPECT_EQ(statistics.Mean(), 1.0);
}

}  // namespace
}  // namespace lumomixcalc::standalone
