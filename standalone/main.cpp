// The batch program: makes one run, joins parts, or starts the panel's program in its place.
#include <cpl_string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/cli/command_echo.h"
#include "standalone/cli/progress_bar.h"
#include "standalone/program.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/parts.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {
namespace {

// The panel is a separate program in the same folder. So a batch run does not load the graphical
// toolkit, and a server does not need it.
std::filesystem::path PanelProgram() {
  std::error_code ignored;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return own.parent_path() / (std::string(kProgramName) + "-panel");
}

// In a script, standard input or output is usually a file or a pipe.
bool IsFileOrPipe(int descriptor) {
  struct stat status = {};
  return fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode));
}

bool PanelCanBeShown() {
  std::error_code ignored;
  return DisplayIsNamed() && !IsFileOrPipe(STDIN_FILENO) && !IsFileOrPipe(STDOUT_FILENO) &&
         std::filesystem::exists(PanelProgram(), ignored);
}

// Replaces this process by the panel's program with these arguments.
[[noreturn]] void StartPanel(const std::vector<std::string>& arguments) {
  const std::string program = PanelProgram();
  CPLStringList words;
  words.AddString(program.c_str());
  for (const std::string& argument : arguments) words.AddString(argument.c_str());
  execv(program.c_str(), words.List());
  throw WrongCommandLine("-panel: cannot start " + program + ": " + std::strerror(errno) +
                         "; it is in the package lumomixcalc-panel; to run without the panel, " +
                         "name files and options (see -help)");
}

RunReport Run(const Options& options, HostState& host, const std::stop_token& stop) {
  const std::string command = ReproducingCommand(options.job, host.registration, EchoOptions(host));
  std::optional<ProgressBar> bar;
  if (!options.quiet && !options.progress && isatty(STDERR_FILENO) != 0) bar.emplace();
  int told = -1;
  const auto show = [&](double share) {
    if (bar) bar->Show(share);
    const int percent = static_cast<int>(share * 100);
    if (options.progress && percent > told) std::fprintf(stderr, "%d\n", told = percent);
  };
  if (options.checkOnly) return RunReport(CheckRun(options.job, command, host));
  return RunBatch(options.job, command, host, {stop, show});
}

void RunOrJoin(const Options& options, HostState& host, const std::stop_token& stop) {
  SetUpGdal();
  const RunReport report = options.action == Options::Action::kJoin
                               ? JoinParts(options.mosaic, options.job)
                               : Run(options, host, stop);
  if (options.checkOnly) std::puts(options.job.output.c_str());
  if (options.quiet || options.checkOnly || options.job.statisticsFile == "-") return;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    std::puts(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]).c_str());
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // A desktop starts the program without arguments.
  if (arguments.empty() && PanelCanBeShown()) arguments = {"-panel"};
  return RunProgram(arguments,
                    [&](const Options& options, HostState& host, const std::stop_token& stop) {
                      if (options.action == Options::Action::kPanel) StartPanel(arguments);
                      RunOrJoin(options, host, stop);
                    });
}
