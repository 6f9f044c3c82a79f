#pragma once

#include <optional>

#include "standalone/panel/preview.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// A table of the elements at one pixel, one column for each image. Its height never changes.
class Inspector : public QWidget {
 public:
  explicit Inspector(const QStringList& images);

  void Show(const std::optional<Inspection>& found, bool pinned = false);

  // Puts the place and the table into the clipboard, with tabs between the cells.
  void Copy() const;

 private:
  QLabel* place_ = Named(new QLabel, "Place under the pointer");
  QTableWidget* table_;
};

}  // namespace lumomixcalc::standalone
