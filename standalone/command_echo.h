#ifndef LUMOMIXCALC_STANDALONE_COMMAND_ECHO_H
#define LUMOMIXCALC_STANDALONE_COMMAND_ECHO_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/options.h"
#include "standalone/registration.h"

namespace lumomixcalc::standalone {

// An echoed option with the digits that "%g" dropped: when option is "-NAME=" with exactly the
// values read for NAME in six digits each, their shortest exact decimals take the place of those.
// Any other option is returned as it is.
std::string WithAllDigits(std::string_view option,
                          const std::map<std::string, std::vector<float>>& realOptions);

// word as a POSIX shell reads it back: itself, or between single quotes.
std::string ShellWord(const std::string& word);

// The command that repeats a run, for a POSIX shell: program, files, the host's options that bear
// on the result, and the application's options as it echoed them (they come quoted).
std::string ReproducingCommand(const Options& options, const Registration& registration,
                               const std::vector<std::string>& echoedOptions);

}  // namespace lumomixcalc::standalone

#endif
