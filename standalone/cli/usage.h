#pragma once

#include <vector>

#include "standalone/cli/application_options.h"

namespace lumomixcalc::standalone {

// Prints the usage text to standard output: the host's part, then the application's.
void PrintUsage(HostState& host, const std::vector<OperatorName>& operators);

// Prints the versions of the program and of GDAL to standard output.
void PrintVersion();

}  // namespace lumomixcalc::standalone
