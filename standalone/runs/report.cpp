#include "standalone/runs/report.h"

#include <cpl_json.h>
#include <cpl_string.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
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

bool IsSameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  if (fs::equivalent(one, other, error)) return true;
  const fs::path name = fs::weakly_canonical(one, error);
  return !name.empty() && name == fs::weakly_canonical(other, error);
}

std::string SystemError() { return std::generic_category().message(errno); }

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
                       const std::vector<std::string>& keptFiles)
    : path_(path), overwrite_(overwrite) {
  if (path == "-") return;
  for (const std::string& kept : keptFiles)
    if (IsSameFile(path, kept))
      Fail("it is the same file as " + kept + ", an input, the output or a part of them");
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) Fail("it is a folder");
  isFile_ = !fs::exists(status) || fs::is_regular_file(status);
  if (!isFile_) return;
  if (!overwrite && fs::exists(fs::symlink_status(path, error)))
    Fail("it exists already; -overwrite replaces it");
  target_ = fs::weakly_canonical(fs::absolute(path), error);
  if (error) Fail(error.message());
  if (!fs::is_directory(target_.parent_path(), error))
    Fail("there is no folder " + target_.parent_path().string());
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

// The file gets the permissions of a new file, but never more than those of the one it replaces.
std::FILE* ReportFile::OpenTemporaryFile() {
  std::string name = target_.parent_path() / ".lumomixcalc-XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  temporary_ = name;
  const mode_t mask = umask(0);
  umask(mask);
  mode_t permissions = 0666 & ~mask;
  struct stat replaced = {};
  if (stat(target_.c_str(), &replaced) == 0) permissions &= replaced.st_mode;
  fchmod(descriptor, permissions);
  return fdopen(descriptor, "w");
}

void ReportFile::Write(const std::string& text) {
  std::FILE* const stream = path_ == "-" ? stdout
                            : isFile_    ? OpenTemporaryFile()
                                         : std::fopen(path_.c_str(), "we");
  if (!stream) Fail(SystemError());
  std::string problem;
  if (std::fputs(text.c_str(), stream) < 0 || std::fflush(stream) != 0) problem = SystemError();
  if (stream != stdout && std::fclose(stream) != 0 && problem.empty()) problem = SystemError();
  if (!problem.empty()) Fail(problem);
}

void ReportFile::Publish() {
  if (temporary_.empty()) return;
  const auto rename = [this](unsigned flags) {
    return renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), flags) == 0;
  };
  // Some file systems have no rename without replacement.
  const bool renamed = rename(overwrite_ ? 0 : RENAME_NOREPLACE) || (errno == EINVAL && rename(0));
  if (!renamed) Fail(SystemError());
  temporary_.clear();
}

}  // namespace lumomixcalc::standalone
