#include "standalone/base/messages.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

struct Outlet {
  std::mutex mutex;
  MessageSink sink = WriteToStandardError;
};

Outlet& TheOutlet() {
  static Outlet outlet;
  return outlet;
}

MessageSink Exchange(MessageSink sink) {
  const std::lock_guard lock(TheOutlet().mutex);
  return std::exchange(TheOutlet().sink, std::move(sink));
}

}  // namespace

void WriteToStandardError(const std::string& sentence) {
  // One call a line, so that lines of two processes on one terminal do not mix.
  std::fputs((std::string(kProgramName) + ": " + sentence + "\n").c_str(), stderr);
}

MessageRedirection::MessageRedirection(MessageSink sink) : before_(Exchange(std::move(sink))) {}

MessageRedirection::~MessageRedirection() { Exchange(std::move(before_)); }

void Tell(const std::string& sentence) {
  const std::lock_guard lock(TheOutlet().mutex);
  TheOutlet().sink(sentence);
}

void Warn(const std::string& sentence) { Tell("warning: " + sentence); }

}  // namespace lumomixcalc::standalone
