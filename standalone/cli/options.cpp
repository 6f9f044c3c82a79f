#include "standalone/cli/options.h"

#include <cpl_string.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

using Values = std::span<const std::string>;

// Takes the option that rest begins with. Returns the number of arguments taken, which is 0 when
// it is not an option of the host.
std::size_t TakeHostOption(Values rest, Options& options) {
  const std::string& argument = rest[0];
  const std::string name = NameOf(argument);
  const bool hasValue = name != argument;
  const HostOption* const option = FindHostOption(name);
  if (!option || (hasValue && (option->values == 0 || option->name.empty()))) return 0;
  const auto read = [&](const std::string& text) {
    if ((option->values == 0 || !text.empty()) && option->field.read(options, text)) return;
    throw WrongCommandLine(name + (text.empty() ? "" : "=") + text + ": write " +
                           option->Synopsis() + option->expected +
                           (option->IsChoice() ? ", one of " + Joined(option->choices()) +
                                                     Suggestion(text, option->choices())
                                               : ""));
  };
  if (hasValue || name != option->gdalName) {
    const std::string text = hasValue ? argument.substr(name.size() + 1) : "";
    if (name != option->name)
      throw WrongCommandLine(argument + ": write " +
                             (option->values == 1 ? name + " " + text + " or " : "") +
                             option->Synopsis());
    read(text);
    return 1;
  }
  // Newer programs of GDAL take --config KEY=VALUE, too.
  const bool joined = name == "--config" && rest.size() > 1 && rest[1].find('=') != rest[1].npos;
  const std::size_t count = joined ? 1 : option->values;
  if (rest.size() <= count)
    throw WrongCommandLine(name + ": " + CountText(count, "value") + " must follow it");
  std::vector<std::string> values(rest.begin() + 1, rest.begin() + 1 + static_cast<int>(count));
  // These are the upper left and the lower right corner.
  if (name == "-projwin") std::swap(values[1], values[3]);
  read(Joined(values, ":"));
  return 1 + count;
}

bool TakeNamedFile(const std::string& argument, const Registration& registration, Job& job) {
  const std::string name = NameOf(argument);
  for (const DeclaredStream& stream : AllStreams(registration)) {
    if (name != stream.OptionName()) continue;
    if (argument.size() < name.size() + 2)
      throw WrongCommandLine(argument + ": write " + name + "=FILE");
    const bool isOutput = stream.number == registration.output.number;
    std::string& file = isOutput ? job.output : job.inputs[stream.number];
    if (!file.empty()) throw WrongCommandLine(argument + ": this file is already named as " + file);
    file = argument.substr(name.size() + 1);
    return true;
  }
  return false;
}

void CheckJoin(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments)
    if (const HostOption* const option = FindHostOption(NameOf(argument));
        !option || !option->joins)
      throw WrongCommandLine(argument +
                             ": -join= goes with -overwrite, -stats=, -strict and -quiet alone");
}

void CheckPart(const Options& options) {
  if (options.action == Options::Action::kPanel)
    throw WrongCommandLine("-part= and -panel exclude each other");
  if (!options.job.format.empty())
    throw WrongCommandLine("-part= and -format= exclude each other: parts are GeoTIFFs");
  if (!options.job.statisticsFile.empty())
    throw WrongCommandLine("-part= and -stats= exclude each other: -join= takes -stats=");
}

// The end of the application's sentence about an argument: what was expected.
std::string Hint(const std::string& argument, const HostState& host,
                 const std::vector<ApplicationChoice>& choices) {
  std::string unknown = NameOf(argument);
  std::vector<std::string> known;
  for (const ApplicationChoice& choice : choices)
    if (choice.argument.starts_with(unknown + "=") && unknown != argument)
      known.push_back(choice.argument.substr(unknown.size() + 1));
  if (!known.empty()) {
    unknown = argument.substr(unknown.size() + 1);
  } else {
    for (const std::string& form : ApplicationOptions(host.registration)) {
      known.push_back(NameOf(form));
      if (known.back() != unknown) continue;
      const bool isNumber = host.realOptions.contains(unknown.substr(1));
      return "; write " + form + (unknown == argument ? "" : " instead of " + argument) +
             (isNumber ? ", with numbers such as -1.5, 0 or from 1e-45 to 3.4e38 in size" : "");
    }
    for (const HostOption& option : HostOptions()) known.emplace_back(option.name);
    for (const DeclaredStream& stream : AllStreams(host.registration))
      known.push_back(stream.OptionName());
  }
  const std::string suggestion = Suggestion(unknown, known);
  return suggestion.empty() ? "; see -help" : suggestion;
}

// "-operator a1b": the application takes the value in the same argument.
void RefuseSeparateValue(Values rest, const Registration& registration) {
  if (rest.size() == 1 || rest[1].starts_with('-')) return;
  for (const std::string& form : ApplicationOptions(registration))
    if (form.starts_with(rest[0] + "="))
      throw WrongCommandLine(rest[0] + ": write " + rest[0] + "=" + rest[1]);
}

// "FILE1".
std::string FileWord(const DeclaredStream& stream) {
  return CPLString(stream.OptionName().substr(1)).toupper();
}

std::string UsageOf(const Registration& registration) {
  return std::string("; usage: ") + kProgramName + " " + FilesSynopsis(registration) +
         " [options] (see -help)";
}

}  // namespace

Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration) {
  Options options;
  bool optionsEnded = false;
  for (Values rest = arguments; !rest.empty();) {
    const std::string& argument = rest[0];
    std::size_t taken = 1;
    if (optionsEnded || !argument.starts_with('-'))
      options.filesWithoutName.push_back(argument);
    else if (argument == "--")
      optionsEnded = true;
    else if (argument == "-b")
      throw WrongCommandLine("-b: write -bands=2 to choose a band, and -b=2 for the coefficient B");
    else if (const std::size_t ofHost = TakeHostOption(rest, options); ofHost > 0)
      taken = ofHost;
    else if (!TakeNamedFile(argument, registration, options.job)) {
      RefuseSeparateValue(rest, registration);
      options.applicationArguments.push_back(argument);
    }
    rest = rest.subspan(taken);
  }
  const bool runs = options.action <= Options::Action::kPanel;
  if (runs && options.job.selection.region && options.job.selection.window)
    throw WrongCommandLine("-region= and -window= exclude each other");
  if (options.job.part) CheckPart(options);
  if (options.action == Options::Action::kJoin) CheckJoin(arguments);
  return options;
}

std::vector<std::string> ApplicationOptions(const Registration& registration) {
  std::vector<std::string> options;
  const MessageRedirection redirection([&options](const std::string& line) {
    for (const std::string& word : Split(line, ' '))
      if (word.starts_with("[-") && word.ends_with(']'))
        options.push_back(word.substr(1, word.size() - 2));
  });
  registration.Call(IP_SLOT_DISPLAY_USAGE);
  return options;
}

void ReadApplicationOptions(const std::vector<std::string>& arguments, HostState& host,
                            const std::vector<ApplicationChoice>& choices) {
  std::string told;
  const auto isRefused = [&](const std::vector<std::string>& some) {
    const MessageRedirection redirection([&told](const std::string& sentence) {
      if (told.empty()) told = sentence;
    });
    host.arguments = some;
    host.desisted = false;
    host.registration.Call(IP_SLOT_READ_CMD_LINE);
    return host.desisted;
  };
  if (!isRefused(arguments)) return;
  for (const std::string& argument : arguments)
    if (isRefused({argument})) throw WrongCommandLine(told + Hint(argument, host, choices));
  throw WrongCommandLine(told);
}

void PlaceFiles(Options& options, const Registration& registration) {
  std::vector<std::string>& unplaced = options.filesWithoutName;
  std::map<int, std::string>& inputs = options.job.inputs;
  std::string& output = options.job.output;
  const std::string usage = UsageOf(registration);
  if (std::ranges::find(unplaced, "") != unplaced.end())
    throw WrongCommandLine("a file name is empty" + usage);
  // In the panel the files fill the fields in order, and the user adds what is missing there. A
  // single file must not become the output: the user wants to look at it, not to replace it.
  const bool inPanel = options.action == Options::Action::kPanel;
  if (!inPanel && output.empty()) {
    if (unplaced.empty()) throw WrongCommandLine("no output file" + usage);
    output = unplaced.back();
    unplaced.pop_back();
  }
  auto file = unplaced.begin();
  for (const DeclaredStream& input : registration.inputs)
    if (file != unplaced.end() && inputs.count(input.number) == 0) inputs[input.number] = *file++;
  if (file != unplaced.end() && output.empty()) output = *file++;
  if (file != unplaced.end())
    throw WrongCommandLine("too many files, " + *file + " is left over" + usage);
  if (inputs.empty() && !inPanel)
    throw WrongCommandLine("no input file beside the output " + output + usage);
  if (options.job.part && !output.ends_with(".vrt"))
    throw WrongCommandLine("the name of " + output + ", a mosaic of parts, must end in .vrt");
}

void CheckInputs(Options& options, HostState& host, const std::string& chosen) {
  const std::set<int> read = InputsRead(host);
  std::map<int, std::string>& given = options.job.inputs;
  for (const DeclaredStream& input : host.registration.inputs) {
    if (given.contains(input.number) == read.contains(input.number)) continue;
    if (given.contains(input.number)) {
      options.job.warnings.push_back(chosen + " does not read " + FileWord(input) + "; " +
                                     given[input.number] + " is not used");
      given.erase(input.number);
      continue;
    }
    std::string told;
    const MessageRedirection redirection([&told](const std::string& line) { told = line; });
    host.streams[input.number].open = false;
    host.registration.Call(IP_SLOT_CHECK_PARAMS);
    throw WrongCommandLine(told + " " + chosen + " needs " + FileWord(input) +
                           UsageOf(host.registration));
  }
}

std::string NoteOnB(const std::string& formula) {
  return formula.find("FILE1 + B") == std::string::npos ? "" : "B is 1 in " + formula;
}

std::vector<DeclaredStream> AllStreams(const Registration& registration) {
  std::vector<DeclaredStream> streams = registration.inputs;
  streams.push_back(registration.output);
  return streams;
}

std::string FilesSynopsis(const Registration& registration) {
  std::string synopsis;
  for (const DeclaredStream& stream : AllStreams(registration)) {
    const bool optional = !synopsis.empty() && stream.number != registration.output.number;
    synopsis.append(synopsis.empty() ? "" : " ").append(optional ? "[" : "");
    synopsis.append(FileWord(stream)).append(optional ? "]" : "");
  }
  return synopsis;
}

}  // namespace lumomixcalc::standalone
