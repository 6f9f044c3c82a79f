#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "standalone/base/elements.h"
#include "standalone/rasters/data_modes.h"

// How elements are stored in the output, including those that its mode cannot hold.
namespace lumomixcalc::standalone {

// The no-data value of an output in an integer mode: `declared` when the mode can hold it,
// otherwise the lowest value of a signed mode, or the highest of an unsigned one, where zero is a
// usual result.
double IntegerNoData(const DataMode& mode, double declared);

// Counts of the elements that the output could not hold unchanged. A complex element counts once.
struct AlteredElements {
  std::uint64_t saturated = 0;  // outside the range of an integer mode
  std::uint64_t moved = 0;      // changed by one, because they would have been stored as no data
  std::uint64_t taken = 0;      // equal to the no-data value of a floating mode
  std::uint64_t nan = 0;        // NaN stored as 0, because the output has no no-data value
};

// The value that an integer mode stores: the nearest integer, or the even one of two equally near
// integers, limited to the mode's range. NaN becomes 0.
double RoundedAndSaturated(float value, const DataMode& mode);

// Converts elements, each one float or, in a complex mode, two, by RoundedAndSaturated and stores
// them at out in the type of the integer mode. Infinities saturate. With noData, which must be an
// integer of the mode, elements with a NaN are stored as that value in all parts. Other elements
// that would read back as no data (IsNoData) get their real part changed by one, towards zero
// unless it is zero. Adds to counts.
void StoreAsIntegers(std::span<const float> values, const DataMode& mode,
                     std::optional<double> noData, void* out, AlteredElements& counts);

// Replaces elements with a NaN by the no-data value in all parts. Adds the number of other elements
// that will read back as no data to counts.taken.
void ReplaceNan(const Elements& elements, double noData, AlteredElements& counts);

}  // namespace lumomixcalc::standalone
