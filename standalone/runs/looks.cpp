#include "standalone/runs/looks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace lumomixcalc::standalone {

// Adds the valid elements of a row to the sums and counts of their columns. Unlike a sum along the
// row, compilers turn this into vector instructions.
template <std::size_t kParts>
static void AddRow(const float* values, std::vector<double>& sums,
                   std::vector<std::int32_t>& counts) {
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const float* const element = values + i * kParts;
    const bool isValid = element[0] == element[0] && element[kParts - 1] == element[kParts - 1];
    counts[i] += isValid ? 1 : 0;
    for (std::size_t part = 0; part < kParts; ++part)
      sums[i * kParts + part] += isValid ? static_cast<double>(element[part]) : 0.0;
  }
}

LooksAverage::LooksAverage(const Looks& looks, int columns, int parts)
    : looks_(looks),
      parts_(static_cast<std::size_t>(parts)),
      counts_(static_cast<std::size_t>(columns) * static_cast<std::size_t>(looks.x)),
      sums_(counts_.size() * parts_) {}

std::span<const float> LooksAverage::Add(const float* values, int rows) {
  if (looks_.x == 1 && looks_.y == 1)
    return {values, sums_.size() * static_cast<std::size_t>(rows)};
  averages_.clear();
  for (int row = 0; row < rows; ++row, values += sums_.size()) {
    const auto addRow = parts_ == 1 ? AddRow<1> : AddRow<2>;
    addRow(values, sums_, counts_);
    if (++rowsAdded_ == looks_.y) CompleteRow();
  }
  return averages_;
}

void LooksAverage::CompleteRow() {
  const auto looks = static_cast<std::size_t>(looks_.x);
  for (std::size_t first = 0; first < counts_.size(); first += looks) {
    std::int64_t count = 0;
    std::array<double, 2> sums = {};
    for (std::size_t i = first; i < first + looks; ++i) {
      count += counts_[i];
      for (std::size_t part = 0; part < parts_; ++part) sums[part] += sums_[i * parts_ + part];
    }
    for (std::size_t part = 0; part < parts_; ++part)
      averages_.push_back(count > 0 ? static_cast<float>(sums[part] / static_cast<double>(count))
                                    : std::numeric_limits<float>::quiet_NaN());
  }
  std::fill(sums_.begin(), sums_.end(), 0.0);
  std::fill(counts_.begin(), counts_.end(), 0);
  rowsAdded_ = 0;
}

}  // namespace lumomixcalc::standalone
