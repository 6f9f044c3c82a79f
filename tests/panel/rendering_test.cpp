// The colours of the images and the limits between which they are spread.
#include "standalone/panel/rendering.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>

#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

using Values = std::vector<float>;

constexpr float kPi = std::numbers::pi_v<float>;
constexpr auto kGrey = ColourMap::kGrey;
constexpr auto kCyclic = ColourMap::kCyclic;
constexpr auto kCentred = ColourMap::kCentred;

// All whole numbers from first to last, in no order.
Values Numbers(int first, int last) {
  Values values(static_cast<std::size_t>(last - first + 1));
  std::iota(values.begin(), values.end(), static_cast<float>(first));
  std::shuffle(values.begin(), values.end(), std::mt19937(1));
  return values;
}

TEST(ColoursOf, GoOnceAroundACircleWithoutAJumpOrFromBlueToRed) {
  const auto& circle = ColoursOf(kCyclic);
  for (std::size_t i = 0; i < kShades; ++i)
    for (const int level : {0, 8, 16})
      EXPECT_NEAR(circle[i] >> level & 0xFF, circle[(i + 1) % kShades] >> level & 0xFF, 8) << i;
  const auto& centred = ColoursOf(kCentred);
  EXPECT_GT(qBlue(centred.front()) - qRed(centred.front()), 100);
  EXPECT_GT(qRed(centred.back()) - qBlue(centred.back()), 100);
}

TEST(PartOf, IsTheRealPartAutomaticallyWhereNoElementHasAnother) {
  const Values pairs = {3, 4, 0, -2};
  EXPECT_EQ(PartOf(pairs, ComplexPart::kPhase), (Values{std::atan2(4.0F, 3.0F), -kPi / 2}));
  EXPECT_EQ(PartOf(pairs, ComplexPart::kAutomatic), (Values{5, 2}));
  EXPECT_EQ(PartOf(Values{-3, 0, 2, -0.0F, 1, NAN}, ComplexPart::kAutomatic), (Values{-3, 2, 1}));
}

TEST(AppearanceOf, SuitsTheValues) {
  constexpr auto kPercentiles = Stretch::kPercentiles;
  const auto expect = [](const Values& values, bool phase, Stretch stretch,
                         std::optional<ColourMap> wanted, const Appearance& expected) {
    SCOPED_TRACE(testing::PrintToString(values.front()) + " to " + std::to_string(values.back()));
    const auto [map, limits, logarithm] = AppearanceOf(values, phase, stretch, wanted);
    EXPECT_EQ(map, expected.map);
    EXPECT_EQ(std::pair(limits.low, limits.high),
              std::pair(expected.limits.low, expected.limits.high));
    EXPECT_EQ(logarithm, expected.logarithm);
  };
  expect({NAN, INFINITY}, false, kPercentiles, {}, {kGrey, {0, 1}});
  expect({-1, 0}, false, Stretch::kLogarithm, {}, {kGrey, {1, 10}, true});
  expect({-kPi, NAN, INFINITY, 3.12F}, false, Stretch::kLogarithm, {}, {kCyclic, {-kPi, kPi}});
  expect({-3.1F, 3.14F}, false, kPercentiles, {}, {kCentred, {-3.14F, 3.14F}});
  expect({-3.15F, 3.14F}, false, kPercentiles, {}, {kCentred, {-3.15F, 3.15F}});
  expect({-180, 179}, false, Stretch::kMinMax, {}, {kCyclic, {-180, 180}});
  expect({-180, 179}, false, Stretch::kMinMax, kGrey, {kGrey, {-180, 179}});
  expect({1, 2}, true, kPercentiles, kGrey, {kGrey, {-kPi, kPi}});
  Values spike(99, 0);
  spike.push_back(50);
  expect(spike, false, kPercentiles, {}, {kGrey, {0, 50}});
  expect(Numbers(-80, 900), false, kPercentiles, {}, {kGrey, {-61, 881}});
  expect(Numbers(-300, 900), false, Stretch::kLogarithm, kCentred, {kCentred, {-876, 876}});
  const auto [low, high] = AppearanceOf(Numbers(1, 400000), false, kPercentiles, {}).limits;
  EXPECT_NEAR(low, 8000, 1000);
  EXPECT_NEAR(high, 392000, 1000);
}

std::vector<QRgb> Pixels(const Values& values, const Appearance& appearance,
                         std::span<const float> pairs = {}) {
  const QImage row = Picture(values, static_cast<int>(values.size()), appearance, pairs);
  const auto* const pixels = reinterpret_cast<const QRgb*>(row.constScanLine(0));
  return {pixels, pixels + row.width()};
}

TEST(Picture, ShowsValuesByTheirPlaceBetweenTheLimits) {
  using Colours = std::vector<QRgb>;
  EXPECT_EQ(Pixels({-INFINITY, 0, 5, 10, 1e30F, NAN}, {kGrey, {0, 10}}),
            (Colours{0xFF000000, 0xFF000000, 0xFF808080, 0xFFFFFFFF, 0xFFFFFFFF, 0}));
  EXPECT_EQ(Pixels({4}, {kGrey, {4, 4}}), Colours{0xFF808080});
  EXPECT_EQ(Pixels({-5, 0, 10}, {kGrey, {1, 100}, true}),
            (Colours{0xFF000000, 0xFF000000, 0xFF808080}));
  const auto& circle = ColoursOf(kCyclic);
  EXPECT_EQ(Pixels({0}, {kCyclic, {-kPi, kPi}}), Colours{circle[128]});
  // The magnitude is the brightness and the angle the hue.
  EXPECT_EQ(Pixels({9, 9, 9, 0, NAN}, {kGrey, {0, 9}},
                   std::array<float, 10>{9, 0, -9, 0, 0, 9, 0, 0, NAN, 1}),
            (Colours{circle[128], circle[255], circle[192], 0xFF000000, 0}));
}

// Opens a ramp from 0 to 3959, of which percentiles are 48 and 3911.
class LimitsTest : public PanelWindowTest {
 protected:
  void SetUp() override {
    PanelWindowTest::SetUp();
    Open("f1.tif -save=out.tif -operator=a1b");
    Set("File1 part", "Real part");
    Pictured("File1 preview");
  }

  std::string Shown() { return TextOf(kLow) + " " + TextOf(kHigh); }

  // Columns are shares of the histogram's width.
  void DragLine(double from, double to) {
    QWidget& histogram = *Find(kLow).parentWidget();
    const double width = histogram.width();
    Drag(histogram, QPointF(from * width, 10).toPoint(), QPointF(to * width, 10).toPoint());
  }

  int GrayAt(int x, int y) { return qGray(Pictured("File1 preview").Picture().pixel(x, y)); }

  static constexpr double kLeft = 0.15 / 1.3;  // the column of the low limit until it is changed
  static constexpr const char* kLow = "File1 low limit";
  static constexpr const char* kHigh = "File1 high limit";
};

TEST_F(LimitsTest, HoldWhenDraggedOrTypedUntilReset) {
  QTest::keyClicks(&Find("File1 preview"), "++++++");
  Settle();
  Run("done");
  Settle();
  EXPECT_EQ(Shown(), "48 3911");  // of the whole image
  QTest::keyClick(window_.get(), Qt::Key_0, Qt::ControlModifier);
  Settle();
  DragLine(1 - kLeft, 0.5);
  EXPECT_NEAR(std::stod(TextOf(kHigh)), 1980, 20);
  DragLine(kLeft + 0.1, 0.2);  // no line there
  DragLine(kLeft, 0.9);        // not beyond the other line
  EXPECT_EQ(TextOf(kLow), "48");
  Type(kHigh, "1500");
  MakeRaster("f1.tif", 60, 40, 0.5);
  Set(kA, "4");
  EXPECT_TRUE(WaitFor([&] { return GrayAt(0, 30) == 191; }));  // until it is completed
  QTest::keyClick(&Find(kHigh), Qt::Key_Return);
  Type(kLow, "500\r");
  EXPECT_TRUE(WaitFor([&] { return GrayAt(0, 20) == 128; }));
  EXPECT_EQ(Shown(), "500 1500");
  EXPECT_TRUE(Find(kLow).font().bold());
  Type(kHigh, "\b\r");
  EXPECT_EQ(Shown() + " " + TextOf("Result high limit"), "24 1955.5 7822");
  EXPECT_FALSE(Find(kLow).font().bold());
  Type(kLow, "1\r");
  QTest::mouseDClick(Find(kLow).parentWidget(), Qt::LeftButton, {}, {60, 10});
  EXPECT_EQ(Shown(), "24 1955.5");
  Set("Stretch", "Min\u2013max");
  Set("Region");
  Set("Region, rows", "20");
  EXPECT_TRUE(WaitFor([&] { return Shown() == "0 979.5"; })) << Shown();
  Set("File1 part", "Imaginary part");  // a constant, which is said once
  EXPECT_EQ(TextOf(kLow), "0.5");
  EXPECT_FALSE(Find(kHigh).isVisible());
}

TEST_F(LimitsTest, SuitLogarithmsCentredColoursAndPhases) {
  Set("Stretch", "Logarithm");
  Type(kLow, "0\r");
  EXPECT_EQ(Shown(), "48 3912");
  DragLine(kLeft, 0.5);
  EXPECT_NEAR(std::stod(TextOf(kLow)), std::sqrt(48 * 3912), 10);
  Type(kLow, "10\r");
  Type(kHigh, "1000\r");
  EXPECT_EQ(GrayAt(0, 1), 128);
  Set("File1 colours", "Centred on zero");
  Type(kHigh, "50\r");
  EXPECT_EQ(Shown(), "-50 50");
  Set("File1 part", "Phase");
  QTest::keyClick(&Find(kLow), Qt::Key_Return);  // leaves what nobody has typed
  EXPECT_EQ(Shown(), "\u2212\u03c0 \u03c0");
  MakeRaster("f1.tif", 60, 40, 1, 1, GDT_Float32);  // has no phase
  EXPECT_TRUE(WaitFor([&] { return Shown() == "-3911 3911"; })) << Shown();
  Type("Other options", "-nodata=0\r");
  EXPECT_TRUE(WaitFor([&] { return Pictured("File1 preview").Picture().pixel(0, 0) == 0; }));
  MakeRaster("f1.tif", 60, 40, NAN);
  EXPECT_TRUE(WaitFor([&] {
    return Find(kLow).parentWidget()->toolTip().startsWith(
        "Of the 0 elements of the run that are shown: \n");
  }));
}

TEST_F(LimitsTest, AreSharedToCompareInputsWhichBlinkAndAreSaved) {
  QTest::keyClick(window_.get(), Qt::Key_B);  // needs two
  EXPECT_EQ(Find("File1 preview").accessibleDescription(), "");
  Set("File2", "f2.tif");
  Set(kA, "3");
  Set("File2 part", "Magnitude and angle");
  auto& view = Pictured("File1 preview");
  const auto& other = Pictured("File2 preview");
  Pictured("Result preview").actions().last()->trigger();
  EXPECT_EQ(TextOf("File2 high limit"), "7822");  // is no input's
  view.actions().last()->trigger();
  EXPECT_EQ(TextOf("File2 high limit"), "3911");
  EXPECT_EQ(TextOf("Result high limit"), "11733");
  const std::array pictures = {view.Picture(), other.Picture()};
  for (const std::size_t blinks : {1U, 0U}) {
    QTest::keyClick(window_.get(), Qt::Key_B);
    EXPECT_EQ(view.Picture(), pictures[blinks]);
    EXPECT_EQ(other.Picture(), pictures[1 - blinks]);
    EXPECT_EQ(view.accessibleDescription(), blinks ? "File2 in the place of File1" : "");
  }
  QTest::keyClick(window_.get(), Qt::Key_B);
  Set("File1", "f2.tif");
  EXPECT_EQ(Pictured("File1 preview").accessibleDescription(), "");  // ends with a new image
  for (const char* const file : {"no/picture", "picture"}) {
    QTimer::singleShot(0, [file] {
      auto& dialog = dynamic_cast<QFileDialog&>(*QApplication::activeModalWidget());
      dialog.selectFile(file);
      static_cast<QDialog&>(dialog).accept();
    });
    view.actions()[1]->trigger();
    EXPECT_TRUE(Told(*file == 'n' ? "The picture was not written: " : "Written: "));
  }
  EXPECT_EQ(QImage("picture.png").size(),
            view.size() + QSize(0, 2 + Find(kLow).parentWidget()->height()));
}

}  // namespace
}  // namespace lumomixcalc::standalone
