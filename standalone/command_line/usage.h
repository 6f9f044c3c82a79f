#ifndef LUMOMIXCALC_STANDALONE_COMMAND_LINE_USAGE_H
#define LUMOMIXCALC_STANDALONE_COMMAND_LINE_USAGE_H

namespace lumomixcalc::standalone {

struct RunContext;

// Prints the usage text to standard output: the host's part, then the application's.
void PrintUsage(RunContext& context);

// Prints the versions of the program and of GDAL to standard output.
void PrintVersion();

}  // namespace lumomixcalc::standalone

#endif
