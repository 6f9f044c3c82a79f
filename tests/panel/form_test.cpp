// The form: fields, command, run, questions, and what is remembered.
#include <clocale>
#include <csignal>
#include <cstdlib>

#include "standalone/panel/widgets.h"
#include "standalone/rasters/gdal_library.h"
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

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
        {"Data type", "complex float (cfloat32)"},
        {"Format", "GTiff"}}) {
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

TEST_F(PanelWindowTest, ShowsTheSettingsOfACommandThatStartsItOrIsPastedAndOfItsLastUse) {
  const std::string settings =
      " -mode=cfloat32 -format=ENVI -co=INTERLEAVE=BIL -region=3:4:20:10 -resolution=2 "
      "-resampling=cubic -looks=2:1 -bands=1 -oo=NUM_THREADS=2 -nodata=keep -a=0.1:0 "
      "-b=1:16777216 -operator='1+b_pow_a' -clamp";
  std::string command = kFiles + settings;
  std::erase(command, '\'');
  for (const char* const way : {"start", "last use", "paste"}) {
    SCOPED_TRACE(way);
    Open(way == std::string("start") ? command : way == std::string("paste") ? "-a=7 -b=nan" : "");
    const std::string pasted = "lumomixcalc \\\n " + command + " -overwrite\n";
    QGuiApplication::clipboard()->setText(QString::fromStdString(pasted));
    if (way == std::string("paste")) Set("Paste");
    EXPECT_TRUE(WaitFor([&] { return TextOf("Command").ends_with("/out.tif" + settings); }))
        << TextOf("Command");
    EXPECT_EQ(TextOf(kA), "0.1");
    EXPECT_EQ(TextOf(kBi), "16777216");
    EXPECT_EQ(ChoiceOf("Operator"), "(FILE1 + B)**A");
    EXPECT_TRUE(Find<QCheckBox>("Clamp at 0?").isChecked());
    EXPECT_EQ(
        TextOf("File2"),
        (way == std::string("last use") ? folder_.path().toStdString() + "/" : "") + "f2.tif");
  }
  const std::string before = CurrentCommand();
  for (const char* const text : {"", "rm f1.tif", "lumomixcalc $(touch f3.tif) f1.tif o.tif",
                                 "lumomixcalc f1.tif", "lumomixcalc -b=3 f1.tif o.tif -operator=no",
                                 "lumomixcalc -join=a.vrt", "lumomixcalc 'f1.tif"}) {
    Find<QPlainTextEdit>("Messages").clear();
    QGuiApplication::clipboard()->setText(text);
    Set("Paste");
    EXPECT_TRUE(WaitFor([&] { return Told("Not pasted: "); })) << text;
    Set("Region");
    Set("Region");
    EXPECT_EQ(CurrentCommand(), before) << text;
  }
  EXPECT_TRUE(OnlyTheInputsAreThere());
  // Without a word of a number or the switch, a command means what a start with it has.
  QGuiApplication::clipboard()->setText("lumomixcalc f1.tif o.tif");
  Set("Paste");
  EXPECT_TRUE(WaitFor(
      [&] { return TextOf("Command").ends_with("o.tif -a=1:0 -b=1:0 -operator='a1+b2'"); }));
  EXPECT_EQ(TextOf("File2"), "");
}

TEST_F(PanelWindowTest, RunThatIsCancelledClosedOrEndedBySignalLeavesNothing) {
  MakeRaster("f1.tif", 1500, 1500, 1);  // large enough to be caught during the run
  const char* const arguments = "f1.tif -save=out.tif -a=1:0.5 -operator=1+b_pow_a";
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
  AnswerNextQuestion("Keep running");
  EXPECT_FALSE(window_->close());
  AnswerNextQuestion("Stop the run and close");
  EXPECT_TRUE(window_->close());
  window_.reset();
  EXPECT_TRUE(OnlyTheInputsAreThere());

  for (const bool asks : {false, true}) {  // what the program does on a signal
    Open(arguments);
    run();
    if (asks) QTimer::singleShot(0, window_.get(), [this] { window_->close(); });
    QTimer::singleShot(asks ? 50 : 0, [asks] {
      EXPECT_EQ(QApplication::activeModalWidget() != nullptr, asks);
      QCoreApplication::exit();
    });
    QCoreApplication::exec();
    window_.reset();
    EXPECT_TRUE(OnlyTheInputsAreThere());
  }
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

TEST_F(PanelWindowTest, AsksBeforeItReplacesAFileAndNamesAnInput) {
  std::ofstream("out.tif") << "precious";
  Open(kFiles);
  AnswerNextQuestion("Cancel", "out.tif exists already");
  QTest::keyClick(window_.get(), Qt::Key_R, Qt::ControlModifier);
  EXPECT_EQ(Bytes("out.tif"), "precious");
  AnswerNextQuestion("Replace");
  Run("done");
  EXPECT_NE(Bytes("out.tif"), "precious");
  QDir().mkdir("sub");
  QFile::link(folder_.filePath("f2.tif"), "sub/link.tif");
  for (const char* const name : {"f2.tif", "sub/../f2.tif", "sub/link.tif"}) {
    Set("Save", name);
    EXPECT_TRUE(Notes().contains("Save is File2: the run replaces it"));
    AnswerNextQuestion("Cancel", "is File2: the run replaces it");
    Set("Run");
  }
}

TEST_F(PanelWindowTest, SaysWhyTheRunFailedInTheWordsOfItsFields) {
  Open(kFiles);
  const auto& result = Find<ImageView>("Result preview");
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

TEST_F(PanelWindowTest, KeysStepAFieldUndoItAndCopyTheCommandUnlessTextIsSelected) {
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
  for (const char* const earlier : {"2.1", "1.1", "0.1"}) {
    QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field.text(), earlier);
  }
}

TEST_F(PanelWindowTest, RemembersSizeAndDisplayInsideTheScreen) {
  Open(kFiles);
  const auto isInside = [this] {
    return window_->screen()->availableGeometry().contains(
        QRect(window_->pos(), window_->size() + QSize(16, 48)));
  };
  EXPECT_TRUE(isInside());
  window_->resize(window_->size() - QSize(3, 5));
  const QSize size = window_->size();
  Set("Stretch", "Logarithm");
  Set("Result part", "Phase");
  window_->close();
  Open("");
  EXPECT_EQ(window_->size(), size);
  EXPECT_EQ(ChoiceOf("Stretch"), "Logarithm");
  EXPECT_EQ(ChoiceOf("Result part"), "Phase");
  window_->resize(5000, 5000);
  Open("f2.tif");
  EXPECT_TRUE(isInside());
  EXPECT_EQ(TextOf("File1") + " " + TextOf("File2"), "f2.tif ");
}

TEST_F(PanelWindowTest, TakesDroppedAndRecentFilesAndNamesTheirOutput) {
  Open("");
  const auto drop = [this](QWidget& target, const QStringList& files) {
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& file : files) urls << QUrl::fromLocalFile(folder_.filePath(file));
    data.setUrls(urls);
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &event);
  };
  const auto expectFiles = [this](const std::vector<const char*>& files) {
    std::size_t i = 0;
    for (const char* const field : {"File1", "File2", "Save"})
      EXPECT_EQ(QFileInfo(Find<QLineEdit>(field).text()).fileName().toStdString(), files[i++]);
  };
  std::ofstream("f2_result.tif") << "there";
  drop(Find<QLineEdit>("File2"), {"f2.tif"});
  expectFiles({"", "f2.tif", "f2_result_2.tif"});
  drop(*window_, {"f1.tif"});
  expectFiles({"f1.tif", "f2.tif", "f2_result_2.tif"});
  drop(*window_, {"f2.tif", "f1.tif"});
  expectFiles({"f2.tif", "f1.tif", "f2_result_2.tif"});
  Set("Swap");
  drop(*window_, {"f2.tif"});
  expectFiles({"f2.tif", "f2.tif", "f2_result_2.tif"});
  Set("Save");
  auto& menu = Find<QMenu>("File2, recent files");
  Q_EMIT menu.aboutToShow();
  ASSERT_EQ(menu.actions().size(), 2);
  menu.actions().last()->trigger();
  expectFiles({"f2.tif", "f1.tif", "f2_result_2.tif"});
}

TEST_F(PanelWindowTest, ShowsWhatACheckFoundInItsFields) {
  Open(kFiles);
  CurrentCommand();
  Findings findings;
  findings.report.emplace();
  findings.report->format = "GTiff";
  findings.report->mode = "cint16";
  findings.report->grid.columns = 1200;
  findings.report->grid.rows = 800;
  findings.report->bands.resize(2);
  findings.warnings = {"f1.tif and f2.tif differ"};
  findings.streamsRead = {1};
  findings.beyondMode = 3;
  findings.elements = 2000;
  window_->ShowFindings(findings);
  EXPECT_EQ(Find<QLabel>("Resolved output").text(),
            "GTiff, complex 16-bit integer (cint16), 1200 \u00d7 800, 2 bands, 7.7 MB");
  EXPECT_EQ(ChoiceOf("Data type") + ", " + ChoiceOf("Format"),
            "automatic (complex 16-bit integer), by extension (GTiff)");
  EXPECT_EQ(Notes(),
            "0.15 % of the elements seen are beyond cint16 and are stored as its limits\nf1.tif "
            "and f2.tif differ");
  const auto colour = [this](const char* name) {
    return Find(name).palette().color(QPalette::Text);
  };
  EXPECT_NE(colour("File2"), colour("File1"));
  findings = {};
  findings.failure = "cannot do that: int8 (choose by -mode=)";
  window_->ShowFindings(findings);
  EXPECT_EQ(Notes(), "cannot do that: int8 (choose the Data type)");
  EXPECT_EQ(colour("File2"), colour("File1"));
  Set(kB, "x");
  Set("File2", "no.tif");
  Set("Save", "no/out.tif");
  EXPECT_EQ(Notes(), "File2: there is no file no.tif\nSave: there is no folder " +
                         folder_.filePath("no") + "\n" + kB +
                         ": \u201cx\u201d is not a number that can be used");
  for (const char* const name : {kB, "File2", "Save"})
    EXPECT_NE(Find(name).styleSheet(), "") << name;
  EXPECT_EQ(Find("File1").styleSheet(), "");
}

TEST(OfFields, NamesFieldsInPlaceOfOptions) {
  for (const auto& [message, text] :
       {std::pair("-region=0:0:9:9 is not inside f.tif", "Region 0:0:9:9 is not inside f.tif"),
        {"-a_nodata=-1: byte cannot hold it",
         "No-data value of the output -1: byte cannot hold it"},
        {"-bands=: there is no band 3", "Bands: there is no band 3"},
        {"the output o.tif exists already; -overwrite replaces it",
         "the output o.tif exists already"},
        {"f has no geotransform; choose pixels by -region=",
         "f has no geotransform; choose a Region"},
        {"x which int16 leaves out; -mode=cfloat32 keeps them",
         "x which int16 leaves out; Data type cfloat32 keeps them"}})
    EXPECT_EQ(OfFields(message).toStdString(), text);
}

TEST_F(PanelWindowTest, TabGoesFromTopToBottomThroughWidgetsThatScreenReadersCanName) {
  Open(kFiles);
  ASSERT_TRUE(WaitFor([&] { return Find<QComboBox>("Result part").isVisible(); }));
  CurrentCommand();
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
  EXPECT_EQ(
      visited.replace(", number", "").toStdString(),
      "File1; File2; Save; Swap; File1 Coeff (A) 1 of 2; File1 Coeff (A) 2 of 2; "
      "File2 Coeff (B) 1 of 2; File2 Coeff (B) 2 of 2; Operator; Clamp at 0?; Region; "
      "Resolution; Looks, columns; Looks, rows; Data type; Format; Notes; Run; Images shown; "
      "Stretch; Draw region; Band; File1 part; File1 colours; File1 low limit; File1 high "
      "limit; File2 part; File2 colours; File2 low limit; File2 high limit; Result part; "
      "Result colours; Result low limit; Result high limit; Command; Copy; Paste; Messages; ");
}

TEST_F(PanelWindowTest, EveryRowOpensAHelpEntryWithFormulaAndExample) {
  Open("");
  for (const QString label : {"File1 Coeff (A)", "File2 Coeff (B)", "Operator", "Clamp at 0?"}) {
    for (QPushButton* const button : window_->findChildren<QPushButton*>())
      if (button->text() == label) QTest::mouseClick(button, Qt::LeftButton);
    const std::unique_ptr<QDialog> dialog(window_->findChild<QDialog*>("Help"));
    ASSERT_TRUE(dialog) << label.toStdString();
    const QString text = dialog->findChild<QTextBrowser*>()->toPlainText();
    EXPECT_TRUE(text.startsWith(label) && text.contains("Example")) << text.toStdString();
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const QTemporaryDir settings;
  // The smallest screen that the panel is for.
  const std::string screens = settings.filePath("screens.json").toStdString();
  std::ofstream(screens) << R"({"screens": [{"name": "least", "x": 0, "y": 0, "width": 1024,
      "height": 700, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";
  qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens).c_str());
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
  QCoreApplication::setOrganizationName("lumomixcalc");
  lumomixcalc::standalone::SetUpGdal();
  return RUN_ALL_TESTS();
}
