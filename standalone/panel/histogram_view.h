#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "standalone/panel/rendering.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// A histogram with a line and a field at each limit of the colours, the colours between them, and
// statistics of what is counted.
class HistogramView : public QWidget {
 public:
  // Called with the limits that the user drags or types, and with none for automatic ones.
  std::function<void(std::optional<Limits>)> limitsChosen;

  explicit HistogramView(const QString& title);

  // Counts the values over the automatic limits and a little to either side, and shows the limits
  // of the appearance, which are marked when they are set by hand.
  void Show(std::span<const float> values, const Appearance& automatic,
            const Appearance& appearance, bool byHand);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override { dragged_ = LineAt(event->position().x()); }
  void mouseReleaseEvent(QMouseEvent*) override { dragged_ = nullptr; }
  void mouseDoubleClickEvent(QMouseEvent*) override { limitsChosen(std::nullopt); }
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  using Limit = float Limits::*;

  NumberField* NewField(const QString& name, Limit limit);
  void Choose(Limit limit, float value);
  void ShowLimits();
  void ShowStatistics(std::span<const float> values);
  void PaintStatistics(QPainter& painter) const;
  double ColumnOf(float value) const;
  Limit LineAt(double column) const;

  double start_ = 0;  // of the histogram's range, in spread values
  double range_ = 1;
  std::vector<std::uint32_t> counts_;  // in equal bins; without bins nothing is shown
  QStringList statistics_;             // the same in a long form and in shorter ones
  Appearance appearance_;
  bool byHand_ = false;
  Limit dragged_ = nullptr;
  NumberField* low_;
  NumberField* high_;
};

}  // namespace lumomixcalc::standalone
