#ifndef LUMOMIXCALC_STANDALONE_RUNS_REPORT_H
#define LUMOMIXCALC_STANDALONE_RUNS_REPORT_H

#include <string>
#include <vector>

#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// What a run tells of itself beside its statistics.
struct RunReport {
  std::string command;  // that repeats it
  std::string output;   // file
  std::string format;
  std::string mode;
  int columns = 0;
  int rows = 0;
  double seconds = 0;
  std::vector<BandStatistics> bands;
};

// The report as a JSON object. Of each band: counts of elements, valid and no_data ones; minimum,
// maximum, mean and sum of the valid ones (absent when there are none); counts of saturated, moved
// and zeroed elements of an integer mode; and record, what the application itself counted. Numbers
// that JSON has not are the strings "nan", "inf" and "-inf".
std::string ReportAsJson(const RunReport& report);

// Throws Failure when a report cannot be written to path; to be called before any work.
void CheckReportPath(const std::string& path);

// Writes text to the file path, whole or not at all, or for "-" to standard output. Throws Failure.
void WriteReport(const std::string& text, const std::string& path);

}  // namespace lumomixcalc::standalone

#endif
