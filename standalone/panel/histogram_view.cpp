#include "standalone/panel/histogram_view.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "standalone/base/texts.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kBarsHeight = 24;
constexpr int kHeight = kBarsHeight + 8;  // with the colours

// With six digits, which suffice to see where colours end. Leaves what someone types.
void ShowFigure(NumberField& field, float limit) {
  if (field.isModified()) return;
  field.SetValue(QString::number(limit, 'g', 6).toFloat());
  if (std::abs(limit) != std::numbers::pi_v<float>) return;
  const QSignalBlocker keepsItsNumber(field);
  field.setText(limit < 0 ? "\u2212\u03c0" : "\u03c0");
}

}  // namespace

HistogramView::HistogramView(const QString& title)
    : low_(NewField(title + " low limit", &Limits::low)),
      high_(NewField(title + " high limit", &Limits::high)) {
  auto* const fields = NewLayout<QHBoxLayout>(this);
  fields->setContentsMargins(0, kHeight + 2, 0, 0);
  fields->addWidget(low_);
  fields->addStretch();
  fields->addWidget(high_);
  setFixedHeight(sizeHint().height());  // also while a field is hidden
  setMouseTracking(true);
}

NumberField* HistogramView::NewField(const QString& name, Limit limit) {
  auto* const field = Named(new NumberField(11, 0.1F, [](auto) {}), name);
  field->setMaximumWidth(field->minimumWidth());
  // Not while it is typed: the 9 of 9999 is another limit.
  connect(field, &QLineEdit::editingFinished, [this, limit, field] {
    if (!field->isModified()) return;
    field->setModified(false);
    if (field->text().isEmpty()) return limitsChosen(std::nullopt);
    Choose(limit, field->Value().value_or(NAN));
    ShowLimits();  // in place of a text that is no limit
  });
  return field;
}

void HistogramView::Show(std::span<const float> values, const Appearance& automatic,
                         const Appearance& appearance, bool byHand) {
  appearance_ = appearance;
  byHand_ = byHand;
  const double low = automatic.Spread(automatic.limits.low);
  const double width = automatic.Spread(automatic.limits.high) - low;
  range_ = width > 0 ? width * 1.3 : 1;
  start_ = low + (width - range_) / 2;
  counts_.assign(values.empty() ? 0 : 128, 0);
  const double bins = static_cast<double>(counts_.size());
  ShowStatistics(values);
  for (const float value : values) {
    const double bin = (appearance.Spread(value) - start_) / range_ * bins;
    if (bin >= 0 && bin < bins) ++counts_[static_cast<std::size_t>(bin)];
  }
  ShowLimits();
}

void HistogramView::ShowStatistics(std::span<const float> values) {
  ValidStatistics found;
  CountRows({values.data(), static_cast<int>(values.size()), 1}, found);
  const auto figure = [](double value) { return QString::number(value, 'g', 3); };
  const QString extremes =
      QString("minimum %1, maximum %2, ").arg(figure(found.minimum), figure(found.maximum));
  const QString middle = figure(found.Mean());
  const QString deviation = figure(found.Deviation());
  const QString both = QString("mean %1, deviation %2").arg(middle, deviation);
  statistics_.clear();
  if (found.valid > 0) statistics_ = {extremes + both, both, middle + " \u00b1 " + deviation};
  setToolTip(QString("Of the %1 elements of the run that are shown: %2\n"
                     "Drag a line to set a limit of the colours. Double click: automatic limits.")
                 .arg(found.valid)
                 .arg(statistics_.value(0)));
}

void HistogramView::ShowLimits() {
  const auto [low, high] = appearance_.limits;
  low_->setVisible(!counts_.empty());
  // A single value is shown in one field.
  high_->setVisible(!counts_.empty() && low < high);
  ShowFigure(*low_, low);
  ShowFigure(*high_, high);
  const QString state = byHand_ ? "set by hand: they stay until a field is emptied" : "automatic";
  QFont font;
  font.setBold(byHand_);
  for (NumberField* const field : {low_, high_}) {
    field->setFont(font);
    field->setToolTip("Limits of the colours, " + state);
  }
  setAccessibleName(
      QString("Histogram, shown from %1 to %2, %3").arg(low_->text(), high_->text(), state));
  update();
}

void HistogramView::paintEvent(QPaintEvent*) {
  if (counts_.empty()) return;
  QPainter painter(this);
  // Heights by the square root, so that rare values beside a dominant one are seen.
  const double scale = kBarsHeight / std::sqrt(std::max(1U, std::ranges::max(counts_)));
  QRectF bar(0, 0, 1.0 * width() / static_cast<double>(counts_.size()), kBarsHeight);
  for (const std::uint32_t count : counts_) {
    bar.setTop(kBarsHeight - scale * std::sqrt(count));
    painter.fillRect(bar, palette().color(QPalette::Disabled, QPalette::WindowText));
    bar.translate(bar.width(), 0);
  }
  const double low = ColumnOf(appearance_.limits.low);
  const double high = ColumnOf(appearance_.limits.high);
  const auto* const colours = reinterpret_cast<const uchar*>(ColoursOf(appearance_.map).data());
  painter.drawImage(QRectF(low, kBarsHeight, high - low, kHeight - kBarsHeight),
                    QImage(colours, kShades, 1, QImage::Format_RGB32));
  painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
  for (const double limit : {low, high}) painter.drawLine(QLineF(limit, 0, limit, kHeight));
  PaintStatistics(painter);
}

// In the longest form that there is room for between the fields.
void HistogramView::PaintStatistics(QPainter& painter) const {
  const int left = low_->geometry().right() + 4;
  const int right = high_->isVisible() ? high_->geometry().left() - 4 : width();
  const QRect place(left, low_->y(), right - left, low_->height());
  painter.setPen(palette().color(QPalette::WindowText));
  for (const QString& text : statistics_)
    if (fontMetrics().horizontalAdvance(text) <= place.width())
      return painter.drawText(place, Qt::AlignCenter, text);
}

void HistogramView::mouseMoveEvent(QMouseEvent* event) {
  const double column = event->position().x();
  setCursor(dragged_ || LineAt(column) ? Qt::SizeHorCursor : Qt::ArrowCursor);
  if (!dragged_) return;
  const double place = start_ + range_ * std::clamp(column / width(), 0.0, 1.0);
  const double value = appearance_.logarithm ? std::pow(10, place) : place;
  Choose(dragged_, QString::number(value, 'g', 6).toFloat());  // as a short text
}

// Reports the limits with one changed, if colours can be spread between them.
void HistogramView::Choose(Limit limit, float value) {
  Limits limits = appearance_.limits;
  limits.*limit = value;
  if (appearance_.map == ColourMap::kCentred)
    limits.*(limit == &Limits::low ? &Limits::high : &Limits::low) = -value;
  if (limits.low < limits.high &&
      std::isfinite(appearance_.Spread(limits.high) - appearance_.Spread(limits.low)))
    limitsChosen(limits);
}

double HistogramView::ColumnOf(float value) const {
  return width() * std::clamp((appearance_.Spread(value) - start_) / range_, 0.0, 1.0);
}

// The limit whose line can be taken at a column, from up to 6 points off, or none.
HistogramView::Limit HistogramView::LineAt(double column) const {
  const double fromLow = column - ColumnOf(appearance_.limits.low);
  const double fromHigh = column - ColumnOf(appearance_.limits.high);
  // Of two lines in one place, the one on the side of the pointer.
  const bool low = fromLow < 0 || std::abs(fromLow) < std::abs(fromHigh);
  if (counts_.empty() || std::abs(low ? fromLow : fromHigh) > 6) return nullptr;
  return low ? &Limits::low : &Limits::high;
}

}  // namespace lumomixcalc::standalone
