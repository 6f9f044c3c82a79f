#include "standalone/runs/interruption.h"

#include <signal.h>

#include <atomic>

namespace lumomixcalc::standalone {
namespace {

std::atomic<int> noted = 0;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

void Note(int signal) {
  int none = 0;
  noted.compare_exchange_strong(none, signal);
}

}  // namespace

void NoteInterruptions() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Note;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
  }
}

int InterruptingSignal() { return noted; }

}  // namespace lumomixcalc::standalone
