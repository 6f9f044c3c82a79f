#ifndef LUMOMIXCALC_STANDALONE_PANEL_APPLICATION_THREAD_H
#define LUMOMIXCALC_STANDALONE_PANEL_APPLICATION_THREAD_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"
#include "standalone/panel/preview.h"
#include "standalone/panel/serial_executor.h"

namespace lumomixcalc::standalone {

enum class RunEnd { kDone, kCancelled, kFailed };

// The one thread that, from its making on, touches the run context: it writes the user's entries to
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

  ApplicationThread(RunContext& context, Deliver deliver, Listener listener);
  // Cancels what is under way and waits for its end.
  ~ApplicationThread();
  ApplicationThread(const ApplicationThread&) = delete;
  ApplicationThread& operator=(const ApplicationThread&) = delete;

  void Write(float* place, float value);
  void Write(std::int32_t* place, std::int32_t value);

  // Asks for the command and the preview of the settings as they are now. A newer call makes one
  // that has not ended needless.
  void Refresh(const Options& options, int band);

  void Run(const Options& options);
  void CancelRun() { runCancelled_ = true; }

 private:
  class PreviewObserver;
  class BatchObserver;

  void MakePreview(const Options& options, int band, std::uint64_t request);
  RunEnd MakeRun(const Options& options);
  std::string Command(const Options& options);
  void Tell(const std::string& message);

  RunContext& context_;
  Deliver deliver_;
  Listener listener_;
  PreviewMaker previews_;
  std::atomic<std::uint64_t> newestRequest_ = 0;
  std::atomic<bool> runCancelled_ = false;
  SerialExecutor executor_;  // last, for its tasks use all of the above
};

}  // namespace lumomixcalc::standalone

#endif
