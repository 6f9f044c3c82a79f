#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "standalone/panel/image_pane.h"
#include "standalone/panel/inspector.h"

namespace lumomixcalc::standalone {

// The images of a preview, the choices of how they are shown, and the elements under the pointer.
// All images show the same place.
class PreviewPane : public QWidget {
 public:
  std::function<void(QRect pixels)> regionDrawn;
  std::function<void()> viewChanged;  // View() has changed
  std::function<void(QPoint pixel)> elementAsked;

  // titles: of the inputs and of the result.
  explicit PreviewPane(const QStringList& titles) : inspector_(new Inspector(titles)) {
    auto* const bar = new QHBoxLayout;
    auto* const layout = NewLayout<QVBoxLayout>(this);
    layout->addLayout(bar);
    layout->addLayout(grid_, 1);
    layout->addWidget(inspector_);
    FillBar(*bar, titles);
    AddPanes(titles);
    AddShortcuts();
    patience_.setSingleShot(true);
    patience_.setInterval(250);
    patience_.callOnTimeout([this] {
      busy_->setText("Computing the preview\u2026");
      for (ImagePane* const pane : panes_) pane->Raster().Dim(true);
    });
    Arrange();
  }

  // The inputs by their position, the result last. The result lies on the inputs.
  void Show(std::size_t position, const PreviewImage& image) {
    ImagePane& pane = *panes_[position];
    bands_[position] = image.bands;
    if (image.bands > 0) size_ = image.fullSize;
    pane.Raster().SetGrid(image.grid, size_);
    pane.Show(image);
    pane.Raster().Dim(false);
  }

  // A new preview is being made: shows that if it takes long.
  void Await() {
    if (!patience_.isActive()) patience_.start();
  }

  // The preview is complete.
  void StopAwaiting() {
    patience_.stop();
    busy_->clear();
    for (ImagePane* const pane : panes_) pane->Raster().Dim(false);
    int bands = 1;
    for (const auto& [position, count] : bands_) bands = std::max(bands, count);
    band_->setMaximum(bands);
    bandLabel_->setVisible(bands > 1);
    band_->setVisible(bands > 1);
    // The elements under the pointer may have changed.
    if (pointed_) elementAsked(*pointed_);
  }

  void ShowElements(const Inspection& found) {
    if (pointed_) inspector_->Show(found);
  }

  // The outlined region in pixels of the inputs, or none.
  void SetRegion(std::optional<QRect> pixels) {
    region_ = pixels;
    ShowMarks();
  }

  void LetDraw(bool allowed) {
    draw_->setEnabled(allowed);
    SetDrawing();
  }

  // The field of the band that is shown, from 1.
  QSpinBox& Band() const { return *band_; }

  // The size of the images; empty while there is none.
  QSize ImageSize() const { return size_; }

  // What the preview must show, for the images that are visible.
  struct View View() const {
    struct View view;
    view.band = band_->value();
    bool whole = false;
    for (const ImagePane* const pane : panes_) {
      const ImageView& raster = pane->Raster();
      if (!raster.isVisible()) continue;
      whole = whole || raster.Seen().isNull();
      view.seen |= raster.Seen();
      const double screen = raster.width() * raster.height() * std::pow(devicePixelRatioF(), 2);
      view.elements = std::clamp(screen * 1.2, view.elements, 0x1p22);
    }
    if (whole) view.seen = {};
    return view;
  }

  void Save(QSettings& settings) const {
    for (const auto& [key, box] : choices_)
      settings.setValue("display/" + key, box->currentIndex());
  }

  void Restore(const QSettings& settings) {
    for (const auto& [key, box] : choices_) {
      const int position = settings.value("display/" + key, 0).toInt();
      if (position >= 0 && position < box->count()) box->setCurrentIndex(position);
    }
  }

 private:
  void FillBar(QHBoxLayout& bar, const QStringList& titles) {
    QComboBox* const images = choices_["images"] =
        NewChoice("Images shown", QStringList("Side by side") + titles);
    QComboBox* const stretch = choices_["stretch"] =
        NewChoice("Stretch", {"Percentile 2\u201398 %", "Min\u2013max", "Logarithm"});
    connect(images, &QComboBox::currentIndexChanged, [this] { Arrange(); });
    for (QComboBox* const box : {images, stretch}) {
      box->setToolTip(box->objectName());
      bar.addWidget(box);
    }
    draw_->setCheckable(true);
    draw_->setToolTip("Draw the region to compute on an image, or drag with the Shift key held");
    connect(draw_, &QPushButton::toggled, [this] { SetDrawing(); });
    bar.addWidget(draw_);
    band_->setRange(1, 1);
    bar.addWidget(bandLabel_);
    bar.addWidget(band_);
    bar.addStretch();
    bar.addWidget(busy_);
    bar.addWidget(zoom_);
  }

  // The inputs one above the other, the result beside them and as high as all.
  void AddPanes(const QStringList& titles) {
    for (const QString& title : titles) {
      auto* const pane = new ImagePane(title, *choices_["stretch"]);
      ImageView& view = pane->Raster();
      view.pointed = [this](auto pixel) { Point(pixel); };
      view.drawn = [this](const QRect& pixels) {
        draw_->setChecked(false);
        regionDrawn(pixels);
      };
      view.moved = [this](const Place& place) { LookAt(place); };
      view.setToolTip("Wheel: zoom. Drag: move. Double click: one to one, or the whole again.");
      choices_[title] = &pane->Part();
      choices_[title + "-colours"] = &pane->Colours();
      panes_.push_back(pane);
    }
    const int inputs = static_cast<int>(panes_.size()) - 1;
    for (int i = 0; i < inputs; ++i) grid_->addWidget(panes_[static_cast<std::size_t>(i)], i, 0);
    grid_->addWidget(panes_.back(), 0, 1, inputs, 1);
  }

  void AddShortcuts() {
    new QShortcut(Qt::CTRL | Qt::Key_0, this, [this] { LookAt({}); });
    new QShortcut(Qt::CTRL | Qt::Key_L, this, [this] {
      for (ImagePane* const pane : panes_) pane->ResetLimits();
    });
    new QShortcut(Qt::CTRL | Qt::Key_1, this, [this] {
      const QRect all(QPoint(0, 0), size_);
      LookAt({place_.scale > 0 ? place_.centre : pointed_.value_or(all.center()), 1});
    });
  }

  void Arrange() {
    const int only = choices_["images"]->currentIndex() - 1;
    const int inputs = static_cast<int>(panes_.size()) - 1;
    for (int i = 0; i <= inputs; ++i)
      panes_[static_cast<std::size_t>(i)]->setVisible(only < 0 || only == i);
    // Otherwise a column or row of hidden images keeps its share.
    grid_->setColumnStretch(0, only == inputs ? 0 : 1);
    grid_->setColumnStretch(1, only < 0 ? 2 : only == inputs ? 1 : 0);
    for (int i = 0; i < inputs; ++i)
      grid_->setRowStretch(i, only < 0 || only == i || only == inputs ? 1 : 0);
  }

  void LookAt(const Place& place) {
    place_ = place;
    for (ImagePane* const pane : panes_) pane->Raster().LookAt(place);
    const double percent = place.scale * 100;
    zoom_->setText(percent > 0 ? QString("%1 %").arg(percent, 0, 'f', percent < 10 ? 2 : 0) : "");
    viewChanged();
  }

  void SetDrawing() {
    for (ImagePane* const pane : panes_)
      pane->Raster().LetDraw(draw_->isEnabled(), draw_->isEnabled() && draw_->isChecked());
  }

  void ShowMarks() {
    for (ImagePane* const pane : panes_) pane->Raster().SetMarks(region_, pointed_);
  }

  void Point(std::optional<QPoint> pixel) {
    pointed_ = pixel;
    ShowMarks();
    pixel ? elementAsked(*pixel) : inspector_->Show(std::nullopt);
  }

  std::optional<QRect> region_;
  std::optional<QPoint> pointed_;  // the pixel
  Place place_;
  QSize size_;
  std::map<std::size_t, int> bands_;       // of the inputs, by position
  std::vector<ImagePane*> panes_;          // the inputs, then the result
  std::map<QString, QComboBox*> choices_;  // by the key of their setting
  QGridLayout* grid_ = new QGridLayout;
  QPushButton* draw_ = Named(new QPushButton("Draw re&gion"), "Draw region");
  QSpinBox* band_ = Named(new QSpinBox, "Band", "Band shown");
  QLabel* bandLabel_ = NewLabel("Band", band_);
  QLabel* busy_ = Named(new QLabel, "Preview state");
  QLabel* zoom_ = Named(new QLabel, "Zoom");
  Inspector* inspector_;
  QTimer patience_{this};
};

}  // namespace lumomixcalc::standalone
