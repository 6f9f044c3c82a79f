// Command lines read as the program reads them, for its tests and its fuzz targets.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/cli/command_echo.h"
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

// The words that a shell makes of a command in which all special characters are quoted.
inline std::vector<std::string> ShellWords(const std::string& command) {
  std::vector<std::string> words(1);
  bool quoted = false;
  bool escapes = false;  // in $'...'
  for (std::size_t i = 0; i < command.size(); ++i) {
    const char c = command[i];
    if (!quoted && command.compare(i, 2, "$'") == 0) {
      escapes = true;
    } else if (c == '\'') {
      quoted = !quoted;
      escapes = escapes && quoted;
    } else if (escapes && command.compare(i, 2, "\\x") == 0) {
      words.back() += static_cast<char>(std::stoi(command.substr(i + 2, 2), nullptr, 16));
      i += 3;
    } else if (c == '\\' && (!quoted || escapes)) {
      words.back() += command[++i];
    } else if (c == ' ' && !quoted) {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

// All that decides on a run, floats by their bits, though a NaN says nothing by them.
inline auto Decisive(const Job& job) {
  std::array parts = {gCoeffA[0], gCoeffA[1], gCoeffB[0], gCoeffB[1]};
  for (float& part : parts)
    if (std::isnan(part)) part = NAN;
  const Selection& selected = job.selection;
  const bool coarser = selected.resolution != 1;
  return std::make_tuple(
      job.files, job.mode, job.format, job.creationOptions,
      selected.region ? ToText(*selected.region) : "",
      selected.window ? ToText(*selected.window) : "", selected.resolution, selected.looks.x,
      selected.looks.y, coarser ? selected.resampling : Resampling::kNearest, job.bands,
      job.elements.keepNoData, job.elements.noData, job.elements.unscale, job.outputNoData,
      job.openOptions, std::bit_cast<std::array<std::uint32_t, 4>>(parts), gOperationChoice,
      gClampAtZero != 0);
}

// Reads a command line. One that asks for a run must come back the same from the command that is
// said to repeat it, else this ends the process. Returns whether it asks for a run; throws
// WrongCommandLine.
inline bool ComesBackTheSame(const std::vector<std::string>& arguments) {
  const Options options = ReadCommandLine(arguments);
  if (options.action != Options::Action::kRun) return false;
  const auto decided = Decisive(options.job);
  HostState& host = TheHostState();
  const std::string command = ReproducingCommand(options.job, host.registration, EchoOptions(host));
  std::vector<std::string> words = ShellWords(command);
  words.erase(words.begin());
  try {
    if (Decisive(ReadCommandLine(words).job) == decided) return true;
  } catch (const WrongCommandLine&) {
    // What was accepted must be accepted again.
  }
  std::fprintf(stderr, "not repeated by: %s\n", command.c_str());
  std::abort();
}

}  // namespace lumomixcalc::standalone
