#include "standalone/panel/rendering.h"

#include <gtest/gtest.h>

#include <QTest>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>

#include "standalone/panel/image_pane.h"

namespace lumomixcalc::standalone {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;

// All whole numbers from first to last, in no order.
std::vector<float> Numbers(int first, int last) {
  std::vector<float> values(static_cast<std::size_t>(last - first + 1));
  std::iota(values.begin(), values.end(), static_cast<float>(first));
  std::shuffle(values.begin(), values.end(), std::mt19937(1));
  return values;
}

// Lightness and the two chroma axes, with the published matrices from sRGB to OKLab.
std::array<double, 3> Oklab(QRgb colour) {
  const auto linear = [](int level) {
    const double v = level / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
  };
  const double r = linear(qRed(colour));
  const double g = linear(qGreen(colour));
  const double b = linear(qBlue(colour));
  const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
  const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
  const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
  return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
          1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
          0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

// What the rounding of two colours to 8 bits can change of their distance.
constexpr double kRounding = 0.004;

// From colour first on, count steps of a map are as long as this, wherever rounding lets one tell.
void ExpectSteps(ColourMap map, int first, int count, double length) {
  const auto lab = [map](int i) {
    return Oklab(ColoursOf(map)[static_cast<std::size_t>(i % kShades)]);
  };
  for (const int stride : {1, 8})
    for (int i = first; i + stride <= first + count; ++i) {
      const auto from = lab(i);
      const auto to = lab(i + stride);
      EXPECT_NEAR(std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]), stride * length,
                  kRounding)
          << i << " + " << stride;
    }
}

TEST(ColoursOf, DifferEquallyToTheEyeWithoutClipping) {
  const double circle = 2 * std::numbers::pi * 0.145;
  ExpectSteps(ColourMap::kCyclic, 0, 256, circle / 256);  // the last step closes it
  const double arm = std::hypot(0.97 - 0.5, 0.2);
  ExpectSteps(ColourMap::kCentred, 0, 127, arm / 128);
  ExpectSteps(ColourMap::kCentred, 128, 127, arm / 128);
  for (const ColourMap map : {ColourMap::kCyclic, ColourMap::kCentred})
    for (const QRgb colour : ColoursOf(map))
      for (const int level : {qRed(colour), qGreen(colour), qBlue(colour)})
        EXPECT_TRUE(level > 0 && level < 255) << std::hex << colour;
}

TEST(ColoursOf, HaveEqualLightnessOrAreLightestInANeutralMiddle) {
  for (std::size_t i = 0; i < kShades; ++i) {
    EXPECT_NEAR(Oklab(ColoursOf(ColourMap::kCyclic)[i])[0], 0.72, kRounding);
    const auto& centred = ColoursOf(ColourMap::kCentred);
    EXPECT_NEAR(Oklab(centred[i])[0], Oklab(centred[255 - i])[0], kRounding);
    EXPECT_LE(Oklab(centred[i])[0], Oklab(centred[127])[0] + 1e-3);
  }
  for (const std::size_t i : {127, 128}) {
    const auto lab = Oklab(ColoursOf(ColourMap::kCentred)[i]);
    EXPECT_LT(std::hypot(lab[1], lab[2]), kRounding);
  }
}

TEST(PartOf, GivesEachPartOfComplexElements) {
  const std::vector<float> pairs = {3, 4, 0, -2, NAN, 0};
  const auto expectPart = [](const std::vector<float>& of, ComplexPart part,
                             const std::vector<float>& expected) {
    const std::vector<float> values = PartOf(of, part);
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_TRUE(std::isnan(expected[i]) ? std::isnan(values[i]) : values[i] == expected[i]);
  };
  expectPart(pairs, ComplexPart::kMagnitude, {5, 2, NAN});
  expectPart(pairs, ComplexPart::kMagnitudeAndAngle, {5, 2, NAN});
  expectPart(pairs, ComplexPart::kReal, {3, 0, NAN});
  expectPart(pairs, ComplexPart::kImaginary, {4, -2, 0});
  expectPart(pairs, ComplexPart::kPhase, {std::atan2(4.0F, 3.0F), -kPi / 2, NAN});
  expectPart(pairs, ComplexPart::kAutomatic, {5, 2, NAN});
  expectPart({-3, 0, 2, -0.0F, 1, NAN}, ComplexPart::kAutomatic, {-3, 2, 1});
  expectPart({3e30F, 4e30F}, ComplexPart::kMagnitude, {5e30F});
}

TEST(AppearanceOf, SuitsTheValues) {
  constexpr auto kCentred = ColourMap::kCentred;
  constexpr auto kCyclic = ColourMap::kCyclic;
  constexpr auto kGrey = ColourMap::kGrey;
  constexpr auto kPercentiles = Stretch::kPercentiles;
  const struct {
    std::vector<float> values;
    bool phase;
    Stretch stretch;
    std::optional<ColourMap> wanted;
    Appearance expected;
  } kCases[] = {
      {Numbers(0, 999), false, kPercentiles, {}, {kGrey, {20, 979}}},
      {Numbers(0, 999), false, Stretch::kMinMax, {}, {kGrey, {0, 999}}},
      {{NAN, INFINITY}, false, kPercentiles, {}, {kGrey, {0, 1}}},
      {{-1, 0}, false, Stretch::kLogarithm, {}, {kGrey, {1, 10}, true}},
      {Numbers(0, 999), false, kPercentiles, kCyclic, {kCyclic, {20, 979}}},
      {Numbers(1, 100), false, Stretch::kLogarithm, {}, {kGrey, {3, 98}, true}},
      {{-kPi, 1, NAN, kPi}, false, kPercentiles, {}, {kCyclic, {-kPi, kPi}}},
      {{-3.12F, 1, INFINITY, 3.12F}, false, Stretch::kLogarithm, {}, {kCyclic, {-kPi, kPi}}},
      {{-3.1F, 1, 3.14F}, false, kPercentiles, {}, {kCentred, {-3.14F, 3.14F}}},
      {{-3.14F, 1, 3.15F}, false, kPercentiles, {}, {kCentred, {-3.15F, 3.15F}}},
      {{-180, 179}, false, Stretch::kMinMax, {}, {kCyclic, {-180, 180}}},
      {{-180, 179}, false, Stretch::kMinMax, kGrey, {kGrey, {-180, 179}}},
      {{1, 2}, true, Stretch::kLogarithm, {}, {kCyclic, {-kPi, kPi}}},
      {{1, 2}, true, kPercentiles, kGrey, {kGrey, {-kPi, kPi}}},
      {Numbers(-300, 900), false, kPercentiles, {}, {kCentred, {-876, 876}}},
      {Numbers(-300, 900), false, Stretch::kMinMax, {}, {kCentred, {-900, 900}}},
      {Numbers(-300, 900), false, Stretch::kLogarithm, {}, {kGrey, {19, 882}, true}},
      {Numbers(-300, 900), false, Stretch::kLogarithm, kCentred, {kCentred, {-876, 876}}},
      {Numbers(-80, 900), false, kPercentiles, {}, {kGrey, {-61, 881}}},
      {{0, 0, 0}, false, kPercentiles, {}, {kGrey, {0, 0}}},
      {{-7}, false, kPercentiles, kCentred, {kCentred, {-7, 7}}},
  };
  for (const auto& [values, phase, stretch, wanted, expected] : kCases) {
    const Appearance found = AppearanceOf(values, phase, stretch, wanted);
    const auto fields = [](const Appearance& a) {
      return std::tuple(a.map, a.limits.low, a.limits.high, a.logarithm);
    };
    EXPECT_EQ(fields(found), fields(expected)) << "case " << &expected - &kCases[0].expected;
  }
}

TEST(AppearanceOf, EstimatesThePercentilesOfManyValues) {
  std::vector<float> values(1000000, NAN);  // mostly no data
  const std::vector<float> numbers = Numbers(1, 400000);
  std::ranges::copy(numbers, values.begin() + 100000);
  const auto [low, high] = AppearanceOf(values, false, Stretch::kPercentiles, {}).limits;
  EXPECT_NEAR(low, 8000, 1000);
  EXPECT_NEAR(high, 392000, 1000);
}

std::vector<QRgb> Pixels(const std::vector<float>& values, const Appearance& appearance,
                         std::span<const float> pairs = {}) {
  const QImage row = Picture(values, static_cast<int>(values.size()), appearance, pairs);
  const auto* const pixels = reinterpret_cast<const QRgb*>(row.constScanLine(0));
  return {pixels, pixels + row.width()};
}

TEST(Picture, ShowsValuesByTheirPlaceBetweenTheLimits) {
  constexpr auto kGrey = ColourMap::kGrey;
  EXPECT_EQ(Pixels({-INFINITY, 0, 5, 10, 1e30F, NAN}, {kGrey, {0, 10}}),
            (std::vector<QRgb>{0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF, 0xFFFFFFFF, 0}));
  EXPECT_EQ(Pixels({-1, 0, 1, 10, 100}, {kGrey, {1, 100}, true}),
            (std::vector<QRgb>{0xFF000000, 0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF}));
  constexpr float kMost = std::numeric_limits<float>::max();
  EXPECT_EQ(Pixels({0}, {kGrey, {-kMost, kMost}})[0], 0xFF808080);
  EXPECT_EQ(Pixels({4}, {kGrey, {4, 4}})[0], 0xFF808080);
  const auto& circle = ColoursOf(ColourMap::kCyclic);
  EXPECT_EQ(Pixels({-kPi, 0, kPi}, {ColourMap::kCyclic, {-kPi, kPi}}),
            (std::vector<QRgb>{circle[0], circle[128], circle[255]}));
}

TEST(Picture, ShowsTheMagnitudeByBrightnessAndTheAngleByHue) {
  const std::vector<float> pairs = {9, 0, -9, 0, 0, 9, 0, 0, NAN, 1};
  const auto& circle = ColoursOf(ColourMap::kCyclic);
  EXPECT_EQ(Pixels(PartOf(pairs, ComplexPart::kMagnitude), {ColourMap::kGrey, {0, 9}}, pairs),
            (std::vector<QRgb>{circle[128], circle[255], circle[192], 0xFF000000, 0}));
}

// A pane with the values 0 to 1000, of which percentiles are 20 and 980.
class ImagePaneTest : public ::testing::Test {
 protected:
  ImagePaneTest() {
    stretch_.addItems({"Percentiles", "Min-max", "Logarithm"});
    pane_.resize(400, 400);
    pane_.show();
    pane_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&pane_));
    Show(Numbers(0, 1000));
  }

  void Show(std::vector<float> values, bool complex = false) {
    PreviewImage image;
    image.complex = complex;
    image.grid.columns = static_cast<int>(values.size()) / (complex ? 2 : 1);
    image.grid.rows = 1;
    image.values = std::move(values);
    pane_.Show(std::move(image));
  }

  QLineEdit& Field(const QString& name) { return *pane_.findChild<QLineEdit*>("File " + name); }

  std::string Figures() {
    QStringList texts;
    for (const QString name : {"low limit", "high limit"})
      if (Field(name).isVisible()) texts << Field(name).text();
    return texts.join(' ').toStdString();
  }

  void Drag(double from, double to) {
    QWidget* const histogram = Field("low limit").parentWidget();
    const auto at = [&](double share) {
      return QPoint(static_cast<int>(std::lround(share * histogram->width())), 10);
    };
    QTest::mousePress(histogram, Qt::LeftButton, {}, at(from));
    QTest::mouseMove(histogram, at(to));
    QTest::mouseRelease(histogram, Qt::LeftButton, {}, at(to));
  }

  void Type(const QString& field, const char* text) {
    Field(field).setFocus();
    Field(field).selectAll();
    QTest::keyClicks(&Field(field), text);
  }

  QComboBox stretch_;
  ImagePane pane_{"File", stretch_};
};

// Where the lines of automatic limits are, as shares of the width.
constexpr double kLow = 0.15 / 1.3;
constexpr double kHigh = 1 - kLow;

TEST_F(ImagePaneTest, DraggedAndTypedLimitsRecolourAndHoldUntilReset) {
  EXPECT_EQ(Figures(), "20 980");
  Drag(kHigh + 0.01, 0.5);
  EXPECT_NEAR(Field("high limit").text().toDouble(), 500, 10);
  EXPECT_EQ(Field("low limit").text(), "20");
  Drag(kLow + 0.02, 0.2);  // no line there
  EXPECT_EQ(Field("low limit").text(), "20");
  Drag(kLow, 0.9);  // not beyond the other line
  EXPECT_EQ(Field("low limit").text(), "20");
  Type("high limit", "0.05");
  EXPECT_EQ(Field("high limit").text(), "0.05");
  Type("high limit", "100");
  Type("low limit", "99");
  EXPECT_EQ(Figures(), "99 100");
  Show({98, 99.5, 101});
  EXPECT_EQ(Figures(), "99 100");
  const QImage picture = pane_.Raster().Picture();
  EXPECT_EQ(qGray(picture.pixel(0, 0)), 0);
  EXPECT_EQ(qGray(picture.pixel(1, 0)), 128);
  EXPECT_EQ(qGray(picture.pixel(2, 0)), 255);
  QTest::mouseDClick(Field("low limit").parentWidget(), Qt::LeftButton, {}, QPoint(200, 10));
  EXPECT_EQ(Figures(), "98 101");
  for (QComboBox* const box : {&stretch_, &pane_.Part()}) {
    Type("low limit", "99");
    box->setCurrentIndex(1);
    EXPECT_EQ(Figures(), "98 101");
  }
}

TEST_F(ImagePaneTest, LimitsAreValuesOfTheDataAlsoWithALogarithm) {
  stretch_.setCurrentIndex(2);
  EXPECT_EQ(Figures(), "21 980");
  Type("low limit", "0");
  QTest::keyClick(&Field("low limit"), Qt::Key_Return);
  EXPECT_EQ(Figures(), "21 980");
  Type("low limit", "10");
  Show({1, 100, 1000});
  Type("high limit", "1000");
  EXPECT_EQ(qGray(pane_.Raster().Picture().pixel(1, 0)), 128);
  pane_.Colours().setCurrentIndex(3);
  EXPECT_EQ(Figures(), "-1000 1000");
  Type("high limit", "50");
  pane_.Colours().setCurrentIndex(1);  // for which -50 is no limit
  EXPECT_EQ(Figures(), "1 1000");
}

TEST_F(ImagePaneTest, SaysAConstantOnceAndAPhaseInPi) {
  Show({7, 7, NAN});
  EXPECT_EQ(Figures(), "7");
  QWidget* const histogram = Field("low limit").parentWidget();
  const QImage bars = histogram->grab().toImage();
  EXPECT_NE(bars.pixel(202, 10), bars.pixel(100, 10));  // the bar, beside the lines
  Drag(0.495, 0.25);
  EXPECT_EQ(Figures(), "6.75 7");
  pane_.ResetLimits();
  EXPECT_EQ(Figures(), "7");
  Show({});
  EXPECT_EQ(Figures(), "");
  Show({1, 1, -1, 2}, true);
  pane_.Part().setCurrentIndex(static_cast<int>(ComplexPart::kPhase));
  EXPECT_EQ(Figures(), "\u2212\u03c0 \u03c0");
  Type("low limit", "-1");
  QTest::keyClick(&Field("low limit"), Qt::Key_Return);
  EXPECT_EQ(Figures(), "-1 \u03c0");
}

TEST_F(ImagePaneTest, LimitsOfCentredColoursMoveTogether) {
  Show(Numbers(-1000, 1000));
  EXPECT_EQ(Figures(), "-960 960");
  Type("high limit", "50");
  EXPECT_EQ(Figures(), "-50 50");
  pane_.Colours().setCurrentIndex(1);
  Type("low limit", "-10");
  EXPECT_EQ(Figures(), "-10 50");
  pane_.Colours().setCurrentIndex(3);
  EXPECT_EQ(Figures(), "-50 50");
}

}  // namespace
}  // namespace lumomixcalc::standalone
