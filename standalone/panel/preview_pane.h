#pragma once

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "standalone/panel/image_pane.h"

namespace lumomixcalc::standalone {

// The images of a preview, with the choices of how they are shown and the values under the pointer.
class PreviewPane : public QWidget {
 public:
  std::function<void(QRect pixels)> regionDrawn;  // in pixels of the inputs

  // titles: of the inputs and of the result.
  explicit PreviewPane(const QStringList& titles) {
    auto* const bar = new QHBoxLayout;
    auto* const layout = NewLayout<QVBoxLayout>(this);
    layout->addLayout(bar);
    layout->addLayout(grid_, 1);
    layout->addWidget(values_);
    FillBar(*bar, titles);
    AddPanes(titles);
    values_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    patience_.setSingleShot(true);
    patience_.setInterval(250);
    patience_.callOnTimeout([this] { busy_->setText("Computing the preview\u2026"); });
    Show({});
    Arrange();
  }

  void Show(Preview images) {
    StopAwaiting();
    images.resize(panes_.size());
    int bands = 0;
    for (std::size_t i = 0; i < panes_.size(); ++i) {
      bands = std::max(bands, images[i].bands);
      panes_[i]->Show(std::move(images[i]));
    }
    if (bands > 0) band_->setMaximum(bands);
    bandLabel_->setVisible(band_->maximum() > 1);
    band_->setVisible(band_->maximum() > 1);
    Point(pointed_);  // the values under a pointer at rest may have changed
  }

  // A new preview is being made: says so if it takes long.
  void Await() { patience_.start(); }

  void StopAwaiting() {
    patience_.stop();
    busy_->clear();
  }

  // The outlined region in pixels of the inputs, or none.
  void SetRegion(std::optional<QRect> pixels) {
    region_ = pixels;
    ShowMarks();
  }

  void LetDraw(bool allowed) {
    for (ImagePane* const pane : panes_) pane->Raster().LetDrag(allowed);
  }

  // The field of the band that is shown, from 1.
  QSpinBox& Band() const { return *band_; }

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
        NewChoice("Stretch", {"2 to 98 %", "Min to max", "Logarithm"});
    connect(images, &QComboBox::currentIndexChanged, [this] { Arrange(); });
    for (QComboBox* const box : {images, stretch}) {
      box->setToolTip(box->objectName());
      bar.addWidget(box);
    }
    band_->setRange(1, 1);
    bar.addWidget(bandLabel_);
    bar.addWidget(band_);
    bar.addStretch();
    bar.addWidget(busy_);
  }

  // The inputs one above the other, the result beside them and as high as all.
  void AddPanes(const QStringList& titles) {
    for (const QString& title : titles) {
      auto* const pane = new ImagePane(title, *choices_["stretch"]);
      pane->Raster().pointed = [this](auto place) { Point(place); };
      pane->Raster().dragged = [this](const QRectF& area) { TakeDrawn(area); };
      choices_[title] = &pane->Part();
      panes_.push_back(pane);
    }
    const int inputs = static_cast<int>(panes_.size()) - 1;
    for (int i = 0; i < inputs; ++i) grid_->addWidget(panes_[static_cast<std::size_t>(i)], i, 0);
    grid_->addWidget(panes_.back(), 0, 1, inputs, 1);
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

  // The size in pixels of the inputs of the area that the images show: all but what a coarse grid
  // leaves out at the right and at the bottom. Empty while there is no image.
  QSize Covered() const {
    for (const ImagePane* const pane : panes_)
      if (const PreviewImage& image = pane->Image(); !image.values.empty())
        return {image.grid.window.columns, image.grid.window.rows};
    return {};
  }

  void ShowMarks() {
    std::optional<QRectF> outline;
    if (const QSizeF covered = Covered(); region_ && !covered.isEmpty())
      outline = QRectF(region_->x() / covered.width(), region_->y() / covered.height(),
                       region_->width() / covered.width(), region_->height() / covered.height());
    for (ImagePane* const pane : panes_) pane->Raster().SetMarks(outline, pointed_);
  }

  void Point(std::optional<QPointF> place) {
    pointed_ = place;
    ShowMarks();
    const QSize covered = Covered();
    if (!place || covered.isEmpty())
      return values_->setText("Point at an image to read its values.");
    QString text = QString("Column %1, row %2")
                       .arg(static_cast<int>(place->x() * covered.width()))
                       .arg(static_cast<int>(place->y() * covered.height()));
    for (const ImagePane* const pane : panes_)
      if (const QString value = pane->ValueAt(*place); !value.isEmpty())
        text += "    " + pane->Title() + ": " + value;
    values_->setText(text);
  }

  void TakeDrawn(const QRectF& area) {
    const QSize covered = Covered();
    const QRect pixels =
        QTransform::fromScale(covered.width(), covered.height()).mapRect(area).toRect();
    // An area thinner than a pixel is one, and inside.
    const QPoint corner(std::min(pixels.x(), covered.width() - 1),
                        std::min(pixels.y(), covered.height() - 1));
    regionDrawn(QRect(corner, pixels.size().expandedTo({1, 1})));
  }

  std::optional<QRect> region_;
  std::optional<QPointF> pointed_;
  std::vector<ImagePane*> panes_;          // the inputs, then the result
  std::map<QString, QComboBox*> choices_;  // by the key of their setting
  QGridLayout* grid_ = new QGridLayout;
  QSpinBox* band_ = Named(new QSpinBox, "Band", "Band shown");
  QLabel* bandLabel_ = NewLabel("Band", band_);
  QLabel* busy_ = new QLabel;
  QLabel* values_ = Named(new QLabel, "Values under the pointer");
  QTimer patience_;
};

}  // namespace lumomixcalc::standalone
