#include "standalone/cli/options.h"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace {

using Texts = std::vector<std::string>;

// The numbers between separators. Empty when one of them is not a number.
template <typename Number = int>
std::vector<Number> Numbers(const std::string& text, char separator,
                            std::optional<Number> (*parse)(std::string_view) = ParseInt) {
  std::vector<Number> numbers;
  for (const std::string& part : Split(text, separator)) {
    const std::optional<Number> number = parse(part);
    if (!number) return {};
    numbers.push_back(*number);
  }
  return numbers;
}

std::string ToText(double number) { return ShortestText(number); }

Texts ExtentNames() { return {"intersection"}; }

Texts NamesOf(const auto& table) {
  Texts names;
  for (const auto& row : table) names.emplace_back(row.name);
  return names;
}
Texts ResamplingNames() { return NamesOf(kResamplingMethods); }
Texts ModeNames() { return NamesOf(DataModes()); }

// How the values of options are read and echoed, by type. Read returns false when the text is not
// such a value. Echo returns nothing for the value of a job in which the option is not given.

bool Read(const std::string&, bool& given) { return given = true; }
Texts Echo(bool given) { return given ? Texts{""} : Texts(); }

bool Read(const std::string& text, std::string& name) { return !(name = text).empty(); }
Texts Echo(const std::string& name) { return name.empty() ? Texts() : Texts{name}; }

bool Read(const std::string& text, const DataMode*& mode) {
  mode = FindDataMode(text);
  // NumPy's names.
  if (EQUAL(text.c_str(), "uint8")) mode = FindDataMode("byte");
  if (EQUAL(text.c_str(), "complex64")) mode = FindDataMode("cfloat32");
  return mode != nullptr;
}
Texts Echo(const DataMode* mode) { return mode ? Texts{mode->name} : Texts(); }

// NAME=VALUE, one of many.
bool Read(const std::string& text, Texts& pairs) {
  pairs.push_back(text);
  return text.find('=') != std::string::npos && !text.starts_with('=');
}
Texts Echo(const Texts& pairs) { return pairs; }

bool Read(const std::string& text, std::optional<PixelWindow>& region) {
  const std::vector<int> n = Numbers(text, ':');
  if (n.size() != 4 || n[2] < 1 || n[3] < 1) return false;
  region = {n[0], n[1], n[2], n[3]};
  return true;
}

bool Read(const std::string& text, std::optional<MapWindow>& window) {
  const std::vector<double> n = Numbers(text, ':', ParseDouble);
  const auto isFinite = [](double number) { return std::isfinite(number); };
  if (n.size() != 4 || !std::ranges::all_of(n, isFinite) || n[0] >= n[2] || n[1] >= n[3])
    return false;
  window = {n[0], n[1], n[2], n[3]};
  return true;
}

bool Read(const std::string& text, std::optional<double>& number) {
  return (number = ParseDouble(text)).has_value();
}

template <typename Value>
Texts Echo(const std::optional<Value>& value) {
  return value ? Texts{ToText(*value)} : Texts();
}

bool Read(const std::string& text, Extent& extent) {
  extent = Extent::kIntersection;
  return text == ExtentNames().front();
}
Texts Echo(Extent extent) { return extent == Extent::kSame ? Texts() : ExtentNames(); }

bool Read(const std::string& text, int& resolution) {
  return (resolution = ParseInt(text).value_or(0)) >= 1;
}
Texts Echo(int resolution) { return resolution == 1 ? Texts() : Texts{std::to_string(resolution)}; }

// The resampling method, which matters only beside a resolution.
bool Read(const std::string& text, Selection& selection) {
  const Texts names = ResamplingNames();
  const auto found = std::ranges::find(names, text == "near" ? "nearest" : text);
  selection.resampling = static_cast<Resampling>(found - names.begin());
  return found != names.end();
}
Texts Echo(const Selection& selection) {
  if (selection.resolution == 1) return {};
  return {kResamplingMethods[static_cast<std::size_t>(selection.resampling)].name};
}

bool Read(const std::string& text, Looks& looks) {
  const std::vector<int> n = Numbers(text, ':');
  if (n.empty() || n.size() > 2 || std::ranges::min(n) < 1) return false;
  looks = {n.front(), n.back()};
  return true;
}
Texts Echo(const Looks& looks) { return looks == Looks() ? Texts() : Texts{ToText(looks)}; }

bool Read(const std::string& text, std::vector<int>& bands) {
  // No GDAL raster has more. A larger range is a typing error and would only fill the memory.
  constexpr int kMostBands = 65536;
  bands.clear();
  for (const std::string& range : Split(text, ',')) {
    const std::vector<int> n = Numbers(range, '-');
    if (n.empty() || n.size() > 2 || n.front() < 1 || n.back() < n.front() ||
        n.back() > kMostBands ||
        static_cast<int>(bands.size()) + n.back() - n.front() >= kMostBands)
      return false;
    for (int band = n.front(); band <= n.back(); ++band) bands.push_back(band);
  }
  return true;
}
Texts Echo(const std::vector<int>& bands) {
  Texts numbers;
  for (const int band : bands) numbers.push_back(std::to_string(band));
  return bands.empty() ? Texts() : Texts{Joined(numbers, ",")};
}

bool Read(const std::string& text, ElementRules& rules) {
  rules.keepNoData = text == "keep";
  return Read(text, rules.noData) || rules.keepNoData;
}
Texts Echo(const ElementRules& rules) {
  return rules.keepNoData ? Texts{"keep"} : Echo(rules.noData);
}

bool Read(const std::string& text, std::optional<PartNumber>& part) {
  const std::vector<int> n = Numbers(text, '/');
  if (n.size() != 2 || n[0] < 1 || n[0] > n[1]) return false;
  part = {n[0], n[1]};
  return true;
}

// The member of the job to which the path of members leads.
template <auto... kPath>
constexpr HostOption::Field kField = {
    [](Options& options, const std::string& text) { return Read(text, (options.job.*....*kPath)); },
    [](const Job& job) { return Echo((job.*....*kPath)); }};

// The same, not echoed because it does not change what a run computes.
template <auto kMember>
constexpr HostOption::Field kUnechoed = {
    [](Options& options, const std::string& text) { return Read(text, options.job.*kMember); }};

template <Options::Action kWanted>
constexpr HostOption::Field kAction = {[](Options& options, const std::string& text) {
  options.action = std::max(options.action, kWanted);
  options.mosaic = text;
  return kWanted != Options::Action::kJoin || text.ends_with(".vrt");
}};

template <auto kMember>
constexpr HostOption::Field kSwitch = {
    [](Options& options, const std::string&) { return options.*kMember = true; }};

constexpr HostOption::Field kConfigOption = {[](Options&, const std::string& text) {
  const std::string key = text.substr(0, text.find_first_of(":="));
  CPLSetConfigOption(key.c_str(), text.c_str() + key.size() + 1);
  return true;
}};

Texts AnyFile() { return {"@"}; }

using enum Options::Action;

constexpr HostOption kHostOptions[] = {
    {"-mode", "-ot", 1, "MODE", "",
     "how the output stores its elements; without it cfloat32 when an input that is read is "
     "complex, else float32; integer modes round to nearest and saturate",
     kField<&Job::mode>, ModeNames},
    {"-format", "-of", 1, "NAME", "",
     "GDAL format of the output; without it the one of the file's extension, or GTiff for a name "
     "without one",
     kField<&Job::format>},
    {"-co", "-co", 1, "NAME=VALUE", "", "creation option of the format; may be repeated",
     kField<&Job::creationOptions>},
    {"-extent", "", 1, "intersection", ", the area that the inputs share",
     "combine inputs of different extents on one grid over the area that they share, in which "
     "-region= and -window= then lie",
     kField<&Job::selection, &Selection::extent>, ExtentNames},
    {"-region", "-srcwin", 4, "X:Y:WIDTH:HEIGHT", ", whole pixels, such as -region=0:0:512:512",
     "only these pixels of the first input read", kField<&Job::selection, &Selection::region>},
    {"-window", "-projwin", 4, "XMIN:YMIN:XMAX:YMAX",
     ", the minima below the maxima, in the units of the first input's georeferencing",
     "only the pixels that this area touches, in the units of the first input's georeferencing",
     kField<&Job::selection, &Selection::window>},
    {"-resolution", "", 1, "N", ", a whole number from 1, for 1/N of the size",
     "1/N of the size in both directions, whole output pixels only",
     kField<&Job::selection, &Selection::resolution>},
    {"-resampling", "-r", 1, "METHOD", "",
     "how: nearest is the default; overview takes the inputs' own overviews of just that "
     "resolution, the others the pixels of full resolution",
     kField<&Job::selection>, ResamplingNames},
    {"-looks", "", 1, "NX:NY", ", whole numbers from 1, such as -looks=4:1, or one for both",
     "average the results over blocks of NX columns and NY rows, complex ones as complex numbers; "
     "-looks=N is -looks=N:N",
     kField<&Job::selection, &Selection::looks>},
    {"-bands", "", 1, "LIST", ", numbers from 1 and ranges of them, such as -bands=1,3-5",
     "only these bands, such as 1,3-5, in this order", kField<&Job::bands>},
    {"-oo", "-oo", 1, "NAME=VALUE", "", "option for opening the inputs; may be repeated",
     kField<&Job::openOptions>},
    {"-nodata", "", 1, "VALUE", ", a number, or -nodata=keep",
     "treat VALUE as no data in the inputs, instead of the values that they declare; no data "
     "becomes NaN, in the output, too. -nodata=keep leaves no-data values as numbers",
     kField<&Job::elements>, [] { return Texts{"keep"}; }},
    {"-a_nodata", "-a_nodata", 1, "VALUE", ", a number", "what stands for no data in the output",
     kField<&Job::outputNoData>},
    {"-unscale", "", 0, "", "", "apply the scale and offset that the inputs' bands declare",
     kField<&Job::elements, &ElementRules::unscale>},
    {"-stats", "", 1, "FILE", ", or -stats=- for standard output",
     "write the statistics as JSON; - is standard output, instead of the lines",
     kUnechoed<&Job::statisticsFile>, AnyFile, true},
    {"-part", "", 1, "K/N", ", whole numbers with K from 1 to N, such as -part=3/16",
     "compute the K-th of N bands of rows of the output NAME.vrt, into the folder NAME.parts; "
     "existing parts are skipped",
     kUnechoed<&Job::part>},
    {"-join", "", 1, "NAME.vrt", "; the name of a mosaic of parts must end in .vrt",
     "make the mosaic of all parts; with -overwrite, -stats=, -strict, -quiet alone",
     kAction<kJoin>, AnyFile, true},
    {"-overwrite", "", 0, "", "",
     "replace the output, which may be an input, and the file of -stats=",
     kUnechoed<&Job::overwrite>, nullptr, true},
    {"-strict", "", 0, "", "", "let a warning fail the run, with nothing written",
     kUnechoed<&Job::strict>, nullptr, true},
    {"-check", "", 0, "", "",
     "check the files and options and print the name of the output; compute and write nothing",
     kSwitch<&Options::checkOnly>},
    {"-quiet", "-q", 0, "", "",
     "print no statistics and no progress; statistics are those of the result before an integer "
     "mode rounds and saturates it",
     kSwitch<&Options::quiet>, nullptr, true},
    {"-progress", "", 0, "", "",
     "print the share done on standard error, in percent, as one whole number a line, for programs",
     kSwitch<&Options::progress>},
    {"-panel", "", 0, "", "",
     "show the panel with these files and options; files may be left out. A second of two files is "
     "the output if it does not exist. On a desktop also without any argument",
     kAction<kPanel>},
    {"-help", "--help", 0, "", "", "print this text, as -h does", kAction<kHelp>},
    {"-h", "", 0, "", "", nullptr, kAction<kHelp>},
    {"-version", "--version", 0, "", "", "print the versions of the program and of GDAL",
     kAction<kVersion>},
    {"-completions", "", 0, "", "", "print the options and their known values, for a shell",
     kAction<kCompletions>},
    {"-operators", "", 0, "", "", "print the name and the formula of each operator, for programs",
     kAction<kOperators>},
    {"", "--config", 2, "", "", nullptr, kConfigOption},
};

}  // namespace

std::string HostOption::Synopsis() const {
  return std::string(name).append(values > 0 ? "=" : "").append(form);
}

std::span<const HostOption> HostOptions() { return kHostOptions; }

std::string NameOf(const std::string& argument) { return argument.substr(0, argument.find('=')); }

const HostOption* FindHostOption(const std::string& name) {
  const auto* const found = std::ranges::find_if(kHostOptions, [&](const HostOption& option) {
    return name == option.name || name == option.gdalName;
  });
  return found == std::end(kHostOptions) ? nullptr : found;
}

}  // namespace lumomixcalc::standalone
