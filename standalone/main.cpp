// The batch program: one run, or the panel's program in its place.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/cli/command_echo.h"
#include "standalone/cli/progress_bar.h"
#include "standalone/program.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/batch.h"

namespace lumomixcalc::standalone {
namespace {

// The panel is a program of its own beside this one: a batch run would otherwise load the graphical
// toolkit for nothing, and a server need not have it.
std::filesystem::path PanelProgram() {
  std::error_code ignored;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return own.parent_path() / (std::string(kProgramName) + "-panel");
}

bool PanelCanBeShown() {
  std::error_code ignored;
  return DisplayIsNamed() && std::filesystem::exists(PanelProgram(), ignored);
}

// Turns this process into the panel's program with these arguments.
[[noreturn]] void StartPanel(const std::vector<std::string>& arguments) {
  const std::string program = PanelProgram();
  std::vector<std::string> texts = {program};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers(texts.size() + 1);  // the last one null
  std::transform(texts.begin(), texts.end(), pointers.begin(),
                 [](std::string& text) { return text.data(); });
  execv(program.c_str(), pointers.data());
  throw WrongCommandLine("-panel: cannot start " + program + ": " + std::strerror(errno) +
                         "; without the panel, name files and options (see -help)");
}

void RunOnce(const Options& options, HostState& host, const std::stop_token& stop) {
  SetUpGdal();
  ProgressBar bar(!options.quiet && isatty(STDERR_FILENO) != 0);
  const std::string command = ReproducingCommand(options.job, host.registration, EchoOptions(host));
  const RunReport report =
      RunBatch(options.job, command, host, {stop, [&bar](double share) { bar.Show(share); }});
  if (options.quiet || options.job.statisticsFile == "-") return;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    std::puts(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]).c_str());
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // Whoever starts it from a desktop gives no arguments.
  if (arguments.empty() && PanelCanBeShown()) arguments = {"-panel"};
  return RunProgram(arguments, IPAppSpecifics,
                    [&](const Options& options, HostState& host, const std::stop_token& stop) {
                      if (options.action == Options::Action::kPanel) StartPanel(arguments);
                      RunOnce(options, host, stop);
                    });
}
