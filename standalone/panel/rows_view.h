#pragma once

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// Shows the rows of any panel and their help. It keeps values of its own and reads the elements'
// addresses only while it is made.
class RowsView : public QWidget {
 public:
  // Called at every change with what writes it to the element's address; a text that is no number
  // writes nothing.
  using Changed = std::function<void(std::function<void()> write)>;

  RowsView(const std::vector<PanelRow>& rows, Changed changed) : changed_(std::move(changed)) {
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
  }

  // The first field whose text is no number; null when there is none.
  NumberField* FirstFault() const {
    const auto fault = std::ranges::find_if(fields_, &NumberField::HasFault);
    return fault == fields_.end() ? nullptr : *fault;
  }

 private:
  // The help entry of a key is in the file of its name, lower case and with dashes for blanks.
  static QString HelpText(const std::string& key) {
    QFile file(":/help/" + Text(key).toLower().replace(' ', '-') + ".txt");
    if (file.open(QIODevice::ReadOnly)) return QString::fromUtf8(file.readAll());
    return QString("There is no help entry for \u201c%1\u201d.").arg(Text(key));
  }

  // Opens the entry in a window of its own beside this one.
  void ShowHelp(const std::string& key) {
    auto* const dialog = Named(new QDialog(window()), "Help");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle("Help");
    auto* const text = Named(new QPlainTextEdit(HelpText(key)), "Help entry");
    text->setReadOnly(true);
    text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
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

  QWidget* Make(const InfoButton& element) {
    label_ = Text(element.label).trimmed();
    auto* const button = new QPushButton(label_);
    button->setToolTip("What is this?");
    button->setAccessibleName(label_ + ", help");
    connect(button, &QPushButton::clicked, [this, key = element.helpKey] { ShowHelp(key); });
    return button;
  }

  QWidget* Make(const FloatField& element) {
    auto* const field =
        new NumberField(*element.value, element.width, element.step,
                        [this, place = element.value](std::optional<float> value) {
                          changed_([place, value] { *place = value.value_or(*place); });
                        });
    fields_.push_back(field);
    const QString place = QString(", number %1 of %2").arg(++fieldNumber_).arg(fieldCount_);
    return Named(field, fieldCount_ == 1 ? label_ : label_ + place);
  }

  QWidget* Make(const FixedText& element) { return new QLabel(Text(element.text)); }

  QWidget* Make(const Pulldown& element) {
    auto* const box = Named(new QComboBox, label_);
    for (const std::string& label : element.labels) box->addItem(Text(label));
    box->setCurrentIndex(*element.choice);
    connect(box, &QComboBox::currentIndexChanged, [this, place = element.choice](int choice) {
      changed_([place, choice] { *place = choice; });
    });
    return box;
  }

  QWidget* Make(const Toggle& element) {
    const QString text = Text(element.label);
    auto* const box = Named(new QCheckBox(text), text.isEmpty() ? label_ : text);
    box->setChecked(*element.on != 0);
    connect(box, &QCheckBox::toggled, [this, place = element.on](bool on) {
      changed_([place, on] { *place = on ? 1 : 0; });
    });
    return box;
  }

  Changed changed_;
  std::vector<NumberField*> fields_;
  // Of the row that is being made.
  QString label_;
  long fieldCount_ = 0;
  int fieldNumber_ = 0;
};

}  // namespace lumomixcalc::standalone
