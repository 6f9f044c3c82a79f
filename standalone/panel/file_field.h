#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// The field for the file of one declared stream.
class FileField : public QLineEdit {
 public:
  enum class Use { kInput, kOutput };

  // Called when a file is chosen by dialog, menu or drop, not when it is typed.
  std::function<void()> chosen;

  // Adds a row to grid: the stream's label, the field and a button to browse.
  FileField(QGridLayout& grid, const DeclaredStream& stream, Use use)
      : stream_(stream.number), use_(use) {
    const QString label = Text(stream.label);
    Named(this, label, label + " file");
    setAcceptDrops(false);  // the window takes files dropped here
    setClearButtonEnabled(true);
    SetRead(true);
    auto* const browse = new QToolButton;
    browse->setText("Browse\u2026");
    browse->setAccessibleName("Browse for " + label);
    browse->setFocusPolicy(Qt::StrongFocus);
    browse->setPopupMode(QToolButton::MenuButtonPopup);
    browse->setMenu(Named(new QMenu(browse), label + ", recent files"));
    connect(browse, &QToolButton::clicked, [this] { Browse(); });
    connect(browse->menu(), &QMenu::aboutToShow, [this, browse] { FillMenu(*browse->menu()); });
    grid.addWidget(browse, AddRow(grid, label, this), 2);
  }

  int StreamNumber() const { return stream_; }

  // The chosen file by a name that is valid in every folder. A name of no file on disk, such as one
  // that only GDAL understands, is returned unchanged.
  QString File() const {
    const QString file = text().trimmed();
    const bool isFile = use_ == Use::kOutput || QFileInfo::exists(file);
    return isFile && !file.isEmpty() ? QFileInfo(file).absoluteFilePath() : file;
  }

  void Choose(const QString& file) {
    setText(file);
    Remember();
    chosen();
  }

  void Browse() {
    const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
    const QString file =
        use_ == Use::kInput
            ? QFileDialog::getOpenFileName(window(), "Open " + objectName(), folder)
            // The run asks whether to replace a file.
            : QFileDialog::getSaveFileName(window(), objectName(), File(), QString(), nullptr,
                                           QFileDialog::DontConfirmOverwrite);
    if (!file.isEmpty()) Choose(file);
  }

  // Puts the file first in the menu of recent ones.
  void Remember() const {
    constexpr int kMost = 10;
    QStringList files = QStringList(File()) + RecentFiles();
    files.removeAll("");
    files.removeDuplicates();
    QSettings().setValue("recentFiles", files.mid(0, kMost));
  }

  // Returns why the name cannot be right, or an empty text, and marks the field if it cannot.
  QString CheckName() {
    // Names that only GDAL understands are not on disk.
    static const QRegularExpression ofGdal("^(/vsi|<|[^/]+:)");
    const QString file = File();
    const QString folder = QFileInfo(file).path();
    QString fault;
    if (use_ == Use::kOutput && !QFileInfo(folder).isDir())
      fault = objectName() + ": there is no folder " + folder;
    if (use_ == Use::kInput && read_ && !QFileInfo::exists(file) && !file.contains(ofGdal))
      fault = objectName() + ": there is no file " + file;
    if (file.isEmpty()) fault.clear();
    MarkFault(*this, !fault.isEmpty());
    return fault;
  }

  // Dims the name of an input that the run does not read.
  void SetRead(bool read) {
    read_ = read;
    QPalette colours;
    if (!read) colours.setColor(QPalette::Text, colours.color(QPalette::PlaceholderText));
    setPalette(colours);
    setToolTip(use_ == Use::kOutput ? "The file to write"
               : read               ? "An input image; a file can be dropped here"
                                    : "An input image; this operator does not read it");
  }

 private:
  static QStringList RecentFiles() { return QSettings().value("recentFiles").toStringList(); }

  void FillMenu(QMenu& menu) {
    menu.clear();
    for (const QString& file : RecentFiles())
      menu.addAction(QString(file).replace('&', "&&"), [this, file] { Choose(file); });
    if (menu.isEmpty()) menu.addAction("No recent files")->setEnabled(false);
  }

  int stream_;
  Use use_;
  bool read_ = true;
};

// The fields of all files of a run: the inputs, then the output.
class FilesView : public QWidget {
 public:
  // changed is called at every change.
  FilesView(const Registration& registration, const std::function<void()>& changed) {
    auto* const grid = NewLayout<QGridLayout>(this);
    for (const DeclaredStream& input : registration.inputs)
      inputs_.push_back(new FileField(*grid, input, FileField::Use::kInput));
    output_ = new FileField(*grid, registration.output, FileField::Use::kOutput);
    fields_ = inputs_;
    fields_.push_back(output_);
    for (FileField* const field : fields_) {
      connect(field, &QLineEdit::textChanged, changed);
      field->chosen = [this] { SuggestOutput(); };
    }
    if (inputs_.size() > 1) AddSwap(*grid);
  }

  const FileField& Output() const { return *output_; }

  // The first input without a file, or else the first input.
  FileField& FreeInput() const {
    const auto free = std::ranges::find_if(inputs_, &QString::isEmpty, &QLineEdit::text);
    return free == inputs_.end() ? *inputs_.front() : **free;
  }

  // The inputs by stream number, without those of empty fields.
  std::map<int, std::string> Inputs() const {
    std::map<int, std::string> files;
    for (const FileField* const field : inputs_)
      if (const QString file = field->File(); !file.isEmpty())
        files[field->StreamNumber()] = file.toStdString();
    return files;
  }

  void Show(const Job& job) {
    std::map<int, std::string> files = job.inputs;
    for (FileField* const field : inputs_) field->setText(Text(files[field->StreamNumber()]));
    output_->setText(Text(job.output));
  }

  // Dims the inputs that the run does not read.
  void ShowRead(const std::set<int>& streams) {
    for (FileField* const input : inputs_) input->SetRead(streams.contains(input->StreamNumber()));
  }

  // Marks the fields whose names cannot be right; returns the reasons.
  QStringList Faults() {
    QStringList faults;
    for (FileField* const field : fields_) faults << field->CheckName();
    faults.removeAll("");
    return faults;
  }

  // The label of the input whose file is also the output, by whatever path; empty when none is.
  QString InputToBeReplaced() const {
    const QString output = QFileInfo(output_->File()).canonicalFilePath();
    for (const FileField* const input : inputs_)
      if (!output.isEmpty() && QFileInfo(input->File()).canonicalFilePath() == output)
        return input->objectName();
    return {};
  }

  // Takes files that were dropped at a place of the screen: one into the field there, or else into
  // the first input that is free.
  void Take(const QList<QUrl>& files, QPoint place) {
    const auto target = std::ranges::find_if(fields_, [place](const FileField* field) {
      return field->visibleRegion().contains(field->mapFromGlobal(place));
    });
    std::vector<FileField*> targets = inputs_;
    if (files.size() == 1) targets.assign(1, target == fields_.end() ? &FreeInput() : *target);
    auto next = targets.begin();
    for (const QUrl& file : files)
      if (next != targets.end()) (*next++)->Choose(file.toString(QUrl::PreferLocalFile));
  }

  void Remember() const {
    for (const FileField* const field : fields_) field->Remember();
  }

 private:
  void AddSwap(QGridLayout& grid) {
    auto* const swap = Named(new QToolButton, "Swap");
    swap->setText("\u21c5");
    swap->setToolTip("Exchange " + inputs_[0]->objectName() + " and " + inputs_[1]->objectName());
    swap->setFocusPolicy(Qt::StrongFocus);
    swap->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    connect(swap, &QToolButton::clicked, [this] {
      const QString first = inputs_[0]->text();
      inputs_[0]->setText(inputs_[1]->text());
      inputs_[1]->setText(first);
    });
    grid.addWidget(swap, 1, 3, 2, 1);
  }

  // Fills in a name for the output: a file that does not exist yet, beside the first input.
  void SuggestOutput() {
    const auto named = std::ranges::find_if_not(inputs_, &QString::isEmpty, &QLineEdit::text);
    if (!output_->text().isEmpty() || named == inputs_.end()) return;
    const QFileInfo input((*named)->File());
    if (!input.exists()) return;
    const QString stem = input.dir().filePath(input.completeBaseName() + "_result");
    QString name = stem + ".tif";
    for (int number = 2; QFileInfo::exists(name); ++number)
      name = stem + QString("_%1.tif").arg(number);
    output_->setText(name);
  }

  std::vector<FileField*> inputs_;
  FileField* output_ = nullptr;
  std::vector<FileField*> fields_;  // all of them
};

}  // namespace lumomixcalc::standalone
