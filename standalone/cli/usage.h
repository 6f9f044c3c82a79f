#pragma once

#include <vector>

#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {

// Print to standard output: the usage text with the application's part, the versions of the program
// and of GDAL, the operators, a line for each with its name, a tab and its formula, or what a shell
// completes: a line for each option, "-name" or "-name=", and for each known value, "-name=value",
// which is "@" for any file.
void PrintUsage(const Registration& registration, const std::vector<ApplicationChoice>& choices);
void PrintVersion();
void PrintOperators(const std::vector<ApplicationChoice>& choices);
void PrintCompletions(const Registration& registration,
                      const std::vector<ApplicationChoice>& choices);

}  // namespace lumomixcalc::standalone
