#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/no_data.h"

namespace lumomixcalc::standalone {

// A sum of doubles without rounding: a short list of doubles that do not overlap. So the order of
// adding does not matter.
class ExactSum {
 public:
  void Add(double value);
  void AddProduct(double a, double b);
  void AddProduct(const ExactSum& a, double b);  // of finite numbers

  // Doubles of which it is the exact sum.
  std::vector<double> Terms() const;

  // The double nearest to the sum; an infinity or NaN when one was added.
  double Rounded() const;

 private:
  std::vector<double> parts_;  // by rising magnitude
  double notFinite_ = 0;       // sum of the infinities and NaN
};

// Statistics of the valid elements, those that are not NaN; of complex elements the real parts
// count. The application's own record is no substitute: it rounds its sum to single precision after
// every element, so the sum of a large image sticks, and a single NaN takes it over.
//
// The sums D of the distances d = x - c of a row's elements x from its first, c, and of d^2 are of
// double precision and depend on the row alone. From them n*c + D adds to the exact sum of all
// rows, n*c^2 + 2*c*D + (sum of d^2) to that of squares, both without rounding. So a mean of 10^7
// standard deviations costs no digit, and neither the height of strips nor their order changes a
// bit.
struct ValidStatistics {
  float minimum = std::numeric_limits<float>::infinity();
  float maximum = -std::numeric_limits<float>::infinity();
  ExactSum sum;
  ExactSum squares;
  std::uint64_t valid = 0;   // elements counted
  std::uint64_t noData = 0;  // elements that are NaN

  std::uint64_t Elements() const { return valid + noData; }
  double Mean() const { return sum.Rounded() / static_cast<double>(valid); }

  // Adds what was counted of rows that follow.
  void Add(const ValidStatistics& following);

  // The root of the mean squared deviation from the mean.
  double Deviation() const;
};

// Counts rows of columns elements each. Elements are one float (parts 1) or two (parts 2).
void CountRows(const float* values, int columns, int rows, int parts, ValidStatistics& statistics);

// Whether a complex element has an imaginary part other than zero and NaN.
bool HasImaginaryPart(const float* values, std::size_t elements);

// What a run tells of one band of its output. Record and valid count the values that the
// application computed, before an integer mode rounds and saturates them. Users see valid; record
// is what the application itself counted.
struct BandStatistics {
  IPOutputStats record = {std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), 0};
  ValidStatistics valid;
  UnheldElements unheld;
  std::vector<IPOutputStats> recordsOfParts;  // in place of record, of a mosaic of parts

  // Adds the statistics of a part, the next of the mosaic.
  void AddPart(const BandStatistics& part);
};

// "band 1: minimum 0, maximum 3.5, mean 1.25, deviation 0.5, sum 80, 12 no data", each number in
// its shortest exact form and the last only when there are such elements.
std::string StatisticsLine(int band, const BandStatistics& statistics);

// Stores minimum, maximum, mean, standard deviation and the share of valid elements as the band's
// own: for real modes and finite numbers, and only when they are true of what the band holds, not
// when elements were saturated, moved or stored as 0 because there is no NaN. With an integer mode
// the extremes are stored as rounded.
void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band);

}  // namespace lumomixcalc::standalone
