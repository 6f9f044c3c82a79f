#include "standalone/panel/histogram_view.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

constexpr int kBarsHeight = 40;
constexpr int kColoursHeight = 6;

}  // namespace

HistogramView::HistogramView() {
  setFixedHeight(kBarsHeight + kColoursHeight + fontMetrics().height() + 4);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void HistogramView::Show(Histogram histogram, Limits limits, bool cyclic, const QString& lowText,
                         const QString& highText) {
  histogram_ = std::move(histogram);
  limits_ = limits;
  lowText_ = lowText;
  highText_ = highText;
  // The colours of a rising row of values.
  colours_ = QImage(256, 1, QImage::Format_ARGB32);
  std::vector<float> ramp(256);
  std::iota(ramp.begin(), ramp.end(), 0.0F);
  const std::vector<std::uint32_t> pixels = Pixels(ramp, {0, 256}, cyclic);
  std::copy(pixels.begin(), pixels.end(), reinterpret_cast<std::uint32_t*>(colours_.scanLine(0)));
  setAccessibleName(QStringLiteral("Histogram, shown from %1 to %2").arg(lowText, highText));
  update();
}

void HistogramView::Clear() {
  histogram_.counts.clear();
  update();
}

double HistogramView::ColumnOf(double value) const {
  const double low = histogram_.range.low;
  return (value - low) / (histogram_.range.high - low) * width();
}

void HistogramView::PaintBars(QPainter& painter, double barsHeight) const {
  const double most = *std::max_element(histogram_.counts.begin(), histogram_.counts.end());
  if (most == 0) return;
  const double binWidth =
      static_cast<double>(width()) / static_cast<double>(histogram_.counts.size());
  for (std::size_t i = 0; i < histogram_.counts.size(); ++i) {
    // Heights by the square root, so that rare values beside a dominant one are seen.
    const double barHeight = barsHeight * std::sqrt(histogram_.counts[i] / most);
    painter.fillRect(
        QRectF(static_cast<double>(i) * binWidth, barsHeight - barHeight, binWidth, barHeight),
        palette().color(QPalette::Disabled, QPalette::WindowText));
  }
}

void HistogramView::paintEvent(QPaintEvent*) {
  if (histogram_.counts.empty()) return;
  QPainter painter(this);
  PaintBars(painter, kBarsHeight);
  const double low = ColumnOf(limits_.low);
  const double high = ColumnOf(limits_.high);
  painter.drawImage(QRectF(low, kBarsHeight, high - low, kColoursHeight), colours_);
  painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
  for (const double limit : {low, high})
    painter.drawLine(QPointF(limit, 0), QPointF(limit, kBarsHeight + kColoursHeight));

  // Each figure under its line, and both inside the width.
  painter.setPen(palette().color(QPalette::WindowText));
  const auto figure = [&](double column, const QString& text, double least, double most) {
    const double textWidth = fontMetrics().horizontalAdvance(text);
    const double left = std::max(least, std::min(column - textWidth / 2, most - textWidth));
    painter.drawText(QPointF(left, height() - fontMetrics().descent()), text);
  };
  figure(low, lowText_, 0, width() / 2.0);
  figure(high, highText_, width() / 2.0 + 8, width());
}

}  // namespace lumomixcalc::standalone
