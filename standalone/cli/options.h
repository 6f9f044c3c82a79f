#ifndef LUMOMIXCALC_STANDALONE_CLI_OPTIONS_H
#define LUMOMIXCALC_STANDALONE_CLI_OPTIONS_H

#include <string>
#include <vector>

#include "standalone/framework/registration.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// The command line, as far as it is the host's.
struct Options {
  enum class Action { kRun, kPanel, kHelp, kVersion };

  Action action = Action::kRun;
  Job job;
  bool quiet = false;
  std::vector<std::string> applicationArguments;
};

// Reads the arguments after the program's name. What begins with a dash and is not the host's is
// left to the application; after "--" everything is a file. Throws WrongCommandLine.
Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration);

// The files of a command line as the usage text shows them: "FILE1 [FILE2] SAVE".
std::string FilesSynopsis(const Registration& registration);

}  // namespace lumomixcalc::standalone

#endif
