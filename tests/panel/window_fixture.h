// Drives the real window, on a platform without a screen, over real files.
#pragma once

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <complex>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "standalone/panel/image_view.h"
#include "standalone/panel/panel_window.h"
#include "tests/standalone/command_lines.h"

namespace lumomixcalc::standalone {

inline constexpr const char* kFiles = "f1.tif f2.tif out.tif ";
// The fields of the coefficients, by name.
inline constexpr const char* kA = "File1 Coeff (A), number 1 of 2";
inline constexpr const char* kAi = "File1 Coeff (A), number 2 of 2";
inline constexpr const char* kB = "File2 Coeff (B), number 1 of 2";
inline constexpr const char* kBi = "File2 Coeff (B), number 2 of 2";

// Elements are factor * (x + 100 y + band i).
inline void MakeRaster(const char* file, int columns, int rows, double factor, int bands = 2) {
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

inline std::string Bytes(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline bool OnlyTheInputsAreThere() {
  return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) ==
         QStringList{"f1.tif", "f2.tif"};
}

// Where a place, in pixels of the inputs, is in a view.
inline QPoint PointOf(const ImageView& view, QPointF place) {
  return view.viewportTransform().map(place).toPoint();
}

inline bool WaitFor(const std::function<bool()>& condition) {
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
    const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    std::optional<Job> job = ReadCommandLine(words).job;
    if (words.size() == 1) job.reset();
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
  QString Notes() { return Find<QPlainTextEdit>("Notes").toPlainText().remove("\u2022 "); }
  std::string Messages() { return Find<QPlainTextEdit>("Messages").toPlainText().toStdString(); }
  bool Told(const std::string& text) { return Messages().find(text) != std::string::npos; }

  // Answers the next question, which must contain a text, by the button of that name.
  void AnswerNextQuestion(const QString& answer, const QString& question = "") {
    QTimer::singleShot(0, [this, answer, question] {
      auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return AnswerNextQuestion(answer, question);
      EXPECT_TRUE(box->text().contains(question)) << box->text().toStdString();
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
  ImageView& Pictured(const char* name) {
    auto& view = Find<ImageView>(name);
    EXPECT_TRUE(WaitFor([&] { return !view.Picture().isNull(); })) << view.Note().toStdString();
    return view;
  }

  // Points at a place of the result and waits until the row of an image in the table begins with
  // what is expected at the pixel that is said to be there.
  void ExpectElements(QPointF place, const QString& image,
                      const std::function<QString(int column, int row)>& expected) {
    auto& view = Pictured("Result preview");
    auto& table = Find<QTableWidget>("Elements");
    std::string shown;
    EXPECT_TRUE(WaitFor([&] {
      // Again and again: a picture that arrives may move the widgets under the pointer.
      QTest::mouseMove(view.viewport(), PointOf(view, place));
      shown = Find<QLabel>("Place under the pointer").text().toStdString();
      int column = 0;
      int row = 0;
      if (std::sscanf(shown.c_str(), "Column %d, row %d", &column, &row) != 2) return false;
      QString elements;
      for (int i = 0; i < table.rowCount(); ++i)
        for (int j = 0; j < table.columnCount(); ++j)
          if (table.verticalHeaderItem(i)->text() == image)
            elements += table.item(i, j)->text() + " ";
      shown += ": " + elements.toStdString() + "; expected: " + expected(column, row).toStdString();
      return (QPointF(column, row) - place).manhattanLength() <= 2 / view.Scale() + 1 &&
             elements.startsWith(expected(column, row));
    })) << shown;
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

}  // namespace lumomixcalc::standalone
