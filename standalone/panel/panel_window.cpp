#include "standalone/panel/panel_window.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "standalone/panel/help.h"
#include "standalone/panel/output_settings.h"
#include "standalone/panel/preview_pane.h"
#include "standalone/panel/rows_view.h"
#include "standalone/panel/run_bar.h"

namespace lumomixcalc::standalone {
namespace {

QGroupBox* Group(const QString& title, QLayout* content) {
  auto* const group = new QGroupBox(title);
  group->setLayout(content);
  return group;
}

// A file's name that holds in every folder, for the command to be copied and for the next start.
// What is no file on disk, such as a name that only GDAL understands, stays as it is.
QString Absolute(const QString& file, bool isOutput) {
  const QFileInfo info(file);
  return isOutput || info.exists() ? info.absoluteFilePath() : file;
}

}  // namespace

PanelWindow::PanelWindow(HostState& host, const Job& first) : host_(host), first_(first) {
  setWindowTitle(QString::fromStdString(host.registration.title));
  columns_ = new QSplitter(Qt::Horizontal);
  columns_->setChildrenCollapsible(false);
  columns_->setHandleWidth(14);
  columns_->addWidget(MakeSettings());
  MakePreview();
  columns_->addWidget(preview_);
  columns_->setStretchFactor(1, 1);
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(columns_, 1);
  layout->addWidget(MakeReports());
  AddShortcuts();
  RestoreHabits();
  StartApplicationThread();
  PlaceOnScreen();
  Refresh();
}

PanelWindow::~PanelWindow() = default;

void PanelWindow::AddFileRows(QGridLayout& grid) {
  const auto changed = [this] { Refresh(); };
  for (const DeclaredStream& input : host_.registration.inputs)
    files_.emplace_back(grid, input, FileUse::kInput, changed);
  files_.emplace_back(grid, host_.registration.Output(), FileUse::kOutput, changed);
}

QWidget* PanelWindow::MakeSettings() {
  auto* const side = new QWidget;
  auto* const sideLayout = new QVBoxLayout(side);
  sideLayout->setContentsMargins(0, 0, 0, 0);
  settings_ = new QWidget;
  auto* const layout = new QVBoxLayout(settings_);
  layout->setContentsMargins(0, 0, 0, 0);

  auto* const fileGrid = new QGridLayout;
  AddFileRows(*fileGrid);
  layout->addWidget(Group(QStringLiteral("Files"), fileGrid));

  rows_ = new RowsView(host_.panel, {[this](float* place, float value) {
                                       application_->Write(place, value);
                                       Refresh();
                                     },
                                     [this](std::int32_t* place, std::int32_t value) {
                                       application_->Write(place, value);
                                       Refresh();
                                     },
                                     [this] { Refresh(); },
                                     [this](const std::string& key) { ShowHelp(*this, key); }});
  auto* const rowsLayout = new QVBoxLayout;
  rowsLayout->addWidget(rows_);
  layout->addWidget(Group(QStringLiteral("Parameters"), rowsLayout));

  output_ = new OutputSettings(host_.registration, first_, [this] { Refresh(); });
  auto* const outputLayout = new QVBoxLayout;
  outputLayout->addWidget(output_);
  layout->addWidget(Group(QStringLiteral("Output"), outputLayout));

  runBar_ = new RunBar([this] { Run(); }, [this] { application_->CancelRun(); });
  sideLayout->addWidget(settings_);
  sideLayout->addWidget(runBar_);
  sideLayout->addStretch();
  return side;
}

void PanelWindow::MakePreview() {
  std::vector<QString> titles;
  for (const DeclaredStream& input : host_.registration.inputs)
    titles.push_back(QString::fromStdString(input.label));
  titles.push_back(QStringLiteral("Result"));
  preview_ = new PreviewPane(
      titles, {[this](QRect pixels) { output_->SetRegion(pixels); }, [this] { Refresh(); }});
  preview_->LetDraw(host_.registration.regions);
}

QWidget* PanelWindow::MakeReports() {
  auto* const reports = new QWidget;
  auto* const layout = new QGridLayout(reports);
  layout->setContentsMargins(0, 0, 0, 0);
  command_ = new QLineEdit;
  command_->setReadOnly(true);
  command_->setObjectName(QStringLiteral("Command"));
  command_->setAccessibleName(QStringLiteral("Equivalent command"));
  auto* const commandLabel = new QLabel(QStringLiteral("Command"));
  commandLabel->setBuddy(command_);
  copy_ = new QPushButton(QStringLiteral("&Copy"));
  copy_->setObjectName(QStringLiteral("Copy"));
  copy_->setAccessibleName(QStringLiteral("Copy the command"));
  connect(copy_, &QPushButton::clicked, [this] { CopyCommand(); });
  messages_ = new QPlainTextEdit;
  messages_->setReadOnly(true);
  messages_->setObjectName(QStringLiteral("Messages"));
  messages_->setAccessibleName(QStringLiteral("Messages"));
  messages_->setFixedHeight(messages_->fontMetrics().lineSpacing() * 5);
  messages_->setTabChangesFocus(true);
  layout->addWidget(commandLabel, 0, 0);
  layout->addWidget(command_, 0, 1);
  layout->addWidget(copy_, 0, 2);
  auto* const messagesLabel = new QLabel(QStringLiteral("Messages"));
  messagesLabel->setBuddy(messages_);
  layout->addWidget(messagesLabel, 1, 0, Qt::AlignTop);
  layout->addWidget(messages_, 1, 1, 1, 2);
  return reports;
}

void PanelWindow::AddShortcuts() {
  const auto add = [this](const QKeySequence& keys, std::function<void()> action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, std::move(action));
  };
  add(QKeySequence::Open, [this] {
    const auto empty = std::find_if(files_.begin(), files_.end(),
                                    [](const FileRow& row) { return row.File().isEmpty(); });
    if (!running_) (empty == files_.end() ? files_.front() : *empty).Browse();
  });
  add(QKeySequence(Qt::CTRL | Qt::Key_R), [this] { Run(); });
  add(QKeySequence(Qt::Key_Escape), [this] { application_->CancelRun(); });
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

void PanelWindow::StartApplicationThread() {
  application_ = std::make_unique<ApplicationThread>(
      host_, [this](std::function<void()> letter) { mailbox_.Post(std::move(letter)); },
      ApplicationThread::Listener{
          [this](const std::string& command) { ShowCommand(command); },
          [this](const Preview& preview) { ShowPreview(preview); },
          [this](double share) { runBar_->SetProgress(share); },
          [this](const std::string& message) { ShowMessage(QString::fromStdString(message)); },
          [this](RunEnd end) { EndRun(end); }});
}

void PanelWindow::RestoreHabits() {
  const QSettings settings;
  constexpr QSize kFirstSize(1240, 800);
  resize(settings.value(QStringLiteral("window/size"), kFirstSize).toSize());
  if (!columns_->restoreState(settings.value(QStringLiteral("window/columns")).toByteArray()))
    columns_->setSizes({430, kFirstSize.width() - 430});
  preview_->Restore(settings);
  // Files given at the start stand for themselves: remembered ones would mix with them.
  for (FileRow& row : files_) {
    const auto given = first_.files.find(row.StreamNumber());
    if (given != first_.files.end())
      row.SetFile(QString::fromStdString(given->second));
    else if (first_.files.empty())
      row.SetFile(settings.value(QStringLiteral("files/%1").arg(row.StreamNumber())).toString());
  }
}

void PanelWindow::SaveHabits() const {
  QSettings settings;
  settings.setValue(QStringLiteral("window/size"), size());
  settings.setValue(QStringLiteral("window/columns"), columns_->saveState());
  preview_->Save(settings);
  const Job job = CurrentJob();
  for (const FileRow& row : files_) {
    const auto file = job.files.find(row.StreamNumber());
    settings.setValue(QStringLiteral("files/%1").arg(row.StreamNumber()),
                      file == job.files.end() ? QString() : QString::fromStdString(file->second));
  }
}

// Where the application wants it, moved as far as it takes to lie on the screen.
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
  for (const FileRow& row : files_) {
    const bool isOutput = row.StreamNumber() == host_.registration.Output().number;
    if (!row.File().isEmpty())
      job.files[row.StreamNumber()] = Absolute(row.File(), isOutput).toStdString();
  }
  output_->Apply(job);
  return job;
}

void PanelWindow::Refresh() {
  if (!application_) return;  // still being made
  preview_->SetRegion(output_->Region());
  if (rows_->FirstFault()) {
    // No command says what the fields say; the preview stays with the last numbers.
    ShowCommand("");
    return;
  }
  copy_->setEnabled(false);  // until the command is the current one again
  preview_->Await();
  application_->Refresh(CurrentJob(), preview_->Band());
}

void PanelWindow::ShowCommand(const std::string& command) {
  const bool faulty = rows_->FirstFault();
  const bool known = !faulty && !command.empty();
  command_->setText(known    ? QString::fromStdString(command)
                    : faulty ? QStringLiteral("a number is not understood")
                             : QStringLiteral("choose an input and the output file first"));
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

void PanelWindow::Run() {
  if (running_) return;
  if (FloatFieldView* const fault = rows_->FirstFault()) {
    ShowMessage(QStringLiteral("%1: \u201c%2\u201d is not a number that can be used.")
                    .arg(fault->accessibleName(), fault->text()));
    fault->setFocus();
    return;
  }
  Job job = CurrentJob();
  const DeclaredStream& stream = host_.registration.Output();
  const auto output = job.files.find(stream.number);
  if (output == job.files.end()) {
    ShowMessage(QStringLiteral("There is no file to write: choose one as %1.")
                    .arg(QString::fromStdString(stream.label)));
    return;
  }
  const QFileInfo existing(QString::fromStdString(output->second));
  if (existing.exists() && !job.overwrite) {
    if (!UserAgrees(QStringLiteral("%1 exists already. Replace it?").arg(existing.filePath()),
                    QStringLiteral("Replace")))
      return;
    job.overwrite = true;
  }
  running_ = true;
  settings_->setEnabled(false);
  preview_->LetDraw(false);
  preview_->StopAwaiting();
  runBar_->Begin();
  application_->Run(job);
}

void PanelWindow::EndRun(RunEnd end) {
  running_ = false;
  settings_->setEnabled(true);
  preview_->LetDraw(host_.registration.regions);
  switch (end) {
    case RunEnd::kDone:
      runBar_->End(QStringLiteral("done"));
      ShowMessage(QStringLiteral("Written: ") + files_.back().File());
      break;
    case RunEnd::kCancelled:
      runBar_->End(QStringLiteral("cancelled"));
      ShowMessage(QStringLiteral("Cancelled; nothing was written."));
      break;
    case RunEnd::kFailed:
      runBar_->End(QStringLiteral("failed"));
      break;
  }
  Refresh();
}

void PanelWindow::ShowMessage(const QString& message) { messages_->appendPlainText(message); }

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
  // The run may end while the question stands; then it was answered in time either way.
  if (running_ && !UserAgrees(QStringLiteral("A run is under way. Cancel it and close?"),
                              QStringLiteral("Cancel the run and close"))) {
    event->ignore();
    return;
  }
  SaveHabits();
  application_->CancelRun();
  event->accept();
}

}  // namespace lumomixcalc::standalone
