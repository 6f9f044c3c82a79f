#include "standalone/runs/report.h"

#include <cpl_json.h>
#include <cpl_string.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "standalone/base/messages.h"
#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;

static void AddNumber(CPLJSONObject& object, const char* name, double value) {
  if (std::isfinite(value))
    object.Add(name, value);
  else
    object.Add(name, ShortestText(value));
}

static void AddCount(CPLJSONObject& object, const char* name, std::uint64_t value) {
  object.Add(name, static_cast<GInt64>(value));
}

static CPLJSONObject RecordObject(const IPOutputStats& record) {
  CPLJSONObject object;
  AddNumber(object, "minimum", static_cast<double>(record.minimum));
  AddNumber(object, "maximum", static_cast<double>(record.maximum));
  AddNumber(object, "sum", static_cast<double>(record.sum));
  return object;
}

static CPLJSONObject BandObject(int number, const BandStatistics& band) {
  CPLJSONObject object;
  object.Add("band", number);
  AddCount(object, "elements", band.valid.Elements());
  AddCount(object, "valid", band.valid.valid);
  AddCount(object, "no_data", band.valid.noData);
  if (band.valid.valid > 0) {
    AddNumber(object, "minimum", static_cast<double>(band.valid.minimum));
    AddNumber(object, "maximum", static_cast<double>(band.valid.maximum));
    AddNumber(object, "mean", band.valid.Mean());
    AddNumber(object, "standard_deviation", band.valid.Deviation());
    AddNumber(object, "sum", band.valid.sum.Rounded());
  }
  AddCount(object, "saturated", band.altered.saturated);
  AddCount(object, "moved", band.altered.moved);
  AddCount(object, "taken", band.altered.taken);
  AddCount(object, "zeroed", band.altered.nan);
  CPLJSONArray records;
  for (const IPOutputStats& record : band.recordsOfParts) records.Add(RecordObject(record));
  if (records.Size() > 0)
    object.Add("records", records);
  else
    object.Add("record", RecordObject(band.record));
  return object;
}

std::string Utf8(const std::string& text) {
  if (CPLIsUTF8(text.c_str(), -1)) return text;
  return CPLString(text).Recode(CPL_ENC_ISO8859_1, CPL_ENC_UTF8);
}

std::string ReportAsJson(const RunReport& report) {
  CPLJSONDocument document;
  CPLJSONObject root = document.GetRoot();
  root.Add("command", Utf8(report.command));
  root.Add("output", Utf8(report.output));
  root.Add("format", report.format);
  root.Add("mode", report.mode);
  root.Add("columns", report.grid.columns);
  root.Add("rows", report.grid.rows);
  CPLJSONArray looks;
  looks.Add(report.grid.looks.x);
  looks.Add(report.grid.looks.y);
  root.Add("looks", looks);
  root.Add("seconds", report.seconds);
  CPLJSONArray bands;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    bands.Add(BandObject(static_cast<int>(i) + 1, report.bands[i]));
  root.Add("bands", bands);
  return document.SaveAsString() + "\n";
}

// The number of this process's open file that a path such as /dev/stdout leads to.
static std::optional<int> DescriptorOf(fs::path path) {
  std::error_code error;
  while (fs::is_symlink(path, error)) {
    if (fs::equivalent(path.parent_path(), "/proc/self/fd", error))
      return ParseInt(path.filename().string());
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return std::nullopt;
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
  for (const InputFiles& input : inputs) {
    const auto isThis = [&](const std::string& file) { return IsSameFile(target, file); };
    if (isThis(input.name) || std::any_of(input.files.begin(), input.files.end(), isThis))
      Fail("it belongs to the input " + input.name);
  }
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

void ReportFile::Write(const std::string& text) {
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
