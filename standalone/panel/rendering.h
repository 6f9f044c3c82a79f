// How rasters become pictures: which part of a complex number is shown, how its values are spread
// over the colours, and the histogram beside it.
#pragma once

#include <QImage>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

namespace lumomixcalc::standalone {

enum class ComplexPart { kMagnitude, kPhase, kReal, kImaginary };

// The part of each complex element, given as pairs of floats: n of 2 n numbers.
std::vector<float> PartOf(std::span<const float> pairs, ComplexPart part);

enum class Stretch {
  kPercentiles,  // from the value that 2 % of the elements lie below to the one that 2 % lie above
  kMinMax,
  kLogarithm  // percentiles of the logarithm
};

// The values at the two ends of the colours.
struct Limits {
  float low = 0;
  float high = 1;
};

// The values that are spread evenly over the colours: values, or their decimal logarithms, where
// negative numbers count as the lowest.
std::vector<float> Spread(std::vector<float> values, Stretch stretch);

// The limits of spread values. NaN and infinities do not count; without any other value {0, 1}.
Limits LimitsOf(std::span<const float> spread, Stretch stretch);

// The limits of a phase: one turn, in radians.
inline constexpr Limits kTurn = {-std::numbers::pi_v<float>, std::numbers::pi_v<float>};

// One pixel for each element, row by row: grey from black at the low limit to white at the high
// one, or with cyclic once around the colour circle. NaN is transparent.
QImage Picture(std::span<const float> spread, int columns, Limits limits, bool cyclic);

struct Histogram {
  Limits range;
  std::vector<std::uint32_t> counts;  // of the values in equal bins of the range
};

// The histogram of spread values over the limits and a little to either side of them.
Histogram HistogramOf(std::span<const float> spread, Limits limits);

}  // namespace lumomixcalc::standalone
