#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/cli/options.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

// Does what the options ask for; stop is requested by SIGINT, SIGTERM or SIGHUP.
using Action = std::function<void(const Options& options, HostState& host, std::stop_token stop)>;

// What the batch program and the panel's program do alike: registers the application, reads the
// arguments after the program's name, shows the help or the version where they ask for it, else
// lets the application read its own and acts on all of them. Tells what act throws. Returns the
// exit status.
//
// A signal requests a stop, after which the process dies of that signal, so that a shell's loop
// ends, too. One second later, or at a second signal, it does so at once, whatever its threads do.
int RunProgram(const std::vector<std::string>& arguments, const Action& act);

bool DisplayIsNamed();

}  // namespace lumomixcalc::standalone
