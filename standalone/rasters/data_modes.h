#pragma once

#include <gdal.h>

#include <span>
#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// One of this host's data modes: how the elements of a raster are stored in its file.
struct DataMode {
  int code;
  const char* name;  // as -mode= takes it
  GDALDataType type;
  bool complex;
  bool integer;
  // The range of an element, or of each of its two parts.
  double lowest;
  double highest;
};

// All modes; the position is the code.
std::span<const DataMode> DataModes();

// The mode of a code from 0 to 8.
const DataMode& DataModeOf(int code);

// The mode named so, in upper or lower case; null when there is none.
const DataMode* FindDataMode(const std::string& name);

// The mode that a source of a type reports. Types without a mode of their own report the nearest
// that says whether they are complex: CInt32 is CInt16, CFloat64 is CFloat32, and 64-bit integers
// are Float64.
const DataMode& DataModeOfType(GDALDataType type);

std::vector<std::string> DataModeNames();

}  // namespace lumomixcalc::standalone
