#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// Averages the results of a band over blocks of looks.x columns and looks.y rows as they come, row
// by row: the sum in double precision of a block's elements that are not no data, column after
// column, divided by their count; NaN where there is none. Of complex elements both parts are
// averaged, and one with a NaN in either part is no data. The bits do not depend on how the rows
// are cut. Of single looks it returns the results themselves.
class LooksAverage {
 public:
  // Columns are those of the output; elements have one part or two.
  LooksAverage(const Looks& looks, int columns, int parts);

  // Adds whole rows of results. Returns the rows of the output that they complete, valid until the
  // next call.
  std::span<const float> Add(const float* values, int rows);

 private:
  void CompleteRow();

  Looks looks_;
  std::size_t parts_;
  int rowsAdded_ = 0;  // to the row of the output at hand
  // By columns of the results: how many elements are not no data, and their sums by part.
  std::vector<std::int32_t> counts_;
  std::vector<double> sums_;
  std::vector<float> averages_;
};

}  // namespace lumomixcalc::standalone
