#include "standalone/rasters/data_modes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "host/im.h"

namespace lumomixcalc::standalone {
namespace {

template <typename Part>
constexpr DataMode Mode(int code, const char* name, GDALDataType type, bool complex = false) {
  using Limits = std::numeric_limits<Part>;
  return {code, name, type, complex, Limits::is_integer, Limits::lowest(), Limits::max()};
}

constexpr std::array kModes = {
    Mode<std::uint8_t>(0, "byte", GDT_Byte),
    Mode<std::int16_t>(1, "int16", GDT_Int16),
    Mode<float>(2, "float32", GDT_Float32),
    Mode<std::int16_t>(IM_MODE_COMPLEX_INTEGER, "cint16", GDT_CInt16, true),
    Mode<float>(IM_MODE_COMPLEX_FLOAT, "cfloat32", GDT_CFloat32, true),
    Mode<std::uint16_t>(5, "uint16", GDT_UInt16),
    Mode<std::int32_t>(6, "int32", GDT_Int32),
    Mode<std::uint32_t>(7, "uint32", GDT_UInt32),
    Mode<double>(8, "float64", GDT_Float64),
};

static_assert([] {
  for (std::size_t i = 0; i < kModes.size(); ++i)
    if (kModes[i].code != static_cast<int>(i)) return false;
  return true;
}());

}  // namespace

std::span<const DataMode> DataModes() { return kModes; }

const DataMode& DataModeOf(int code) { return kModes.at(static_cast<std::size_t>(code)); }

const DataMode* FindDataMode(const std::string& name) {
  for (const DataMode& mode : kModes)
    if (EQUAL(name.c_str(), mode.name)) return &mode;
  return nullptr;
}

const DataMode& DataModeOfType(GDALDataType type) {
  for (const DataMode& mode : kModes)
    if (type == mode.type) return mode;
  if (type == GDT_CInt32) return DataModeOf(IM_MODE_COMPLEX_INTEGER);
  return *FindDataMode(type == GDT_CFloat64 ? "cfloat32" : "float64");
}

std::vector<std::string> DataModeNames() {
  std::vector<std::string> names;
  for (const DataMode& mode : kModes) names.emplace_back(mode.name);
  return names;
}

}  // namespace lumomixcalc::standalone
