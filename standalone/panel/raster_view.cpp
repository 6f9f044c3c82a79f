#include "standalone/panel/raster_view.h"

#include <algorithm>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

// A dark line beside a bright one is seen on every picture.
void DrawSeenEverywhere(QPainter& painter, const QRectF& area) {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0, 0, 0, 200), 3));
  painter.drawRect(area);
  painter.setPen(QPen(QColor(255, 220, 60), 1));
  painter.drawRect(area);
}

}  // namespace

RasterView::RasterView(Callbacks callbacks) : callbacks_(std::move(callbacks)) {
  setMouseTracking(true);
  setMinimumSize(120, 120);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void RasterView::Show(QImage picture, const QString& note) {
  picture_ = std::move(picture);
  note_ = note;
  update();
}

void RasterView::SetOutline(std::optional<QRectF> area) {
  outline_ = area;
  update();
}

void RasterView::SetMark(std::optional<QPointF> place) {
  mark_ = place;
  update();
}

void RasterView::LetDrag(bool allowed) {
  dragAllowed_ = allowed;
  setCursor(allowed ? Qt::CrossCursor : Qt::ArrowCursor);
}

QRectF RasterView::PictureArea() const {
  if (picture_.isNull()) return {};
  const QSizeF size = QSizeF(picture_.size()).scaled(QSizeF(this->size()), Qt::KeepAspectRatio);
  return {QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size};
}

QPointF RasterView::PlaceAt(QPointF position) const {
  const QRectF area = PictureArea();
  return {(position.x() - area.x()) / area.width(), (position.y() - area.y()) / area.height()};
}

void RasterView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().window());
  if (picture_.isNull()) {
    painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect().adjusted(10, 10, -10, -10), Qt::AlignCenter | Qt::TextWordWrap, note_);
    return;
  }
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

void RasterView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !dragAllowed_ || picture_.isNull()) return;
  dragStart_ = dragEnd_ = event->position();
}

void RasterView::mouseMoveEvent(QMouseEvent* event) {
  dragEnd_ = event->position();
  if (dragStart_) update();
  const bool inside = PictureArea().contains(event->position());
  callbacks_.pointed(inside ? std::optional(PlaceAt(event->position())) : std::nullopt);
}

void RasterView::mouseReleaseEvent(QMouseEvent* event) {
  if (!dragStart_ || event->button() != Qt::LeftButton) return;
  const QRectF drawn = QRectF(*dragStart_, event->position()).normalized() & PictureArea();
  dragStart_.reset();
  update();
  // A mere click selects nothing.
  constexpr double kLeastPixels = 4;
  if (drawn.width() >= kLeastPixels && drawn.height() >= kLeastPixels)
    callbacks_.dragged(QRectF(PlaceAt(drawn.topLeft()), PlaceAt(drawn.bottomRight())));
}

void RasterView::leaveEvent(QEvent*) { callbacks_.pointed(std::nullopt); }

}  // namespace lumomixcalc::standalone
