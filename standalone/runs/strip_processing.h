#pragma once

#include <functional>
#include <vector>

#include "standalone/base/elements.h"
#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/report.h"

namespace lumomixcalc::standalone {

// Takes the next finished rows of a band of the output, counted from 1: looks are averaged, and no
// data is NaN. Called on a separate thread.
using RowSink = std::function<void(int band, int firstRow, const ConstElements& rows)>;

// The largest number of rows before looks in a strip of the run, at least one. It is so small that
// the strips in use stay in a processor's second-level cache, and that all bands of a strip fit
// easily into memory.
int RowsPerStrip(const RunPlan& plan, const std::vector<RunInput>& inputs);

// Has the application process all bands and rows of the report's plan: strips of whole rows from
// top to bottom and, inside a strip, band by band, so that files with interleaved bands are read
// and written once. Strips end at multiples of blockRows, the rows in a row of blocks of the
// output, if possible. An element that is no data in an input becomes NaN in the output, unless the
// plan keeps no-data values. One thread per input reads the next strip, and another averages looks
// and calls the sink; the application and control are called only on the caller's thread. Call
// SelectInputs before. Adds the application's records to the report and, for a file, whether a real
// output loses imaginary parts. Throws Failure, Cancelled, Desisted.
void ProcessStrips(const std::vector<RunInput>& inputs, HostState& host, int blockRows,
                   const RowSink& sink, const RunControl& control, RunReport& report);

}  // namespace lumomixcalc::standalone
