#ifndef LUMOMIXCALC_TESTS_FUZZ_PROGRAM_STATE_H
#define LUMOMIXCALC_TESTS_FUZZ_PROGRAM_STATE_H

#include <string>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/cli/application_options.h"
#include "standalone/cli/options.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc {

/// Puts host and application back to where a process starts, and registers the application.
inline standalone::HostState& StartAnew() {
  gCoeffA[0] = gCoeffB[0] = 1;
  gCoeffA[1] = gCoeffB[1] = 0;
  gOperationChoice = 0;
  gClampAtZero = 0;
  standalone::HostState& host = standalone::TheHostState();
  host = {};
  IPAppSpecifics();
  return host;
}

/// Reads a command line as the program does. Throws WrongCommandLine.
inline standalone::Options ReadCommandLine(const std::vector<std::string>& arguments,
                                           standalone::HostState& host) {
  standalone::Options options = standalone::ReadOptions(arguments, host.registration);
  standalone::ReadApplicationOptions(options.applicationArguments, host, {});
  standalone::PlaceFiles(options, host.registration);
  return options;
}

}  // namespace lumomixcalc

#endif
