#include "standalone/rasters/no_data.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace lumomixcalc::standalone {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A double beyond a float's range rounds to an infinity, as GDAL converts pixels.
float Rounded(double value) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  if (value > kLargest) return std::numeric_limits<float>::infinity();
  if (value < -kLargest) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(value);
}

}  // namespace

std::optional<double> DeclaredNoData(GDALRasterBand& band) {
  int declared = FALSE;
  double value = 0;
  // The general call refuses bands of 64-bit integers.
  if (band.GetRasterDataType() == GDT_Int64)
    value = static_cast<double>(band.GetNoDataValueAsInt64(&declared));
  else if (band.GetRasterDataType() == GDT_UInt64)
    value = static_cast<double>(band.GetNoDataValueAsUInt64(&declared));
  else
    value = band.GetNoDataValue(&declared);
  if (!declared) return std::nullopt;
  return value;
}

void MaskNoData(std::span<float> values, bool complex, double noData) {
  const float value = Rounded(noData);
  if (!complex) {
    for (float& element : values) element = element == value ? kNan : element;
    return;
  }
  for (std::size_t i = 0; i + 1 < values.size(); i += 2)
    if (IsNoData(values[i], values[i + 1], value)) values[i] = values[i + 1] = kNan;
}

double IntegerNoData(const DataMode& mode, double declared) {
  const bool held =
      declared >= mode.lowest && declared <= mode.highest && declared == std::nearbyint(declared);
  if (held) return declared;
  return mode.lowest < 0 ? mode.lowest : mode.highest;
}

}  // namespace lumomixcalc::standalone
