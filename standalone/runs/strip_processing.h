#pragma once

#include <functional>
#include <vector>

#include "host/ip.h"
#include "standalone/runs/job.h"
#include "standalone/runs/session.h"

namespace lumomixcalc::standalone {

// Receives the strips that a run computes.
struct StripSink {
  // The processed rows in a row of blocks of the output. Strips end at its multiples if possible.
  int blockRows = 1;
  // Takes processed rows of a band (the run's bands are counted from 1): columns * rows elements,
  // pairs of floats in a complex mode. Called on a separate thread.
  std::function<void(int band, int firstRow, int rows, const float* values)> write;
  // Called on the caller's thread when the inputs' buffers hold so many rows of a band, before they
  // are processed.
  std::function<void(int rows)> onInputs = [](int) {};
};

// Has the application process all bands and rows of the session: strips of whole rows from top to
// bottom and, inside a strip, band by band, so that files with interleaved bands are read and
// written once. An element that is no data in an input becomes NaN in the output, unless the job
// says keepNoData. One thread per input reads the next strip and another calls sink.write; the
// application, control and the rest of sink are called only on the caller's thread. Call
// Session::SelectInputs before. Returns the application's records by band. Throws Failure,
// Cancelled, Desisted.
std::vector<IPOutputStats> ProcessStrips(Session& session, const StripSink& sink,
                                         const RunControl& control);

}  // namespace lumomixcalc::standalone
