// Command lines read as the program reads them, for its tests and its fuzz targets.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/cli/options.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

// Puts host and application back to where a process starts, and registers the application.
inline HostState& StartAfresh() {
  gCoeffA[0] = gCoeffB[0] = 1;
  gCoeffA[1] = gCoeffB[1] = 0;
  gOperationChoice = gClampAtZero = 0;
  TheHostState() = {};
  IPAppSpecifics();
  return TheHostState();
}

// Reads a command line as a process does that starts. Throws WrongCommandLine.
inline Options ReadCommandLine(const std::vector<std::string>& arguments) {
  HostState& host = StartAfresh();
  Options options = ReadOptions(arguments, host.registration);
  ReadApplicationOptions(options.applicationArguments, host, {});
  PlaceFiles(options, host.registration);
  return options;
}

// All that decides on the elements of a run, floats by their bits, though a NaN says nothing by
// them.
inline auto Decisive(const Job& job) {
  // All fields are named, so that a new one must be considered here.
  auto [inputs, output, mode, format, creationOptions, selection, bands, elements, openOptions,
        outputNoData, statisticsFile, overwrite, strict, warnings, part] = job;
  std::array parts = {gCoeffA[0], gCoeffA[1], gCoeffB[0], gCoeffB[1]};
  for (float& number : parts)
    if (std::isnan(number)) number = NAN;
  for (std::optional<double>* const value : {&elements.noData, &outputNoData})
    if (*value && std::isnan(**value)) *value = INFINITY;    // else unequal to itself
  if (selection.resolution == 1) selection.resampling = {};  // without effect
  return std::tuple(inputs, output, mode, format, creationOptions, selection, bands, elements,
                    openOptions, outputNoData, std::bit_cast<std::array<std::uint32_t, 4>>(parts),
                    gOperationChoice, gClampAtZero != 0);
}

// Reads a command line. One that asks for a run must come back the same from the command that is
// said to repeat it, else this ends the process; but one with control characters, which bash alone
// reads. Returns whether it was compared; throws WrongCommandLine.
inline bool ComesBackTheSame(const std::vector<std::string>& arguments) {
  const Options options = ReadCommandLine(arguments);
  const auto hasControls = [](const auto& text) { return WithVisibleControls(text) != text; };
  if (options.action != Options::Action::kRun || std::ranges::any_of(arguments, hasControls))
    return false;
  const auto decided = Decisive(options.job);
  HostState& host = TheHostState();
  const std::string command = ReproducingCommand(options.job, host.registration, EchoOptions(host));
  try {
    if (Decisive(ReadCommandLine(ArgumentsOf(command)).job) == decided) return true;
  } catch (const WrongCommandLine&) {
    // What was accepted must be accepted again.
  }
  std::fprintf(stderr, "not repeated by: %s\n", command.c_str());
  std::abort();
}

}  // namespace lumomixcalc::standalone
