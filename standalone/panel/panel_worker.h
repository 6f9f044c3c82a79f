#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QThreadPool>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/preview.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// Does tasks from any thread in its own, the one in which it was made. QMetaObject::invokeMethod
// would do, but the thread sanitizer sees nothing of how Qt orders what it hands over.
class Inbox : public QObject {
 public:
  void Put(std::function<void()> task) {
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
  }

 protected:
  void customEvent(QEvent*) override {
    std::unique_lock lock(mutex_);
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
  }

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

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
    PreviewMaker::Show imageMade;
    std::function<void(const Findings& findings)> previewMade;  // all images are shown
    std::function<void(const Inspection& inspection)> inspected;
    std::function<void(double share)> progressed;
    std::function<void(const std::string& message)> told;
    std::function<void(RunEnd end)> runEnded;
  };

  // The listener is called in the thread that makes the worker, as long as the worker lives.
  PanelWorker(HostState& host, Listener listener);
  // Cancels what is being done and waits for its end; what has not begun is dropped.
  ~PanelWorker();

  void Post(Task task);     // to the worker's thread
  void Deliver(Task task);  // to the windows' thread, from the worker's

  // Ask for the command and the preview of these settings, or for the elements at a pixel. Of
  // several that wait, only the newest is made. A preview that is being made comes to its end
  // unless it reads other files than are wanted now, or slowly another place.
  void Refresh(const Job& job, const View& view);
  void Inspect(const Job& job, int band, QPoint pixel);

  void Run(const Job& job);
  void CancelRun() { run_.request_stop(); }

 private:
  // Tasks of one kind, of which one at a time is done. For the windows' thread.
  struct Newest {
    std::optional<Task> next;
    bool busy = false;
    QElapsedTimer sinceStart;  // of the one that is done
  };
  void Ask(Newest& kind, Task task);
  void StartNext(Newest& kind);
  void MakePreview(const Job& job, const View& view, const std::stop_token& stop);
  RunEnd MakeRun(const Job& job, const std::stop_token& stop);
  std::string Command(const Job& job) const;
  void Tell(const std::string& message);

  HostState& host_;
  Inbox windows_;  // the windows' thread
  Listener listener_;
  PreviewMaker previews_;
  // Touched by the windows' thread alone, as the next.
  Newest previewsAsked_;
  Newest inspectionsAsked_;
  Job newestJob_;
  View newestView_;
  std::stop_source preview_;
  std::stop_source run_;
  QThreadPool thread_;
};

}  // namespace lumomixcalc::standalone
