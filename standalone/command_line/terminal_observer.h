#ifndef LUMOMIXCALC_STANDALONE_COMMAND_LINE_TERMINAL_OBSERVER_H
#define LUMOMIXCALC_STANDALONE_COMMAND_LINE_TERMINAL_OBSERVER_H

#include <chrono>
#include <mutex>
#include <string>

#include "standalone/messages.h"
#include "standalone/runs/run_observer.h"

namespace lumomixcalc::standalone {

// "[==========                    ]  33 %, 0:42 left"; the time only when it is known, 0 or more
// seconds.
std::string ProgressLine(double share, double secondsLeft);

// The observer of a run on a command line: a signal cancels it, and with showBar a line on standard
// error tells how far it is. The line gives way to messages and is gone when the observer is.
class TerminalObserver : public RunObserver {
 public:
  explicit TerminalObserver(bool showBar);
  ~TerminalObserver() override;

  void Progress(double share) override;
  bool IsCancelled() override;

 private:
  using Clock = std::chrono::steady_clock;

  void Clear();  // with mutex_ held

  bool showBar_;
  Clock::time_point start_ = Clock::now();
  std::mutex mutex_;  // messages come from any thread
  Clock::time_point nextShow_ = start_;
  bool shown_ = false;
  MessageRedirection redirection_;
};

}  // namespace lumomixcalc::standalone

#endif
