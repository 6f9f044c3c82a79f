#ifndef LUMOMIXCALC_STANDALONE_RUNS_STRIP_PROCESSING_H
#define LUMOMIXCALC_STANDALONE_RUNS_STRIP_PROCESSING_H

#include <stop_token>
#include <vector>

#include "standalone/runs/run_observer.h"
#include "standalone/runs/run_session.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// Takes the strips that a run computes, on one thread of its own. What takes long ends by throwing
// RunCancelled when stop asks for it.
class StripSink {
 public:
  StripSink() = default;
  virtual ~StripSink() = default;
  StripSink(const StripSink&) = delete;
  StripSink& operator=(const StripSink&) = delete;

  // The end of the strip that starts at firstRow and has at most rows rows, should the sink prefer
  // fewer.
  virtual int AlignedEnd(int firstRow, int rows) const = 0;

  // Takes rows of a band (from 1, counting the run's bands): columns * rows elements, pairs of
  // floats in a complex mode.
  virtual void Write(int band, int firstRow, int rows, const float* values,
                     const std::stop_token& stop) = 0;

  // All bands are written up to endRow.
  virtual void FlushCompleteBlocks(int endRow, const std::stop_token& stop) = 0;
};

// Has the application process everything that the session chose: strips of whole rows from top to
// bottom and, inside a strip, band by band, so that files with interleaved bands are read and
// written once. Every input is read ahead and the sink written behind on threads of their own; the
// application and the observer are called on the caller's thread alone. The session's inputs must
// be selected. Returns the statistics by band. Throws Failure, RunCancelled when the observer says
// so, and a Failure without text when the application desists.
std::vector<BandStatistics> ProcessStrips(RunSession& session, StripSink& sink,
                                          RunObserver& observer);

}  // namespace lumomixcalc::standalone

#endif
