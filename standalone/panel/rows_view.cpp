#include "standalone/panel/rows_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <algorithm>
#include <utility>
#include <variant>

namespace lumomixcalc::standalone {

// Adds the elements of one row. A button at its start goes into the grid's first column, so that
// the rows' labels line up; all else follows it side by side.
class RowsView::RowBuilder {
 public:
  RowBuilder(RowsView& view, QGridLayout& grid, int number, const PanelRow& row)
      : view_(view), grid_(grid), number_(number), elements_(new QHBoxLayout) {
    fieldCount_ = std::count_if(row.elements.begin(), row.elements.end(), [](const auto& element) {
      return std::holds_alternative<FloatField>(element);
    });
    grid.addLayout(elements_, number, 1);
    for (const PanelElement& element : row.elements)
      std::visit([this](const auto& one) { Add(one); }, element);
    if (!row.attachedRight) elements_->addStretch();
  }

 private:
  void Add(const InfoButton& element) {
    const QString label = QString::fromStdString(element.label).trimmed();
    auto* const button = new QPushButton(label);
    button->setToolTip(QStringLiteral("What is this?"));
    button->setAccessibleName(label + QStringLiteral(", help"));
    connect(button, &QPushButton::clicked,
            [&view = view_, key = element.helpKey] { view.callbacks_.helpAsked(key); });
    if (label_.isEmpty() && elements_->count() == 0)
      grid_.addWidget(button, number_, 0);
    else
      elements_->addWidget(button);
    label_ = label;
  }

  void Add(const FloatField& element) {
    auto* const field = new FloatFieldView(
        *element.value, element.width, element.step,
        [&view = view_, place = element.value](float value) {
          view.callbacks_.numberChanged(place, value);
        },
        [&view = view_] { view.callbacks_.faultChanged(); });
    ++fieldNumber_;
    Name(
        *field,
        fieldCount_ == 1
            ? label_
            : QStringLiteral("%1, number %2 of %3").arg(label_).arg(fieldNumber_).arg(fieldCount_));
    view_.fields_.push_back(field);
    elements_->addWidget(field);
  }

  void Add(const FixedText& element) {
    elements_->addWidget(new QLabel(QString::fromStdString(element.text)));
  }

  void Add(const Pulldown& element) {
    auto* const box = new QComboBox;
    for (const std::string& label : element.labels) box->addItem(QString::fromStdString(label));
    box->setCurrentIndex(*element.choice);
    connect(box, &QComboBox::currentIndexChanged,
            [&view = view_, place = element.choice](int choice) {
              view.callbacks_.choiceChanged(place, choice);
            });
    Name(*box, label_);
    elements_->addWidget(box);
  }

  void Add(const Toggle& element) {
    const QString text = QString::fromStdString(element.label);
    auto* const box = new QCheckBox(text);
    box->setChecked(*element.on != 0);
    connect(box, &QCheckBox::toggled, [&view = view_, place = element.on](bool on) {
      view.callbacks_.choiceChanged(place, on ? 1 : 0);
    });
    Name(*box, text.isEmpty() ? label_ : text);
    elements_->addWidget(box);
  }

  // What a screen reader says, and what a test finds the element by.
  static void Name(QWidget& widget, const QString& name) {
    widget.setAccessibleName(name);
    widget.setObjectName(name);
  }

  RowsView& view_;
  QGridLayout& grid_;
  int number_;
  QHBoxLayout* elements_;
  QString label_;
  long fieldCount_ = 0;
  int fieldNumber_ = 0;
};

RowsView::RowsView(const PanelRows& model, Callbacks callbacks) : callbacks_(std::move(callbacks)) {
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setColumnStretch(1, 1);
  int number = 0;
  for (const PanelRow& row : model.Rows()) RowBuilder(*this, *grid, number++, row);
}

FloatFieldView* RowsView::FirstFault() const {
  const auto fault = std::find_if(fields_.begin(), fields_.end(),
                                  [](const FloatFieldView* field) { return field->HasFault(); });
  return fault == fields_.end() ? nullptr : *fault;
}

}  // namespace lumomixcalc::standalone
