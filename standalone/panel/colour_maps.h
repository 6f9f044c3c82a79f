#pragma once

#include <qrgb.h>
#include <array>

namespace lumomixcalc::standalone {

// Neighbours differ equally to the eye; the greys are equal steps of the stored level instead.
enum class ColourMap {
  kGrey,    // from black to white
  kCyclic,  // once around a circle of equal lightness; the last colour is next to the first
  kCentred  // from blue over near white, the lightest, to red
};

inline constexpr int kShades = 256;

const std::array<QRgb, kShades>& ColoursOf(ColourMap map);

}  // namespace lumomixcalc::standalone
