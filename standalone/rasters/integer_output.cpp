#include "standalone/rasters/integer_output.h"

#include <algorithm>
#include <cmath>

namespace lumomixcalc::standalone {
namespace {

// The nearest integer, of two equally near ones the even: next to 1.5 * 2^52 a double has no
// fraction. Inline arithmetic, where nearbyint is a call for the oldest processors. Numbers beyond
// 2^51 come back as large as they are, if not exactly, which no integer mode holds anyway.
double Rounded(float value) {
  constexpr double kNoFraction = 0x1.8p52;
  return (static_cast<double>(value) + kNoFraction) - kNoFraction;
}

// What one float did not keep of itself.
struct Losses {
  bool saturated = false;
  bool moved = false;
  bool nan = false;
};

double Stored(float value, const DataMode& mode, const std::optional<double>& noData,
              Losses& losses) {
  if (std::isnan(value)) {
    losses.nan |= !noData;
    return noData.value_or(0);
  }
  const double rounded = Rounded(value);
  losses.saturated |= rounded < mode.lowest || rounded > mode.highest;
  const double held = std::clamp(rounded, mode.lowest, mode.highest);
  if (held != noData) return held;
  losses.moved = true;
  return held > 0 ? held - 1 : held + 1;
}

template <typename Integer>
void Store(std::span<const float> values, const DataMode& mode, const std::optional<double>& noData,
           Integer* out, UnheldElements& counts) {
  const std::size_t parts = mode.complex ? 2 : 1;
  for (std::size_t element = 0; element < values.size(); element += parts) {
    Losses losses;
    for (std::size_t i = element; i < element + parts; ++i)
      out[i] = static_cast<Integer>(Stored(values[i], mode, noData, losses));
    counts.saturated += losses.saturated ? 1 : 0;
    counts.moved += losses.moved ? 1 : 0;
    counts.nan += losses.nan ? 1 : 0;
  }
}

}  // namespace

double RoundedAndSaturated(float value, const DataMode& mode) {
  if (std::isnan(value)) return 0;
  // In double, which holds every integer of 32 bits; a float would round 2^31 - 1 up and out.
  return std::clamp(Rounded(value), mode.lowest, mode.highest);
}

void StoreAsIntegers(std::span<const float> values, const DataMode& mode,
                     std::optional<double> noData, void* out, UnheldElements& counts) {
  switch (mode.type) {
    case GDT_Byte:
      return Store(values, mode, noData, static_cast<std::uint8_t*>(out), counts);
    case GDT_UInt16:
      return Store(values, mode, noData, static_cast<std::uint16_t*>(out), counts);
    case GDT_Int16:
    case GDT_CInt16:
      return Store(values, mode, noData, static_cast<std::int16_t*>(out), counts);
    case GDT_Int32:
      return Store(values, mode, noData, static_cast<std::int32_t*>(out), counts);
    case GDT_UInt32:
      return Store(values, mode, noData, static_cast<std::uint32_t*>(out), counts);
    default:
      return;
  }
}

}  // namespace lumomixcalc::standalone
