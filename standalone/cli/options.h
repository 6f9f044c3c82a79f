#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// The command line, as far as it is the host's.
struct Options {
  enum class Action { kRun, kPanel, kHelp, kVersion };

  Action action = Action::kRun;
  Job job;
  bool quiet = false;
  std::vector<std::string> applicationArguments;
  std::vector<std::string> filesWithoutName;
};

// Reads the arguments after the program's name. What begins with a dash and is not the host's is
// left to the application; after "--" everything is a file. Files that are not named by an option
// wait for PlaceFiles, so that all options are judged first. Throws WrongCommandLine.
Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration);

// Gives the files without a name to the streams that have none yet. Throws WrongCommandLine.
void PlaceFiles(Options& options, const Registration& registration);

// "-mode", "-format" and all other options of the host.
std::vector<std::string> HostOptionNames();

// The files of a command line as the usage text shows them: "FILE1 [FILE2] SAVE".
std::string FilesSynopsis(const Registration& registration);

}  // namespace lumomixcalc::standalone
