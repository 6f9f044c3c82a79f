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
  std::vector<std::string> known;
  for (const DataMode& mode : DataModes()) known.emplace_back(mode.name);
  throw WrongCommandLine("-mode=" + name + ": unknown data mode; known are " + ListText(known) +
                         Suggestion(name, known));
}

void SetFormat(Options& options, const std::string& name) { options.job.format = name; }

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

struct ValueOption {
  std::string_view name;
  void (*set)(Options&, const std::string&);
};
constexpr ValueOption kValueOptions[] = {
    {"-mode", SetMode},
    {"-format", SetFormat},
    {"-co", AddCreationOption},
    {"-region",
     [](Options& o, const std::string& text) { o.job.selection.region = ParseRegion(text); }},
    {"-window",
     [](Options& o, const std::string& text) { o.job.selection.window = ParseWindow(text); }},
    {"-resolution",
     [](Options& o, const std::string& text) {
       o.job.selection.resolution = ParseResolution(text);
     }},
    {"-resampling",
     [](Options& o, const std::string& text) {
       o.job.selection.resampling = ParseResampling(text);
     }},
    {"-bands", [](Options& o, const std::string& text) { o.job.bands = ParseBands(text); }},
    {"-nodata", SetNoData},
    {"-stats", [](Options& o, const std::string& text) { o.job.statisticsFile = text; }}};

struct Switch {
  std::string_view name;
  void (*set)(Options&);
};
constexpr Switch kSwitches[] = {
    {"-overwrite", [](Options& options) { options.job.overwrite = true; }},
    {"-quiet", [](Options& options) { options.quiet = true; }},
    {"-panel", [](Options& options) { options.action = Options::Action::kPanel; }},
    {"-h", [](Options& options) { options.action = Options::Action::kHelp; }},
    {"-help", [](Options& options) { options.action = Options::Action::kHelp; }},
    {"--help", [](Options& options) { options.action = Options::Action::kHelp; }},
    {"-version", [](Options& options) { options.action = Options::Action::kVersion; }},
    {"--version", [](Options& options) { options.action = Options::Action::kVersion; }},
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

class Reader {
 public:
  Reader(const Registration& registration, Options& options)
      : registration_(registration), options_(options), streams_(registration.inputs) {
    streams_.push_back(registration.Output());
  }

  void Read(const std::vector<std::string>& arguments) {
    bool optionsEnded = false;
    for (const std::string& argument : arguments) {
      if (optionsEnded || !argument.starts_with('-'))
        options_.filesWithoutName.push_back(argument);
      else if (argument == "--")
        optionsEnded = true;
      else if (!TakeHostOption(argument) && !TakeNamedFile(argument))
        options_.applicationArguments.push_back(argument);
    }
  }

  void CheckThatOptionsAgree() const {
    const Selection& selection = options_.job.selection;
    if (selection.resolution != 1 && !registration_.resolutions)
      throw WrongCommandLine("-resolution=: the application leaves no choice of resolution");
    if ((selection.region || selection.window) && !registration_.regions)
      throw WrongCommandLine("-region=, -window=: the application leaves no choice of region");
    if (selection.region && selection.window)
      throw WrongCommandLine("-region= and -window= exclude each other");
    if (selection.resampling != Resampling::kNearest && selection.resolution == 1)
      Warn("-resampling= has no effect without -resolution=");
  }

  void Place() {
    std::vector<std::string>& unplaced = options_.filesWithoutName;
    const int output = registration_.Output().number;
    // In a panel the user names what is missing; a file that comes alone is one to look at.
    const bool mayLack = options_.action == Options::Action::kPanel;
    const bool isLookedAt = mayLack && options_.job.files.empty() && unplaced.size() == 1;
    if (options_.job.files.count(output) == 0 && !isLookedAt) {
      if (unplaced.empty() && !mayLack) throw WrongCommandLine("no output file; " + Usage());
      if (!unplaced.empty()) {
        options_.job.files[output] = unplaced.back();
        unplaced.pop_back();
      }
    }
    auto file = unplaced.begin();
    for (const DeclaredStream& input : registration_.inputs)
      if (file != unplaced.end() && options_.job.files.count(input.number) == 0)
        options_.job.files[input.number] = *file++;
    if (file != unplaced.end())
      throw WrongCommandLine("too many files, " + *file + " is left over; " + Usage());
    if (options_.job.files.size() == 1 && !mayLack)
      throw WrongCommandLine("no input file beside the output " + options_.job.files[output] +
                             "; " + Usage());
    for (const auto& [number, name] : options_.job.files)
      if (name.empty()) throw WrongCommandLine("a file name is empty; " + Usage());
  }

 private:
  bool TakeHostOption(const std::string& argument) {
    for (const Switch& option : kSwitches)
      if (argument == option.name) {
        option.set(options_);
        return true;
      }
    for (const ValueOption& option : kValueOptions)
      if (const char* value = ValueOf(argument, option.name)) {
        option.set(options_, value);
        return true;
      }
    return false;
  }

  bool TakeNamedFile(const std::string& argument) {
    for (const DeclaredStream& stream : streams_) {
      const char* const file = ValueOf(argument, std::string("-").append(stream.OptionName()));
      if (!file) continue;
      if (!options_.job.files.emplace(stream.number, file).second)
        throw WrongCommandLine(argument + ": this file is already named as " +
                               options_.job.files[stream.number]);
      return true;
    }
    return false;
  }

  std::string Usage() const {
    return std::string("usage: ") + kProgramName + " " + FilesSynopsis(registration_) +
           " [options] (see -help)";
  }

  const Registration& registration_;
  Options& options_;
  std::vector<DeclaredStream> streams_;
};

}  // namespace

Options ReadOptions(const std::vector<std::string>& arguments, const Registration& registration) {
  Options options;
  Reader reader(registration, options);
  reader.Read(arguments);
  if (options.action != Options::Action::kRun && options.action != Options::Action::kPanel)
    return options;
  reader.CheckThatOptionsAgree();
  return options;
}

void PlaceFiles(Options& options, const Registration& registration) {
  Reader(registration, options).Place();
}

std::vector<std::string> HostOptionNames() {
  std::vector<std::string> names;
  for (const ValueOption& option : kValueOptions) names.emplace_back(option.name);
  for (const Switch& option : kSwitches) names.emplace_back(option.name);
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
