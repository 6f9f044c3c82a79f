#pragma once

#include <optional>
#include <span>
#include <vector>

#include "standalone/panel/histogram_view.h"
#include "standalone/panel/image_view.h"
#include "standalone/panel/preview.h"

namespace lumomixcalc::standalone {

// One image of the preview: title, choices of its part and its colours, picture and histogram.
class ImagePane : public QWidget {
 public:
  // The pane uses the Stretch that is chosen in stretch.
  ImagePane(const QString& title, const QComboBox& stretch, const Sight& sight);

  void Show(PreviewImage image);

  // Shows the picture of another pane in the place of this one's, in this one's colours; or its
  // own again.
  void Blink(const ImagePane* other);

  // Writes the picture and its histogram, as they are shown, to a PNG file that the user chooses.
  // Returns a sentence about it; an empty one when the user declines.
  QString SavePicture();

  // The colours and their limits: those that are set, or automatic ones, which stay while the data
  // do. Setting none makes automatic ones again, of what is shown now.
  Appearance Shown() const;
  void SetLimits(std::optional<Limits> limits);

  const PreviewImage& Image() const { return image_; }
  ImageView& Raster() const { return *raster_; }

 private:
  std::span<const float> Values() const { return image_.complex ? parts_ : image_.values; }
  bool HasChosen() const { return chosen_ && (chosen_->low > 0 || !automatic_.logarithm); }
  void Redraw();

  QString title_;
  const QComboBox& stretch_;
  QComboBox* part_;
  QComboBox* colours_;
  ImageView* raster_;
  HistogramView* histogram_;
  PreviewImage image_;
  const ImagePane* blinked_ = nullptr;
  std::vector<float> parts_;  // of complex elements, as shown
  bool angles_ = false;       // beside the parts
  Appearance automatic_;
  std::optional<bool> ofWhole_;   // automatic_ is of the whole image; none: it is out of date
  std::optional<Limits> chosen_;  // by hand
};

}  // namespace lumomixcalc::standalone
