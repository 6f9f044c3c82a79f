// Reads any command line, one argument a line, by host and application together. One that is
// accepted must come back the same from the command that is said to repeat the run.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "standalone/command_line/command_echo.h"
#include "standalone/command_line/selection_options.h"
#include "tests/fuzz/program_state.h"

namespace {

using namespace lumomixcalc;
using namespace lumomixcalc::standalone;

std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    // An argument ends at its first zero byte.
    lines.emplace_back(std::string(text.substr(0, end)).c_str());
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
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

// All that decides on a run, floats by their bits.
auto Decisive(const Options& options) {
  std::string bits(sizeof gCoeffA + sizeof gCoeffB, '\0');
  std::memcpy(bits.data(), gCoeffA, sizeof gCoeffA);
  std::memcpy(bits.data() + sizeof gCoeffA, gCoeffB, sizeof gCoeffB);
  return std::make_tuple(options.files, options.mode, options.format, options.creationOptions,
                         SelectionArguments(options.selection, options.bands), options.keepNoData,
                         bits, gOperationChoice, gClampAtZero != 0);
}

// A NaN says nothing by its bits.
void UnifyNaNs() {
  for (float* coefficient : {gCoeffA, gCoeffB})
    for (int part = 0; part < 2; ++part)
      if (coefficient[part] != coefficient[part]) coefficient[part] = -1234567;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RunContext& context = StartAnew();
  try {
    const Options options =
        ReadCommandLine(Lines({reinterpret_cast<const char*>(data), size}), context);
    if (options.action != Options::Action::kRun) return 0;
    const std::vector<std::string> words =
        ShellWords(ReproducingCommand(options, context.registration, EchoOptions(context)));
    UnifyNaNs();
    const auto decided = Decisive(options);

    StartAnew();
    const Options repeated = ReadCommandLine({words.begin() + 1, words.end()}, context);
    UnifyNaNs();
    if (Decisive(repeated) != decided) std::abort();
  } catch (const WrongCommandLine&) {
    // Told to the user; what was accepted must be accepted again, though.
    if (!context.echoedOptions.empty()) std::abort();
  }
  return 0;
}
