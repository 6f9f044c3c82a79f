// What is seen: the images, the elements under the pointer, the place that is looked at.
#include <cstdio>
#include <cstdlib>

#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

// The element of MakeRaster's first band with factor 1.
QString Ramp(int column, int row) { return QString("%1 1 ").arg(column + 100 * row); }

TEST_F(PanelWindowTest, ElementsUnderThePointerAreThoseOfThePixelAndTheSettings) {
  Open(kFiles);
  const auto is = [](const char* elements) { return [=](int, int) { return elements; }; };
  ExpectElements({30.5, 35.5}, "File1", is("3530 1 3530 0.0002832861 0.0162311 "));
  ExpectElements({30.5, 35.5}, "Result", is("10590 3 "));
  const struct {
    const char* field;
    const char* text;
    QPointF pixel;
    const char* result;
  } kSteps[] = {
      {kB, "-2", {30, 35}, "-10590 -3 "},
      {"Band", "2", {30, 35}, "-10590 -6 "},
      {kB, "1", {59, 39}, "11877 6 "},
      {"Data type", "16-bit integer (int16)", {2, 1}, "306    "},
      {"Data type", "8-bit unsigned (byte)", {59, 0}, "177    "},
      {"Data type", "8-bit unsigned (byte)", {2, 1}, "255    "},
      // Of 4 x 3 results from (4, 3): 3 * (5.5 + 400).
      {"Looks, columns", "4", {7, 5}, "255    "},
      {"Looks, rows", "3", {7, 5}, "255    "},
      {"Data type", "float (float32)", {7, 5}, "1216.5    "},
      {"Operator", "CONJ(A*File1)", {7, 5}, "405.5    "},
      {"Looks, rows", "1", {7, 5}, "505.5    "},
      // The last blocks that are whole end at 56.
      {"Resolution", "2", {57, 5}, "\u2014"},
      {"Region", "", {7, 5}, "504    "},
  };
  for (const auto& [field, text, pixel, result] : kSteps) {
    SCOPED_TRACE(std::string(field) + " " + text);
    Set(field, text);
    ExpectElements(pixel + QPointF(0.5, 0.5), "Result", is(result));
  }
  MakeRaster("f1.tif", 60, 40, 3);
  Set("Resolution", "1");
  ExpectElements({7.5, 5.5}, "File1", is("1521 6 "));
}

TEST_F(PanelWindowTest, InputThatIsNotReadMayBeMissing) {
  Open(kFiles + std::string("-operator=abs_a1"));
  QFile::remove("f2.tif");
  Set(kA, "2");
  ExpectElements({30.5, 35.5}, "Result", [](int, int) { return "7060.0"; });
  EXPECT_TRUE(Find<ImageView>("File2 preview").Note().contains("f2.tif"));
  EXPECT_EQ(CurrentCommand().find("f2.tif"), std::string::npos);
  Run("done");
}

TEST_F(PanelWindowTest, CoarsePreviewShowsThePixelsInTheirPlaces) {
  MakeRaster("f1.tif", 2500, 1300, 1);  // one of 2 x 2 pixels is shown
  Open("f1.tif -save=out.tif -operator=a1b");
  Set("Stretch", "Min\u2013max");
  auto& result = Pictured("Result preview");
  const auto gray = [&](int x, int y) { return qGray(result.Picture().pixel(x, y)); };
  EXPECT_EQ(result.Picture().size(), QSize(1250, 650));
  EXPECT_EQ(gray(0, 0), 0);
  EXPECT_EQ(gray(1249, 649), 255);
  EXPECT_NEAR(gray(625, 325), 128, 2);
  EXPECT_GT(gray(1249, 325), gray(0, 325));
  for (const char* const image : {"File1", "Result"}) ExpectElements({391, 541}, image, Ramp);
}

TEST_F(PanelWindowTest, CoefficientStepReadsNoInputAgain) {
  MakeRaster("f1.tif", 1000, 1000, 1, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  ExpectElements({30, 35}, "Result", Ramp);
  const auto bytesRead = [] { return std::stol(Bytes("/proc/self/io").substr(7)); };
  const long before = bytesRead();
  const QImage picture = Pictured("Result preview").Picture();
  Set(kA, "0:1");
  Set(kAi, "1");
  EXPECT_TRUE(WaitFor([&] { return Pictured("Result preview").Picture() != picture; }));
  EXPECT_LT(bytesRead() - before, 4000000);  // of 8 million
}

TEST_F(PanelWindowTest, AllImagesShowTheSamePlaceDownToSinglePixels) {
  MakeRaster("f1.tif", 2500, 1300, 1);
  MakeRaster("f2.tif", 2500, 1300, 1);
  Open(kFiles);
  auto& file1 = Pictured("File1 preview");
  auto& result = Pictured("Result preview");
  const QPointF place(2000.5, 700.5);
  QTest::mouseDClick(file1.viewport(), Qt::LeftButton, Qt::NoModifier, PointOf(file1, place));
  EXPECT_EQ(file1.Scale(), 1);
  EXPECT_EQ(result.Scale(), 1);
  EXPECT_TRUE(WaitFor([&] { return result.Picture().width() < 1250; }));
  ExpectElements(place, "File2", Ramp);
  const QPoint fixed = PointOf(result, place);
  QWheelEvent wheel(fixed, result.mapToGlobal(fixed), {}, {0, 360}, Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QApplication::sendEvent(result.viewport(), &wheel);
  EXPECT_GT(file1.Scale(), 1.9);
  EXPECT_LE((PointOf(result, place) - fixed).manhattanLength(), 2);
  const QPointF centre = file1.mapToScene(file1.viewport()->rect().center());
  QTest::mousePress(file1.viewport(), Qt::LeftButton, Qt::NoModifier, {50, 50});
  QTest::mouseMove(file1.viewport(), {90, 70});
  QTest::mouseRelease(file1.viewport(), Qt::LeftButton, Qt::NoModifier, {90, 70});
  const QPointF moved = centre - result.mapToScene(result.viewport()->rect().center());
  EXPECT_LE((moved - QPointF(40, 20) / file1.Scale()).manhattanLength(), 3);
  QTest::keyClick(window_.get(), Qt::Key_0, Qt::ControlModifier);
  EXPECT_TRUE(WaitFor([&] { return result.Picture().width() == 1250; }));
}

TEST_F(PanelWindowTest, LongThinImageIsSeen) {
  MakeRaster("f1.tif", 5000, 3, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  EXPECT_GE(Pictured("Result preview").Scale() * 3, 20);
}

TEST_F(PanelWindowTest, DraggingWithShiftChoosesAndOutlinesTheRegion) {
  Open(kFiles);
  auto& view = Pictured("File1 preview");
  QTest::mousePress(view.viewport(), Qt::LeftButton, Qt::ShiftModifier, PointOf(view, {45, 20}));
  QTest::mouseMove(view.viewport(), PointOf(view, {30, 30}));
  QTest::mouseMove(view.viewport(), PointOf(view, {15, 32}));
  QTest::mouseRelease(view.viewport(), Qt::LeftButton, Qt::ShiftModifier, PointOf(view, {15, 32}));
  EXPECT_NE(CurrentCommand().find(" -region="), std::string::npos);
  EXPECT_NEAR(NumberOf("Region, first column"), 15, 1);
  EXPECT_NEAR(NumberOf("Region, rows"), 12, 1);
  auto& result = Pictured("Result preview");
  QTest::mouseMove(result.viewport(), QPoint(1, 1));  // no mark
  const QImage screen = result.grab().toImage();
  const auto isYellow = [&](QPoint at) { return screen.pixelColor(at) == QColor(255, 220, 60); };
  for (const auto& [x, y] : {std::pair(15, 24), {45, 24}, {24, 20}, {24, 32}}) {
    int across = 0;
    int down = 0;
    const QPoint at = PointOf(result, QPointF(x, y));
    for (int i = -9; i <= 9; ++i) {
      across += isYellow(at + QPoint(i, 0)) ? 1 : 0;
      down += isYellow(at + QPoint(0, i)) ? 1 : 0;
    }
    EXPECT_EQ(y == 24 ? across : down, 1) << x << " " << y;
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
