#ifndef LUMOMIXCALC_STANDALONE_RUNS_PIPELINE_H
#define LUMOMIXCALC_STANDALONE_RUNS_PIPELINE_H

#include <functional>
#include <vector>

#include "standalone/runs/job.h"
#include "standalone/runs/session.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// Where the strips that a run computes go; both functions are called on one thread of its own.
struct StripSink {
  // Rows of a block of the file: strips end with them where they can.
  int blockRows = 1;
  // Takes rows of a band (from 1, counting the run's bands): columns * rows elements, pairs of
  // floats in a complex mode.
  std::function<void(int band, int firstRow, int rows, const float* values)> write;
  // All bands are written up to endRow.
  std::function<void(int endRow)> flush = [](int) {};
};

// Has the application process everything that the session chose: strips of whole rows from top to
// bottom and, inside a strip, band by band, so that files with interleaved bands are read and
// written once. Every input is read ahead and the sink written behind on threads of their own; the
// application and control are called on the caller's thread alone. The session's inputs must be
// selected. Returns the statistics by band. Throws Failure, Cancelled, Desisted.
std::vector<BandStatistics> ProcessStrips(Session& session, const StripSink& sink,
                                          const RunControl& control);

}  // namespace lumomixcalc::standalone

#endif
