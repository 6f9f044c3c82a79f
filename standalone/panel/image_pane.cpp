#include "standalone/panel/image_pane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kBarsHeight = 40;
constexpr int kColoursHeight = 6;

}  // namespace

HistogramView::HistogramView() {
  setFixedHeight(kBarsHeight + kColoursHeight + fontMetrics().height() + 4);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void HistogramView::Show(const std::vector<float>& spread, Limits limits, bool cyclic,
                         bool logarithm) {
  update();
  histogram_ = spread.empty() ? Histogram() : HistogramOf(spread, limits);
  limits_ = limits;
  const auto figure = [logarithm](double limit) {
    return QString::number(logarithm ? std::pow(10.0, limit) : limit, 'g', 4);
  };
  lowText_ = figure(limits.low);
  highText_ = figure(limits.high);
  std::vector<float> ramp(256);
  std::iota(ramp.begin(), ramp.end(), 0.0F);
  colours_ = Picture(ramp, 256, {0, 256}, cyclic);
  setAccessibleName(QString("Histogram, shown from %1 to %2").arg(lowText_, highText_));
}

void HistogramView::PaintBars(QPainter& painter) const {
  const std::vector<std::uint32_t>& counts = histogram_.counts;
  const double most = std::max(1U, *std::max_element(counts.begin(), counts.end()));
  const double binWidth = static_cast<double>(width()) / static_cast<double>(counts.size());
  double column = 0;
  for (const std::uint32_t count : counts) {
    // Heights by the square root, so that rare values beside a dominant one are seen.
    const double height = kBarsHeight * std::sqrt(count / most);
    painter.fillRect(QRectF(column, kBarsHeight - height, binWidth, height),
                     palette().color(QPalette::Disabled, QPalette::WindowText));
    column += binWidth;
  }
}

void HistogramView::paintEvent(QPaintEvent*) {
  if (histogram_.counts.empty()) return;
  QPainter painter(this);
  PaintBars(painter);
  const double left = histogram_.range.low;
  const double scale = width() / (histogram_.range.high - left);
  const double low = (limits_.low - left) * scale;
  const double high = (limits_.high - left) * scale;
  painter.drawImage(QRectF(low, kBarsHeight, high - low, kColoursHeight), colours_);
  painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
  for (const double limit : {low, high})
    painter.drawLine(QPointF(limit, 0), QPointF(limit, kBarsHeight + kColoursHeight));

  // Each figure under its line, and both inside the width.
  painter.setPen(palette().color(QPalette::WindowText));
  const auto figure = [&](double column, const QString& text, double least, double most) {
    const double textWidth = fontMetrics().horizontalAdvance(text);
    const double start = std::max(least, std::min(column - textWidth / 2, most - textWidth));
    painter.drawText(QPointF(start, height() - fontMetrics().descent()), text);
  };
  figure(low, lowText_, 0, width() / 2.0);
  figure(high, highText_, width() / 2.0 + 8, width());
}

ImagePane::ImagePane(const QString& title, RasterView::Callbacks callbacks)
    : title_(title),
      // In the order of ComplexPart.
      part_(NewChoice(title + " part", {"Magnitude", "Phase", "Real part", "Imaginary part"})),
      raster_(Named(new RasterView(std::move(callbacks)), title + " preview")),
      histogram_(new HistogramView) {
  auto* const heading = new QHBoxLayout;
  heading->addWidget(new QLabel(title));
  heading->addStretch();
  heading->addWidget(part_);
  auto* const layout = NewLayout<QVBoxLayout>(this);
  layout->addLayout(heading);
  layout->addWidget(raster_, 1);
  layout->addWidget(histogram_);
  connect(part_, &QComboBox::currentIndexChanged, [this] { Redraw(); });
  // Hidden it keeps its room, so that the pictures line up.
  QSizePolicy policy = part_->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  part_->setSizePolicy(policy);
  Redraw();
}

void ImagePane::Show(PreviewImage image) {
  image_ = std::move(image);
  Redraw();
}

void ImagePane::SetStretch(Stretch stretch) {
  stretch_ = stretch;
  Redraw();
}

void ImagePane::Redraw() {
  part_->setVisible(image_.complex);
  if (image_.values.empty()) {
    raster_->Show({}, Text(image_.note));
    histogram_->Show({}, {}, false, false);
    return;
  }
  const auto part = static_cast<ComplexPart>(part_->currentIndex());
  const bool phase = image_.complex && part == ComplexPart::kPhase;
  // A phase has its own limits, and no logarithm.
  const Stretch stretch = phase ? Stretch::kMinMax : stretch_;
  const std::vector<float> values =
      Spread(image_.complex ? PartOf(image_.values, part) : image_.values, stretch);
  const Limits limits = phase ? kTurn : LimitsOf(values, stretch);
  raster_->Show(Picture(values, image_.grid.columns, limits, phase), Text(image_.note));
  histogram_->Show(values, limits, phase, stretch == Stretch::kLogarithm);
}

QString ImagePane::ValueAt(QPointF place) const {
  if (image_.values.empty()) return {};
  const auto cell = [](double share, int count) {
    return static_cast<std::size_t>(std::clamp(static_cast<int>(share * count), 0, count - 1));
  };
  const std::size_t element =
      cell(place.y(), image_.grid.rows) * static_cast<std::size_t>(image_.grid.columns) +
      cell(place.x(), image_.grid.columns);
  if (!image_.complex) return Text(ShortestText(image_.values[element]));
  const float imaginary = image_.values[2 * element + 1];
  return Text(ShortestText(image_.values[2 * element])) +
         (std::signbit(imaginary) ? " \u2212 " : " + ") + Text(ShortestText(std::abs(imaginary))) +
         "i";
}

}  // namespace lumomixcalc::standalone
