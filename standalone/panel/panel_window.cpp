#include "standalone/panel/panel_window.h"

#include <algorithm>
#include <utility>

#include "standalone/panel/output_settings.h"
#include "standalone/panel/preview_pane.h"
#include "standalone/panel/rows_view.h"
#include "standalone/panel/run_bar.h"

namespace lumomixcalc::standalone {
namespace {

void AddGroup(QVBoxLayout& layout, const QString& title, QWidget* content) {
  auto* const group = new QGroupBox(title);
  (new QVBoxLayout(group))->addWidget(content);
  layout.addWidget(group);
}

// The chosen file by a name that is valid in every folder, for the command to be copied and for the
// next start. A name that is no file on disk, such as one that only GDAL understands, stays as it
// is.
QString FileOf(const FileField& field) {
  const QFileInfo info(field.File());
  const bool isFile = field.Use() == FileUse::kOutput || info.exists();
  return isFile && !field.File().isEmpty() ? info.absoluteFilePath() : field.File();
}

// The key under which a field's file is kept.
QString FileKey(const FileField& field) { return QString("files/%1").arg(field.StreamNumber()); }

}  // namespace

PanelWindow::PanelWindow(HostState& host, const Job& first) : host_(host), first_(first) {
  setWindowTitle(Text(host.registration.title));
  columns_ = new QSplitter(Qt::Horizontal);
  columns_->setChildrenCollapsible(false);
  columns_->setHandleWidth(14);
  columns_->addWidget(MakeSettings());
  std::vector<QString> titles;
  for (const DeclaredStream& input : host.registration.inputs) titles.push_back(Text(input.label));
  titles.emplace_back("Result");
  preview_ = new PreviewPane(
      titles, {[this](QRect pixels) { output_->SetRegion(pixels); }, [this] { Refresh(); }});
  preview_->LetDraw(host.registration.regions);
  columns_->addWidget(preview_);
  columns_->setStretchFactor(1, 1);
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(columns_, 1);
  layout->addWidget(MakeReports());
  AddShortcuts();
  RestoreHabits();
  StartWorker();
  PlaceOnScreen();
  Refresh();
}

PanelWindow::~PanelWindow() { SaveHabits(); }

QWidget* PanelWindow::MakeSettings() {
  const auto changed = [this] { Refresh(); };
  const auto write = [this](auto* place, auto value) {
    worker_->Write(place, value);
    Refresh();
  };
  settings_ = new QWidget;
  auto* const layout = NewLayout<QVBoxLayout>(settings_);
  auto* const files = new QWidget;
  auto* const fileGrid = NewLayout<QGridLayout>(files);
  for (const DeclaredStream& input : host_.registration.inputs)
    files_.push_back(new FileField(*fileGrid, input, FileUse::kInput, changed));
  files_.push_back(
      new FileField(*fileGrid, host_.registration.Output(), FileUse::kOutput, changed));
  rows_ = new RowsView(host_.panel, {write, write, changed});
  output_ = new OutputSettings(host_.registration, first_, changed);
  AddGroup(*layout, "Files", files);
  AddGroup(*layout, "Parameters", rows_);
  AddGroup(*layout, "Output", output_);

  runBar_ = new RunBar([this] { Run(); }, [this] { worker_->CancelRun(); });
  auto* const side = new QWidget;
  auto* const sideLayout = NewLayout<QVBoxLayout>(side);
  sideLayout->addWidget(settings_);
  sideLayout->addWidget(runBar_);
  sideLayout->addStretch();
  return side;
}

QWidget* PanelWindow::MakeReports() {
  command_ = Named(new QLineEdit, "Command", "Equivalent command");
  command_->setReadOnly(true);
  copy_ = Named(new QPushButton("&Copy"), "Copy", "Copy the command");
  connect(copy_, &QPushButton::clicked, [this] { CopyCommand(); });
  messages_ = Named(new QPlainTextEdit, "Messages");
  messages_->setReadOnly(true);
  messages_->setFixedHeight(messages_->fontMetrics().lineSpacing() * 5);
  messages_->setTabChangesFocus(true);
  auto* const reports = new QWidget;
  auto* const layout = NewLayout<QGridLayout>(reports);
  layout->addWidget(NewLabel("Command", command_), 0, 0);
  layout->addWidget(command_, 0, 1);
  layout->addWidget(copy_, 0, 2);
  layout->addWidget(NewLabel("Messages", messages_), 1, 0, Qt::AlignTop);
  layout->addWidget(messages_, 1, 1, 1, 2);
  return reports;
}

void PanelWindow::AddShortcuts() {
  const auto add = [this](const QKeySequence& keys, std::function<void()> action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, std::move(action));
  };
  add(QKeySequence::Open, [this] {
    const auto empty = std::find_if(files_.begin(), files_.end(),
                                    [](FileField* field) { return field->File().isEmpty(); });
    if (!running_) (empty == files_.end() ? files_.front() : *empty)->Browse();
  });
  add(QKeySequence(Qt::CTRL | Qt::Key_R), [this] { Run(); });
  add(QKeySequence(Qt::Key_Escape), [this] { worker_->CancelRun(); });
  add(QKeySequence::Copy, [this] { CopyCommand(); });
  qApp->installEventFilter(this);
}

// A text field claims Ctrl+C also when nothing in it is selected; then it shall copy the command.
bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::ShortcutOverride) return false;
  const auto* const edit = qobject_cast<QLineEdit*>(watched);
  if (!edit || edit->window() != this || edit->hasSelectedText()) return false;
  if (!static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) return false;
  event->ignore();
  return true;
}

void PanelWindow::StartWorker() {
  worker_ = std::make_unique<PanelWorker>(
      host_, *this,
      PanelWorker::Listener{
          [this](const std::string& command) { ShowCommand(command); },
          [this](const Preview& preview) { ShowPreview(preview); },
          [this](double share) { runBar_->SetProgress(share); },
          [this](const std::string& message) { messages_->appendPlainText(Text(message)); },
          [this](RunEnd end) { EndRun(end); }});
}

void PanelWindow::RestoreHabits() {
  const QSettings settings;
  constexpr QSize kFirstSize(1240, 800);
  resize(settings.value("window/size", kFirstSize).toSize());
  if (!columns_->restoreState(settings.value("window/columns").toByteArray()))
    columns_->setSizes({430, kFirstSize.width() - 430});
  preview_->Restore(settings);
  // When files are given at the start, none is restored beside them.
  for (FileField* const field : files_) {
    const auto given = first_.files.find(field->StreamNumber());
    if (given != first_.files.end())
      field->setText(Text(given->second));
    else if (first_.files.empty())
      field->setText(settings.value(FileKey(*field)).toString());
  }
}

void PanelWindow::SaveHabits() const {
  QSettings settings;
  settings.setValue("window/size", size());
  settings.setValue("window/columns", columns_->saveState());
  preview_->Save(settings);
  for (const FileField* const field : files_) settings.setValue(FileKey(*field), FileOf(*field));
}

// Puts the window where the application wants it, but inside the screen.
void PanelWindow::PlaceOnScreen() {
  const QRect screen = this->screen()->availableGeometry();
  resize(size().boundedTo(screen.size()));
  const QPoint wanted =
      screen.topLeft() + QPoint(host_.registration.menuX, host_.registration.menuY);
  move(std::clamp(wanted.x(), screen.left(), screen.left() + screen.width() - width()),
       std::clamp(wanted.y(), screen.top(), screen.top() + screen.height() - height()));
}

Job PanelWindow::CurrentJob() const {
  Job job = first_;
  job.files.clear();
  for (const FileField* const field : files_)
    if (const QString file = FileOf(*field); !file.isEmpty())
      job.files[field->StreamNumber()] = file.toStdString();
  output_->Apply(job);
  return job;
}

void PanelWindow::Refresh() {
  if (!worker_) return;  // still being made
  preview_->SetRegion(output_->Region());
  // Without a command for what the fields say; the preview keeps the last numbers.
  if (rows_->FirstFault()) return ShowCommand("");
  copy_->setEnabled(false);  // until the command is the current one again
  preview_->Await();
  worker_->Refresh(CurrentJob(), preview_->Band());
}

void PanelWindow::ShowCommand(const std::string& command) {
  const bool faulty = rows_->FirstFault();
  const bool known = !faulty && !command.empty();
  command_->setText(known    ? Text(command)
                    : faulty ? "a number is not understood"
                             : "choose an input and the output file first");
  command_->setCursorPosition(0);
  command_->setEnabled(known);
  copy_->setEnabled(known);
}

void PanelWindow::ShowPreview(const Preview& preview) {
  preview_->Show(preview);
  const auto known = std::find_if(preview.inputs.begin(), preview.inputs.end(),
                                  [](const PreviewImage& image) { return image.fullColumns > 0; });
  if (known != preview.inputs.end()) output_->SetImageSize(known->fullColumns, known->fullRows);
}

// The job to run, or none when the user must or wants to change something first.
std::optional<Job> PanelWindow::JobToRun() {
  if (NumberField* const fault = rows_->FirstFault()) {
    messages_->appendPlainText(QString("%1: \u201c%2\u201d is not a number that can be used.")
                                   .arg(fault->accessibleName(), fault->text()));
    fault->setFocus();
    return std::nullopt;
  }
  Job job = CurrentJob();
  const DeclaredStream& stream = host_.registration.Output();
  const auto output = job.files.find(stream.number);
  if (output == job.files.end()) {
    messages_->appendPlainText("There is no file to write: choose one as " + Text(stream.label) +
                               ".");
    return std::nullopt;
  }
  const QFileInfo existing(Text(output->second));
  if (existing.exists() && !job.overwrite) {
    if (!UserAgrees(existing.filePath() + " exists already. Replace it?", "Replace"))
      return std::nullopt;
    job.overwrite = true;
  }
  return job;
}

void PanelWindow::Run() {
  if (running_) return;
  const std::optional<Job> job = JobToRun();
  if (!job) return;
  running_ = true;
  settings_->setEnabled(false);
  preview_->LetDraw(false);
  preview_->StopAwaiting();
  runBar_->Begin();
  worker_->Run(*job);
}

void PanelWindow::EndRun(RunEnd end) {
  running_ = false;
  settings_->setEnabled(true);
  preview_->LetDraw(host_.registration.regions);
  runBar_->End(end == RunEnd::kDone ? "done" : end == RunEnd::kCancelled ? "cancelled" : "failed");
  if (end == RunEnd::kDone) messages_->appendPlainText("Written: " + files_.back()->File());
  if (end == RunEnd::kCancelled) messages_->appendPlainText("Cancelled; nothing was written.");
  Refresh();
}

void PanelWindow::CopyCommand() {
  if (copy_->isEnabled()) QGuiApplication::clipboard()->setText(command_->text());
}

bool PanelWindow::UserAgrees(const QString& question, const QString& yes) {
  QMessageBox box(QMessageBox::Question, windowTitle(), question, QMessageBox::NoButton, this);
  const QPushButton* const agree = box.addButton(yes, QMessageBox::AcceptRole);
  box.setDefaultButton(box.addButton(QMessageBox::Cancel));
  box.exec();
  return box.clickedButton() == agree;
}

void PanelWindow::closeEvent(QCloseEvent* event) {
  // The run may end before the question is answered; either answer is then right.
  const bool close = !running_ || UserAgrees("A run is in progress. Cancel it and close?",
                                             "Cancel the run and close");
  event->setAccepted(close);
  if (close) worker_->CancelRun();
}

}  // namespace lumomixcalc::standalone
