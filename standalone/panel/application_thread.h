#ifndef LUMOMIXCALC_STANDALONE_PANEL_APPLICATION_THREAD_H
#define LUMOMIXCALC_STANDALONE_PANEL_APPLICATION_THREAD_H

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/preview.h"
#include "standalone/panel/serial_executor.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

enum class RunEnd { kDone, kCancelled, kFailed };

// The one thread that, from its making on, touches the run host: it writes the user's entries to
// the addresses that the application bound, and makes every callback, for previews, runs and the
// equivalent command alike. So nothing of all this happens side by side, and nobody locks anything.
// All functions here are for the windows' thread and return at once; what comes of them is told
// to the listener, in the windows' thread too.
class ApplicationThread {
 public:
  struct Listener {
    std::function<void(std::string command)> commandChanged;  // empty while files are missing
    std::function<void(Preview preview)> previewMade;
    std::function<void(double share)> progressed;
    std::function<void(std::string message)> told;
    std::function<void(RunEnd end)> runEnded;
  };
  // Calls a function in the windows' thread.
  using Deliver = std::function<void(std::function<void()> letter)>;

  ApplicationThread(HostState& host, Deliver deliver, Listener listener);
  // Cancels what is under way and waits for its end.
  ~ApplicationThread();
  ApplicationThread(const ApplicationThread&) = delete;
  ApplicationThread& operator=(const ApplicationThread&) = delete;

  void Write(float* place, float value);
  void Write(std::int32_t* place, std::int32_t value);

  // Asks for the command and the preview of the settings as they are now. A newer call makes one
  // that has not ended needless.
  void Refresh(const Job& job, int band);

  void Run(const Job& job);
  void CancelRun() { run_.request_stop(); }

 private:
  void MakePreview(const Job& job, int band, const std::stop_token& stop);
  RunEnd MakeRun(const Job& job, const std::stop_token& stop);
  std::function<void(double)> ThrottledProgress();
  std::string Command(const Job& job);
  void Tell(const std::string& message);

  HostState& host_;
  Deliver deliver_;
  Listener listener_;
  PreviewMaker previews_;
  std::stop_source newestPreview_;  // touched by the windows' thread alone, as the next
  std::stop_source run_;
  SerialExecutor executor_;  // last, for its tasks use all of the above
};

}  // namespace lumomixcalc::standalone

#endif
