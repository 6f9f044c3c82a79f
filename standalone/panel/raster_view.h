#ifndef LUMOMIXCALC_STANDALONE_PANEL_RASTER_VIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_RASTER_VIEW_H

#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows a picture as large as fits. Places on it are shares of its width and height, from 0 to 1,
// so that they mean the same on pictures of one area in different resolutions.
class RasterView : public QWidget {
 public:
  struct Callbacks {
    std::function<void(std::optional<QPointF> place)> pointed;  // none when the pointer leaves
    std::function<void(QRectF area)> dragged;                   // the area the user drew
  };

  explicit RasterView(Callbacks callbacks);

  // The note is shown where there is no picture.
  void Show(QImage picture, const QString& note);
  // The outlined area, or none.
  void SetOutline(std::optional<QRectF> area);
  // The marked place, or none.
  void SetMark(std::optional<QPointF> place);
  void LetDrag(bool allowed);

  const QImage& Picture() const { return picture_; }
  const QString& Note() const { return note_; }
  const std::optional<QRectF>& Outline() const { return outline_; }
  // Where the picture lies in the widget; empty without one.
  QRectF PictureArea() const;

  QSize sizeHint() const override { return {260, 260}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  QPointF PlaceAt(QPointF position) const;

  Callbacks callbacks_;
  QImage picture_;
  QString note_;
  std::optional<QRectF> outline_;
  std::optional<QPointF> mark_;
  std::optional<QPointF> dragStart_;  // in widget coordinates, as the next
  QPointF dragEnd_;
  bool dragAllowed_ = false;
};

}  // namespace lumomixcalc::standalone

#endif
