#ifndef LUMOMIXCALC_STANDALONE_FRAMEWORK_PANEL_ROWS_H
#define LUMOMIXCALC_STANDALONE_FRAMEWORK_PANEL_ROWS_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace lumomixcalc::standalone {

// A button with the row's label; its key names the row's help entry.
struct InfoButton {
  std::string label;
  std::string helpKey;
};

// A number of the application's, in a field about width characters wide.
struct FloatField {
  float* value = nullptr;
  int width = 0;
  float step = 1;  // what one step up or down adds
};

struct FixedText {
  std::string text;
};

// A choice among labels; *choice is the position of the chosen one.
struct Pulldown {
  std::vector<std::string> labels;
  std::int32_t* choice = nullptr;
};

// A switch; *on is nonzero when it is on.
struct Toggle {
  std::string label;
  std::int32_t* on = nullptr;
};

using PanelElement = std::variant<InfoButton, FloatField, FixedText, Pulldown, Toggle>;

struct PanelRow {
  std::vector<PanelElement> elements;
  bool attachedRight = false;  // its last element reaches the panel's right side
};

// The rows of a panel as an application described them. The elements are bound to addresses of the
// application's, so only the thread that calls the application back may look behind them.
class PanelRows {
 public:
  void Add(PanelElement element);
  void AttachRight();
  void EndRow();

  // The rows that have an element, also one that was not ended.
  const std::vector<PanelRow>& Rows() const { return rows_; }

  // The current values of each row's fields; rows without a field are left out.
  std::vector<std::vector<float>> FieldValues() const;

 private:
  PanelRow& CurrentRow();

  std::vector<PanelRow> rows_;
  bool rowIsOpen_ = false;
};

}  // namespace lumomixcalc::standalone

#endif
