#include "standalone/panel/rows_view.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace lumomixcalc::standalone {
namespace {

// The help entry of a key is in the file of its name, lower case and with dashes for blanks.
QString HelpText(const std::string& key) {
  QFile file(":/help/" + Text(key).toLower().replace(' ', '-') + ".txt");
  if (file.open(QIODevice::ReadOnly)) return QString::fromUtf8(file.readAll());
  return QString("There is no help entry for \u201c%1\u201d.").arg(Text(key));
}

// Opens the entry in a window of its own beside the parent's.
void ShowHelp(QWidget& parent, const std::string& key) {
  auto* const dialog = Named(new QDialog(parent.window()), "Help");
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle("Help");
  auto* const text = Named(new QPlainTextEdit(HelpText(key)), "Help entry");
  text->setReadOnly(true);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
  auto* const layout = new QVBoxLayout(dialog);
  layout->addWidget(text);
  layout->addWidget(buttons);
  // The entries are written in lines of at most 84 characters.
  const int columns = text->fontMetrics().horizontalAdvance(QString(84, '0'));
  const int lines = std::clamp(text->blockCount() + 2, 8, 36) * text->fontMetrics().lineSpacing();
  constexpr int kFrameAndButton = 70;
  dialog->resize(columns + kFrameAndButton, lines + kFrameAndButton);
  dialog->show();
}

}  // namespace

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
    const QString label = Text(element.label).trimmed();
    auto* const button = new QPushButton(label);
    button->setToolTip("What is this?");
    button->setAccessibleName(label + ", help");
    connect(button, &QPushButton::clicked,
            [&view = view_, key = element.helpKey] { ShowHelp(view, key); });
    if (label_.isEmpty() && elements_->count() == 0)
      grid_.addWidget(button, number_, 0);
    else
      elements_->addWidget(button);
    label_ = label;
  }

  void Add(const FloatField& element) {
    auto* const field = new NumberField(
        *element.value, element.width, element.step,
        [&view = view_, place = element.value](float value) {
          view.callbacks_.numberChanged(place, value);
        },
        [&view = view_] { view.callbacks_.faultChanged(); });
    ++fieldNumber_;
    const QString place = QString(", number %1 of %2").arg(fieldNumber_).arg(fieldCount_);
    Named(field, fieldCount_ == 1 ? label_ : label_ + place);
    view_.fields_.push_back(field);
    elements_->addWidget(field);
  }

  void Add(const FixedText& element) { elements_->addWidget(new QLabel(Text(element.text))); }

  void Add(const Pulldown& element) {
    auto* const box = new QComboBox;
    for (const std::string& label : element.labels) box->addItem(Text(label));
    box->setCurrentIndex(*element.choice);
    connect(box, &QComboBox::currentIndexChanged,
            [&view = view_, place = element.choice](int choice) {
              view.callbacks_.choiceChanged(place, choice);
            });
    Named(box, label_);
    elements_->addWidget(box);
  }

  void Add(const Toggle& element) {
    const QString text = Text(element.label);
    auto* const box = new QCheckBox(text);
    box->setChecked(*element.on != 0);
    connect(box, &QCheckBox::toggled, [&view = view_, place = element.on](bool on) {
      view.callbacks_.choiceChanged(place, on ? 1 : 0);
    });
    Named(box, text.isEmpty() ? label_ : text);
    elements_->addWidget(box);
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
  auto* const grid = NewLayout<QGridLayout>(this);
  grid->setColumnStretch(1, 1);
  int number = 0;
  for (const PanelRow& row : model.Rows()) RowBuilder(*this, *grid, number++, row);
}

NumberField* RowsView::FirstFault() const {
  const auto fault = std::find_if(fields_.begin(), fields_.end(),
                                  [](const NumberField* field) { return field->HasFault(); });
  return fault == fields_.end() ? nullptr : *fault;
}

}  // namespace lumomixcalc::standalone
