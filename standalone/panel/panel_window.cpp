#include "standalone/panel/panel_window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "standalone/panel/output_settings.h"
#include "standalone/panel/preview_pane.h"
#include "standalone/panel/rows_view.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kProgressSteps = 1000;

QString FileKey(const FileField& field) { return QString("files/%1").arg(field.StreamNumber()); }

}  // namespace

PanelWindow::PanelWindow(HostState& host, const Job& first) : host_(host), first_(first) {
  setWindowTitle(Text(host.registration.title));
  columns_->setChildrenCollapsible(false);
  columns_->setHandleWidth(14);
  columns_->addWidget(MakeSettings());
  QStringList titles;
  for (const DeclaredStream& input : host.registration.inputs) titles << Text(input.label);
  preview_ = new PreviewPane(titles << "Result");
  preview_->regionDrawn = [this](QRect pixels) { output_->SetRegion(pixels); };
  connect(&preview_->Band(), &QSpinBox::valueChanged, [this] { Refresh(); });
  columns_->addWidget(preview_);
  columns_->setStretchFactor(1, 1);
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(columns_, 1);
  layout->addLayout(MakeReports());
  AddShortcuts();
  SetRunning(false);
  RestoreHabits();
  worker_ = std::make_unique<PanelWorker>(
      host_, *this,
      PanelWorker::Listener{
          [this](const std::string& command) { ShowCommand(command); },
          [this](const Preview& images) { ShowPreview(images); },
          [this](double share) { ShowProgress(share); },
          [this](const std::string& message) { messages_->appendPlainText(OfFields(message)); },
          [this](RunEnd end) { EndRun(end); }});
  Refresh();
}

PanelWindow::~PanelWindow() { SaveHabits(); }

QWidget* PanelWindow::MakeSettings() {
  const auto changed = [this] { Refresh(); };
  auto* const files = new QWidget;
  auto* const fileGrid = NewLayout<QGridLayout>(files);
  for (const DeclaredStream& input : host_.registration.inputs)
    files_.push_back(new FileField(*fileGrid, input, FileUse::kInput));
  files_.push_back(new FileField(*fileGrid, host_.registration.Output(), FileUse::kOutput));
  for (FileField* const field : files_) connect(field, &QLineEdit::textChanged, changed);
  rows_ = new RowsView(host_.panelRows, [this](PanelWorker::Task write) {
    worker_->Post(std::move(write));
    Refresh();
  });
  output_ = new OutputSettings(host_.registration, first_, changed);
  auto* const groups = NewLayout<QVBoxLayout>(settings_);
  for (const auto& [title, content] : std::initializer_list<std::pair<const char*, QWidget*>>{
           {"Files", files}, {"Parameters", rows_}, {"Output", output_}}) {
    auto* const group = new QGroupBox(title);
    (new QVBoxLayout(group))->addWidget(content);
    groups->addWidget(group);
  }
  auto* const side = new QWidget;
  auto* const layout = NewLayout<QVBoxLayout>(side);
  layout->addWidget(settings_);
  layout->addLayout(MakeRunBar());
  layout->addStretch();
  return side;
}

QLayout* PanelWindow::MakeRunBar() {
  run_->setToolTip("Write the output (Ctrl+R)");
  cancel_->setToolTip("Stop the run; nothing is written (Esc)");
  progress_->setRange(0, kProgressSteps);
  runState_->setMinimumWidth(fontMetrics().horizontalAdvance("00 min 00 s left"));
  connect(run_, &QPushButton::clicked, [this] { Run(); });
  connect(cancel_, &QPushButton::clicked, [this] { worker_->CancelRun(); });
  auto* const bar = new QHBoxLayout;
  bar->addWidget(run_);
  bar->addWidget(cancel_);
  bar->addWidget(progress_, 1);
  bar->addWidget(runState_);
  return bar;
}

QLayout* PanelWindow::MakeReports() {
  command_->setReadOnly(true);
  connect(copy_, &QPushButton::clicked,
          [this] { QGuiApplication::clipboard()->setText(command_->text()); });
  messages_->setReadOnly(true);
  messages_->setFixedHeight(messages_->fontMetrics().lineSpacing() * 5);
  messages_->setTabChangesFocus(true);
  auto* const layout = new QGridLayout;
  layout->addWidget(NewLabel("Command", command_), 0, 0);
  layout->addWidget(command_, 0, 1);
  layout->addWidget(copy_, 0, 2);
  layout->addWidget(NewLabel("Messages", messages_), 1, 0, Qt::AlignTop);
  layout->addWidget(messages_, 1, 1, 1, 2);
  return layout;
}

void PanelWindow::AddShortcuts() {
  new QShortcut(QKeySequence::Open, this, [this] {
    const auto empty =
        std::ranges::find_if(files_, [](FileField* field) { return field->File().isEmpty(); });
    if (!running_) (empty == files_.end() ? files_.front() : *empty)->Browse();
  });
  new QShortcut(Qt::CTRL | Qt::Key_R, this, [this] { run_->click(); });
  new QShortcut(Qt::Key_Escape, this, [this] { cancel_->click(); });
  new QShortcut(QKeySequence::Copy, this, [this] { copy_->click(); });
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

void PanelWindow::RestoreHabits() {
  const QSettings settings;
  constexpr QSize kFirstSize(1240, 800);
  const QRect screen = this->screen()->availableGeometry();
  resize(settings.value("window/size", kFirstSize).toSize().boundedTo(screen.size()));
  // Where the application wants it, but inside the screen.
  move(screen.x() + std::clamp(host_.registration.menuX, 0, screen.width() - width()),
       screen.y() + std::clamp(host_.registration.menuY, 0, screen.height() - height()));
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
  for (const FileField* const field : files_) settings.setValue(FileKey(*field), field->File());
}

Job PanelWindow::CurrentJob() const {
  Job job = first_;
  job.files.clear();
  for (const FileField* const field : files_)
    if (const QString file = field->File(); !file.isEmpty())
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
  worker_->Refresh(CurrentJob(), preview_->Band().value());
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

void PanelWindow::ShowPreview(const Preview& images) {
  preview_->Show(images);
  for (const PreviewImage& image : images)
    if (image.fullSize.isValid()) return output_->SetImageSize(image.fullSize);
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

void PanelWindow::SetRunning(bool running) {
  running_ = running;
  settings_->setEnabled(!running);
  run_->setEnabled(!running);
  cancel_->setEnabled(running);
  preview_->LetDraw(!running && host_.registration.regions);
}

void PanelWindow::Run() {
  const std::optional<Job> job = JobToRun();
  if (!job) return;
  SetRunning(true);
  preview_->StopAwaiting();
  progress_->setValue(0);
  runState_->setText("running");
  sinceRun_.start();
  worker_->Run(*job);
}

void PanelWindow::ShowProgress(double share) {
  progress_->setValue(static_cast<int>(share * kProgressSteps));
  const double elapsed = static_cast<double>(sinceRun_.elapsed()) / 1000;
  constexpr double kShortest = 0.5;  // seconds, to judge by
  if (share >= 1) return runState_->setText("completing the file");
  if (share <= 0 || elapsed <= kShortest) return;
  const int left = static_cast<int>(std::ceil(elapsed / share * (1 - share)));
  runState_->setText(left < 60 ? QString("%1 s left").arg(left)
                               : QString("%1 min %2 s left").arg(left / 60).arg(left % 60));
}

void PanelWindow::EndRun(RunEnd end) {
  SetRunning(false);
  progress_->reset();
  runState_->setText("failed");
  if (end == RunEnd::kDone) {
    runState_->setText("done");
    messages_->appendPlainText("Written: " + files_.back()->text().trimmed());
  } else if (end == RunEnd::kCancelled) {
    runState_->setText("cancelled");
    messages_->appendPlainText("Cancelled; nothing was written.");
  }
  Refresh();
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
