#ifndef LUMOMIXCALC_STANDALONE_PANEL_OUTPUT_SETTINGS_H
#define LUMOMIXCALC_STANDALONE_PANEL_OUTPUT_SETTINGS_H

#include "standalone/framework/registration.h"
#include "standalone/panel/widgets.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// Which part of the inputs a run takes and how its output is stored: region and resolution, if the
// application offers them, data mode and format.
class OutputSettings : public QWidget {
 public:
  // Shows the settings of first.
  OutputSettings(const Registration& registration, const Job& first, std::function<void()> changed);

  // Puts the settings into job.
  void Apply(Job& job) const;

  // The chosen region in pixels of the inputs, or none for all.
  std::optional<QRect> Region() const;
  void SetRegion(const QRect& pixels);

  // The size of the inputs: the region until another is chosen.
  void SetImageSize(int columns, int rows);

 private:
  void AddRegion(QGridLayout& grid, const Job& first);
  void AddResolution(QGridLayout& grid, const Job& first);
  void AddStorage(QGridLayout& grid, const Job& first);
  void SetSpins(const QRect& pixels);

  std::function<void()> changed_;
  QCheckBox* region_ = nullptr;  // null when the application does not offer it
  QSpinBox* spins_[4] = {};      // x, y, columns, rows
  QSpinBox* resolution_ = nullptr;
  QComboBox* resampling_ = nullptr;
  QComboBox* mode_ = nullptr;
  QComboBox* format_ = nullptr;
};

}  // namespace lumomixcalc::standalone

#endif
