#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/cli/options.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

// Does what the options ask for. SIGINT, SIGTERM and SIGHUP request the stop.
using Action = std::function<void(const Options& options, HostState& host, std::stop_token stop)>;

// The common main function of the batch program and the panel's program. Registers the application
// and reads the arguments, which come after the program's name. Shows the help or the version if
// they ask for it, otherwise has the application read its own options and calls act. Reports the
// exceptions that act throws. Returns the exit status.
//
// A signal requests a stop. After the stop the process dies of that signal, so that a shell's loop
// ends, too. It dies at the latest one second after the signal, or at a second signal, whatever its
// threads are doing.
int RunProgram(const std::vector<std::string>& arguments, const Action& act);

// Whether the environment names a display.
bool DisplayIsNamed();

}  // namespace lumomixcalc::standalone
