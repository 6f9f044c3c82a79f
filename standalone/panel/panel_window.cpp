#include "standalone/panel/panel_window.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/panel/files_view.h"
#include "standalone/panel/inspector.h"
#include "standalone/panel/output_settings.h"
#include "standalone/panel/panel_command.h"
#include "standalone/panel/preview_pane.h"
#include "standalone/panel/rows_view.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kProgressSteps = 1000;

// "GTiff cfloat32, 1200 x 800, 1 band, 7.3 MB"; without a format while the output has none.
QString SummaryOf(const RunPlan& plan) {
  const DataMode& mode = *plan.mode;
  const std::size_t bands = plan.bands.size();
  const double bytes = static_cast<double>(GDALGetDataTypeSizeBytes(mode.type)) *
                       plan.grid.columns * plan.grid.rows * static_cast<double>(bands);
  return QString("%1%2, %3 \u00d7 %4, %5, %6")
      .arg(Text(plan.format.driver ? plan.format.Name() + " " : ""), mode.name)
      .arg(plan.grid.columns)
      .arg(plan.grid.rows)
      .arg(
          Text(CountText(bands, "band")),
          QLocale::c().formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeSIFormat));
}

// What the panel showed last. The application gets its numbers.
Job RecalledJob(HostState& host) {
  try {
    return ReadCommand(QSettings().value("command").toString().toStdString(), host);
  } catch (const WrongCommandLine&) {
    return {};  // there was no start before, or it was of a version with other options
  }
}

}  // namespace

PanelWindow::PanelWindow(HostState& host, const std::optional<Job>& first) : host_(host) {
  const Job shown = first ? *first : RecalledJob(host);  // before the rows, which show its numbers
  columns_->setChildrenCollapsible(false);
  columns_->setHandleWidth(6);
  QStringList titles;
  for (const DeclaredStream& input : host.registration.inputs) titles << Text(input.label);
  titles << "Result";
  inspector_ = new Inspector(titles);
  columns_->addWidget(MakeSide());
  preview_ = new PreviewPane(titles, *inspector_);
  preview_->regionDrawn = [this](QRect pixels) {
    output_->SetRegion(pixels);
    TakeChange();
  };
  preview_->viewChanged = [this] { refresh_.start(); };
  preview_->told = [this](const QString& sentence) { Tell(sentence); };
  preview_->elementAsked = [this](QPoint pixel) { worker_->Inspect(pixel); };
  for (const auto changed :
       {&QFileSystemWatcher::fileChanged, &QFileSystemWatcher::directoryChanged})
    connect(&watcher_, changed, [this] {
      if (!running_) refresh_.start();  // the end of a run has the same effect
    });
  refresh_.setObjectName("Refresh");
  refresh_.setSingleShot(true);
  refresh_.callOnTimeout([this] { Refresh(); });
  columns_->addWidget(preview_);
  columns_->setStretchFactor(1, 1);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(columns_);
  AddShortcuts();
  SetRunning(false);
  setAcceptDrops(true);
  ShowJob(shown, true);
  RestoreDisplay();
  worker_ = std::make_unique<PanelWorker>(
      host_,
      PanelWorker::Listener{[this](const std::string& command) { ShowCommand(command); },
                            [this](std::size_t position, PreviewImage image) {
                              preview_->Show(position, std::move(image));
                            },
                            [this](const Findings& findings) { ShowFindings(findings); },
                            [this](const Inspection& found) { preview_->ShowElements(found); },
                            [this](double share) { ShowProgress(share); },
                            [this](const std::string& message) { Tell(Text(message)); },
                            [this](RunEnd end) { EndRun(end); }});
}

PanelWindow::~PanelWindow() {
  if (QWidget* const field = focusWidget()) field->clearFocus();  // which tells what was typed
  worker_.reset();
  try {
    SaveSettings();
  } catch (...) {  // the settings of the last start stay
  }
}

QWidget* PanelWindow::MakeSettings() {
  rows_ = new RowsView(host_.panelRows, [this] { TakeRows(); });
  files_ = new FilesView(host_.registration, [this] { TakeChange(); });
  output_ = new OutputSettings(host_.registration, [this] { TakeChange(); });
  auto* const groups = NewLayout<QVBoxLayout>(settings_);
  groups->setContentsMargins(0, 0, 6, 0);  // beside the scroll bar
  for (const auto& [title, content] : std::initializer_list<std::pair<const char*, QWidget*>>{
           {"Files", files_}, {"Parameters", rows_}, {"Output", output_}}) {
    groups->addWidget(new QLabel(QString("<b>%1</b>").arg(title)));
    groups->addWidget(content);
  }
  groups->addStretch();
  return settings_;
}

// The settings, which scroll on a low screen, above what is always visible.
QWidget* PanelWindow::MakeSide() {
  auto* const scroll = new QScrollArea;
  scroll->setWidget(MakeSettings());
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->setMinimumWidth(settings_->minimumSizeHint().width() +
                          scroll->verticalScrollBar()->sizeHint().width());
  scroll->setMaximumHeight(settings_->sizeHint().height());  // the messages take what is left
  resolved_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  resolved_->setFixedHeight(resolved_->fontMetrics().lineSpacing());
  messages_->setReadOnly(true);
  messages_->setTabChangesFocus(true);
  messages_->setPlaceholderText("Notes before the run, and what the run says");
  messages_->setMinimumHeight(messages_->fontMetrics().lineSpacing() * 3 + 12);
  auto* const side = new QWidget;
  auto* const layout = NewLayout<QVBoxLayout>(side);
  layout->setSpacing(4);
  layout->addWidget(scroll, 100);
  layout->addWidget(inspector_);
  layout->addWidget(resolved_);
  layout->addLayout(MakeRunBar());
  layout->addWidget(messages_, 1);
  layout->addLayout(MakeCommandBar());
  return side;
}

QLayout* PanelWindow::MakeRunBar() {
  run_->setToolTip("Write the output (Ctrl+R)");
  cancel_->setToolTip("Stop the run; nothing is written (Esc)");
  progress_->setRange(0, kProgressSteps);
  progress_->setFormat("");  // says how the run stands
  connect(run_, &QPushButton::clicked, [this] { Run(); });
  connect(cancel_, &QPushButton::clicked, [this] { worker_->CancelRun(); });
  auto* const bar = new QHBoxLayout;
  bar->addWidget(run_);
  bar->addWidget(cancel_);
  bar->addWidget(progress_, 1);
  return bar;
}

QLayout* PanelWindow::MakeCommandBar() {
  command_->setReadOnly(true);
  connect(copy_, &QPushButton::clicked,
          [this] { QGuiApplication::clipboard()->setText(command_->text()); });
  connect(paste_, &QPushButton::clicked, [this] {
    static const QRegularExpression prompt("^\\s*[$#]\\s+");  // copied from a terminal or a page
    Take(QGuiApplication::clipboard()->text().remove(prompt).trimmed(), true);
  });
  connect(reset_, &QPushButton::clicked, [this] { Take("lumomixcalc -panel", false); });
  auto* const bar = new QHBoxLayout;
  bar->addWidget(command_, 1);
  for (QPushButton* const button : {copy_, paste_, reset_}) {
    button->setFixedWidth(fontMetrics().horizontalAdvance(button->text()) + 16);
    button->setToolTip(button->accessibleName());
    bar->addWidget(button);
  }
  return bar;
}

void PanelWindow::AddShortcuts() {
  new QShortcut(QKeySequence::Open, this, [this] {
    if (!running_) files_->Browse();
  });
  new QShortcut(Qt::CTRL | Qt::Key_R, this, [this] { run_->click(); });
  new QShortcut(Qt::Key_Escape, this, [this] {
    cancel_->click();
    preview_->Unpin();
  });
  new QShortcut(QKeySequence::Copy, this, [this] {
    QWidget* const there = focusWidget();
    const bool said = there == messages_;  // they have the focus after a run
    if (said && messages_->textCursor().hasSelection()) return messages_->copy();
    if (const auto* const label = qobject_cast<QLabel*>(there); label && label->hasSelectedText())
      return QGuiApplication::clipboard()->setText(label->selectedText());
    const bool elements = !said && qobject_cast<QAbstractScrollArea*>(there);  // table or picture
    elements ? inspector_->Copy() : copy_->click();
  });
}

void PanelWindow::RestoreDisplay() {
  QSettings settings;
  constexpr QSize kFirstSize(1240, 800);
  // Room for the frame, whose size is known only after the window is shown.
  constexpr QMargins kFrame(8, 40, 8, 8);
  const QRect screen = this->screen()->availableGeometry();
  const QSize room = screen.marginsRemoved(kFrame).size();
  resize(settings.value("window/size", kFirstSize).toSize().boundedTo(room));
  // The frame's corner where the application wants it, but all of it inside the screen, and not
  // over the window of the start before.
  constexpr int kWindows = 4;
  const int number = settings.value("window/number").toInt();
  settings.setValue("window/number", (number + 1) % kWindows);
  const QPoint corner(std::min(host_.registration.menuX, room.width() - width()),
                      std::min(host_.registration.menuY, room.height() - height()));
  const QPoint shifted = corner - QPoint(24, 24) * number;
  move(screen.topLeft() + QPoint(std::max(0, shifted.x()), std::max(0, shifted.y())));
  if (!columns_->restoreState(settings.value("window/split").toByteArray()))
    columns_->setSizes({0, kFirstSize.width()});
  preview_->Restore(settings);
}

// The worker must have ended.
void PanelWindow::SaveSettings() {
  QSettings settings;
  settings.setValue("window/size", size());
  settings.setValue("window/split", columns_->saveState());
  preview_->Save(settings);
  SetNumbers(host_.panelRows, rows_->Numbers());
  settings.setValue("command", Text(PanelCommand(CurrentJob(), host_)));
}

void PanelWindow::dragEnterEvent(QDragEnterEvent* event) {
  event->setAccepted(!running_ && event->mimeData()->hasUrls());
}

void PanelWindow::dropEvent(QDropEvent* event) {
  QStringList names;  // of what lies there
  for (QWidget* there = childAt(event->position().toPoint()); there; there = there->parentWidget())
    names << there->objectName();
  files_->Take(event->mimeData()->urls(), names);
}

Job PanelWindow::CurrentJob() const {
  Job job = output_->Shown();
  job.inputs = files_->Inputs();
  job.output = files_->Output().toStdString();
  return job;
}

// Takes the settings of a command. Until they are shown, a run would have its numbers with the
// files of the settings before.
void PanelWindow::Take(const QString& command, bool withFiles) {
  run_->setEnabled(false);
  worker_->Post([this, command = command.toStdString(), withFiles, worker = worker_.get()] {
    try {
      const Job job = ReadCommand(command, host_);
      worker->Deliver([this, job, withFiles, numbers = NumbersOf(host_.panelRows)] {
        rows_->Show(numbers);
        TakeRows();
        ShowJob(job, withFiles);
      });
    } catch (const WrongCommandLine& wrong) {
      worker->Deliver([this, told = Text(wrong.what())] { Tell("Not pasted: " + told); });
    }
    worker->Deliver([this] { run_->setEnabled(!running_); });
  });
}

void PanelWindow::ShowJob(const Job& job, bool withFiles) {
  output_->Show(job);
  if (withFiles) files_->Show(job);
  TakeChange();
}

// Writes what the rows show to the application.
void PanelWindow::TakeRows() {
  worker_->Post(
      [rows = &host_.panelRows, numbers = rows_->Numbers()] { SetNumbers(*rows, numbers); });
  TakeChange();
}

void PanelWindow::TakeChange() {
  QStringList title = {Text(host_.registration.title)};
  if (const auto* const choice = rows_->findChild<QComboBox*>())
    title.prepend(choice->currentText());
  if (const auto inputs = files_->Inputs(); !inputs.empty())
    title.prepend(QFileInfo(Text(inputs.begin()->second)).fileName());
  setWindowTitle(title.join(" \u2013 "));
  ShowNotes();
  copy_->setEnabled(false);  // until the command is the current one again
  refresh_.start();
}

void PanelWindow::ShowFindings(const Findings& findings) {
  findings_ = findings;
  preview_->EndPreview();
  if (findings.plan) preview_->OfferBands(findings.plan->bands);
  preview_->Dim(!Fault().isEmpty());
  output_->SetExtent(preview_->Extent());
  files_->MarkFaults(Text(findings.failure));  // first: a style that ends takes the palette along
  files_->ShowRead(findings.inputs);
  resolved_->setText(findings.plan ? SummaryOf(*findings.plan) : "");
  resolved_->setToolTip(resolved_->text());
  ShowNotes();
}

// What is wrong with a field, so that there is no command and no run; or an empty text.
QString PanelWindow::Fault() const {
  const NumberField* const field = rows_->FirstFault();
  if (!field) return output_->Fault();
  return QString("%1: \u201c%2\u201d is not a number that can be used")
      .arg(field->accessibleName(), field->text());
}

// Shows problems of fields, or else of the run, and warnings.
void PanelWindow::ShowNotes() {
  QStringList notes;
  if (const QString fault = Fault(); !fault.isEmpty()) notes << fault;
  const bool started = !files_->Inputs().empty();  // else the pictures say how
  if (notes.isEmpty() && started && !findings_.failure.empty()) notes << Text(findings_.failure);
  if (const QString input = files_->InputToBeReplaced(); !input.isEmpty())
    notes << QString("%1 is %2: the run replaces it")
                 .arg(Text(host_.registration.output.label), input);
  if (findings_.plan && findings_.beyondMode > 0)
    notes << QString("%1 % of the elements shown are out of range for %2 and stored as its limits")
                 .arg(100.0 * static_cast<double>(findings_.beyondMode) /
                          static_cast<double>(findings_.elements),
                      0, 'g', 3)
                 .arg(Text(findings_.plan->mode->name));
  const int band = preview_->View().band;
  if (findings_.plan && std::ranges::count(findings_.plan->bands, band) == 0)
    notes << QString("the run does not compute band %1, which is shown").arg(band);
  for (const std::string& warning : findings_.warnings) notes << Text(warning);
  const QString mark = "\u2022 ";
  notes.replaceInStrings(QRegularExpression("^"), mark);
  QStringList lines = messages_->toPlainText().split('\n', Qt::SkipEmptyParts);
  lines.removeIf([&](const QString& line) {  // old notes, and what a failed run told of them
    return line.startsWith(mark) || notes.contains(mark + line);
  });
  const QString text = (notes + lines).join('\n');
  if (text != messages_->toPlainText()) messages_->setPlainText(text);
}

void PanelWindow::Refresh() {
  const Job job = CurrentJob();
  for (std::size_t i = 0; i < host_.registration.inputs.size(); ++i)
    if (const auto file = job.inputs.find(host_.registration.inputs[i].number);
        file != job.inputs.end())
      preview_->ShowOpening(i, Text(file->second));
  preview_->SetRegion(output_->Region());
  // There is no command for these fields. The preview is of the last numbers, such as the 1 of 1/3.
  preview_->Dim(!Fault().isEmpty());
  if (!Fault().isEmpty()) ShowCommand("");
  preview_->ExpectPreview();
  if (const QStringList old = watcher_.files() + watcher_.directories(); !old.isEmpty())
    watcher_.removePaths(old);
  std::vector<std::string> files = {job.output};
  for (const auto& [stream, file] : job.inputs) files.push_back(file);
  for (const std::string& name : files) {
    const QFileInfo file(Text(name));
    if (!name.empty())
      watcher_.addPath(file.exists() ? file.filePath() : file.path());  // where it may come to be
  }
  worker_->Refresh(job, preview_->View());
}

void PanelWindow::ShowCommand(const std::string& command) {
  const bool faulty = !Fault().isEmpty();
  const bool known = !faulty && !command.empty();
  command_->setText(known    ? Text(command)
                    : faulty ? "correct the marked field first"
                             : "choose an input and the output file first");
  command_->setCursorPosition(0);
  command_->setToolTip(command_->text());
  command_->setEnabled(known);
  copy_->setEnabled(known);
}

// The job to run, or none when something is missing or the user declines.
std::optional<Job> PanelWindow::JobToRun() {
  if (const QString fault = Fault(); !fault.isEmpty()) {
    Tell(fault);
    if (NumberField* const field = rows_->FirstFault()) field->setFocus();
    return std::nullopt;
  }
  Job job = CurrentJob();
  if (job.output.empty()) {
    Tell(Text(host_.registration.output.label) + " is empty: choose the file to write.");
    return std::nullopt;
  }
  const QFileInfo existing(Text(job.output));
  if (existing.exists()) {
    const QString input = files_->InputToBeReplaced();
    const QString state = input.isEmpty() ? " exists already. Replace it?"
                                          : " is " + input + ": the run replaces it. Replace?";
    if (!UserAgrees(existing.filePath() + state, "Replace", "Cancel")) return std::nullopt;
    job.overwrite = true;
  }
  return job;
}

void PanelWindow::SetRunning(bool running) {
  running_ = running;
  settings_->setEnabled(!running);
  run_->setEnabled(!running);
  paste_->setEnabled(!running);
  reset_->setEnabled(!running);
  cancel_->setEnabled(running);
  preview_->LetDraw(!running && host_.registration.regions);
}

void PanelWindow::Run() {
  run_->setFocus();  // a text that is being typed is then complete; a shortcut leaves it as it is
  const std::optional<Job> job = JobToRun();
  if (!job) return;
  SetRunning(true);
  progress_->setValue(0);
  progress_->setFormat("running");
  sinceRun_.start();
  worker_->Run(*job);
}

void PanelWindow::ShowProgress(double share) {
  progress_->setValue(static_cast<int>(share * kProgressSteps));
  const double elapsed = static_cast<double>(sinceRun_.elapsed()) / 1000;
  constexpr double kShortest = 0.5;  // seconds, to judge by
  if (share >= 1) return progress_->setFormat("completing the file");
  if (share <= 0 || elapsed <= kShortest) return;
  const int left = static_cast<int>(std::ceil(elapsed / share * (1 - share)));
  progress_->setFormat(left < 60 ? QString("%1 s left").arg(left)
                                 : QString("%1 min %2 s left").arg(left / 60).arg(left % 60));
}

void PanelWindow::EndRun(RunEnd end) {
  SetRunning(false);
  progress_->setValue(0);
  progress_->setFormat("failed");
  if (end == RunEnd::kDone) {
    progress_->setFormat("done");
    Tell("Written: " + files_->Output());
  } else if (end == RunEnd::kCancelled) {
    progress_->setFormat("cancelled");
    Tell("Cancelled; nothing was written.");
  }
  refresh_.start();
}

bool PanelWindow::UserAgrees(const QString& question, const QString& yes, const QString& no) {
  QMessageBox box(QMessageBox::Question, windowTitle(), question, QMessageBox::NoButton, this);
  const QPushButton* const agree = box.addButton(yes, QMessageBox::AcceptRole);
  box.setDefaultButton(box.addButton(no, QMessageBox::RejectRole));
  box.exec();
  return box.clickedButton() == agree;
}

void PanelWindow::closeEvent(QCloseEvent* event) {
  // The run may end before the answer; both answers are then right.
  const bool close = !running_ || UserAgrees("A run is in progress. Stop it and close?",
                                             "Stop the run and close", "Keep running");
  event->setAccepted(close);
  if (close) worker_->CancelRun();
}

}  // namespace lumomixcalc::standalone
