#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/rasters/grid.h"
#include "standalone/runs/job.h"
#include "standalone/runs/report.h"

namespace lumomixcalc::standalone {

// One run of the application over the files of a job: opens, checks, prepares, processes every band
// strip by strip and publishes the output, and the statistics file, if the job names one. The
// application must have its parameters, read from the command line or set by a panel. command,
// which repeats the run, is stored in the output and the report. Throws Failure, Cancelled,
// Desisted, with nothing published; only when a statistics file that was written cannot be renamed
// to its place at last, the output is there.
RunReport RunBatch(const Job& job, const std::string& command, HostState& host,
                   const RunControl& control);

// Warns of what the mode does not hold of the results, and of a mode that holds more than they
// have.
void WarnOfResults(const RunReport& report);

// One band in memory.
struct MemoryRaster {
  OutputGrid grid;  // its size, and where it lies on the inputs
  bool complex = false;
  std::vector<float> values;  // grid.columns * grid.rows elements by rows; pairs when complex
};

// One run of the application as RunBatch makes it, of one band and into memory: nothing is written
// or counted, and the job needs no output file; warnings and the reason why the application desists
// are told. Takes the first of job.bands, or band 1. Elements are those before an integer mode
// would round them. Throws Failure, Cancelled, Desisted.
MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control);

}  // namespace lumomixcalc::standalone
