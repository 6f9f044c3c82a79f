// Reads any command line, one argument a line, by host and application together. One that is
// accepted must come back the same from the command that is said to repeat the run.
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "standalone/cli/command_echo.h"
#include "standalone/cli/selection_options.h"
#include "tests/fuzz/program_state.h"

namespace {

using namespace lumomixcalc;
using namespace lumomixcalc::standalone;

std::vector<std::string> Lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  // An argument ends at its first zero byte.
  for (std::string line; std::getline(stream, line);) lines.emplace_back(line.c_str());
  return lines;
}

// The words that a shell makes of a command in which all special characters are quoted.
std::vector<std::string> ShellWords(const std::string& command) {
  std::vector<std::string> words(1);
  bool quoted = false;
  for (std::size_t i = 0; i < command.size(); ++i) {
    const char c = command[i];
    if (c == '\'')
      quoted = !quoted;
    else if (c == '\\' && !quoted)
      words.back() += command[++i];
    else if (c == ' ' && !quoted)
      words.emplace_back();
    else
      words.back() += c;
  }
  return words;
}

// All that decides on a run, floats by their bits, though a NaN says nothing by them.
auto Decisive(const Job& job) {
  std::array parts = {gCoeffA[0], gCoeffA[1], gCoeffB[0], gCoeffB[1]};
  for (float& part : parts)
    if (std::isnan(part)) part = NAN;
  return std::make_tuple(job.files, job.mode, job.format, job.creationOptions,
                         SelectionArguments(job.selection, job.bands), job.keepNoData,
                         std::bit_cast<std::array<std::uint32_t, 4>>(parts), gOperationChoice,
                         gClampAtZero != 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  HostState& host = StartAnew();
  bool accepted = false;
  try {
    const Options options =
        ReadCommandLine(Lines({reinterpret_cast<const char*>(data), size}), host);
    if (options.action != Options::Action::kRun) return 0;
    accepted = true;
    const std::vector<std::string> words =
        ShellWords(ReproducingCommand(options.job, host.registration, EchoOptions(host)));
    const auto decided = Decisive(options.job);

    StartAnew();
    if (Decisive(ReadCommandLine({words.begin() + 1, words.end()}, host).job) != decided)
      std::abort();
  } catch (const WrongCommandLine&) {
    // Told to the user; what was accepted must be accepted again, though.
    if (accepted) std::abort();
  }
  return 0;
}
