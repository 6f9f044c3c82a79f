// What is seen: the images, the elements under the pointer, the place that is looked at.
#include "standalone/panel/preview.h"
#include "standalone/base/texts.h"
#include "standalone/rasters/data_modes.h"
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

// The element of MakeRaster's first band with factor 1.
QString Ramp(int column, int row) { return QString("%1 1 ").arg(column + 100 * row); }

// What panes and pointers show of a run, compared with files that hold what it reads and stores.
class PreviewTest : public PanelWindowTest {
 protected:
  struct Made {
    Job job;
    OutputGrid grid;
  };
  static Made Run(const std::string& file, const std::string& options) {
    const std::string command = "lumomixcalc f1.tif f2.tif " + file + " -overwrite " + options;
    const Job job = ReadCommandLine(ArgumentsOf(command)).job;
    return {job, RunBatch(job, command, TheHostState(), {}).plan.grid};
  }

  // Returns the number of cells compared, which begin inside the window.
  int Compare(Image image, const char* file, const Made& made, int band, const QRect& inside) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file));
    GDALRasterBand& written = *dataset->GetRasterBand(made.job.bands.empty() ? band : 1);
    const PreviewImage& shown = shown_[image];
    const PixelWindow& window = made.grid.window;
    const QSize cell = QSize(made.grid.looks.x, made.grid.looks.y) * made.grid.resolution;
    const std::size_t parts = shown.complex ? 2 : 1;
    int compared = 0;
    for (std::size_t i = 0; i * parts < shown.values.size(); ++i) {
      const int number = static_cast<int>(i);
      const QPoint pixel = shown.first + QPoint(number % shown.columns * shown.pitch.width(),
                                                number / shown.columns * shown.pitch.height());
      if (!inside.contains(pixel)) continue;
      std::array<double, 2> stored = {};
      EXPECT_EQ(CE_None, written.RasterIO(GF_Read, (pixel.x() - window.x) / cell.width(),
                                          (pixel.y() - window.y) / cell.height(), 1, 1,
                                          stored.data(), 1, 1, GDT_CFloat64, 0, 0, nullptr));
      if (stored[0] == DeclaredNoData(written)) stored.fill(NAN);
      for (std::size_t part = 0; part < parts; ++part)
        EXPECT_EQ(ShortestText(double{shown.values[i * parts + part]}), ShortestText(stored[part]))
            << pixel.x() << ' ' << pixel.y();
      if (compared++ % 50 != 0) continue;
      const QPoint last = pixel + QPoint(cell.width() - 1, cell.height() - 1);
      EXPECT_EQ(ShortestText(maker_.Inspect(last).elements[image]->parts[0]),
                ShortestText(stored[0]))
          << last.x() << ' ' << last.y();
    }
    return compared;
  }

  // The options of the inputs and of the result. seen: how many cells, where these are not all.
  void Expect(const std::string& ofInputs, const std::string& ofResult, const View& view = {},
              int seen = 0) {
    SCOPED_TRACE(ofInputs + " " + ofResult);
    const Made read = Run("read.tif", ofInputs + " -operator=a1b");
    const Made made = Run("out.tif", ofInputs + " " + ofResult);
    const Findings findings =
        maker_.Make(made.job, made.job, view, {},
                    [this](auto position, const auto& image) { shown_[position] = image; });
    for (const PreviewImage& image : shown_) EXPECT_EQ(image.note, "");
    const int step = shown_[kResult].step;
    EXPECT_EQ(step > 1, view.enough < 1000);
    const auto sampled = [step](int count) { return (count + step - 1) / step; };
    if (seen == 0) seen = sampled(made.grid.columns) * sampled(made.grid.rows);
    const auto [x, y, columns, rows] = made.grid.window;
    const QRect window(x, y, columns, rows);
    EXPECT_EQ(Compare(kResult, "out.tif", made, view.band, window), seen);
    EXPECT_EQ(findings.elements, made.job.mode ? static_cast<std::uint64_t>(seen) : 0);
    const Looks looks = step > 1 ? Looks() : made.grid.looks;
    EXPECT_EQ(Compare(kFile1, "read.tif", read, view.band, window), seen * looks.x * looks.y);
  }

  PreviewMaker maker_{TheHostState()};
  std::array<PreviewImage, 3> shown_;
};

TEST_F(PreviewTest, PicturesShowAndPointersReadWhatTheRunReadsAndStores) {
  MakeRaster("f1.tif", 60, 40, 1, 2, GDT_Float32);
  GDALDatasetUniquePtr(GDALDataset::Open("f1.tif", GA_Update))->GetRasterBand(1)->SetNoDataValue(5);
  for (const char* const file : {"f1.tif", "f2.tif"})
    GDALDatasetUniquePtr(GDALDataset::Open(file))
        ->BuildOverviews("AVERAGE", 1, std::array{2}.data(), 0, nullptr, nullptr, nullptr);
  for (const char* const ofInputs : {"", "-nodata=keep", "-nodata=1301"})
    Expect(ofInputs, "-operator=a1b");
  Expect("-nodata=1301", "-mode=int16 -operator=a1-b2");
  const std::pair<const char*, const char*> kGrids[] = {
      {"-region=5:2:41:31", "-looks=4:3"},
      {"-resolution=2 -resampling=overview", ""},
      {"-resolution=3 -resampling=cubic -region=4:4:50:30", ""},
      {"-resolution=2 -resampling=average", "-looks=3:2"},
      {"-resolution=2 -resampling=bilinear -region=3:5:50:30", "-mode=int16 -looks=1:3"}};
  for (const auto& [ofInputs, ofResult] : kGrids) {
    Expect(ofInputs, ofResult);
    Expect(ofInputs, ofResult, {1, {}, 30});
  }
  Expect("-region=5:2:41:31", "-looks=4:3", {1, {7, 9, 40, 17}}, 60);
  MakeRaster("f1.tif", 60, 40, 3, 2, GDT_Float32);
  Expect("-region=5:2:41:31", "-looks=4:3", {1, {7, 9, 40, 17}}, 60);
  MakeRaster("f1.tif", 60, 40, NAN, 2, GDT_Float32);
  Expect("-nodata=keep", "-operator=a_phase_1");
  MakeRaster("f1.tif", 60, 40, 1);
  Expect("", "-operator=a1b");
  for (const char* const ofInputs : {"", "-bands=2"}) Expect(ofInputs, "-operator=a1b", {2, {}});
  MakeRaster("f2.tif", 50, 50, 2);
  std::ofstream("f1.tfw") << "10\n0\n0\n-10\n1005\n1995";
  std::ofstream("f2.tfw") << "10\n0\n0\n-10\n1085\n2035";  // 8 columns to the right, 4 rows up
  Expect("-extent=intersection", "", {1, {}, 30});
  Expect("-extent=intersection -region=9:2:41:31", "-looks=4:3");
  Expect("-extent=intersection", "");
  std::ofstream("f2.tfw") << "10\n0\n0\n-10\n1085\n2045";  // shares the same area
  Expect("-extent=intersection", "");
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
  expect("Band", "1", {58, 39}, "-11874 -3 ");
  QTest::keyClicks(&Find("Other options"), "-bands=2\r");
  ExpectElements({58.5, 39.5}, kResult, is("-11874 -6 "));
  expect("Data type", "8-bit unsigned (byte)", {2, 1}, "0    ");
  expect("Data type", "float (float32)", {2, 1}, "-306    ");
  expect("Operator", "(A*File1) / (B*File2)", {2, 1}, "-0.25    ");
  expect(kB, "0", {2, 1}, "no data    ");
  expect("Looks, columns", "7", {57, 5}, "\u2014");  // the last blocks that are whole end at 56
  Set("Looks, columns", "1");
  Settle();
  const auto named = [this] { return Find<QLabel>("Place under the pointer").text(); };
  auto& view = Find<ImageView>("File1 preview");
  QTest::keyClicks(&view, "++++++");
  for (int i = 0; i < 30; ++i) QTest::keyClick(&view, Qt::Key_Left);
  for (int i = 0; i < 2; ++i) QTest::keyClick(&view, Qt::Key_Up);
  EXPECT_TRUE(WaitFor([&] { return named().startsWith("Pinned: column 27, row 3 "); }));
  EXPECT_TRUE(view.Seen().contains(27, 3));  // has followed
  QTest::keyClicks(&view, "-------");
  Settle();
  const QPoint there = PointOf(view, {7.5, 9.5});
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, there);
  EXPECT_TRUE(WaitFor([&] { return named().startsWith("Pinned: column 7, row 9 "); }));
  QTest::mouseMove(view.viewport(), there + QPoint(50, 0));
  QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
  const QString table = QGuiApplication::clipboard()->text();
  EXPECT_TRUE(table.contains(QRegularExpression("^Pinned.*\n\tFile1.*\nValue\t907\t")))
      << table.toStdString();
  QTest::keyClick(&view, Qt::Key_Escape);
  MakeRaster("f1.tif", 60, 40, 2);  // is noticed
  for (const double place : {10.97, 21.97, 32.97, 37.97})
    ExpectElements({place, place}, kFile1,
                   [](int column, int row) { return QString::number(2 * (column + 100 * row)); });
}

TEST_F(PanelWindowTest, CoarseAndLongThinPreviewsShowPixelsInTheirPlacesAndReadThemOnce) {
  MakeRaster("f1.tif", 2400, 1300, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  Set("Stretch", "Min\u2013max");
  const QImage picture = Pictured("Result preview").Picture();
  EXPECT_EQ(qGray(picture.pixel(799, 433)), 255);
  EXPECT_EQ(Find("Result preview").accessibleDescription(), "1 of 3 \u00d7 3 cells");
  for (const Image image : {kFile1, kResult}) ExpectElements({391, 541}, image, Ramp);
  const auto bytesRead = [] { return std::stol(Bytes("/proc/self/io").substr(7)); };
  const long before = bytesRead();
  Set(kA, "0");
  ExpectElements({391, 541}, kResult, [](int, int) { return "0 0 0 "; });
  EXPECT_LT(bytesRead() - before, 4000000);  // of 8 million
  Set("Images shown", "Result");             // with more room for finer cells
  Pictured("Result preview");
  EXPECT_EQ(Find("Result preview").accessibleDescription(), "1 of 2 \u00d7 2 cells");
  MakeRaster("f1.tif", 5000, 3, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  const auto& view = Pictured("Result preview");
  EXPECT_TRUE(view.Seen().isNull());
  EXPECT_GE(view.transform().m22() * 3, 20);
}

TEST_F(PanelWindowTest, AllImagesShowTheSamePlaceDownToSinglePixels) {
  for (const char* const file : {"f1.tif", "f2.tif"}) MakeRaster(file, 2500, 1300, 1, 1);
  Open(kFiles);
  auto& file1 = Pictured("File1 preview");
  auto& result = Pictured("Result preview");
  const QPointF place(2000.5, 700.5);
  QTest::mouseClick(file1.viewport(), Qt::LeftButton, Qt::NoModifier, PointOf(file1, place));
  QTest::mouseDClick(file1.viewport(), Qt::LeftButton, Qt::NoModifier, PointOf(file1, place));
  EXPECT_EQ(result.Scale(), 1);
  Settle();
  EXPECT_TRUE(file1.itemAt(PointOf(file1, place)));  // the picture lies there
  EXPECT_LT(result.Picture().width(), 1250);
  ExpectElements(place, kFile2, Ramp);
  const QPoint fixed(50, 40);
  const QPointF there = PlaceAt(result, fixed);
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
  Drag(*view.viewport(), PointOf(view, {45, 20}), PointOf(view, {-9, 45}), Qt::ShiftModifier);
  EXPECT_EQ(CurrentCommand().find(" -window="), std::string::npos);
  EXPECT_EQ(TextOf("Region, first column"), "0");
  EXPECT_NEAR(std::stoi(TextOf("Region, columns")), 45, 1);
  EXPECT_NEAR(std::stoi(TextOf("Region, rows")), 20, 1);
}

TEST_F(PanelWindowTest, SharedAreaIsOfferedAndShownWhereItLiesOnEachImage) {
  MakeRaster("f2.tif", 50, 50, 2);
  std::ofstream("f1.tfw") << "10\n0\n0\n-10\n1005\n1995";
  std::ofstream("f2.tfw") << "10\n0\n0\n-10\n1085\n2035";  // 8 columns to the right, 4 rows up
  Open(kFiles);
  EXPECT_TRUE(WaitFor([&] {
    return Notes().ends_with("; the choice Shared area only combines the area that they share");
  })) << Notes();
  const std::tuple<const char*, const char*, const char*> kOfOneFile[] = {
      {"ABS(A*File1)", "60 x 40", " on the map 1135, 1705"},
      {"A / (B*File2)", "50 x 50", " on the map 1215, 1745"}};
  for (const auto& [name, size, map] : kOfOneFile) {
    Set("Operator", name);
    ExpectElements({13.5, 29.5}, kFile1, Ramp);
    const auto& place = Find<QLabel>("Place under the pointer");
    EXPECT_TRUE(WaitFor([&, map = map] { return place.text().endsWith(map); }))
        << place.text().toStdString();
    EXPECT_EQ(TextOf("Region, columns") + " x " + TextOf("Region, rows"), size);
  }
  Set("Operator", "(A*File1) + (B*File2)");
  Set("Shared area only");
  EXPECT_TRUE(WaitFor([&] { return TextOf("Region, first column") == "8"; }));
  EXPECT_EQ(Notes(), "");
  ExpectElements({20.5, 30.5}, kFile2,
                 [](int, int) { return "6824 2 6824 0.0002930832 0.01679243 "; });
}

}  // namespace
}  // namespace lumomixcalc::standalone
