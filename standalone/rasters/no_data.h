#ifndef LUMOMIXCALC_STANDALONE_RASTERS_NO_DATA_H
#define LUMOMIXCALC_STANDALONE_RASTERS_NO_DATA_H

#include <gdal_priv.h>

#include <optional>
#include <span>

#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// The no-data value that a band declares; none when it declares none.
std::optional<double> DeclaredNoData(GDALRasterBand& band);

// The one rule for complex elements, for reading and for storing: an element is no data when its
// real part equals the no-data value and its imaginary part equals it, too, or is zero.
template <typename Number>
bool IsNoData(Number real, Number imaginary, Number noData) {
  return real == noData && (imaginary == noData || imaginary == 0);
}

// Replaces no-data elements by NaN, complex ones in both parts. Values are compared in single
// precision, as the application would see them.
void MaskNoData(std::span<float> values, bool complex, double noData);

// The value that stands for no data in an output of an integer mode: declared, the first input's,
// when the mode holds it, else the lowest that a signed mode holds and the highest of an unsigned
// one, whose zeros are wanted for results.
double IntegerNoData(const DataMode& mode, double declared);

}  // namespace lumomixcalc::standalone

#endif
