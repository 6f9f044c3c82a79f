#ifndef LUMOMIXCALC_STANDALONE_PANEL_PANEL_WINDOW_H
#define LUMOMIXCALC_STANDALONE_PANEL_PANEL_WINDOW_H

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
class RunBar;

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
  QWidget* MakeReports();
  void AddShortcuts();
  void StartWorker();

  void RestoreHabits();
  void SaveHabits() const;
  void PlaceOnScreen();

  Job CurrentJob() const;
  void Refresh();
  std::optional<Job> JobToRun();
  void Run();
  void EndRun(RunEnd end);
  void ShowCommand(const std::string& command);
  void ShowPreview(const Preview& preview);
  void CopyCommand();
  bool UserAgrees(const QString& question, const QString& yes);

  HostState& host_;
  Job first_;
  std::vector<FileField*> files_;  // the inputs, then the output
  QWidget* settings_ = nullptr;
  RowsView* rows_ = nullptr;
  OutputSettings* output_ = nullptr;
  RunBar* runBar_ = nullptr;
  PreviewPane* preview_ = nullptr;
  QLineEdit* command_ = nullptr;
  QPushButton* copy_ = nullptr;
  QPlainTextEdit* messages_ = nullptr;
  QSplitter* columns_ = nullptr;
  bool running_ = false;
  std::unique_ptr<PanelWorker> worker_;  // last: it ends before what it reports to
};

}  // namespace lumomixcalc::standalone

#endif
