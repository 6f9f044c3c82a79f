#pragma once

#include <memory>
#include <optional>
#include <string>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/panel_worker.h"
#include "standalone/panel/widgets.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

class FilesView;
class Inspector;
class OutputSettings;
class PreviewPane;
class RowsView;

// The application's panel: files, rows, the part of the files to use, how to store the result, the
// run, and a live preview. It knows only what the application declared and described.
class PanelWindow : public QWidget {
 public:
  // first is what the panel shows at its start; none for what it showed last. Nothing else may
  // touch the host, or what its rows are bound to, while the window lives.
  PanelWindow(HostState& host, const std::optional<Job>& first);
  // Cancels a run without a question, and keeps size, display and settings for the next start.
  ~PanelWindow() override;

  bool IsRunning() const { return running_; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  QWidget* MakeSettings();
  QWidget* MakeSide();
  QLayout* MakeRunBar();
  QLayout* MakeCommandBar();
  void AddShortcuts();

  void RestoreDisplay();
  void SaveSettings();

  Job CurrentJob() const;
  void Take(const QString& command, bool withFiles);
  void ShowJob(const Job& job, bool withFiles);
  void TakeRows();
  void TakeChange();
  void ShowFindings(const Findings& findings);
  QString Fault() const;
  void ShowNotes();
  void Tell(const QString& message) { messages_->appendPlainText(message); }
  void Refresh();
  std::optional<Job> JobToRun();
  void Run();
  void ShowProgress(double share);
  void EndRun(RunEnd end);
  void SetRunning(bool running);
  void ShowCommand(const std::string& command);
  bool UserAgrees(const QString& question, const QString& yes, const QString& no);

  HostState& host_;
  QWidget* settings_ = new QWidget;
  FilesView* files_ = nullptr;
  RowsView* rows_ = nullptr;
  OutputSettings* output_ = nullptr;
  PreviewPane* preview_ = nullptr;
  Inspector* inspector_ = nullptr;
  QLabel* resolved_ = Named(new QLabel, "Resolved output");
  Findings findings_;
  QPushButton* run_ = Named(new QPushButton("&Run"), "Run");
  QPushButton* cancel_ = Named(new QPushButton("Cancel"), "Cancel");
  QProgressBar* progress_ = Named(new QProgressBar, "Progress of the run");
  QElapsedTimer sinceRun_;
  QLineEdit* command_ = Named(new QLineEdit, "Command", "Equivalent command");
  QPushButton* copy_ = Named(new QPushButton("&Copy"), "Copy", "Copy the command");
  QPushButton* reset_ =
      Named(new QPushButton("Reset"), "Reset", "Reset all settings but the files");
  QPushButton* paste_ =
      Named(new QPushButton("&Paste"), "Paste", "Take the settings from a command");
  // Notes about the run that the settings describe, then what runs have told.
  QPlainTextEdit* messages_ = Named(new QPlainTextEdit, "Messages", "Notes and messages");
  QSplitter* columns_ = new QSplitter;
  QFileSystemWatcher watcher_;  // of the files of the last preview, or their folders
  bool running_ = false;
  // Runs until all events at hand are handled: several changes are then one, and no layout changes
  // while another one does.
  QTimer refresh_{this};
  std::unique_ptr<PanelWorker> worker_;  // last: it ends before what it reports to
};

}  // namespace lumomixcalc::standalone
