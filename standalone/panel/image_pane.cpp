#include "standalone/panel/image_pane.h"

#include <utility>

namespace lumomixcalc::standalone {

ImagePane::ImagePane(const QString& title, const QComboBox& stretch, const Sight& sight)
    : title_(title),
      stretch_(stretch),
      // In the orders of ComplexPart and, after the first, of ColourMap.
      part_(NewChoice(title + " part", {"Auto part", "Magnitude", "Phase", "Real part",
                                        "Imaginary part", "Magnitude and angle"})),
      colours_(
          NewChoice(title + " colours", {"Auto colours", "Grey", "Cyclic", "Centred on zero"})),
      raster_(Named(new ImageView(sight), title + " preview")),
      histogram_(new HistogramView(title)) {
  auto* const bar = new QHBoxLayout;
  bar->addWidget(new QLabel("<b>" + title.toHtmlEscaped() + "</b>"));
  bar->addStretch(1);
  for (QComboBox* const box : {part_, colours_}) {
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(7);
    box->setMaximumWidth(box->sizeHint().width() * 2);
    box->setToolTip(box->objectName());
    bar->addWidget(box, 2);
  }
  auto* const layout = NewLayout<QVBoxLayout>(this);
  layout->setSpacing(2);
  layout->addLayout(bar);
  layout->addWidget(raster_, 1);
  layout->addWidget(histogram_);
  for (const QComboBox* const box :
       std::initializer_list<const QComboBox*>{part_, &stretch, colours_})
    connect(box, &QComboBox::currentIndexChanged, [this] { SetLimits(std::nullopt); });
  histogram_->limitsChosen = [this](std::optional<Limits> limits) { SetLimits(limits); };
  image_.note = kNoFile;
  Redraw();
}

void ImagePane::Show(PreviewImage image) {
  // What is seen of the same data keeps its colours, once these are of the whole.
  if (image.data != image_.data || (image.whole && ofWhole_ == false)) ofWhole_.reset();
  image_ = std::move(image);
  raster_->Dim(false);
  Redraw();
}

void ImagePane::Blink(const ImagePane* other) {
  blinked_ = other;
  Redraw();
}

QString ImagePane::SavePicture() {
  raster_->clearFocus();  // and its frame
  const QPixmap picture = grab(raster_->geometry() | histogram_->geometry());
  raster_->setFocus();
  QFileDialog dialog(window(), "Save picture of " + title_, "", "PNG (*.png)");
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix("png");
  dialog.selectFile(title_);
  if (dialog.exec() == QDialog::Rejected) return "";
  const QString file = dialog.selectedFiles().front();
  QImageWriter writer(file, "png");
  if (writer.write(picture.toImage())) return "Written: " + file;
  return "The picture was not written: " + file + ": " + writer.errorString();
}

void ImagePane::SetLimits(std::optional<Limits> limits) {
  chosen_ = limits;
  if (!limits) ofWhole_.reset();
  Redraw();
}

Appearance ImagePane::Shown() const {
  Appearance shown = automatic_;
  if (HasChosen())
    shown.limits = shown.map == ColourMap::kCentred ? chosen_->AboutZero() : *chosen_;
  return shown;
}

void ImagePane::Redraw() {
  const auto part = static_cast<ComplexPart>(part_->currentIndex());
  angles_ = image_.complex && part == ComplexPart::kMagnitudeAndAngle;
  part_->setVisible(image_.complex);
  colours_->setEnabled(!angles_);
  if (image_.complex) parts_ = PartOf(image_.values, part);
  const int choice = angles_ ? 1 : colours_->currentIndex();  // grey is the brightness alone
  const auto map = choice > 0 ? std::optional(static_cast<ColourMap>(choice - 1)) : std::nullopt;
  const std::vector<float> counted = image_.OfTheRun(Values(), 1);
  if (!ofWhole_) {
    automatic_ = AppearanceOf(counted, image_.complex && part == ComplexPart::kPhase,
                              static_cast<Stretch>(stretch_.currentIndex()), map);
    ofWhole_ = image_.whole;
  }
  const ImagePane& from = blinked_ ? *blinked_ : *this;
  const PreviewImage& image = from.image_;
  QString text = Text(image.note);
  if (image.step > 1) text = QString("1 of %1 \u00d7 %1 cells").arg(image.step);
  if (blinked_) text = from.title_ + " in the place of " + title_;
  raster_->SetGrid(image.first, image.pitch, image.extent);
  raster_->Show(Picture(from.Values(), image.columns, Shown(),
                        from.angles_ ? image.values : std::span<const float>()),
                text);
  histogram_->Show(counted, automatic_, Shown(), HasChosen());
}

}  // namespace lumomixcalc::standalone
