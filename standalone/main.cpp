// The program: registers the application, reads the command line, runs or shows the panel.
#include <string.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"
#include "standalone/command_line/terminal_observer.h"
#include "standalone/command_line/usage.h"
#include "standalone/messages.h"
#include "standalone/panel/panel.h"
#include "standalone/rasters/gdal_setup.h"
#include "standalone/runs/batch_run.h"
#include "standalone/runs/interruption.h"

namespace lumomixcalc::standalone {
namespace {

void ReadApplicationArguments(const Options& options, RunContext& context) {
  context.arguments = options.applicationArguments;
  context.registration.Call(IP_SLOT_READ_CMD_LINE);
  if (context.desisted) throw WrongCommandLine("");
}

// Failures that know no file are told with the output's name.
RunReport RunNamingTheOutput(const Options& options, RunContext& context, RunObserver& observer) {
  const std::string& output = options.files.at(context.registration.Output().number);
  try {
    return RunBatch(options, context, observer);
  } catch (const std::bad_alloc&) {
    throw Failure("there is not enough memory to make " + output);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure("cannot write " + output + ": " + error.code().message());
  }
}

void RunObserved(const Options& options, RunContext& context) {
  TerminalObserver observer(!options.quiet && isatty(STDERR_FILENO) != 0);
  const RunReport report = RunNamingTheOutput(options, context, observer);
  if (options.quiet || options.statisticsFile == "-") return;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    std::puts(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]).c_str());
}

void Run(const std::vector<std::string>& arguments) {
  RunContext& context = Context();
  IPAppSpecifics();
  context.registration.CheckThatHostCanServe();
  const Options options = ReadOptions(arguments, context.registration);
  switch (options.action) {
    case Options::Action::kHelp:
      return PrintUsage(context);
    case Options::Action::kVersion:
      return PrintVersion();
    case Options::Action::kRun:
      ReadApplicationArguments(options, context);
      SetUpGdal();
      NoteInterruptions();
      return RunObserved(options, context);
    case Options::Action::kPanel:
      ReadApplicationArguments(options, context);
      return ShowPanel(options, context);
  }
}

int RunAndReport(const std::vector<std::string>& arguments) {
  constexpr int kInterrupted = 128;  // plus the signal's number, as shells have it
  ExitStatus status = ExitStatus::kFailed;
  try {
    Run(arguments);
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

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  // A write beyond a file-size limit shall fail rather than end the process.
  std::signal(SIGXFSZ, SIG_IGN);
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // Whoever starts it from a desktop gives no arguments.
  if (arguments.empty() && PanelCanBeShown()) arguments = {"-panel"};
  return RunAndReport(arguments);
}
