#include "standalone/runs/memory_run.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "standalone/messages.h"
#include "standalone/runs/run_session.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {
namespace {

class MemorySink : public StripSink {
 public:
  MemorySink(const OutputGrid& grid, bool complex)
      : rowFloats_(static_cast<std::size_t>(grid.columns) * (complex ? 2 : 1)),
        values_(rowFloats_ * static_cast<std::size_t>(grid.rows)) {}

  int AlignedEnd(int firstRow, int rows) const override { return firstRow + rows; }
  void Write(int, int firstRow, int rows, const float* values, const std::stop_token&) override {
    std::copy_n(values, rowFloats_ * static_cast<std::size_t>(rows),
                values_.data() + rowFloats_ * static_cast<std::size_t>(firstRow));
  }
  void FlushCompleteBlocks(int, const std::stop_token&) override {}

  std::vector<float> Take() { return std::move(values_); }

 private:
  std::size_t rowFloats_;
  std::vector<float> values_;
};

MemoryRaster Compute(const Options& options, RunContext& context, RunObserver& observer) {
  RunSession session(options, context);
  MemoryRaster raster;
  raster.grid = session.Grid();
  raster.complex = session.Mode().complex;
  ScratchSpace space;  // without a folder: all in memory
  session.SelectInputs(space);
  MemorySink sink(raster.grid, raster.complex);
  ProcessStrips(session, sink, observer);
  raster.values = sink.Take();
  return raster;
}

}  // namespace

MemoryRaster RunInMemory(const Options& options, RunContext& context, RunObserver& observer) {
  Options ofOneBand = options;
  ofOneBand.bands = {options.bands.empty() ? 1 : options.bands.front()};
  std::string told;
  const MessageRedirection redirection(
      [&told](const std::string& sentence) { told += (told.empty() ? "" : "\n") + sentence; });
  try {
    return Compute(ofOneBand, context, observer);
  } catch (const RunCancelled&) {
    throw;
  } catch (const Failure& failure) {
    if (*failure.what() != '\0') throw;
    throw Failure(told);
  }
}

}  // namespace lumomixcalc::standalone
