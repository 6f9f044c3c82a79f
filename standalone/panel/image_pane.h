#ifndef LUMOMIXCALC_STANDALONE_PANEL_IMAGE_PANE_H
#define LUMOMIXCALC_STANDALONE_PANEL_IMAGE_PANE_H

#include "standalone/panel/preview.h"
#include "standalone/panel/raster_view.h"
#include "standalone/panel/rendering.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// A histogram with a line at each limit of the colours, the colours between them, and the limits in
// figures.
class HistogramView : public QWidget {
 public:
  HistogramView();

  // Shows the histogram of spread values; of no values, nothing. logarithm: they are the decimal
  // logarithms of what the figures say.
  void Show(const std::vector<float>& spread, Limits limits, bool cyclic, bool logarithm);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void PaintBars(QPainter& painter) const;

  Histogram histogram_;
  Limits limits_;
  QImage colours_;
  QString lowText_;
  QString highText_;
};

// One image of the preview: title, choice of the part of complex elements, picture and histogram.
class ImagePane : public QWidget {
 public:
  ImagePane(const QString& title, RasterView::Callbacks callbacks);

  void Show(PreviewImage image);
  void SetStretch(Stretch stretch);
  // The choice of the part of complex elements that is shown.
  QComboBox& Part() const { return *part_; }
  // The value at a place, as text; empty when there is no image.
  QString ValueAt(QPointF place) const;
  const PreviewImage& Image() const { return image_; }
  const QString& Title() const { return title_; }
  RasterView& Raster() const { return *raster_; }

 private:
  void Redraw();

  QString title_;
  QComboBox* part_;
  RasterView* raster_;
  HistogramView* histogram_;
  PreviewImage image_;
  Stretch stretch_ = Stretch::kPercentiles;
};

}  // namespace lumomixcalc::standalone

#endif
