#ifndef LUMOMIXCALC_TESTS_FUZZ_PROGRAM_STATE_H
#define LUMOMIXCALC_TESTS_FUZZ_PROGRAM_STATE_H

#include <string>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"
#include "standalone/messages.h"

namespace lumomixcalc {

/// Puts host and application back to where a process starts, and registers the application.
inline standalone::RunContext& StartAnew() {
  gCoeffA[0] = gCoeffB[0] = 1;
  gCoeffA[1] = gCoeffB[1] = 0;
  gOperationChoice = 0;
  gClampAtZero = 0;
  standalone::RunContext& context = standalone::Context();
  context = {};
  IPAppSpecifics();
  return context;
}

/// Reads a command line as the program does. Throws WrongCommandLine.
inline standalone::Options ReadCommandLine(const std::vector<std::string>& arguments,
                                           standalone::RunContext& context) {
  standalone::Options options = standalone::ReadOptions(arguments, context.registration);
  context.arguments = options.applicationArguments;
  context.registration.Call(IP_SLOT_READ_CMD_LINE);
  if (context.desisted) throw standalone::WrongCommandLine("");
  return options;
}

}  // namespace lumomixcalc

#endif
