#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QThreadPool>
#include <atomic>
#include <functional>
#include <map>
#include <stop_token>
#include <string>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/preview.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

enum class RunEnd { kDone, kCancelled, kFailed };

// Does all that touches the host, on one thread and in the order asked for: it writes the
// user's entries to the addresses that the application bound, and makes every callback, for
// previews, runs and the equivalent command. Call its functions, except Deliver, from the windows'
// thread. They return at once; results go to the listener, also in the windows' thread.
class PanelWorker {
 public:
  using Task = std::function<void()>;
  struct Listener {
    std::function<void(const std::string& command)> commandChanged;  // empty: files are missing
    PreviewMaker::Show imageMade;
    std::function<void(const Findings& findings)> previewMade;  // all images are shown
    std::function<void(const Inspection& inspection)> inspected;
    std::function<void(double share)> progressed;
    std::function<void(const std::string& message)> told;
    std::function<void(RunEnd end)> runEnded;
  };

  // The listener is called in the thread that makes the worker, as long as the worker lives.
  PanelWorker(HostState& host, Listener listener);
  // Cancels the current task and waits for its end. Waiting tasks are dropped.
  ~PanelWorker();

  void Post(Task task);     // to the worker's thread
  void Deliver(Task task);  // to the windows' thread; dropped when the worker has ended

  // Ask for the command and the preview of these settings, or for its elements at a pixel. Of
  // several that wait, only the newest is made. A preview that is being made is completed unless
  // other files are wanted now, or another place and it is slow.
  void Refresh(const Job& job, const View& view);
  void Inspect(QPoint pixel);

  void Run(const Job& job);
  void CancelRun() { run_.request_stop(); }

 private:
  void MakePreview(const Job& job, const View& view, int number, const std::stop_token& stop);
  RunEnd MakeRun(const Job& job, const std::stop_token& stop);
  void Tell(const std::string& message);

  HostState& host_;
  Listener listener_;
  PreviewMaker previews_;
  QObject windows_;  // in the windows' thread; receives what is delivered
  // The numbers of the newest requests; requests with lower numbers are out of date.
  std::atomic<int> newestPreview_ = 0;
  std::atomic<int> newestInspection_ = 0;
  // The following are for the windows' thread only.
  std::map<int, std::string> newestInputs_;
  View newestView_;
  QElapsedTimer sinceStart_;  // of the preview that is being made
  std::stop_source preview_;
  std::stop_source run_;
  QThreadPool thread_;  // last: its destructor waits for the task that uses the others
};

}  // namespace lumomixcalc::standalone
