#include "standalone/panel/rendering.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

namespace lumomixcalc::standalone {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Colour {
  int red, green, blue;
};

// Once around the colour circle, from -pi on, in equal steps.
constexpr std::array<Colour, 12> kCircle = {{{230, 60, 60},
                                             {235, 130, 50},
                                             {235, 200, 60},
                                             {180, 215, 60},
                                             {80, 200, 80},
                                             {50, 200, 150},
                                             {50, 200, 215},
                                             {50, 140, 225},
                                             {70, 80, 220},
                                             {130, 70, 220},
                                             {200, 70, 215},
                                             {230, 60, 150}}};

std::uint32_t Packed(const Colour& colour) {
  return 0xFF000000U | static_cast<std::uint32_t>(colour.red) << 16 |
         static_cast<std::uint32_t>(colour.green) << 8 | static_cast<std::uint32_t>(colour.blue);
}

// The colours of 256 positions between the limits. The circle closes after the last.
constexpr std::size_t kShades = 256;
std::array<std::uint32_t, kShades> Palette(bool cyclic) {
  std::array<std::uint32_t, kShades> palette{};
  for (std::size_t i = 0; i < kShades; ++i) {
    const int grey = static_cast<int>(i);
    if (!cyclic) {
      palette[i] = Packed({grey, grey, grey});
      continue;
    }
    const double place = static_cast<double>(i) * kCircle.size() / kShades;
    const std::size_t sector = static_cast<std::size_t>(place);
    const Colour& from = kCircle[sector];
    const Colour& to = kCircle[(sector + 1) % kCircle.size()];
    const auto between = [&](int a, int b) {
      return static_cast<int>(std::lround(a + (b - a) * (place - static_cast<double>(sector))));
    };
    palette[i] = Packed(
        {between(from.red, to.red), between(from.green, to.green), between(from.blue, to.blue)});
  }
  return palette;
}

float Part(float real, float imaginary, ComplexPart part) {
  switch (part) {
    case ComplexPart::kMagnitude:
      return std::hypot(real, imaginary);
    case ComplexPart::kPhase:
      return std::atan2(imaginary, real);
    case ComplexPart::kReal:
      return real;
    case ComplexPart::kImaginary:
      return imaginary;
  }
  return real;
}

std::vector<float> FiniteValues(std::span<const float> values) {
  std::vector<float> finite;
  finite.reserve(values.size());
  std::copy_if(values.begin(), values.end(), std::back_inserter(finite),
               [](float value) { return std::isfinite(value); });
  return finite;
}

}  // namespace

std::vector<float> PartOf(std::span<const float> pairs, ComplexPart part) {
  std::vector<float> values(pairs.size() / 2);
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = Part(pairs[2 * i], pairs[2 * i + 1], part);
  return values;
}

std::vector<float> Spread(std::vector<float> values, Stretch stretch) {
  if (stretch == Stretch::kLogarithm)
    for (float& value : values) value = value < 0 ? -kInfinity : std::log10(value);
  return values;
}

Limits LimitsOf(std::span<const float> spread, Stretch stretch) {
  std::vector<float> finite = FiniteValues(spread);
  if (finite.empty()) return {};
  const std::size_t cut = stretch == Stretch::kMinMax ? 0 : finite.size() / 50;
  const auto low = finite.begin() + static_cast<std::ptrdiff_t>(cut);
  std::nth_element(finite.begin(), low, finite.end());
  const float lowest = *low;
  const auto high = finite.end() - 1 - static_cast<std::ptrdiff_t>(cut);
  std::nth_element(finite.begin(), high, finite.end());
  return {lowest, *high};
}

Limits PhaseLimits() { return {-kPi, kPi}; }

std::vector<std::uint32_t> Pixels(std::span<const float> spread, Limits limits, bool cyclic) {
  static const std::array kPalettes = {Palette(false), Palette(true)};
  const std::array<std::uint32_t, kShades>& palette = kPalettes[cyclic ? 1 : 0];
  // In double, for the difference of two floats can be beyond a float.
  const double low = limits.low;
  const double width = limits.high - low;
  const double scale = width > 0 ? kShades / width : 0;
  std::vector<std::uint32_t> pixels(spread.size());
  std::transform(spread.begin(), spread.end(), pixels.begin(), [&](float value) -> std::uint32_t {
    if (std::isnan(value)) return 0;
    // One value everywhere has no width: a medium grey.
    const double shade = width > 0 ? (value - low) * scale : kShades / 2.0;
    return palette[static_cast<std::size_t>(std::clamp(shade, 0.0, kShades - 1.0))];
  });
  return pixels;
}

Histogram HistogramOf(std::span<const float> spread, Limits limits) {
  constexpr std::size_t kBins = 128;
  constexpr double kMargin = 0.15;
  const double width = static_cast<double>(limits.high) - limits.low;
  const double margin = width > 0 ? width * kMargin : 0.5;
  const double low = limits.low - margin;
  const double high = limits.high + margin;
  Histogram histogram = {{static_cast<float>(low), static_cast<float>(high)},
                         std::vector<std::uint32_t>(kBins)};
  for (const float value : spread)
    if (value >= low && value < high)
      ++histogram.counts[std::min(kBins - 1,
                                  static_cast<std::size_t>((value - low) / (high - low) * kBins))];
  return histogram;
}

}  // namespace lumomixcalc::standalone
