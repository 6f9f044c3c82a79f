#include "standalone/cli/progress_bar.h"

#include <cmath>
#include <cstddef>
#include <cstdio>

namespace lumomixcalc::standalone {
namespace {

constexpr std::chrono::milliseconds kBeforeFirst(500);  // a short run shows nothing
constexpr std::chrono::milliseconds kBetween(100);

std::string TimeText(double seconds) {
  const auto whole = static_cast<long>(std::ceil(seconds));
  char text[32];
  if (whole < 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
  return text;
}

}  // namespace

std::string ProgressLine(double share, double secondsLeft) {
  constexpr std::size_t kWidth = 30;
  const auto done = static_cast<std::size_t>(share * static_cast<double>(kWidth));
  char percent[16];
  std::snprintf(percent, sizeof percent, "] %3d %%", static_cast<int>(share * 100));
  std::string line = "[";
  line.append(done, '=').append(kWidth - done, ' ').append(percent);
  if (secondsLeft >= 0) line += ", " + TimeText(secondsLeft) + " left";
  return line;
}

ProgressBar::ProgressBar(bool showBar)
    : showBar_(showBar), nextShow_(start_ + kBeforeFirst), redirection_([this](const auto& text) {
        const std::lock_guard lock(mutex_);
        Clear();
        WriteToStandardError(text);
      }) {}

ProgressBar::~ProgressBar() {
  const std::lock_guard lock(mutex_);
  Clear();
}

void ProgressBar::Show(double share) {
  if (!showBar_) return;
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
  if (!shown_) return;
  constexpr const char* kEraseLine = "\r\033[K";
  std::fputs(kEraseLine, stderr);
  shown_ = false;
}

}  // namespace lumomixcalc::standalone
