#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// Averages the results of a band over blocks of looks.x columns and looks.y rows. The average is
// the sum of the block's valid elements in double precision, column after column, divided by their
// count, or NaN when there is none. Both parts of complex elements are averaged; an element with a
// NaN in either part is not valid. The bits do not depend on how many rows each call of Add brings.
// With 1 x 1 looks the results are returned unchanged.
class LooksAverage {
 public:
  // columns are those of the output. Elements have one part or two.
  LooksAverage(const Looks& looks, int columns, int parts);

  // Adds whole rows of results. Returns the rows of the output that are now complete. They are
  // valid until the next call.
  std::span<const float> Add(const float* values, int rows);

 private:
  void CompleteRow();

  Looks looks_;
  std::size_t parts_;
  int rowsAdded_ = 0;  // to the current row of the output
  // For each column of the results: the number of valid elements, and their sums by part.
  std::vector<std::int32_t> counts_;
  std::vector<double> sums_;
  std::vector<float> averages_;
};

}  // namespace lumomixcalc::standalone
