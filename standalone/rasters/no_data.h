#ifndef LUMOMIXCALC_STANDALONE_RASTERS_NO_DATA_H
#define LUMOMIXCALC_STANDALONE_RASTERS_NO_DATA_H

#include <gdal_priv.h>

#include <optional>
#include <span>

#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// The no-data value that a band declares; none when it declares none.
std::optional<double> DeclaredNoData(GDALRasterBand& band);

// Replaces no-data elements by NaN. They are those equal to noData when both are rounded to single
// precision, as the application would see them; a complex element is one when its real part is and
// its imaginary part is equal to noData, too, or zero. Both its parts become NaN.
void MaskNoData(std::span<float> values, bool complex, double noData);

// The value that stands for no data in an output of an integer mode: declared, the first input's,
// when the mode holds it, else the lowest that a signed mode holds and the highest of an unsigned
// one, whose zeros are wanted for results.
double IntegerNoData(const DataMode& mode, double declared);

}  // namespace lumomixcalc::standalone

#endif
