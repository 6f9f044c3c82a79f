#include "standalone/panel/files_view.h"

#include <algorithm>

namespace lumomixcalc::standalone {

// The field for the file of one declared stream.
class FileField : public QLineEdit {
 public:
  // Adds a row to grid: the stream's label, the field and a button to browse. chosen is called when
  // a file is chosen by dialog or drop, not when it is typed.
  FileField(QGridLayout& grid, const DeclaredStream& stream, bool isOutput,
            const std::function<void()>& chosen)
      : number_(stream.number), isOutput_(isOutput), chosen_(chosen) {
    const QString label = Text(stream.label);
    Named(this, label, label + " file");
    setAcceptDrops(false);  // the window takes files dropped here
    setClearButtonEnabled(true);
    SetRead(true);
    auto* const browse = new QToolButton;
    browse->setText("\u2026");
    browse->setToolTip("Choose a file");
    browse->setAccessibleName("Browse for " + label);
    browse->setFocusPolicy(Qt::StrongFocus);
    connect(browse, &QToolButton::clicked, [this] { Browse(); });
    const int row = grid.rowCount();
    grid.addWidget(NewLabel(label, this), row, 0);
    grid.addWidget(this, row, 1);
    grid.addWidget(browse, row, 2);
  }

  int StreamNumber() const { return number_; }

  QString File() const {
    QString file = text().trimmed();
    if (file.startsWith("file://")) file = QUrl(file).toLocalFile();
    if (file.startsWith("~/")) file.replace(0, 1, QDir::homePath());
    const bool isFile = isOutput_ || QFileInfo::exists(file);
    return isFile && !file.isEmpty() ? QFileInfo(file).absoluteFilePath() : file;
  }

  void Choose(const QString& file) {
    setText(file);
    chosen_();
  }

  void Browse() {
    const QString folder = File().isEmpty() ? QString() : QFileInfo(File()).path();
    const QString file =
        !isOutput_ ? QFileDialog::getOpenFileName(window(), "Open " + objectName(), folder)
                   // The run asks whether to replace a file.
                   : QFileDialog::getSaveFileName(window(), objectName(), File(), QString(),
                                                  nullptr, QFileDialog::DontConfirmOverwrite);
    if (!file.isEmpty()) Choose(file);
  }

  // Dims the name of an input that the run does not read.
  void SetRead(bool read) {
    QPalette colours;
    if (!read) colours.setColor(QPalette::Text, colours.color(QPalette::PlaceholderText));
    setPalette(colours);
    setToolTip(isOutput_ ? "The file to write"
               : read    ? "An input image; a file can be dropped here"
                         : "An input image; this operator does not read it");
  }

 private:
  int number_;
  bool isOutput_;
  std::function<void()> chosen_;
};

FilesView::FilesView(const Registration& registration, const std::function<void()>& changed) {
  auto* const grid = NewLayout<QGridLayout>(this);
  const auto suggest = [this] { SuggestOutput(); };
  for (const DeclaredStream& input : registration.inputs)
    inputs_.push_back(new FileField(*grid, input, false, suggest));
  output_ = new FileField(*grid, registration.output, true, suggest);
  fields_ = inputs_;
  fields_.push_back(output_);
  for (const FileField* const field : fields_) connect(field, &QLineEdit::textChanged, changed);
  if (inputs_.size() > 1) AddSwap(*grid);
}

std::map<int, std::string> FilesView::Inputs() const {
  std::map<int, std::string> files;
  for (const FileField* const field : inputs_)
    if (const QString file = field->File(); !file.isEmpty())
      files[field->StreamNumber()] = file.toStdString();
  return files;
}

QString FilesView::Output() const { return output_->File(); }

void FilesView::Show(const Job& job) {
  std::map<int, std::string> files = job.inputs;
  for (FileField* const field : inputs_) field->setText(Text(files[field->StreamNumber()]));
  output_->setText(Text(job.output));
}

void FilesView::ShowRead(const std::set<int>& inputs) {
  for (FileField* const input : inputs_) input->SetRead(inputs.contains(input->StreamNumber()));
}

void FilesView::MarkFaults(const QString& failure) {
  for (FileField* const field : fields_) {
    const QString file = field->File();
    QString told = failure;  // without names that this one may be a part of
    for (const FileField* const other : fields_)
      if (other->File().size() > file.size()) told.remove(other->File());
    MarkFault(*field, !file.isEmpty() && told.contains(file));
  }
}

QString FilesView::InputToBeReplaced() const {
  const QString output = QFileInfo(Output()).canonicalFilePath();
  for (const FileField* const input : inputs_)
    if (!output.isEmpty() && QFileInfo(input->File()).canonicalFilePath() == output)
      return input->objectName();
  return {};
}

void FilesView::Browse() { FreeInput().Browse(); }

void FilesView::Take(const QList<QUrl>& files, const QStringList& names) {
  const auto target = std::ranges::find_if(fields_, [&names](const FileField* field) {
    return names.contains(field->objectName()) || names.contains(field->objectName() + " preview");
  });
  std::vector<FileField*> targets = inputs_;
  if (files.size() == 1) targets.assign(1, target == fields_.end() ? &FreeInput() : *target);
  auto next = targets.begin();
  for (const QUrl& file : files)
    if (next != targets.end()) (*next++)->Choose(file.toString(QUrl::PreferLocalFile));
}

FileField& FilesView::FreeInput() const {
  const auto free = std::ranges::find_if(inputs_, &QString::isEmpty, &QLineEdit::text);
  return free == inputs_.end() ? *inputs_.front() : **free;
}

void FilesView::AddSwap(QGridLayout& grid) {
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
void FilesView::SuggestOutput() {
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

}  // namespace lumomixcalc::standalone
