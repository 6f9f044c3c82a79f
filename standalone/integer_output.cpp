#include "standalone/integer_output.h"

#include <algorithm>
#include <cmath>

namespace lumomixcalc::standalone {
namespace {

template <typename Integer>
void Store(std::span<const float> values, const DataMode& mode, Integer* out,
           UnheldElements& counts) {
  const std::size_t parts = mode.complex ? 2 : 1;
  for (std::size_t element = 0; element < values.size(); element += parts) {
    bool saturated = false;
    bool nan = false;
    for (std::size_t i = element; i < element + parts; ++i) {
      const double rounded = std::nearbyint(static_cast<double>(values[i]));
      saturated |= rounded < mode.lowest || rounded > mode.highest;
      nan |= std::isnan(values[i]);
      out[i] = static_cast<Integer>(RoundedAndSaturated(values[i], mode));
    }
    counts.saturated += saturated ? 1 : 0;
    counts.nan += nan ? 1 : 0;
  }
}

}  // namespace

double RoundedAndSaturated(float value, const DataMode& mode) {
  if (std::isnan(value)) return 0;
  // In double, which holds every integer of 32 bits; a float would round 2^31 - 1 up and out.
  return std::clamp(std::nearbyint(static_cast<double>(value)), mode.lowest, mode.highest);
}

void StoreAsIntegers(std::span<const float> values, const DataMode& mode, void* out,
                     UnheldElements& counts) {
  switch (mode.type) {
    case GDT_Byte:
      return Store(values, mode, static_cast<std::uint8_t*>(out), counts);
    case GDT_UInt16:
      return Store(values, mode, static_cast<std::uint16_t*>(out), counts);
    case GDT_Int16:
    case GDT_CInt16:
      return Store(values, mode, static_cast<std::int16_t*>(out), counts);
    case GDT_Int32:
      return Store(values, mode, static_cast<std::int32_t*>(out), counts);
    case GDT_UInt32:
      return Store(values, mode, static_cast<std::uint32_t*>(out), counts);
    default:
      return;
  }
}

}  // namespace lumomixcalc::standalone
