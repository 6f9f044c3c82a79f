#pragma once

#include <functional>
#include <vector>

#include "host/ip.h"
#include "standalone/runs/job.h"
#include "standalone/runs/session.h"

namespace lumomixcalc::standalone {

// What becomes of the strips that a run computes.
struct StripSink {
  // Processed rows that make rows of blocks of the file: strips end with them where they can.
  int blockRows = 1;
  // Takes processed rows of a band (from 1, counting the run's bands): columns * rows elements,
  // pairs of floats in a complex mode. Called on a thread of its own.
  std::function<void(int band, int firstRow, int rows, const float* values)> write;
  // Called once on the caller's thread, with the streams at a row in the middle of the image.
  std::function<void()> atMiddleRow = [] {};
};

// Has the application process everything that the session chose: strips of whole rows from top to
// bottom and, inside a strip, band by band, so that files with interleaved bands are read and
// written once. What is no data in an input becomes NaN in the output, unless the job keeps no
// data. Every input is read ahead and the sink written behind on threads of their own; the
// application and control are called on the caller's thread alone. The session's inputs must be
// selected. Returns the application's records by band. Throws Failure, Cancelled, Desisted.
std::vector<IPOutputStats> ProcessStrips(Session& session, const StripSink& sink,
                                         const RunControl& control);

}  // namespace lumomixcalc::standalone
