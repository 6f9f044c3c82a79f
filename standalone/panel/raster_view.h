#pragma once

#include <utility>

#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows a picture as large as fits. Places on it are shares of its width and height, from 0 to 1,
// so that they mean the same on pictures of one area in different resolutions.
class RasterView : public QWidget {
 public:
  RasterView() {
    setMouseTracking(true);
    setMinimumSize(120, 120);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  }

  std::function<void(std::optional<QPointF> place)> pointed;  // none when the pointer leaves
  std::function<void(const QRectF& area)> dragged;            // the area the user drew

  // The note is shown where there is no picture.
  void Show(QImage picture, const QString& note) {
    picture_ = std::move(picture);
    note_ = note;
    update();
  }

  void SetMarks(std::optional<QRectF> outline, std::optional<QPointF> place) {
    outline_ = outline;
    mark_ = place;
    update();
  }

  void LetDrag(bool allowed) {
    dragAllowed_ = allowed;
    setCursor(allowed ? Qt::CrossCursor : Qt::ArrowCursor);
  }

  const QImage& Picture() const { return picture_; }
  const QString& Note() const { return note_; }
  const std::optional<QRectF>& Outline() const { return outline_; }

  // Where the picture lies in the widget; empty without one.
  QRectF PictureArea() const {
    if (picture_.isNull()) return {};
    const QSizeF size = QSizeF(picture_.size()).scaled(QSizeF(this->size()), Qt::KeepAspectRatio);
    return {QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size};
  }

  QSize sizeHint() const override { return {260, 260}; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    if (picture_.isNull()) return PaintNote(painter);
    const QRectF area = PictureArea();
    painter.fillRect(area, QBrush(palette().color(QPalette::Mid), Qt::BDiagPattern));
    // Shrunk smoothly; enlarged so that every element is seen as it is.
    const bool shrinks = area.width() * devicePixelRatioF() < picture_.width();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, shrinks);
    painter.drawImage(area, picture_);

    const auto onScreen = [&area](QPointF place) {
      return QPointF(area.x() + place.x() * area.width(), area.y() + place.y() * area.height());
    };
    if (dragStart_)
      DrawSeenEverywhere(painter, QRectF(*dragStart_, dragEnd_).normalized() & area);
    else if (outline_)
      DrawSeenEverywhere(painter,
                         QRectF(onScreen(outline_->topLeft()), onScreen(outline_->bottomRight())));
    if (mark_) DrawSeenEverywhere(painter, QRectF(onScreen(*mark_) - QPointF(3, 3), QSizeF(6, 6)));
  }

  void mousePressEvent(QMouseEvent* event) override {
    if (event->button() != Qt::LeftButton || !dragAllowed_ || picture_.isNull()) return;
    dragStart_ = dragEnd_ = event->position();
  }

  void mouseMoveEvent(QMouseEvent* event) override {
    dragEnd_ = event->position();
    if (dragStart_) update();
    const bool inside = PictureArea().contains(event->position());
    pointed(inside ? std::optional(PlaceAt(event->position())) : std::nullopt);
  }

  void mouseReleaseEvent(QMouseEvent* event) override {
    if (!dragStart_ || event->button() != Qt::LeftButton) return;
    const QRectF drawn = QRectF(*dragStart_, event->position()).normalized() & PictureArea();
    dragStart_.reset();
    update();
    // A mere click selects nothing.
    constexpr double kLeastPixels = 4;
    if (drawn.width() >= kLeastPixels && drawn.height() >= kLeastPixels)
      dragged(QRectF(PlaceAt(drawn.topLeft()), PlaceAt(drawn.bottomRight())));
  }

  void leaveEvent(QEvent*) override { pointed(std::nullopt); }

 private:
  // A dark line beside a bright one is seen on every picture.
  static void DrawSeenEverywhere(QPainter& painter, const QRectF& area) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 3));
    painter.drawRect(area);
    painter.setPen(QPen(QColor(255, 220, 60), 1));
    painter.drawRect(area);
  }

  void PaintNote(QPainter& painter) const {
    painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect().adjusted(10, 10, -10, -10), Qt::AlignCenter | Qt::TextWordWrap, note_);
  }

  QPointF PlaceAt(QPointF position) const {
    const QRectF area = PictureArea();
    return {(position.x() - area.x()) / area.width(), (position.y() - area.y()) / area.height()};
  }

  QImage picture_;
  QString note_;
  std::optional<QRectF> outline_;
  std::optional<QPointF> mark_;
  std::optional<QPointF> dragStart_;  // in widget coordinates, as the next
  QPointF dragEnd_;
  bool dragAllowed_ = false;
};

}  // namespace lumomixcalc::standalone
