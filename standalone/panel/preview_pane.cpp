#include "standalone/panel/preview_pane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

QComboBox* AddChoice(QHBoxLayout& bar, const QString& name, const QStringList& items) {
  auto* const box = NewChoice(name, items);
  box->setToolTip(name);
  bar.addWidget(box);
  return box;
}

// Chooses the stored position if the box has it.
void RestoreChoice(const QSettings& settings, const QString& key, QComboBox& box) {
  const int position = settings.value(key, 0).toInt();
  if (position >= 0 && position < box.count()) box.setCurrentIndex(position);
}

}  // namespace

PreviewPane::PreviewPane(const std::vector<QString>& titles, Callbacks callbacks)
    : callbacks_(std::move(callbacks)),
      grid_(new QGridLayout),
      busy_(new QLabel),
      values_(Named(new QLabel, "Values under the pointer")) {
  auto* const bar = new QHBoxLayout;
  auto* const layout = NewLayout<QVBoxLayout>(this);
  layout->addLayout(bar);
  layout->addLayout(grid_, 1);
  layout->addWidget(values_);
  FillBar(*bar, titles);
  AddPanes(titles);
  values_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  constexpr int kPatienceMs = 250;
  patience_.setSingleShot(true);
  patience_.setInterval(kPatienceMs);
  connect(&patience_, &QTimer::timeout, [this] { busy_->setText("Computing the preview\u2026"); });
  Show({});
  Arrange();
}

void PreviewPane::FillBar(QHBoxLayout& bar, const std::vector<QString>& titles) {
  arrangement_ = AddChoice(bar, "Images shown",
                           QStringList("Side by side") + QStringList(titles.begin(), titles.end()));
  stretch_ = AddChoice(bar, "Stretch", {"2 to 98 %", "Min to max", "Logarithm"});
  band_ = Named(new QSpinBox, "Band", "Band shown");
  band_->setRange(1, 1);
  bandLabel_ = NewLabel("Band", band_);
  bar.addWidget(bandLabel_);
  bar.addWidget(band_);
  bar.addStretch();
  bar.addWidget(busy_);
  connect(arrangement_, &QComboBox::currentIndexChanged, [this] { Arrange(); });
  connect(stretch_, &QComboBox::currentIndexChanged, [this](int choice) {
    for (ImagePane* const pane : panes_) pane->SetStretch(static_cast<Stretch>(choice));
  });
  connect(band_, &QSpinBox::valueChanged, [this] { callbacks_.bandChanged(); });
}

void PreviewPane::AddPanes(const std::vector<QString>& titles) {
  for (const QString& title : titles)
    panes_.push_back(new ImagePane(title, {[this](std::optional<QPointF> place) { Point(place); },
                                           [this](const QRectF& area) { TakeDrawn(area); }}));
  // The inputs one above the other, the result beside them and as high as all.
  const int inputs = static_cast<int>(titles.size()) - 1;
  for (int i = 0; i < inputs; ++i) grid_->addWidget(panes_[static_cast<std::size_t>(i)], i, 0);
  grid_->addWidget(panes_.back(), 0, 1, inputs, 1);
}

void PreviewPane::StopAwaiting() {
  patience_.stop();
  busy_->clear();
}

void PreviewPane::Show(Preview preview) {
  StopAwaiting();
  std::vector<PreviewImage> images = std::move(preview.inputs);
  images.resize(panes_.size() - 1);
  images.push_back(std::move(preview.result));
  int bands = 0;
  for (std::size_t i = 0; i < panes_.size(); ++i) {
    bands = std::max(bands, images[i].bands);
    panes_[i]->Show(std::move(images[i]));
  }
  if (bands > 0) band_->setMaximum(bands);
  bandLabel_->setVisible(band_->maximum() > 1);
  band_->setVisible(band_->maximum() > 1);
  SetRegion(region_);
  Point(pointed_);  // the values under a pointer at rest may have changed
}

void PreviewPane::Arrange() {
  const int only = arrangement_->currentIndex() - 1;
  for (std::size_t i = 0; i < panes_.size(); ++i)
    panes_[i]->setVisible(only < 0 || only == static_cast<int>(i));
  // Otherwise a column or row of hidden images keeps its share.
  const int inputs = static_cast<int>(panes_.size()) - 1;
  grid_->setColumnStretch(0, only == inputs ? 0 : 1);
  grid_->setColumnStretch(1, only < 0 ? 2 : only == inputs ? 1 : 0);
  for (int i = 0; i < inputs; ++i)
    grid_->setRowStretch(i, only < 0 || only == i || only == inputs ? 1 : 0);
}

// The size in pixels of the inputs of the area that the images show: all but what a coarse grid
// leaves out at the right and at the bottom. Empty while there is no image.
QSize PreviewPane::Covered() const {
  for (const ImagePane* const pane : panes_)
    if (const PreviewImage& image = pane->Image(); !image.values.empty())
      return {image.grid.window.columns, image.grid.window.rows};
  return {};
}

void PreviewPane::SetRegion(std::optional<QRect> pixels) {
  region_ = pixels;
  std::optional<QRectF> outline;
  if (const QSizeF covered = Covered(); pixels && !covered.isEmpty())
    outline = QRectF(pixels->x() / covered.width(), pixels->y() / covered.height(),
                     pixels->width() / covered.width(), pixels->height() / covered.height());
  for (ImagePane* const pane : panes_) pane->Raster().SetOutline(outline);
}

void PreviewPane::LetDraw(bool allowed) {
  for (ImagePane* const pane : panes_) pane->Raster().LetDrag(allowed);
}

void PreviewPane::Point(std::optional<QPointF> place) {
  pointed_ = place;
  for (ImagePane* const pane : panes_) pane->Raster().SetMark(place);
  const QSize covered = Covered();
  if (!place || covered.isEmpty()) {
    values_->setText("Point at an image to read its values.");
    return;
  }
  QString text = QString("Column %1, row %2")
                     .arg(static_cast<int>(place->x() * covered.width()))
                     .arg(static_cast<int>(place->y() * covered.height()));
  for (const ImagePane* const pane : panes_)
    if (const QString value = pane->ValueAt(*place); !value.isEmpty())
      text += "    " + pane->Title() + ": " + value;
  values_->setText(text);
}

void PreviewPane::TakeDrawn(const QRectF& area) {
  const QSize covered = Covered();
  const auto pixel = [](double share, int count) {
    return std::clamp(static_cast<int>(std::lround(share * count)), 0, count);
  };
  const QPoint corner(pixel(area.left(), covered.width()), pixel(area.top(), covered.height()));
  const QPoint end(pixel(area.right(), covered.width()), pixel(area.bottom(), covered.height()));
  // Not by two corners: those of a QRect are both inside.
  callbacks_.regionDrawn(
      QRect(corner, QSize(std::max(1, end.x() - corner.x()), std::max(1, end.y() - corner.y()))));
}

void PreviewPane::Save(QSettings& settings) const {
  settings.setValue("display/images", arrangement_->currentIndex());
  settings.setValue("display/stretch", stretch_->currentIndex());
  for (const ImagePane* const pane : panes_)
    settings.setValue("display/" + pane->Title(), pane->Part().currentIndex());
}

void PreviewPane::Restore(const QSettings& settings) {
  RestoreChoice(settings, "display/images", *arrangement_);
  RestoreChoice(settings, "display/stretch", *stretch_);
  for (ImagePane* const pane : panes_)
    RestoreChoice(settings, "display/" + pane->Title(), pane->Part());
}

}  // namespace lumomixcalc::standalone
