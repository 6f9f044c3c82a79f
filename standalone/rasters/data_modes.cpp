#include "standalone/rasters/data_modes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

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

// The nearest integer, or the even one of two equally near integers: near 1.5 * 2^52 a double has
// no fraction. This is inline, while nearbyint is a function call on the oldest processors. Numbers
// beyond 2^51 may come back inexactly, but they stay outside the range of every integer mode.
double Rounded(float value) {
  constexpr double kNoFraction = 0x1.8p52;
  return (static_cast<double>(value) + kNoFraction) - kNoFraction;
}

constexpr std::size_t kChunk = 16 * kLanes;

// Stores a chunk of rounded values if all of them are in the mode's range and none rounds to
// `avoided`. Otherwise returns false, and the caller stores the chunk again. Written without
// branches, in lanes and with flags as wide as the numbers, so that g++ makes vector instructions
// of it: a plain loop takes twice as long, up to a tenth of a whole run.
template <typename Integer>
bool StoreHeld(const float* values, const DataMode& mode, double avoided, Integer* out) {
  // One instruction converts a double to a signed 32-bit integer, which is then narrowed.
  using Wide = std::conditional_t<std::is_same_v<Integer, std::uint32_t>, Integer, std::int32_t>;
  const double lowest = mode.lowest;
  const double highest = mode.highest;
  std::array<double, kLanes> altered = {};
  for (std::size_t i = 0; i < kChunk; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const double rounded = Rounded(values[i + lane]);
      const double above = rounded > lowest ? rounded : lowest;  // comparisons with NaN are false
      const double held = above < highest ? above : highest;
      altered[lane] = held == rounded ? altered[lane] : 1;
      altered[lane] = held == avoided ? 1 : altered[lane];
      out[i + lane] = static_cast<Integer>(static_cast<Wide>(held));
    }
  return std::ranges::all_of(altered, [](double lane) { return lane == 0; });
}

// Stores one element, which has one part or two.
template <typename Integer>
void StoreElement(std::span<const float> parts, const DataMode& mode,
                  const std::optional<double>& noData, Integer* out, AlteredElements& counts) {
  const bool hasNan = HasNan(parts);
  if (hasNan && noData) {
    std::fill_n(out, parts.size(), static_cast<Integer>(*noData));
    return;
  }
  counts.nan += hasNan ? 1 : 0;
  std::array<double, 2> held = {};
  bool saturated = false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    held[i] = RoundedAndSaturated(parts[i], mode);
    saturated |= !std::isnan(parts[i]) && held[i] != Rounded(parts[i]);
  }
  counts.saturated += saturated ? 1 : 0;
  if (noData && IsNoData(held[0], held[1], *noData)) {
    held[0] += held[0] > 0 ? -1 : 1;
    ++counts.moved;
  }
  for (std::size_t i = 0; i < parts.size(); ++i) out[i] = static_cast<Integer>(held[i]);
}

template <typename Integer>
void Store(std::span<const float> values, const DataMode& mode, const std::optional<double>& noData,
           Integer* out, AlteredElements& counts) {
  const double avoided = noData.value_or(std::numeric_limits<double>::quiet_NaN());
  const auto parts = static_cast<std::size_t>(mode.Parts());
  for (std::size_t i = 0; i < values.size(); i += kChunk) {
    const std::span chunk = values.subspan(i, std::min(kChunk, values.size() - i));
    if (chunk.size() == kChunk && StoreHeld(chunk.data(), mode, avoided, out + i)) continue;
    for (std::size_t part = 0; part < chunk.size(); part += parts)
      StoreElement(chunk.subspan(part, parts), mode, noData, out + i + part, counts);
  }
}

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

double IntegerNoData(const DataMode& mode, double declared) {
  const bool held =
      declared >= mode.lowest && declared <= mode.highest && declared == std::nearbyint(declared);
  if (held) return declared;
  return mode.lowest < 0 ? mode.lowest : mode.highest;
}

double RoundedAndSaturated(float value, const DataMode& mode) {
  if (std::isnan(value)) return 0;
  // In double, which holds every 32-bit integer. A float would round 2^31 - 1 up, out of the range.
  return std::clamp(Rounded(value), mode.lowest, mode.highest);
}

void StoreAsIntegers(std::span<const float> values, const DataMode& mode,
                     std::optional<double> noData, void* out, AlteredElements& counts) {
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

void ReplaceNan(const Elements& elements, double noData, AlteredElements& counts) {
  const auto value = static_cast<float>(noData);
  for (std::size_t i = 0; i < elements.Count(); ++i) {
    const std::span<float> parts = elements[i];
    if (HasNan(parts))
      std::ranges::fill(parts, value);
    else if (IsNoData(parts.front(), parts.back(), value))
      ++counts.taken;
  }
}

}  // namespace lumomixcalc::standalone
