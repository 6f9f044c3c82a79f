#include "standalone/runs/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

constexpr int kColumns = 37;
constexpr int kRows = 24;

ValidStatistics OfStrips(const std::vector<float>& values, int height) {
  ValidStatistics statistics;
  for (int row = 0; row < kRows; row += height)
    CountRows(values.data() + std::ptrdiff_t{row} * kColumns, kColumns, height, 1, statistics);
  return statistics;
}

TEST(CountRows, GivesTheSameBitsWhateverTheHeightAndOrderOfStrips) {
  std::vector<float> values(std::size_t{kColumns} * kRows);
  // Their sums depend on the order of adding.
  for (int i = 0; float& value : values) {
    value = std::ldexp(i % 3 == 0 ? -1.3F : 1.1F, i * 7 % 60 - 30);
    ++i;
  }
  values[5 * kColumns] = NAN;
  const ValidStatistics whole = OfStrips(values, kRows);
  EXPECT_EQ(whole.noData, 1);
  for (const int height : {1, 2, 3, 8, 12}) {
    const ValidStatistics parts = OfStrips(values, height);
    EXPECT_EQ(parts.sum.Rounded(), whole.sum.Rounded()) << height;
    EXPECT_EQ(parts.Deviation(), whole.Deviation()) << height;
    EXPECT_EQ(parts.valid, whole.valid) << height;
  }
  ValidStatistics upwards;
  for (int row = kRows - 1; row >= 0; --row)
    CountRows(values.data() + std::ptrdiff_t{row} * kColumns, kColumns, 1, 1, upwards);
  EXPECT_EQ(upwards.sum.Rounded(), whole.sum.Rounded());
  EXPECT_EQ(upwards.Deviation(), whole.Deviation());
}

TEST(CountRows, ALargeMeanCostsTheDeviationNoDigit) {
  std::vector<float> values(std::size_t{kColumns} * kRows);
  long double sum = 0;
  for (int i = 0; float& value : values) sum += value = 4e6F + static_cast<float>(i++ % 5) * 0.25F;
  const long double mean = sum / static_cast<long double>(values.size());
  long double squares = 0;
  for (const float value : values) squares += (value - mean) * (value - mean);
  const long double expected = std::sqrt(squares / static_cast<long double>(values.size()));
  EXPECT_NEAR(OfStrips(values, 1).Deviation(), static_cast<double>(expected), 1e-12);
}

TEST(ExactSum, RoundsOnce) {
  ExactSum sum;
  // Half a unit in the last place of 1, and what decides to which side it is rounded.
  for (const double value : {1e300, 1.0, 0x1p-53, 0x1p-120, -1e300}) sum.Add(value);
  EXPECT_EQ(sum.Rounded(), 1 + 0x1p-52);
  sum.Add(-0x1p-119);
  EXPECT_EQ(sum.Rounded(), 1);
  sum.Add(INFINITY);
  EXPECT_EQ(sum.Rounded(), INFINITY);
}

}  // namespace
}  // namespace lumomixcalc::standalone
