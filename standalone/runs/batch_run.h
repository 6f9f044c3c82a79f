#ifndef LUMOMIXCALC_STANDALONE_RUNS_BATCH_RUN_H
#define LUMOMIXCALC_STANDALONE_RUNS_BATCH_RUN_H

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"
#include "standalone/runs/run_observer.h"
#include "standalone/runs/statistics_file.h"

namespace lumomixcalc::standalone {

// One run of the application over the files of options: opens, checks, prepares, processes every
// band strip by strip, publishes the output and writes the statistics file, if options names one.
// The application must have its parameters, read from the command line or set by a panel. Throws
// Failure, with nothing published: RunCancelled when the observer says so, and a Failure with no
// text when the application desists, for it has told the reason itself.
RunReport RunBatch(const Options& options, RunContext& context, RunObserver& observer);

}  // namespace lumomixcalc::standalone

#endif
