#include "standalone/panel/preview_pane.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumomixcalc::standalone {

PreviewPane::PreviewPane(const QStringList& titles, Inspector& inspector)
    : images_(NewChoice("Images shown", QStringList("Side by side") + titles)),
      inspector_(inspector) {
  auto* const layout = NewLayout<QVBoxLayout>(this);
  layout->setSpacing(4);
  layout->addLayout(MakeBar());
  layout->addLayout(MakePanes(titles), 1);
  AddShortcuts();
  expected_.setObjectName("Expected preview");
  expected_.setSingleShot(true);
  expected_.setInterval(250);
  expected_.callOnTimeout([this] {
    busy_->setText("Computing the preview\u2026");
    Dim(true);
  });
  resting_.setSingleShot(true);
  resting_.setInterval(40);
  resting_.callOnTimeout([this] {
    if (sight_.pixel) elementAsked(*sight_.pixel);
  });
  Arrange();
}

QLayout* PreviewPane::MakeBar() {
  connect(images_, &QComboBox::currentIndexChanged, this, &PreviewPane::Arrange);
  OfferBands({1});
  band_->setPrefix("Band ");
  connect(band_, &QSpinBox::valueChanged, [this] { viewChanged(); });
  auto* const bar = new QHBoxLayout;
  for (QWidget* const widget : std::initializer_list<QWidget*>{images_, stretch_, band_})
    bar->addWidget(widget);
  for (QComboBox* const box : {images_, stretch_}) box->setToolTip(box->objectName());
  bar->addStretch();
  bar->addWidget(busy_);
  bar->addWidget(zoom_);
  return bar;
}

// The inputs one above the other, the result beside them and as high as all.
QLayout* PreviewPane::MakePanes(const QStringList& titles) {
  for (const QString& title : titles) {
    auto* const pane = new ImagePane(title, *stretch_, sight_);
    ImageView& view = pane->Raster();
    view.pointed = [this](auto pixel, bool pins) { Point(pixel, pins); };
    view.setContextMenuPolicy(Qt::ActionsContextMenu);
    view.addAction("Copy the table of elements (Ctrl+C)", [this] { inspector_.Copy(); });
    view.drawn = [this](const QRect& pixels) { regionDrawn(pixels); };
    view.addAction("Save picture\u2026", [this, pane] {
      if (const QString sentence = pane->SavePicture(); !sentence.isEmpty()) told(sentence);
    });
    const bool isInput = &title != &titles.back();
    view.addAction(isInput ? "Hold these limits, in all inputs" : "Hold these limits", [=, this] {
      const std::optional<Limits> limits = pane->Shown().limits;
      for (ImagePane* const each : panes_)
        if (each == pane || (isInput && each != panes_.back())) each->SetLimits(limits);
    });
    view.moved = [this](QPointF centre, double scale) { LookAt(centre, scale); };
    panes_.push_back(pane);
  }
  const int inputs = static_cast<int>(panes_.size()) - 1;
  for (int i = 0; i < inputs; ++i) grid_->addWidget(panes_[static_cast<std::size_t>(i)], i, 0);
  grid_->addWidget(panes_.back(), 0, 1, inputs, 1);
  grid_->setSpacing(4);
  return grid_;
}

void PreviewPane::AddShortcuts() {
  new QShortcut(Qt::CTRL | Qt::Key_0, this, [this] { LookAt({}, 0); });
  new QShortcut(Qt::CTRL | Qt::Key_L, this, [this] {
    for (ImagePane* const pane : panes_) pane->SetLimits(std::nullopt);
  });
  (new QShortcut(Qt::Key_B, this, [this] { Blink(!blinks_); }))->setAutoRepeat(false);
  new QShortcut(Qt::CTRL | Qt::Key_1, this, [this] {
    LookAt(sight_.scale > 0 ? sight_.centre : sight_.pixel.value_or(Extent().center()), 1);
  });
}

void PreviewPane::Show(std::size_t position, PreviewImage image) {
  if (blinks_) Blink(false);
  const bool had = HasFile(position);
  panes_[position]->Show(std::move(image));
  if (had != HasFile(position)) Arrange();
}

void PreviewPane::ShowOpening(std::size_t position, const QString& file) {
  PreviewImage none;
  if (!HasFile(panes_.size() - 1)) Show(panes_.size() - 1, none);  // has its room at once
  none.note = ("Opening " + file + "\u2026").toStdString();
  if (!HasFile(position)) Show(position, none);
}

void PreviewPane::ExpectPreview() {
  if (!expected_.isActive()) expected_.start();
}

void PreviewPane::EndPreview() {
  expected_.stop();
  busy_->clear();
  Dim(false);
  resting_.start();  // the elements under the pointer may have changed
}

void PreviewPane::OfferBands(const std::vector<int>& bands) {
  const auto [first, last] = std::ranges::minmax(bands);
  band_->setRange(first, last);
  band_->setVisible(last > 1);
}

void PreviewPane::ShowElements(const Inspection& found) {
  if (sight_.pixel) inspector_.Show(found, sight_.pinned);
}

void PreviewPane::SetRegion(std::optional<QRect> pixels) {
  if (std::exchange(sight_.region, pixels) != pixels) FollowSight();
}

QRect PreviewPane::Extent() const {
  QRect extent;
  for (const ImagePane* const pane : panes_)
    if (extent.isNull()) extent = pane->Image().extent;
  return extent;
}

struct View PreviewPane::View() const {
  struct View view;
  view.band = band_->value();
  bool whole = false;
  for (const ImagePane* const pane : panes_) {
    const ImageView& raster = pane->Raster();
    if (!raster.isVisible()) continue;
    if (!pane->Image().extent.isNull()) {  // else there is nothing to see
      whole = whole || raster.Seen().isNull();
      view.seen |= raster.Seen();
    }
    const double screen = raster.width() * raster.height() * std::pow(devicePixelRatioF(), 2);
    view.enough = std::max(view.enough, screen * 1.15);
    view.most = std::clamp(view.enough, view.most, 0x1p22);
  }
  if (whole) view.seen = {};
  return view;
}

void PreviewPane::Save(QSettings& settings) const {
  for (const QComboBox* const box : findChildren<QComboBox*>())
    settings.setValue("display/" + box->objectName(), box->currentIndex());
}

void PreviewPane::Restore(const QSettings& settings) {
  for (QComboBox* const box : findChildren<QComboBox*>()) {
    const int position = settings.value("display/" + box->objectName(), 0).toInt();
    if (position >= 0 && position < box->count()) box->setCurrentIndex(position);
  }
}

void PreviewPane::Arrange() {
  const int inputs = static_cast<int>(panes_.size()) - 1;
  int only = images_->currentIndex() - 1;
  bool any = false;
  for (std::size_t i = 0; i + 1 < panes_.size(); ++i) any = any || HasFile(i);
  if (only < 0 && !any) only = 0;  // invites to open a file
  const auto isShown = [&](int i) {
    return only < 0 ? HasFile(static_cast<std::size_t>(i)) : only == i;
  };
  for (int i = 0; i <= inputs; ++i) panes_[static_cast<std::size_t>(i)]->setVisible(isShown(i));
  // Otherwise a column or row of hidden images keeps its share.
  grid_->setColumnStretch(0, only == inputs ? 0 : 2);
  grid_->setColumnStretch(1, only < 0 ? 5 : only == inputs ? 1 : 0);
  for (int i = 0; i < inputs; ++i) grid_->setRowStretch(i, isShown(i) || only == inputs ? 1 : 0);
}

// Also of the result.
bool PreviewPane::HasFile(std::size_t position) const {
  return panes_[position]->Image().note != kNoFile;
}

void PreviewPane::LookAt(QPointF centre, double scale) {
  sight_.centre = centre;
  sight_.scale = scale;
  FollowSight();
  const double percent = scale * 100;
  zoom_->setText(percent > 0 ? QString("%1 %").arg(percent, 0, 'f', percent < 10 ? 2 : 0) : "");
  viewChanged();
}

void PreviewPane::FollowSight() {
  for (ImagePane* const pane : panes_) pane->Raster().Follow();
}

void PreviewPane::Blink(bool on) {
  blinks_ = on && panes_.size() == 3 && HasFile(0) && HasFile(1);
  panes_[0]->Blink(blinks_ ? panes_[1] : nullptr);
  panes_[1]->Blink(blinks_ ? panes_[0] : nullptr);
}

void PreviewPane::Dim(bool dimmed) {
  for (ImagePane* const pane : panes_) pane->Raster().Dim(dimmed);
}

void PreviewPane::Point(std::optional<QPoint> pixel, bool pins) {
  if (!pins && (sight_.pinned || pixel == sight_.pixel)) return;
  sight_.pixel = pixel;
  sight_.pinned = pins && pixel;
  FollowSight();
  resting_.start();
  if (!pixel) inspector_.Show(std::nullopt);
}

}  // namespace lumomixcalc::standalone
