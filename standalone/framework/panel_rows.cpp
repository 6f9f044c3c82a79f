#include "standalone/framework/panel_rows.h"

#include <utility>

namespace lumomixcalc::standalone {

void PanelRows::Add(PanelElement element) { CurrentRow().elements.push_back(std::move(element)); }

void PanelRows::AttachRight() {
  if (rowIsOpen_) rows_.back().attachedRight = true;
}

void PanelRows::EndRow() { rowIsOpen_ = false; }

PanelRow& PanelRows::CurrentRow() {
  if (!rowIsOpen_) rows_.emplace_back();
  rowIsOpen_ = true;
  return rows_.back();
}

std::vector<std::vector<float>> PanelRows::FieldValues() const {
  std::vector<std::vector<float>> rows;
  for (const PanelRow& row : rows_) {
    std::vector<float> values;
    for (const PanelElement& element : row.elements)
      if (const auto* field = std::get_if<FloatField>(&element)) values.push_back(*field->value);
    if (!values.empty()) rows.push_back(std::move(values));
  }
  return rows;
}

}  // namespace lumomixcalc::standalone
