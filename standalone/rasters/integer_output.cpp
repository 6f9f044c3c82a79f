#include "standalone/rasters/integer_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "standalone/rasters/no_data.h"

namespace lumomixcalc::standalone {
namespace {

// The nearest integer, of two equally near ones the even: next to 1.5 * 2^52 a double has no
// fraction. Inline arithmetic, where nearbyint is a call for the oldest processors. Numbers beyond
// 2^51 come back as large as they are, if not exactly, which no integer mode holds anyway.
double Rounded(float value) {
  constexpr double kNoFraction = 0x1.8p52;
  return (static_cast<double>(value) + kNoFraction) - kNoFraction;
}

constexpr std::size_t kLanes = 16;
constexpr std::size_t kChunk = 16 * kLanes;  // floats; whole complex elements

// Stores a chunk of values if the mode holds all of them as they are, but for their fractions.
// Returns false otherwise, with nothing that matters stored. Loops without a branch over lanes side
// by side are what compilers turn into vector instructions.
template <typename Integer>
bool StoreHeld(const float* values, const DataMode& mode, const std::optional<double>& noData,
               Integer* out) {
  const double lowest = mode.lowest;
  const double highest = mode.highest;
  // Only an element whose first part is this may be no data. Nothing equals NaN.
  std::array<double, kLanes> avoided;
  avoided.fill(std::numeric_limits<double>::quiet_NaN());
  for (std::size_t lane = 0; noData && lane < kLanes; lane += mode.complex ? 2 : 1)
    avoided[lane] = *noData;
  std::array<double, kLanes> unheld = {};
  for (std::size_t i = 0; i < kChunk; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const double rounded = Rounded(values[i + lane]);
      // Comparisons with NaN are false.
      const double above = rounded > lowest ? rounded : lowest;
      const double held = above < highest ? above : highest;
      unheld[lane] = held == rounded ? unheld[lane] : 1;
      unheld[lane] = held == avoided[lane] ? 1 : unheld[lane];
      // A double becomes 32 bits with sign in one instruction, and from there fewer.
      if constexpr (std::is_same_v<Integer, std::uint32_t>)
        out[i + lane] = static_cast<Integer>(held);
      else
        out[i + lane] = static_cast<Integer>(static_cast<std::int32_t>(held));
    }
  return std::all_of(unheld.begin(), unheld.end(), [](double lane) { return lane == 0; });
}

// Stores one element of one part or two.
template <typename Integer>
void StoreElement(std::span<const float> parts, const DataMode& mode,
                  const std::optional<double>& noData, Integer* out, UnheldElements& counts) {
  const bool hasNan =
      std::any_of(parts.begin(), parts.end(), [](float x) { return std::isnan(x); });
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
           Integer* out, UnheldElements& counts) {
  for (std::size_t i = 0; i < values.size(); i += kChunk) {
    const std::span chunk = values.subspan(i, std::min(kChunk, values.size() - i));
    if (chunk.size() == kChunk && StoreHeld(chunk.data(), mode, noData, out + i)) continue;
    const std::size_t parts = mode.complex ? 2 : 1;
    for (std::size_t part = 0; part < chunk.size(); part += parts)
      StoreElement(chunk.subspan(part, parts), mode, noData, out + i + part, counts);
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
