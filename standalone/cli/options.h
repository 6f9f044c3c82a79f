#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// What the command line asks for.
struct Options {
  enum class Action { kRun, kJoin, kPanel, kHelp, kVersion };

  Action action = Action::kRun;
  Job job;
  std::string mosaic;  // of parts that are to be joined
  bool quiet = false;
  std::vector<std::string> applicationArguments;
  std::vector<std::string> filesWithoutName;
};

struct OperatorName {
  std::string name;   // as -operator= takes it
  std::string label;  // its formula
};

// Reads the arguments after the program's name. What begins with a dash and is not the host's is
// left to the application; after "--" everything is a file. Files that are not named by an option
// wait for PlaceFiles, so that all options are judged first. Throws WrongCommandLine.
Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration);

// Has the application read its own options. Throws WrongCommandLine with what the application says
// of a faulty one and what was expected: the nearest known name, or the form of a number.
void ReadApplicationOptions(const std::vector<std::string>& arguments, HostState& host,
                            const std::vector<OperatorName>& operators);

// Gives the files without a name to the streams that have none yet. Throws WrongCommandLine.
void PlaceFiles(Options& options, const Registration& registration);

// The files of a command line as the usage text shows them: "FILE1 [FILE2] SAVE".
std::string FilesSynopsis(const Registration& registration);

}  // namespace lumomixcalc::standalone
