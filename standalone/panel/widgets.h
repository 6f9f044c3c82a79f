#ifndef LUMOMIXCALC_STANDALONE_PANEL_WIDGETS_H
#define LUMOMIXCALC_STANDALONE_PANEL_WIDGETS_H

#include <QtWidgets>
#include <functional>
#include <optional>
#include <string>

#include "standalone/framework/registration.h"

// The fields of the panel, and what all its widgets have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

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

// Reads a number as people type or paste it: as ParseFloat does, and with blanks around it, a
// decimal comma in place of the point, or a typographic minus. None for anything else: a number
// with both point and comma could mean two things.
std::optional<float> ParseTypedFloat(const QString& text);

// A field for one number. It shows the shortest text that reads back as the same float. A text that
// is no number is marked and changes nothing; the arrow keys step the value. A QDoubleValidator
// would refuse commas, inf and nan, and would not keep the bits of a float.
class NumberField : public QLineEdit {
 public:
  // changed is called with every new value as it is typed, and faultChanged when the text starts or
  // stops being a number.
  NumberField(float value, int width, float step, std::function<void(float value)> changed,
              std::function<void()> faultChanged);

  bool HasFault() const { return fault_; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Read();
  void Set(float value);
  void Show();

  float value_;
  float step_;
  std::function<void(float value)> changed_;
  std::function<void()> faultChanged_;
  bool fault_ = false;
};

enum class FileUse { kInput, kOutput };

// The field for the file of one declared stream; it takes files dropped on it.
class FileField : public QLineEdit {
 public:
  // Adds a row to grid: the stream's label, the field and a browse button.
  FileField(QGridLayout& grid, const DeclaredStream& stream, FileUse use,
            std::function<void()> changed);

  int StreamNumber() const { return stream_; }
  FileUse Use() const { return use_; }
  QString File() const { return text().trimmed(); }
  void Browse();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  int stream_;
  FileUse use_;
};

}  // namespace lumomixcalc::standalone

#endif
