#ifndef LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_PANE_H
#define LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_PANE_H

#include <vector>

#include "standalone/panel/image_pane.h"
#include "standalone/panel/preview.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// The images of a preview, with the choices of how they are shown and the values under the pointer.
class PreviewPane : public QWidget {
 public:
  struct Callbacks {
    std::function<void(QRect pixels)> regionDrawn;  // in pixels of the inputs
    std::function<void()> bandChanged;
  };

  // titles: of the inputs and of the result.
  PreviewPane(const std::vector<QString>& titles, Callbacks callbacks);

  void Show(Preview preview);
  // A new preview is being made: says so if it takes long.
  void Await() { patience_.start(); }
  void StopAwaiting();
  // The outlined region in pixels of the inputs, or none.
  void SetRegion(std::optional<QRect> pixels);
  void LetDraw(bool allowed);
  // The chosen band, from 1.
  int Band() const { return band_->value(); }

  void Save(QSettings& settings) const;
  void Restore(const QSettings& settings);

 private:
  void FillBar(QHBoxLayout& bar, const std::vector<QString>& titles);
  void AddPanes(const std::vector<QString>& titles);
  void Arrange();
  void Point(std::optional<QPointF> place);
  void TakeDrawn(const QRectF& area);
  QSize Covered() const;

  Callbacks callbacks_;
  std::optional<QRect> region_;
  std::optional<QPointF> pointed_;
  std::vector<ImagePane*> panes_;  // the inputs, then the result
  QGridLayout* grid_;
  QComboBox* arrangement_;
  QComboBox* stretch_;
  QLabel* bandLabel_;
  QSpinBox* band_;
  QLabel* busy_;
  QLabel* values_;
  QTimer patience_;
};

}  // namespace lumomixcalc::standalone

#endif
