#ifndef LUMOMIXCALC_STANDALONE_PANEL_FLOAT_FIELD_VIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_FLOAT_FIELD_VIEW_H

#include <QLineEdit>
#include <functional>

namespace lumomixcalc::standalone {

// A field for one number. It shows the shortest text that reads back as the same float. A text that
// is no number is marked and changes nothing; the arrow keys step the value.
class FloatFieldView : public QLineEdit {
 public:
  using Changed = std::function<void(float value)>;

  // changed is called with every new value as it is typed, and faultChanged when the text begins or
  // ceases to be no number.
  FloatFieldView(float value, int width, float step, Changed changed,
                 std::function<void()> faultChanged);

  bool HasFault() const { return fault_; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Read();
  void Set(float value);
  void Show();
  void Mark(bool fault);

  float value_;
  float step_;
  Changed changed_;
  std::function<void()> faultChanged_;
  bool fault_ = false;
};

}  // namespace lumomixcalc::standalone

#endif
