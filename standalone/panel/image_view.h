#pragma once

#include <functional>
#include <optional>

#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// What all views of a preview share. Places are in pixels of the inputs, so that they mean the same
// for all images.
struct Sight {
  QPointF centre;
  double scale = 0;             // points of the screen to a pixel; 0 shows the whole image
  std::optional<QRect> region;  // is outlined
  std::optional<QPoint> pixel;  // is marked
  bool pinned = false;          // the pixel stays where the pointer does not point
  bool mayDraw = false;         // a region
};

// Shows a picture of an image, or a note where there is none. The wheel zooms about the pointer, a
// drag moves the image, a double click shows its pixels one to one and then the whole again. A drag
// with the shift key draws a region. A click pins a pixel, arrow keys the next one; plus and minus
// zoom. The scene's coordinates are pixels of the inputs.
class ImageView : public QGraphicsView {
 public:
  explicit ImageView(const Sight& sight);

  std::function<void(QPointF centre, double scale)> moved;  // wanted, as in Sight; or resized
  std::function<void(std::optional<QPoint> pixel, bool pins)> pointed;  // none outside the image
  std::function<void(const QRect& pixels)> drawn;  // a region, at least one pixel

  // Says where the pictures that follow lie on the image: where the first value lies, and how many
  // pixels it is from one to the next.
  void SetGrid(QPoint first, QSize pitch, const QRect& image);

  // The text is shown in a corner of the picture, or in its place where it is null.
  void Show(QImage picture, const QString& text);

  // A picture that may no longer be that of the settings is dimmed.
  void Dim(bool dimmed);

  // Follows a change of what the views share.
  void Follow();

  // In points of the screen to a pixel. Across a long thin image there may be more.
  double Scale() const { return sight_.scale > 0 ? sight_.scale : WholeScale(); }

  // The pixels that are seen; null when all are.
  QRect Seen() const;

  QImage Picture() const { return picture_->pixmap().toImage(); }

 protected:
  void drawBackground(QPainter* painter, const QRectF&) override;
  void drawForeground(QPainter* painter, const QRectF&) override;
  void resizeEvent(QResizeEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent*) override { pointed(std::nullopt, false); }

 private:
  double WholeScale() const;
  bool HasPicture() const { return !picture_->pixmap().isNull(); }
  void PaintText(QPainter& painter) const;
  QPointF PlaceAt(QPointF position) const;
  std::optional<QPoint> PixelAt(QPointF position) const;
  QRectF OnScreen(const QRectF& area) const { return viewportTransform().mapRect(area); }
  QRect Drawn() const;
  void Zoom(double scale, QPointF position);

  const Sight& sight_;
  QGraphicsScene scene_;
  QGraphicsPixmapItem* picture_ = new QGraphicsPixmapItem;
  QString text_;
  bool dimmed_ = false;
  QRect extent_;                      // of the last picture
  std::optional<QPointF> dragStart_;  // in points of the view, as the next
  QPointF dragEnd_;
  bool draws_ = false;  // the drag, which otherwise moves the image
};

}  // namespace lumomixcalc::standalone
