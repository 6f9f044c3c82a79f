#include "standalone/panel/widgets.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {

std::optional<float> ParseTypedFloat(const QString& text) {
  QString number = text.trimmed();
  number.replace(QChar(u'\u2212'), '-');
  if (!number.contains('.') && number.count(',') == 1) number.replace(',', '.');
  return ParseFloat(number.toStdString());
}

NumberField::NumberField(float value, int width, float step,
                         std::function<void(float value)> changed,
                         std::function<void()> faultChanged)
    : value_(value),
      step_(step),
      changed_(std::move(changed)),
      faultChanged_(std::move(faultChanged)) {
  setMinimumWidth(fontMetrics().horizontalAdvance('0') * (width + 1));
  Show();
  connect(this, &QLineEdit::textChanged, [this] { Read(); });
  connect(this, &QLineEdit::editingFinished, [this] {
    if (!fault_) Show();
  });
}

void NumberField::keyPressEvent(QKeyEvent* event) {
  const bool up = event->key() == Qt::Key_Up;
  if (fault_ || (!up && event->key() != Qt::Key_Down)) return QLineEdit::keyPressEvent(event);
  // From the decimal number that is shown, so that 0.1 and ten steps make 10.1.
  const double shown = std::strtod(ShortestText(value_).c_str(), nullptr);
  Set(static_cast<float>(up ? shown + step_ : shown - step_));
  Show();
}

void NumberField::Read() {
  const std::optional<float> value = ParseTypedFloat(text());
  if (value) Set(*value);
  if (fault_ == !value) return;
  fault_ = !value;
  // A frame in a red that stands out from light and from dark backgrounds.
  setStyleSheet(fault_ ? "border: 2px solid #e0403a; border-radius: 3px;" : "");
  setToolTip(fault_ ? "Not a number that can be used. Examples: 1.5, -2e-3, 0,25" : "");
  faultChanged_();
}

// Compares bits: -0 is another value than 0.
void NumberField::Set(float value) {
  if (std::bit_cast<std::uint32_t>(value) == std::bit_cast<std::uint32_t>(value_)) return;
  value_ = value;
  changed_(value);
}

void NumberField::Show() {
  setText(Text(ShortestText(value_)));
  setCursorPosition(0);
}

FileField::FileField(QGridLayout& grid, const DeclaredStream& stream, FileUse use,
                     std::function<void()> changed)
    : stream_(stream.number), use_(use) {
  const QString label = Text(stream.label);
  Named(this, label, label + " file");
  setAcceptDrops(true);
  setClearButtonEnabled(true);
  setToolTip(use == FileUse::kInput ? "A raster; may be dropped here" : "The file to write");
  auto* const browse = new QPushButton("Browse\u2026");
  browse->setAccessibleName("Browse for " + label);
  connect(this, &QLineEdit::textChanged, std::move(changed));
  connect(browse, &QPushButton::clicked, [this] { Browse(); });
  grid.addWidget(browse, AddRow(grid, label, this), 2);
}

void FileField::Browse() {
  const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
  const QString file =
      use_ == FileUse::kInput
          ? QFileDialog::getOpenFileName(window(), "Open " + objectName(), folder)
          // The run asks whether to replace a file.
          : QFileDialog::getSaveFileName(window(), objectName(), File(), QString(), nullptr,
                                         QFileDialog::DontConfirmOverwrite);
  if (!file.isEmpty()) setText(file);
}

void FileField::dragEnterEvent(QDragEnterEvent* event) {
  if (!event->mimeData()->hasUrls()) return QLineEdit::dragEnterEvent(event);
  event->acceptProposedAction();
}

void FileField::dropEvent(QDropEvent* event) {
  if (!event->mimeData()->hasUrls()) return QLineEdit::dropEvent(event);
  const QUrl url = event->mimeData()->urls().first();
  setText(url.isLocalFile() ? url.toLocalFile() : url.toString());
  event->acceptProposedAction();
}

}  // namespace lumomixcalc::standalone
