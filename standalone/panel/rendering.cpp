#include "standalone/panel/rendering.h"

#include <cfloat>
#include <numbers>

#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;

// The sRGB colour at a place in OKLab, where equal distances look equal. The matrices are those of
// Bjorn Ottosson, "A perceptual color space for image processing", 2020.
QRgb FromOklab(double lightness, double chroma, double hue, double centre = 0) {
  const double a = centre + chroma * std::cos(hue);
  const double b = chroma * std::sin(hue);
  const double l = std::pow(lightness + 0.3963377774 * a + 0.2158037573 * b, 3);
  const double m = std::pow(lightness - 0.1055613458 * a - 0.0638541728 * b, 3);
  const double s = std::pow(lightness - 0.0894841775 * a - 1.2914855480 * b, 3);
  const auto level = [](double linear) {
    const double encoded =
        linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return static_cast<int>(std::lround(encoded * 255));
  };
  return qRgb(level(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
              level(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
              level(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s));
}

// Gives the shade of a spread value, not NaN, between limits; the middle one if the limits are one.
auto ShadesBetween(double low, double high) {
  const double start = high > low ? 0 : kShades / 2.0;
  const double width = high > low ? high - low : 1;
  return [=](float value) {
    const double shade = start + (std::clamp<double>(value, low, high) - low) / width * kShades;
    return static_cast<std::size_t>(std::min(shade, kShades - 1.0));
  };
}

Limits ExtremesOf(const std::vector<float>& finite) {
  if (finite.empty()) return {};
  ValidStatistics found;
  CountRows({finite.data(), static_cast<int>(finite.size()), 1}, found);
  return {found.minimum, found.maximum};
}

Limits PercentilesOf(const std::vector<float>& finite, const Limits& extremes) {
  if (finite.empty()) return extremes;
  // Some 100,000 elements suffice; in odd steps, which fall on even and on odd columns.
  const std::size_t step = finite.size() / 100000 | 1;
  std::vector<float> some;
  for (std::size_t i = 0; i < finite.size(); i += step) some.push_back(finite[i]);
  const auto ranked = [&some](std::size_t rank) {
    const auto at = some.begin() + static_cast<std::ptrdiff_t>(rank);
    std::ranges::nth_element(some, at);
    return *at;
  };
  const std::size_t share = some.size() / 50;
  const Limits usual = {ranked(share), ranked(some.size() - 1 - share)};
  return usual.low < usual.high ? usual : extremes;
}

}  // namespace

const std::array<QRgb, kShades>& ColoursOf(ColourMap map) {
  static const auto maps = [] {
    constexpr double kTurn = 2 * std::numbers::pi;
    std::array<std::array<QRgb, kShades>, 3> made{};
    for (QRgb i = 0; i < kShades; ++i) {
      const double place = (i + 0.5) / kShades - 0.5;
      made[0][i] = 0xFF000000 + 0x010101 * i;
      // Nearly the widest circle in sRGB that still has a yellow. The middle, the angle 0, is red.
      made[1][i] = FromOklab(0.72, 0.145, kTurn * (place + 0.06), 0.03);
      // Straight arms of one length, so that equal sizes on both sides of zero look equally strong.
      made[2][i] = FromOklab(0.97 - 0.94 * std::abs(place), 0.4 * std::abs(place),
                             kTurn * (place < 0 ? 0.728 : 0.075));
    }
    return made;
  }();
  return maps[static_cast<std::size_t>(map)];
}

std::vector<float> PartOf(std::span<const float> pairs, ComplexPart part) {
  bool real = part == ComplexPart::kAutomatic;
  for (std::size_t i = 1; real && i < pairs.size(); i += 2)
    real = pairs[i] == 0 || std::isnan(pairs[i]);
  if (real) part = ComplexPart::kReal;
  std::vector<float> values(pairs.size() / 2);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const float re = pairs[2 * i];
    const float im = pairs[2 * i + 1];
    values[i] = part == ComplexPart::kReal        ? re
                : part == ComplexPart::kImaginary ? im
                : part == ComplexPart::kPhase     ? std::atan2(im, re)
                                                  : std::hypot(re, im);
  }
  return values;
}

Appearance AppearanceOf(std::span<const float> values, bool phase, Stretch stretch,
                        std::optional<ColourMap> map) {
  std::vector<float> finite(values.begin(), values.end());
  std::erase_if(finite, [](float value) { return !std::isfinite(value); });
  const Limits all = ExtremesOf(finite);
  for (const float half : {kPi, 180.0F}) {
    const bool filled = std::max(-all.low, all.high) <= half * 1.000001F &&
                        std::min(-all.low, all.high) >= half * 0.99F;
    if (phase || (filled && map.value_or(ColourMap::kCyclic) == ColourMap::kCyclic))
      return {map.value_or(ColourMap::kCyclic), {-half, half}};
  }
  if (stretch == Stretch::kLogarithm && map != ColourMap::kCentred) {
    std::erase_if(finite, [](float value) { return value <= 0; });
    const Limits positive = finite.empty() ? Limits{1, 10} : ExtremesOf(finite);
    return {map.value_or(ColourMap::kGrey), PercentilesOf(finite, positive), true};
  }
  const Limits usual = PercentilesOf(finite, all);
  const bool twoSided = usual.low < 0 && usual.high > 0 &&
                        std::min(-usual.low, usual.high) * 10 >= std::max(-usual.low, usual.high);
  if (!map) map = twoSided ? ColourMap::kCentred : ColourMap::kGrey;
  const Limits limits = stretch == Stretch::kMinMax ? all : usual;
  return {*map, map == ColourMap::kCentred ? limits.AboutZero() : limits};
}

QImage Picture(std::span<const float> values, int columns, const Appearance& appearance,
               std::span<const float> pairs) {
  if (values.empty()) return {};
  const auto& colours = ColoursOf(pairs.empty() ? appearance.map : ColourMap::kCyclic);
  const auto [low, high] = appearance.limits;
  const auto shade = ShadesBetween(appearance.Spread(low), appearance.Spread(high));
  const auto hue = ShadesBetween(-kPi, kPi);
  const auto colour = [&](std::size_t i) -> QRgb {
    if (std::isnan(values[i])) return 0;
    const std::size_t place = shade(appearance.Spread(values[i]));
    if (pairs.empty()) return colours[place];
    const QRgb full = colours[hue(std::atan2(pairs[2 * i + 1], pairs[2 * i]))];
    const int light = static_cast<int>(place);
    return qRgb(qRed(full) * light / 255, qGreen(full) * light / 255, qBlue(full) * light / 255);
  };
  QImage picture(columns, static_cast<int>(values.size()) / columns,
                 QImage::Format_ARGB32_Premultiplied);
  auto* const pixels = reinterpret_cast<QRgb*>(picture.bits());  // rows of QRgb are not padded
  for (std::size_t i = 0; i < values.size(); ++i) pixels[i] = colour(i);
  return picture;
}

}  // namespace lumomixcalc::standalone
