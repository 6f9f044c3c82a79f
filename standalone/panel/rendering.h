// How rasters become pictures: of which part, in which colours, between which limits.
#pragma once

#include <QImage>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <vector>

namespace lumomixcalc::standalone {

// Neighbours differ equally to the eye, except for the greys, which are equal steps of the level.
enum class ColourMap {
  kGrey,    // from black to white
  kCyclic,  // once around a circle of equal lightness; the last colour is next to the first
  kCentred  // from blue over near white, the lightest, to red
};

inline constexpr int kShades = 256;

const std::array<QRgb, kShades>& ColoursOf(ColourMap map);

enum class ComplexPart { kAutomatic, kMagnitude, kPhase, kReal, kImaginary, kMagnitudeAndAngle };

// One value for each complex element, given as a pair; a phase in radians. Automatic is the real
// part when all imaginary parts are zero or NaN, else the magnitude, as is magnitude and angle.
std::vector<float> PartOf(std::span<const float> pairs, ComplexPart part);

// Percentiles: from the value that 2 % of the elements lie below to the one that 2 % lie above.
// Where these are one value, from the least to the greatest. Logarithm: the percentiles of the
// positive values, spread by their logarithms.
enum class Stretch { kPercentiles, kMinMax, kLogarithm };

// The values at the two ends of the colours.
struct Limits {
  float low = 0;
  float high = 1;

  // Widened until zero is in the middle.
  Limits AboutZero() const { return {-std::max(-low, high), std::max(-low, high)}; }
};

// How values become colours: in even steps of their spread values.
struct Appearance {
  ColourMap map = ColourMap::kGrey;
  Limits limits;
  bool logarithm = false;

  // The value or its decimal logarithm.
  float Spread(float value) const {
    return !logarithm ? value : value < 0 ? -INFINITY : std::log10(value);
  }
};

// The appearance that suits the values, in the given colours or in automatic ones:
// - cyclic for a phase, and for values inside -pi to pi or -180 to 180 that reach both ends to
//   within 1 %: the limits are then this turn;
// - centred, with limits about zero, when the percentile limits have opposite signs and the smaller
//   is at least a tenth of the larger in size;
// - grey otherwise, and always for a logarithm, which a turn and centred colours never have.
// NaN and infinities do not count. Percentiles of very many values are estimated.
Appearance AppearanceOf(std::span<const float> values, bool phase, Stretch stretch,
                        std::optional<ColourMap> map);

// One pixel for each value, row by row; NaN is transparent. With pairs, of which the values are the
// magnitudes, the brightness is the magnitude's and the hue the angle's.
QImage Picture(std::span<const float> values, int columns, const Appearance& appearance,
               std::span<const float> pairs = {});

}  // namespace lumomixcalc::standalone
