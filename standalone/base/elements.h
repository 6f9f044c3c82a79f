#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>

namespace lumomixcalc::standalone {

// A view of elements in memory, which it does not own: row after row, each element one float or,
// if complex, a real and an imaginary part.
template <typename Float>
struct ElementRows {
  Float* values = nullptr;
  int columns = 0;
  int rows = 0;
  int parts = 1;  // floats per element, 1 or 2

  std::size_t Count() const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
  }
  std::size_t Floats() const { return Count() * static_cast<std::size_t>(parts); }
  std::span<Float> All() const { return {values, Floats()}; }

  // One of the rows, counted from 0.
  ElementRows Row(int row) const {
    ElementRows one = {values, columns, 1, parts};
    one.values += static_cast<std::size_t>(row) * one.Floats();
    return one;
  }

  // The parts of an element, counted from the first one of the first row.
  std::span<Float> operator[](std::size_t element) const {
    const auto length = static_cast<std::size_t>(parts);
    return {values + element * length, length};
  }
};
using Elements = ElementRows<float>;
using ConstElements = ElementRows<const float>;

// Compilers turn loops over so many elements into vector instructions.
inline constexpr std::size_t kLanes = 16;

// An element is no data if one of its parts is NaN.
inline bool HasNan(std::span<const float> element) {
  return std::isnan(element.front()) || std::isnan(element.back());
}
inline bool HoldsNan(std::span<const float> values) {
  unsigned any = 0;  // the loop has no branch, so that it becomes vector instructions
  for (const float value : values) any |= value != value ? 1U : 0U;
  return any != 0;
}
inline void BecomeNan(std::span<float> element) {
  std::ranges::fill(element, std::numeric_limits<float>::quiet_NaN());
}

}  // namespace lumomixcalc::standalone
