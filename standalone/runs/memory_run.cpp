#include "standalone/runs/memory_run.h"

#include <algorithm>
#include <cstddef>

#include "standalone/runs/session.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {

MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control) {
  Job ofOneBand = job;
  ofOneBand.bands = {job.bands.empty() ? 1 : job.bands.front()};
  Session session(ofOneBand, host);
  MemoryRaster raster;
  raster.grid = session.Grid();
  raster.complex = session.Mode().complex;
  session.SelectInputs();
  const std::size_t rowFloats =
      static_cast<std::size_t>(raster.grid.columns) * (raster.complex ? 2 : 1);
  raster.values.resize(rowFloats * static_cast<std::size_t>(raster.grid.rows));
  StripSink sink;
  sink.write = [&](int, int firstRow, int rows, const float* values) {
    std::copy_n(values, rowFloats * static_cast<std::size_t>(rows),
                raster.values.data() + rowFloats * static_cast<std::size_t>(firstRow));
  };
  ProcessStrips(session, sink, control);
  return raster;
}

}  // namespace lumomixcalc::standalone
