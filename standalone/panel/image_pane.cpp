#include "standalone/panel/image_pane.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

QString Figure(float value) { return QString::fromStdString(ShortestText(value)); }

// A limit to four digits, back from its logarithm where one was taken.
QString LimitText(float limit, bool logarithm) {
  return QString::number(logarithm ? std::pow(10.0, limit) : limit, 'g', 4);
}

QImage Picture(const std::vector<std::uint32_t>& pixels, int columns, int rows) {
  QImage picture(columns, rows, QImage::Format_ARGB32);
  for (int row = 0; row < rows; ++row)
    std::copy_n(pixels.begin() + static_cast<std::ptrdiff_t>(row) * columns, columns,
                reinterpret_cast<std::uint32_t*>(picture.scanLine(row)));
  return picture;
}

}  // namespace

ImagePane::ImagePane(const QString& title, RasterView::Callbacks callbacks)
    : title_(title),
      part_(new QComboBox),
      raster_(new RasterView(std::move(callbacks))),
      histogram_(new HistogramView) {
  auto* const heading = new QHBoxLayout;
  heading->addWidget(new QLabel(title));
  heading->addStretch();
  heading->addWidget(part_);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addLayout(heading);
  layout->addWidget(raster_, 1);
  layout->addWidget(histogram_);

  // In the order of ComplexPart.
  part_->addItems({QStringLiteral("Magnitude"), QStringLiteral("Phase"),
                   QStringLiteral("Real part"), QStringLiteral("Imaginary part")});
  part_->setAccessibleName(title + QStringLiteral(", part shown"));
  part_->setObjectName(title + QStringLiteral(" part"));
  connect(part_, &QComboBox::currentIndexChanged, [this] { Redraw(); });
  // Hidden it keeps its room, so that the pictures line up.
  QSizePolicy policy = part_->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  part_->setSizePolicy(policy);
  raster_->setAccessibleName(title + QStringLiteral(", preview"));
  raster_->setObjectName(title + QStringLiteral(" preview"));
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

int ImagePane::Part() const { return part_->currentIndex(); }

void ImagePane::SetPart(int part) {
  if (part >= 0 && part < part_->count()) part_->setCurrentIndex(part);
}

void ImagePane::Redraw() {
  raster_->SetNote(QString::fromStdString(image_.note));
  part_->setVisible(image_.complex);
  if (image_.values.empty()) {
    raster_->SetPicture({});
    histogram_->Clear();
    return;
  }
  const auto part = static_cast<ComplexPart>(part_->currentIndex());
  const bool phase = image_.complex && part == ComplexPart::kPhase;
  // A phase has its own limits, and no logarithm.
  const Stretch stretch = phase ? Stretch::kMinMax : stretch_;
  const std::vector<float> values =
      Spread(image_.complex ? PartOf(image_.values, part) : image_.values, stretch);
  const Limits limits = phase ? PhaseLimits() : LimitsOf(values, stretch);
  const bool logarithm = stretch == Stretch::kLogarithm;
  raster_->SetPicture(
      Picture(Pixels(values, limits, phase), image_.grid.columns, image_.grid.rows));
  histogram_->Show(HistogramOf(values, limits), limits, phase, LimitText(limits.low, logarithm),
                   LimitText(limits.high, logarithm));
}

QString ImagePane::ValueAt(QPointF place) const {
  if (image_.values.empty()) return {};
  const auto cell = [](double share, int count) {
    return std::clamp(static_cast<int>(share * count), 0, count - 1);
  };
  const std::size_t element = static_cast<std::size_t>(cell(place.y(), image_.grid.rows)) *
                                  static_cast<std::size_t>(image_.grid.columns) +
                              static_cast<std::size_t>(cell(place.x(), image_.grid.columns));
  if (!image_.complex) return Figure(image_.values[element]);
  const float imaginary = image_.values[2 * element + 1];
  return Figure(image_.values[2 * element]) +
         (std::signbit(imaginary) ? QStringLiteral(" \u2212 ") : QStringLiteral(" + ")) +
         Figure(std::abs(imaginary)) + QStringLiteral("i");
}

}  // namespace lumomixcalc::standalone
