#ifndef LUMOMIXCALC_STANDALONE_PANEL_ROWS_VIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_ROWS_VIEW_H

#include <QString>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <vector>

#include "standalone/framework/panel_rows.h"
#include "standalone/panel/float_field_view.h"

class QHBoxLayout;

namespace lumomixcalc::standalone {

// Shows the rows of any panel. It keeps values of its own and reads what is behind the elements'
// addresses only while it is made; every change goes out through a callback.
class RowsView : public QWidget {
 public:
  struct Callbacks {
    std::function<void(float* place, float value)> numberChanged;
    std::function<void(std::int32_t* place, std::int32_t value)> choiceChanged;
    std::function<void()> faultChanged;
    std::function<void(const std::string& helpKey)> helpAsked;
  };

  RowsView(const PanelRows& model, Callbacks callbacks);

  // The first field whose text is no number; null when there is none.
  FloatFieldView* FirstFault() const;

 private:
  class RowBuilder;

  Callbacks callbacks_;
  std::vector<FloatFieldView*> fields_;
};

}  // namespace lumomixcalc::standalone

#endif
