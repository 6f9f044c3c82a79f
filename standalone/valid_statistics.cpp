#include "standalone/valid_statistics.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace lumomixcalc::standalone {
namespace {

constexpr std::size_t kLanes = 8;

// Eight counts side by side, which a compiler turns into vector instructions.
struct Lanes {
  std::array<float, kLanes> minimum;
  std::array<float, kLanes> maximum;
  std::array<double, kLanes> sum = {};
  std::array<std::uint32_t, kLanes> valid = {};

  Lanes() {
    minimum.fill(std::numeric_limits<float>::infinity());
    maximum.fill(-std::numeric_limits<float>::infinity());
  }

  void Count(std::size_t lane, float value) {
    const bool isNumber = value == value;
    // A comparison with NaN is false and leaves the extremes alone.
    minimum[lane] = value < minimum[lane] ? value : minimum[lane];
    maximum[lane] = value > maximum[lane] ? value : maximum[lane];
    sum[lane] += isNumber ? static_cast<double>(value) : 0.0;
    valid[lane] += isNumber ? 1U : 0U;
  }
};

template <std::size_t kParts>
void CountRow(const float* values, std::size_t columns, ValidStatistics& statistics) {
  Lanes lanes;
  std::size_t i = 0;
  for (; i + kLanes <= columns; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane)
      lanes.Count(lane, values[(i + lane) * kParts]);
  for (; i < columns; ++i) lanes.Count(i % kLanes, values[i * kParts]);

  double sum = 0;
  std::uint64_t valid = 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    statistics.minimum = std::min(statistics.minimum, lanes.minimum[lane]);
    statistics.maximum = std::max(statistics.maximum, lanes.maximum[lane]);
    sum += lanes.sum[lane];
    valid += lanes.valid[lane];
  }
  statistics.sum += sum;
  statistics.valid += valid;
  statistics.noData += columns - valid;
}

}  // namespace

void CountRows(const float* values, int columns, int rows, int parts, ValidStatistics& statistics) {
  const auto width = static_cast<std::size_t>(columns);
  for (int row = 0; row < rows; ++row) {
    if (parts == 1)
      CountRow<1>(values, width, statistics);
    else
      CountRow<2>(values, width, statistics);
    values += width * static_cast<std::size_t>(parts);
  }
}

}  // namespace lumomixcalc::standalone
