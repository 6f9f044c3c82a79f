#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "standalone/rasters/grid.h"
#include "standalone/rasters/publication.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// What a run tells of itself beside its statistics.
struct RunReport {
  std::string command;  // that repeats it
  std::string output;   // file
  std::string format;
  std::string mode;
  OutputGrid grid;
  std::optional<double> noData;  // what stands for it in the output, if anything does
  double seconds = 0;
  std::vector<BandStatistics> bands;
  bool imaginaryPartsLost = false;  // by a real output
  bool imaginaryPartsHeld = false;  // by a complex output, one other than zero at least
};

// The report as a JSON object in UTF-8. Of each band: counts of elements, valid and no_data ones;
// minimum, maximum, mean, standard_deviation and sum of the valid ones (absent when there are
// none); counts of saturated, moved and zeroed elements of an integer mode, and of those taken for
// no data in another; and record, what the application itself counted, or records, by parts, of a
// mosaic. Numbers that JSON has not are the strings "nan", "inf" and "-inf". A text that is not
// UTF-8 is taken as Latin-1, so that no byte of a file name is lost.
std::string ReportAsJson(const RunReport& report);

// The text in UTF-8; one that is not is taken as Latin-1.
std::string Utf8(const std::string& text);

// Where a report goes: a file, which appears whole or not at all; a device or pipe; or, as "-",
// standard output.
class ReportFile {
 public:
  // Throws Failure when path is the output, an input or a file of one, exists without overwrite, or
  // has no folder that can be written.
  ReportFile(const std::string& path, bool overwrite, const std::vector<InputFiles>& inputs,
             const std::filesystem::path& output);

  // Writes text, which a file shows only after Publish. Throws Failure.
  void Write(const std::string& text) const;

  // Gives a file its name. Throws Failure.
  void Publish();

 private:
  [[noreturn]] void Fail(const std::string& reason) const;

  std::string path_;                        // as the user names it
  std::filesystem::path file_;              // what is written; empty for standard output
  std::optional<Publication> publication_;  // of a regular file
};

}  // namespace lumomixcalc::standalone
