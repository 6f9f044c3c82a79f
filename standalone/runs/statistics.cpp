#include "standalone/runs/statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "standalone/base/texts.h"
#include "standalone/rasters/raster_output.h"

namespace lumomixcalc::standalone {
namespace {

struct RowCounts {
  float minimum = std::numeric_limits<float>::infinity();
  float maximum = -std::numeric_limits<float>::infinity();
  double sum = 0;      // of the distances from an origin
  double squares = 0;  // of the squared distances
  std::uint64_t noData = 0;
};

// The element of a column is counted in lane column % kLanes.
template <std::size_t kParts>
RowCounts CountRow(const float* values, std::size_t columns, double origin) {
  RowCounts row;
  std::array<float, kLanes> minimum;
  std::array<float, kLanes> maximum;
  std::array<double, kLanes> sum = {};
  std::array<double, kLanes> squares = {};
  std::array<std::uint32_t, kLanes> noData = {};
  minimum.fill(row.minimum);
  maximum.fill(row.maximum);
  const auto count = [&](float value, std::size_t lane) {
    // A comparison with NaN is false and does not change the extremes.
    minimum[lane] = value < minimum[lane] ? value : minimum[lane];
    maximum[lane] = value > maximum[lane] ? value : maximum[lane];
    const bool counts = value == value;  // not NaN
    noData[lane] += counts ? 0 : 1;
    const double distance = counts ? static_cast<double>(value) - origin : 0;
    sum[lane] += distance;
    squares[lane] += distance * distance;
  };
  std::size_t i = 0;
  for (; i + kLanes <= columns; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) count(values[(i + lane) * kParts], lane);
  for (std::size_t lane = 0; i + lane < columns; ++lane) count(values[(i + lane) * kParts], lane);
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    row.minimum = std::min(row.minimum, minimum[lane]);
    row.maximum = std::max(row.maximum, maximum[lane]);
    row.sum += sum[lane];
    row.squares += squares[lane];
    row.noData += noData[lane];
  }
  return row;
}

// When the elements of the row are close together, their distances from its first finite element
// are small and exact.
template <std::size_t kParts>
void AddRow(const ConstElements& elements, ValidStatistics& statistics) {
  const std::size_t columns = elements.Count();
  std::size_t first = 0;
  while (first < columns && !std::isfinite(elements[first][0])) ++first;
  const double origin = first < columns ? static_cast<double>(elements[first][0]) : 0;
  const RowCounts row = CountRow<kParts>(elements.values, columns, origin);
  statistics.noData += row.noData;
  const std::uint64_t valid = columns - row.noData;
  if (valid == 0) return;
  statistics.valid += valid;
  statistics.minimum = std::min(statistics.minimum, row.minimum);
  statistics.maximum = std::max(statistics.maximum, row.maximum);
  const auto count = static_cast<double>(valid);
  statistics.sum.AddProduct(origin, count);
  statistics.sum.Add(row.sum);
  // The square of origin + distance.
  statistics.squares.AddProduct(origin * origin, count);
  statistics.squares.AddProduct(2 * origin, row.sum);
  statistics.squares.Add(row.squares);
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

void ExactSum::AddProduct(double a, double b) {
  const double product = a * b;
  Add(product);
  if (std::isfinite(product)) Add(std::fma(a, b, -product));
}

void ExactSum::AddProduct(const ExactSum& a, double b) {
  for (const double part : a.parts_) AddProduct(part, b);
}

std::vector<double> ExactSum::Terms() const {
  std::vector<double> terms = parts_;
  if (notFinite_ != 0) terms.push_back(notFinite_);
  return terms;
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
  // If the sum so far is half way between two doubles, the remaining parts decide.
  if (left > 0 && low != 0 && (low > 0) == (parts_[left - 1] > 0)) {
    const double next = high + 2 * low;
    if (next - high == 2 * low) return next;
  }
  return high;
}

void ValidStatistics::Add(const ValidStatistics& other) {
  minimum = std::min(minimum, other.minimum);
  maximum = std::max(maximum, other.maximum);
  for (const double term : other.sum.Terms()) sum.Add(term);
  for (const double term : other.squares.Terms()) squares.Add(term);
  valid += other.valid;
  noData += other.noData;
}

double ValidStatistics::Deviation() const {
  // The sum of (x - mean)^2 = x^2 - 2 * mean * x + mean^2, computed without rounding.
  const double mean = Mean();
  const auto count = static_cast<double>(valid);
  const double square = mean * mean;
  ExactSum deviations = squares;
  deviations.AddProduct(sum, -2 * mean);
  deviations.AddProduct(square, count);
  deviations.AddProduct(std::fma(mean, mean, -square), count);
  const double sumOfDeviations = deviations.Rounded();
  return sumOfDeviations < 0 ? 0 : std::sqrt(sumOfDeviations / count);
}

void CountRows(const ConstElements& rows, ValidStatistics& statistics) {
  for (int i = 0; i < rows.rows; ++i)
    (rows.parts == 1 ? AddRow<1> : AddRow<2>)(rows.Row(i), statistics);
}

bool HasImaginaryPart(const ConstElements& elements, float share) {
  for (std::size_t i = 0; i < elements.Count(); ++i) {
    const float least = share > 0 ? share * std::abs(elements[i][0]) : 0;
    if (std::abs(elements[i][1]) > least) return true;  // false for NaN
  }
  return false;
}

void BandStatistics::AddPart(const BandStatistics& part) {
  valid.Add(part.valid);
  altered.saturated += part.altered.saturated;
  altered.moved += part.altered.moved;
  altered.taken += part.altered.taken;
  altered.nan += part.altered.nan;
  recordsOfParts.push_back(part.record);
}

std::string StatisticsLine(int band, const BandStatistics& statistics) {
  const ValidStatistics& valid = statistics.valid;
  const std::string start = "band " + std::to_string(band) + ": ";
  if (valid.valid == 0) return start + CountText(valid.noData, "element") + ", all no data";
  std::string line = start + "minimum " + ShortestText(valid.minimum) + ", maximum " +
                     ShortestText(valid.maximum) + ", mean " + ShortestText(valid.Mean()) +
                     ", deviation " + ShortestText(valid.Deviation()) + ", sum " +
                     ShortestText(valid.sum.Rounded());
  if (valid.noData > 0) line += ", " + std::to_string(valid.noData) + " no data";
  return line;
}

void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band) {
  const ValidStatistics& valid = statistics.valid;
  const AlteredElements& altered = statistics.altered;
  const double deviation = valid.Deviation();  // finite only when all elements are
  const bool stored = altered.saturated + altered.moved + altered.taken + altered.nan == 0;
  if (mode.complex || !stored || !std::isfinite(deviation)) return;
  // HFA reads a minimum or maximum outside the range of 32-bit integers as an error.
  if (EQUAL(band.GetDataset()->GetDriverName(), "HFA") &&
      std::max(std::abs(valid.minimum), std::abs(valid.maximum)) >= 0x1p31F)
    return;
  const auto text = [&mode](float extreme) {
    return mode.integer ? ShortestText(RoundedAndSaturated(extreme, mode)) : ShortestText(extreme);
  };
  const double share =
      100 * static_cast<double>(valid.valid) / static_cast<double>(valid.Elements());
  const std::array<std::string, kStatisticsItems.size()> texts = {
      text(valid.minimum), text(valid.maximum), ShortestText(valid.Mean()), ShortestText(deviation),
      ShortestText(share)};
  for (std::size_t i = 0; i < texts.size(); ++i)
    band.SetMetadataItem(kStatisticsItems[i], texts[i].c_str());
}

}  // namespace lumomixcalc::standalone
