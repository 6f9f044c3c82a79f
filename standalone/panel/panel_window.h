#pragma once

#include <memory>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/panel_worker.h"
#include "standalone/panel/widgets.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

class OutputSettings;
class PreviewPane;
class RowsView;

// The application's panel: its files and rows, the part of the files to use and how to store the
// result, the run, and a live preview. It knows only what the application declared and described.
class PanelWindow : public QWidget {
 public:
  // host holds the registration and the rows; first is what the panel shows first. Nothing else
  // may touch the host, or what the rows are bound to, while the window lives.
  PanelWindow(HostState& host, const Job& first);
  // Cancels a run without a question, and keeps size, display and files for the next start.
  ~PanelWindow() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* MakeSettings();
  QLayout* MakeRunBar();
  QLayout* MakeReports();
  void AddShortcuts();

  void RestoreHabits();
  void SaveHabits() const;

  Job CurrentJob() const;
  void Refresh();
  std::optional<Job> JobToRun();
  void Run();
  void ShowProgress(double share);
  void EndRun(RunEnd end);
  void SetRunning(bool running);
  void ShowCommand(const std::string& command);
  void ShowPreview(const Preview& images);
  bool UserAgrees(const QString& question, const QString& yes);

  HostState& host_;
  Job first_;
  std::vector<FileField*> files_;  // the inputs, then the output
  QWidget* settings_ = new QWidget;
  RowsView* rows_ = nullptr;
  OutputSettings* output_ = nullptr;
  PreviewPane* preview_ = nullptr;
  QPushButton* run_ = Named(new QPushButton("&Run"), "Run");
  QPushButton* cancel_ = Named(new QPushButton("Cancel"), "Cancel");
  QProgressBar* progress_ = Named(new QProgressBar, "Progress of the run");
  QLabel* runState_ = Named(new QLabel, "Run state");
  QElapsedTimer sinceRun_;
  QLineEdit* command_ = Named(new QLineEdit, "Command", "Equivalent command");
  QPushButton* copy_ = Named(new QPushButton("&Copy"), "Copy", "Copy the command");
  QPlainTextEdit* messages_ = Named(new QPlainTextEdit, "Messages");
  QSplitter* columns_ = new QSplitter;
  bool running_ = false;
  std::unique_ptr<PanelWorker> worker_;  // last: it ends before what it reports to
};

}  // namespace lumomixcalc::standalone
