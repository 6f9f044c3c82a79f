#ifndef LUMOMIXCALC_STANDALONE_PANEL_NUMBER_FIELD_H
#define LUMOMIXCALC_STANDALONE_PANEL_NUMBER_FIELD_H

#include <QLineEdit>
#include <functional>
#include <optional>

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

}  // namespace lumomixcalc::standalone

#endif
