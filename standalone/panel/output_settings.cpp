#include "standalone/panel/output_settings.h"

#include <cstddef>
#include <string>

#include "standalone/base/messages.h"
#include "standalone/rasters/output_format.h"

namespace lumomixcalc::standalone {
namespace {

// A mode in words, without its name: "16-bit integer", "complex float".
QString WordsFor(const DataMode& mode) {
  const int bits = GDALGetDataTypeSizeBits(mode.type) / (mode.complex ? 2 : 1);
  const QString number =
      !mode.integer ? QString(bits == 64 ? "double" : "float")
                    : QString("%1-bit %2").arg(bits).arg(mode.lowest < 0 ? "integer" : "unsigned");
  return (mode.complex ? "complex " : "") + number;
}

}  // namespace

QSpinBox* NewSpin(const QString& name, int least, const QString& prefix) {
  auto* const spin = Named(new QSpinBox, name);
  spin->setRange(least, 9999999);
  spin->setPrefix(prefix);
  spin->setMinimumWidth(spin->fontMetrics().horizontalAdvance(prefix + "0000") + 24);
  spin->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  return spin;
}

QString LabelOf(const DataMode& mode) { return QString("%1 (%2)").arg(WordsFor(mode), mode.name); }

OutputSettings::OutputSettings(const Registration& registration,
                               const std::function<void()>& changed) {
  NameFields({{"-extent=intersection", "the choice Shared area only"},
              {"-region", "Region"},
              {"-resolution", "Resolution 1 :"},
              {"-resampling", "Resampling"},
              {"-looks", "Looks"},
              {"-mode", "Data type"},
              {"-format", "Format"}});
  for (const ResamplingMethod& method : kResamplingMethods) resampling_->addItem(method.name);
  for (const DataMode& mode : DataModes()) mode_->addItem(LabelOf(mode));
  for (const std::string& name : WritableFormats()) format_->addItem(Text(name));

  shared_->setToolTip("Combine images of different extents over the area that they share.");
  region_->setToolTip(
      "Compute only this part of the images, in pixels. It can also be drawn on the preview.");
  resolution_->setToolTip("Input pixels to one output pixel, in each direction");
  resampling_->setToolTip("How an output pixel is made from several input pixels");
  for (QSpinBox* const spin : looks_)
    spin->setToolTip("Average the results over blocks of this size");

  auto* const region = new QVBoxLayout;
  region->addLayout(SideBySide({spins_[0], spins_[1]}));
  region->addLayout(SideBySide({spins_[2], spins_[3]}));
  auto* const form = NewLayout<QFormLayout>(this);
  form->addRow(shared_);
  form->addRow(region_, region);
  form->addRow("Resolution", SideBySide({resolution_, resampling_}));
  form->addRow("Looks", SideBySide({looks_[0], looks_[1]}));
  form->addRow(mode_->objectName(), mode_);
  form->addRow(format_->objectName(), format_);
  form->setRowVisible(region, registration.regions);
  form->setRowVisible(2, registration.resolutions);

  for (QSpinBox* const spin : spins_) {
    spin->setEnabled(false);
    connect(region_, &QCheckBox::toggled, spin, &QWidget::setEnabled);
  }
  for (QCheckBox* const box : {shared_, region_}) connect(box, &QCheckBox::toggled, changed);
  resampling_->setEnabled(false);
  connect(resolution_, &QSpinBox::valueChanged,
          [this](int value) { resampling_->setEnabled(value > 1); });
  for (QSpinBox* const spin : findChildren<QSpinBox*>())
    connect(spin, &QSpinBox::valueChanged, changed);
  for (QComboBox* const box : {resampling_, mode_, format_}) {
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(box, &QComboBox::currentIndexChanged, changed);
  }
  ShowResolved(std::nullopt);
}

void OutputSettings::Show(const Job& job) {
  const Selection& selection = job.selection;
  shared_->setChecked(selection.extent == Extent::kIntersection);
  if (const auto& region = selection.region)
    ShowRegion({region->x, region->y, region->columns, region->rows});
  region_->setChecked(selection.region.has_value());
  resolution_->setValue(selection.resolution);
  resampling_->setCurrentIndex(static_cast<int>(selection.resampling));
  looks_[0]->setValue(selection.looks.x);
  looks_[1]->setValue(selection.looks.y);
  mode_->setCurrentIndex(job.mode ? job.mode->code + 1 : 0);
  // A format that cannot write is shown as given; the run then says what is wrong with it.
  const QString format = job.format.empty() ? format_->itemText(0) : Text(job.format);
  if (format_->findText(format, Qt::MatchFixedString) < 0) format_->addItem(format);
  format_->setCurrentIndex(format_->findText(format, Qt::MatchFixedString));
}

void OutputSettings::Apply(Job& job) const {
  job.selection.extent = shared_->isChecked() ? Extent::kIntersection : Extent::kSame;
  job.selection.region.reset();
  if (const std::optional<QRect> region = Region()) {
    job.selection.region = {region->x(), region->y(), region->width(), region->height()};
    job.selection.window.reset();
  }
  job.selection.resolution = resolution_->value();
  job.selection.resampling = static_cast<Resampling>(resampling_->currentIndex());
  job.selection.looks = {looks_[0]->value(), looks_[1]->value()};
  job.mode = mode_->currentIndex() == 0 ? nullptr : &DataModeOf(mode_->currentIndex() - 1);
  job.format = format_->currentIndex() == 0 ? "" : format_->currentText().toStdString();
}

void OutputSettings::ShowResolved(const std::optional<RunPlan>& plan) {
  const auto show = [](QComboBox& box, const QString& automatic, const QString& choice) {
    const bool known = box.currentIndex() == 0 && !choice.isEmpty();
    box.setItemText(0, known ? automatic + " (" + choice + ")" : automatic);
  };
  show(*mode_, "automatic", plan ? WordsFor(*plan->mode) : "");
  show(*format_, "by extension", plan && plan->format.driver ? Text(plan->format.Name()) : "");
}

std::optional<QRect> OutputSettings::Region() const {
  if (!region_->isChecked()) return std::nullopt;
  return QRect(spins_[0]->value(), spins_[1]->value(), spins_[2]->value(), spins_[3]->value());
}

void OutputSettings::SetRegion(const QRect& pixels) {
  ShowRegion(pixels);
  region_->setChecked(true);
}

void OutputSettings::SetExtent(const QRect& pixels) {
  if (!region_->isChecked()) ShowRegion(pixels);
}

void OutputSettings::ShowRegion(const QRect& pixels) {
  const std::array values = {pixels.x(), pixels.y(), pixels.width(), pixels.height()};
  for (std::size_t i = 0; i < spins_.size(); ++i) {
    const QSignalBlocker changesOnce(spins_[i]);
    spins_[i]->setValue(values[i]);
  }
}

}  // namespace lumomixcalc::standalone
