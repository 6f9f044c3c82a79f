#ifndef LUMOMIXCALC_STANDALONE_PANEL_HISTOGRAM_VIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_HISTOGRAM_VIEW_H

#include <QImage>
#include <QWidget>

#include "standalone/panel/rendering.h"

namespace lumomixcalc::standalone {

// A histogram with a line at each limit of the colours, the colours between them, and the limits in
// figures.
class HistogramView : public QWidget {
 public:
  HistogramView();

  // lowText and highText are the limits as the user reads them.
  void Show(Histogram histogram, Limits limits, bool cyclic, const QString& lowText,
            const QString& highText);
  void Clear();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double ColumnOf(double value) const;
  void PaintBars(QPainter& painter, double barsHeight) const;

  Histogram histogram_;  // without bins when there is nothing to show
  Limits limits_;
  QImage colours_;
  QString lowText_;
  QString highText_;
};

}  // namespace lumomixcalc::standalone

#endif
