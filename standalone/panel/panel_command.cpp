#include "standalone/panel/panel_command.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <type_traits>
#include <utility>
#include <variant>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {
namespace {

// Calls use with each number of the application's that the rows are bound to, in their order.
template <typename Use>
void ForEachNumber(const std::vector<PanelRow>& rows, Use use) {
  const auto visit = [&use](const auto& element) {
    if constexpr (requires { element.value; }) use(*element.value);
    if constexpr (requires { element.choice; }) use(*element.choice);
    if constexpr (requires { element.on; }) use(*element.on);
  };
  for (const PanelRow& row : rows)
    for (const auto& element : row.elements) std::visit(visit, element);
}

}  // namespace

RowNumbers NumbersOf(const std::vector<PanelRow>& rows) {
  RowNumbers numbers;
  ForEachNumber(rows, [&numbers](auto number) { numbers.push_back(number); });
  return numbers;
}

void SetNumbers(const std::vector<PanelRow>& rows, const RowNumbers& numbers) {
  auto next = numbers.begin();
  ForEachNumber(rows, [&next](auto& number) {
    number = static_cast<std::remove_reference_t<decltype(number)>>(*next++);
  });
}

Job ReadCommand(const std::string& command, HostState& host) {
  const RowNumbers before = NumbersOf(host.panelRows);
  try {
    Options options = ReadOptions(ArgumentsOf(command), host.registration);
    const bool runs = options.action == Options::Action::kRun && !options.job.part;
    if (!runs && options.action != Options::Action::kPanel)
      throw WrongCommandLine("the panel takes only commands of whole runs");
    // The defaults of a start without options, as in the usage text.
    SetNumbers(host.panelRows, RowNumbers(before.size()));
    std::vector<std::string> arguments = {"-a=1", "-b=1", "-operator=a1+b2"};
    std::ranges::copy(options.applicationArguments, std::back_inserter(arguments));
    ReadApplicationOptions(arguments, host, {});
    PlaceFiles(options, host.registration);
    return options.job;
  } catch (const WrongCommandLine&) {
    SetNumbers(host.panelRows, before);
    throw;
  }
}

std::string NoteOn(const HostState& host, const std::vector<std::string>& options) {
  if (std::ranges::find(options, "-b=1:0") == options.end()) return "";
  for (const PanelRow& row : host.panelRows)
    for (const auto& element : row.elements)
      if (const auto* const list = std::get_if<Pulldown>(&element))
        return NoteOnB(list->labels[static_cast<std::size_t>(*list->choice)]);
  return "";
}

std::string PanelCommand(Job job, HostState& host) {
  std::map<int, std::string> files = std::exchange(job.inputs, {});
  files[host.registration.output.number] = std::exchange(job.output, "");
  std::string command = ReproducingCommand(job, host.registration, EchoOptions(host)) + " -panel";
  for (const DeclaredStream& stream : AllStreams(host.registration))
    if (const std::string& file = files[stream.number]; !file.empty())
      command.append(" ").append(ShellWord(stream.OptionName() + "=" + file));
  return command;
}

}  // namespace lumomixcalc::standalone
