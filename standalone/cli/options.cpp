#include "standalone/cli/options.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <functional>
#include <string_view>

#include "standalone/base/messages.h"
#include "standalone/cli/selection_options.h"

namespace lumomixcalc::standalone {
namespace {

// The mode of a name, also of GDAL's and NumPy's names of the types.
const DataMode* ModeOf(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (name == "uint8") name = "byte";
  if (name == "complex64") name = "cfloat32";
  return FindDataMode(name);
}

void SetMode(Options& options, const std::string& name) {
  options.job.mode = ModeOf(name);
  if (options.job.mode) return;
  const std::vector<std::string> known = DataModeNames();
  throw WrongCommandLine("-mode=" + name + ": unknown data mode; known are " + ListText(known) +
                         Suggestion(name, known));
}

void AddCreationOption(Options& options, const std::string& option) {
  if (const std::size_t equals = option.find('='); equals == 0 || equals == std::string::npos)
    throw WrongCommandLine("-co=" + option + ": a creation option has the form NAME=VALUE");
  options.job.creationOptions.push_back(option);
}

void SetNoData(Options& options, const std::string& name) {
  if (name != "keep")
    throw WrongCommandLine("-nodata=" + name +
                           ": only -nodata=keep is known, which leaves no-data values as numbers");
  options.job.keepNoData = true;
}

// Sets a member of the job's selection to the value that a text stands for.
template <auto kMember, auto kParse>
void Select(Options& options, const std::string& text) {
  options.job.selection.*kMember = kParse(text);
}

template <Options::Action kAction>
void SetAction(Options& options, const std::string&) {
  options.action = kAction;
}

struct HostOption {
  std::string_view name;
  bool hasValue;
  void (*set)(Options&, const std::string& value);
};
constexpr HostOption kHostOptions[] = {
    {"-mode", true, SetMode},
    {"-format", true, [](Options& o, const std::string& name) { o.job.format = name; }},
    {"-co", true, AddCreationOption},
    {"-region", true, Select<&Selection::region, ParseRegion>},
    {"-window", true, Select<&Selection::window, ParseWindow>},
    {"-resolution", true, Select<&Selection::resolution, ParseResolution>},
    {"-resampling", true, Select<&Selection::resampling, ParseResampling>},
    {"-looks", true, Select<&Selection::looks, ParseLooks>},
    {"-bands", true, [](Options& o, const std::string& list) { o.job.bands = ParseBands(list); }},
    {"-nodata", true, SetNoData},
    {"-stats", true, [](Options& o, const std::string& file) { o.job.statisticsFile = file; }},
    {"-overwrite", false, [](Options& o, const std::string&) { o.job.overwrite = true; }},
    {"-quiet", false, [](Options& o, const std::string&) { o.quiet = true; }},
    {"-panel", false, SetAction<Options::Action::kPanel>},
    {"-h", false, SetAction<Options::Action::kHelp>},
    {"-help", false, SetAction<Options::Action::kHelp>},
    {"--help", false, SetAction<Options::Action::kHelp>},
    {"-version", false, SetAction<Options::Action::kVersion>},
    {"--version", false, SetAction<Options::Action::kVersion>},
};

// The value of "name=value"; null when argument is not that option. "name" alone lacks its value.
const char* ValueOf(const std::string& argument, std::string_view name) {
  if (!argument.starts_with(name)) return nullptr;
  const char* const rest = argument.c_str() + name.size();
  if (*rest == '=' && rest[1] != '\0') return rest + 1;
  if (*rest == '\0' || *rest == '=')
    throw WrongCommandLine(argument + ": a value is missing; write " + std::string(name) +
                           "=VALUE");
  return nullptr;
}

bool TakeHostOption(const std::string& argument, Options& options) {
  for (const HostOption& option : kHostOptions) {
    const char* const value = option.hasValue           ? ValueOf(argument, option.name)
                              : argument == option.name ? ""
                                                        : nullptr;
    if (!value) continue;
    option.set(options, value);
    return true;
  }
  return false;
}

bool TakeNamedFile(const std::string& argument, const Registration& registration, Job& job) {
  std::vector<DeclaredStream> streams = registration.inputs;
  streams.push_back(registration.Output());
  for (const DeclaredStream& stream : streams) {
    const char* const file = ValueOf(argument, std::string("-").append(stream.OptionName()));
    if (!file) continue;
    if (!job.files.emplace(stream.number, file).second)
      throw WrongCommandLine(argument + ": this file is already named as " +
                             job.files[stream.number]);
    return true;
  }
  return false;
}

void CheckThatOptionsAgree(const Selection& selection, const Registration& registration) {
  if (selection.resolution != 1 && !registration.resolutions)
    throw WrongCommandLine("-resolution=: the application leaves no choice of resolution");
  if ((selection.region || selection.window) && !registration.regions)
    throw WrongCommandLine("-region=, -window=: the application leaves no choice of region");
  if (selection.region && selection.window)
    throw WrongCommandLine("-region= and -window= exclude each other");
  if (selection.resampling != Resampling::kNearest && selection.resolution == 1)
    Warn("-resampling= has no effect without -resolution=");
}

}  // namespace

Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration) {
  Options options;
  bool optionsEnded = false;
  for (const std::string& argument : arguments) {
    if (optionsEnded || !argument.starts_with('-'))
      options.filesWithoutName.push_back(argument);
    else if (argument == "--")
      optionsEnded = true;
    else if (!TakeHostOption(argument, options) &&
             !TakeNamedFile(argument, registration, options.job))
      options.applicationArguments.push_back(argument);
  }
  if (options.action == Options::Action::kRun || options.action == Options::Action::kPanel)
    CheckThatOptionsAgree(options.job.selection, registration);
  return options;
}

void PlaceFiles(Options& options, const Registration& registration) {
  std::vector<std::string>& unplaced = options.filesWithoutName;
  std::map<int, std::string>& files = options.job.files;
  const int output = registration.Output().number;
  const std::string usage = std::string("; usage: ") + kProgramName + " " +
                            FilesSynopsis(registration) + " [options] (see -help)";
  // In a panel the user names what is missing; a file that comes alone is one to look at.
  const bool mayLack = options.action == Options::Action::kPanel;
  const bool isLookedAt = mayLack && files.empty() && unplaced.size() == 1;
  if (files.count(output) == 0 && !unplaced.empty() && !isLookedAt) {
    files[output] = unplaced.back();
    unplaced.pop_back();
  }
  if (files.count(output) == 0 && !mayLack) throw WrongCommandLine("no output file" + usage);
  auto file = unplaced.begin();
  for (const DeclaredStream& input : registration.inputs)
    if (file != unplaced.end() && files.count(input.number) == 0) files[input.number] = *file++;
  if (file != unplaced.end())
    throw WrongCommandLine("too many files, " + *file + " is left over" + usage);
  if (files.size() == 1 && !mayLack)
    throw WrongCommandLine("no input file beside the output " + files[output] + usage);
  for (const auto& [number, name] : files)
    if (name.empty()) throw WrongCommandLine("a file name is empty" + usage);
}

std::vector<std::string> HostOptionNames() {
  std::vector<std::string> names;
  for (const HostOption& option : kHostOptions) names.emplace_back(option.name);
  return names;
}

std::string FilesSynopsis(const Registration& registration) {
  const auto upper = [](const DeclaredStream& stream) {
    std::string name = stream.OptionName();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return name;
  };
  std::string synopsis = upper(registration.inputs.front());
  for (std::size_t i = 1; i < registration.inputs.size(); ++i)
    synopsis += " [" + upper(registration.inputs[i]) + "]";
  return synopsis + " " + upper(registration.Output());
}

}  // namespace lumomixcalc::standalone
