#pragma once

#include <gdal_priv.h>

#include <optional>

namespace lumomixcalc::standalone {

// The no-data value that the band declares.
inline std::optional<double> DeclaredNoData(GDALRasterBand& band) {
  int declared = FALSE;
  double value = 0;
  // The general call refuses bands of 64-bit integers.
  if (band.GetRasterDataType() == GDT_Int64)
    value = static_cast<double>(band.GetNoDataValueAsInt64(&declared));
  else if (band.GetRasterDataType() == GDT_UInt64)
    value = static_cast<double>(band.GetNoDataValueAsUInt64(&declared));
  else
    value = band.GetNoDataValue(&declared);
  return declared ? std::optional(value) : std::nullopt;
}

// Whether a complex element is no data, in inputs and outputs alike: its real part equals the
// no-data value, and its imaginary part equals the value or zero.
template <typename Number>
bool IsNoData(Number real, Number imaginary, Number noData) {
  return real == noData && (imaginary == noData || imaginary == 0);
}

}  // namespace lumomixcalc::standalone
