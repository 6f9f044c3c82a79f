#include "standalone/program.h"

#include <string.h>

#include <csignal>
#include <cstdio>
#include <exception>

#include "host/ip.h"
#include "standalone/command_line/usage.h"
#include "standalone/messages.h"
#include "standalone/runs/interruption.h"

namespace lumomixcalc::standalone {
namespace {

void Run(const std::vector<std::string>& arguments, int (*registerApplication)(),
         const std::function<void(const Options&, RunContext&)>& act) {
  RunContext& context = Context();
  registerApplication();
  context.registration.CheckThatHostCanServe();
  const Options options = ReadOptions(arguments, context.registration);
  if (options.action == Options::Action::kHelp) return PrintUsage(context);
  if (options.action == Options::Action::kVersion) return PrintVersion();
  context.arguments = options.applicationArguments;
  context.registration.Call(IP_SLOT_READ_CMD_LINE);
  if (context.desisted) throw WrongCommandLine("");
  act(options, context);
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments, int (*registerApplication)(),
               const std::function<void(const Options&, RunContext&)>& act) {
  constexpr int kInterrupted = 128;  // plus the signal's number, as shells have it
  // A write beyond a file-size limit shall fail rather than end the process.
  std::signal(SIGXFSZ, SIG_IGN);
  ExitStatus status = ExitStatus::kFailed;
  try {
    Run(arguments, registerApplication, act);
    if (std::fflush(stdout) != 0) throw Failure("cannot write to standard output");
    status = ExitStatus::kDone;
  } catch (const RunCancelled&) {
    const int signal = InterruptingSignal();
    Tell(std::string("stopped by a signal (") + strsignal(signal) + "); nothing was written");
    return kInterrupted + signal;
  } catch (const Failure& failure) {
    // No text: the application has told the user already.
    if (*failure.what() != '\0') Tell(failure.what());
    status = failure.Status();
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
  }
  return static_cast<int>(status);
}

}  // namespace lumomixcalc::standalone
