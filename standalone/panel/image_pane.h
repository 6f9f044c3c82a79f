#ifndef LUMOMIXCALC_STANDALONE_PANEL_IMAGE_PANE_H
#define LUMOMIXCALC_STANDALONE_PANEL_IMAGE_PANE_H

#include <QWidget>

#include "standalone/panel/histogram_view.h"
#include "standalone/panel/preview.h"
#include "standalone/panel/raster_view.h"
#include "standalone/panel/rendering.h"

class QComboBox;

namespace lumomixcalc::standalone {

// One image of the preview: title, choice of the part of complex elements, picture and histogram.
class ImagePane : public QWidget {
 public:
  ImagePane(const QString& title, RasterView::Callbacks callbacks);

  void Show(PreviewImage image);
  void SetStretch(Stretch stretch);
  // The part of complex elements that is shown.
  int Part() const;
  void SetPart(int part);
  // The value at a place, as text; empty when there is no image.
  QString ValueAt(QPointF place) const;
  const PreviewImage& Image() const { return image_; }
  const QString& Title() const { return title_; }
  RasterView& Raster() { return *raster_; }

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
