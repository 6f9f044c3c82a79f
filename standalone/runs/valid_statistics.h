#ifndef LUMOMIXCALC_STANDALONE_RUNS_VALID_STATISTICS_H
#define LUMOMIXCALC_STANDALONE_RUNS_VALID_STATISTICS_H

#include <cstdint>
#include <limits>

namespace lumomixcalc::standalone {

// Minimum, maximum and sum of the elements that are numbers; of complex elements their real parts,
// as the application's own record has it. The host counts them beside that record because the
// record serves another purpose: its sum is rounded to single precision after every element, so
// that over a large image it sticks where one more element is less than half a unit in its last
// place, and a single NaN takes it over. This sum is of double precision and skips NaN.
struct ValidStatistics {
  float minimum = std::numeric_limits<float>::infinity();
  float maximum = -std::numeric_limits<float>::infinity();
  double sum = 0;
  std::uint64_t valid = 0;   // elements counted
  std::uint64_t noData = 0;  // elements that are NaN

  std::uint64_t Elements() const { return valid + noData; }
  double Mean() const { return sum / static_cast<double>(valid); }
};

// Counts rows of columns elements each. Elements are one float (parts 1) or two (parts 2). The sum
// of a row is that of 32 partial sums, of the elements whose columns leave the same remainder by
// 32; the rows' sums are added from top to bottom. So the result depends on the image alone, not on
// how it was cut into strips.
void CountRows(const float* values, int columns, int rows, int parts, ValidStatistics& statistics);

}  // namespace lumomixcalc::standalone

#endif
