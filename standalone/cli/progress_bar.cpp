#include "standalone/cli/progress_bar.h"

#include <cpl_string.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>

namespace lumomixcalc::standalone {
namespace {

constexpr std::chrono::milliseconds kBeforeFirst(500);  // a short run shows nothing
constexpr std::chrono::milliseconds kBetween(100);

// Shows the time only when secondsLeft is not negative.
std::string ProgressLine(double share, double secondsLeft) {
  constexpr double kWidth = 30;
  const std::string bar(static_cast<std::size_t>(share * kWidth), '=');
  std::string line = CPLSPrintf("[%-30s] %3d %%", bar.c_str(), static_cast<int>(share * 100));
  const auto left = static_cast<long>(std::ceil(secondsLeft));
  if (left >= 0) line += CPLSPrintf(", %ld:%02ld left", left / 60, left % 60);
  return line;
}

}  // namespace

ProgressBar::ProgressBar()
    : nextShow_(start_ + kBeforeFirst), redirection_([this](const auto& text) {
        const std::lock_guard lock(mutex_);
        Clear();
        WriteToStandardError(text);
      }) {}

ProgressBar::~ProgressBar() {
  const std::lock_guard lock(mutex_);
  Clear();
}

void ProgressBar::Show(double share) {
  const Clock::time_point now = Clock::now();
  const std::lock_guard lock(mutex_);
  if (now < nextShow_) return;
  nextShow_ = now + kBetween;
  const double passed = std::chrono::duration<double>(now - start_).count();
  Clear();
  std::fputs(ProgressLine(share, share > 0 ? passed * (1 - share) / share : -1).c_str(), stderr);
  shown_ = true;
}

void ProgressBar::Clear() {
  constexpr const char* kEraseLine = "\r\033[K";
  if (shown_) std::fputs(kEraseLine, stderr);
  shown_ = false;
}

}  // namespace lumomixcalc::standalone
