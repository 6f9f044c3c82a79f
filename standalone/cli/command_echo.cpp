#include <cpl_string.h>
#include <wordexp.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {
namespace {

// What printf writes in the C locale. The panel's process has the user's locale.
std::string SixDigits(float value) { return CPLSPrintf("%g", static_cast<double>(value)); }

// Values by the name of their option. The values of a panel row have an empty name.
using RealValues = std::multimap<std::string, std::vector<float>>;

std::string RealOption(const std::string& name, const std::vector<float>& values,
                       std::string (*print)(float)) {
  std::vector<std::string> texts;
  for (const float value : values) texts.push_back(print(value));
  return "-" + name + "=" + Joined(texts, ":");
}

// The file alone, or "-label=file" when it has no position or could be taken for an option.
std::string FileArgument(const DeclaredStream& stream, const std::string& file, bool positional) {
  if (positional && !file.starts_with('-')) return file;
  return stream.OptionName() + "=" + file;
}

// Restores the digits of an echoed option that "%g" dropped. When option is "-NAME=" followed by
// the values of NAME, or of a panel row, with six digits each, it returns the option with the
// shortest exact decimals. It returns any other option unchanged. Used values are removed from
// read: when two rows differ only in later digits, the next option gets the values of the other
// row.
std::string WithAllDigits(const std::string& option, RealValues& read) {
  const std::string name =
      option.substr(0, option.find('=')).substr(option.starts_with('-') ? 1 : 0);
  const auto found = std::ranges::find_if(read, [&](const auto& one) {
    return (one.first.empty() || one.first == name) &&
           option == RealOption(name, one.second, SixDigits);
  });
  if (found == read.end()) return option;
  std::string complete = RealOption(name, found->second, ShortestText);
  read.erase(found);
  return complete;
}

}  // namespace

std::vector<std::string> EchoOptions(HostState& host) {
  host.echoedOptions.clear();
  host.registration.Call(IP_SLOT_WRITE_CMD_LINE);
  RealValues read;
  if (host.panelRows.empty()) read.insert(host.realOptions.begin(), host.realOptions.end());
  for (const PanelRow& row : host.panelRows) {
    std::vector<float> values;
    for (const auto& element : row.elements)
      if (const auto* field = std::get_if<FloatField>(&element)) values.push_back(*field->value);
    if (!values.empty()) read.emplace("", std::move(values));
  }
  std::vector<std::string> options;
  for (const std::string& echoed : host.echoedOptions)
    options.push_back(WithAllDigits(echoed, read));
  return options;
}

std::vector<std::string> ArgumentsOf(const std::string& command) {
  std::vector<std::string> words;
  wordexp_t split = {};
  if (wordexp(command.c_str(), &split, WRDE_NOCMD) == 0) {
    words.assign(split.we_wordv, split.we_wordv + split.we_wordc);
    wordfree(&split);
  }
  const std::string program =
      words.empty() ? "" : std::filesystem::path(words[0]).filename().string();
  // The scripts of the package have options of the same names, but other meanings.
  if (program != kProgramName && program != std::string(kProgramName) + "-panel")
    throw WrongCommandLine(std::string("the text is not a command of ") + kProgramName);
  words.erase(words.begin());
  // It would hold for the whole process and could be seen nowhere.
  if (std::ranges::find(words, "--config") != words.end())
    throw WrongCommandLine("--config: the panel takes settings of GDAL only when it is started");
  return words;
}

std::vector<std::string> HostArguments(const Job& job) {
  std::vector<std::string> arguments;
  for (const HostOption& option : HostOptions())
    if (option.field.echo)
      for (const std::string& text : option.field.echo(job))
        arguments.push_back(std::string(option.name).append(text.empty() ? "" : "=").append(text));
  return arguments;
}

std::string ReproducingCommand(const Job& job, const Registration& registration,
                               const std::vector<std::string>& echoedOptions) {
  std::vector<std::string> words = {kProgramName};
  bool positional = true;  // until the first input that is missing
  for (const DeclaredStream& input : registration.inputs) {
    const auto file = job.inputs.find(input.number);
    if (file == job.inputs.end())
      positional = false;
    else
      words.push_back(FileArgument(input, file->second, positional));
  }
  if (!job.output.empty()) words.push_back(FileArgument(registration.output, job.output, true));
  std::ranges::copy(HostArguments(job), std::back_inserter(words));
  for (std::string& word : words) word = ShellWord(word);
  words.insert(words.end(), echoedOptions.begin(), echoedOptions.end());
  return Joined(words, " ");
}

}  // namespace lumomixcalc::standalone
