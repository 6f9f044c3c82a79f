#pragma once

#include <QtWidgets>
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

#include "standalone/base/texts.h"

// The fields of the panel, and what all its widgets have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// A message of the run host in the words of the panel: the names of fields in place of options. An
// option without a field keeps its name.
inline QString OfFields(const std::string& message) {
  static constexpr std::pair<const char*, const char*> kWords[] = {
      {"; -overwrite replaces it", ""},
      {"; -overwrite removes it", ""},
      {"choose pixels by -region=", "choose a Region"},
      {"choose by -mode=", "choose the Data type"},
      {"the types of -mode=", "the data types"},
      {"the format by -format=NAME, such as -format=GTiff", "the Format, such as GTiff"},
      {"-region=", "Region "},
      {"-window=", "Window "},
      {"-resolution=", "Resolution 1 : "},
      {"-resampling=", "Resampling "},
      {"-looks=", "Looks "},
      {"-bands=:", "Bands:"},
      {"-a_nodata=", "No-data value of the output "},
      {"-nodata=", "No-data value "},
      {"-mode=", "Data type "},
      {"-format=", "Format "}};
  QString text = Text(message);
  for (const auto& [option, field] : kWords) text.replace(option, field);
  return text;
}

// Gives a widget the name that tests find it by, and the one that screen readers say, by default
// the same.
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

// Adds a row of a label and its widget; returns the row's number.
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

// A layout without margins.
template <typename Layout>
Layout* NewLayout(QWidget* widget) {
  auto* const layout = new Layout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  return layout;
}

// A widget with these side by side, all of one width.
inline QWidget* SideBySide(std::initializer_list<QWidget*> widgets) {
  auto* const together = new QWidget;
  auto* const layout = NewLayout<QHBoxLayout>(together);
  for (QWidget* const widget : widgets) layout->addWidget(widget, 1);
  return together;
}

// Frames a field whose text cannot be used, in a red that stands out on light and dark
// backgrounds. The field keeps its height.
inline void MarkFault(QLineEdit& field, bool faulty) {
  field.setMinimumHeight(std::max(field.minimumHeight(), field.sizeHint().height()));
  field.setStyleSheet(faulty ? "border: 2px solid #e0403a; border-radius: 3px;" : "");
}

// A field for one number. It shows the shortest text that reads back as the same float. A text that
// is no number is marked; the arrow keys step the value. A QDoubleValidator would refuse commas,
// inf and nan, and would not keep the bits of a float.
class NumberField : public QLineEdit {
 public:
  // Called at every change of the text: with its value, or with none when it is no number.
  using Changed = std::function<void(std::optional<float> value)>;

  NumberField(int width, float step, Changed changed) : step_(step), changed_(std::move(changed)) {
    setMinimumWidth(fontMetrics().horizontalAdvance('0') * (width + 1));
    setAcceptDrops(false);  // a file that is dropped here is meant for the window
    connect(this, &QLineEdit::textChanged, [this] { Read(); });
    connect(this, &QLineEdit::editingFinished, [this] {
      if (value_) Edit(*value_);
    });
  }

  bool HasFault() const { return !value_; }

  void SetValue(float value) {
    setText(Text(ShortestText(value)));
    setCursorPosition(0);
  }

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    const bool up = event->key() == Qt::Key_Up;
    if (!value_ || (!up && event->key() != Qt::Key_Down)) return QLineEdit::keyPressEvent(event);
    // From the decimal number that is shown, so that 0.1 and ten steps make 10.1.
    const double shown = std::strtod(ShortestText(*value_).c_str(), nullptr);
    Edit(static_cast<float>(up ? shown + step_ : shown - step_));
  }

 private:
  // Reads a number as people type or paste it: what ParseFloat takes, also with blanks around it, a
  // decimal comma, or a typographic minus. A number with both point and comma is refused: it could
  // mean two things.
  static std::optional<float> Parse(const QString& text) {
    QString number = text.trimmed();
    number.replace(QChar(u'\u2212'), '-');
    if (!number.contains('.') && number.count(',') == 1) number.replace(',', '.');
    return ParseFloat(number.toStdString());
  }

  void Read() {
    value_ = Parse(text());
    MarkFault(*this, !value_);
    setToolTip(value_ ? "" : "Not a number that can be used. Examples: 1.5, -2e-3, 0,25");
    changed_(value_);
  }

  // As if the user typed it: setText would forget what can be undone.
  void Edit(float value) {
    const QString number = Text(ShortestText(value));
    if (number != text()) {
      selectAll();
      insert(number);
    }
    setCursorPosition(0);
  }

  std::optional<float> value_;  // none while the text is no number
  float step_;
  Changed changed_;
};

}  // namespace lumomixcalc::standalone
