#pragma once

#include <gdal_priv.h>

#include <optional>

#include "standalone/base/elements.h"

namespace lumomixcalc::standalone {

// The no-data value that the band declares.
std::optional<double> DeclaredNoData(GDALRasterBand& band);

// Whether a complex element is no data, in inputs and outputs alike: its real part equals the
// no-data value, and its imaginary part equals the value or zero.
template <typename Number>
bool IsNoData(Number real, Number imaginary, Number noData) {
  return real == noData && (imaginary == noData || imaginary == 0);
}

// Replaces no-data elements by NaN in all parts. Values are compared in single precision, as the
// application sees them: noData is rounded as elements are.
void MaskNoData(const Elements& elements, double noData);

}  // namespace lumomixcalc::standalone
