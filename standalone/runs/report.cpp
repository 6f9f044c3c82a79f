#include "standalone/runs/report.h"

#include <cpl_string.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

void WarnOfAlteredElements(const std::vector<BandStatistics>& statistics, const DataMode& mode) {
  for (std::size_t i = 0; i < statistics.size(); ++i) {
    const AlteredElements& altered = statistics[i].altered;
    const auto warn = [band = i + 1](std::uint64_t count, const std::string& fate) {
      if (count > 0)
        Warn("band " + std::to_string(band) + ": " + CountText(count, "element") + " " + fate);
    };
    warn(altered.saturated, std::string("beyond the range of ") + mode.name + ", saturated");
    warn(altered.moved, "moved by one, away from the value for no data, which -a_nodata= chooses");
    warn(altered.taken, "equal to the number that stands for no data");
    warn(altered.nan, std::string("stored as 0: NaN, which ") + mode.name + " cannot hold");
  }
}

void WarnOfTheMode(const RunReport& report) {
  const DataMode& mode = *report.plan.mode;
  const std::string name = mode.name;
  if (!mode.complex && report.imaginaryParts)
    Warn("results have imaginary parts, which " + name + " leaves out; " +
         SettingText("-mode", "cfloat32") + " keeps them");
  const bool anyValid = std::ranges::any_of(
      report.bands, [](const BandStatistics& band) { return band.valid.valid > 0; });
  if (mode.complex && !report.plan.modeAsked && anyValid && !report.imaginaryParts)
    Warn("all imaginary parts are zero; " + SettingText("-mode", name.substr(1)) +
         " stores the results in half the space");
}

void AddNumber(CPLJSONObject& object, const char* name, double value) {
  if (std::isfinite(value))
    object.Add(name, value);
  else
    object.Add(name, ShortestText(value));
}

float FloatAt(const CPLJSONObject& object, const char* name) {
  return static_cast<float>(ParseDouble(object.GetString(name)).value_or(0));
}

// The counts of a band, by name.
using Counts = std::array<std::pair<const char*, std::uint64_t&>, 6>;
Counts CountsOf(BandStatistics& band) {
  return {{{"valid", band.valid.valid},
           {"no_data", band.valid.noData},
           {"saturated", band.altered.saturated},
           {"moved", band.altered.moved},
           {"taken", band.altered.taken},
           {"zeroed", band.altered.nan}}};
}

CPLJSONArray AsJson(const ExactSum& sum) {
  CPLJSONArray terms;
  for (const double term : sum.Terms()) terms.Add(ShortestText(term));
  return terms;
}

void ReadSum(const CPLJSONArray& terms, ExactSum& sum) {
  for (int i = 0; i < terms.Size(); ++i) sum.Add(ParseDouble(terms[i].ToString()).value_or(0));
}

CPLJSONObject AsJson(const IPOutputStats& record) {
  CPLJSONObject object;
  AddNumber(object, "minimum", static_cast<double>(record.minimum));
  AddNumber(object, "maximum", static_cast<double>(record.maximum));
  AddNumber(object, "sum", static_cast<double>(record.sum));
  return object;
}

CPLJSONObject AsJson(BandStatistics band, int number, bool exact) {
  CPLJSONObject object;
  object.Add("band", number);
  object.Add("elements", static_cast<GInt64>(band.valid.Elements()));
  for (const auto& [name, count] : CountsOf(band)) object.Add(name, static_cast<GInt64>(count));
  if (band.valid.valid > 0) {
    AddNumber(object, "minimum", static_cast<double>(band.valid.minimum));
    AddNumber(object, "maximum", static_cast<double>(band.valid.maximum));
    AddNumber(object, "mean", band.valid.Mean());
    AddNumber(object, "standard_deviation", band.valid.Deviation());
    AddNumber(object, "sum", band.valid.sum.Rounded());
  }
  CPLJSONArray records;
  for (const IPOutputStats& record : band.recordsOfParts) records.Add(AsJson(record));
  if (records.Size() > 0)
    object.Add("records", records);
  else
    object.Add("record", AsJson(band.record));
  if (!exact) return object;
  object.Add("sum_terms", AsJson(band.valid.sum));
  object.Add("square_terms", AsJson(band.valid.squares));
  return object;
}

BandStatistics ReadBand(const CPLJSONObject& object) {
  BandStatistics band;
  for (const auto& [name, count] : CountsOf(band))
    count = static_cast<std::uint64_t>(object.GetLong(name));
  if (band.valid.valid > 0) {
    band.valid.minimum = FloatAt(object, "minimum");
    band.valid.maximum = FloatAt(object, "maximum");
  }
  ReadSum(object.GetArray("sum_terms"), band.valid.sum);
  ReadSum(object.GetArray("square_terms"), band.valid.squares);
  band.record = {FloatAt(object, "record/minimum"), FloatAt(object, "record/maximum"),
                 FloatAt(object, "record/sum")};
  return band;
}

// The number of this process's open file that a path such as /dev/stdout leads to.
std::optional<int> DescriptorOf(fs::path path) {
  std::error_code error;
  while (fs::is_symlink(path, error)) {
    if (fs::equivalent(path.parent_path(), "/proc/self/fd", error))
      return ParseInt(path.filename().string());
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return std::nullopt;
}

}  // namespace

void WarnOfResults(const RunReport& report) {
  WarnOfAlteredElements(report.bands, *report.plan.mode);
  WarnOfTheMode(report);
}

CPLJSONObject AsJson(const RunReport& report, bool exact) {
  CPLJSONObject object;
  const RunPlan& plan = report.plan;
  object.Add("command", Utf8(plan.command));
  object.Add("output", Utf8(plan.output));
  object.Add("format", plan.format.Name());
  object.Add("mode", plan.mode->name);
  object.Add("columns", plan.grid.columns);
  object.Add("rows", plan.grid.rows);
  CPLJSONArray looks;
  looks.Add(plan.grid.looks.x);
  looks.Add(plan.grid.looks.y);
  object.Add("looks", looks);
  object.Add("seconds", report.seconds);
  CPLJSONArray bands;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    bands.Add(AsJson(report.bands[i], static_cast<int>(i) + 1, exact));
  object.Add("bands", bands);
  CPLJSONArray warnings;
  for (const std::string& warning : report.warnings) warnings.Add(Utf8(warning));
  object.Add("warnings", warnings);
  if (!exact) return object;
  object.Add("mode_asked", plan.modeAsked);
  object.Add("imaginary_parts", report.imaginaryParts);
  return object;
}

std::optional<RunReport> ReadReport(const CPLJSONObject& object) {
  RunReport report;
  report.plan.command = object.GetString("command");
  report.plan.mode = FindDataMode(object.GetString("mode"));
  if (!report.plan.mode) return std::nullopt;
  report.plan.modeAsked = object.GetBool("mode_asked");
  report.plan.grid.columns = object.GetInteger("columns");
  report.plan.grid.rows = object.GetInteger("rows");
  const CPLJSONArray looks = object.GetArray("looks");
  report.plan.grid.looks = {looks[0].ToInteger(), looks[1].ToInteger()};
  report.seconds = object.GetDouble("seconds");
  const CPLJSONArray bands = object.GetArray("bands");
  for (int i = 0; i < bands.Size(); ++i) report.bands.push_back(ReadBand(bands[i]));
  report.imaginaryParts = object.GetBool("imaginary_parts");
  const CPLJSONArray warnings = object.GetArray("warnings");
  for (int i = 0; i < warnings.Size(); ++i) report.warnings.push_back(warnings[i].ToString());
  return report;
}

std::string Utf8(const std::string& text) {
  if (CPLIsUTF8(text.c_str(), -1)) return text;
  return CPLString(text).Recode(CPL_ENC_ISO8859_1, CPL_ENC_UTF8);
}

ReportFile::ReportFile(const std::string& path, bool overwrite,
                       const std::vector<InputFiles>& inputs, const fs::path& output)
    : path_(path), overwrite_(overwrite) {
  if (path == "-") {
    descriptor_ = STDOUT_FILENO;
    return;
  }
  const fs::path target = FollowLinks(path);
  if (IsSameFile(target, output)) Fail("it is the output");
  for (const InputFiles& input : inputs)
    for (const std::string& file : input.files)
      if (IsSameFile(target, file)) Fail("it belongs to the input " + input.name);
  file_ = path;
  std::error_code error;
  descriptor_ = DescriptorOf(path);
  isSpecial_ = descriptor_ || fs::is_other(fs::status(path, error));
  if (!isSpecial_) file_ = ResolveOutput(path, overwrite);
}

void ReportFile::Fail(const std::string& reason) const {
  const std::string place =
      path_ == "-" ? "statistics to standard output" : "statistics file " + path_;
  throw Failure("cannot write the " + place + ": " + reason);
}

void ReportFile::Write(const RunReport& report) {
  const std::string text = AsJson(report).Format(CPLJSONObject::PrettyFormat::Pretty) + "\n";
  if (!descriptor_ && !isSpecial_) {
    publication_.emplace(file_, overwrite_, std::vector<InputFiles>());
    file_ = publication_->Folder() / file_.filename();
  }
  std::FILE* const stream =
      descriptor_ ? fdopen(dup(*descriptor_), "w") : std::fopen(file_.c_str(), "we");
  if (!stream) Fail(std::strerror(errno));
  std::string problem;
  if (std::fputs(text.c_str(), stream) < 0) problem = std::strerror(errno);
  if (std::fclose(stream) != 0 && problem.empty()) problem = std::strerror(errno);
  if (!problem.empty()) Fail(problem);
}

void ReportFile::Publish() {
  if (publication_) publication_->Publish();
}

}  // namespace lumomixcalc::standalone
