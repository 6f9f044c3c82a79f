#include "standalone/cli/command_echo.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/cli/selection_options.h"

namespace lumomixcalc::standalone {
namespace {

std::string SixDigits(float value) {
  // As printf's %g in the C locale; a panel's process has the user's.
  char text[32];
  return {text, std::to_chars(std::begin(text), std::end(text), static_cast<double>(value),
                              std::chars_format::general, 6)
                    .ptr};
}

std::string RealOption(const std::string& name, const std::vector<float>& values,
                       std::string (*print)(float)) {
  std::string option = "-";
  option += name;
  char separator = '=';
  for (const float value : values) {
    option += separator + print(value);
    separator = ':';
  }
  return option;
}

// Named files come as "-label=file"; a positional one may not look like an option.
std::string FileArgument(const DeclaredStream& stream, const std::string& file, bool positional) {
  if (positional && !file.starts_with('-')) return file;
  return std::string("-").append(stream.OptionName()).append("=").append(file);
}

}  // namespace

std::string WithAllDigits(std::string_view option,
                          const std::map<std::string, std::vector<float>>& realOptions) {
  for (const auto& [name, values] : realOptions)
    if (option == RealOption(name, values, SixDigits))
      return RealOption(name, values, ShortestText);
  return std::string(option);
}

std::string WithAllDigits(std::string_view option, std::vector<std::vector<float>>& rows) {
  const std::size_t equals = option.find('=');
  if (!option.starts_with('-') || equals == std::string_view::npos) return std::string(option);
  const std::string name(option.substr(1, equals - 1));
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const std::vector<float>& values) {
    return option == RealOption(name, values, SixDigits);
  });
  if (row == rows.end()) return std::string(option);
  std::string complete = RealOption(name, *row, ShortestText);
  rows.erase(row);
  return complete;
}

std::vector<std::string> EchoOptions(HostState& host) {
  host.echoedOptions.clear();
  host.registration.Call(IP_SLOT_WRITE_CMD_LINE);
  std::vector<std::vector<float>> rows = host.panel.FieldValues();
  std::vector<std::string> options;
  for (const std::string& echoed : host.echoedOptions)
    options.push_back(host.panel.Rows().empty() ? WithAllDigits(echoed, host.realOptions)
                                                : WithAllDigits(echoed, rows));
  return options;
}

std::string ShellWord(const std::string& word) {
  constexpr const char* kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
  // zsh takes a word that begins with = for a command's name.
  if (!word.empty() && !word.starts_with('=') &&
      word.find_first_not_of(kPlain) == std::string::npos)
    return word;
  const bool hasControls = WithVisibleControls(word) != word;
  std::string quoted = hasControls ? "$'" : "'";
  for (const char c : word) {
    if (hasControls && (c == '\'' || c == '\\'))
      quoted.append("\\").append(1, c);
    else if (c == '\'')
      quoted += "'\\''";
    else
      quoted += hasControls ? WithVisibleControls(std::string(1, c)) : std::string(1, c);
  }
  return quoted + "'";
}

std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions) {
  std::vector<std::string> words = {kProgramName};
  bool positional = true;  // up to the first input that is missing
  for (const DeclaredStream& input : registration.inputs) {
    const auto file = job.files.find(input.number);
    if (file == job.files.end())
      positional = false;
    else
      words.push_back(FileArgument(input, file->second, positional));
  }
  const DeclaredStream& output = registration.Output();
  words.push_back(FileArgument(output, job.files.at(output.number), true));
  if (job.mode) words.push_back(std::string("-mode=") + job.mode->name);
  if (!job.format.empty()) words.push_back("-format=" + job.format);
  for (const std::string& option : job.creationOptions) words.push_back("-co=" + option);
  for (const std::string& argument : SelectionArguments(job.selection, job.bands))
    words.push_back(argument);
  if (job.keepNoData) words.emplace_back("-nodata=keep");

  std::string command;
  for (const std::string& word : words) {
    if (!command.empty()) command += ' ';
    command += ShellWord(word);
  }
  for (const std::string& option : echoedOptions) command.append(" ").append(option);
  return command;
}

}  // namespace lumomixcalc::standalone
