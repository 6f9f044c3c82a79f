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

  // The parts of an element, counted from the first one of the first row.
  std::span<Float> operator[](std::size_t element) const {
    const auto length = static_cast<std::size_t>(parts);
    return {values + element * length, length};
  }
};
using Elements = ElementRows<float>;
using ConstElements = ElementRows<const float>;

// An element is no data if one of its parts is NaN.
inline bool HasNan(std::span<const float> element) {
  return std::isnan(element.front()) || std::isnan(element.back());
}
inline void BecomeNan(std::span<float> element) {
  std::ranges::fill(element, std::numeric_limits<float>::quiet_NaN());
}

}  // namespace lumomixcalc::standalone
