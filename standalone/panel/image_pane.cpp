#include "standalone/panel/image_pane.h"

namespace lumomixcalc::standalone {

ImagePane::ImagePane(const QString& title, const QComboBox& stretch, const Sight& sight)
    : stretch_(stretch),
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
  connect(part_, &QComboBox::currentIndexChanged, this, &ImagePane::ResetLimits);
  connect(&stretch, &QComboBox::currentIndexChanged, this, &ImagePane::ResetLimits);
  connect(colours_, &QComboBox::currentIndexChanged, this, &ImagePane::Redraw);
  histogram_->limitsChosen = [this](std::optional<Limits> limits) {
    chosen_ = limits;
    limits ? Recolour() : Redraw();
  };
  image_.note = kNoFile;
  Redraw();
}

void ImagePane::Show(const PreviewImage& image, const QRect& inputs) {
  image_ = image;
  raster_->SetGrid(image.first, image.pitch, inputs);
  raster_->Dim(false);
  Redraw();
}

void ImagePane::ResetLimits() {
  chosen_.reset();
  Redraw();
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
  automatic_ = AppearanceOf(counted, image_.complex && part == ComplexPart::kPhase,
                            static_cast<Stretch>(stretch_.currentIndex()), map);
  histogram_->Count(counted, automatic_);
  Recolour();
}

void ImagePane::Recolour() {
  Appearance appearance = automatic_;
  if (chosen_ && (chosen_->low > 0 || !appearance.logarithm))
    appearance.limits = appearance.map == ColourMap::kCentred ? chosen_->AboutZero() : *chosen_;
  const QString sample = QString("1 of %1 \u00d7 %1 cells").arg(image_.step);
  raster_->Show(Picture(Values(), image_.columns, appearance,
                        angles_ ? image_.values : std::span<const float>()),
                image_.step > 1 ? sample : Text(image_.note));
  histogram_->Show(appearance);
}

}  // namespace lumomixcalc::standalone
