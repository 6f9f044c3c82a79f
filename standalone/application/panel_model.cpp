#include "standalone/application/panel_model.h"

#include <utility>

namespace lumomixcalc::standalone {

void PanelModel::Add(PanelElement element) { CurrentRow().elements.push_back(std::move(element)); }

void PanelModel::AttachRight() {
  if (rowIsOpen_) rows_.back().attachedRight = true;
}

void PanelModel::EndRow() { rowIsOpen_ = false; }

PanelRow& PanelModel::CurrentRow() {
  if (!rowIsOpen_) rows_.emplace_back();
  rowIsOpen_ = true;
  return rows_.back();
}

std::vector<std::vector<float>> PanelModel::FieldValues() const {
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
