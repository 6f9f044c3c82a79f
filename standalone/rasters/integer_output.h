#ifndef LUMOMIXCALC_STANDALONE_RASTERS_INTEGER_OUTPUT_H
#define LUMOMIXCALC_STANDALONE_RASTERS_INTEGER_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// Elements that an integer mode could not hold as they were. A complex element counts once.
struct UnheldElements {
  std::uint64_t saturated = 0;
  std::uint64_t moved = 0;  // by one, because they would have been stored as no data
  std::uint64_t nan = 0;    // stored as 0 because no value stands for no data
};

// One value as an integer mode stores it: the nearest integer, of two equally near ones the even,
// brought into the mode's range; NaN becomes 0.
double RoundedAndSaturated(float value, const DataMode& mode);

// Converts elements, each one float or, in a complex mode, two, to the mode's type at out, which
// has room for as many, by the rule of RoundedAndSaturated. Infinities saturate. With noData, an
// integer of the mode, elements with a NaN are stored as that value in all parts; other elements
// that would read back as no data (IsNoData) are moved by one in their real part, towards zero
// unless it is zero. Adds to counts. mode must be an integer mode.
void StoreAsIntegers(std::span<const float> values, const DataMode& mode,
                     std::optional<double> noData, void* out, UnheldElements& counts);

}  // namespace lumomixcalc::standalone

#endif
