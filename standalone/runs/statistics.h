#pragma once

#include <gdal_priv.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/base/elements.h"
#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// A sum of doubles without rounding, kept as a short list of doubles that do not overlap. So the
// order in which numbers are added does not matter.
class ExactSum {
 public:
  void Add(double value);
  void AddProduct(double a, double b);
  void AddProduct(const ExactSum& a, double b);  // of finite numbers

  // Doubles whose exact sum this is.
  std::vector<double> Terms() const;

  // The double nearest to the sum. An infinity or NaN when one was added.
  double Rounded() const;

 private:
  std::vector<double> parts_;  // by rising magnitude
  double notFinite_ = 0;       // sum of the infinities and NaN
};

// Statistics of the valid elements, which are those that are not NaN. Of complex elements the real
// parts are counted. The application's own record cannot replace them: it rounds its sum to single
// precision after every element, so the sum of a large image stops growing, and one NaN makes it
// NaN.
//
// For each row the sum D of the distances d = x - c of its elements x from its first finite element
// c, and the sum of d^2, are computed in double precision. They depend only on the row. Then
// n*c + D is added to the exact sum of all rows, and n*c^2 + 2*c*D + (sum of d^2) to the exact sum
// of squares, both without rounding. So a mean of 10^7 standard deviations loses no digit, and
// neither the height nor the order of strips changes a bit.
struct ValidStatistics {
  float minimum = std::numeric_limits<float>::infinity();
  float maximum = -std::numeric_limits<float>::infinity();
  ExactSum sum;
  ExactSum squares;
  std::uint64_t valid = 0;   // elements counted
  std::uint64_t noData = 0;  // elements that are NaN

  std::uint64_t Elements() const { return valid + noData; }
  double Mean() const { return sum.Rounded() / static_cast<double>(valid); }

  // Adds the statistics of other rows.
  void Add(const ValidStatistics& other);

  // The root of the mean squared deviation from the mean.
  double Deviation() const;
};

void CountRows(const ConstElements& rows, ValidStatistics& statistics);

// Whether a complex element has an imaginary part other than zero and NaN, and larger than this
// share of its real part.
bool HasImaginaryPart(const ConstElements& elements, float share = 0);

// The statistics of one band of an output. record, which the application counts, and valid, which
// users see, are those of the computed values before an integer mode rounds and saturates them.
struct BandStatistics {
  IPOutputStats record = {std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), 0};
  ValidStatistics valid;
  AlteredElements altered;
  std::vector<IPOutputStats> recordsOfParts;  // for a mosaic of parts, in place of record

  // Adds the statistics of the next part of the mosaic.
  void AddPart(const BandStatistics& part);
};

// "band 1: minimum 0, maximum 3.5, mean 1.25, deviation 0.5, sum 80, 12 no data", with each number
// in its shortest exact form. Without the last part when no element is no data.
std::string StatisticsLine(int band, const BandStatistics& statistics);

// Stores minimum, maximum, mean, standard deviation and the share of valid elements as the
// STATISTICS metadata of the band. Only for real modes and finite numbers, and only when they are
// true of the stored elements: not when elements were saturated, moved, taken as no data, or NaN
// stored as 0. With an integer mode the extremes are stored as rounded.
void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band);

}  // namespace lumomixcalc::standalone
