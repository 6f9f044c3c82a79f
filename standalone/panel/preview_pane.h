#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "standalone/panel/image_pane.h"
#include "standalone/panel/inspector.h"

namespace lumomixcalc::standalone {

// The images of a preview and the choices of how they are shown. All images show the same place.
class PreviewPane : public QWidget {
 public:
  std::function<void(QRect pixels)> regionDrawn;
  std::function<void()> viewChanged;  // View() has changed
  std::function<void(QPoint pixel)> elementAsked;
  std::function<void(const QString& sentence)> told;

  // titles: of the inputs and of the result. The inspector, which stands elsewhere, shows the
  // elements under the pointer.
  PreviewPane(const QStringList& titles, Inspector& inspector);

  // The inputs by their position, the result last.
  void Show(std::size_t position, PreviewImage image);

  // Has the pane of an input that had no file say that this one is being opened.
  void ShowOpening(std::size_t position, const QString& file);

  // A new preview is being made: shows that if it takes long.
  void ExpectPreview();

  // The preview is complete.
  void EndPreview();

  // Offers the bands that the run computes.
  void OfferBands(const std::vector<int>& bands);

  // Pictures that may no longer be those of the settings are dimmed.
  void Dim(bool dimmed);

  void ShowElements(const Inspection& found);

  // The outlined region in pixels of the inputs, or none.
  void SetRegion(std::optional<QRect> pixels);
  void LetDraw(bool allowed) { sight_.mayDraw = allowed; }
  void Unpin() { Point(std::nullopt, true); }

  // The pixels that the first image shows; null while there is none.
  QRect Extent() const;

  // What the preview must show, for the images that are visible.
  struct View View() const;

  void Save(QSettings& settings) const;
  void Restore(const QSettings& settings);

 private:
  QLayout* MakeBar();
  QLayout* MakePanes(const QStringList& titles);
  void AddShortcuts();
  void Arrange();
  bool HasFile(std::size_t position) const;
  void LookAt(QPointF centre, double scale);
  void FollowSight();
  void Blink(bool on);
  void Point(std::optional<QPoint> pixel, bool pins);

  QComboBox* images_;
  QComboBox* stretch_ =
      NewChoice("Stretch", {"Percentile 2\u201398 %", "Min\u2013max", "Logarithm"});
  QSpinBox* band_ = Named(new QSpinBox, "Band", "Band shown");
  QLabel* busy_ = Named(new QLabel, "Preview state");
  QLabel* zoom_ = Named(new QLabel, "Zoom");
  Sight sight_;
  bool blinks_ = false;  // two inputs are shown in the place of each other
  QGridLayout* grid_ = new QGridLayout;
  std::vector<ImagePane*> panes_;  // the inputs, then the result
  Inspector& inspector_;
  QTimer expected_{this};  // runs while a preview that is made may still be quick
  QTimer resting_{this};   // runs until the pointer rests
};

}  // namespace lumomixcalc::standalone
