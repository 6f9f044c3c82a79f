// What is seen: the images, the elements under the pointer, the place that is looked at.
#include "standalone/base/numbers.h"
#include "standalone/panel/preview.h"
#include "standalone/rasters/no_data.h"
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

// The element of MakeRaster's first band with factor 1.
QString Ramp(int column, int row) { return QString("%1 1 ").arg(column + 100 * row); }

// One preview after the other, as in a panel whose settings change.
TEST_F(PanelWindowTest, PicturesShowAndPointersReadWhatTheRunStores) {
  MakeRaster("f1.tif", 60, 40, 1, 2, GDT_Float32);
  GDALDatasetUniquePtr(GDALDataset::Open("f1.tif", GA_Update))->GetRasterBand(1)->SetNoDataValue(5);
  PreviewMaker maker(TheHostState());
  const auto expect = [&](const std::string& options, int band = 1, QRect seen = {}) {
    SCOPED_TRACE(options);
    const std::string command = "lumomixcalc f1.tif f2.tif out.tif -overwrite " + options;
    const Job job = ReadCommandLine(ArgumentsOf(command)).job;
    const OutputGrid run = RunBatch(job, "", TheHostState(), {}).grid;
    const GDALDatasetUniquePtr output(GDALDataset::Open("out.tif"));
    GDALRasterBand& written = *output->GetRasterBand(job.bands.empty() ? band : 1);
    PreviewImage shown;
    maker.Make(job, job, {band, seen}, {}, [&](auto, const auto& image) { shown = image; });
    EXPECT_EQ(shown.note, "");
    const int nx = run.resolution * run.looks.x;
    const int ny = run.resolution * run.looks.y;
    const std::size_t parts = shown.complex ? 2 : 1;
    int compared = 0;
    for (std::size_t i = 0; i < shown.values.size() / parts; ++i) {
      const int x =
          shown.grid.window.x + static_cast<int>(i) % shown.grid.columns * nx - run.window.x;
      const int y =
          shown.grid.window.y + static_cast<int>(i) / shown.grid.columns * ny - run.window.y;
      if (!QRect(0, 0, run.columns * nx, run.rows * ny).contains(x, y)) continue;
      std::array<double, 2> stored = {};
      EXPECT_EQ(CE_None, written.RasterIO(GF_Read, x / nx, y / ny, 1, 1, stored.data(), 1, 1,
                                          GDT_CFloat64, 0, 0, nullptr));
      if (stored[0] == DeclaredNoData(written)) stored.fill(NAN);
      for (std::size_t part = 0; part < parts; ++part)
        EXPECT_EQ(ShortestText(double{shown.values[i * parts + part]}), ShortestText(stored[part]))
            << x << ' ' << y;
      if (compared++ % 50 != 0) continue;
      const QPoint last(run.window.x + x + nx - 1, run.window.y + y + ny - 1);  // of its pixels
      const auto inspected = maker.Inspect(job, band, last).elements.back();
      EXPECT_EQ(ShortestText(inspected->parts[0]), ShortestText(stored[0])) << x << ' ' << y;
    }
    EXPECT_EQ(compared, seen.isNull() ? run.columns * run.rows : 60);
  };
  for (const char* const options :
       {"-operator=a1b", "-operator=a1b -nodata=keep", "-operator=a1b -nodata=1301",
        "-nodata=1301 -mode=int16 -operator=a1-b2", "-looks=4:3 -region=5:2:41:31",
        "-resolution=3 -resampling=average", "-resolution=3 -resampling=cubic -region=4:4:50:30",
        "-resolution=2 -looks=3:2 -resampling=average"})
    expect(options);
  for (const char* const options : {"-operator=a1b", "-bands=2"}) expect(options, 2);
  expect("-looks=4:3 -region=5:2:41:31", 1, {7, 9, 40, 17});
  MakeRaster("f1.tif", 60, 40, 3, 2, GDT_Float32);
  expect("-looks=4:3 -region=5:2:41:31", 1, {7, 9, 40, 17});
  MakeRaster("f1.tif", 60, 40, NAN, 2, GDT_Float32);
  expect("-operator=a_phase_1 -nodata=keep");
}

TEST_F(PanelWindowTest, ElementsUnderThePointerAreThoseOfThePixelAndTheSettings) {
  std::ofstream("f1.tfw") << "10\n0\n0\n-10\n1005\n1995";  // of the middle of the first pixel
  Open(kFiles);
  const auto is = [](const char* elements) { return [=](int, int) { return elements; }; };
  ExpectElements({30.5, 35.5}, kFile1, is("3530 1 3530 0.0002832861 0.0162311 "));
  EXPECT_TRUE(Find<QLabel>("Place under the pointer").text().endsWith(" on the map 1305, 1645"));
  const auto expect = [&](const char* field, const char* text, QPointF pixel, const char* result) {
    SCOPED_TRACE(std::string(field) + " " + text);
    Set(field, text);
    ExpectElements(pixel + QPointF(0.5, 0.5), kResult, is(result));
  };
  expect(kB, "-2", {30, 35}, "-10590 -3 ");
  expect("Band", "2", {59, 39}, "-11877 -6 ");
  expect("Data type", "8-bit unsigned (byte)", {2, 1}, "0    ");
  expect("Data type", "float (float32)", {2, 1}, "-306    ");
  expect("Operator", "(A*File1) / (B*File2)", {2, 1}, "-0.25    ");
  expect(kB, "0", {2, 1}, "no data    ");
  expect("Looks, columns", "7", {57, 5}, "\u2014");  // the last blocks that are whole end at 56
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
  Settle();
  EXPECT_TRUE(file1.itemAt(PointOf(file1, place)));  // the picture lies there
  EXPECT_LT(result.Picture().width(), 1250);
  const int before = result.Picture().width();
  Set("Images shown", "Result");
  Settle();
  EXPECT_GT(result.Picture().width(), before + 50);
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
  std::ofstream("f1.tfw") << "10\n0\n0\n-10\n1005\n1995";
  Open(std::string(kFiles) + " -window=1000:1600:1600:2000");
  auto& view = Pictured("File1 preview");
  Drag(*view.viewport(), PointOf(view, {45, 20}), PointOf(view, {15, 32}), Qt::ShiftModifier);
  const std::string first = CurrentCommand();
  EXPECT_NEAR(std::stoi(TextOf("Region, first column")), 15, 1);
  Drag(*view.viewport(), PointOf(view, {45, 20}), PointOf(view, {-9, 45}), Qt::ShiftModifier);
  EXPECT_NE(CurrentCommand(), first);
  EXPECT_EQ(first.find(" -window="), std::string::npos) << first;
  EXPECT_EQ(TextOf("Region, first column"), "0");
  EXPECT_NEAR(std::stoi(TextOf("Region, columns")), 45, 1);
  EXPECT_NEAR(std::stoi(TextOf("Region, rows")), 20, 1);
}

}  // namespace
}  // namespace lumomixcalc::standalone
