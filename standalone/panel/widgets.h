#pragma once

#include <QtWidgets>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "standalone/base/numbers.h"
#include "standalone/framework/host_calls.h"

// The fields of the panel, and what all its widgets have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// A message of the run host in the words of the panel: fields in place of options.
inline QString OfFields(const std::string& message) {
  static constexpr std::pair<const char*, const char*> kWords[] = {
      {"-region=", "Region "},
      {"-resolution=", "Resolution 1 : "},
      {"-resampling=", "Resampling "},
      {"-looks=", "Looks "},
      {"-mode=", "Mode "},
      {"-format=", "Format "}};
  QString text = Text(message);
  for (const auto& [option, field] : kWords) text.replace(option, field);
  return text;
}

// Gives a widget the name that tests find it by, and the one that screen readers say if it differs.
template <typename Widget>
Widget* Named(Widget* widget, const QString& name, const QString& spoken = {}) {
  widget->setObjectName(name);
  widget->setAccessibleName(spoken.isEmpty() ? name : spoken);
  return widget;
}

inline QLabel* NewLabel(const QString& text, QWidget* labelled) {
  auto* const label = new QLabel(text);
  label->setBuddy(labelled);
  return label;
}

// Adds a row that begins with a label and its widget; returns the row's number.
inline int AddRow(QGridLayout& grid, const QString& label, QWidget* widget) {
  const int row = grid.rowCount();
  grid.addWidget(NewLabel(label, widget), row, 0);
  grid.addWidget(widget, row, 1);
  return row;
}

inline QComboBox* NewChoice(const QString& name, const QStringList& items) {
  auto* const box = Named(new QComboBox, name);
  box->addItems(items);
  return box;
}

// A layout that uses the whole of its widget.
template <typename Layout>
Layout* NewLayout(QWidget* widget) {
  auto* const layout = new Layout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  return layout;
}

// A field for one number. It shows the shortest text that reads back as the same float. A text that
// is no number is marked; the arrow keys step the value. A QDoubleValidator would refuse commas,
// inf and nan, and would not keep the bits of a float.
class NumberField : public QLineEdit {
 public:
  // Called with every new value as it is typed, and with none when the text stops being a number.
  using Changed = std::function<void(std::optional<float> value)>;

  NumberField(float value, int width, float step, Changed changed)
      : value_(value), step_(step), changed_(std::move(changed)) {
    setMinimumWidth(fontMetrics().horizontalAdvance('0') * (width + 1));
    Show(value);
    connect(this, &QLineEdit::textChanged, [this] { Read(); });
    connect(this, &QLineEdit::editingFinished, [this] {
      if (value_) Show(*value_);
    });
  }

  bool HasFault() const { return !value_; }

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    const bool up = event->key() == Qt::Key_Up;
    if (!value_ || (!up && event->key() != Qt::Key_Down)) return QLineEdit::keyPressEvent(event);
    // From the decimal number that is shown, so that 0.1 and ten steps make 10.1.
    const double shown = std::strtod(ShortestText(*value_).c_str(), nullptr);
    Show(static_cast<float>(up ? shown + step_ : shown - step_));
  }

 private:
  // Reads a number as people type or paste it: as ParseFloat does, and with blanks around it, a
  // decimal comma in place of the point, or a typographic minus. None for anything else: a number
  // with both point and comma could mean two things.
  static std::optional<float> Parse(const QString& text) {
    QString number = text.trimmed();
    number.replace(QChar(u'\u2212'), '-');
    if (!number.contains('.') && number.count(',') == 1) number.replace(',', '.');
    return ParseFloat(number.toStdString());
  }

  void Read() {
    const std::optional<float> value = Parse(text());
    // Compares bits: -0 is another value than 0.
    if (value && value_
            ? std::bit_cast<std::uint32_t>(*value) == std::bit_cast<std::uint32_t>(*value_)
            : !value && !value_)
      return;
    value_ = value;
    // A frame in a red that stands out from light and from dark backgrounds.
    setStyleSheet(value ? "" : "border: 2px solid #e0403a; border-radius: 3px;");
    setToolTip(value ? "" : "Not a number that can be used. Examples: 1.5, -2e-3, 0,25");
    changed_(value);
  }

  void Show(float value) {
    setText(Text(ShortestText(value)));
    setCursorPosition(0);
  }

  std::optional<float> value_;  // none while the text is no number
  float step_;
  Changed changed_;
};

enum class FileUse { kInput, kOutput };

// The field for the file of one declared stream; it takes files dropped on it.
class FileField : public QLineEdit {
 public:
  // Adds a row to grid: the stream's label, the field and a browse button.
  FileField(QGridLayout& grid, const DeclaredStream& stream, FileUse use)
      : stream_(stream.number), use_(use) {
    const QString label = Text(stream.label);
    Named(this, label, label + " file");
    setAcceptDrops(true);
    setClearButtonEnabled(true);
    setToolTip(use == FileUse::kInput ? "A raster; may be dropped here" : "The file to write");
    auto* const browse = new QPushButton("Browse\u2026");
    browse->setAccessibleName("Browse for " + label);
    connect(browse, &QPushButton::clicked, [this] { Browse(); });
    grid.addWidget(browse, AddRow(grid, label, this), 2);
  }

  int StreamNumber() const { return stream_; }

  // The chosen file by a name that is valid in every folder. A name that is no file on disk, such
  // as one that only GDAL understands, stays as it is.
  QString File() const {
    const QString file = text().trimmed();
    const bool isFile = use_ == FileUse::kOutput || QFileInfo::exists(file);
    return isFile && !file.isEmpty() ? QFileInfo(file).absoluteFilePath() : file;
  }

  void Browse() {
    const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
    const QString file =
        use_ == FileUse::kInput
            ? QFileDialog::getOpenFileName(window(), "Open " + objectName(), folder)
            // The run asks whether to replace a file.
            : QFileDialog::getSaveFileName(window(), objectName(), File(), QString(), nullptr,
                                           QFileDialog::DontConfirmOverwrite);
    if (!file.isEmpty()) setText(file);
  }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override {
    if (!event->mimeData()->hasUrls()) return QLineEdit::dragEnterEvent(event);
    event->acceptProposedAction();
  }

  void dropEvent(QDropEvent* event) override {
    if (!event->mimeData()->hasUrls()) return QLineEdit::dropEvent(event);
    const QUrl url = event->mimeData()->urls().first();
    setText(url.isLocalFile() ? url.toLocalFile() : url.toString());
    event->acceptProposedAction();
  }

 private:
  int stream_;
  FileUse use_;
};

}  // namespace lumomixcalc::standalone
