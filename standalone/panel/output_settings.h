#pragma once

#include <array>
#include <utility>

#include "standalone/panel/widgets.h"
#include "standalone/rasters/output_format.h"
#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"

namespace lumomixcalc::standalone {

// A mode in words, without its name: "16-bit integer", "complex float".
inline QString WordsFor(const DataMode& mode) {
  const int bits = GDALGetDataTypeSizeBits(mode.type) / (mode.complex ? 2 : 1);
  const QString number =
      !mode.integer ? QString(bits == 64 ? "double" : "float")
                    : QString("%1-bit %2").arg(bits).arg(mode.lowest < 0 ? "integer" : "unsigned");
  return (mode.complex ? "complex " : "") + number;
}

// "complex float (cfloat32)"
inline QString LabelOf(const DataMode& mode) {
  return QString("%1 (%2)").arg(WordsFor(mode), mode.name);
}

// Which part of the inputs a run takes and how its output is stored: region and resolution, if the
// application offers them, data mode and format.
class OutputSettings : public QWidget {
 public:
  // changed is called at every change by the user.
  OutputSettings(const Registration& registration, std::function<void()> changed)
      : changed_([this, changed = std::move(changed)] {
          if (!showing_) changed();
        }) {
    grid_->setColumnStretch(1, 1);
    if (registration.regions) AddRegion();
    if (registration.resolutions) AddResolution();
    AddLooks();
    AddStorage();
  }

  // Shows the settings of a job; changed is not called.
  void Show(const Job& job) {
    showing_ = true;
    const Selection& selection = job.selection;
    if (region_) region_->setChecked(selection.region.has_value());
    if (const auto& region = selection.region; region && region_)
      SetSpins(QRect(region->x, region->y, region->columns, region->rows));
    if (resolution_) {
      resolution_->setValue(selection.resolution);
      resampling_->setCurrentIndex(static_cast<int>(selection.resampling));
    }
    looks_[0]->setValue(selection.looks.x);
    looks_[1]->setValue(selection.looks.y);
    mode_->setCurrentIndex(job.mode ? job.mode->code + 1 : 0);
    // A format that cannot write is shown as given; the run then says what is wrong with it.
    const QString format = job.format.empty() ? format_->itemText(0) : Text(job.format);
    if (format_->findText(format, Qt::MatchFixedString) < 0) format_->addItem(format);
    format_->setCurrentIndex(format_->findText(format, Qt::MatchFixedString));
    showing_ = false;
  }

  // Shows in the lists what the automatic choices are; the report may be missing.
  void ShowResolved(const std::optional<RunPlan>& plan) {
    const auto show = [](QComboBox& box, const QString& automatic, const QString& choice) {
      const bool known = box.currentIndex() == 0 && !choice.isEmpty();
      box.setItemText(0, known ? automatic + " (" + choice + ")" : automatic);
    };
    show(*mode_, kAnyMode, plan ? WordsFor(*plan->mode) : "");
    show(*format_, kAnyFormat, plan && plan->format.driver ? Text(plan->format.Name()) : "");
  }

  void Apply(Job& job) const {
    job.selection.region.reset();
    if (const std::optional<QRect> region = Region()) {
      job.selection.region = {region->x(), region->y(), region->width(), region->height()};
      job.selection.window.reset();
    }
    if (resolution_) {
      job.selection.resolution = resolution_->value();
      job.selection.resampling = static_cast<Resampling>(resampling_->currentIndex());
    }
    job.selection.looks = {looks_[0]->value(), looks_[1]->value()};
    job.mode = mode_->currentIndex() == 0 ? nullptr : &DataModeOf(mode_->currentIndex() - 1);
    job.format = format_->currentIndex() == 0 ? "" : format_->currentText().toStdString();
  }

  // The chosen region in pixels of the inputs, or none for all.
  std::optional<QRect> Region() const {
    if (!region_ || !region_->isChecked()) return std::nullopt;
    return QRect(spins_[0]->value(), spins_[1]->value(), spins_[2]->value(), spins_[3]->value());
  }

  void SetRegion(const QRect& pixels) {
    SetSpins(pixels);
    region_->setChecked(true);
    changed_();  // also when a region was chosen before
  }

  // Shows the size of the inputs as the region, until one is chosen.
  void SetImageSize(QSize size) {
    if (region_ && !region_->isChecked()) SetSpins(QRect(QPoint(0, 0), size));
  }

 private:
  static QSpinBox* NewSpin(const QString& name, int least, const QString& prefix) {
    auto* const spin = Named(new QSpinBox, name);
    spin->setRange(least, 9999999);
    spin->setPrefix(prefix);
    // Not as wide as the largest number.
    spin->setMinimumWidth(spin->fontMetrics().horizontalAdvance(prefix + "00000") + 40);
    spin->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    return spin;
  }

  void AddRegion() {
    region_ = Named(new QCheckBox("Region"), "Region");
    region_->setToolTip(
        "Compute only this part of the images, in pixels. It can also be drawn on the preview.");
    auto* const fields = new QGridLayout;
    const int row = grid_->rowCount();
    grid_->addWidget(region_, row, 0);
    grid_->addLayout(fields, row, 1);
    spins_ = {NewSpin("Region, first column", 0, "x "), NewSpin("Region, first row", 0, "y "),
              NewSpin("Region, columns", 1, "width "), NewSpin("Region, rows", 1, "height ")};
    int number = 0;
    for (QSpinBox* const spin : spins_) {
      spin->setEnabled(false);
      connect(region_, &QCheckBox::toggled, spin, &QWidget::setEnabled);
      connect(spin, &QSpinBox::valueChanged, changed_);
      fields->addWidget(spin, number / 2, number % 2);
      ++number;
    }
    connect(region_, &QCheckBox::toggled, changed_);
  }

  void AddResolution() {
    resolution_ = NewSpin("Resolution", 1, "1 : ");
    resolution_->setToolTip("Input pixels to one output pixel, in each direction");
    resampling_ = NewChoice("Resampling", {});
    for (const ResamplingMethod& method : kResamplingMethods) resampling_->addItem(method.name);
    resampling_->setToolTip("How an output pixel is made from several input pixels");
    resampling_->setEnabled(false);
    connect(resolution_, &QSpinBox::valueChanged,
            [this](int value) { resampling_->setEnabled(value > 1); });
    connect(resolution_, &QSpinBox::valueChanged, changed_);
    connect(resampling_, &QComboBox::currentIndexChanged, changed_);
    AddRow(*grid_, "Resolution", SideBySide({resolution_, resampling_}));
  }

  void AddLooks() {
    looks_ = {NewSpin("Looks, columns", 1, "columns "), NewSpin("Looks, rows", 1, "rows ")};
    for (QSpinBox* const spin : looks_) {
      spin->setToolTip(
          "Average the results over blocks of this size. The preview of a large image averages "
          "fewer.");
      connect(spin, &QSpinBox::valueChanged, changed_);
    }
    AddRow(*grid_, "Looks", SideBySide({looks_[0], looks_[1]}));
  }

  void AddStorage() {
    for (const DataMode& mode : DataModes()) mode_->addItem(LabelOf(mode));
    for (const std::string& name : WritableFormats()) format_->addItem(Text(name));
    for (QComboBox* const box : {mode_, format_}) {
      box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
      connect(box, &QComboBox::currentIndexChanged, changed_);
    }
    AddRow(*grid_, mode_->objectName(), mode_);
    AddRow(*grid_, format_->objectName(), format_);
  }

  // changed is not called.
  void SetSpins(const QRect& pixels) {
    const bool showing = std::exchange(showing_, true);
    const std::array values = {pixels.x(), pixels.y(), pixels.width(), pixels.height()};
    for (std::size_t i = 0; i < spins_.size(); ++i) spins_[i]->setValue(values[i]);
    showing_ = showing;
  }

  static constexpr const char* kAnyMode = "automatic";
  static constexpr const char* kAnyFormat = "by extension";

  bool showing_ = false;
  std::function<void()> changed_;
  QGridLayout* grid_ = NewLayout<QGridLayout>(this);
  QCheckBox* region_ = nullptr;       // null when the application does not offer it
  std::array<QSpinBox*, 4> spins_{};  // x, y, columns, rows
  QSpinBox* resolution_ = nullptr;
  std::array<QSpinBox*, 2> looks_{};
  QComboBox* resampling_ = nullptr;
  QComboBox* mode_ = NewChoice("Data type", {kAnyMode});
  QComboBox* format_ = NewChoice("Format", {kAnyFormat});
};

}  // namespace lumomixcalc::standalone
