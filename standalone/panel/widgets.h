#pragma once

#include <QtWidgets>
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

#include "standalone/base/numbers.h"

// The fields of the panel, and what all its widgets have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// A message of the run host in the words of the panel: fields in place of options. An option that
// no field stands for keeps its name.
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

// Puts widgets side by side into one, all as wide.
inline QWidget* SideBySide(std::initializer_list<QWidget*> widgets) {
  auto* const together = new QWidget;
  auto* const layout = NewLayout<QHBoxLayout>(together);
  for (QWidget* const widget : widgets) layout->addWidget(widget, 1);
  return together;
}

// Frames a field whose text cannot be used, in a red that stands out from light and from dark
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
  // Called with every new value as it is typed, and with none when the text stops being a number.
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
    MarkFault(*this, !value);
    setToolTip(value ? "" : "Not a number that can be used. Examples: 1.5, -2e-3, 0,25");
    changed_(value);
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
