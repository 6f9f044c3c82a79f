#include "standalone/cli/options.h"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "standalone/base/messages.h"
#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace {

// The four numbers of "a:b:c:d". Empty when the text is anything else.
template <typename Number>
std::vector<Number> FourOf(const std::string& text,
                           std::optional<Number> (*parse)(std::string_view)) {
  const std::vector<std::string> parts = Split(text, ':');
  std::vector<Number> numbers;
  for (const std::string& part : parts)
    if (const std::optional<Number> number = parse(part)) numbers.push_back(*number);
  if (parts.size() != 4 || numbers.size() != 4) numbers.clear();
  return numbers;
}

void SetRegion(Options& options, const std::string& text) {
  const std::vector<int> n = FourOf<int>(text, ParseInt);
  if (n.empty() || n[2] < 1 || n[3] < 1)
    throw WrongCommandLine("-region=" + text + ": write x:y:width:height in whole pixels, such " +
                           "as -region=0:0:512:512");
  options.job.selection.region = {n[0], n[1], n[2], n[3]};
}

void SetWindow(Options& options, const std::string& text) {
  const std::vector<double> n = FourOf<double>(text, ParseDouble);
  const auto isFinite = [](double number) { return std::isfinite(number); };
  if (n.empty() || !std::ranges::all_of(n, isFinite) || n[0] >= n[2] || n[1] >= n[3])
    throw WrongCommandLine("-window=" + text + ": write xmin:ymin:xmax:ymax in the units of the " +
                           "first input's georeferencing, the minima below the maxima");
  options.job.selection.window = {n[0], n[1], n[2], n[3]};
}

void SetResolution(Options& options, const std::string& text) {
  options.job.selection.resolution = ParseInt(text).value_or(0);
  if (options.job.selection.resolution < 1)
    throw WrongCommandLine("-resolution=" + text +
                           ": write a whole number N from 1, for 1/N of the size");
}

void SetResampling(Options& options, const std::string& text) {
  std::vector<std::string> names;
  for (const ResamplingMethod& method : kResamplingMethods) names.emplace_back(method.name);
  const auto found = std::ranges::find(names, text);
  if (found == names.end())
    throw WrongCommandLine("-resampling=" + text + ": unknown resampling; known are " +
                           Joined(names) + Suggestion(text, names));
  options.job.selection.resampling = static_cast<Resampling>(found - names.begin());
}

void SetLooks(Options& options, const std::string& text) {
  const std::vector<std::string> parts = Split(text, ':');
  const std::optional<int> x = ParseInt(parts.front());
  const std::optional<int> y = ParseInt(parts.back());
  if (parts.size() > 2 || !x || !y || *x < 1 || *y < 1)
    throw WrongCommandLine("-looks=" + text + ": write NX:NY, whole numbers from 1, such as " +
                           "-looks=4:1, or one number for both");
  options.job.selection.looks = {*x, *y};
}

// "1,3-5": band numbers and ranges of them.
void SetBands(Options& options, const std::string& text) {
  // No GDAL raster has more. A larger range is a typing error and would only fill the memory.
  constexpr int kMostBands = 65536;
  std::vector<int>& bands = options.job.bands;
  bands.clear();
  for (const std::string& range : Split(text, ',')) {
    const std::vector<std::string> ends = Split(range, '-');
    const std::optional<int> first = ParseInt(ends.front());
    const std::optional<int> last = ParseInt(ends.back());
    if (ends.size() > 2 || !first || !last || *first < 1 || *last < *first || *last > kMostBands ||
        static_cast<int>(bands.size()) + *last - *first >= kMostBands)
      throw WrongCommandLine("-bands=" + text + ": write band numbers from 1 and ranges of them, " +
                             "such as -bands=1,3-5");
    for (int band = *first; band <= *last; ++band) bands.push_back(band);
  }
}

void SetMode(Options& options, const std::string& name) {
  options.job.mode = FindDataMode(name);
  // NumPy's names.
  if (EQUAL(name.c_str(), "uint8")) options.job.mode = FindDataMode("byte");
  if (EQUAL(name.c_str(), "complex64")) options.job.mode = FindDataMode("cfloat32");
  if (options.job.mode) return;
  const std::vector<std::string> known = DataModeNames();
  throw WrongCommandLine("-mode=" + name + ": unknown data mode; known are " + Joined(known) +
                         Suggestion(name, known));
}

void AddCreationOption(Options& options, const std::string& option) {
  if (option.find('=') == std::string::npos || option.starts_with('='))
    throw WrongCommandLine("-co=" + option + ": a creation option has the form NAME=VALUE");
  options.job.creationOptions.push_back(option);
}

void AddOpenOption(Options& options, const std::string& option) {
  if (option.find('=') == std::string::npos || option.starts_with('='))
    throw WrongCommandLine("-oo=" + option + ": an option for opening has the form NAME=VALUE");
  options.job.openOptions.push_back(option);
}

void SetNoData(Options& options, const std::string& text) {
  options.job.elements.keepNoData = text == "keep";
  options.job.elements.noData = ParseDouble(text);
  if (!options.job.elements.keepNoData && !options.job.elements.noData)
    throw WrongCommandLine("-nodata=" + text +
                           ": write the number that is no data in the inputs, " +
                           "or keep, which leaves no-data values as numbers");
}

void SetOutputNoData(Options& options, const std::string& text) {
  options.job.outputNoData = ParseDouble(text);
  if (!options.job.outputNoData)
    throw WrongCommandLine("-a_nodata=" + text + ": write the number that is to stand for no data");
}

void SetPart(Options& options, const std::string& text) {
  const std::vector<std::string> numbers = Split(text, '/');
  const int number = ParseInt(numbers.front()).value_or(0);
  const int count = numbers.size() == 2 ? ParseInt(numbers.back()).value_or(0) : 0;
  if (number < 1 || number > count)
    throw WrongCommandLine("-part=" + text +
                           ": write K/N, whole numbers with K from 1 to N, such as -part=3/16");
  options.job.part = {number, count};
}

void CheckMosaicName(const std::string& name) {
  if (!name.ends_with(".vrt"))
    throw WrongCommandLine("the name of " + name + ", a mosaic of parts, must end in .vrt");
}

template <Options::Action kAction>
void SetAction(Options& options, const std::string&) {
  options.action = std::max(options.action, kAction);
}

void SetMosaic(Options& options, const std::string& file) {
  CheckMosaicName(file);
  SetAction<Options::Action::kJoin>(options, file);
  options.mosaic = file;
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
    {"-oo", true, AddOpenOption},
    {"-region", true, SetRegion},
    {"-window", true, SetWindow},
    {"-resolution", true, SetResolution},
    {"-resampling", true, SetResampling},
    {"-looks", true, SetLooks},
    {"-bands", true, SetBands},
    {"-nodata", true, SetNoData},
    {"-a_nodata", true, SetOutputNoData},
    {"-unscale", false, [](Options& o, const std::string&) { o.job.elements.unscale = true; }},
    {"-stats", true, [](Options& o, const std::string& file) { o.job.statisticsFile = file; }},
    {"-part", true, SetPart},
    {"-join", true, SetMosaic},
    {"-overwrite", false, [](Options& o, const std::string&) { o.job.overwrite = true; }},
    {"-check", false, [](Options& o, const std::string&) { o.job.checkOnly = true; }},
    {"-quiet", false, [](Options& o, const std::string&) { o.quiet = true; }},
    {"-panel", false, SetAction<Options::Action::kPanel>},
    {"-h", false, SetAction<Options::Action::kHelp>},
    {"-help", false, SetAction<Options::Action::kHelp>},
    {"--help", false, SetAction<Options::Action::kHelp>},
    {"-version", false, SetAction<Options::Action::kVersion>},
    {"--version", false, SetAction<Options::Action::kVersion>},
};

using Values = std::span<const std::string>;

// Options as GDAL's own programs take them: the values are separate arguments.
struct GdalOption {
  std::string_view name;
  std::size_t values;
  void (*set)(Options&, Values);
};
constexpr GdalOption kGdalOptions[] = {
    {"-ot", 1, [](Options& o, Values v) { SetMode(o, v[0]); }},
    {"-of", 1, [](Options& o, Values v) { o.job.format = v[0]; }},
    {"-co", 1, [](Options& o, Values v) { AddCreationOption(o, v[0]); }},
    {"-oo", 1, [](Options& o, Values v) { AddOpenOption(o, v[0]); }},
    {"-srcwin", 4,
     [](Options& o, Values v) {
       SetRegion(o, Joined({v.begin(), v.end()}, ":"));
     }},
    // Its values are the upper left and the lower right corner.
    {"-projwin", 4,
     [](Options& o, Values v) {
       SetWindow(o, Joined({v[0], v[3], v[2], v[1]}, ":"));
     }},
    {"-r", 1, [](Options& o, Values v) { SetResampling(o, v[0] == "near" ? "nearest" : v[0]); }},
    {"-a_nodata", 1, [](Options& o, Values v) { SetOutputNoData(o, v[0]); }},
    {"-q", 0, [](Options& o, Values) { o.quiet = true; }},
    {"--config", 2, [](Options&, Values v) { CPLSetConfigOption(v[0].c_str(), v[1].c_str()); }},
};

// Takes the option if rest begins with one of kGdalOptions. Returns the number of arguments taken,
// which is 0 when it does not.
std::size_t TakeGdalOption(Values rest, Options& options) {
  if (rest[0] == "-b")
    throw WrongCommandLine("-b: write -bands=2 to choose a band, and -b=2 for the coefficient B");
  for (const GdalOption& option : kGdalOptions) {
    if (rest[0] != option.name) continue;
    if (rest.size() <= option.values)
      throw WrongCommandLine(rest[0] + ": " + CountText(option.values, "value") +
                             " must follow it");
    option.set(options, rest.subspan(1, option.values));
    return 1 + option.values;
  }
  return 0;
}

// The value of "name=value", null when argument is another option. Throws WrongCommandLine when the
// value is missing.
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
  const auto isOf = [&](const DeclaredStream& stream) {
    const char* const file = ValueOf(argument, std::string("-").append(stream.OptionName()));
    if (file && !job.files.emplace(stream.number, file).second)
      throw WrongCommandLine(argument + ": this file is already named as " +
                             job.files[stream.number]);
    return file != nullptr;
  };
  return std::ranges::any_of(registration.inputs, isOf) || isOf(registration.output);
}

void CheckJoin(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments)
    if (argument != "-overwrite" && argument != "-quiet" && argument != "-q" &&
        !argument.starts_with("-stats=") && !argument.starts_with("-join="))
      throw WrongCommandLine(argument + ": -join= goes with -overwrite, -stats= and -quiet alone");
}

void CheckPart(const Options& options) {
  if (options.action == Options::Action::kPanel)
    throw WrongCommandLine("-part= and -panel exclude each other");
  if (!options.job.format.empty())
    throw WrongCommandLine("-part= and -format= exclude each other: parts are GeoTIFFs");
  if (!options.job.statisticsFile.empty())
    throw WrongCommandLine("-part= and -stats= exclude each other: -join= takes -stats=");
}

void CheckSelection(const Selection& selection) {
  if (selection.region && selection.window)
    throw WrongCommandLine("-region= and -window= exclude each other");
  if (selection.resampling != Resampling::kNearest && selection.resolution == 1)
    Warn("-resampling= has no effect without -resolution=");
}

// The application says which of its options is wrong. This is the end of that sentence: what is
// wrong with the option. Empty when nothing is.
std::string Hint(const std::string& argument, const std::vector<OperatorName>& operators) {
  for (const char* const name : {"-a", "-b"}) {
    std::array<float, 2> values = {};
    const int count = ParseRealArgument(argument, name + 1, 2, values.data());
    if (count > 0) return "";
    if (count < 0)
      return "; " + argument + " is not " + name + "=REAL or " + name + "=REAL:IMAGINARY, such " +
             "as " + name + "=0.5:-1.5, with numbers that are 0 or from 1e-45 to 3.4e38 in size";
  }
  if (argument == "-clamp") return "";
  if (argument == "-a" || argument == "-b") return "; write " + argument + "=REAL:IMAGINARY";
  if (argument == "-operator") return "; write -operator=NAME (see -help)";
  std::string unknown = argument;
  std::vector<std::string> known;
  if (argument.starts_with("-operator=")) {
    for (const OperatorName& one : operators) known.push_back("-operator=" + one.name);
    if (std::ranges::find(known, argument) != known.end()) return "";
  } else {
    unknown = argument.substr(0, argument.find('='));
    for (const HostOption& option : kHostOptions) known.emplace_back(option.name);
    known.insert(known.end(), {"-a", "-b", "-operator", "-clamp"});
  }
  const std::string suggestion = Suggestion(unknown, known);
  return suggestion.empty() ? "; see -help" : suggestion;
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
    else if (const std::size_t ofGdal = TakeGdalOption(rest, options); ofGdal > 0)
      taken = ofGdal;
    else if (!TakeHostOption(argument, options) &&
             !TakeNamedFile(argument, registration, options.job))
      options.applicationArguments.push_back(argument);
    rest = rest.subspan(taken);
  }
  if (options.action == Options::Action::kRun || options.action == Options::Action::kPanel)
    CheckSelection(options.job.selection);
  if (options.job.part) CheckPart(options);
  if (options.action == Options::Action::kJoin) CheckJoin(arguments);
  return options;
}

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

void PlaceFiles(Options& options, const Registration& registration) {
  std::vector<std::string>& unplaced = options.filesWithoutName;
  std::map<int, std::string>& files = options.job.files;
  const int output = registration.output.number;
  const std::string usage = std::string("; usage: ") + kProgramName + " " +
                            FilesSynopsis(registration) + " [options] (see -help)";
  // In the panel the files fill the fields in order, and the user adds what is missing there. A
  // single file must not become the output: the user wants to look at it, not to replace it.
  const bool inPanel = options.action == Options::Action::kPanel;
  if (!inPanel && files.count(output) == 0) {
    if (unplaced.empty()) throw WrongCommandLine("no output file" + usage);
    files[output] = unplaced.back();
    unplaced.pop_back();
  }
  auto file = unplaced.begin();
  for (const DeclaredStream& input : registration.inputs)
    if (file != unplaced.end() && files.count(input.number) == 0) files[input.number] = *file++;
  if (file != unplaced.end() && files.count(output) == 0) files[output] = *file++;
  if (file != unplaced.end())
    throw WrongCommandLine("too many files, " + *file + " is left over" + usage);
  if (files.size() == 1 && !inPanel)
    throw WrongCommandLine("no input file beside the output " + files[output] + usage);
  for (const auto& [number, name] : files)
    if (name.empty()) throw WrongCommandLine("a file name is empty" + usage);
  if (options.job.part) CheckMosaicName(files.at(output));
}

std::string FilesSynopsis(const Registration& registration) {
  std::string synopsis = registration.inputs.front().OptionName();
  for (std::size_t i = 1; i < registration.inputs.size(); ++i)
    synopsis += " [" + registration.inputs[i].OptionName() + "]";
  return CPLString(synopsis + " " + registration.output.OptionName()).toupper();
}

}  // namespace lumomixcalc::standalone
