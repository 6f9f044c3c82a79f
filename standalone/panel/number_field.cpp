#include "standalone/panel/number_field.h"

#include <QKeyEvent>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "standalone/base/numbers.h"
#include "standalone/panel/widgets.h"

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

}  // namespace lumomixcalc::standalone
