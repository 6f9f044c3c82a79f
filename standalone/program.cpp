#include "standalone/program.h"

#include <cpl_string.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <thread>

#include "host/ip.h"
#include "ops/catalogue.h"
#include "standalone/base/messages.h"
#include "standalone/cli/options.h"
#include "standalone/rasters/publication.h"

namespace lumomixcalc::standalone {
namespace {

// If descriptor 0, 1 or 2 is closed at the start, a file opened later would get its number, and
// messages would be written into that file.
void OpenStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
    // open() takes the lowest free descriptor, which is this one.
    if (fcntl(descriptor, F_GETFD) == -1) open("/dev/null", O_RDWR);
}

// Ends the process with a signal.
[[noreturn]] void DieOf(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  raise(signal);  // sent to this thread, because another may still wait for the signal
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  constexpr int kInterrupted = 128;  // plus the signal's number, as in shells
  _exit(kInterrupted + signal);
}

// The signal that requested the stop. 0 when none did.
std::atomic<int> theSignal = 0;

// Waits for a signal and ends the process at the latest a second later.
void EndAtASignal(const sigset_t& signals, const std::stop_source& source) {
  int signal = 0;
  if (sigwait(&signals, &signal) != 0) return;
  theSignal = signal;
  source.request_stop();
  constexpr timespec kLongest = {1, 0};
  sigtimedwait(&signals, nullptr, &kLongest);
  RemovePublicationFolders();
  DieOf(signal);
}

// The stop is requested when SIGINT, SIGTERM or SIGHUP arrives. The signals are blocked in all
// threads started later; one thread, which ends with the process, does nothing but wait for them.
std::stop_token StopAtASignal() {
  sigset_t signals = {};
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    // A signal that was ignored when the process started, as with nohup, stays ignored.
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
      sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  const std::stop_source source;
  try {
    std::thread(EndAtASignal, signals, source).detach();
  } catch (const std::system_error& error) {
    throw Failure("cannot start a thread: " + error.code().message());
  }
  return source.get_token();
}

// The operator that the application took.
ApplicationChoice ChosenOperator(HostState& host, const std::vector<ApplicationChoice>& choices) {
  for (CPLString echoed : EchoOptions(host))
    for (const ApplicationChoice& choice : choices)
      if (echoed.replaceAll("'", "") == choice.argument) return choice;
  return {};
}

void Run(const std::vector<std::string>& arguments, const Action& act,
         const std::stop_token& stop) {
  HostState& host = TheHostState();
  IPAppSpecifics();
  std::vector<ApplicationChoice> choices;
  for (const Operator& one : kOperators)
    choices.push_back({std::string("-operator=") + one.commandName, one.label});
  Options options = ReadOptions(arguments, host.registration);
  using enum Options::Action;
  if (options.action > kJoin) std::signal(SIGPIPE, SIG_DFL);  // as in "-help | head"
  if (options.action == kHelp) return PrintUsage(host.registration, choices);
  if (options.action == kVersion) return PrintVersion();
  if (options.action == kOperators) return PrintOperators(choices);
  if (options.action == kCompletions) return PrintCompletions(host.registration, choices);
  if (options.action != kJoin) {
    ReadApplicationOptions(options.applicationArguments, host, choices);
    PlaceFiles(options, host.registration);
  }
  if (options.action == kRun) {
    const ApplicationChoice chosen = ChosenOperator(host, choices);
    CheckInputs(options, host, chosen.argument);
    const std::string note = NoteOnB(chosen.meaning);
    if (!note.empty() && host.realOptions["b"].empty()) Tell("note: without -b= " + note);
  }
  act(options, host, stop);
}

ExitStatus RunAndReport(const std::vector<std::string>& arguments, const Action& act) {
  try {
    Run(arguments, act, StopAtASignal());
    if (std::fflush(stdout) != 0) throw Failure("cannot write to standard output");
    return ExitStatus::kDone;
  } catch (const Cancelled&) {
    Tell(std::string("stopped by a signal (") + strsignal(theSignal) + "); nothing was written");
    return ExitStatus::kFailed;
  } catch (const Desisted& desisted) {
    return desisted.Status();
  } catch (const Failure& failure) {
    Tell(failure.what());
    return failure.Status();
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
    return ExitStatus::kFailed;
  }
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments, const Action& act) {
  OpenStandardDescriptors();
  // A write beyond a file-size limit, or to a pipe that nobody reads, must fail and not end the
  // process.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  const ExitStatus status = RunAndReport(arguments, act);
  if (theSignal != 0) {
    std::fflush(nullptr);
    DieOf(theSignal);
  }
  return static_cast<int>(status);
}

bool DisplayIsNamed() {
  return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
}

}  // namespace lumomixcalc::standalone
