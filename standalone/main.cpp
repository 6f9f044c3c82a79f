// The batch program: one run, or the panel's program in its place.
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/command_line/terminal_observer.h"
#include "standalone/panel_start.h"
#include "standalone/program.h"
#include "standalone/rasters/gdal_setup.h"
#include "standalone/runs/batch_run.h"
#include "standalone/runs/interruption.h"

namespace lumomixcalc::standalone {
namespace {

void RunOnce(const Options& options, RunContext& context) {
  SetUpGdal();
  NoteInterruptions();
  TerminalObserver observer(!options.quiet && isatty(STDERR_FILENO) != 0);
  const RunReport report = RunBatch(options, context, observer);
  if (options.quiet || options.statisticsFile == "-") return;
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
  return RunProgram(arguments, IPAppSpecifics, [&](const Options& options, RunContext& context) {
    if (options.action == Options::Action::kPanel) StartPanel(arguments);
    RunOnce(options, context);
  });
}
