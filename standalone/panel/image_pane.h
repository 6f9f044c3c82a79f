#pragma once

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include "standalone/base/numbers.h"
#include "standalone/panel/preview.h"
#include "standalone/panel/raster_view.h"
#include "standalone/panel/rendering.h"

namespace lumomixcalc::standalone {

// A histogram with a line and a figure at each limit of the colours, and the colours between them.
class HistogramView : public QWidget {
 public:
  HistogramView() {
    setFixedHeight(kBarsHeight + kColoursHeight + fontMetrics().height() + 4);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  }

  // Shows the histogram of spread values; of no values, nothing. logarithm: they are the decimal
  // logarithms of what the figures say.
  void Show(const std::vector<float>& spread, Limits limits, bool cyclic, bool logarithm) {
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

 protected:
  void paintEvent(QPaintEvent*) override {
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

 private:
  static constexpr int kBarsHeight = 40;
  static constexpr int kColoursHeight = 6;

  void PaintBars(QPainter& painter) const {
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

  Histogram histogram_;
  Limits limits_;
  QImage colours_;
  QString lowText_;
  QString highText_;
};

// One image of the preview: title, choice of the part of complex elements, picture and histogram.
class ImagePane : public QWidget {
 public:
  // stretch chooses a Stretch; the pane follows it.
  ImagePane(const QString& title, const QComboBox& stretch)
      : title_(title),
        stretch_(stretch),
        // In the order of ComplexPart.
        part_(NewChoice(title + " part", {"Magnitude", "Phase", "Real part", "Imaginary part"})),
        raster_(Named(new RasterView, title + " preview")) {
    auto* const heading = new QHBoxLayout;
    heading->addWidget(new QLabel(title));
    heading->addStretch();
    heading->addWidget(part_);
    auto* const layout = NewLayout<QVBoxLayout>(this);
    layout->addLayout(heading);
    layout->addWidget(raster_, 1);
    layout->addWidget(histogram_);
    connect(part_, &QComboBox::currentIndexChanged, [this] { Redraw(); });
    connect(&stretch, &QComboBox::currentIndexChanged, this, [this] { Redraw(); });
    // Hidden it keeps its room, so that the pictures line up.
    QSizePolicy policy = part_->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    part_->setSizePolicy(policy);
  }

  void Show(PreviewImage image) {
    image_ = std::move(image);
    Redraw();
  }

  // The value at a place, as text; empty when there is no image.
  QString ValueAt(QPointF place) const {
    if (image_.values.empty()) return {};
    const auto cell = [](double share, int count) {
      return static_cast<std::size_t>(std::clamp(static_cast<int>(share * count), 0, count - 1));
    };
    const std::size_t element =
        cell(place.y(), image_.grid.rows) * static_cast<std::size_t>(image_.grid.columns) +
        cell(place.x(), image_.grid.columns);
    if (!image_.complex) return Text(ShortestText(image_.values[element]));
    const float imaginary = image_.values[2 * element + 1];
    return Text(ShortestText(image_.values[2 * element]) +
                (std::signbit(imaginary) ? " \u2212 " : " + ") + ShortestText(std::abs(imaginary)) +
                "i");
  }

  const PreviewImage& Image() const { return image_; }
  const QString& Title() const { return title_; }
  QComboBox& Part() const { return *part_; }
  RasterView& Raster() const { return *raster_; }

 private:
  void Redraw() {
    part_->setVisible(image_.complex);
    const auto part = static_cast<ComplexPart>(part_->currentIndex());
    const bool phase = image_.complex && part == ComplexPart::kPhase;
    // A phase has its own limits, and no logarithm.
    const Stretch stretch =
        phase ? Stretch::kMinMax : static_cast<Stretch>(stretch_.currentIndex());
    const std::vector<float> values =
        Spread(image_.complex ? PartOf(image_.values, part) : image_.values, stretch);
    const Limits limits = phase ? kTurn : LimitsOf(values, stretch);
    raster_->Show(values.empty() ? QImage() : Picture(values, image_.grid.columns, limits, phase),
                  OfFields(image_.note));
    histogram_->Show(values, limits, phase, stretch == Stretch::kLogarithm);
  }

  QString title_;
  const QComboBox& stretch_;
  QComboBox* part_;
  RasterView* raster_;
  HistogramView* histogram_ = new HistogramView;
  PreviewImage image_;
};

}  // namespace lumomixcalc::standalone
