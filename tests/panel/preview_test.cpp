// What is seen: the images, the elements under the pointer, the place that is looked at.
#include "standalone/panel/preview.h"

#include <numbers>
#include <random>
#include <regex>

#include "app/streams.h"
#include "standalone/base/texts.h"
#include "standalone/rasters/data_modes.h"
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

// What panes and pointers show of a run, compared with files that hold what it reads and stores.
class PreviewTest : public PanelWindowTest {
 protected:
  struct Made {
    Job job;
    OutputGrid grid;
    std::map<int, PixelPosition> origins;
    GDALDatasetUniquePtr file;

    // The element of a band at a pixel, NaN for no data; none where the run has no cell.
    std::optional<std::array<double, 2>> At(QPoint pixel, int band) const {
      const int column = (pixel.x() - grid.window.x) / (grid.looks.x * grid.resolution);
      const int row = (pixel.y() - grid.window.y) / (grid.looks.y * grid.resolution);
      if (pixel.x() < grid.window.x || pixel.y() < grid.window.y || column >= grid.columns ||
          row >= grid.rows)
        return std::nullopt;
      std::array<double, 2> stored = {};
      EXPECT_EQ(CE_None, Band(band).RasterIO(GF_Read, column, row, 1, 1, stored.data(), 1, 1,
                                             GDT_CFloat64, 0, 0, nullptr));
      const std::optional<double> noData = DeclaredNoData(Band(band));
      if (noData && IsNoData(stored[0], stored[1], *noData)) stored.fill(NAN);
      return stored;
    }

    GDALRasterBand& Band(int band) const {
      return *file->GetRasterBand(std::min(job.bands.empty() ? band : 1, file->GetRasterCount()));
    }
    bool IsComplex() const {
      return GDALDataTypeIsComplex(file->GetRasterBand(1)->GetRasterDataType()) != 0;
    }
  };
  static Made Run(Job job, const std::string& command, const char* file) {
    job.overwrite = true;
    job.output = file;
    const RunPlan plan = RunBatch(job, command, TheHostState(), {}).plan;
    return {job, plan.grid, plan.origins, GDALDatasetUniquePtr(GDALDataset::Open(file))};
  }
  // An input as the run reads it.
  static Made ReadFor(const Made& made, int stream) {
    Job job = made.job;
    job.inputs = {{lumomixcalc::kFile1Stream, job.inputs.at(stream)}};
    job.mode = nullptr;
    job.bands.clear();
    job.outputNoData.reset();
    job.selection.region = made.grid.window;
    job.selection.region->x -= made.origins.at(stream).x;
    job.selection.region->y -= made.origins.at(stream).y;
    job.selection.extent = Extent::kSame;
    job.selection.looks = {};
    const std::string command = "lumomixcalc f1.tif read.tif -operator=a1b";
    ReadCommandLine(ArgumentsOf(command));
    Made read = Run(job, command, stream == lumomixcalc::kFile1Stream ? "r1.tif" : "r2.tif");
    read.grid.window = made.grid.window;
    return read;
  }

  // Returns the number of cells compared, which begin inside the run's window.
  int Compare(Image image, const Made& made, int band) {
    const PreviewImage& shown = shown_[image];
    const auto [x, y, columns, rows] = made.grid.window;
    const std::size_t parts = shown.complex ? 2 : 1;
    int compared = 0;
    for (std::size_t i = 0; i * parts < shown.values.size(); ++i) {
      const int number = static_cast<int>(i);
      const QPoint pixel = shown.first + QPoint(number % shown.columns * shown.pitch.width(),
                                                number / shown.columns * shown.pitch.height());
      if (!QRect(x, y, columns, rows).contains(pixel)) continue;
      const auto stored = made.At(pixel, band).value();
      for (std::size_t part = 0; part < parts; ++part)
        EXPECT_EQ(ShortestText(shown.values[i * parts + part]),
                  ShortestText(static_cast<float>(stored[part])))
            << pixel.x() << ' ' << pixel.y();
      ++compared;
    }
    return compared;
  }

  // What a window shows of a run at one point of its pictures.
  struct Sighting {
    int seed = 0;
    std::string command, notes;
    int band = 0;
    bool pictured = false, whole = false, automatic = false;
    QPoint pixel;
    QString place, statistics, low, high;
    std::array<QString, 3> elements;
    int gray = 0;
  };
  void Act(const char* name, const QString& text);
  Sighting Look(int seed);
  QImage Plain();
  void Confirm(const Sighting& seen);

  int Any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

  std::mt19937 random_{1};
  PreviewMaker maker_{TheHostState()};
  std::array<PreviewImage, 3> shown_;
};

// Whether an outline is drawn on the left of an area, or this is not seen.
bool IsOutlined(ImageView& view, const QRect& area) {
  const QPoint left = PointOf(view, {1.0 * area.x(), area.y() + area.height() / 2.0});
  const QRect around(left - QPoint(3, 0), QSize(7, 1));  // of a small pixel it is larger
  const QImage shown = view.viewport()->grab(around).toImage();
  bool found = !view.viewport()->rect().contains(around);
  for (int x = 0; x < 7 && !found; ++x) found = shown.pixel(x, 0) == qRgb(255, 220, 60);
  return found;
}

// As a user does; keys in a view, or a drag, which draws a region or moves the image.
void PreviewTest::Act(const char* name, const QString& text) {
  QWidget& widget = Find(name);
  if (!widget.isVisible() || !widget.isEnabled()) return;
  if (auto* const view = dynamic_cast<ImageView*>(&widget); view && text.isEmpty()) {
    const QPoint from(Any(view->width()), Any(view->height()));
    const QPoint to(Any(view->width()), Any(view->height()));
    Drag(*view->viewport(), from, to, Any(4) ? Qt::ShiftModifier : Qt::NoModifier);
  } else if (view) {
    QTest::keyClicks(view, text);
  } else if (text.endsWith('\r')) {
    Type(name, text);
  } else {
    Set(name, text);
  }
}

// Waits for all that is shown, and pins a pixel.
PreviewTest::Sighting PreviewTest::Look(int seed) {
  Settle();  // may change the layout, and that what is shown
  Sighting seen;
  seen.seed = seed;
  seen.command = CurrentCommand();
  seen.notes = Notes();
  const auto number = [this](const char* name) { return Find<QSpinBox>(name).value(); };
  seen.band = number("Band");
  auto& view = Find<ImageView>("Result preview");
  seen.pictured = !view.Picture().isNull();
  if (!seen.pictured) return seen;
  seen.whole = true;
  for (const char* const name : {"File1 preview", "File2 preview", "Result preview"})
    seen.whole = seen.whole && (!Find(name).isVisible() || Find<ImageView>(name).Seen().isNull());
  // The picture reaches as far as whole cells do.
  const int columns = number("Looks, columns") * number("Resolution");
  const int rows = number("Looks, rows") * number("Resolution");
  const QRect image = view.sceneRect().toRect();
  const QRect cells = image.adjusted(columns - 1, rows - 1, 1 - columns, 1 - rows);
  const QRectF shown = view.items().front()->sceneBoundingRect();
  EXPECT_TRUE(shown.contains(view.Seen().isNull() ? cells : cells & view.Seen()) &&
              QRectF(image.adjusted(0, 0, columns, rows)).contains(shown))
      << seen.command;
  seen.automatic = !Find("Result low limit").font().bold();
  seen.low = Text(TextOf("Result low limit"));
  seen.high = Text(TextOf("Result high limit"));
  seen.statistics = Find("Result low limit").parentWidget()->toolTip();
  const QRect outline(number("Region, first column"), number("Region, first row"),
                      number("Region, columns"), number("Region, rows"));
  const QRect inside = view.Seen().isNull() ? image : view.Seen().adjusted(1, 1, -1, -1);
  seen.pixel = inside.topLeft() + QPoint(Any(inside.width()), Any(inside.height()));
  const QPoint point = PointOf(view, seen.pixel + QPointF(0.5, 0.5));
  const QPointF there = PlaceAt(view, point);  // a point of the screen may lie in the next pixel
  seen.pixel = QPoint(qFloor(there.x()), qFloor(there.y()));
  seen.gray = qGray(view.viewport()->grab().toImage().pixel(point));
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, point);
  QEvent leaves(QEvent::Leave);
  QApplication::sendEvent(view.viewport(), &leaves);
  const QString named =
      QString("Pinned: column %1, row %2    on the map ").arg(seen.pixel.x()).arg(seen.pixel.y());
  const auto& place = Find<QLabel>("Place under the pointer");
  EXPECT_TRUE(WaitFor([&] { return place.text().startsWith(named); }))
      << place.text().toStdString() << " instead of " << named.toStdString();
  seen.place = place.text().section(' ', -2);
  EXPECT_TRUE(IsOutlined(view, QRect(seen.pixel, QSize(1, 1))));
  EXPECT_TRUE(!Find<QCheckBox>("Region").isChecked() || IsOutlined(view, outline));
  const auto& table = Find<QTableWidget>("Elements");
  for (const Image i : {kFile1, kFile2, kResult})
    for (int row = 0; row < 5; ++row) seen.elements[i] += table.item(row, i)->text() + " ";
  QTest::keyClick(window_.get(), Qt::Key_Escape);
  EXPECT_EQ(place.text() + table.item(0, kResult)->text(),
            "Point at an image to read its elements.");
  return seen;
}

// How the window looks without what no command keeps, with the elements in the middle.
QImage PreviewTest::Plain() {
  Find("Run").setFocus();
  QTest::keyClick(window_.get(), Qt::Key_Escape);
  for (QLineEdit* const field : window_->findChildren<QLineEdit*>()) {
    field->setClearButtonEnabled(false);  // appears slowly
    field->home(false);
  }
  for (const auto key : {Qt::Key_0, Qt::Key_L})
    QTest::keyClick(window_.get(), key, Qt::ControlModifier);
  for (const char* const name : {"Band", "Messages"}) Find(name).hide();  // of what came before
  Find<QSpinBox>("Band").setValue(1);
  if (auto& without = Find<QComboBox>("Resampling"); !without.isEnabled())
    without.setCurrentIndex(0);
  Settle();
  auto& view = Find<ImageView>("Result preview");
  if (view.Picture().isNull()) {
    Find<QSpinBox>("Band").setRange(1, 1);  // a run that is not possible changes no offer
  } else {
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.rect().center());
    EXPECT_TRUE(WaitFor(
        [&] { return Find<QLabel>("Place under the pointer").text().startsWith("Pinned"); }));
  }
  QImage plain;
  EXPECT_TRUE(WaitFor([&] {  // to look may change the layout
    Settle();
    for (QComboBox* const box : window_->findChildren<QComboBox*>())
      box->setAttribute(Qt::WA_UnderMouse, false);  // is brighter where the mouse happens to be
    return std::exchange(plain, window_->grab().toImage()) == plain;
  }));
  QTest::keyClick(window_.get(), Qt::Key_Escape);
  return plain;
}

void PreviewTest::Confirm(const Sighting& seen) {
  SCOPED_TRACE(seen.command);
  if (!seen.command.starts_with("lumomixcalc ")) {
    EXPECT_FALSE(seen.pictured);
    return;
  }
  std::optional<Made> made;
  try {
    const MessageRedirection told([&seen](const std::string& sentence) {
      static const std::regex ofAll("warning: (band .*|.* imaginary parts.*)");  // known at the end
      EXPECT_TRUE(std::regex_match(sentence, ofAll) ||
                  seen.notes.find(sentence.substr(sentence.find(' ') + 1, 60)) != std::string::npos)
          << sentence << seen.notes;
    });
    made = Run(ReadCommandLine(ArgumentsOf(seen.command)).job, seen.command, "out.tif");
  } catch (const Desisted&) {  // has told the reason
    return;
  } catch (const Failure& failure) {
    EXPECT_NE(seen.notes.find(std::string(failure.what()).substr(0, 20)), std::string::npos)
        << seen.notes << failure.what();
    return;
  }
  EXPECT_TRUE(seen.pictured) << seen.notes;
  const auto expectElement = [&seen](Image image, const Made& file) {
    const auto element = file.At(seen.pixel, seen.band);
    const auto [real, imaginary] = element.value_or(std::array{0.0, 0.0});
    const auto decimal = [](double value) {
      const auto single = static_cast<float>(value);
      return Text(single == value ? ShortestText(single) : ShortestText(value));
    };
    QStringList cells = {decimal(real), decimal(imaginary)};
    for (const double figure : {std::hypot(real, imaginary), std::atan2(imaginary, real),
                                std::atan2(imaginary, real) * 180 / std::numbers::pi})
      cells << QString::number(figure, 'g', 7);
    if (!file.IsComplex()) cells = {cells.front(), "", "", "", ""};
    if (!element || std::isnan(real)) cells = {element ? "no data" : "\u2014", "", "", "", ""};
    EXPECT_EQ(seen.elements[image], cells.join(' ') + ' ')
        << seen.elements[image].toStdString() << " at " << seen.pixel.x() << ' ' << seen.pixel.y();
    return element;
  };
  const auto result = expectElement(kResult, *made);
  std::map<Image, Made> reads;
  for (const auto& [stream, file] : made->job.inputs)
    reads[stream == lumomixcalc::kFile1Stream ? kFile1 : kFile2] = ReadFor(*made, stream);
  for (const auto& [image, read] : reads)
    if (result) expectElement(image, read);
  // Previews show the same, also of few cells, or of a part.
  ReadCommandLine(ArgumentsOf(seen.command));
  View view = {seen.band, {}, seen.seed % 2 ? 30 : 1e6};
  if (seen.seed % 4 == 0) view.seen = {seen.pixel, QSize(20, 15)};
  const auto show = [this](auto position, const auto& image) { shown_[position] = image; };
  std::stop_source cancelled;
  cancelled.request_stop();
  Job other = made->job;  // whose elements lie in the same places
  other.selection.resampling = Resampling::kAverage;
  if (seen.seed % 3 != 0) other.elements.noData = 3;
  maker_.Make(other, other, view, {}, show);
  try {
    maker_.Make(made->job, made->job, view, cancelled.get_token(), show);
  } catch (const Cancelled&) {  // unless nothing more was to be read
  }
  const Findings findings = maker_.Make(made->job, made->job, view, {}, show);
  const int compared = Compare(kResult, *made, seen.band);
  const bool canChange = made->job.outputNoData || (made->job.mode && made->job.mode->integer);
  EXPECT_EQ(findings.elements, canChange ? compared : 0);
  const int step = shown_[kResult].step;
  const auto sampled = [step](int count) { return (count + step - 1) / step; };
  EXPECT_TRUE(!view.seen.isNull() ||
              compared == sampled(made->grid.columns) * sampled(made->grid.rows))
      << compared;
  const Looks looks = step > 1 ? Looks() : made->grid.looks;
  for (const auto& [image, read] : reads)
    EXPECT_EQ(Compare(image, read, seen.band), compared * looks.x * looks.y);
  const bool isSecond = made->job.inputs.begin()->second.ends_with("f2.tif");  // comes first
  EXPECT_EQ(seen.place,
            QString("%1, %2")
                .arg(612345.25 + (isSecond ? 84 : 0) + 10.5 * seen.pixel.x(), 0, 'g', 10)
                .arg(5412345.75 + (isSecond ? 42 : 0) - 10.5 * seen.pixel.y(), 0, 'g', 10));
  auto [low, high, mean, deviation] = std::array{0.0, 0.0, 0.0, 0.0};
  if (made->Band(seen.band).ComputeStatistics(false, &low, &high, &mean, &deviation, nullptr,
                                              nullptr))
    return;
  // The run counts results that equal the value for no data; GDAL does not.
  if (seen.whole && std::isfinite(mean) && !made->job.outputNoData) {
    static const QRegularExpression figures(
        "minimum (.+), maximum (.+), mean (.+), deviation (.+)\n");
    const QRegularExpressionMatch match = figures.match(seen.statistics);
    for (int i = 1; const double exact : {low, high, mean, deviation})
      EXPECT_NEAR(match.captured(i++).toDouble(), exact, std::abs(exact) / 150 + 1e-12)
          << seen.statistics.toStdString();
    EXPECT_TRUE(!seen.automatic || seen.low.toFloat() == QString::number(low, 'g', 6).toFloat());
    EXPECT_TRUE(!seen.automatic || seen.high.toFloat() == QString::number(high, 'g', 6).toFloat());
  }
  if (!result || std::isnan((*result)[0]) || low == high) return;
  const double share =
      ((*result)[0] - seen.low.toDouble()) / (seen.high.toDouble() - seen.low.toDouble());
  EXPECT_NEAR(seen.gray, std::clamp(share, 0.0, 1.0) * 255, 2)
      << seen.pixel.x() << ' ' << seen.pixel.y();
}

TEST_F(PreviewTest, WindowShowsWhatItsCommandMakesWhateverIsChosen) {
  MakeRaster("f1.tif", 60, 40, 0.5, 2, GDT_Float32, true);
  MakeRaster("f2.tif", 50, 50, 0.25, 2, GDT_CFloat32, true);
  MakeRaster("f3.tif", 60, 40, 0.1, 1, GDT_Float64);
  for (const char* const file : {"f1.tif", "f2.tif"}) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file, GA_Update));
    dataset->GetRasterBand(1)->SetNoDataValue(5);
    dataset->BuildOverviews("AVERAGE", 1, std::array{2}.data(), 0, nullptr, nullptr, nullptr);
  }
  for (const char* const file : {"f1.tfw", "f3.tfw"})
    std::ofstream(file) << "10.5\n0\n0\n-10.5\n612345.25\n5412345.75";
  std::ofstream("f2.tfw") << "10.5\n0\n0\n-10.5\n612429.25\n5412387.75";  // 8 right, 4 up
  const std::pair<const char*, QString> kDisplay[] = {{"Stretch", "Min\u2013max"},
                                                      {"Result part", "Real part"},
                                                      {"Result colours", "Grey"},
                                                      {"File1 colours", "Centred on zero"}};
  const QString folder = folder_.path() + "/";
  const std::pair<const char*, QStringList> kChoices[] = {
      {"File1", {folder + "f1.tif", folder + "f3.tif", ""}},
      {"File1", {folder + "f3.tif"}},
      {"File2", {folder + "f2.tif", folder + "f1.tif", ""}},
      {"Operator", {"(A*File1) * B", "ABS(A*File1)", "A / (B*File2)"}},
      {kA, {"2", "-0.5", "3e+07"}},
      {"File1 Coeff (A), number 2 of 2", {"0.25"}},
      {kB, {"3", "-1"}},
      {"Clamp at 0?", {""}},
      {"Swap", {""}},
      {"Result preview", {"", ""}},
      {"Shared area only", {""}},
      {"Resolution", {"1", "2", "3"}},
      {"Resampling", {"nearest", "average", "bilinear", "cubic", "overview"}},
      {"Looks, columns", {"1", "1", "3"}},
      {"Looks, rows", {"1", "1", "2"}},
      {"Data type",
       {"automatic", "float (float32)", "16-bit integer (int16)", "8-bit unsigned (byte)",
        "32-bit integer (int32)", "double (float64)"}},
      {"Band", {"1", "2"}},
      {"Stretch", {"Logarithm"}},
      {"Result colours", {"Centred on zero"}},
      {"Result low limit", {"5\r"}},
      {"File1 high limit", {"5\r"}},
      {"Other options", {"\b\r", "-nodata=10\r", "-nodata=keep\r", "-bands=2\r", "-a_nodata=0\r"}},
      {"File1 preview", {"", ""}},
      {"Result preview", {"+++", "---------", "", ""}}};
  Open(std::string(kFiles) + " -extent=intersection");
  for (const auto& [name, text] : kDisplay) Set(name, text);
  window_.reset();
  const QString start = QSettings().value("command").toString();
  const int first = std::max(1, qEnvironmentVariableIntValue("FIRST_SEED"));
  for (int seed = first; seed < first + 12; ++seed) {
    SCOPED_TRACE("FIRST_SEED=" + std::to_string(seed));  // repeats it
    random_.seed(static_cast<unsigned>(seed));
    QSettings().setValue("command", start + (seed % 2 ? "" : " -region=11:6:37:29") +
                                        (seed % 3 ? "" : " -a_nodata=0") +
                                        (seed % 5 ? "" : " -looks=3:1"));
    Open("");
    for (int n = 4 + Any(8); n > 0; --n) {
      if (Any(3) == 0) Settle();
      const auto& [name, texts] = kChoices[Any(std::size(kChoices))];
      Act(name, texts[Any(static_cast<int>(texts.size()))]);
    }
    for (const auto& [name, text] : kDisplay) Set(name, text);
    const Sighting seen = Look(seed);
    const QImage plain = Plain();
    Open("");
    for (const std::string& command : std::initializer_list<std::string>{
             "lumomixcalc f3.tif o.tif -operator=abs_a1 -region=1:2:8:9 -resolution=3 -looks=3:2 "
             "-resampling=cubic -mode=byte -format=ENVI -nodata=3 -clamp -strict",
             QSettings().value("command").toString().toStdString()}) {
      Set(kB, "77");
      Paste(command);
      EXPECT_TRUE(WaitFor([&] { return TextOf(kB) != "77"; }));
    }
    EXPECT_TRUE(Plain() == plain) << seen.command;
    window_.reset();
    Confirm(seen);
  }
}

TEST_F(PanelWindowTest, ElementsUnderThePointerAreThoseOfThePixelAndTheSettings) {
  Open(kFiles);
  const auto named = [this] { return Find<QLabel>("Place under the pointer").text(); };
  auto& view = Pictured("File1 preview");
  QTest::keyClicks(&view, "++++++");
  for (int i = 0; i < 60; ++i) QTest::keyClick(&view, Qt::Key_Left);
  for (int i = 0; i < 2; ++i) QTest::keyClick(&view, Qt::Key_Up);
  EXPECT_TRUE(WaitFor([&] { return named() == "Pinned: column 0, row 18"; }))
      << named().toStdString();
  EXPECT_TRUE(view.Seen().contains(0, 18));  // has followed
  QTest::keyClick(&view, Qt::Key_Right);
  EXPECT_TRUE(WaitFor([&] { return named() == "Pinned: column 1, row 18"; }));
  QTest::mouseMove(view.viewport(), {50, 60});
  EXPECT_TRUE(IsOutlined(view, QRect(1, 18, 1, 1)));
  view.setFocus();
  QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
  const QString table = QGuiApplication::clipboard()->text();
  EXPECT_TRUE(table.contains(QRegularExpression("^Pinned.*\n\tFile1.*\nValue\t1801\t3602\t5403\n")))
      << table.toStdString();
  QTest::mouseDClick(&Find("Place under the pointer"), Qt::LeftButton, {}, {9, 5});
  QTest::keyClick(window_->focusWidget(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "Pinned");
  QTest::keyClick(&view, Qt::Key_Escape);
  QTest::keyClick(window_.get(), Qt::Key_0, Qt::ControlModifier);
  MakeRaster("f1.tif", 60, 40, 2);  // is noticed
  for (const double place : {10.97, 21.97, 32.97, 37.97}) ExpectElements({place, place}, kFile1, 2);
}

TEST_F(PanelWindowTest, CoarseAndLongThinPreviewsShowPixelsInTheirPlacesAndReadThemOnce) {
  MakeRaster("f1.tif", 2400, 1300, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  Set("Stretch", "Min\u2013max");
  Pictured("Result preview");
  EXPECT_EQ(Find("Result preview").accessibleDescription(), "1 of 3 \u00d7 3 cells");
  ExpectElements({391, 541}, kResult, 1);
  const auto bytesRead = [] { return std::stol(Bytes("/proc/self/io").substr(7)); };
  const long before = bytesRead();
  Set(kA, "0");
  ExpectElements({391, 541}, kResult, 0);
  EXPECT_LT(bytesRead() - before, 4000000);  // of 8 million
  Set("Images shown", "Result");             // with more room for finer cells
  Pictured("Result preview");
  EXPECT_EQ(Find("Result preview").accessibleDescription(), "1 of 2 \u00d7 2 cells");
  MakeRaster("f1.tif", 5000, 3, 1);
  Open("f1.tif -save=out.tif -operator=a1b");
  auto& view = Pictured("Result preview");
  EXPECT_TRUE(view.Seen().isNull());
  QTest::keyClicks(&view, "+");
  EXPECT_FALSE(view.Seen().isNull());
  EXPECT_GE(view.transform().m22() * 3, 20);
}

TEST_F(PanelWindowTest, AllImagesShowTheSamePlaceDownToSinglePixels) {
  for (const char* const file : {"f1.tif", "f2.tif"}) MakeRaster(file, 2500, 1300, 1, 1);
  Open(kFiles);
  auto& file1 = Pictured("File1 preview");
  auto& result = Pictured("Result preview");
  QTest::keyClicks(&file1, "+");
  Settle();  // the pane of the result is larger and shows all of it
  EXPECT_TRUE(result.Seen().isNull() && !file1.Seen().isNull());
  EXPECT_TRUE(result.items().front()->sceneBoundingRect().contains(result.sceneRect()));
  const QPointF place(2000.5, 700.5);
  QTest::mouseClick(file1.viewport(), Qt::LeftButton, Qt::NoModifier, PointOf(file1, place));
  QTest::mouseDClick(file1.viewport(), Qt::LeftButton, Qt::NoModifier, PointOf(file1, place));
  EXPECT_EQ(result.Scale(), 1);
  Settle();
  EXPECT_TRUE(file1.itemAt(PointOf(file1, place)));  // the picture lies there
  EXPECT_LT(result.Picture().width(), 1250);
  ExpectElements(place, kFile2, 1);
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
  const QPointF middle = PlaceAt(file1, file1.rect().center());
  QTest::keyClick(window_.get(), Qt::Key_1, Qt::ControlModifier);
  EXPECT_LE((PointOf(file1, middle) - file1.rect().center()).manhattanLength(), 2);
  Set("File2");  // the result, of which nothing is seen, does not count
  Settle();
  EXPECT_EQ(file1.accessibleDescription(), "");
  QApplication::sendEvent(result.viewport(), &wheel);
  EXPECT_EQ(file1.Scale(), 1);
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
  Drag(*view.viewport(), PointOf(view, {5, 5}), PointOf(view, {15, 15}), Qt::ShiftModifier);
  EXPECT_EQ(CurrentCommand().find(" -region=0:"), std::string::npos);
}

}  // namespace
}  // namespace lumomixcalc::standalone
