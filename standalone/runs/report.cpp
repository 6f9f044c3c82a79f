#include "standalone/runs/report.h"

#include <cpl_json.h>
#include <cpl_string.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

void AddNumber(CPLJSONObject& object, const char* name, double value) {
  if (std::isfinite(value))
    object.Add(name, value);
  else
    object.Add(name, ShortestText(value));
}

void AddCount(CPLJSONObject& object, const char* name, std::uint64_t value) {
  object.Add(name, static_cast<GInt64>(value));
}

CPLJSONObject BandObject(int number, const BandStatistics& band) {
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
  AddCount(object, "saturated", band.unheld.saturated);
  AddCount(object, "moved", band.unheld.moved);
  AddCount(object, "zeroed", band.unheld.nan);
  CPLJSONObject record;
  AddNumber(record, "minimum", static_cast<double>(band.record.minimum));
  AddNumber(record, "maximum", static_cast<double>(band.record.maximum));
  AddNumber(record, "sum", static_cast<double>(band.record.sum));
  object.Add("record", record);
  return object;
}

std::string Utf8(const std::string& text) {
  if (CPLIsUTF8(text.c_str(), -1)) return text;
  const std::unique_ptr<char, decltype(&VSIFree)> recoded(
      CPLRecode(text.c_str(), CPL_ENC_ISO8859_1, CPL_ENC_UTF8), VSIFree);
  return recoded.get();
}

// By name or as one file with several.
bool IsTheSame(const fs::path& one, const fs::path& other) {
  std::error_code error;
  const fs::path name = fs::weakly_canonical(one, error);
  return IsSameFile(one, other) || (!name.empty() && name == fs::weakly_canonical(other, error));
}

}  // namespace

std::string ReportAsJson(const RunReport& report) {
  CPLJSONDocument document;
  CPLJSONObject root = document.GetRoot();
  root.Add("command", Utf8(report.command));
  root.Add("output", Utf8(report.output));
  root.Add("format", report.format);
  root.Add("mode", report.mode);
  root.Add("columns", report.columns);
  root.Add("rows", report.rows);
  root.Add("seconds", report.seconds);
  CPLJSONArray bands;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    bands.Add(BandObject(static_cast<int>(i) + 1, report.bands[i]));
  root.Add("bands", bands);
  return document.SaveAsString() + "\n";
}

ReportFile::ReportFile(const std::string& path, bool overwrite,
                       const std::vector<InputFiles>& inputs, const fs::path& output)
    : path_(path), overwrite_(overwrite) {
  if (path == "-") return;
  if (IsTheSame(path, output)) Fail("it is the output");
  for (const InputFiles& input : inputs) {
    const auto isThis = [&path](const std::string& file) { return IsTheSame(path, file); };
    if (isThis(input.name) || std::any_of(input.files.begin(), input.files.end(), isThis))
      Fail("it belongs to the input " + input.name);
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) Fail("it is a folder");
  isFile_ = !fs::exists(status) || fs::is_regular_file(status);
  if (!isFile_) return;
  if (!overwrite && fs::exists(fs::symlink_status(path, error)))
    Fail("it exists already; -overwrite replaces it");
  target_ = FollowLinks(path);
  if (access(fs::absolute(target_).parent_path().c_str(), W_OK) != 0)
    Fail(std::string("in its folder: ") + std::strerror(errno));
}

ReportFile::~ReportFile() {
  std::error_code ignored;
  if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void ReportFile::Fail(const std::string& reason) const {
  const std::string place =
      path_ == "-" ? "statistics to standard output" : "statistics file " + path_;
  throw Failure("cannot write the " + place + ": " + reason);
}

std::FILE* ReportFile::OpenTemporaryFile() {
  std::string name = target_.string() + ".XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  temporary_ = name;
  const mode_t masked = umask(0);
  umask(masked);
  fchmod(descriptor, 0666 & ~masked);  // as a file that is not temporary
  return fdopen(descriptor, "w");
}

void ReportFile::Write(const std::string& text) {
  std::FILE* const stream = path_ == "-" ? stdout
                            : isFile_    ? OpenTemporaryFile()
                                         : std::fopen(path_.c_str(), "we");
  if (!stream) Fail(std::strerror(errno));
  std::string problem;
  if (std::fputs(text.c_str(), stream) < 0 || std::fflush(stream) != 0)
    problem = std::strerror(errno);
  if (stream != stdout && std::fclose(stream) != 0 && problem.empty())
    problem = std::strerror(errno);
  if (!problem.empty()) Fail(problem);
}

void ReportFile::Publish() {
  if (temporary_.empty()) return;
  if (const int error = MoveIntoPlace(temporary_, target_, overwrite_); error != 0)
    Fail(std::strerror(error));
  temporary_.clear();
}

}  // namespace lumomixcalc::standalone
