#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// Has the application echo its options and returns them with all digits. The exact values come from
// the panel's fields, or without a panel from the command line.
std::vector<std::string> EchoOptions(HostState& host);

// The arguments of a command of this program, split as a shell does. Throws WrongCommandLine when
// the text is not such a command.
std::vector<std::string> ArgumentsOf(const std::string& command);

// The host's options, "-name=value", that a command for this job needs.
std::vector<std::string> HostArguments(const Job& job);

// The command that repeats a run, for a POSIX shell: the program, the files, the host's options
// that affect the result, and the options that the application echoed, which are quoted already.
std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions);

}  // namespace lumomixcalc::standalone
