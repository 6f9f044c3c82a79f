#include "standalone/panel/file_row.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QMimeData>
#include <QUrl>
#include <utility>

namespace lumomixcalc::standalone {

FileEdit::FileEdit() {
  setAcceptDrops(true);
  setClearButtonEnabled(true);
}

void FileEdit::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls())
    event->acceptProposedAction();
  else
    QLineEdit::dragEnterEvent(event);
}

void FileEdit::dropEvent(QDropEvent* event) {
  if (!event->mimeData()->hasUrls()) {
    QLineEdit::dropEvent(event);
    return;
  }
  const QUrl url = event->mimeData()->urls().first();
  setText(url.isLocalFile() ? url.toLocalFile() : url.toString());
  event->acceptProposedAction();
}

FileRow::FileRow(QGridLayout& grid, const DeclaredStream& stream, FileUse use,
                 std::function<void()> changed)
    : stream_(stream.number),
      use_(use),
      edit_(new FileEdit),
      label_(QString::fromStdString(stream.label)) {
  const int row = grid.rowCount();
  auto* const label = new QLabel(label_);
  label->setBuddy(edit_);
  edit_->setObjectName(label_);
  edit_->setAccessibleName(label_ + QStringLiteral(" file"));
  edit_->setToolTip(use == FileUse::kInput ? QStringLiteral("A raster; may be dropped here")
                                           : QStringLiteral("The file to write"));
  auto* const browse = new QPushButton(QStringLiteral("Browse\u2026"));
  browse->setAccessibleName(QStringLiteral("Browse for ") + label_);
  QObject::connect(edit_, &QLineEdit::textChanged, std::move(changed));
  QObject::connect(browse, &QPushButton::clicked, edit_, [this] { Browse(); });
  grid.addWidget(label, row, 0);
  grid.addWidget(edit_, row, 1);
  grid.addWidget(browse, row, 2);
}

void FileRow::Browse() {
  const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
  const QString file =
      use_ == FileUse::kInput
          ? QFileDialog::getOpenFileName(edit_->window(), QStringLiteral("Open ") + label_, folder)
          // Whether to replace a file is asked when the run starts.
          : QFileDialog::getSaveFileName(edit_->window(), label_, File(), QString(), nullptr,
                                         QFileDialog::DontConfirmOverwrite);
  if (!file.isEmpty()) SetFile(file);
}

}  // namespace lumomixcalc::standalone
