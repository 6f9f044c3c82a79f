#include "standalone/panel/output_settings.h"

#include <cstddef>
#include <string>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"
#include "standalone/rasters/output_format.h"

namespace lumomixcalc::standalone {
namespace {

// "complex float (cfloat32)"
QString LabelOf(const DataMode& mode) {
  const int bits = GDALGetDataTypeSizeBits(mode.type) / (mode.complex ? 2 : 1);
  const QString number =
      !mode.integer ? QString(bits == 64 ? "double" : "float")
                    : QString("%1-bit %2").arg(bits).arg(mode.lowest < 0 ? "integer" : "unsigned");
  return QString("%1%2 (%3)").arg(mode.complex ? "complex " : "", number, mode.name);
}

Job WithoutFields(Job job) {
  job.inputs.clear();
  job.output.clear();
  job.mode = nullptr;
  job.format.clear();
  const auto window = job.selection.window;
  job.selection = {};
  job.selection.window = window;
  job.overwrite = false;  // the user is asked at the run
  return job;
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

OutputSettings::OutputSettings(const Registration& registration,
                               const std::function<void()>& changed)
    : registration_(registration) {
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
      "Compute only this part of the images, in pixels. It can also be drawn: drag on a picture "
      "with the Shift key held.");
  resolution_->setToolTip("Input pixels to one output pixel, in each direction");
  resampling_->setToolTip("How an output pixel is made from several input pixels");
  others_->setToolTip("Options of a command that have no field, such as -nodata=0 or -unscale");
  others_->setPlaceholderText("-nodata=, -bands=, -co=, \u2026");
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
  form->addRow("Other", others_);
  form->setRowVisible(region, registration.regions);
  form->setRowVisible(2, registration.resolutions);

  for (QSpinBox* const spin : spins_) {
    spin->setEnabled(false);
    connect(region_, &QCheckBox::toggled, spin, &QWidget::setEnabled);
  }
  connect(region_, &QCheckBox::toggled, [this](bool on) {
    if (on) other_.selection.window.reset();
    ShowOthers();
  });
  connect(others_, &QLineEdit::editingFinished, [this, changed] {
    if (!others_->isModified()) return;
    TakeOthers();
    changed();
  });
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
}

void OutputSettings::Show(const Job& job) {
  other_ = WithoutFields(job);
  ShowOthers();
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

Job OutputSettings::Shown() const {
  Job job = other_;
  job.selection.extent = shared_->isChecked() ? Extent::kIntersection : Extent::kSame;
  job.selection.region.reset();
  if (const std::optional<QRect> region = Region())
    job.selection.region = {region->x(), region->y(), region->width(), region->height()};
  job.selection.resolution = resolution_->value();
  job.selection.resampling = static_cast<Resampling>(resampling_->currentIndex());
  job.selection.looks = {looks_[0]->value(), looks_[1]->value()};
  job.mode = mode_->currentIndex() == 0 ? nullptr : &DataModeOf(mode_->currentIndex() - 1);
  job.format = format_->currentIndex() == 0 ? "" : format_->currentText().toStdString();
  return job;
}

void OutputSettings::ShowOthers() {
  std::vector<std::string> words = HostArguments(other_);
  if (!other_.statisticsFile.empty()) words.push_back("-stats=" + other_.statisticsFile);
  if (other_.strict) words.emplace_back("-strict");
  QStringList shown;
  for (const std::string& word : words) shown << Text(ShellWord(word));
  others_->setText(shown.join(' '));
  others_->setCursorPosition(0);
  fault_.clear();
  MarkFault(*others_, false);
}

void OutputSettings::TakeOthers() {
  others_->setModified(false);
  try {
    const Options options =
        ReadOptions(ArgumentsOf("lumomixcalc " + others_->text().toStdString()), registration_);
    const bool isOther = options.action == Options::Action::kRun && !options.job.part &&
                         !options.checkOnly && !options.quiet && !options.progress &&
                         options.applicationArguments.empty() && options.filesWithoutName.empty() &&
                         options.job.inputs.empty() && options.job.output.empty() &&
                         HostArguments(options.job) == HostArguments(WithoutFields(options.job));
    if (!isOther)
      throw WrongCommandLine("only options without a field of their own, such as -nodata=0");
    other_ = WithoutFields(options.job);
    if (other_.selection.window) region_->setChecked(false);
    ShowOthers();
  } catch (const WrongCommandLine& wrong) {
    fault_ = others_->objectName() + ": " + wrong.what();
    MarkFault(*others_, true);
  }
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
