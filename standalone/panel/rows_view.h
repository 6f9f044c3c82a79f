#pragma once

#include <algorithm>
#include <functional>
#include <utility>
#include <variant>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/panel_command.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows the rows of any panel and their help. It keeps its own numbers and reads the elements'
// addresses only in its constructor.
class RowsView : public QWidget {
 public:
  // changed is called at every change by the user, also when a text stops being a number.
  RowsView(const std::vector<PanelRow>& rows, std::function<void()> changed)
      : changed_(std::move(changed)) {
    auto* const grid = NewLayout<QGridLayout>(this);
    grid->setColumnStretch(1, 1);
    int number = 0;
    for (const PanelRow& row : rows) {
      auto* const layout = new QHBoxLayout;
      grid->addLayout(layout, number, 1);
      label_.clear();
      fieldNumber_ = 0;
      fieldCount_ = std::ranges::count_if(row.elements, [](const auto& element) {
        return std::holds_alternative<FloatField>(element);
      });
      for (const auto& element : row.elements) {
        QWidget* const widget = std::visit([this](const auto& one) { return Make(one); }, element);
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
  }

  // What the rows show; for a field whose text is no number, its last number.
  const RowNumbers& Numbers() const { return numbers_; }

  // Shows other numbers; changed is not called.
  void Show(const RowNumbers& numbers) {
    numbers_ = numbers;
    showing_ = true;
    for (std::size_t i = 0; i < show_.size(); ++i) show_[i](numbers[i]);
    showing_ = false;
  }

  // The first field whose text is no number, or null.
  NumberField* FirstFault() const {
    const auto fault = std::ranges::find_if(fields_, &NumberField::HasFault);
    return fault == fields_.end() ? nullptr : *fault;
  }

 private:
  // The help entry of a key is the file of that name in lower case, with dashes for blanks.
  static QString HelpText(const std::string& key) {
    QFile file(":/help/" + Text(key).toLower().replace(' ', '-') + ".md");
    if (file.open(QIODevice::ReadOnly)) return QString::fromUtf8(file.readAll());
    return QString("There is no help entry for \u201c%1\u201d.").arg(Text(key));
  }

  // Opens the entry in its own window.
  void ShowHelp(const std::string& key) {
    auto* const dialog = Named(new QDialog(window()), "Help");
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
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    auto* const layout = new QVBoxLayout(dialog);
    layout->addWidget(text);
    layout->addWidget(buttons);
    dialog->resize(QSize(680, 600).boundedTo(screen()->availableSize()));
    dialog->show();
  }

  void Take(std::size_t position, std::optional<double> number) {
    if (showing_) return;
    numbers_[position] = number.value_or(numbers_[position]);
    changed_();
  }

  QWidget* Make(const InfoButton& element) {
    label_ = Text(element.label).trimmed();
    auto* const button = new QPushButton(label_);
    button->setToolTip("What is this?");
    button->setAccessibleName(label_ + ", help");
    connect(button, &QPushButton::clicked, [this, key = element.helpKey] { ShowHelp(key); });
    return button;
  }

  QWidget* Make(const FloatField& element) {
    const std::size_t position = show_.size();
    auto* const field =
        new NumberField(element.width, element.step,
                        [this, position](std::optional<float> value) { Take(position, value); });
    show_.emplace_back([field](double value) { field->SetValue(static_cast<float>(value)); });
    fields_.push_back(field);
    const QString place = QString(", number %1 of %2").arg(++fieldNumber_).arg(fieldCount_);
    return Named(field, fieldCount_ == 1 ? label_ : label_ + place);
  }

  QWidget* Make(const FixedText& element) { return new QLabel(Text(element.text)); }

  QWidget* Make(const Pulldown& element) {
    auto* const box = Named(new QComboBox, label_);
    for (const std::string& label : element.labels) box->addItem(Text(label));
    connect(box, &QComboBox::currentIndexChanged,
            [this, position = show_.size()](int choice) { Take(position, choice); });
    show_.emplace_back([box](double choice) { box->setCurrentIndex(static_cast<int>(choice)); });
    return box;
  }

  QWidget* Make(const Toggle& element) {
    const QString text = Text(element.label);
    auto* const box = Named(new QCheckBox(text), text.isEmpty() ? label_ : text);
    connect(box, &QCheckBox::toggled,
            [this, position = show_.size()](bool on) { Take(position, on ? 1 : 0); });
    show_.emplace_back([box](double on) { box->setChecked(on != 0); });
    return box;
  }

  std::function<void()> changed_;
  RowNumbers numbers_;
  std::vector<std::function<void(double)>> show_;  // of each number
  bool showing_ = false;
  std::vector<NumberField*> fields_;
  // Of the row that is being made.
  QString label_;
  long fieldCount_ = 0;
  int fieldNumber_ = 0;
};

}  // namespace lumomixcalc::standalone
