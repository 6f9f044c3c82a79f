#pragma once

#include <numbers>

#include "standalone/panel/rendering.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// A histogram with a line and a field at each limit of the colours, and the colours between them.
class HistogramView : public QWidget {
 public:
  // Called with the limits that the user drags or types, and with none for automatic ones.
  std::function<void(std::optional<Limits>)> limitsChosen;

  explicit HistogramView(const QString& title)
      : low_(NewField(title + " low limit", &Limits::low)),
        high_(NewField(title + " high limit", &Limits::high)) {
    auto* const fields = NewLayout<QHBoxLayout>(this);
    fields->setContentsMargins(0, kHeight + 2, 0, 0);
    fields->addWidget(low_, 0, Qt::AlignLeft);
    fields->addWidget(high_, 0, Qt::AlignRight);
    setFixedHeight(sizeHint().height());  // also while a field is hidden
    setMouseTracking(true);
    setToolTip("Drag a line to set a limit of the colours. Double click: automatic limits.");
  }

  // Takes the values to count, over the limits of the appearance and a little to either side.
  void Count(std::span<const float> values, const Appearance& appearance) {
    const double low = appearance.Spread(appearance.limits.low);
    const double width = appearance.Spread(appearance.limits.high) - low;
    range_ = width > 0 ? width * 1.3 : 1;
    start_ = low + (width - range_) / 2;
    counts_.assign(values.empty() ? 0 : 128, 0);
    const double bins = static_cast<double>(counts_.size());
    for (const float value : values) {
      const double bin = (appearance.Spread(value) - start_) / range_ * bins;
      if (bin >= 0 && bin < bins) ++counts_[static_cast<std::size_t>(bin)];
    }
  }

  void Show(const Appearance& appearance) {
    appearance_ = appearance;
    low_->setVisible(!counts_.empty());
    // A single value is said once.
    high_->setVisible(!counts_.empty() && appearance.limits.low < appearance.limits.high);
    ShowFigure(*low_, appearance.limits.low);
    ShowFigure(*high_, appearance.limits.high);
    setAccessibleName(QString("Histogram, shown from %1 to %2").arg(low_->text(), high_->text()));
    update();
  }

  void Reset() { limitsChosen(std::nullopt); }

 protected:
  void paintEvent(QPaintEvent*) override {
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
  }

  void mousePressEvent(QMouseEvent* event) override { dragged_ = LineAt(event->position().x()); }
  void mouseReleaseEvent(QMouseEvent*) override { dragged_ = nullptr; }
  void mouseDoubleClickEvent(QMouseEvent*) override { Reset(); }

  void mouseMoveEvent(QMouseEvent* event) override {
    const double column = event->position().x();
    setCursor(dragged_ || LineAt(column) ? Qt::SizeHorCursor : Qt::ArrowCursor);
    if (!dragged_) return;
    const double place = start_ + range_ * std::clamp(column / width(), 0.0, 1.0);
    const double value = appearance_.logarithm ? std::pow(10, place) : place;
    Choose(dragged_, QString::number(value, 'g', 6).toFloat());  // as a short text
  }

 private:
  using Limit = float Limits::*;
  static constexpr int kBarsHeight = 40;
  static constexpr int kHeight = kBarsHeight + 6;  // with the colours

  NumberField* NewField(const QString& name, Limit limit) {
    const auto changed = [this, limit](auto value) { Choose(limit, value.value_or(NAN)); };
    auto* const field = Named(new NumberField(12, 0.1F, changed), name);
    field->setMaximumWidth(field->minimumWidth());
    // In place of a text that is no limit.
    connect(field, &QLineEdit::editingFinished, [this] { Show(appearance_); });
    return field;
  }

  static void ShowFigure(NumberField& field, float limit) {
    if (ParseFloat(field.text().toStdString()) != limit) {  // else someone may be typing it
      field.setText(Text(ShortestText(limit)));
      if (!field.hasFocus()) field.setCursorPosition(0);
    }
    if (std::abs(limit) != std::numbers::pi_v<float>) return;
    const QSignalBlocker keepsItsNumber(field);
    field.setText(limit < 0 ? "\u2212\u03c0" : "\u03c0");
  }

  // Reports the limits with one changed, if colours can be spread between them.
  void Choose(Limit limit, float value) {
    Limits limits = appearance_.limits;
    if (value == limits.*limit) return;  // also when its field is filled
    limits.*limit = value;
    if (appearance_.map == ColourMap::kCentred)
      limits.*(limit == &Limits::low ? &Limits::high : &Limits::low) = -value;
    if (limits.low < limits.high &&
        std::isfinite(appearance_.Spread(limits.high) - appearance_.Spread(limits.low)))
      limitsChosen(limits);
  }

  double ColumnOf(float value) const {
    return width() * std::clamp((appearance_.Spread(value) - start_) / range_, 0.0, 1.0);
  }

  // The limit whose line can be taken at a column, from up to 6 points off, or none.
  Limit LineAt(double column) const {
    const double fromLow = column - ColumnOf(appearance_.limits.low);
    const double fromHigh = column - ColumnOf(appearance_.limits.high);
    // Of two lines in one place, the one on the side of the pointer.
    const bool low = fromLow < 0 || std::abs(fromLow) < std::abs(fromHigh);
    if (counts_.empty() || std::abs(low ? fromLow : fromHigh) > 6) return nullptr;
    return low ? &Limits::low : &Limits::high;
  }

  double start_ = 0;  // of the histogram's range, in spread values
  double range_ = 1;
  std::vector<std::uint32_t> counts_;  // in equal bins; without bins nothing is shown
  Appearance appearance_;
  Limit dragged_ = nullptr;
  NumberField* low_;
  NumberField* high_;
};

}  // namespace lumomixcalc::standalone
