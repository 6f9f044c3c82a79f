#include "standalone/panel/file_row.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QGridLayout>
#include <QMimeData>
#include <QPushButton>
#include <utility>

#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

FileEdit::FileEdit() {
  setAcceptDrops(true);
  setClearButtonEnabled(true);
}

void FileEdit::dragEnterEvent(QDragEnterEvent* event) {
  if (!event->mimeData()->hasUrls()) return QLineEdit::dragEnterEvent(event);
  event->acceptProposedAction();
}

void FileEdit::dropEvent(QDropEvent* event) {
  if (!event->mimeData()->hasUrls()) return QLineEdit::dropEvent(event);
  const QUrl url = event->mimeData()->urls().first();
  setText(url.isLocalFile() ? url.toLocalFile() : url.toString());
  event->acceptProposedAction();
}

FileRow::FileRow(QGridLayout& grid, const DeclaredStream& stream, FileUse use,
                 std::function<void()> changed)
    : stream_(stream.number), use_(use), edit_(new FileEdit), label_(Text(stream.label)) {
  const int row = grid.rowCount();
  Named(edit_, label_, label_ + " file");
  edit_->setToolTip(use == FileUse::kInput ? "A raster; may be dropped here" : "The file to write");
  auto* const browse = new QPushButton("Browse\u2026");
  browse->setAccessibleName("Browse for " + label_);
  QObject::connect(edit_, &QLineEdit::textChanged, std::move(changed));
  QObject::connect(browse, &QPushButton::clicked, edit_, [this] { Browse(); });
  grid.addWidget(NewLabel(label_, edit_), row, 0);
  grid.addWidget(edit_, row, 1);
  grid.addWidget(browse, row, 2);
}

void FileRow::Browse() {
  QWidget* const window = edit_->window();
  const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
  const QString file =
      use_ == FileUse::kInput
          ? QFileDialog::getOpenFileName(window, "Open " + label_, folder)
          // The run asks whether to replace a file.
          : QFileDialog::getSaveFileName(window, label_, File(), QString(), nullptr,
                                         QFileDialog::DontConfirmOverwrite);
  if (!file.isEmpty()) SetFile(file);
}

}  // namespace lumomixcalc::standalone
