#ifndef LUMOMIXCALC_STANDALONE_RUNS_BATCH_H
#define LUMOMIXCALC_STANDALONE_RUNS_BATCH_H

#include <string>

#include "standalone/framework/host_calls.h"
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

}  // namespace lumomixcalc::standalone

#endif
