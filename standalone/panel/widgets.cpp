#include "standalone/panel/widgets.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace {

// Reads a number as people type or paste it: what ParseFloat takes, also with blanks around it, a
// decimal comma, or a typographic minus. A number with both point and comma is refused: it could
// mean two things.
std::optional<float> Parse(const QString& text) {
  QString number = text.trimmed();
  number.replace(QChar(u'\u2212'), '-');
  if (!number.contains('.') && number.count(',') == 1) number.replace(',', '.');
  return ParseFloat(number.toStdString());
}

}  // namespace

QLabel* NewLabel(const QString& text, QWidget* labelled) {
  auto* const label = new QLabel(text);
  label->setBuddy(labelled);
  return label;
}

QComboBox* NewChoice(const QString& name, const QStringList& items) {
  auto* const box = Named(new QComboBox, name);
  box->addItems(items);
  return box;
}

QLayout* SideBySide(std::initializer_list<QWidget*> widgets) {
  auto* const layout = new QHBoxLayout;
  for (QWidget* const widget : widgets) layout->addWidget(widget, 1);
  return layout;
}

void MarkFault(QLineEdit& field, bool faulty) {
  field.setMinimumHeight(std::max(field.minimumHeight(), field.sizeHint().height()));
  field.setStyleSheet(faulty ? "border: 2px solid #e0403a; border-radius: 3px;" : "");
}

NumberField::NumberField(int width, float step, Changed changed)
    : step_(step), changed_(std::move(changed)) {
  setMinimumWidth(fontMetrics().horizontalAdvance('0') * width);
  setAcceptDrops(false);  // a file that is dropped here is meant for the window
  connect(this, &QLineEdit::textChanged, [this] { Read(); });
  connect(this, &QLineEdit::editingFinished, [this] {
    if (value_ && isModified()) Edit(*value_);
  });
}

void NumberField::SetValue(float value) {
  setText(Text(ShortestText(value)));
  setCursorPosition(0);
}

void NumberField::keyPressEvent(QKeyEvent* event) {
  const bool up = event->key() == Qt::Key_Up;
  if (!value_ || (!up && event->key() != Qt::Key_Down)) return QLineEdit::keyPressEvent(event);
  // From the decimal number that is shown, so that 0.1 and ten steps make 10.1.
  const double shown = std::strtod(ShortestText(*value_).c_str(), nullptr);
  Edit(static_cast<float>(up ? shown + step_ : shown - step_));
}

void NumberField::Read() {
  value_ = Parse(text());
  MarkFault(*this, !value_);
  setToolTip(value_ ? "" : "Not a number that can be used. Examples: 1.5, -2e-3, 0,25");
  changed_(value_);
}

// As if the user typed it: setText would forget what can be undone.
void NumberField::Edit(float value) {
  const QString number = Text(ShortestText(value));
  if (number != text()) {
    selectAll();
    insert(number);
  }
  setCursorPosition(0);
}

}  // namespace lumomixcalc::standalone
