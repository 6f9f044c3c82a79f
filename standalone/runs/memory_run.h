#ifndef LUMOMIXCALC_STANDALONE_RUNS_MEMORY_RUN_H
#define LUMOMIXCALC_STANDALONE_RUNS_MEMORY_RUN_H

#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/rasters/grid.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// One band that a run computed, in memory.
struct MemoryRaster {
  OutputGrid grid;  // its size, and where it lies on the inputs
  bool complex = false;
  std::vector<float> values;  // grid.columns * grid.rows elements by rows; pairs when complex
};

// One run of the application as RunBatch makes it, of one band and into memory: nothing is written
// or counted, and the job needs no output file; warnings and the reason why the application desists
// are told. Takes the first of job.bands, or band 1; job.selection chooses place and resolution,
// and Resampling::kPreview reads quickest. Elements are those before an integer mode would round
// them. Throws Failure, Cancelled, Desisted.
MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control);

}  // namespace lumomixcalc::standalone

#endif
