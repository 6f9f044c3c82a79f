#include "standalone/panel/colour_maps.h"

#include <cmath>
#include <numbers>

namespace lumomixcalc::standalone {
namespace {

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

}  // namespace lumomixcalc::standalone
