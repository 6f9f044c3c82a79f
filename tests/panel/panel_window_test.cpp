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

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/cli/options.h"
#include "standalone/panel/raster_view.h"
#include "standalone/rasters/gdal_library.h"

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
    gCoeffA[0] = gCoeffB[0] = 1;
    gCoeffA[1] = gCoeffB[1] = 0;
    gOperationChoice = gClampAtZero = 0;
    MakeRaster("f1.tif", 60, 40, 1);
    MakeRaster("f2.tif", 60, 40, 2);
  }

  // As the program does with -panel and these arguments.
  void Open(const std::string& arguments) {
    window_.reset();  // its thread uses the host
    TheHostState() = HostState();
    IPAppSpecifics();
    std::istringstream stream("-panel " + arguments);
    const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    Options options = ReadOptions(words, TheHostState().registration);
    PlaceFiles(options, TheHostState().registration);
    TheHostState().arguments = options.applicationArguments;
    TheHostState().registration.Call(IP_SLOT_READ_CMD_LINE);
    TheHostState().registration.Call(IP_SLOT_SET_MENU);
    window_ = std::make_unique<PanelWindow>(TheHostState(), options.job);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }

  template <typename Widget>
  Widget& Find(const char* name) {
    auto* const widget = window_->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error(std::string("no widget named ") + name);
    return *widget;
  }

  void Type(const char* field, const QString& text) {
    auto& edit = Find<QLineEdit>(field);
    edit.clear();
    QTest::keyClicks(&edit, text);
  }

  void Click(const char* button) { QTest::mouseClick(&Find<QPushButton>(button), Qt::LeftButton); }

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

  QString Messages() { return Find<QPlainTextEdit>("Messages").toPlainText(); }

  // The command once it says what the settings are now.
  std::string CurrentCommand() {
    EXPECT_TRUE(WaitFor([&] { return Find<QPushButton>("Copy").isEnabled(); }));
    return Find<QLineEdit>("Command").text().toStdString();
  }

  // Points at a place of the result, from 0 to 1 in either direction, and waits for its values.
  void ExpectValuesAt(double x, double y, const QString& expected) {
    auto& result = Find<RasterView>("Result preview");
    ASSERT_TRUE(WaitFor([&] { return !result.Picture().isNull(); })) << result.Note().toStdString();
    const auto& values = Find<QLabel>("Values under the pointer");
    // Again and again: a picture that arrives may move the widgets under the pointer.
    EXPECT_TRUE(WaitFor([&] {
      QTest::mouseMove(&result, PointOf(result, x, y));
      return values.text() == expected;
    })) << values.text().toStdString();
  }

  void WaitForRunState(const QString& state) {
    ASSERT_TRUE(WaitFor([&] { return Find<QLabel>("Run state").text() == state; }))
        << Messages().toStdString();
  }

  QTemporaryDir folder_;
  std::unique_ptr<PanelWindow> window_;
};

TEST_F(PanelWindowTest, EditsReachTheRunAndTheCommandThatRepeatsIt) {
  QFile::rename("f1.tif", "it's a $file.tif");
  Open(kFiles);
  EXPECT_TRUE(WaitFor([&] { return Find<QSpinBox>("Region, rows").value() == 40; }));
  const std::function<void()> kEdits[] = {
      [&] { Type("File1", "it's a $file.tif"); },
      [&] { Type(kA, "0,123456781"); },  // the application's echo is the same for A and B
      [&] { Type(kAi, "-1.5e-1"); },
      [&] { Type(kB, "0.12345679"); },
      [&] { Type(kBi, "-0.15"); },
      [&] { Find<QComboBox>("Operator").setCurrentText("(A*File1) / (B*File2)"); },
      [&] { Find<QCheckBox>("Clamp at 0?").click(); },
      [&] { Find<QCheckBox>("Region").click(); },
      [&] { Find<QSpinBox>("Region, first column").setValue(7); },
      [&] { Find<QSpinBox>("Region, columns").setValue(50); },
      [&] { Find<QSpinBox>("Resolution").setValue(2); },
      [&] { Find<QComboBox>("Resampling").setCurrentText("average"); },
      [&] { Find<QComboBox>("Output mode").setCurrentText("cfloat32"); },
      [&] { Find<QComboBox>("Output format").setCurrentText("GTiff"); },
  };
  for (const std::function<void()>& edit : kEdits) {
    const std::string before = CurrentCommand();
    edit();
    EXPECT_NE(CurrentCommand(), before);
  }
  Click("Run");
  WaitForRunState("done");
  const std::string folder = folder_.path().toStdString();
  EXPECT_EQ(
      CurrentCommand(),
      "lumomixcalc '" + folder + "/it'\\''s a $file.tif' " + folder + "/f2.tif " + folder +
          "/out.tif -mode=cfloat32 -format=GTiff -region=7:0:50:40 -resolution=2 "
          "-resampling=average -a=0.12345678:-0.15 -b=0.12345679:-0.15 -operator='a1/b2' -clamp "
          "-overwrite");
  const std::string written = Bytes("out.tif");
  std::ofstream("out.tif") << "other";
  Click("Copy");
  const std::string command = "PATH=" LUMOMIXCALC_TEST_PROGRAM_FOLDER ":$PATH; cd / && " +
                              QGuiApplication::clipboard()->text().toStdString() + " >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_TRUE(Bytes("out.tif") == written);
}

TEST_F(PanelWindowTest, ShowsWhatTheCommandLineSays) {
  const std::string options =
      " -mode=cfloat32 -format=ENVI -co=INTERLEAVE=BIL -region=3:4:20:10 -resolution=2 "
      "-resampling=cubic -bands=1 -nodata=keep -a=0.1:0 -b=1:16777216 -operator=";
  gClampAtZero = 7;  // any but 0 is on
  Open(kFiles + options + "1+b_pow_a");
  EXPECT_TRUE(CurrentCommand().ends_with("/out.tif" + options + "'1+b_pow_a' -clamp"));
  EXPECT_EQ(Find<QLineEdit>(kA).text(), "0.1");
  EXPECT_EQ(Find<QLineEdit>(kBi).text(), "16777216");
  EXPECT_EQ(Find<QComboBox>("Operator").currentText(), "(FILE1 + B)**A");
  EXPECT_TRUE(Find<QCheckBox>("Clamp at 0?").isChecked());
  Find<QCheckBox>("Region").click();
  EXPECT_EQ(CurrentCommand().find(" -region="), std::string::npos);
}

TEST_F(PanelWindowTest, RunThatIsCancelledClosedOrEndedBySignalLeavesNothing) {
  MakeRaster("f1.tif", 2000, 2000, 1);  // large enough to be caught during the run
  Open("f1.tif out.tif -a=1:0.5 -operator=1+b_pow_a");
  const auto run = [this] {
    Click("Run");
    EXPECT_FALSE(Find<QComboBox>("Operator").isEnabled());
    ASSERT_TRUE(WaitFor([] { return !OnlyTheInputsAreThere(); }));
  };
  const std::function<void()> kCancels[] = {
      [this] { Click("Cancel"); }, [this] { QTest::keyClick(window_.get(), Qt::Key_Escape); }};
  for (const std::function<void()>& cancel : kCancels) {
    run();
    cancel();
    WaitForRunState("cancelled");
    EXPECT_TRUE(OnlyTheInputsAreThere());
    EXPECT_TRUE(Find<QComboBox>("Operator").isEnabled());
  }
  run();
  AnswerNextQuestion("Cancel");
  EXPECT_FALSE(window_->close());
  AnswerNextQuestion("Cancel the run and close");
  EXPECT_TRUE(window_->close());
  window_.reset();
  EXPECT_TRUE(OnlyTheInputsAreThere());

  Open("f1.tif out.tif -a=1:0.5 -operator=1+b_pow_a");
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
  Click("Run");
  WaitForRunState("done");
  EXPECT_NE(Bytes("out.tif"), "precious");
}

TEST_F(PanelWindowTest, SaysWhyTheRunFailedInTheWordsOfItsFields) {
  Open(kFiles);
  const auto& result = Find<RasterView>("Result preview");
  for (const auto& [file, message] : std::map<QString, QString>{
           {"", "Operation requires File2, but it does not exist."}, {"none.tif", "none.tif"}}) {
    Type("File2", file);
    EXPECT_TRUE(WaitFor([&, text = message] { return result.Note().contains(text); }));
    Click("Run");
    WaitForRunState("failed");
    EXPECT_TRUE(Messages().contains(message)) << Messages().toStdString();
  }
  Type("File2", "f2.tif");
  Find<QCheckBox>("Region").click();
  Find<QSpinBox>("Region, columns").setValue(61);
  Click("Run");
  WaitForRunState("failed");
  EXPECT_TRUE(Messages().contains("Region 0:0:61:40 is not inside")) << Messages().toStdString();
}

TEST_F(PanelWindowTest, ShowsAWarningOfThePreviewOnce) {
  for (const auto& [file, zone] : {std::pair("f1.tif", 32631), {"f2.tif", 32632}}) {
    OGRSpatialReference system;
    system.importFromEPSG(zone);
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file, GDAL_OF_UPDATE));
    dataset->SetSpatialRef(&system);
  }
  Open(kFiles);
  EXPECT_TRUE(WaitFor([&] { return Messages().contains("do not lie in the same place"); }));
  Type(kB, "2");
  ExpectValuesAt(0.5, 0.5,
                 "Column 30, row 20    File1: 2030 + 1i    File2: 4060 + 2i    Result: "
                 "10150 + 5i");
  EXPECT_EQ(Messages().count("warning"), 1) << Messages().toStdString();
}

TEST_F(PanelWindowTest, SaysWhatKeepsItFromRunningAndOffersNoCommand) {
  Open(kFiles);
  EXPECT_FALSE(CurrentCommand().empty());
  auto& field = Find<QLineEdit>(kA);
  const auto expectNoRun = [this](const QString& message) {
    EXPECT_FALSE(Find<QPushButton>("Copy").isEnabled());
    Click("Run");
    EXPECT_TRUE(Messages().contains(message)) << Messages().toStdString();
    EXPECT_TRUE(OnlyTheInputsAreThere());
  };
  for (const QString text :
       {"abc", "", " ", "1,234.5", "1.234,5", "1,2,3", "1 000", "1d3", "1e99"}) {
    Type(kA, text);
    EXPECT_FALSE(field.toolTip().isEmpty());
    expectNoRun("\u201c" + text + "\u201d is not a number");
  }
  for (const auto& [text, number] : std::map<QString, std::string>{{"\u22122,5", "-2.5"},
                                                                   {" 1,5E+2 ", "150"},
                                                                   {",5", "0.5"},
                                                                   {"inf", "inf"},
                                                                   {"16777217", "16777216"}}) {
    field.setText("x");
    field.setText(text);
    EXPECT_TRUE(field.toolTip().isEmpty());
    EXPECT_NE(CurrentCommand().find(" -a=" + number + ":0 "), std::string::npos) << number;
  }
  Type("Save", "");
  EXPECT_TRUE(WaitFor([&] { return !Find<QLineEdit>("Command").isEnabled(); }));
  expectNoRun("no file to write");
}

TEST_F(PanelWindowTest, KeysStepAFieldAndCopyTheCommandUnlessTextIsSelected) {
  Open(kFiles);
  auto& field = Find<QLineEdit>(kA);
  Type(kA, "0.100000001490116");
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
    ExpectValuesAt(30.5 / 60, 35.5 / 40, "Column 30, row 35    " + expected);
  };
  expectValues("File1: 3530 + 1i    File2: 7060 + 2i    Result: 10590 + 3i");
  Type(kB, "-2");
  expectValues("File1: 3530 + 1i    File2: 7060 + 2i    Result: -10590 \u2212 3i");
  Find<QSpinBox>("Band").setValue(2);
  expectValues("File1: 3530 + 2i    File2: 7060 + 4i    Result: -10590 \u2212 6i");
  MakeRaster("f2.tif", 60, 40, 3, 1);  // one band, which goes with every band of File1
  Type(kB, "1");
  expectValues("File1: 3530 + 2i    File2: 10590 + 3i    Result: 14120 + 5i");
  const QImage magnitude = Find<RasterView>("Result preview").Picture();
  Find<QComboBox>("Result part").setCurrentText("Phase");
  EXPECT_NE(Find<RasterView>("Result preview").Picture(), magnitude);
}

TEST_F(PanelWindowTest, CoarsePreviewShowsThePixelsInTheirPlaces) {
  MakeRaster("f1.tif", 1300, 900, 1);  // one of 3 x 3 pixels is shown; the last column is left out
  Open("f1.tif out.tif -operator=a1b");
  Find<QComboBox>("Stretch").setCurrentText("Min to max");
  auto& result = Find<RasterView>("Result preview");
  ASSERT_TRUE(WaitFor([&] { return result.Picture().size() == QSize(433, 300); }));
  EXPECT_EQ(result.Picture().pixel(0, 0), 0xFF000000);
  EXPECT_EQ(result.Picture().pixel(432, 299), 0xFFFFFFFF);
  EXPECT_NEAR(qGray(result.Picture().pixel(216, 150)), 128, 2);
  int column = 0, row = 0, file1 = 0;
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
  auto& view = Find<RasterView>("File1 preview");
  ASSERT_TRUE(WaitFor([&] { return view.Picture().width() == 60; }));
  QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.75, 0.5));
  QTest::mouseMove(&view, PointOf(view, 0.5, 0.75));
  QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.25, 0.8));
  EXPECT_NE(CurrentCommand().find(" -region="), std::string::npos);
  EXPECT_NEAR(Find<QSpinBox>("Region, first column").value(), 15, 1);
  EXPECT_NEAR(Find<QSpinBox>("Region, rows").value(), 12, 1);
  auto& result = Find<RasterView>("Result preview");
  const QRectF outline = result.Outline().value();
  EXPECT_NEAR(outline.bottom(), 0.8, 0.03);
  EXPECT_NEAR(outline.right(), 0.75, 0.02);
  QTest::mouseMove(&result, QPoint(1, 1));  // no mark
  const QImage screen = result.grab().toImage();
  const QPoint edge = PointOf(result, outline.left(), 0.6);
  int yellow = 0;
  for (int x = edge.x() - 3; x <= edge.x() + 3; ++x)
    if (screen.pixelColor(x, edge.y()) == QColor(255, 220, 60)) ++yellow;
  EXPECT_EQ(yellow, 1);
}

TEST_F(PanelWindowTest, RemembersSizeDisplayAndFilesUnlessOthersAreGiven) {
  Open(kFiles);
  window_->resize(790, 690);
  Find<QComboBox>("Stretch").setCurrentIndex(2);
  Find<QComboBox>("Result part").setCurrentIndex(3);
  window_->close();
  Open("");
  EXPECT_EQ(window_->size(), QSize(790, 690));
  EXPECT_EQ(Find<QComboBox>("Stretch").currentIndex(), 2);
  EXPECT_EQ(Find<QComboBox>("Result part").currentIndex(), 3);
  EXPECT_EQ(Find<QLineEdit>("File2").text(), folder_.filePath("f2.tif"));
  Open("f2.tif");
  EXPECT_EQ(Find<QLineEdit>("File1").text(), "f2.tif");
  EXPECT_EQ(Find<QLineEdit>("File2").text(), "");
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
            "of 2; File2 Coeff (B) 2 of 2; Operator; Clamp at 0?; Region; Resolution; Output mode; "
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
  // The build lists the tests; it needs no application for that.
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  const QTemporaryDir settings;
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
  QCoreApplication::setOrganizationName("lumomixcalc");
  lumomixcalc::standalone::SetUpGdal();
  return RUN_ALL_TESTS();
}
