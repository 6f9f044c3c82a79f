#ifndef LUMOMIXCALC_STANDALONE_CLI_USAGE_H
#define LUMOMIXCALC_STANDALONE_CLI_USAGE_H

namespace lumomixcalc::standalone {

struct HostState;

// Prints the usage text to standard output: the host's part, then the application's.
void PrintUsage(HostState& host);

// Prints the versions of the program and of GDAL to standard output.
void PrintVersion();

}  // namespace lumomixcalc::standalone

#endif
