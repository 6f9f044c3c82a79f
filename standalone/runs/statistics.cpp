#include "standalone/runs/statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

// Elements are counted side by side, each in the lane of its column modulo kLanes: compilers turn
// loops over lanes into vector instructions.
constexpr std::size_t kLanes = 16;

template <std::size_t kParts, class Count>
void ForEachElement(const float* values, std::size_t columns, Count count) {
  std::size_t i = 0;
  for (; i + kLanes <= columns; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) count(values[(i + lane) * kParts], lane);
  for (std::size_t lane = 0; i + lane < columns; ++lane) count(values[(i + lane) * kParts], lane);
}

double Sum(const std::array<double, kLanes>& lanes) {
  double sum = 0;
  for (const double lane : lanes) sum += lane;
  return sum;
}

struct RowCounts {
  float minimum = std::numeric_limits<float>::infinity();
  float maximum = -std::numeric_limits<float>::infinity();
  double sum = 0;
  std::uint64_t noData = 0;
};

// Without kMasksNan a NaN makes the sum one.
template <std::size_t kParts, bool kMasksNan>
RowCounts CountRow(const float* values, std::size_t columns) {
  RowCounts row;
  std::array<float, kLanes> minimum;
  std::array<float, kLanes> maximum;
  std::array<double, kLanes> sum = {};
  std::array<std::uint32_t, kLanes> noData = {};
  minimum.fill(row.minimum);
  maximum.fill(row.maximum);
  ForEachElement<kParts>(values, columns, [&](float value, std::size_t lane) {
    // A comparison with NaN is false and leaves the extremes alone.
    minimum[lane] = value < minimum[lane] ? value : minimum[lane];
    maximum[lane] = value > maximum[lane] ? value : maximum[lane];
    const bool counts = !kMasksNan || value == value;
    if constexpr (kMasksNan) noData[lane] += counts ? 0 : 1;
    sum[lane] += static_cast<double>(counts ? value : 0.0F);
  });
  row.minimum = *std::min_element(minimum.begin(), minimum.end());
  row.maximum = *std::max_element(maximum.begin(), maximum.end());
  row.sum = Sum(sum);
  for (const std::uint32_t lane : noData) row.noData += lane;
  return row;
}

template <std::size_t kParts, bool kMasksNan>
double SquaredDeviations(const float* values, std::size_t columns, double mean) {
  std::array<double, kLanes> sum = {};
  ForEachElement<kParts>(values, columns, [&](float value, std::size_t lane) {
    const bool counts = !kMasksNan || value == value;
    const double deviation = counts ? static_cast<double>(value) - mean : 0;
    sum[lane] += deviation * deviation;
  });
  return Sum(sum);
}

// sum * sum / count, where sum is high + low, as two doubles whose exact sum is right to some 100
// bits.
std::array<double, 2> SquareOverCount(double high, double low, std::uint64_t count) {
  const auto divisor = static_cast<double>(count);
  const double square = high * high;
  const double restOfSquare = std::fma(high, high, -square) + 2 * high * low;
  const double quotient = square / divisor;
  const double remainder = std::fma(-quotient, divisor, square) + restOfSquare;
  return {quotient, remainder / divisor};
}

template <std::size_t kParts>
void AddRow(const float* values, std::size_t columns, ValidStatistics& statistics) {
  RowCounts row = CountRow<kParts, false>(values, columns);
  const bool masksNan = std::isnan(row.sum);  // seldom: a NaN, or infinities of both signs
  if (masksNan) row = CountRow<kParts, true>(values, columns);
  statistics.noData += row.noData;
  const std::uint64_t valid = columns - row.noData;
  if (valid == 0) return;
  statistics.minimum = std::min(statistics.minimum, row.minimum);
  statistics.maximum = std::max(statistics.maximum, row.maximum);
  statistics.valid += valid;
  statistics.sum.Add(row.sum);
  const double mean = row.sum / static_cast<double>(valid);
  statistics.squares.Add(masksNan ? SquaredDeviations<kParts, true>(values, columns, mean)
                                  : SquaredDeviations<kParts, false>(values, columns, mean));
  for (const double part : SquareOverCount(row.sum, 0, valid)) statistics.squares.Add(part);
}

}  // namespace

void ExactSum::Add(double value) {
  if (!std::isfinite(value)) {
    notFinite_ += value;
    return;
  }
  std::size_t kept = 0;
  for (double part : parts_) {
    if (std::abs(value) < std::abs(part)) std::swap(value, part);
    const double high = value + part;
    const double low = part - (high - value);
    if (low != 0) parts_[kept++] = low;
    value = high;
  }
  parts_.resize(kept);
  parts_.push_back(value);
}

double ExactSum::Rounded() const {
  if (notFinite_ != 0) return notFinite_;  // NaN, too, is unequal to zero
  double high = 0;
  double low = 0;
  std::size_t left = parts_.size();
  while (left > 0 && low == 0) {
    const double before = high;
    const double part = parts_[--left];
    high = before + part;
    low = part - (high - before);
  }
  // Half way between two doubles the parts that are left decide.
  if (left > 0 && low != 0 && (low > 0) == (parts_[left - 1] > 0)) {
    const double next = high + 2 * low;
    if (next - high == 2 * low) return next;
  }
  return high;
}

double ValidStatistics::Deviation() const {
  const double high = sum.Rounded();
  ExactSum rest = sum;
  rest.Add(-high);
  ExactSum squared = squares;
  for (const double part : SquareOverCount(high, rest.Rounded(), valid)) squared.Add(-part);
  const double deviations = squared.Rounded();
  return deviations < 0 ? 0 : std::sqrt(deviations / static_cast<double>(valid));
}

void CountRows(const float* values, int columns, int rows, int parts, ValidStatistics& statistics) {
  const auto width = static_cast<std::size_t>(columns);
  for (int row = 0; row < rows; ++row) {
    if (parts == 1)
      AddRow<1>(values, width, statistics);
    else
      AddRow<2>(values, width, statistics);
    values += width * static_cast<std::size_t>(parts);
  }
}

bool HasImaginaryPart(const float* values, std::size_t elements) {
  for (std::size_t i = 0; i < elements; ++i) {
    const float imaginary = values[2 * i + 1];
    if (imaginary < 0 || imaginary > 0) return true;
  }
  return false;
}

std::string StatisticsLine(int band, const BandStatistics& statistics) {
  const ValidStatistics& valid = statistics.valid;
  const std::string start = "band " + std::to_string(band) + ": ";
  if (valid.noData == 1 && valid.valid == 0) return start + "its one element is no data";
  if (valid.valid == 0)
    return start + "all " + std::to_string(valid.noData) + " elements are no data";
  std::string line = start + "minimum " + ShortestText(valid.minimum) + ", maximum " +
                     ShortestText(valid.maximum) + ", mean " + ShortestText(valid.Mean()) +
                     ", deviation " + ShortestText(valid.Deviation()) + ", sum " +
                     ShortestText(valid.sum.Rounded());
  if (valid.noData > 0) line += ", " + std::to_string(valid.noData) + " no data";
  return line;
}

void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band) {
  const ValidStatistics& valid = statistics.valid;
  const UnheldElements& unheld = statistics.unheld;
  const double deviation = valid.Deviation();  // finite only when all elements are
  const bool stored = unheld.saturated == 0 && unheld.moved == 0 && unheld.nan == 0;
  if (mode.complex || !stored || !std::isfinite(deviation)) return;
  const auto text = [&mode](float extreme) {
    return mode.integer ? ShortestText(RoundedAndSaturated(extreme, mode)) : ShortestText(extreme);
  };
  const double share =
      100 * static_cast<double>(valid.valid) / static_cast<double>(valid.Elements());
  band.SetMetadataItem("STATISTICS_MINIMUM", text(valid.minimum).c_str());
  band.SetMetadataItem("STATISTICS_MAXIMUM", text(valid.maximum).c_str());
  band.SetMetadataItem("STATISTICS_MEAN", ShortestText(valid.Mean()).c_str());
  band.SetMetadataItem("STATISTICS_STDDEV", ShortestText(deviation).c_str());
  band.SetMetadataItem("STATISTICS_VALID_PERCENT", ShortestText(share).c_str());
}

}  // namespace lumomixcalc::standalone
