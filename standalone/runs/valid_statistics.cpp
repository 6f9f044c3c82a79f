#include "standalone/runs/valid_statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace lumomixcalc::standalone {
namespace {

constexpr std::size_t kLanes = 32;

// Counts side by side, one a lane: loops over them are what compilers turn into vector
// instructions.
struct Lanes {
  std::array<float, kLanes> minimum;
  std::array<float, kLanes> maximum;
  std::array<double, kLanes> sum = {};
  std::array<std::uint32_t, kLanes> noData = {};

  Lanes() {
    minimum.fill(std::numeric_limits<float>::infinity());
    maximum.fill(-std::numeric_limits<float>::infinity());
  }
};

// Counts an element. Without kMasksNan a NaN makes the sum one.
template <bool kMasksNan>
void CountOne(float value, std::size_t lane, Lanes& lanes) {
  // A comparison with NaN is false and leaves the extremes alone.
  lanes.minimum[lane] = value < lanes.minimum[lane] ? value : lanes.minimum[lane];
  lanes.maximum[lane] = value > lanes.maximum[lane] ? value : lanes.maximum[lane];
  const bool counts = !kMasksNan || value == value;
  if constexpr (kMasksNan) lanes.noData[lane] += counts ? 0 : 1;
  lanes.sum[lane] += static_cast<double>(counts ? value : 0.0F);
}

template <std::size_t kParts, bool kMasksNan>
void CountRow(const float* values, std::size_t columns, Lanes& lanes) {
  std::size_t i = 0;
  for (; i + kLanes <= columns; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane)
      CountOne<kMasksNan>(values[(i + lane) * kParts], lane, lanes);
  for (std::size_t lane = 0; i + lane < columns; ++lane)
    CountOne<kMasksNan>(values[(i + lane) * kParts], lane, lanes);
}

double Sum(const Lanes& lanes) {
  double sum = 0;
  for (const double lane : lanes.sum) sum += lane;
  return sum;
}

template <std::size_t kParts>
void CountRow(const float* values, std::size_t columns, ValidStatistics& statistics) {
  Lanes lanes;
  CountRow<kParts, false>(values, columns, lanes);
  if (std::isnan(Sum(lanes))) {  // seldom: a NaN, or infinities of both signs
    lanes = {};
    CountRow<kParts, true>(values, columns, lanes);
  }
  std::uint64_t noData = 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    statistics.minimum = std::min(statistics.minimum, lanes.minimum[lane]);
    statistics.maximum = std::max(statistics.maximum, lanes.maximum[lane]);
    noData += lanes.noData[lane];
  }
  statistics.sum += Sum(lanes);
  statistics.valid += columns - noData;
  statistics.noData += noData;
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
