#include "standalone/panel/help.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QVBoxLayout>
#include <algorithm>

namespace lumomixcalc::standalone {

QString HelpText(const std::string& key) {
  QString name = QString::fromStdString(key).toLower();
  name.replace(QLatin1Char(' '), QLatin1Char('-'));
  QFile file(QStringLiteral(":/help/") + name + QStringLiteral(".txt"));
  if (!file.open(QIODevice::ReadOnly))
    return QStringLiteral("There is no help entry for \u201c%1\u201d.")
        .arg(QString::fromStdString(key));
  return QString::fromUtf8(file.readAll());
}

void ShowHelp(QWidget& parent, const std::string& key) {
  auto* const dialog = new QDialog(&parent);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setObjectName(QStringLiteral("Help"));
  dialog->setWindowTitle(QStringLiteral("Help"));
  auto* const layout = new QVBoxLayout(dialog);
  auto* const text = new QPlainTextEdit(HelpText(key));
  text->setReadOnly(true);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text->setAccessibleName(QStringLiteral("Help entry"));
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
  layout->addWidget(text);
  layout->addWidget(buttons);
  // The entries are written in lines of at most 84 characters.
  const int columns = text->fontMetrics().horizontalAdvance(QString(84, QLatin1Char('0')));
  const int lines = std::clamp(text->blockCount() + 2, 8, 36) * text->fontMetrics().lineSpacing();
  constexpr int kFrameAndButton = 70;
  dialog->resize(columns + kFrameAndButton, lines + kFrameAndButton);
  dialog->show();
}

}  // namespace lumomixcalc::standalone
