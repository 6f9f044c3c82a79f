#include "standalone/panel/rendering.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>

namespace lumomixcalc::standalone {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Once around the colour circle, from -pi on, in equal steps.
constexpr std::array<QRgb, 12> kCircle = {0xE63C3C, 0xEB8232, 0xEBC83C, 0xB4D73C,
                                          0x50C850, 0x32C896, 0x32C8D7, 0x328CE1,
                                          0x4650DC, 0x8246DC, 0xC846D7, 0xE63C96};

// The colours of 256 positions between the limits. The circle closes after the last.
constexpr std::size_t kShades = 256;
std::array<QRgb, kShades> Palette(bool cyclic) {
  std::array<QRgb, kShades> palette{};
  for (std::size_t i = 0; i < kShades; ++i) {
    const double place = static_cast<double>(i) * kCircle.size() / kShades;
    const std::size_t sector = static_cast<std::size_t>(place);
    const QRgb from = kCircle[sector];
    const QRgb to = kCircle[(sector + 1) % kCircle.size()];
    const auto between = [&](int a, int b) {
      return static_cast<int>(std::lround(a + (b - a) * (place - static_cast<double>(sector))));
    };
    const int grey = static_cast<int>(i);
    palette[i] = cyclic ? qRgb(between(qRed(from), qRed(to)), between(qGreen(from), qGreen(to)),
                               between(qBlue(from), qBlue(to)))
                        : qRgb(grey, grey, grey);
  }
  return palette;
}

}  // namespace

std::vector<float> PartOf(std::span<const float> pairs, ComplexPart part) {
  std::vector<float> values(pairs.size() / 2);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::complex element(pairs[2 * i], pairs[2 * i + 1]);
    values[i] = part == ComplexPart::kMagnitude ? std::abs(element)
                : part == ComplexPart::kPhase   ? std::arg(element)
                : part == ComplexPart::kReal    ? element.real()
                                                : element.imag();
  }
  return values;
}

std::vector<float> Spread(std::vector<float> values, Stretch stretch) {
  if (stretch == Stretch::kLogarithm)
    for (float& value : values) value = value < 0 ? -kInfinity : std::log10(value);
  return values;
}

Limits LimitsOf(std::span<const float> spread, Stretch stretch) {
  std::vector<float> finite;
  std::ranges::copy_if(spread, std::back_inserter(finite),
                       [](float value) { return std::isfinite(value); });
  if (finite.empty()) return {};
  const std::size_t cut = stretch == Stretch::kMinMax ? 0 : finite.size() / 50;
  const auto low = finite.begin() + static_cast<std::ptrdiff_t>(cut);
  std::nth_element(finite.begin(), low, finite.end());
  const float lowest = *low;
  const auto high = finite.end() - 1 - static_cast<std::ptrdiff_t>(cut);
  std::nth_element(finite.begin(), high, finite.end());
  return {lowest, *high};
}

QImage Picture(std::span<const float> spread, int columns, Limits limits, bool cyclic) {
  static const std::array kPalettes = {Palette(false), Palette(true)};
  const std::array<QRgb, kShades>& palette = kPalettes[cyclic ? 1 : 0];
  // In double, since the difference of two floats can be beyond a float.
  const double low = limits.low;
  const double width = limits.high - low;
  const auto colour = [&](float value) -> QRgb {
    if (std::isnan(value)) return 0;
    // One value everywhere has no width: a medium grey.
    const double shade = width > 0 ? (value - low) / width * kShades : kShades / 2.0;
    return palette[static_cast<std::size_t>(std::clamp(shade, 0.0, kShades - 1.0))];
  };
  const auto rowLength = static_cast<std::size_t>(columns);
  QImage picture(columns, static_cast<int>(spread.size() / rowLength), QImage::Format_ARGB32);
  for (int row = 0; row < picture.height(); ++row, spread = spread.subspan(rowLength))
    std::ranges::transform(spread.first(rowLength), reinterpret_cast<QRgb*>(picture.scanLine(row)),
                           colour);
  return picture;
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
