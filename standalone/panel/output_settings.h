#pragma once

#include <array>
#include <functional>
#include <optional>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/widgets.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// A field for a whole number that is not as wide as the largest one.
QSpinBox* NewSpin(const QString& name, int least, const QString& prefix);

// Which part of the inputs a run takes and how its output is stored: extent, region and resolution,
// these two if the application offers them, looks, data mode and format, which messages name by
// their fields; and a field with the options for all else.
class OutputSettings : public QWidget {
 public:
  // changed is called at every change, but not for the numbers of a region that SetRegion or
  // SetExtent shows.
  OutputSettings(const Registration& registration, const std::function<void()>& changed);

  void Show(const Job& job);

  // A job with the settings that are shown, without files.
  Job Shown() const;

  // What is wrong with the other options, which then are those before; or an empty text.
  const QString& Fault() const { return fault_; }

  // The chosen region in pixels of the inputs, or none for all.
  std::optional<QRect> Region() const;
  void SetRegion(const QRect& pixels);

  // Shows the pixels of the inputs as the region, until one is chosen.
  void SetExtent(const QRect& pixels);

 private:
  void ShowRegion(const QRect& pixels);
  void ShowOthers();
  void TakeOthers();

  const Registration& registration_;
  QCheckBox* shared_ = Named(new QCheckBox("Shared area only"), "Shared area only");
  QCheckBox* region_ = Named(new QCheckBox("Region"), "Region");
  std::array<QSpinBox*, 4> spins_ = {
      NewSpin("Region, first column", 0, "x "), NewSpin("Region, first row", 0, "y "),
      NewSpin("Region, columns", 1, "width "), NewSpin("Region, rows", 1, "height ")};
  QSpinBox* resolution_ = NewSpin("Resolution", 1, "1 : ");
  QComboBox* resampling_ = NewChoice("Resampling", {});
  std::array<QSpinBox*, 2> looks_ = {NewSpin("Looks, columns", 1, "columns "),
                                     NewSpin("Looks, rows", 1, "rows ")};
  QComboBox* mode_ = NewChoice("Data type", {"automatic"});
  QComboBox* format_ = NewChoice("Format", {"by extension"});
  QLineEdit* others_ = Named(new QLineEdit, "Other options");
  Job other_;  // has the settings without a field
  QString fault_;
};

}  // namespace lumomixcalc::standalone
