// What is seen: the images, the elements under the pointer, the place that is looked at.
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

// The element of MakeRaster's first band with factor 1.
QString Ramp(int column, int row) { return QString("%1 1 ").arg(column + 100 * row); }

TEST_F(PanelWindowTest, ElementsUnderThePointerAreThoseOfThePixelAndTheSettings) {
  Open(kFiles);
  const auto is = [](const char* elements) { return [=](int, int) { return elements; }; };
  ExpectElements({30.5, 35.5}, kFile1, is("3530 1 3530 0.0002832861 0.0162311 "));
  const auto expect = [&](const char* field, const char* text, QPointF pixel, const char* result) {
    SCOPED_TRACE(std::string(field) + " " + text);
    Set(field, text);
    ExpectElements(pixel + QPointF(0.5, 0.5), kResult, is(result));
  };
  expect(kB, "-2", {30, 35}, "-10590 -3 ");
  expect("Band", "2", {59, 39}, "-11877 -6 ");
  expect("Data type", "8-bit unsigned (byte)", {2, 1}, "0    ");
  // Of 4 x 3 results from (4, 3): -3 * (5.5 + 400).
  expect("Looks, columns", "4", {7, 5}, "0    ");
  expect("Looks, rows", "3", {7, 5}, "0    ");
  expect("Data type", "float (float32)", {7, 5}, "-1216.5    ");
  expect("Operator", "CONJ(A*File1)", {7, 5}, "405.5    ");
  // The last blocks that are whole end at 56.
  expect("Resolution", "2", {57, 5}, "\u2014");
}

TEST_F(PanelWindowTest, CoarseAndLongThinPreviewsShowThePixelsInTheirPlaces) {
  MakeRaster("f1.tif", 2500, 1300, 1);  // one of 2 x 2 pixels is shown
  Open("f1.tif -save=out.tif -operator=a1b");
  Set("Stretch", "Min\u2013max");
  const QImage picture = Pictured("Result preview").Picture();
  EXPECT_EQ(qGray(picture.pixel(1249, 649)), 255);
  for (const Image image : {kFile1, kResult}) ExpectElements({391, 541}, image, Ramp);
  MakeRaster("f1.tif", 5000, 3, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  EXPECT_GE(Pictured("Result preview").Scale() * 3, 20);
}

TEST_F(PanelWindowTest, CoefficientStepReadsNoInputAgain) {
  MakeRaster("f1.tif", 1000, 1000, 1, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  ExpectElements({30, 35}, kResult, Ramp);
  const auto bytesRead = [] { return std::stol(Bytes("/proc/self/io").substr(7)); };
  const long before = bytesRead();
  Set(kA, "0");
  ExpectElements({30, 35}, kResult, [](int, int) { return "0 0 0 "; });
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
  EXPECT_EQ(result.Scale(), 1);
  EXPECT_TRUE(WaitFor([&] { return result.Picture().width() < 1250; }));
  const int before = result.Picture().width();
  Set("Images shown", "Result");
  EXPECT_TRUE(WaitFor([&] { return result.Picture().width() > before + 50; }));
  Set("Images shown", "Side by side");
  ExpectElements(place, kFile2, Ramp);
  const QPoint fixed(50, 40);
  const QPointF there = result.viewportTransform().inverted().map(QPointF(fixed));
  QWheelEvent wheel(fixed, result.mapToGlobal(fixed), {}, {0, 3600}, Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QApplication::sendEvent(result.viewport(), &wheel);
  EXPECT_EQ(file1.Scale(), 64);
  EXPECT_EQ(Find<QLabel>("Zoom").text(), "6400 %");
  EXPECT_LE((PointOf(result, there) - fixed).manhattanLength(), 2);
  Drag(*file1.viewport(), {50, 50}, {90, 70});
  EXPECT_LE((PointOf(result, there) - fixed - QPoint(40, 20)).manhattanLength(), 3);
}

TEST_F(PanelWindowTest, DraggingWithShiftChoosesTheRegion) {
  Open(kFiles);
  auto& view = Pictured("File1 preview");
  Drag(*view.viewport(), PointOf(view, {45, 20}), PointOf(view, {15, 32}), Qt::ShiftModifier);
  EXPECT_NE(CurrentCommand().find(" -region="), std::string::npos);
  EXPECT_NEAR(std::stoi(TextOf("Region, first column")), 15, 1);
  EXPECT_NEAR(std::stoi(TextOf("Region, rows")), 12, 1);
}

}  // namespace
}  // namespace lumomixcalc::standalone
