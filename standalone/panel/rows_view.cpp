#include "standalone/panel/rows_view.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace lumomixcalc::standalone {
namespace {

// The help entry of a key is the file of that name in lower case, with dashes for blanks.
QString HelpText(const std::string& key) {
  QFile file(":/help/" + Text(key).toLower().replace(' ', '-') + ".md");
  if (file.open(QIODevice::ReadOnly)) return QString::fromUtf8(file.readAll());
  return QString("There is no help entry for \u201c%1\u201d.").arg(Text(key));
}

// Opens the entry in a window of its own.
void ShowHelp(QWidget* parent, const std::string& key) {
  auto* const dialog = Named(new QDialog(parent), "Help");
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle("Help");
  auto* const text = Named(new QTextBrowser, "Help entry");
  text->document()->setDocumentMargin(12);
  text->setMarkdown(HelpText(key));
  for (QTextFrame* const table : text->document()->rootFrame()->childFrames()) {
    QTextTableFormat format = table->frameFormat().toTableFormat();
    format.setBorderCollapse(true);
    format.setCellPadding(4);
    table->setFrameFormat(format);
  }
  auto* const layout = new QVBoxLayout(dialog);
  layout->addWidget(text);
  dialog->resize(QSize(680, 600).boundedTo(parent->screen()->availableSize()));
  dialog->show();
}

// What screen readers say of an element: the label of its row's button, and which of several fields
// it is.
QString SpokenName(const PanelRow& row, const void* element) {
  QString label;
  int fields = 0;
  int number = 0;
  for (const auto& one : row.elements) {
    if (const auto* const button = std::get_if<InfoButton>(&one))
      label = Text(button->label).trimmed();
    if (!std::holds_alternative<FloatField>(one)) continue;
    ++fields;
    if (&one == element) number = fields;
  }
  if (fields < 2 || number == 0) return label;
  return label + QString(", number %1 of %2").arg(number).arg(fields);
}

}  // namespace

RowsView::RowsView(const std::vector<PanelRow>& rows, std::function<void()> changed) {
  auto* const grid = NewLayout<QGridLayout>(this);
  grid->setColumnStretch(1, 1);
  int number = 0;
  for (const PanelRow& row : rows) {
    auto* const layout = new QHBoxLayout;
    grid->addLayout(layout, number, 1);
    for (const Element& element : row.elements) {
      QWidget* const widget = Make(element, SpokenName(row, &element));
      // A button at the start goes into the first column, so that the rows' labels line up.
      if (&element == &row.elements.front() && std::holds_alternative<InfoButton>(element))
        grid->addWidget(widget, number, 0);
      else
        layout->addWidget(widget);
    }
    if (!row.attachedRight) layout->addStretch();
    ++number;
  }
  Show(NumbersOf(rows));
  changed_ = std::move(changed);
}

void RowsView::Show(const RowNumbers& numbers) {
  numbers_ = numbers;
  for (std::size_t i = 0; i < show_.size(); ++i) show_[i](numbers[i]);
}

NumberField* RowsView::FirstFault() const {
  const auto fault = std::ranges::find_if(fields_, &NumberField::HasFault);
  return fault == fields_.end() ? nullptr : *fault;
}

QWidget* RowsView::Make(const Element& element, const QString& label) {
  if (const auto* const text = std::get_if<FixedText>(&element))
    return new QLabel(Text(text->text));
  if (const auto* const info = std::get_if<InfoButton>(&element)) {
    auto* const button = new QPushButton(label);
    button->setToolTip("What is this?");
    button->setAccessibleName(label + ", help");
    connect(button, &QPushButton::clicked,
            [this, key = info->helpKey] { ShowHelp(window(), key); });
    return button;
  }
  if (const auto* const number = std::get_if<FloatField>(&element)) {
    constexpr int kMostDigits = 9;  // that a field has room for in a narrow column
    auto* const field = new NumberField(
        std::min(number->width, kMostDigits), number->step,
        [this, position = show_.size()](std::optional<float> value) { Take(position, value); });
    show_.emplace_back([field](double value) { field->SetValue(static_cast<float>(value)); });
    fields_.push_back(field);
    return Named(field, label);
  }
  return MakeChoice(element, label);
}

QWidget* RowsView::MakeChoice(const Element& element, const QString& label) {
  const std::size_t position = show_.size();
  if (const auto* const toggle = std::get_if<Toggle>(&element)) {
    const QString text = Text(toggle->label);
    auto* const box = Named(new QCheckBox(text), text.isEmpty() ? label : text);
    connect(box, &QCheckBox::toggled, [this, position](bool on) { Take(position, on ? 1 : 0); });
    show_.emplace_back([box](double on) { box->setChecked(on != 0); });
    return box;
  }
  auto* const box = NewChoice(label, {});
  for (const std::string& choice : std::get<Pulldown>(element).labels) box->addItem(Text(choice));
  connect(box, &QComboBox::currentIndexChanged,
          [this, position](int choice) { Take(position, choice); });
  show_.emplace_back([box](double choice) { box->setCurrentIndex(static_cast<int>(choice)); });
  return box;
}

void RowsView::Take(std::size_t position, std::optional<double> number) {
  numbers_[position] = number.value_or(numbers_[position]);
  changed_();
}

}  // namespace lumomixcalc::standalone
