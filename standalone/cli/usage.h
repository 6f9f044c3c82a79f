#pragma once

#include <vector>

#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {

// Both print to standard output: the usage text, the application's part included, or the versions
// of the program and of GDAL.
void PrintUsage(const Registration& registration, const std::vector<OperatorName>& operators);
void PrintVersion();

}  // namespace lumomixcalc::standalone
