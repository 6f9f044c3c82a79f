#pragma once

#include <cpl_json.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "standalone/rasters/publication.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// The plan of a run and what came of it.
struct RunReport {
  RunReport() = default;
  explicit RunReport(const RunPlan& settled) : plan(settled), bands(settled.bands.size()) {}

  RunPlan plan;
  double seconds = 0;
  std::vector<BandStatistics> bands;  // of the output
  bool imaginaryParts = false;        // a result, even of a real mode, has one other than zero
  std::vector<std::string> warnings;
};

// Warns when the mode loses a part of the results, and when a smaller mode would hold all of them.
void WarnOfResults(const RunReport& report);

// The report as a JSON object in UTF-8. For each band it has the counts of elements, valid and
// no_data ones; minimum, maximum, mean, standard_deviation and sum of the valid ones (absent when
// there are none); the counts of saturated, moved and zeroed elements of an integer mode, and of
// taken elements of a floating mode; and record, which the application counted, or for a mosaic
// records, one for each part. Numbers that JSON cannot express are the strings "nan", "inf" and
// "-inf". Texts are converted by Utf8. With `exact` it also has what ReadReport needs.
CPLJSONObject AsJson(const RunReport& report, bool exact = false);

// Reads an exact report, to the bit. Of the plan it has the command, the mode and whether
// it was asked for, the size and the looks. Returns nothing for any other object.
std::optional<RunReport> ReadReport(const CPLJSONObject& object);

// The text in UTF-8. A text that is not UTF-8 is read as Latin-1, so that no byte of a file name is
// lost.
std::string Utf8(const std::string& text);

// The destination of a report: a file, which appears whole or not at all, a device or pipe, an open
// file of this process such as /dev/stdout, or, for "-", standard output.
class ReportFile {
 public:
  // Throws Failure when path is the output or a file of an input, when it exists and overwrite is
  // false, or when its folder cannot be written.
  ReportFile(const std::string& path, bool overwrite, const std::vector<InputFiles>& inputs,
             const std::filesystem::path& output);

  // Writes the report as JSON. A file appears only after Publish. Throws Failure.
  void Write(const RunReport& report);

  // Moves a file to its place. Throws Failure.
  void Publish();

 private:
  [[noreturn]] void Fail(const std::string& reason) const;

  std::string path_;  // as the user gave it
  bool overwrite_;
  bool isSpecial_ = false;                  // a device or pipe
  std::optional<int> descriptor_;           // of an open file, which is written to, never replaced
  std::filesystem::path file_;              // otherwise the file that is written
  std::optional<Publication> publication_;  // for a regular file
};

}  // namespace lumomixcalc::standalone
