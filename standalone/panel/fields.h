#ifndef LUMOMIXCALC_STANDALONE_PANEL_FIELDS_H
#define LUMOMIXCALC_STANDALONE_PANEL_FIELDS_H

#include "standalone/framework/registration.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

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
