// Drives the real window, on a platform without a screen, over real files.
#include "standalone/panel/panel_window.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <clocale>
#include <complex>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "standalone/panel/raster_view.h"
#include "standalone/rasters/gdal_library.h"
#include "tests/standalone/command_lines.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kFiles = "f1.tif f2.tif out.tif ";
// The fields of the coefficients, by name.
constexpr const char* kA = "File1 Coeff (A), number 1 of 2";
constexpr const char* kAi = "File1 Coeff (A), number 2 of 2";
constexpr const char* kB = "File2 Coeff (B), number 1 of 2";
constexpr const char* kBi = "File2 Coeff (B), number 2 of 2";

// Elements are factor * (x + 100 y + band i).
void MakeRaster(const char* file, int columns, int rows, double factor, int bands = 2) {
  std::vector<std::complex<double>> elements;
  for (int band = 1; band <= bands; ++band)
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x)
        elements.emplace_back(factor * (x + 100 * y), factor * band);
  GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      file, columns, rows, bands, GDT_CFloat32, nullptr));
  ASSERT_EQ(CE_None, dataset->RasterIO(GF_Write, 0, 0, columns, rows, elements.data(), columns,
                                       rows, GDT_CFloat64, bands, nullptr, 0, 0, 0, nullptr));
}

std::string Bytes(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

bool OnlyTheInputsAreThere() {
  return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) ==
         QStringList{"f1.tif", "f2.tif"};
}

// A point of the picture, from 0 to 1 in either direction.
QPoint PointOf(const RasterView& view, double x, double y) {
  const QRectF area = view.PictureArea();
  return QPointF(area.x() + x * area.width(), area.y() + y * area.height()).toPoint();
}

bool WaitFor(const std::function<bool()>& condition) {
  constexpr int kMostMs = 30000;
  return QTest::qWaitFor(condition, kMostMs);
}

// Each test is in a folder of its own, with two inputs.
class PanelWindowTest : public ::testing::Test {
 protected:
  PanelWindowTest() {
    QDir::setCurrent(folder_.path());
    QSettings().clear();
    MakeRaster("f1.tif", 60, 40, 1);
    MakeRaster("f2.tif", 60, 40, 2);
  }

  // As the program does with -panel and these arguments.
  void Open(const std::string& arguments) {
    window_.reset();  // its thread uses the host
    std::istringstream stream("-panel " + arguments);
    const Job job = ReadCommandLine({std::istream_iterator<std::string>(stream), {}}).job;
    gClampAtZero *= 7;  // any but 0 is on
    TheHostState().registration.Call(IP_SLOT_SET_MENU);
    window_ = std::make_unique<PanelWindow>(TheHostState(), job);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }

  template <typename Widget = QWidget>
  Widget& Find(const char* name) {
    auto* const widget = window_->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error(std::string("no widget named ") + name);
    return *widget;
  }

  // Types, chooses or clicks, whatever the widget is for.
  void Set(const char* name, const QString& text = "") {
    QWidget& widget = Find(name);
    if (auto* const edit = qobject_cast<QLineEdit*>(&widget)) {
      edit->clear();
      QTest::keyClicks(edit, text);
    } else if (auto* const list = qobject_cast<QComboBox*>(&widget)) {
      list->setCurrentText(text);
    } else if (auto* const number = qobject_cast<QSpinBox*>(&widget)) {
      number->setValue(text.toInt());
    } else {
      Find<QAbstractButton>(name).click();
    }
  }

  std::string TextOf(const char* name) { return Find<QLineEdit>(name).text().toStdString(); }
  int NumberOf(const char* name) { return Find<QSpinBox>(name).value(); }
  std::string ChoiceOf(const char* name) {
    return Find<QComboBox>(name).currentText().toStdString();
  }
  std::string Messages() { return Find<QPlainTextEdit>("Messages").toPlainText().toStdString(); }
  bool Told(const std::string& text) { return Messages().find(text) != std::string::npos; }

  // Answers the next question by the button of that text.
  void AnswerNextQuestion(const QString& answer) {
    QTimer::singleShot(0, [this, answer] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return AnswerNextQuestion(answer);
      for (QAbstractButton* const button : box->buttons())
        if (button->text().remove('&') == answer) return button->click();
      box->reject();
      FAIL() << "the question has no button " << answer.toStdString();
    });
  }

  // The command once it says what the settings are now.
  std::string CurrentCommand() {
    EXPECT_TRUE(WaitFor([&] { return Find("Copy").isEnabled(); }));
    return TextOf("Command");
  }

  // A view once it has a picture.
  RasterView& Pictured(const char* name) {
    auto& view = Find<RasterView>(name);
    EXPECT_TRUE(WaitFor([&] { return !view.Picture().isNull(); })) << view.Note().toStdString();
    return view;
  }

  // Points at a place of the result, from 0 to 1 in either direction, and waits for its values.
  void ExpectValuesAt(double x, double y, const QString& expected) {
    auto& result = Pictured("Result preview");
    const auto& values = Find<QLabel>("Values under the pointer");
    // Again and again: a picture that arrives may move the widgets under the pointer.
    EXPECT_TRUE(WaitFor([&] {
      QTest::mouseMove(&result, PointOf(result, x, y));
      return values.text() == expected;
    })) << values.text().toStdString();
  }

  void Run(const QString& state) {
    Set("Run");
    WaitForRunState(state);
  }

  void WaitForRunState(const QString& state) {
    ASSERT_TRUE(WaitFor([&] { return Find<QLabel>("Run state").text() == state; })) << Messages();
  }

  QTemporaryDir folder_;
  std::unique_ptr<PanelWindow> window_;
};

TEST_F(PanelWindowTest, EditsReachTheRunAndTheCommandThatRepeatsIt) {
  QFile::rename("f1.tif", "it's a $file.tif");
  Open(kFiles);
  EXPECT_TRUE(WaitFor([&] { return NumberOf("Region, rows") == 40; }));
  for (const auto& [field, text] :
       {std::pair<const char*, const char*>{"File1", "it's a $file.tif"},
        {kA, "0,123456781"},  // the echo is the same for A and B
        {kAi, "-1.5e-1"},
        {kB, "0.12345679"},
        {kBi, "-0.15"},
        {"Operator", "(A*File1) / (B*File2)"},
        {"Clamp at 0?", ""},
        {"Region", ""},
        {"Region, first column", "7"},
        {"Region, columns", "50"},
        {"Resolution", "2"},
        {"Resampling", "average"},
        {"Looks, rows", "3"},
        {"Output mode", "cfloat32"},
        {"Output format", "GTiff"}}) {
    const std::string before = CurrentCommand();
    Set(field, text);
    EXPECT_NE(CurrentCommand(), before);
  }
  Run("done");
  const std::string folder = folder_.path().toStdString();
  EXPECT_EQ(CurrentCommand(),
            "lumomixcalc '" + folder + "/it'\\''s a $file.tif' " + folder + "/f2.tif " + folder +
                "/out.tif -mode=cfloat32 -format=GTiff -region=7:0:50:40 -resolution=2 "
                "-resampling=average -looks=1:3 -a=0.12345678:-0.15 -b=0.12345679:-0.15 "
                "-operator='a1/b2' -clamp "
                "-overwrite");
  const std::string written = Bytes("out.tif");
  std::ofstream("out.tif") << "other";
  Set("Copy");
  const std::string command = "PATH=" LUMOMIXCALC_TEST_PROGRAM_FOLDER ":$PATH; cd / && " +
                              QGuiApplication::clipboard()->text().toStdString() + " >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_TRUE(Bytes("out.tif") == written);
}

TEST_F(PanelWindowTest, ShowsWhatTheCommandLineSays) {
  const std::string options =
      " -mode=cfloat32 -format=ENVI -co=INTERLEAVE=BIL -region=3:4:20:10 -resolution=2 "
      "-resampling=cubic -looks=2:1 -bands=1 -nodata=keep -a=0.1:0 -b=1:16777216 -operator=";
  Open(kFiles + options + "1+b_pow_a -clamp");
  EXPECT_TRUE(CurrentCommand().ends_with("/out.tif" + options + "'1+b_pow_a' -clamp"));
  EXPECT_EQ(TextOf(kA), "0.1");
  EXPECT_EQ(TextOf(kBi), "16777216");
  EXPECT_EQ(ChoiceOf("Operator"), "(FILE1 + B)**A");
  EXPECT_TRUE(Find<QCheckBox>("Clamp at 0?").isChecked());
  Set("Region");
  EXPECT_EQ(CurrentCommand().find(" -region="), std::string::npos);
}

TEST_F(PanelWindowTest, RunThatIsCancelledClosedOrEndedBySignalLeavesNothing) {
  MakeRaster("f1.tif", 1500, 1500, 1);  // large enough to be caught during the run
  const char* const arguments = "f1.tif out.tif -a=1:0.5 -operator=1+b_pow_a";
  Open(arguments);
  const auto run = [this] {
    EXPECT_FALSE(Find("Cancel").isEnabled());
    Set("Run");
    EXPECT_FALSE(Find("Operator").isEnabled());
    EXPECT_TRUE(Find("Cancel").isEnabled());
    ASSERT_TRUE(WaitFor([] { return !OnlyTheInputsAreThere(); }));
  };
  for (const bool byKey : {false, true}) {
    run();
    byKey ? QTest::keyClick(window_.get(), Qt::Key_Escape) : Set("Cancel");
    WaitForRunState("cancelled");
    EXPECT_TRUE(OnlyTheInputsAreThere());
    EXPECT_TRUE(Find("Operator").isEnabled());
  }
  run();
  AnswerNextQuestion("Cancel");
  EXPECT_FALSE(window_->close());
  AnswerNextQuestion("Cancel the run and close");
  EXPECT_TRUE(window_->close());
  window_.reset();
  EXPECT_TRUE(OnlyTheInputsAreThere());

  Open(arguments);
  run();
  QTimer::singleShot(0, [] { QCoreApplication::exit(); });  // what the program does on a signal
  QCoreApplication::exec();
  window_.reset();
  EXPECT_TRUE(OnlyTheInputsAreThere());
}

TEST(PanelProgram, EndsByASignal) {
  QProcess program;
  program.start(LUMOMIXCALC_TEST_PROGRAM_FOLDER "/lumomixcalc-panel", QStringList());
  ASSERT_TRUE(program.waitForStarted());
  const std::string maps = "/proc/" + std::to_string(program.processId()) + "/maps";
  ASSERT_TRUE(WaitFor([&] { return Bytes(maps).find("qoffscreen") != std::string::npos; }));
  program.terminate();
  ASSERT_TRUE(program.waitForFinished());
  EXPECT_TRUE(program.exitStatus() == QProcess::CrashExit || program.exitCode() == 128 + SIGTERM);
}

TEST_F(PanelWindowTest, AsksBeforeItReplacesAFile) {
  std::ofstream("out.tif") << "precious";
  Open(kFiles);
  AnswerNextQuestion("Cancel");
  QTest::keyClick(window_.get(), Qt::Key_R, Qt::ControlModifier);
  EXPECT_EQ(Bytes("out.tif"), "precious");
  AnswerNextQuestion("Replace");
  Run("done");
  EXPECT_NE(Bytes("out.tif"), "precious");
}

TEST_F(PanelWindowTest, SaysWhyTheRunFailedInTheWordsOfItsFields) {
  Open(kFiles);
  const auto& result = Find<RasterView>("Result preview");
  for (const auto& [file, message] :
       {std::pair("", "Operation requires File2, but it does not exist."), {"no.tif", "no.tif"}}) {
    Set("File2", file);
    EXPECT_TRUE(WaitFor([&, text = message] { return result.Note().contains(text); }));
    Run("failed");
    EXPECT_TRUE(Told(message)) << Messages();
  }
  Set("File2", "f2.tif");
  Set("Region");
  Set("Region, columns", "61");
  Run("failed");
  EXPECT_TRUE(Told("Region 0:0:61:40 is not inside")) << Messages();
}

TEST_F(PanelWindowTest, ShowsAWarningOfThePreviewOnce) {
  for (const auto& [file, zone] : {std::pair("f1.tif", 32631), {"f2.tif", 32632}}) {
    OGRSpatialReference system;
    system.importFromEPSG(zone);
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file, GDAL_OF_UPDATE));
    dataset->SetSpatialRef(&system);
  }
  Open(kFiles);
  EXPECT_TRUE(WaitFor([&] { return Told("do not lie in the same place"); }));
  Set(kB, "2");
  ExpectValuesAt(0.5, 0.5,
                 "Column 30, row 20    File1: 2030 + 1i    File2: 4060 + 2i    Result: "
                 "10150 + 5i");
  EXPECT_EQ(QString::fromStdString(Messages()).count("warning"), 1) << Messages();
}

TEST_F(PanelWindowTest, SaysWhatKeepsItFromRunningAndOffersNoCommand) {
  Open(kFiles);
  EXPECT_FALSE(CurrentCommand().empty());
  auto& field = Find<QLineEdit>(kA);
  const auto expectNoRun = [this](const std::string& message) {
    EXPECT_FALSE(Find("Copy").isEnabled());
    Set("Run");
    EXPECT_TRUE(Told(message)) << Messages();
    EXPECT_TRUE(OnlyTheInputsAreThere());
  };
  for (const std::string text :
       {"abc", "", " ", "1,234.5", "1.234,5", "1,2,3", "1 000", "1d3", "1e99"}) {
    Set(kA, text.c_str());
    EXPECT_FALSE(field.toolTip().isEmpty());
    expectNoRun("\u201c" + text + "\u201d is not a number");
  }
  for (const auto& [text, number] : {std::pair("\u22122,5", "-2.5"),
                                     {" 1,5E+2 ", "150"},
                                     {",5", "0.5"},
                                     {"inf", "inf"},
                                     {"16777217", "16777216"}}) {
    field.setText("x");
    field.setText(text);
    EXPECT_TRUE(field.toolTip().isEmpty());
    EXPECT_NE(CurrentCommand().find(std::string(" -a=") + number + ":0 "), std::string::npos);
  }
  Set("Save", "");
  EXPECT_TRUE(WaitFor([&] { return !Find("Command").isEnabled(); }));
  expectNoRun("no file to write");
}

TEST_F(PanelWindowTest, KeysStepAFieldAndCopyTheCommandUnlessTextIsSelected) {
  Open(kFiles);
  auto& field = Find<QLineEdit>(kA);
  Set(kA, "0.100000001490116");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(field.text(), "0.1");
  for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Down}) QTest::keyClick(&field, key);
  EXPECT_EQ(field.text(), "1.1");
  const std::string command = CurrentCommand();
  QTest::keyClick(&field, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), command);
  field.selectAll();
  QTest::keyClick(&field, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "1.1");
}

TEST_F(PanelWindowTest, PreviewFollowsTheSettingsAndTheFiles) {
  Open(kFiles);
  const auto expectValues = [&](const QString& expected) {
    ExpectValuesAt(30.5 / 60, 35.5 / 40, "Column 30, row 35    File1: 3530 + " + expected);
  };
  expectValues("1i    File2: 7060 + 2i    Result: 10590 + 3i");
  Set(kB, "-2");
  expectValues("1i    File2: 7060 + 2i    Result: -10590 \u2212 3i");
  Set("Band", "2");
  expectValues("2i    File2: 7060 + 4i    Result: -10590 \u2212 6i");
  MakeRaster("f2.tif", 60, 40, 3, 1);  // one band, which goes with every band of File1
  Set(kB, "1");
  expectValues("2i    File2: 10590 + 3i    Result: 14120 + 5i");
  const QImage magnitude = Pictured("Result preview").Picture();
  Set("Result part", "Phase");
  EXPECT_NE(Pictured("Result preview").Picture(), magnitude);
}

TEST_F(PanelWindowTest, CoarsePreviewShowsThePixelsInTheirPlaces) {
  MakeRaster("f1.tif", 1300, 900, 1);  // one of 3 x 3 pixels is shown; the last column is left out
  Open("f1.tif out.tif -operator=a1b");
  Set("Stretch", "Min to max");
  auto& result = Pictured("Result preview");
  const auto gray = [&](int x, int y) { return qGray(result.Picture().pixel(x, y)); };
  EXPECT_EQ(result.Picture().size(), QSize(433, 300));
  EXPECT_EQ(gray(0, 0), 0);
  EXPECT_EQ(gray(432, 299), 255);
  EXPECT_NEAR(gray(216, 150), 128, 2);
  EXPECT_GT(gray(432, 150), gray(0, 150));
  int column = 0;
  int row = 0;
  int file1 = 0;
  EXPECT_TRUE(WaitFor([&] {
    QTest::mouseMove(&result, PointOf(result, 0.3, 0.6));
    const std::string values = Find<QLabel>("Values under the pointer").text().toStdString();
    return std::sscanf(values.c_str(), "Column %d, row %d File1: %d", &column, &row, &file1) == 3 &&
           std::abs(column - 390) <= 3 && std::abs(row - 540) <= 3;
  })) << column
      << ", " << row;
  EXPECT_EQ(file1, (column / 3 * 3 + 1) + 100 * (row / 3 * 3 + 1));
}

TEST_F(PanelWindowTest, DraggingOnThePreviewChoosesAndOutlinesTheRegion) {
  Open(kFiles);
  auto& view = Pictured("File1 preview");
  QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.75, 0.5));
  QTest::mouseMove(&view, PointOf(view, 0.5, 0.75));
  QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.25, 0.8));
  EXPECT_NE(CurrentCommand().find(" -region="), std::string::npos);
  EXPECT_NEAR(NumberOf("Region, first column"), 15, 1);
  EXPECT_NEAR(NumberOf("Region, rows"), 12, 1);
  auto& result = Pictured("Result preview");
  QTest::mouseMove(&result, QPoint(1, 1));  // no mark
  const QImage screen = result.grab().toImage();
  const auto isYellow = [&](QPoint at) { return screen.pixelColor(at) == QColor(255, 220, 60); };
  for (const auto& [x, y] : {std::pair(0.25, 0.6), {0.75, 0.6}, {0.4, 0.5}, {0.4, 0.8}}) {
    int across = 0;
    int down = 0;
    for (int i = -4; i <= 4; ++i) {
      across += isYellow(PointOf(result, x, y) + QPoint(i, 0)) ? 1 : 0;
      down += isYellow(PointOf(result, x, y) + QPoint(0, i)) ? 1 : 0;
    }
    EXPECT_EQ(y == 0.6 ? across : down, 1) << x << " " << y;
  }
}

TEST_F(PanelWindowTest, RemembersSizeDisplayAndFilesUnlessOthersAreGiven) {
  Open(kFiles);
  window_->resize(790, 690);
  Set("Stretch", "Logarithm");
  Set("Result part", "Phase");
  window_->close();
  Open("");
  EXPECT_EQ(window_->size(), QSize(790, 690));
  EXPECT_EQ(ChoiceOf("Stretch"), "Logarithm");
  EXPECT_EQ(ChoiceOf("Result part"), "Phase");
  EXPECT_EQ(TextOf("File2"), folder_.filePath("f2.tif").toStdString());
  Open("f2.tif");
  EXPECT_EQ(TextOf("File1") + " " + TextOf("File2"), "f2.tif ");
}

TEST_F(PanelWindowTest, TakesFilesDroppedOnTheirFields) {
  Open("");
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile("/folder/f2.tif")});
  auto& field = Find<QLineEdit>("File1");
  QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&field, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&field, &drop);
  EXPECT_EQ(field.text(), "/folder/f2.tif");
}

TEST_F(PanelWindowTest, TabGoesFromTopToBottomThroughWidgetsThatScreenReadersCanName) {
  Open(kFiles);
  ASSERT_TRUE(WaitFor([&] { return Find<QComboBox>("Result part").isVisible(); }));
  Find<QLineEdit>("File1").setFocus();
  QString visited;
  do {
    const QWidget* const widget = QApplication::focusWidget();
    const auto* const button = qobject_cast<const QAbstractButton*>(widget);
    EXPECT_FALSE(widget->accessibleName().isEmpty() && (!button || button->text().isEmpty()))
        << "after " << visited.toStdString();
    if (!widget->objectName().isEmpty()) visited += widget->objectName() + "; ";
    QTest::keyClick(window_.get(), Qt::Key_Tab);
  } while (QApplication::focusWidget() != &Find<QLineEdit>("File1") && visited.size() < 1000);
  EXPECT_EQ(visited.replace(", number", "").toStdString(),
            "File1; File2; Save; File1 Coeff (A) 1 of 2; File1 Coeff (A) 2 of 2; File2 Coeff (B) 1 "
            "of 2; File2 Coeff (B) 2 of 2; Operator; Clamp at 0?; Region; Resolution; Looks, "
            "columns; Looks, rows; Output mode; "
            "Output format; Run; Images shown; Stretch; Band; File1 part; File2 part; Result part; "
            "Command; Copy; Messages; ");
}

TEST_F(PanelWindowTest, EveryRowOpensAHelpEntryWithFormulaAndExample) {
  Open("");
  for (const QString label : {"File1 Coeff (A)", "File2 Coeff (B)", "Operator", "Clamp at 0?"}) {
    for (QPushButton* const button : window_->findChildren<QPushButton*>())
      if (button->text() == label) QTest::mouseClick(button, Qt::LeftButton);
    const std::unique_ptr<QDialog> dialog(window_->findChild<QDialog*>("Help"));
    ASSERT_TRUE(dialog) << label.toStdString();
    const QString text = dialog->findChild<QPlainTextEdit*>()->toPlainText();
    EXPECT_TRUE(text.startsWith(label) && text.contains("Example")) << text.toStdString();
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  const QTemporaryDir settings;
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
  QCoreApplication::setOrganizationName("lumomixcalc");
  lumomixcalc::standalone::SetUpGdal();
  return RUN_ALL_TESTS();
}
