#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/panel_command.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows the rows of any panel and their help. It keeps its own numbers and reads the elements'
// addresses only in its constructor.
class RowsView : public QWidget {
 public:
  // changed is called at every change, also when a text stops being a number.
  RowsView(const std::vector<PanelRow>& rows, std::function<void()> changed);

  // What the rows show; for a field whose text is no number, its last number.
  const RowNumbers& Numbers() const { return numbers_; }

  void Show(const RowNumbers& numbers);

  // The first field whose text is no number, or null.
  NumberField* FirstFault() const;

 private:
  using Element = decltype(PanelRow::elements)::value_type;
  QWidget* Make(const Element& element, const QString& label);
  QWidget* MakeChoice(const Element& element, const QString& label);
  void Take(std::size_t position, std::optional<double> number);

  std::function<void()> changed_ = [] {};  // until all is made
  RowNumbers numbers_;
  std::vector<std::function<void(double)>> show_;  // of each number
  std::vector<NumberField*> fields_;
};

}  // namespace lumomixcalc::standalone
