#pragma once

#include <QtWidgets>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>

// The number field of the panel, and what all its widgets have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// Gives a widget the name that tests find it by, and the one that screen readers say, by default
// the same. Of a label they say the text.
template <typename Widget>
Widget* Named(Widget* widget, const QString& name, const QString& spoken = {}) {
  widget->setObjectName(name);
  if (!qobject_cast<QLabel*>(widget)) widget->setAccessibleName(spoken.isEmpty() ? name : spoken);
  return widget;
}

QLabel* NewLabel(const QString& text, QWidget* labelled);
QComboBox* NewChoice(const QString& name, const QStringList& items);

// A layout without margins.
template <typename Layout>
Layout* NewLayout(QWidget* widget) {
  auto* const layout = new Layout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  return layout;
}

// A layout with these side by side, all of one width.
QLayout* SideBySide(std::initializer_list<QWidget*> widgets);

// Frames a field whose text cannot be used, in a red that stands out on light and dark
// backgrounds. The field keeps its height.
void MarkFault(QLineEdit& field, bool faulty);

// A field for one number. It shows the shortest text that reads back as the same float. A text that
// is no number is marked; the arrow keys step the value. A QDoubleValidator would refuse commas,
// inf and nan, and would not keep the bits of a float.
class NumberField : public QLineEdit {
 public:
  // Called at every change of the text: with its value, or with none when it is no number.
  using Changed = std::function<void(std::optional<float> value)>;

  NumberField(int width, float step, Changed changed);

  bool HasFault() const { return !value_; }
  std::optional<float> Value() const { return value_; }
  void SetValue(float value);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Read();
  void Edit(float value);

  std::optional<float> value_;  // none while the text is no number
  float step_;
  Changed changed_;
};

}  // namespace lumomixcalc::standalone
