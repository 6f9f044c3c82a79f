#ifndef LUMOMIXCALC_STANDALONE_CLI_COMMAND_ECHO_H
#define LUMOMIXCALC_STANDALONE_CLI_COMMAND_ECHO_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/framework/registration.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// An echoed option with the digits that "%g" dropped: when option is "-NAME=" with exactly the
// values read for NAME in six digits each, their shortest exact decimals take the place of those.
// Any other option is returned as it is.
std::string WithAllDigits(std::string_view option,
                          const std::map<std::string, std::vector<float>>& realOptions);

// The same for options that a panel set: when option is "-NAME=" with exactly the values of one of
// the rows in six digits each. That row is taken out of rows, so that the next option, should its
// values differ only in later digits, gets its own.
std::string WithAllDigits(std::string_view option, std::vector<std::vector<float>>& rows);

// Has the application echo its options, and gives them back with all digits: those of the panel's
// fields where there is a panel, else those read from the command line.
std::vector<std::string> EchoOptions(HostState& host);

// word as a shell reads it back: itself, or between single quotes. With control characters it is
// written as $'...', which bash, zsh and ksh read.
std::string ShellWord(const std::string& word);

// The command that repeats a run, for a POSIX shell: program, files, the host's options that bear
// on the result, and the application's options as it echoed them (they come quoted).
std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions);

}  // namespace lumomixcalc::standalone

#endif
