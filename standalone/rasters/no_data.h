#pragma once

#include <gdal_priv.h>

#include <cstdint>
#include <optional>
#include <span>

#include "standalone/rasters/data_modes.h"

// Which elements are no data, and how integer modes store the elements that they can hold and those
// that they cannot.
namespace lumomixcalc::standalone {

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

// Elements that an integer mode could not hold as they were. A complex element counts once.
struct UnheldElements {
  std::uint64_t saturated = 0;
  std::uint64_t moved = 0;  // by one, because they would have been stored as no data
  std::uint64_t taken = 0;  // equal to the number that stands for no data in a floating mode
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

// Replaces elements with a NaN by the value that stands for no data, in both parts of complex ones.
// Adds to counts the others that will read back as no data.
void ReplaceNan(std::span<float> values, bool complex, double noData, UnheldElements& counts);

}  // namespace lumomixcalc::standalone
