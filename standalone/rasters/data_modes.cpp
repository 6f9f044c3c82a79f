#include "standalone/rasters/data_modes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "host/im.h"

namespace lumomixcalc::standalone {
namespace {

template <typename Part>
constexpr DataMode Integer(int code, const char* name, GDALDataType type, bool complex = false) {
  using Limits = std::numeric_limits<Part>;
  return {code, name, type, complex, true, Limits::min(), Limits::max()};
}

constexpr DataMode Floating(int code, const char* name, GDALDataType type, bool complex = false) {
  return {code, name, type, complex, false, 0, 0};
}

constexpr std::array kModes = {
    Integer<std::uint8_t>(0, "byte", GDT_Byte),
    Integer<std::int16_t>(1, "int16", GDT_Int16),
    Floating(2, "float32", GDT_Float32),
    Integer<std::int16_t>(IM_MODE_COMPLEX_INTEGER, "cint16", GDT_CInt16, true),
    Floating(IM_MODE_COMPLEX_FLOAT, "cfloat32", GDT_CFloat32, true),
    Integer<std::uint16_t>(5, "uint16", GDT_UInt16),
    Integer<std::int32_t>(6, "int32", GDT_Int32),
    Integer<std::uint32_t>(7, "uint32", GDT_UInt32),
    Floating(8, "float64", GDT_Float64),
};

constexpr bool PositionsAreCodes() {
  for (std::size_t i = 0; i < kModes.size(); ++i)
    if (kModes[i].code != static_cast<int>(i)) return false;
  return true;
}
static_assert(PositionsAreCodes());

}  // namespace

std::span<const DataMode> DataModes() { return kModes; }

const DataMode& DataModeOf(int code) { return kModes.at(static_cast<std::size_t>(code)); }

const DataMode* FindDataMode(std::string_view name) {
  for (const DataMode& mode : kModes)
    if (name == mode.name) return &mode;
  return nullptr;
}

const DataMode& DataModeOfType(GDALDataType type) {
  for (const DataMode& mode : kModes)
    if (type == mode.type) return mode;
  switch (type) {
    case GDT_CInt32:
      return DataModeOf(IM_MODE_COMPLEX_INTEGER);
    case GDT_CFloat64:
      return DataModeOf(IM_MODE_COMPLEX_FLOAT);
    default:
      return *FindDataMode("float64");
  }
}

std::vector<std::string> DataModeNames() {
  std::vector<std::string> names;
  for (const DataMode& mode : kModes) names.emplace_back(mode.name);
  return names;
}

}  // namespace lumomixcalc::standalone
