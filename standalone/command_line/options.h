#ifndef LUMOMIXCALC_STANDALONE_COMMAND_LINE_OPTIONS_H
#define LUMOMIXCALC_STANDALONE_COMMAND_LINE_OPTIONS_H

#include <map>
#include <string>
#include <vector>

#include "standalone/application/registration.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/output_grid.h"

namespace lumomixcalc::standalone {

// The command line, as far as it is the host's.
struct Options {
  enum class Action { kRun, kPanel, kHelp, kVersion };

  Action action = Action::kRun;
  std::map<int, std::string> files;          // by stream number: one input or more, and the output;
                                             // for a panel, any of them or none
  const DataMode* mode = nullptr;            // null when none was chosen
  std::string format;                        // empty when none was chosen
  std::vector<std::string> creationOptions;  // NAME=VALUE
  Selection selection;                       // region and resolution
  std::vector<int> bands;                    // from 1, in the output's order; empty for all
  bool keepNoData = false;                   // no-data values of the inputs stay numbers
  std::string statisticsFile;                // "-" for standard output; empty for none
  bool overwrite = false;
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
