#pragma once

#include <chrono>
#include <mutex>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

// Shows the progress of a run on standard error, as in
// "[==========                    ]  33 %, 0:42 left". The line is erased before a message is shown
// and when the object is destroyed.
class ProgressBar {
 public:
  ProgressBar();
  ~ProgressBar();

  void Show(double share);

 private:
  using Clock = std::chrono::steady_clock;

  void Clear();  // with mutex_ held

  Clock::time_point start_ = Clock::now();
  std::mutex mutex_;  // messages come from any thread
  Clock::time_point nextShow_;
  bool shown_ = false;
  MessageRedirection redirection_;
};

}  // namespace lumomixcalc::standalone
