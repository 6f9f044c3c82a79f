#include "standalone/program.h"

#include <pthread.h>
#include <signal.h>
#include <string.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/cli/usage.h"

namespace lumomixcalc::standalone {
namespace {

// Requests a stop when SIGINT, SIGTERM or SIGHUP comes. A thread of its own waits for them: they
// are blocked in all threads that start later.
class SignalWatch {
 public:
  SignalWatch() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action = {};
      // One that the process was started to ignore, as nohup does, stays ignored.
      if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
        sigaddset(&signals_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    std::thread([this] {
      int signal = 0;
      if (sigwait(&signals_, &signal) != 0) return;
      signal_ = signal;
      source_.request_stop();
    }).detach();
  }
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  std::stop_token Token() const { return source_.get_token(); }
  int Signal() const { return signal_; }

 private:
  sigset_t signals_ = {};
  std::stop_source source_;
  std::atomic<int> signal_ = 0;
};

// Never destroyed: its thread waits to the end of the process.
SignalWatch& TheSignalWatch() {
  static auto* const watch = new SignalWatch;
  return *watch;
}

void Run(const std::vector<std::string>& arguments, int (*registerApplication)(),
         const Action& act) {
  HostState& host = TheHostState();
  registerApplication();
  host.registration.CheckThatHostCanServe();
  const Options options = ReadOptions(arguments, host.registration);
  if (options.action == Options::Action::kHelp) return PrintUsage(host);
  if (options.action == Options::Action::kVersion) return PrintVersion();
  host.arguments = options.applicationArguments;
  host.registration.Call(IP_SLOT_READ_CMD_LINE);
  if (host.desisted) throw Desisted(ExitStatus::kWrongCommandLine);
  act(options, host, TheSignalWatch().Token());
}

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value && *value != '\0';
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments, int (*registerApplication)(),
               const Action& act) {
  constexpr int kInterrupted = 128;  // plus the signal's number, as shells have it
  // A write beyond a file-size limit shall fail rather than end the process.
  signal(SIGXFSZ, SIG_IGN);
  try {
    Run(arguments, registerApplication, act);
    if (std::fflush(stdout) != 0) throw Failure("cannot write to standard output");
    return static_cast<int>(ExitStatus::kDone);
  } catch (const Cancelled&) {
    const int signal = TheSignalWatch().Signal();
    Tell(std::string("stopped by a signal (") + strsignal(signal) + "); nothing was written");
    return kInterrupted + signal;
  } catch (const Desisted& desisted) {
    return static_cast<int>(desisted.Status());
  } catch (const Failure& failure) {
    Tell(failure.what());
    return static_cast<int>(failure.Status());
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
    return static_cast<int>(ExitStatus::kFailed);
  }
}

bool DisplayIsNamed() { return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY"); }

}  // namespace lumomixcalc::standalone
