#include "standalone/panel/inspector.h"

#include <cmath>
#include <numbers>

#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace {

const QStringList kFigures = {"Value", "Imaginary", "Magnitude", "Angle (rad)", "Angle (\u00b0)"};

// The shortest decimals that read back as the element, in single precision if it is one.
QString Decimal(double value) {
  const auto single = static_cast<float>(value);
  return Text(static_cast<double>(single) == value ? ShortestText(single) : ShortestText(value));
}

QStringList CellsOf(const std::optional<Inspection::Element>& element) {
  if (!element) return {"\u2014"};
  const auto [real, imaginary] = element->parts;
  if (std::isnan(real)) return {"no data"};
  if (!element->complex) return {Decimal(real)};
  const double angle = std::atan2(imaginary, real);
  const auto figure = [](double value) { return QString::number(value, 'g', 7); };
  return {Decimal(real), Decimal(imaginary), figure(std::hypot(real, imaginary)), figure(angle),
          figure(angle * 180 / std::numbers::pi)};
}

}  // namespace

Inspector::Inspector(const QStringList& images)
    : table_(Named(
          new QTableWidget(static_cast<int>(kFigures.size()), static_cast<int>(images.size())),
          "Elements", "Elements under the pointer")) {
  place_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  place_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  table_->setVerticalHeaderLabels(kFigures);
  table_->setHorizontalHeaderLabels(images);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  table_->setWordWrap(false);  // a cut number shows as many digits as fit
  table_->setEditTriggers(QTableWidget::NoEditTriggers);
  table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  table_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  table_->setFocusPolicy(Qt::ClickFocus);
  table_->setTabKeyNavigation(false);
  const int rowHeight = fontMetrics().height() + 2;
  table_->verticalHeader()->setMinimumSectionSize(rowHeight);
  table_->verticalHeader()->setDefaultSectionSize(rowHeight);
  table_->horizontalHeader()->setFixedHeight(rowHeight);
  table_->setFixedHeight(rowHeight * (table_->rowCount() + 1) + 2 * table_->frameWidth());
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  auto* const layout = NewLayout<QVBoxLayout>(this);
  layout->setSpacing(2);
  layout->addWidget(place_);
  layout->addWidget(table_);
  Show(std::nullopt);
}

void Inspector::Show(const std::optional<Inspection>& found, bool pinned) {
  QString place = "Point at an image to read its elements.";
  if (found)
    place = QString(pinned ? "Pinned: column %1, row %2" : "Column %1, row %2")
                .arg(found->pixel.x())
                .arg(found->pixel.y());
  if (found && found->map)  // in metres to the millimetre, in degrees to far less
    place += QString("    on the map %1, %2")
                 .arg(found->map->front(), 0, 'g', 10)
                 .arg(found->map->back(), 0, 'g', 10);
  place_->setText(place);
  place_->setToolTip(place);
  for (int image = 0; image < table_->columnCount(); ++image) {
    const QStringList cells =
        found ? CellsOf(found->elements[static_cast<std::size_t>(image)]) : QStringList();
    for (int figure = 0; figure < table_->rowCount(); ++figure) {
      auto* const cell = new QTableWidgetItem(cells.value(figure));
      cell->setToolTip(cell->text());  // where the column is too narrow for it
      table_->setItem(figure, image, cell);
    }
  }
}

void Inspector::Copy() const {
  QStringList lines = {place_->text()};
  for (int row = -1; row < table_->rowCount(); ++row) {
    QStringList cells = {row < 0 ? "" : kFigures[row]};
    for (int column = 0; column < table_->columnCount(); ++column)
      cells << (row < 0 ? table_->horizontalHeaderItem(column) : table_->item(row, column))->text();
    lines << cells.join('\t');
  }
  QGuiApplication::clipboard()->setText(lines.join('\n') + '\n');
}

}  // namespace lumomixcalc::standalone
