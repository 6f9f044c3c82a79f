#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// Has the application echo its options, and gives them back with all digits: those of the panel's
// fields where there is a panel, else those read from the command line.
std::vector<std::string> EchoOptions(HostState& host);

// word as a shell reads it back: itself, or between single quotes. With control characters it is
// written as $'...', which bash, zsh and ksh read.
std::string ShellWord(const std::string& word);

// The arguments that a shell would make of a command of this program. Throws WrongCommandLine when
// the text is no such command.
std::vector<std::string> ArgumentsOf(const std::string& command);

// The options that say the same as selection and bands, each in its whole "-name=value".
std::vector<std::string> SelectionArguments(const Selection& selection,
                                            const std::vector<int>& bands);

// The command that repeats a run, for a POSIX shell: program, files, the host's options that bear
// on the result, and the application's options as it echoed them (they come quoted).
std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions);

// Whether the options clamp an output that is not clamped: a complex one.
bool ClampIsIdle(const std::vector<std::string>& echoedOptions, const DataMode& mode);

}  // namespace lumomixcalc::standalone
