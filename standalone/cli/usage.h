#pragma once

#include <vector>

#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {

// Print to standard output: the usage text with the application's part, or the versions of the
// program and of GDAL.
void PrintUsage(const Registration& registration, const std::vector<OperatorName>& operators);
void PrintVersion();

}  // namespace lumomixcalc::standalone
