#include "standalone/runs/valid_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

TEST(CountRows, AddsInDoublePrecisionWhateverTheHeightOfStrips) {
  constexpr int kColumns = 37;
  constexpr int kRows = 24;
  std::vector<float> values(std::size_t{kColumns} * kRows);
  // Their sums depend on the order of adding.
  for (int i = 0; float& value : values) {
    value = std::ldexp(i % 3 == 0 ? -1.3F : 1.1F, i * 7 % 60 - 30);
    ++i;
  }
  ValidStatistics whole;
  CountRows(values.data(), kColumns, kRows, 1, whole);
  EXPECT_NEAR(whole.sum, std::accumulate(values.begin(), values.end(), 0.0), 1e-4);
  for (const int height : {1, 2, 3, 8, 12}) {
    ValidStatistics parts;
    for (int row = 0; row < kRows; row += height)
      CountRows(values.data() + std::ptrdiff_t{row} * kColumns, kColumns, height, 1, parts);
    EXPECT_EQ(parts.sum, whole.sum) << height;
    EXPECT_EQ(parts.valid, whole.valid) << height;
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
