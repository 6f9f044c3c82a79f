#include "standalone/panel/image_view.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

constexpr double kZoomStep = 1.25;

// A dark line beside a bright one is seen on every picture.
void DrawSeenEverywhere(QPainter& painter, const QRectF& area) {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0, 0, 0, 200), 3));
  painter.drawRect(area);
  painter.setPen(QPen(QColor(255, 220, 60), 1));
  painter.drawRect(area);
}

}  // namespace

ImageView::ImageView(const Sight& sight) : sight_(sight) {
  setScene(&scene_);
  scene_.addItem(picture_);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::StrongFocus);
  setAcceptDrops(false);  // the window takes files dropped here
  setMouseTracking(true);
  setMinimumSize(240, 120);
  setViewportUpdateMode(FullViewportUpdate);
  setToolTip(
      "Wheel: zoom. Drag: move. Double click: one to one, or the whole again.\n"
      "Drag with the Shift key: draw the region to compute.\n"
      "Click: pin a pixel until Esc; the arrow keys move it. Right click: copy, save.\n"
      "B: File1 and File2 in the place of each other, and back.");
}

void ImageView::SetGrid(QPoint first, QSize pitch, const QRect& image) {
  picture_->setPos(first);
  picture_->setTransform(QTransform::fromScale(pitch.width(), pitch.height()));
  scene_.setSceneRect(image);
  Follow();
  // Of another extent, other pixels are seen. Between two pictures there may be none.
  if (!image.isEmpty() && std::exchange(extent_, image) != image && sight_.scale > 0)
    moved(sight_.centre, sight_.scale);
}

void ImageView::Show(QImage picture, const QString& text) {
  picture_->setPixmap(QPixmap::fromImage(std::move(picture)));
  text_ = text;
  setAccessibleDescription(text);
  viewport()->update();
}

void ImageView::Dim(bool dimmed) {
  if (std::exchange(dimmed_, dimmed) != dimmed) viewport()->update();
}

void ImageView::Follow() {
  // Where the whole image is a thin line, it is broadened so that it is seen.
  const auto scaleAlong = [this](double side) {
    constexpr double kLeastSide = 24;
    const bool isThin = side > 0 && side * WholeScale() < kLeastSide;
    return isThin ? std::max(Scale(), kLeastSide / side) : Scale();
  };
  setTransform(
      QTransform::fromScale(scaleAlong(sceneRect().width()), scaleAlong(sceneRect().height())));
  centerOn(sight_.scale > 0 ? sight_.centre : sceneRect().center());
  // Shrunk smoothly, which averages speckle; enlarged so that every element is seen as it is.
  const bool shrinks = Scale() * devicePixelRatioF() * picture_->transform().m11() < 1;
  picture_->setTransformationMode(shrinks ? Qt::SmoothTransformation : Qt::FastTransformation);
  viewport()->update();
}

QRect ImageView::Seen() const {
  const QRect all = sceneRect().toRect();
  const QRect seen = mapToScene(viewport()->rect()).boundingRect().toAlignedRect() & all;
  return seen == all ? QRect() : seen;
}

void ImageView::drawBackground(QPainter* painter, const QRectF&) {
  painter->resetTransform();
  painter->fillRect(viewport()->rect(), palette().window().color().darker(112));
  if (!HasPicture()) return;
  // Hatched where there is no data. Under a picture that hides it, this would take a while.
  const QRectF image = OnScreen(sceneRect()) & viewport()->rect();
  const bool hidden = !picture_->pixmap().hasAlphaChannel() &&
                      OnScreen(picture_->sceneBoundingRect()).contains(image);
  if (!hidden) painter->fillRect(image, QBrush(palette().color(QPalette::Mid), Qt::BDiagPattern));
}

void ImageView::drawForeground(QPainter* painter, const QRectF&) {
  painter->resetTransform();
  // Over the picture and what is no data alike, so that the one does not become the other.
  QColor veil = palette().color(QPalette::Window);
  veil.setAlphaF(0.6F);
  if (dimmed_ && HasPicture()) painter->fillRect(viewport()->rect(), veil);
  PaintText(*painter);
  if (hasFocus()) {
    painter->setPen(palette().color(QPalette::Highlight));
    painter->drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
  }
  if (!HasPicture()) return;
  if (dragStart_ && draws_)
    DrawSeenEverywhere(*painter, OnScreen(Drawn()));
  else if (sight_.region)
    DrawSeenEverywhere(*painter, OnScreen(*sight_.region));
  if (!sight_.pixel) return;
  const QRectF box = OnScreen(QRect(*sight_.pixel, QSize(1, 1)));
  const double grow = std::max(0.0, 3 - box.width() / 2);
  DrawSeenEverywhere(*painter, box.adjusted(-grow, -grow, grow, grow));
}

void ImageView::PaintText(QPainter& painter) const {
  const QRect frame = viewport()->rect();
  painter.setPen(palette().color(QPalette::WindowText));
  if (HasPicture()) {
    QRect place = fontMetrics().boundingRect(text_).adjusted(-4, -1, 4, 1);
    place.moveBottomLeft(frame.bottomLeft());
    if (!text_.isEmpty()) painter.fillRect(place, palette().window());
    return painter.drawText(place, Qt::AlignCenter, text_);
  }
  QTextOption option(Qt::AlignCenter);
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);  // a long file name is one word
  painter.drawText(QRectF(frame.adjusted(10, 10, -10, -10)), text_, option);
}

void ImageView::resizeEvent(QResizeEvent* event) {
  QGraphicsView::resizeEvent(event);
  moved(sight_.centre, sight_.scale);
}

void ImageView::keyPressEvent(QKeyEvent* event) {
  const QPoint pixel = sight_.pixel.value_or(mapToScene(viewport()->rect().center()).toPoint());
  const int key = event->key();
  if (key == Qt::Key_Plus || key == Qt::Key_Equal || key == Qt::Key_Minus)
    return Zoom(Scale() * (key == Qt::Key_Minus ? 1 / kZoomStep : kZoomStep), mapFromScene(pixel));
  const QPoint step((key == Qt::Key_Right) - (key == Qt::Key_Left),
                    (key == Qt::Key_Down) - (key == Qt::Key_Up));
  if (step.isNull()) return QGraphicsView::keyPressEvent(event);
  if (!HasPicture() || !sceneRect().toRect().contains(pixel + step)) return;
  if (!Seen().isNull() && !Seen().contains(pixel + step)) moved(pixel + step, sight_.scale);
  pointed(pixel + step, true);
}

void ImageView::wheelEvent(QWheelEvent* event) {
  Zoom(Scale() * std::pow(kZoomStep, event->angleDelta().y() / 120.0), event->position());
  event->accept();
}

void ImageView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  pointed(std::nullopt, true);  // its first click was none
  Zoom(sight_.scale == 1 ? 0 : 1, event->position());
}

void ImageView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !HasPicture()) return;
  dragStart_ = dragEnd_ = event->position();
  draws_ = sight_.mayDraw && (event->modifiers() & Qt::ShiftModifier) != 0;
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
  if (dragStart_ && !draws_ && sight_.scale > 0)
    moved(mapToScene(viewport()->rect()).boundingRect().center() -
              (event->position() - dragEnd_) / Scale(),
          sight_.scale);
  dragEnd_ = event->position();
  if (dragStart_) viewport()->update();
  pointed(PixelAt(dragEnd_), false);
}

void ImageView::mouseReleaseEvent(QMouseEvent* event) {
  if (!dragStart_ || event->button() != Qt::LeftButton) return;
  const bool isClick = (event->position() - *dragStart_).manhattanLength() < 4;
  const QRect pixels = Drawn() & sceneRect().toRect();
  dragStart_.reset();
  viewport()->update();
  if (isClick) pointed(PixelAt(event->position()), true);
  if (!isClick && draws_ && !pixels.isEmpty()) drawn(pixels);
}

// Shows the whole image as large as fits.
double ImageView::WholeScale() const {
  const QSizeF image = sceneRect().size();
  return image.isEmpty() ? 1 : std::min(width() / image.width(), height() / image.height());
}

// Of the middle of the screen's pixel at a position. QGraphicsView's own functions take whole
// points.
QPointF ImageView::PlaceAt(QPointF position) const {
  const double half = 0.5 / devicePixelRatioF();
  return viewportTransform().inverted().map(position + QPointF(half, half));
}

std::optional<QPoint> ImageView::PixelAt(QPointF position) const {
  const QPointF place = PlaceAt(position);
  const QPoint pixel(qFloor(place.x()), qFloor(place.y()));
  const bool inside = HasPicture() && sceneRect().toRect().contains(pixel);
  return inside ? std::optional(pixel) : std::nullopt;
}

QRect ImageView::Drawn() const {
  return QRectF(PlaceAt(*dragStart_), PlaceAt(dragEnd_)).normalized().toAlignedRect();
}

// What lies at the position stays there. No smaller than the whole image.
void ImageView::Zoom(double scale, QPointF position) {
  if (!HasPicture()) return;
  constexpr double kLargest = 64;
  scale = std::min(scale, kLargest);
  const QPointF toMiddle = QPointF(viewport()->rect().center()) - position;
  if (scale > WholeScale())
    moved(PlaceAt(position) + toMiddle / scale, scale);
  else
    moved({}, 0);
}

}  // namespace lumomixcalc::standalone
