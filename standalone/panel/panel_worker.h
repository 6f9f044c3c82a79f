#pragma once

#include <QObject>
#include <QThreadPool>
#include <functional>
#include <set>
#include <stop_token>
#include <string>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/preview.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

enum class RunEnd { kDone, kCancelled, kFailed };

// Does all that touches the run host, on one thread and in the order asked for: it writes the
// user's entries to the addresses that the application bound, and makes every callback, for
// previews, runs and the equivalent command. All functions here are for the windows' thread and
// return at once; results go to the listener, in the windows' thread too.
class PanelWorker {
 public:
  using Task = std::function<void()>;
  struct Listener {
    std::function<void(const std::string& command)> commandChanged;  // empty: files are missing
    std::function<void(const Preview& preview)> previewMade;
    std::function<void(double share)> progressed;
    std::function<void(const std::string& message)> told;
    std::function<void(RunEnd end)> runEnded;
  };

  // The listener is called in the thread of windows, as long as that object lives.
  PanelWorker(HostState& host, QObject& windows, Listener listener);
  // Cancels what is being done and waits for its end; what has not begun is dropped.
  ~PanelWorker();

  void Post(Task task);  // to the worker's thread
  // Asks for the command and the preview of these settings; cancels what was asked for before.
  void Refresh(const Job& job, int band);
  void Run(const Job& job);
  void CancelRun() { run_.request_stop(); }

 private:
  void Deliver(Task task);  // to the windows' thread
  void MakePreview(const Job& job, int band, const std::stop_token& stop);
  RunEnd MakeRun(const Job& job, const std::stop_token& stop);
  std::string Command(const Job& job);
  void Tell(const std::string& message);

  HostState& host_;
  QObject& windows_;
  Listener listener_;
  PreviewMaker previews_;
  std::set<std::string> warned_;    // the warnings that previews gave
  std::stop_source newestPreview_;  // touched by the windows' thread alone, as the next
  std::stop_source run_;
  QThreadPool thread_;
};

}  // namespace lumomixcalc::standalone
