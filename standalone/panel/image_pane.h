#pragma once

#include "standalone/panel/histogram_view.h"
#include "standalone/panel/image_view.h"
#include "standalone/panel/preview.h"

namespace lumomixcalc::standalone {

// One image of the preview: title, choices of its part and its colours, picture and histogram.
class ImagePane : public QWidget {
 public:
  // The pane uses the Stretch that is chosen in stretch.
  ImagePane(const QString& title, const QComboBox& stretch)
      : stretch_(stretch),
        // In the orders of ComplexPart and, after the first, of ColourMap.
        part_(NewChoice(title + " part", {"Automatic part", "Magnitude", "Phase", "Real part",
                                          "Imaginary part", "Magnitude and angle"})),
        colours_(NewChoice(title + " colours",
                           {"Automatic colours", "Grey", "Cyclic", "Centred on zero"})),
        raster_(Named(new ImageView, title + " preview")),
        histogram_(new HistogramView(title)) {
    // The choices stand one above the other, since side by side they would not fit small panes.
    auto* const layout = NewLayout<QGridLayout>(this);
    layout->addWidget(new QLabel(title), 0, 0, 2, 1);
    layout->addWidget(part_, 0, 1);
    layout->addWidget(colours_, 1, 1);
    layout->setColumnStretch(0, 1);
    layout->addWidget(raster_, 2, 0, 1, 2);
    layout->addWidget(histogram_, 3, 0, 1, 2);
    connect(part_, &QComboBox::currentIndexChanged, [this] { ResetLimits(); });
    connect(&stretch, &QComboBox::currentIndexChanged, this, [this] { ResetLimits(); });
    connect(colours_, &QComboBox::currentIndexChanged, [this] { Redraw(); });
    histogram_->limitsChosen = [this](std::optional<Limits> limits) {
      chosen_ = limits;
      limits ? Recolour() : Redraw();
    };
  }

  void Show(PreviewImage image) {
    image_ = std::move(image);
    Redraw();
  }

  // Goes back to automatic limits.
  void ResetLimits() { histogram_->Reset(); }

  QComboBox& Part() const { return *part_; }
  QComboBox& Colours() const { return *colours_; }
  ImageView& Raster() const { return *raster_; }

 private:
  std::span<const float> Values() const { return image_.complex ? parts_ : image_.values; }

  void Redraw() {
    const auto part = static_cast<ComplexPart>(part_->currentIndex());
    angles_ = image_.complex && part == ComplexPart::kMagnitudeAndAngle;
    part_->setVisible(image_.complex);
    colours_->setEnabled(!angles_);
    if (image_.complex) parts_ = PartOf(image_.values, part);
    const int choice = angles_ ? 1 : colours_->currentIndex();  // grey is the brightness alone
    const auto map = choice > 0 ? std::optional(static_cast<ColourMap>(choice - 1)) : std::nullopt;
    automatic_ = AppearanceOf(Values(), image_.complex && part == ComplexPart::kPhase,
                              static_cast<Stretch>(stretch_.currentIndex()), map);
    histogram_->Count(Values(), automatic_);
    Recolour();
  }

  void Recolour() {
    Appearance appearance = automatic_;
    if (chosen_ && (chosen_->low > 0 || !appearance.logarithm))
      appearance.limits = appearance.map == ColourMap::kCentred ? chosen_->AboutZero() : *chosen_;
    raster_->Show(Picture(Values(), image_.grid.columns, appearance,
                          angles_ ? image_.values : std::span<const float>()),
                  OfFields(image_.note));
    histogram_->Show(appearance);
  }

  const QComboBox& stretch_;
  QComboBox* part_;
  QComboBox* colours_;
  ImageView* raster_;
  HistogramView* histogram_;
  PreviewImage image_;
  std::vector<float> parts_;  // of complex elements, as shown
  bool angles_ = false;       // beside the parts
  Appearance automatic_;
  std::optional<Limits> chosen_;  // by hand
};

}  // namespace lumomixcalc::standalone
