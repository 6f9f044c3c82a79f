#include "standalone/runs/valid_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

TEST(CountRows, SkipsNanWhereverItStands) {
  for (std::size_t place = 0; place < 70; ++place) {
    std::vector<float> values(70, 2);
    values[7] = -3;
    values[place] = NAN;
    ValidStatistics statistics;
    CountRows(values.data(), 70, 1, 1, statistics);
    EXPECT_EQ(statistics.minimum, place == 7 ? 2 : -3);
    EXPECT_EQ(statistics.maximum, 2);
    EXPECT_EQ(statistics.sum, place == 7 ? 138 : 133);
    EXPECT_EQ(statistics.valid, 69U);
    EXPECT_EQ(statistics.noData, 1U);
  }
}

TEST(CountRows, DoesNotDependOnTheHeightOfStrips) {
  constexpr int kColumns = 37;
  constexpr int kRows = 24;
  std::vector<float> values(std::size_t{kColumns} *
                            kRows);  // whose sums depend on the order of adding
  int i = 0;
  for (float& value : values) {
    value = std::ldexp(i % 3 == 0 ? -1.3F : 1.1F, i * 7 % 60 - 30);
    ++i;
  }
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

TEST(CountRows, GoesOnWhereSinglePrecisionSticks) {
  // Adding 1 to 2^24 in single precision changes nothing.
  const std::vector<float> ones(1 << 16, 1.0F);
  ValidStatistics statistics;
  for (int i = 0; i < 512; ++i) CountRows(ones.data(), 1 << 16, 1, 1, statistics);
  EXPECT_EQ(statistics.sum, 33554432.0);
}

}  // namespace
}  // namespace lumomixcalc::standalone
