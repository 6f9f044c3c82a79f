#ifndef LUMOMIXCALC_STANDALONE_PANEL_ROWS_VIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_ROWS_VIEW_H

#include <cstdint>
#include <vector>

#include "standalone/framework/panel_rows.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows the rows of any panel and their help. It keeps values of its own and reads the elements'
// addresses only while it is made; a callback reports every change.
class RowsView : public QWidget {
 public:
  struct Callbacks {
    std::function<void(float* place, float value)> numberChanged;
    std::function<void(std::int32_t* place, std::int32_t value)> choiceChanged;
    std::function<void()> faultChanged;
  };

  RowsView(const PanelRows& model, Callbacks callbacks);

  // The first field whose text is no number; null when there is none.
  NumberField* FirstFault() const;

 private:
  class RowBuilder;

  Callbacks callbacks_;
  std::vector<NumberField*> fields_;
};

}  // namespace lumomixcalc::standalone

#endif
