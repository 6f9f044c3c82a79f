#ifndef LUMOMIXCALC_STANDALONE_CLI_PROGRESS_BAR_H
#define LUMOMIXCALC_STANDALONE_CLI_PROGRESS_BAR_H

#include <chrono>
#include <mutex>
#include <string>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

// "[==========                    ]  33 %, 0:42 left"; the time only when it is known, 0 or more
// seconds.
std::string ProgressLine(double share, double secondsLeft);

// Shows on standard error how far a run is, unless showBar is false. The line gives way to messages
// and is removed with its owner.
class ProgressBar {
 public:
  explicit ProgressBar(bool showBar);
  ~ProgressBar();

  void Show(double share);

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
