#include "standalone/strip_processing.h"

#include <algorithm>
#include <cstdint>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

// Rows of a strip: all its buffers together stay in a processor's second-level cache.
int RowsPerStrip(const RunSession& session) {
  constexpr std::int64_t kStripBytes = 2 << 20;
  constexpr std::int64_t kFloatBytes = sizeof(float);
  const DataMode& mode = session.Mode();
  std::int64_t elementBytes = (mode.complex ? 2 : 1) * kFloatBytes;
  if (mode.integer) elementBytes += GDALGetDataTypeSizeBytes(mode.type);
  for (const RunInput& input : session.Inputs())
    elementBytes += input.raster->Parts() * kFloatBytes;
  const OutputGrid& grid = session.Grid();
  return static_cast<int>(
      std::clamp<std::int64_t>(kStripBytes / (elementBytes * grid.columns), 1, grid.rows));
}

// One input stream and the strip of it that is in memory.
struct InputStrip {
  RunInput* input = nullptr;
  std::vector<float> buffer;
  int bandHeld = 0;  // the band of which buffer holds the current strip; 0 for none
};

// Fills the input buffers with a strip of a band and has the application process it.
void ProcessStrip(RunSession& session, std::vector<InputStrip>& inputs, int band, int firstRow,
                  const IPBlock& block, BandStatistics& statistics) {
  for (InputStrip& input : inputs) {
    RasterInput& raster = *input.input->raster;
    // A one-band input goes with every band of the others.
    const int inputBand = std::min(band, raster.Bands());
    if (input.bandHeld != inputBand)
      raster.Read(inputBand, firstRow, block.rows, input.buffer.data());
    input.bandHeld = inputBand;
  }
  session.Process(block, statistics.record);
  statistics.count +=
      static_cast<std::uint64_t>(block.columns) * static_cast<std::uint64_t>(block.rows);
}

}  // namespace

std::vector<BandStatistics> ProcessStrips(RunSession& session, StripSink& sink,
                                          RunObserver& observer) {
  const OutputGrid& grid = session.Grid();
  const int stripRows = RowsPerStrip(session);
  const std::size_t stripElements =
      static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(stripRows);
  std::vector<InputStrip> inputs;
  for (RunInput& input : session.Inputs()) {
    const auto parts = static_cast<std::size_t>(input.raster->Parts());
    inputs.push_back({&input, std::vector<float>(stripElements * parts), 0});
    session.SetBlockData(input.stream, inputs.back().buffer.data());
  }
  std::vector<float> output(stripElements * (session.Mode().complex ? 2 : 1));
  session.SetBlockData(session.OutputStream(), output.data());

  const std::vector<int>& bands = session.Bands();
  std::vector<BandStatistics> statistics(bands.size());
  for (int row = 0, end = 0; row < grid.rows; row = end) {
    end = sink.AlignedEnd(row, std::min(stripRows, grid.rows - row));
    const IPBlock block = {grid.columns, end - row};
    for (InputStrip& input : inputs) input.bandHeld = 0;
    for (std::size_t i = 0; i < bands.size(); ++i) {
      if (observer.IsCancelled()) throw RunCancelled();
      ProcessStrip(session, inputs, bands[i], row, block, statistics[i]);
      sink.Write(static_cast<int>(i) + 1, row, block.rows, output.data());
    }
    sink.FlushCompleteBlocks(end);
    observer.Progress(static_cast<double>(end) / grid.rows);
  }
  return statistics;
}

}  // namespace lumomixcalc::standalone
