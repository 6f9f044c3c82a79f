#pragma once

#include <chrono>
#include <mutex>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

// Shows on standard error how far a run is, as in
// "[==========                    ]  33 %, 0:42 left". The line gives way to messages and is
// removed with its owner.
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
