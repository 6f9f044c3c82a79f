#pragma once

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "standalone/panel/widgets.h"
#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// Where an image is looked at, in pixels of the inputs, so that it means the same for all images.
struct Place {
  QPointF centre;
  double scale = 0;  // points of the screen to a pixel; 0 shows the whole image
};

// Shows a picture of an image, or a note where there is none. The wheel zooms about the pointer, a
// drag moves the image, a double click shows its pixels one to one and then the whole again. The
// scene's coordinates are pixels of the inputs.
class ImageView : public QGraphicsView {
 public:
  ImageView() {
    setScene(&scene_);
    scene_.addItem(picture_);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);
    setMinimumSize(80, 60);
    setViewportUpdateMode(FullViewportUpdate);
  }

  std::function<void(const Place& place)> moved;             // or resized
  std::function<void(std::optional<QPoint> pixel)> pointed;  // none outside the image
  std::function<void(const QRect& pixels)> drawn;            // a region, at least one pixel

  // Says where the pictures that follow lie on the image.
  void SetGrid(const OutputGrid& grid, QSize image) {
    const PixelWindow& window = grid.window;
    picture_->setPos(window.x, window.y);
    picture_->setTransform(
        QTransform::fromScale(grid.resolution * grid.looks.x, grid.resolution * grid.looks.y));
    scene_.setSceneRect(QRectF(QPointF(0, 0), image));
    LookAt(place_);
  }

  void Show(QImage picture, const QString& note) {
    picture_->setPixmap(QPixmap::fromImage(std::move(picture)));
    note_ = note;
    viewport()->update();
  }

  // A picture that may no longer be that of the settings is dimmed.
  void Dim(bool dimmed) { picture_->setOpacity(dimmed ? 0.4 : 1); }

  void LookAt(const Place& place) {
    place_ = place;
    setTransform(QTransform::fromScale(Scale(), Scale()));
    centerOn(place.scale > 0 ? place.centre : sceneRect().center());
    // Shrunk smoothly, which averages speckle; enlarged so that every element is seen as it is.
    const bool shrinks = Scale() * devicePixelRatioF() * picture_->transform().m11() < 1;
    picture_->setTransformationMode(shrinks ? Qt::SmoothTransformation : Qt::FastTransformation);
  }

  // In points of the screen to a pixel.
  double Scale() const { return place_.scale > 0 ? place_.scale : WholeScale(); }

  // The pixels that are seen; null when all are.
  QRect Seen() const {
    const QRect all = sceneRect().toRect();
    const QRect seen = mapToScene(viewport()->rect()).boundingRect().toAlignedRect() & all;
    return seen == all ? QRect() : seen;
  }

  // The outlined region and the marked pixel, in pixels.
  void SetMarks(std::optional<QRect> outline, std::optional<QPoint> pixel) {
    outline_ = outline;
    mark_ = pixel;
    viewport()->update();
  }

  // With a region to draw, the next drag draws it; so does any drag with the shift key.
  void LetDraw(bool allowed, bool next) {
    mayDraw_ = allowed;
    drawsNext_ = next;
    setCursor(next ? Qt::CrossCursor : Qt::ArrowCursor);
  }

  bool HasPicture() const { return !picture_->pixmap().isNull(); }
  QImage Picture() const { return picture_->pixmap().toImage(); }
  const QString& Note() const { return note_; }

 protected:
  void drawBackground(QPainter* painter, const QRectF&) override {
    painter->resetTransform();
    painter->fillRect(viewport()->rect(), palette().window());
    if (HasPicture())
      painter->fillRect(OnScreen(sceneRect()),
                        QBrush(palette().color(QPalette::Mid), Qt::BDiagPattern));
  }

  void drawForeground(QPainter* painter, const QRectF&) override {
    painter->resetTransform();
    if (!HasPicture()) return PaintNote(*painter);
    if (drawStart_)
      DrawSeenEverywhere(*painter, OnScreen(Drawn()));
    else if (outline_)
      DrawSeenEverywhere(*painter, OnScreen(*outline_));
    if (mark_) {
      const QRectF box = OnScreen(QRect(*mark_, QSize(1, 1)));
      const double grow = std::max(0.0, 3 - box.width() / 2);
      DrawSeenEverywhere(*painter, box.adjusted(-grow, -grow, grow, grow));
    }
  }

  void resizeEvent(QResizeEvent*) override { Move(place_); }

  void wheelEvent(QWheelEvent* event) override {
    constexpr double kStep = 1.25;
    Zoom(Scale() * std::pow(kStep, event->angleDelta().y() / 120.0), event->position());
    event->accept();
  }

  void mouseDoubleClickEvent(QMouseEvent* event) override {
    if (event->button() == Qt::LeftButton) Zoom(place_.scale == 1 ? 0 : 1, event->position());
  }

  void mousePressEvent(QMouseEvent* event) override {
    if (event->button() != Qt::LeftButton || !HasPicture()) return;
    dragEnd_ = event->position();
    const bool draws = drawsNext_ || (event->modifiers() & Qt::ShiftModifier) != 0;
    if (mayDraw_ && draws)
      drawStart_ = dragEnd_;
    else
      isPanned_ = true;
  }

  void mouseMoveEvent(QMouseEvent* event) override {
    if (isPanned_ && place_.scale > 0)
      Move({mapToScene(viewport()->rect()).boundingRect().center() -
                (event->position() - dragEnd_) / Scale(),
            place_.scale});
    dragEnd_ = event->position();
    if (drawStart_) viewport()->update();
    const QPointF place = PlaceAt(event->position());
    const QPoint pixel(qFloor(place.x()), qFloor(place.y()));
    const bool inside = HasPicture() && sceneRect().toRect().contains(pixel);
    pointed(inside ? std::optional(pixel) : std::nullopt);
  }

  void mouseReleaseEvent(QMouseEvent* event) override {
    isPanned_ = false;
    if (!drawStart_ || event->button() != Qt::LeftButton) return;
    const bool isClick = (event->position() - *drawStart_).manhattanLength() < 4;
    const QRect pixels = Drawn() & sceneRect().toRect();
    drawStart_.reset();
    viewport()->update();
    if (!isClick && !pixels.isEmpty()) drawn(pixels);
  }

  void leaveEvent(QEvent*) override { pointed(std::nullopt); }

 private:
  // The whole image as large as fits, but never so small that a long thin one is not seen.
  double WholeScale() const {
    const QSizeF image = sceneRect().size();
    if (image.isEmpty()) return 1;
    constexpr double kLeastSide = 24;
    const double fits = std::min(width() / image.width(), height() / image.height());
    return std::max(fits, kLeastSide / std::min(image.width(), image.height()));
  }

  // A dark line beside a bright one is seen on every picture.
  static void DrawSeenEverywhere(QPainter& painter, const QRectF& area) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 3));
    painter.drawRect(area);
    painter.setPen(QPen(QColor(255, 220, 60), 1));
    painter.drawRect(area);
  }

  void PaintNote(QPainter& painter) const {
    const QRect frame = viewport()->rect();
    painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText));
    painter.drawRect(frame.adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::WindowText));
    QTextOption option(Qt::AlignCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);  // a long file name is one word
    painter.drawText(QRectF(frame.adjusted(10, 10, -10, -10)), note_, option);
  }

  // Exact, where QGraphicsView's own functions take whole points of the screen.
  QPointF PlaceAt(QPointF position) const { return viewportTransform().inverted().map(position); }
  QRectF OnScreen(const QRectF& area) const { return viewportTransform().mapRect(area); }

  QRect Drawn() const {
    return QRectF(PlaceAt(*drawStart_), PlaceAt(dragEnd_)).normalized().toAlignedRect();
  }

  void Move(const Place& place) {
    LookAt(place);
    moved(place);
  }

  // What lies at the position stays there. No smaller than the whole image.
  void Zoom(double scale, QPointF position) {
    constexpr double kLargest = 64;
    scale = std::min(scale, kLargest);
    const QPointF toMiddle = QPointF(viewport()->rect().center()) - position;
    Move(scale > WholeScale() ? Place{PlaceAt(position) + toMiddle / scale, scale} : Place());
  }

  QGraphicsScene scene_;
  QGraphicsPixmapItem* picture_ = new QGraphicsPixmapItem;
  Place place_;
  QString note_;
  std::optional<QRect> outline_;
  std::optional<QPoint> mark_;
  std::optional<QPointF> drawStart_;  // in points of the view, as the next
  QPointF dragEnd_;
  bool isPanned_ = false;
  bool mayDraw_ = false;
  bool drawsNext_ = false;
};

}  // namespace lumomixcalc::standalone
