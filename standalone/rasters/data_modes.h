#pragma once

#include <gdal_priv.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "standalone/base/elements.h"

// How elements are stored in files: the modes, those that a mode cannot hold, and no data.
namespace lumomixcalc::standalone {

// A data mode of this host: how the elements of a raster are stored in its file.
struct DataMode {
  int code;
  const char* name;  // as -mode= takes it
  GDALDataType type;
  bool complex;
  bool integer;
  // The range of an element, or of each of its two parts.
  double lowest;
  double highest;

  // Floats per element in memory, and GDAL's type of such an element.
  int Parts() const { return complex ? 2 : 1; }
  GDALDataType FloatType() const { return complex ? GDT_CFloat32 : GDT_Float32; }
};

// All modes. The position of a mode is its code.
std::span<const DataMode> DataModes();

// The mode with this code, from 0 to 8.
const DataMode& DataModeOf(int code);

// The mode with this name, in upper or lower case. Null when there is none.
const DataMode* FindDataMode(const std::string& name);

// The mode of an input whose elements have this type. A type without a mode gets the nearest one,
// complex or real as the type is: CInt32 gets CInt16, CFloat64 gets CFloat32, and 64-bit integers
// get Float64.
const DataMode& DataModeOfType(GDALDataType type);

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
