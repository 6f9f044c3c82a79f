#include "standalone/cli/application_options.h"

#include <algorithm>
#include <array>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kOperatorOption = "-operator=";

// What is wrong with an option, for the end of a sentence; empty when nothing is.
std::string Hint(const std::string& argument, const std::vector<OperatorName>& operators) {
  for (const char* const name : {"a", "b"}) {
    std::array<float, 2> values = {};
    const int count = ParseRealArgument(argument, name, 2, values.data());
    if (count > 0) return "";
    if (count < 0)
      return std::string("; ") + argument + " is not -" + name + "=REAL or -" + name +
             "=REAL:IMAGINARY, such as -" + name +
             "=0.5:-1.5, with numbers that are 0 or from 1e-45 to 3.4e38 in size";
  }
  if (argument == "-clamp") return "";
  std::vector<std::string> known;
  if (argument.starts_with(kOperatorOption)) {
    for (const OperatorName& one : operators) known.push_back(kOperatorOption + one.name);
    if (std::find(known.begin(), known.end(), argument) != known.end()) return "";
    const std::string suggestion = Suggestion(argument, known);
    return suggestion.empty() ? "; see -help" : suggestion;
  }
  known = HostOptionNames();
  known.insert(known.end(), {"-a", "-b", "-operator", "-clamp"});
  const std::string suggestion = Suggestion(argument.substr(0, argument.find('=')), known);
  return suggestion.empty() ? "; see -help" : suggestion;
}

}  // namespace

void ReadApplicationOptions(const std::vector<std::string>& arguments, HostState& host,
                            const std::vector<OperatorName>& operators) {
  std::string told;
  {
    const MessageRedirection redirection([&told](const std::string& sentence) {
      if (told.empty()) told = sentence;
    });
    host.arguments = arguments;
    host.registration.Call(IP_SLOT_READ_CMD_LINE);
  }
  if (!host.desisted) return;
  for (const std::string& argument : arguments)
    if (const std::string hint = Hint(argument, operators); !hint.empty())
      throw WrongCommandLine(told + hint);
  throw WrongCommandLine(told);
}

}  // namespace lumomixcalc::standalone
