#include "standalone/rasters/no_data.h"

#include <cstddef>
#include <limits>

namespace lumomixcalc::standalone {

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
  return declared ? std::optional(value) : std::nullopt;
}

void MaskNoData(const Elements& elements, double noData) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  const auto value = static_cast<float>(noData);
  if (elements.parts == 1)  // vector instructions
    for (float& element : elements.All()) element = element == value ? kNan : element;
  else
    for (std::size_t i = 0; i < elements.Count(); ++i)
      if (IsNoData(elements[i][0], elements[i][1], value)) BecomeNan(elements[i]);
}

}  // namespace lumomixcalc::standalone
