#include "standalone/panel/output_settings.h"

#include <utility>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/output_format.h"

namespace lumomixcalc::standalone {
namespace {

QSpinBox* NewSpin(const QString& name, int least, const QString& prefix) {
  constexpr int kMost = 9999999;
  auto* const spin = Named(new QSpinBox, name);
  spin->setRange(least, kMost);
  spin->setPrefix(prefix);
  // Not as wide as the largest number.
  spin->setMinimumWidth(spin->fontMetrics().horizontalAdvance(prefix + "00000") + 40);
  spin->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  return spin;
}

}  // namespace

OutputSettings::OutputSettings(const Registration& registration, const Job& first,
                               std::function<void()> changed)
    : changed_(std::move(changed)) {
  auto* const grid = NewLayout<QGridLayout>(this);
  grid->setColumnStretch(1, 1);
  if (registration.regions) AddRegion(*grid, first);
  if (registration.resolutions) AddResolution(*grid, first);
  AddStorage(*grid, first);
}

void OutputSettings::AddRegion(QGridLayout& grid, const Job& first) {
  region_ = Named(new QCheckBox("Region"), "Region");
  region_->setToolTip(
      "Only this part of the images, in pixels; it can also be drawn on the preview");
  const int row = grid.rowCount();
  grid.addWidget(region_, row, 0);
  auto* const fields = new QGridLayout;
  grid.addLayout(fields, row, 1);
  static const struct {
    const char* name;
    const char* prefix;
    int least;
  } kSpins[] = {{"Region, first column", "x ", 0},
                {"Region, first row", "y ", 0},
                {"Region, columns", "width ", 1},
                {"Region, rows", "height ", 1}};
  for (int i = 0; i < 4; ++i) {
    spins_[i] = NewSpin(kSpins[i].name, kSpins[i].least, kSpins[i].prefix);
    spins_[i]->setEnabled(false);
    connect(region_, &QCheckBox::toggled, spins_[i], &QWidget::setEnabled);
    connect(spins_[i], &QSpinBox::valueChanged, [this] { changed_(); });
    fields->addWidget(spins_[i], i / 2, i % 2);
  }
  if (const auto& region = first.selection.region)
    SetRegion(QRect(region->x, region->y, region->columns, region->rows));
  connect(region_, &QCheckBox::toggled, [this] { changed_(); });
}

void OutputSettings::AddResolution(QGridLayout& grid, const Job& first) {
  auto* const fields = new QWidget;
  auto* const layout = NewLayout<QHBoxLayout>(fields);
  resolution_ = NewSpin("Resolution", 1, "1 : ");
  resolution_->setToolTip("Input pixels to one output pixel, in both directions");
  resolution_->setValue(first.selection.resolution);
  QStringList methods;
  for (const ResamplingMethod& method : kResamplingMethods) methods << method.name;
  resampling_ = NewChoice("Resampling", methods);
  resampling_->setCurrentIndex(static_cast<int>(first.selection.resampling));
  resampling_->setToolTip("How coarser pixels are made");
  resampling_->setEnabled(resolution_->value() > 1);
  connect(resolution_, &QSpinBox::valueChanged, [this](int value) {
    resampling_->setEnabled(value > 1);
    changed_();
  });
  connect(resampling_, &QComboBox::currentIndexChanged, [this] { changed_(); });
  layout->addWidget(resolution_, 1);
  layout->addWidget(resampling_, 1);
  AddRow(grid, "Resolution", fields);
}

void OutputSettings::AddStorage(QGridLayout& grid, const Job& first) {
  mode_ = NewChoice("Output mode", {"float32, complex if an input in use is"});
  for (const DataMode& mode : DataModes()) mode_->addItem(mode.name);
  mode_->setCurrentIndex(first.mode ? first.mode->code + 1 : 0);
  format_ = NewChoice("Output format", {"that of the file's extension"});
  for (const std::string& name : WritableFormats()) format_->addItem(Text(name));
  if (const QString format = Text(first.format); !format.isEmpty()) {
    // A format that cannot write is shown as it was given; the run then says what is wrong with it.
    if (format_->findText(format, Qt::MatchFixedString) < 0) format_->addItem(format);
    format_->setCurrentIndex(format_->findText(format, Qt::MatchFixedString));
  }
  for (QComboBox* const box : {mode_, format_}) {
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(box, &QComboBox::currentIndexChanged, [this] { changed_(); });
  }
  AddRow(grid, "Mode", mode_);
  AddRow(grid, "Format", format_);
}

void OutputSettings::Apply(Job& job) const {
  if (const std::optional<QRect> region = Region()) {
    job.selection.region = {region->x(), region->y(), region->width(), region->height()};
    job.selection.window.reset();
  } else {
    job.selection.region.reset();
  }
  if (resolution_) {
    job.selection.resolution = resolution_->value();
    job.selection.resampling = static_cast<Resampling>(resampling_->currentIndex());
  }
  job.mode = mode_->currentIndex() == 0 ? nullptr : &DataModeOf(mode_->currentIndex() - 1);
  job.format = format_->currentIndex() == 0 ? "" : format_->currentText().toStdString();
}

std::optional<QRect> OutputSettings::Region() const {
  if (!region_ || !region_->isChecked()) return std::nullopt;
  return QRect(spins_[0]->value(), spins_[1]->value(), spins_[2]->value(), spins_[3]->value());
}

void OutputSettings::SetRegion(const QRect& pixels) {
  SetSpins(pixels);
  region_->setChecked(true);
  changed_();
}

void OutputSettings::SetImageSize(int columns, int rows) {
  if (region_ && !region_->isChecked()) SetSpins(QRect(0, 0, columns, rows));
}

void OutputSettings::SetSpins(const QRect& pixels) {
  const int values[] = {pixels.x(), pixels.y(), pixels.width(), pixels.height()};
  for (int i = 0; i < 4; ++i) {
    const QSignalBlocker blocker(spins_[i]);  // one change, not four
    spins_[i]->setValue(values[i]);
  }
}

}  // namespace lumomixcalc::standalone
