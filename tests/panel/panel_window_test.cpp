// Drives the real window, on a platform without a screen, over real files.
#include "standalone/panel/panel_window.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <clocale>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/command_line/numbers.h"
#include "standalone/panel/raster_view.h"
#include "standalone/rasters/gdal_setup.h"

namespace lumomixcalc::standalone {
namespace {

namespace fs = std::filesystem;

// The fields of the coefficients, by name.
constexpr const char* kA = "File1 Coeff (A), number 1 of 2";
constexpr const char* kAi = "File1 Coeff (A), number 2 of 2";
constexpr const char* kB = "File2 Coeff (B), number 1 of 2";
constexpr const char* kBi = "File2 Coeff (B), number 2 of 2";

std::complex<double> ElementAt(int x, int y, double turn) {
  return std::polar(1 + 0.01 * x + 0.003 * y, turn * (y - x));
}

// A complex raster whose elements all differ.
void MakeRaster(const fs::path& file, int columns, int rows, double turn) {
  GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      file.c_str(), columns, rows, 1, GDT_CFloat32, nullptr));
  std::vector<std::complex<double>> row(static_cast<std::size_t>(columns));
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) row[static_cast<std::size_t>(x)] = ElementAt(x, y, turn);
    ASSERT_EQ(CE_None, dataset->GetRasterBand(1)->RasterIO(GF_Write, 0, y, columns, 1, row.data(),
                                                           columns, 1, GDT_CFloat64, 0, 0));
  }
}

std::string Bytes(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
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

class PanelWindowTest : public ::testing::Test {
 protected:
  PanelWindowTest() : folder_(temporary_.path().toStdString()) {
    QSettings().clear();
    MakeRaster(File("f1.tif"), 60, 40, 0.1);
    MakeRaster(File("f2.tif"), 60, 40, 0.07);
  }

  ~PanelWindowTest() override {
    window_.reset();
    for (int part = 0; part < 2; ++part) gCoeffA[part] = gCoeffB[part] = part == 0 ? 1.0F : 0.0F;
    gOperationChoice = gClampAtZero = 0;
  }

  fs::path File(const std::string& name) const { return folder_ / name; }

  Options Files() const {
    Options options;
    options.files = {{1, File("f1.tif")}, {2, File("f2.tif")}, {3, File("out.tif")}};
    return options;
  }

  void Open(const Options& options) {
    window_.reset();  // its thread uses the context
    Context() = RunContext();
    IPAppSpecifics();
    Context().registration.Call(IP_SLOT_SET_MENU);
    window_ = std::make_unique<PanelWindow>(Context(), options);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }

  // Powers of complex data: long enough to be caught in their midst.
  void OpenForALongRun() {
    MakeRaster(File("f1.tif"), 2000, 2000, 0.1);
    Options options = Files();
    options.files.erase(2);
    gOperationChoice = 12;
    gCoeffA[1] = 0.5F;
    Open(options);
  }

  template <typename Widget>
  Widget& Find(const char* name) {
    auto* const widget = window_->findChild<Widget*>(QString::fromUtf8(name));
    if (!widget) throw std::runtime_error(std::string("no widget named ") + name);
    return *widget;
  }

  void Type(const char* field, const char* text) {
    auto& edit = Find<QLineEdit>(field);
    edit.setFocus();
    edit.selectAll();
    QTest::keyClick(&edit, Qt::Key_Backspace);
    QTest::keyClicks(&edit, QString::fromUtf8(text));
  }

  // As a user does: one step down from where the pull-down stands.
  void Pick(const char* field, int choice) {
    auto& box = Find<QComboBox>(field);
    while (box.currentIndex() < choice) QTest::keyClick(&box, Qt::Key_Down);
    while (box.currentIndex() > choice) QTest::keyClick(&box, Qt::Key_Up);
  }

  void Click(const char* button) { QTest::mouseClick(&Find<QPushButton>(button), Qt::LeftButton); }

  // Answers the next question by the button of that text, and keeps the question.
  void AnswerNextQuestion(const QString& answer) {
    QTimer::singleShot(0, [this, answer] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return AnswerNextQuestion(answer);
      question_ = box->text();
      for (QAbstractButton* const button : box->buttons())
        if (button->text().remove(QLatin1Char('&')) == answer) return button->click();
      ADD_FAILURE() << "the question has no button " << answer.toStdString();
      box->reject();
    });
  }

  QString State() { return Find<QLabel>("Run state").text(); }
  QString Messages() { return Find<QPlainTextEdit>("Messages").toPlainText(); }
  // The command once it says what the settings are now.
  QString CurrentCommand() {
    auto& copy = Find<QPushButton>("Copy");
    EXPECT_TRUE(WaitFor([&] { return copy.isEnabled(); }));
    return Find<QLineEdit>("Command").text();
  }

  void RunAndWait(const char* end) {
    Click("Run");
    ASSERT_TRUE(WaitFor([&] { return State() == QLatin1String(end); })) << Messages().toStdString();
  }

  // Runs a command through the shell with this build's program on the path.
  int Shell(const QString& command) {
    return std::system(("PATH=" LUMOMIXCALC_TEST_PROGRAM_FOLDER ":$PATH; cd / && " +
                        command.toStdString() + " >/dev/null")
                           .c_str());
  }

  bool OnlyTheInputsAreThere() {
    std::set<fs::path> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename());
    return names == std::set<fs::path>{"f1.tif", "f2.tif"};
  }

  QTemporaryDir temporary_;
  fs::path folder_;
  std::unique_ptr<PanelWindow> window_;
  QString question_;
};

TEST_F(PanelWindowTest, ShowsTheTitleAndTheValuesThatTheParametersHave) {
  gCoeffA[0] = 0.1F;
  gCoeffB[1] = 16777217.0F;
  gOperationChoice = 12;
  gClampAtZero = 7;
  Open({});
  EXPECT_EQ(window_->windowTitle(), QStringLiteral("LumoMixcalc"));
  EXPECT_EQ(Find<QLineEdit>(kA).text(), QStringLiteral("0.1"));
  EXPECT_EQ(Find<QLineEdit>(kBi).text(), QStringLiteral("16777216"));
  EXPECT_EQ(Find<QComboBox>("Operator").currentText(), QStringLiteral("(FILE1 + B)**A"));
  EXPECT_TRUE(Find<QCheckBox>("Clamp at 0?").isChecked());
}

TEST_F(PanelWindowTest, WritesTheSameFileAsTheBatchCommandForEveryOperator) {
  Open(Files());
  Type(kA, "0,123456789");
  Type(kAi, "-1.5e-1");
  Type(kB, "0.12345679");
  Type(kBi, "3");
  for (int choice = 0; choice < 13; ++choice) {
    Pick("Operator", choice);
    fs::remove(File("out.tif"));
    RunAndWait("done");
    const std::string fromPanel = Bytes(File("out.tif"));
    ASSERT_FALSE(fromPanel.empty());
    const QString command = CurrentCommand();
    fs::remove(File("out.tif"));
    ASSERT_EQ(Shell(command), 0) << command.toStdString();
    EXPECT_TRUE(Bytes(File("out.tif")) == fromPanel) << command.toStdString();
  }
}

TEST_F(PanelWindowTest, WritesTheSameFileAsTheBatchCommandForEverySetting) {
  fs::rename(File("f1.tif"), File("it's a $file.tif"));
  Options options = Files();
  options.files[1] = File("it's a $file.tif");
  Open(options);
  Find<QCheckBox>("Region").click();
  Find<QSpinBox>("Region, first column").setValue(7);
  Find<QSpinBox>("Region, columns").setValue(40);
  Find<QSpinBox>("Region, rows").setValue(30);
  Find<QSpinBox>("Resolution").setValue(2);
  Pick("Resampling", 1);
  Pick("Output mode", 2);  // int16
  Find<QCheckBox>("Clamp at 0?").click();
  Type(kA, "250");
  RunAndWait("done");
  const std::string fromPanel = Bytes(File("out.tif"));
  EXPECT_TRUE(CurrentCommand().endsWith(QStringLiteral(" -overwrite")));
  Click("Copy");
  // The file that it writes exists by now.
  ASSERT_EQ(Shell(QGuiApplication::clipboard()->text()), 0);
  EXPECT_TRUE(Bytes(File("out.tif")) == fromPanel);
  GDALDatasetUniquePtr written(GDALDataset::Open(File("out.tif").c_str()));
  EXPECT_EQ(written->GetRasterXSize(), 20);
  EXPECT_EQ(written->GetRasterYSize(), 15);
  EXPECT_EQ(written->GetRasterBand(1)->GetRasterDataType(), GDT_Int16);
}

TEST_F(PanelWindowTest, ShowsTheOptionsGivenFirst) {
  Options options = Files();
  options.mode = FindDataMode("cfloat32");
  options.format = "ENVI";
  options.creationOptions = {"INTERLEAVE=BIL"};
  options.selection.region = {3, 4, 20, 10};
  options.selection.resolution = 2;
  options.selection.resampling = Resampling::kCubic;
  options.bands = {1};
  Open(options);
  EXPECT_EQ(CurrentCommand().toStdString(),
            "lumomixcalc " + File("f1.tif").string() + " " + File("f2.tif").string() + " " +
                File("out.tif").string() +
                " -mode=cfloat32 -format=ENVI -co=INTERLEAVE=BIL -region=3:4:20:10 -resolution=2 "
                "-resampling=cubic -bands=1 -a=1:0 -b=1:0 -operator='a1+b2'");
  EXPECT_EQ(Find<QComboBox>("Output mode").currentText(), QStringLiteral("cfloat32"));
  EXPECT_EQ(Find<QComboBox>("Output format").currentText(), QStringLiteral("ENVI"));
}

TEST_F(PanelWindowTest, CancelledRunLeavesNothing) {
  OpenForALongRun();
  Click("Run");
  EXPECT_FALSE(Find<QComboBox>("Operator").isEnabled());
  ASSERT_TRUE(WaitFor([&] { return !OnlyTheInputsAreThere(); }));
  QTest::keyClick(window_.get(), Qt::Key_Escape);
  ASSERT_TRUE(WaitFor([&] { return State() == QStringLiteral("cancelled"); }))
      << State().toStdString();
  EXPECT_TRUE(OnlyTheInputsAreThere());
  EXPECT_TRUE(Find<QComboBox>("Operator").isEnabled());
}

TEST_F(PanelWindowTest, ClosingDuringARunAsksAndThenLeavesNothing) {
  OpenForALongRun();
  Click("Run");
  AnswerNextQuestion(QStringLiteral("Cancel"));
  EXPECT_FALSE(window_->close());
  EXPECT_TRUE(question_.contains(QStringLiteral("under way"))) << question_.toStdString();
  AnswerNextQuestion(QStringLiteral("Cancel the run and close"));
  EXPECT_TRUE(window_->close());
  window_.reset();
  EXPECT_TRUE(OnlyTheInputsAreThere());
}

TEST_F(PanelWindowTest, AsksBeforeItReplacesAFile) {
  std::ofstream(File("out.tif")) << "precious";
  Open(Files());
  AnswerNextQuestion(QStringLiteral("Cancel"));
  QTest::keyClick(window_.get(), Qt::Key_R, Qt::ControlModifier);
  EXPECT_TRUE(question_.contains(QStringLiteral("out.tif exists already")));
  EXPECT_EQ(Bytes(File("out.tif")), "precious");
  AnswerNextQuestion(QStringLiteral("Replace"));
  RunAndWait("done");
  EXPECT_NE(Bytes(File("out.tif")), "precious");
}

TEST_F(PanelWindowTest, SaysWhatIsMissing) {
  Options options = Files();
  options.files.erase(2);
  Open(options);
  auto& result = Find<RasterView>("Result preview");
  const char* const kMessage = "Operation requires File2, but it does not exist.";
  ASSERT_TRUE(WaitFor([&] { return result.Note() == QLatin1String(kMessage); }))
      << result.Note().toStdString();
  RunAndWait("failed");
  EXPECT_TRUE(Messages().contains(QLatin1String(kMessage)));

  Type("File2", (File("none.tif").string()).c_str());
  ASSERT_TRUE(WaitFor([&] { return result.Note().contains(QStringLiteral("none.tif")); }));
  RunAndWait("failed");
  EXPECT_TRUE(Messages().contains(QStringLiteral("none.tif")));
  EXPECT_TRUE(OnlyTheInputsAreThere());

  Type("Save", "");
  Click("Run");
  EXPECT_TRUE(Messages().contains(QStringLiteral("no file to write")));
  ASSERT_TRUE(WaitFor([&] { return !Find<QLineEdit>("Command").isEnabled(); }));
  EXPECT_FALSE(Find<QPushButton>("Copy").isEnabled());
}

TEST_F(PanelWindowTest, FieldsMarkABadNumberStepAndShowEveryDigit) {
  Open(Files());
  auto& field = Find<QLineEdit>(kA);
  for (const char* text : {"1,234.5", "abc", "", "1e99"}) {
    Type(kA, text);
    EXPECT_FALSE(field.toolTip().isEmpty()) << text;
    EXPECT_FALSE(Find<QPushButton>("Copy").isEnabled()) << text;
    Click("Run");
    EXPECT_TRUE(Messages().contains(
        QStringLiteral("\u201c%1\u201d is not a number").arg(QString::fromUtf8(text))));
    EXPECT_FALSE(fs::exists(File("out.tif")));
  }
  Type(kA, "2,5");
  EXPECT_TRUE(field.toolTip().isEmpty());
  EXPECT_TRUE(CurrentCommand().contains(QStringLiteral("-a=2.5:0 ")));
  Type(kA, "0.100000001490116");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(field.text(), QStringLiteral("0.1"));
  QTest::keyClick(&field, Qt::Key_Up);
  QTest::keyClick(&field, Qt::Key_Up);
  QTest::keyClick(&field, Qt::Key_Down);
  EXPECT_EQ(field.text(), QStringLiteral("1.1"));
  Type(kA, "1.17549435e-38");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(field.text(), QStringLiteral("1.1754944e-38"));
  EXPECT_TRUE(CurrentCommand().contains(QStringLiteral("-a=1.1754944e-38:0 ")));
}

TEST_F(PanelWindowTest, PreviewShowsTheResultAndTheValuesUnderThePointer) {
  Open(Files());
  auto& result = Find<RasterView>("Result preview");
  ASSERT_TRUE(WaitFor([&] { return result.Picture().width() == 60; }));
  EXPECT_EQ(result.Picture().height(), 40);
  const QImage before = result.Picture();
  Pick("Result part", 1);
  EXPECT_NE(result.Picture(), before);

  const std::complex<float> element(ElementAt(30, 20, 0.1));
  QTest::mouseMove(&result, PointOf(result, 30.5 / 60, 20.5 / 40));
  const std::string values = Find<QLabel>("Values under the pointer").text().toStdString();
  const std::string expected = "Column 30, row 20    File1: " + ShortestText(element.real()) +
                               " \u2212 " + ShortestText(-element.imag()) + "i    File2: ";
  EXPECT_TRUE(values.starts_with(expected)) << values << "\n" << expected;
  // They follow a change while the pointer rests.
  Type(kB, "7");
  EXPECT_TRUE(WaitFor(
      [&] { return Find<QLabel>("Values under the pointer").text().toStdString() != values; }));
}

TEST_F(PanelWindowTest, DraggingOnThePreviewChoosesTheRegion) {
  Open(Files());
  auto& view = Find<RasterView>("File1 preview");
  ASSERT_TRUE(WaitFor([&] { return view.Picture().width() == 60; }));
  QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.75, 0.5));
  QTest::mouseMove(&view, PointOf(view, 0.5, 0.75));
  QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, PointOf(view, 0.25, 0.8));
  EXPECT_TRUE(Find<QCheckBox>("Region").isChecked());
  EXPECT_NEAR(Find<QSpinBox>("Region, first column").value(), 15, 1);
  EXPECT_NEAR(Find<QSpinBox>("Region, first row").value(), 20, 1);
  EXPECT_NEAR(Find<QSpinBox>("Region, columns").value(), 30, 1);
  EXPECT_NEAR(Find<QSpinBox>("Region, rows").value(), 12, 1);
  EXPECT_TRUE(CurrentCommand().contains(QStringLiteral(" -region=")));
  const std::optional<QRectF> outline = Find<RasterView>("Result preview").Outline();
  ASSERT_TRUE(outline);
  EXPECT_NEAR(outline->left(), 0.25, 0.02);
  EXPECT_NEAR(outline->bottom(), 0.8, 0.03);
}

TEST_F(PanelWindowTest, CopiesTheCommandByKeyboardUnlessTextIsSelected) {
  Open(Files());
  const QString command = CurrentCommand();
  auto& field = Find<QLineEdit>(kA);
  field.setFocus();
  field.deselect();
  QTest::keyClick(&field, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), command);
  field.selectAll();
  QTest::keyClick(&field, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("1"));
}

TEST_F(PanelWindowTest, RemembersFilesSizeAndDisplay) {
  Open(Files());
  window_->resize(790, 690);
  Pick("Stretch", 2);
  Pick("Result part", 3);
  window_->close();
  Open({});
  EXPECT_EQ(window_->size(), QSize(790, 690));
  EXPECT_EQ(Find<QComboBox>("Stretch").currentIndex(), 2);
  EXPECT_EQ(Find<QComboBox>("Result part").currentIndex(), 3);
  EXPECT_EQ(Find<QLineEdit>("File2").text().toStdString(), File("f2.tif"));

  Options other;
  other.files[1] = File("f2.tif");
  Open(other);
  EXPECT_EQ(Find<QLineEdit>("File1").text().toStdString(), File("f2.tif"));
  EXPECT_TRUE(Find<QLineEdit>("File2").text().isEmpty());
}

TEST_F(PanelWindowTest, TakesFilesDroppedOnTheirFields) {
  Open({});
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(File("f2.tif").string()))});
  auto& field = Find<QLineEdit>("File1");
  QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&field, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&field, &drop);
  EXPECT_EQ(field.text().toStdString(), File("f2.tif"));
}

TEST_F(PanelWindowTest, TabGoesThroughTheWindowFromTopToBottom) {
  Open(Files());
  ASSERT_TRUE(WaitFor([&] { return Find<QComboBox>("Result part").isVisible(); }));
  Find<QLineEdit>("File1").setFocus();
  QStringList visited;
  for (int i = 0; i < 60 && (i == 0 || QApplication::focusWidget() != &Find<QLineEdit>("File1"));
       ++i) {
    const QWidget* const widget = QApplication::focusWidget();
    if (!widget->objectName().isEmpty()) visited += widget->objectName();
    QTest::keyClick(window_.get(), Qt::Key_Tab);
  }
  EXPECT_EQ(visited.join(QStringLiteral("; ")).toStdString(),
            "File1; File2; Save; File1 Coeff (A), number 1 of 2; File1 Coeff (A), number 2 of 2; "
            "File2 Coeff (B), number 1 of 2; File2 Coeff (B), number 2 of 2; Operator; "
            "Clamp at 0?; Region; Resolution; Output mode; Output format; Run; Images shown; "
            "Stretch; File1 part; File2 part; Result part; Command; Copy; Messages");
}

TEST_F(PanelWindowTest, EveryRowOpensAHelpEntryWithFormulaAndExample) {
  Open({});
  for (const char* label : {"File1 Coeff (A)", "File2 Coeff (B)", "Operator", "Clamp at 0?"}) {
    for (QPushButton* const button : window_->findChildren<QPushButton*>())
      if (button->text() == QLatin1String(label)) QTest::mouseClick(button, Qt::LeftButton);
    auto* const dialog = window_->findChild<QDialog*>(QStringLiteral("Help"));
    ASSERT_TRUE(dialog) << label;
    const QString text = dialog->findChild<QPlainTextEdit*>()->toPlainText();
    EXPECT_TRUE(text.startsWith(QLatin1String(label))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Example"))) << label;
    delete dialog;
  }
}

TEST_F(PanelWindowTest, EveryWidgetThatTakesTheFocusHasANameForScreenReaders) {
  Open(Files());
  for (const QWidget* const widget : window_->findChildren<QWidget*>()) {
    // Scroll bars and the inner fields of spin boxes speak through what they belong to.
    const bool inner = widget->parentWidget() != window_.get() &&
                       (qobject_cast<QAbstractSpinBox*>(widget->parentWidget()) ||
                        qobject_cast<QComboBox*>(widget->parentWidget()));
    if (inner || !(widget->focusPolicy() & Qt::TabFocus) || !widget->isVisible()) continue;
    const auto* const button = qobject_cast<const QAbstractButton*>(widget);
    EXPECT_TRUE(!widget->accessibleName().isEmpty() || (button && !button->text().isEmpty()))
        << widget->metaObject()->className() << " " << widget->objectName().toStdString();
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
  QCoreApplication::setOrganizationName(QStringLiteral("lumomixcalc"));
  QCoreApplication::setApplicationName(QStringLiteral("panel-test"));
  lumomixcalc::standalone::SetUpGdal();
  return RUN_ALL_TESTS();
}
