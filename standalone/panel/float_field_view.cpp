#include "standalone/panel/float_field_view.h"

#include <QKeyEvent>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include "standalone/base/numbers.h"
#include "standalone/panel/float_text.h"

namespace lumomixcalc::standalone {

FloatFieldView::FloatFieldView(float value, int width, float step, Changed changed,
                               std::function<void()> faultChanged)
    : value_(value),
      step_(step),
      changed_(std::move(changed)),
      faultChanged_(std::move(faultChanged)) {
  setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * (width + 1));
  Show();
  connect(this, &QLineEdit::textChanged, [this] { Read(); });
  connect(this, &QLineEdit::editingFinished, [this] {
    if (!fault_) Show();
  });
}

void FloatFieldView::keyPressEvent(QKeyEvent* event) {
  const bool up = event->key() == Qt::Key_Up;
  if (!fault_ && (up || event->key() == Qt::Key_Down)) {
    // From the decimal number that is shown, so that 0.1 and ten steps make 10.1.
    const double shown = std::strtod(ShortestText(value_).c_str(), nullptr);
    Set(static_cast<float>(up ? shown + step_ : shown - step_));
    Show();
    return;
  }
  QLineEdit::keyPressEvent(event);
}

void FloatFieldView::Read() {
  const std::optional<float> value = ParseTypedFloat(text().toStdString());
  Mark(!value);
  if (value) Set(*value);
}

void FloatFieldView::Set(float value) {
  if (std::bit_cast<std::uint32_t>(value) == std::bit_cast<std::uint32_t>(value_)) return;
  value_ = value;
  changed_(value);
}

void FloatFieldView::Show() {
  setText(QString::fromStdString(ShortestText(value_)));
  setCursorPosition(0);
}

void FloatFieldView::Mark(bool fault) {
  if (fault == fault_) return;
  fault_ = fault;
  // A frame in a red that stands out from light and from dark backgrounds.
  setStyleSheet(fault ? QStringLiteral("border: 2px solid #e0403a; border-radius: 3px;")
                      : QString());
  setToolTip(fault ? QStringLiteral("Not a number that can be used: write, for example, 1.5, "
                                    "-2e-3 or 0,25")
                   : QString());
  faultChanged_();
}

}  // namespace lumomixcalc::standalone
