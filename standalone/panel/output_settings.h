#pragma once

#include <array>
#include <utility>

#include "standalone/panel/widgets.h"
#include "standalone/rasters/output_format.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// Which part of the inputs a run takes and how its output is stored: region and resolution, if the
// application offers them, data mode and format.
class OutputSettings : public QWidget {
 public:
  OutputSettings(const Registration& registration, const Job& first, std::function<void()> changed)
      : changed_(std::move(changed)) {
    grid_->setColumnStretch(1, 1);
    if (registration.regions) AddRegion(first.selection.region);
    if (registration.resolutions) AddResolution(first.selection);
    AddLooks(first.selection.looks);
    AddStorage(first);
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
    changed_();
  }

  // The size of the inputs: the region until another is chosen.
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

  void AddRegion(const std::optional<PixelWindow>& first) {
    region_ = Named(new QCheckBox("Region"), "Region");
    region_->setToolTip(
        "Only this part of the images, in pixels; it can also be drawn on the preview");
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
    if (first) SetRegion(QRect(first->x, first->y, first->columns, first->rows));
    connect(region_, &QCheckBox::toggled, changed_);
  }

  void AddResolution(const Selection& first) {
    resolution_ = NewSpin("Resolution", 1, "1 : ");
    resolution_->setToolTip("Input pixels to one output pixel, in both directions");
    resolution_->setValue(first.resolution);
    resampling_ = NewChoice("Resampling", {});
    for (const ResamplingMethod& method : kResamplingMethods) resampling_->addItem(method.name);
    resampling_->setCurrentIndex(static_cast<int>(first.resampling));
    resampling_->setToolTip("How coarser pixels are made");
    resampling_->setEnabled(first.resolution > 1);
    connect(resolution_, &QSpinBox::valueChanged,
            [this](int value) { resampling_->setEnabled(value > 1); });
    connect(resolution_, &QSpinBox::valueChanged, changed_);
    connect(resampling_, &QComboBox::currentIndexChanged, changed_);
    auto* const fields = new QWidget;
    auto* const layout = NewLayout<QHBoxLayout>(fields);
    layout->addWidget(resolution_, 1);
    layout->addWidget(resampling_, 1);
    AddRow(*grid_, "Resolution", fields);
  }

  void AddLooks(const Looks& first) {
    looks_ = {NewSpin("Looks, columns", 1, "columns "), NewSpin("Looks, rows", 1, "rows ")};
    looks_[0]->setValue(first.x);
    looks_[1]->setValue(first.y);
    auto* const fields = new QWidget;
    auto* const layout = NewLayout<QHBoxLayout>(fields);
    for (QSpinBox* const spin : looks_) {
      spin->setToolTip(
          "Results of so many columns and rows are averaged; the preview shows single ones");
      connect(spin, &QSpinBox::valueChanged, changed_);
      layout->addWidget(spin, 1);
    }
    AddRow(*grid_, "Looks", fields);
  }

  void AddStorage(const Job& first) {
    for (const DataMode& mode : DataModes()) mode_->addItem(mode.name);
    mode_->setCurrentIndex(first.mode ? first.mode->code + 1 : 0);
    for (const std::string& name : WritableFormats()) format_->addItem(Text(name));
    if (const QString format = Text(first.format); !format.isEmpty()) {
      // A format that cannot write is shown as given; the run then says what is wrong with it.
      if (format_->findText(format, Qt::MatchFixedString) < 0) format_->addItem(format);
      format_->setCurrentIndex(format_->findText(format, Qt::MatchFixedString));
    }
    for (QComboBox* const box : {mode_, format_}) {
      box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
      connect(box, &QComboBox::currentIndexChanged, changed_);
    }
    AddRow(*grid_, "Mode", mode_);
    AddRow(*grid_, "Format", format_);
  }

  void SetSpins(const QRect& pixels) {
    const std::array values = {pixels.x(), pixels.y(), pixels.width(), pixels.height()};
    for (std::size_t i = 0; i < spins_.size(); ++i) {
      const QSignalBlocker blocker(spins_[i]);  // one change, not four
      spins_[i]->setValue(values[i]);
    }
  }

  std::function<void()> changed_;
  QGridLayout* grid_ = NewLayout<QGridLayout>(this);
  QCheckBox* region_ = nullptr;       // null when the application does not offer it
  std::array<QSpinBox*, 4> spins_{};  // x, y, columns, rows
  QSpinBox* resolution_ = nullptr;
  std::array<QSpinBox*, 2> looks_{};
  QComboBox* resampling_ = nullptr;
  QComboBox* mode_ = NewChoice("Output mode", {"float32, complex if an input in use is"});
  QComboBox* format_ = NewChoice("Output format", {"that of the file's extension"});
};

}  // namespace lumomixcalc::standalone
