#ifndef LUMOMIXCALC_STANDALONE_BATCH_RUN_H
#define LUMOMIXCALC_STANDALONE_BATCH_RUN_H

#include "standalone/options.h"
#include "standalone/run_context.h"

namespace lumomixcalc::standalone {

/// One run of the application over the files of options: opens, checks, prepares, processes every
/// band strip by strip, publishes the output and prints its statistics. The application must have
/// read its arguments. Throws Failure, with nothing published, also when the application desists;
/// a Failure with no text then, for the application has told the reason itself.
void RunBatch(const Options& options, RunContext& context);

}  // namespace lumomixcalc::standalone

#endif
