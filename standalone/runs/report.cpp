#include "standalone/runs/report.h"

#include <cpl_json.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
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
    AddNumber(object, "sum", band.valid.sum);
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

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw Failure("cannot write the statistics file " + path + ": " + reason);
}

void WriteTo(const fs::path& file, const std::string& text, const std::string& path) {
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) Fail(path, "opening, writing or closing it fails");
}

}  // namespace

std::string ReportAsJson(const RunReport& report) {
  CPLJSONDocument document;
  CPLJSONObject root = document.GetRoot();
  root.Add("command", report.command);
  root.Add("output", report.output);
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

void CheckReportPath(const std::string& path) {
  if (path.empty() || path == "-") return;
  const fs::path file = path;
  std::error_code error;
  if (fs::is_directory(file, error)) Fail(path, "it is a folder");
  if (file.has_parent_path() && !fs::is_directory(file.parent_path(), error))
    Fail(path, "there is no folder " + file.parent_path().string());
}

void WriteReport(const std::string& text, const std::string& path) {
  if (path == "-") {
    std::fputs(text.c_str(), stdout);
    return;
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  // A device or a pipe is written as it stands.
  if (fs::exists(status) && !fs::is_regular_file(status)) return WriteTo(path, text, path);
  const fs::path partial = path + ".partial";
  try {
    WriteTo(partial, text, path);
    fs::rename(partial, path, error);
    if (error) Fail(path, error.message());
  } catch (const Failure&) {
    fs::remove(partial, error);
    throw;
  }
}

}  // namespace lumomixcalc::standalone
