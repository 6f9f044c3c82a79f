#ifndef LUMOMIXCALC_STANDALONE_PANEL_PANEL_WINDOW_H
#define LUMOMIXCALC_STANDALONE_PANEL_PANEL_WINDOW_H

#include <QWidget>
#include <list>
#include <memory>
#include <string>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/application_thread.h"
#include "standalone/panel/file_row.h"
#include "standalone/panel/gui_mailbox.h"
#include "standalone/runs/job.h"

class QGridLayout;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QSplitter;

namespace lumomixcalc::standalone {

class OutputSettings;
class PreviewPane;
class RowsView;
class RunBar;

// The application's panel: its files and rows, what to take of the files and how to store the
// result, the run, and a live preview. It knows what the application declared and described, not
// the application.
class PanelWindow : public QWidget {
 public:
  // host holds the registration and the rows; first is what the panel shows first. Nothing else
  // may touch the host, or what the rows are bound to, while the window lives. Throws Failure.
  PanelWindow(HostState& host, const Job& first);
  ~PanelWindow() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* MakeSettings();
  QWidget* MakeReports();
  void MakePreview();
  void AddFileRows(QGridLayout& grid);
  void AddShortcuts();
  void StartApplicationThread();

  void RestoreHabits();
  void SaveHabits() const;
  void PlaceOnScreen();

  Job CurrentJob() const;
  void Refresh();
  void Run();
  void EndRun(RunEnd end);
  void ShowCommand(const std::string& command);
  void ShowPreview(const Preview& preview);
  void ShowMessage(const QString& message);
  void CopyCommand();
  bool UserAgrees(const QString& question, const QString& yes);

  HostState& host_;
  Job first_;
  std::list<FileRow> files_;  // the inputs, then the output; a list, for they must not move
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
  GuiMailbox mailbox_;
  std::unique_ptr<ApplicationThread> application_;  // last: it ends before what it reports to
};

}  // namespace lumomixcalc::standalone

#endif
