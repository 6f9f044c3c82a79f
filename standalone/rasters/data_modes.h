#pragma once

#include <gdal.h>

#include <span>
#include <string>
#include <vector>

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

std::vector<std::string> DataModeNames();

}  // namespace lumomixcalc::standalone
