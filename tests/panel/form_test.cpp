// The form: fields, command, run, questions, and what is remembered.
#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdlib>

#include "standalone/rasters/gdal_library.h"
#include "tests/panel/window_fixture.h"

namespace lumomixcalc::standalone {
namespace {

TEST_F(PanelWindowTest, RunsAndShowsTheCommandThatRepeatsIt) {
  Open(std::string(kFiles) +
       " -format=GTiff -region=0:0:50:40 -resampling=cubic -clamp -b=2:0.123");
  EXPECT_FALSE(Text(CurrentCommand()).endsWith("-overwrite"));
  std::ofstream("out.tif") << "another program's";
  EXPECT_TRUE(WaitFor([&] { return Text(TextOf("Command")).endsWith("-overwrite"); }));
  QFile::remove("out.tif");
  EXPECT_TRUE(WaitFor([&] { return !Text(CurrentCommand()).endsWith("-overwrite"); }));
  Set(kA, "0,123456781");
  EXPECT_FALSE(Find("Copy").isEnabled());  // an old command
  Settle();
  EXPECT_EQ(Text(Notes()).count("\u2022 the resampling method has no effect") +
                Text(Notes()).count("\u2022 a complex output is not clamped"),
            2);
  Run("done");
  EXPECT_TRUE(Told("band 1: minimum -0.246, ") && Told("band 2: minimum -0.492, "))
      << TextOf("Messages");
  EXPECT_TRUE(
      CurrentCommand().ends_with("/out.tif' -format=GTiff -region=0:0:50:40 "
                                 "-a=0.12345678:0 -b=2:0.123 -operator='a1+b2' -clamp -overwrite"))
      << CurrentCommand();
  const std::string written = Bytes("out.tif");
  std::ofstream("out.tif") << "other";
  QTest::keyClick(&Find("Operator"), Qt::Key_C, Qt::ControlModifier);
  const std::string command = "PATH='" LUMOMIXCALC_TEST_PROGRAM_FOLDER "':$PATH; cd / && " +
                              QGuiApplication::clipboard()->text().toStdString() + " >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_TRUE(Bytes("out.tif") == written);
}

TEST_F(PanelWindowTest, ShowsTheSettingsOfACommandThatStartsItOrIsPasted) {
  const std::string settings =
      " -mode=cfloat32 -format=JPEG -co=INTERLEAVE=BIL -extent=intersection -region=3:4:20:10000 "
      "-resolution=2 -resampling=cubic -looks=2:3 -bands=1 -oo=NUM_THREADS=2 -nodata=keep -a=0.1:0 "
      "-b=1:16777216 -operator='1+b_pow_a' -clamp";
  const std::string command = kFiles + settings;
  const auto expectSettings = [&] {
    EXPECT_TRUE(WaitFor([&] { return TextOf("Command").ends_with("/out.tif'" + settings); }))
        << TextOf("Command");
    EXPECT_EQ(TextOf("File2"), "f2.tif");
    EXPECT_EQ(TextOf(kA) + " " + TextOf("Operator"), "0.1 (FILE1 + B)**A");
  };
  Open(command);
  expectSettings();
  Set("Resampling", "average");
  EXPECT_NE(CurrentCommand().find(" -resampling=average "), std::string::npos);
  Open("-a=7 -b=nan");
  Paste("lumomixcalc \\\n " + command + " -overwrite\n");
  expectSettings();
  EXPECT_EQ(TextOf("Other options"), "-co=INTERLEAVE=BIL -bands=1 -oo=NUM_THREADS=2 -nodata=keep");
  for (const char* const text : {"-nodata=x", "-looks=3", "f2.tif", "-file1=x", "-a=2", "-part=1/2",
                                 "-check", "-quiet", "--config A B"}) {
    Type("Other options", QString(text) + '\r');
    Settle();
    EXPECT_TRUE(Notes().starts_with("\u2022 Other options: ")) << text;
    Set("Run");
    EXPECT_FALSE(Find("Copy").isEnabled());
  }
  Type("Other options", "-nodata=3  -strict -window=0:0:9:9 -stats=s\r");
  EXPECT_NE(CurrentCommand().find(" -looks=2:3 -nodata=3 "), std::string::npos);
  EXPECT_EQ(CurrentCommand().find(" -region="), std::string::npos);
  EXPECT_EQ(TextOf("Other options"), "-window=0:0:9:9 -nodata=3 -stats=s -strict");
  Set("Reset");
  EXPECT_TRUE(WaitFor([&] {
    return TextOf("Command").ends_with("/out.tif' -a=1:0 -b=1:0 -operator='a1+b2'");
  })) << TextOf("Command");
  Paste("$ lumomixcalc " + command);
  expectSettings();
  for (const char* const text :
       {"", "lumomixcalc $(touch f3.tif) f1.tif o.tif", "lumomixcalc 'f1.tif",
        "lumomixcalc -b=3 f1.tif o.tif -operator=no", "lumomixcalc -join=a.vrt",
        "lumomixcalc f1.tif o.vrt -part=1/2"}) {
    Set("Messages");
    Paste(text);
    EXPECT_TRUE(WaitFor([&] { return Told("Not pasted: ") && Find("Run").isEnabled(); })) << text;
    for (const char* const rows : {"1", "3"}) Set("Looks, rows", rows);
    Settle();
    expectSettings();
  }
  EXPECT_TRUE(OnlyTheInputsAreThere());
  Paste("lumomixcalc -panel f1.tif");
  EXPECT_FALSE(Find("Run").isEnabled());  // with old files and new numbers
  EXPECT_TRUE(WaitFor([&] { return TextOf("Save").empty(); }));
  Paste("lumomixcalc f1.tif o2.tif -check -operator=a1b");
  EXPECT_TRUE(WaitFor([&] { return TextOf("Save") == "o2.tif"; }));
  Find("Other options").setFocus();
  Type("Other options", "-bands=2");  // is taken without the return key, too
  QTest::keyClick(&Find("Other options"), Qt::Key_R, Qt::ControlModifier);
  ExpectEnd("done");
  EXPECT_TRUE(QFile::exists("o2.tif"));
  EXPECT_FALSE(Told("band 2: "));
}

TEST_F(PanelWindowTest, RunThatIsCancelledClosedOrEndedBySignalLeavesNothing) {
  MakeRaster("f1.tif", 1500, 1500, 1);  // large enough to be caught during the run
  Open("f1.tif -save=out.tif -a=1:0.5 -operator=1+b_pow_a");
  const auto run = [this] {
    Set("Run");
    for (const char* const name : {"Operator", "Paste", "Reset"})
      EXPECT_FALSE(Find(name).isEnabled()) << name;
    EXPECT_TRUE(WaitFor([] { return !OnlyTheInputsAreThere(); }));
  };
  Settle();
  run();
  QCoreApplication::processEvents();
  EXPECT_FALSE(window_->findChild<QTimer*>("Expected preview")->isActive());  // all is shown
  QTest::keyClick(window_.get(), Qt::Key_Escape);
  ExpectEnd("cancelled");
  auto& messages = Find<QPlainTextEdit>("Messages");
  messages.setFocus();
  messages.selectAll();
  QTest::keyClick(&messages, Qt::Key_C, Qt::ControlModifier);
  EXPECT_TRUE(QGuiApplication::clipboard()->text().endsWith("nothing was written."));
  EXPECT_TRUE(OnlyTheInputsAreThere());
  Set("Region");
  Set("Region, rows", "1");
  Run("done");
  QFile::remove("out.tif");
  Set("Region");
  run();
  Answer("in progress", "Keep running", [&] { EXPECT_FALSE(window_->close()); });
  Answer("in progress", "Stop the run and close", [&] { EXPECT_TRUE(window_->close()); });
  ExpectEnd("cancelled");
  Open("");
  EXPECT_TRUE(OnlyTheInputsAreThere());
  run();
  window_.reset();  // as on a signal
  EXPECT_TRUE(OnlyTheInputsAreThere());
}

TEST_F(PanelWindowTest, ProgramOpensInputsOrNamesANewOutputAndEndsByASignal) {
  for (const QStringList& files : {QStringList{"f1.tif", "f2.tif"},
                                   {"f1.tif", "/vsisubfile/0,f2.tif"},
                                   {"f1.tif", "new.tif"},
                                   {}}) {
    QProcess program;
    program.start(LUMOMIXCALC_TEST_PROGRAM_FOLDER "/lumomixcalc-panel", files);
    const QVariant before = QSettings("lumomixcalc", "panel").value("window/number");
    EXPECT_TRUE(WaitFor([&] {  // shows its window
      return QSettings("lumomixcalc", "panel").value("window/number") != before;
    }));
    program.terminate();
    EXPECT_TRUE(program.waitForFinished(5000));
    EXPECT_EQ(program.exitCode(), SIGTERM);
    EXPECT_FALSE(program.readAllStandardError().contains("nothing was written"));
    const QString kept = QSettings("lumomixcalc", "panel").value("command").toString();
    const bool isNew = files.value(1, "new.tif") == "new.tif";  // shown again without any
    EXPECT_TRUE(kept.contains(QString(isNew ? "-save=" : "-file2="))) << kept.toStdString();
    EXPECT_EQ(kept.contains("-file2="), !isNew) << kept.toStdString();
  }
}

TEST_F(PanelWindowTest, AsksBeforeItReplacesAFileAndNamesAnInput) {
  std::ofstream("out.tif") << "precious";
  Open(std::string(kFiles) + " -overwrite");
  Answer("out.tif exists already", "Cancel",
         [&] { QTest::keyClick(window_.get(), Qt::Key_R, Qt::ControlModifier); });
  EXPECT_EQ(Bytes("out.tif"), "precious");
  Answer("exists already", "Replace", [&] { Run("done"); });
  EXPECT_NE(Bytes("out.tif"), "precious");
  QFile::link("f2.tif", "link.tif");
  Set("Save", "link.tif");
  EXPECT_EQ(Notes(), "\u2022 Save is File2: the run replaces it");
  Answer("is File2: the run replaces it", "Cancel", [&] { Set("Run"); });
  Set("Save");
  Set("Run");
  EXPECT_TRUE(Told("Save is empty"));
}

TEST_F(PanelWindowTest, NumbersAreReadAsPeopleTypeThemAndOtherTextsKeepItFromRunning) {
  Open(kFiles);
  const std::pair<const char*, const char*> kNumbers[] = {
      {"\u22122,5", "-2.5"}, {" 1,5E+2 ", "150"}, {"inf", "inf"}, {"16777217", "16777216"}};
  for (const auto& [text, number] : kNumbers) {
    Set(kA, text);
    EXPECT_NE(CurrentCommand().find(std::string(" -a=") + number + ":0 "), std::string::npos);
  }
  const auto colour = [this] { return Pictured("Result preview").grab().toImage().pixel(30, 30); };
  Set(kA, "2");
  const QRgb before = colour();
  for (const std::string text : {"abc", " ", "1,234.5", "1,2,3", "1 000", "1e99", "1/3"}) {
    for (const std::string& number : {std::string("2"), text}) Set(kA, Text(number));
    EXPECT_NE(colour(), before);                              // dimmed
    EXPECT_NE(Find(kA).styleSheet(), Find(kB).styleSheet());  // is marked
    QTest::keyClick(&Find(kA), Qt::Key_Return);
    EXPECT_FALSE(Find("Copy").isEnabled());
    Set("Run");
    EXPECT_TRUE(Told("\u201c" + text + "\u201d is not a number")) << text;
  }
  Set(kA, "2");
  Set(kB, "x");
  EXPECT_NE(Notes().find("\u201cx\u201d is not a number"), std::string::npos);
  Set("File2", "f1.tif");
  ExpectElements({9.5, 9.5}, kFile2, 1);  // files are opened meanwhile
  EXPECT_TRUE(OnlyTheInputsAreThere());
  Open("");
  EXPECT_EQ(TextOf(kA), "2");  // the last number
  Set(kA, "0.1");
  for (const auto key : {Qt::Key_Down, Qt::Key_Up, Qt::Key_Up}) QTest::keyClick(&Find(kA), key);
  Find<QLineEdit>(kA).selectAll();
  QTest::keyClick(&Find(kA), Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "1.1");
  for (int i = 0; i < 3; ++i) QTest::keyClick(&Find(kA), Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(TextOf(kA), "0.1");
}

TEST_F(PanelWindowTest, RemembersNumbersAndItsSizeInsideTheScreen) {
  Open(kFiles);
  const QSize size = window_->size() - QSize(53, 55);
  window_->resize(size);
  Set(kA, "0.3");
  Find("Other options").setFocus();
  Type("Other options", "-bands=2");
  Open("");
  EXPECT_EQ(TextOf(kA), "0.3");
  EXPECT_EQ(TextOf("Other options"), "-bands=2");
  EXPECT_EQ(window_->size(), size);
  const QPoint place = window_->pos();
  Open("");
  EXPECT_NE(window_->pos(), place);  // the other may still be there
  window_->resize(5000, 5000);
  Open("");
  const QRect framed(window_->pos(), window_->size() + QSize(16, 48));
  EXPECT_TRUE(window_->screen()->availableGeometry().contains(framed));
}

TEST_F(PanelWindowTest, TakesDroppedFilesAndNamesTheirOutput) {
  Open("");
  window_->move(40, 60);
  const auto files = [this] {
    const std::string paths = TextOf("File1") + " " + TextOf("File2") + " " + TextOf("Save");
    return Text(paths).remove(folder_.path() + "/").toStdString();
  };
  const auto drop = [&](QWidget& target, const QStringList& names) {
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& name : names) urls << QUrl::fromLocalFile(folder_.filePath(name));
    data.setUrls(urls);
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    if (enter.isAccepted()) QApplication::sendEvent(&target, &event);
    return files();
  };
  for (const char* const file : {"f2_result.tif", "f2_result_2.tif"})
    std::ofstream(file) << "there";
  EXPECT_EQ(drop(Find("File2"), {"f2.tif"}), " f2.tif f2_result_3.tif");
  EXPECT_EQ(drop(*window_, {"f1.tif"}), "f1.tif f2.tif f2_result_3.tif");
  QWidget& picture = *Pictured("File2 preview").viewport();
  EXPECT_EQ(drop(picture, {"f1.tif"}), "f1.tif f1.tif f2_result_3.tif");
  EXPECT_EQ(drop(*window_, {"f2.tif", "f1.tif", "f1.tif"}), "f2.tif f1.tif f2_result_3.tif");
  Set("Swap");
  EXPECT_EQ(drop(*window_, {"f2.tif"}), "f2.tif f2.tif f2_result_3.tif");
  QWidget& drawn = *Pictured("File1 preview").viewport();
  Set("Run");
  EXPECT_EQ(drop(*window_, {"f1.tif"}), "f2.tif f2.tif f2_result_3.tif");
  Drag(drawn, {50, 50}, {90, 70}, Qt::ShiftModifier);
  ExpectEnd("done");
  EXPECT_EQ(CurrentCommand().find("-region"), std::string::npos);
}

TEST_F(PanelWindowTest, ShowsInItsFieldsWhatACheckFoundAndWhyARunFails) {
  MakeRaster("f1.tif", 60, 40, 20);
  Open("f1.tif f2.tif out.tif -operator=a1b -mode=cint16 -region=0:10:60:20");
  EXPECT_TRUE(WaitFor([&] { return Notes().starts_with("\u2022 66.8 % of the elements"); }));
  EXPECT_EQ(Find<QLabel>("Resolved output").text(), "GTiff cint16, 60 \u00d7 20, 2 bands, 9.6 kB");
  EXPECT_NE(Find("File2").palette(), Find("File1").palette());
  EXPECT_EQ(window_->windowTitle().toStdString(), "f1.tif \u2013 (A*File1) * B \u2013 LumoMixcalc");
  Set("Operator", "(FILE1 + B)**A");
  Settle();
  EXPECT_NE(Notes().find("B is 1 in (FILE1 + B)**A"), std::string::npos);
  Set("Operator", "(A*File1) * B");
  Set("Save", ".");
  Settle();
  EXPECT_NE(Notes().find(" is a folder, and none is replaced; "), std::string::npos);
  EXPECT_NE(Find("Save").styleSheet(), Find("File1").styleSheet());  // is marked
  Pictured("Result preview");
  Set("Save", QUrl::fromLocalFile(folder_.filePath("out.tif")).toString());
  Set("File2");
  Settle();
  EXPECT_EQ(Find("File2 preview").accessibleDescription(), kNoFile);
  EXPECT_EQ(Find("File2").styleSheet(), Find("File1").styleSheet());
  QStringList told;  // whenever the panel takes changes
  window_->findChild<QTimer*>("Refresh")->callOnTimeout(
      [&] { told << Find("File2 preview").accessibleDescription(); });
  Set("File2", "f2.tif");
  EXPECT_TRUE(WaitFor([&] { return told.value(0).endsWith("/f2.tif\u2026"); }));
  QFile::remove("f2.tif");
  Run("done");
  Set("File1", " GTIFF_DIR:1:f1.tif ");
  Set("File2", "f1.tif");
  Set("Region, columns", "61");
  Answer("exists already", "Replace", [&] { Run("failed"); });
  EXPECT_TRUE(Told("Region 0:10:61:20 is not inside")) << TextOf("Messages");
  EXPECT_TRUE(WaitFor([&] {
    return Notes().starts_with("\u2022 Region 0:10:61:20 is") && !Told("\nRegion 0:10:61:20 is");
  }));
  Set("File1", "no.tif");
  Set("File2", "no.t");  // is not read
  Settle();
  EXPECT_EQ(Notes(), "\u2022 cannot open no.tif (File1): no.tif: No such file or directory");
  EXPECT_EQ(Find<QLabel>("Resolved output").text(), "");
  Set("Operator", "ABS(A*File1)");
  Settle();
  MakeRaster("no.tif", 61, 40, 1, 3);
  EXPECT_TRUE(WaitFor([&] { return Notes() == ""; }));
  QTest::keyClicks(&Find("Other options"), "-bands=1,3\r");
  Set("Band", "2");
  Settle();
  EXPECT_EQ(Notes(), "\u2022 the run does not compute band 2, which is shown");
  EXPECT_EQ(Find<QSpinBox>("Band").maximum(), 3);
  QFile::resize("no.tif", 30000);
  EXPECT_TRUE(WaitFor([&] { return Notes().find("no.tif") != std::string::npos; }));
  QFile::remove("no.tif");
  EXPECT_TRUE(WaitFor([&] { return Notes().starts_with("\u2022 cannot open no.tif"); }));
  EXPECT_NE(Find("File1").styleSheet(), Find("File2").styleSheet());
  std::ofstream("e.img") << std::string(24, '\0');
  Set("File1", "e.img");
  Settle();
  std::ofstream("e.hdr") << "ENVI\nsamples = 3\nlines = 2\nbands = 1\ndata type = 4\n";
  Set(kA, "5");
  Pictured("File1 preview");
}

TEST_F(PanelWindowTest, TabGoesThroughWidgetsThatScreenReadersCanNameAndRowsHaveHelp) {
  Open(kFiles);
  ASSERT_TRUE(WaitFor([&] { return Find("Result part").isVisible(); }));
  CurrentCommand();
  Find("File1").setFocus();
  QStringList visited;
  do {
    QWidget* const widget = QApplication::focusWidget();
    const auto* const spoken = QAccessible::queryAccessibleInterface(widget);
    EXPECT_NE(spoken->text(QAccessible::Name), "") << visited.join(", ").toStdString();
    visited << widget->objectName();
    QTest::keyClick(window_.get(), Qt::Key_Tab);
  } while (QApplication::focusWidget() != &Find("File1") && visited.size() < 100);
  // Those of names in one word stand for their neighbours.
  EXPECT_EQ(visited.filter(QRegularExpression("^\\w+$")).join(' ').toStdString(),
            "File1 File2 Save Swap Operator Region Resolution Format Run Messages Command Copy "
            "Paste Reset "
            "Stretch Band");
  int rows = 0;
  for (QPushButton* const row : window_->findChildren<QPushButton*>()) {
    if (!row->accessibleName().endsWith(", help")) continue;
    ++rows;
    row->click();
    const std::unique_ptr<QDialog> dialog(&Find<QDialog>("Help"));
    const QString text = dialog->findChild<QTextBrowser*>()->toPlainText();
    EXPECT_TRUE(text.startsWith(row->text()) && text.contains("Example")) << text.toStdString();
  }
  EXPECT_EQ(rows, 4);
}

}  // namespace
}  // namespace lumomixcalc::standalone

// Ends a test at the first expectation that fails: what follows would only wait in vain.
class EndOfTest : public ::testing::EmptyTestEventListener {
  void OnTestPartResult(const ::testing::TestPartResult& result) override {
    if (result.failed()) throw ::testing::AssertionException(result);
  }
};

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new EndOfTest);
  const QTemporaryDir settings;
  qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());  // of the program, too
  // The smallest screen that the panel is for.
  const std::string screens = settings.filePath("screens.json").toStdString();
  std::ofstream(screens) << R"({"screens": [{"width": 1024, "height": 700}]})";
  qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens).c_str());
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  QCoreApplication::setOrganizationName("lumomixcalc");
  lumomixcalc::standalone::SetUpGdal();
  return RUN_ALL_TESTS();
}
