// The panel's program.
#include <cpl_vsi.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/panel/show_panel.h"
#include "standalone/program.h"

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // What it shows may have fewer files than a run needs, as after this option.
  if (std::ranges::find(arguments, "-panel") == arguments.end())
    arguments.insert(arguments.begin(), "-panel");
  const bool saysNothing = arguments.size() == 1;
  return RunProgram(arguments, [saysNothing](const Options& options, HostState& host,
                                             const std::stop_token& stop) {
    // Without a display Qt would abort.
    if (!DisplayIsNamed() && !std::getenv("QT_QPA_PLATFORM"))
      throw Failure("-panel needs a display, and neither DISPLAY nor WAYLAND_DISPLAY is set");
    Job job = options.job;
    // The second of two files that does not exist yet is the one to write. GDAL looks for it: it
    // may be in an archive.
    VSIStatBufL status = {};
    if (options.filesWithoutName.size() == 2 && job.inputs.size() == 2 && job.output.empty() &&
        job.inputs.rbegin()->second.find(':') == std::string::npos &&
        VSIStatL(job.inputs.rbegin()->second.c_str(), &status) != 0) {
      job.output = job.inputs.rbegin()->second;
      job.inputs.erase(std::prev(job.inputs.end()));
    }
    ShowPanel(saysNothing ? std::nullopt : std::optional(job), host, stop);
  });
}
