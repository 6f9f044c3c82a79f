#ifndef LUMOMIXCALC_STANDALONE_PANEL_FILE_ROW_H
#define LUMOMIXCALC_STANDALONE_PANEL_FILE_ROW_H

#include <QLineEdit>
#include <functional>

#include "standalone/framework/registration.h"

class QGridLayout;

namespace lumomixcalc::standalone {

enum class FileUse { kInput, kOutput };

// A field for a file's name that takes files dropped on it.
class FileEdit : public QLineEdit {
 public:
  FileEdit();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
};

// The row of one declared stream: its label, the file and a browse button. The widgets belong to
// the grid that the row is added to.
class FileRow {
 public:
  FileRow(QGridLayout& grid, const DeclaredStream& stream, FileUse use,
          std::function<void()> changed);

  int StreamNumber() const { return stream_; }
  QString File() const { return edit_->text().trimmed(); }
  void SetFile(const QString& file) { edit_->setText(file); }
  void Browse();

 private:
  int stream_;
  FileUse use_;
  FileEdit* edit_;
  QString label_;
};

}  // namespace lumomixcalc::standalone

#endif
