// Drives the real window, on a platform without a screen, over real files.
#pragma once

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <cmath>
#include <complex>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "standalone/panel/image_view.h"
#include "standalone/panel/panel_window.h"
#include "tests/standalone/command_lines.h"

namespace lumomixcalc::standalone {

inline constexpr const char* kFiles = "f1.tif f2.tif out.tif";
// The fields of the coefficients, by name.
inline constexpr const char* kA = "File1 Coeff (A), number 1 of 2";
inline constexpr const char* kB = "File2 Coeff (B), number 1 of 2";

// Elements are factor * (x + 100 y + band i), or noise.
inline void MakeRaster(const char* file, int columns, int rows, double factor, int bands = 2,
                       GDALDataType type = GDT_CFloat32, bool noise = false) {
  const auto number = [=](int ramp, int seed) {
    return factor * (noise ? std::remainder(7919.0 * ramp * ramp + 101 * seed, 251) : ramp);
  };
  std::vector<std::complex<double>> elements(static_cast<std::size_t>(columns * rows * bands));
  std::complex<double>* element = elements.data();
  for (int band = 1; band <= bands; ++band)
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x)
        *element++ = {number(x + 100 * y, band), noise ? number(x * y, 5 * band) : factor * band};
  GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      file, columns, rows, bands, type, nullptr));
  EXPECT_EQ(CE_None, dataset->RasterIO(GF_Write, 0, 0, columns, rows, elements.data(), columns,
                                       rows, GDT_CFloat64, bands, nullptr, 0, 0, 0, nullptr));
}

inline std::string Bytes(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline bool OnlyTheInputsAreThere() {
  return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) ==
         QStringList{"f1.tif", "f2.tif"};
}

inline void Drag(QWidget& widget, QPoint from, QPoint to, Qt::KeyboardModifiers keys = {}) {
  QTest::mousePress(&widget, Qt::LeftButton, keys, from);
  QTest::mouseMove(&widget, to);
  QTest::mouseRelease(&widget, Qt::LeftButton, keys, to);
  for (const QPoint place : {from, to}) QTest::mouseMove(&widget, place);  // by now without effect
}

// Where a place, in pixels of the inputs, is in a view.
inline QPoint PointOf(const ImageView& view, QPointF place) {
  return view.viewportTransform().map(place).toPoint();
}

// The place in the middle of a point of a view.
inline QPointF PlaceAt(const ImageView& view, QPoint point) {
  return view.viewportTransform().inverted().map(point + QPointF(0.5, 0.5));
}

// For what comes without delay. Sanitizers on a busy machine take seconds; a test that fails waits
// only once.
inline bool WaitFor(const std::function<bool()>& condition) {
  return QTest::qWaitFor(condition, 20000);  // ms
}

enum Image { kFile1, kFile2, kResult };

// Each test is in a folder of its own, with a blank in its name and with two inputs.
class PanelWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    QDir::setCurrent(folder_.path());
    QSettings().clear();
    MakeRaster("f1.tif", 60, 40, 1);
    MakeRaster("f2.tif", 60, 40, 2);
  }

  // As the program does with -panel and these arguments.
  void Open(const std::string& arguments) {
    window_.reset();  // its thread uses the host
    HostState& host = StartAfresh();
    std::optional<Job> job;
    if (!arguments.empty())
      job = ReadCommandLine(ArgumentsOf("lumomixcalc -panel " + arguments)).job;
    host.registration.Call(IP_SLOT_SET_MENU);
    window_ = std::make_unique<PanelWindow>(host, job);
    window_->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  }

  template <typename Widget = QWidget>
  Widget& Find(const char* name) {
    return dynamic_cast<Widget&>(*window_->findChild<QWidget*>(name));
  }

  // Fills in, chooses or clicks, whatever the widget is for.
  void Set(const char* name, const QString& text = "") {
    QWidget& widget = Find(name);
    EXPECT_TRUE(widget.isEnabled()) << name;
    if (auto* const button = qobject_cast<QAbstractButton*>(&widget)) return button->click();
    widget.setProperty(widget.metaObject()->userProperty().name(), text);
  }

  // Types in the place of what is there.
  void Type(const char* name, const QString& text) {
    Find<QLineEdit>(name).selectAll();
    QTest::keyClicks(&Find(name), text);
  }

  void Paste(const std::string& text) {
    QGuiApplication::clipboard()->setText(Text(text));
    Set("Paste");
  }

  // What a field, a choice or a list of messages shows.
  std::string TextOf(const char* name) {
    QWidget& widget = Find(name);
    return widget.metaObject()->userProperty().read(&widget).toString().toStdString();
  }

  // The notes about the run that the settings describe, without what runs have told.
  std::string Notes() {
    QStringList lines = Text(TextOf("Messages")).split('\n');
    return lines.filter(QRegularExpression("^\u2022")).join('\n').toStdString();
  }

  bool Told(const std::string& text) { return TextOf("Messages").find(text) != std::string::npos; }

  // Does what must ask a question with this text, which is answered by the button of that name.
  static void Answer(const QString& question, const QString& answer,
                     const std::function<void()>& act) {
    QString asked;
    QTimer timer;
    timer.callOnTimeout([&] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      asked = box->text();
      EXPECT_EQ(box->buttonRole(box->defaultButton()), QMessageBox::RejectRole);
      for (QAbstractButton* const button : box->buttons())
        if (button->text().remove('&') == answer) return button->click();
      asked = "no such button";
      box->reject();
    });
    timer.start(0);
    act();
    EXPECT_TRUE(asked.contains(question)) << asked.toStdString();
  }

  // Waits until all that is shown is that of the settings.
  void Settle() {
    const auto& state = Find<QLabel>("Preview state");
    const auto isAtRest = [this](const char* timer) {
      return !window_->findChild<QTimer*>(timer)->isActive();
    };
    EXPECT_TRUE(WaitFor([&] {
      QCoreApplication::processEvents();  // a change of the layout changes what is shown
      return isAtRest("Refresh") && isAtRest("Expected preview") && state.text().isEmpty();
    }));
  }

  std::string CurrentCommand() {
    Settle();
    return TextOf("Command");
  }

  // A view, which must have a picture.
  ImageView& Pictured(const char* name) {
    Settle();
    auto& view = Find<ImageView>(name);
    EXPECT_FALSE(view.Picture().isNull()) << view.accessibleDescription().toStdString();
    return view;
  }

  // Points at a place of the result, if the pointer is not there, and waits until the pixel there
  // is named, and an image's column of the table begins with the element of MakeRaster.
  void ExpectElements(QPointF place, Image image, int factor) {
    auto& view = Pictured("Result preview");
    QString shown;
    EXPECT_TRUE(WaitFor([&] {
      const QPoint pointer = PointOf(view, place);
      const QPointF seen = PlaceAt(view, pointer);
      const QPoint pixel(qFloor(seen.x()), qFloor(seen.y()));
      const QString named = QString("Column %1, row %2").arg(pixel.x()).arg(pixel.y());
      shown = Find<QLabel>("Place under the pointer").text().section("    ", 0, 0);
      if (shown != named) QTest::mouseMove(view.viewport(), pointer);
      shown += " " + Find<QTableWidget>("Elements").item(0, image)->text();
      return shown == named + QString(" %1").arg(factor * (pixel.x() + 100 * pixel.y()));
    })) << shown.toStdString();
  }

  // Runs until the end, which must be of this kind.
  void Run(const QString& state) {
    Set("Run");
    ExpectEnd(state);
  }

  void ExpectEnd(const QString& state) {
    EXPECT_TRUE(WaitFor([&] { return Find("Run").isEnabled(); }));
    EXPECT_EQ(Find<QProgressBar>("Progress of the run").format(), state) << TextOf("Messages");
  }

  QTemporaryDir folder_{QDir::temp().filePath("panel test-XXXXXX")};
  std::unique_ptr<PanelWindow> window_;
};

}  // namespace lumomixcalc::standalone
