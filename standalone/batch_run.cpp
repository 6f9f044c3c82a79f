#include "standalone/batch_run.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/im.h"
#include "standalone/command_echo.h"
#include "standalone/gdal_errors.h"
#include "standalone/georeferencing.h"
#include "standalone/messages.h"
#include "standalone/output_format.h"
#include "standalone/raster_input.h"
#include "standalone/raster_output.h"
#include "standalone/statistics.h"

namespace lumomixcalc::standalone {
namespace {

/// One input stream of the run: its raster and the strip of it that is in memory.
struct InputStrip {
  int stream = 0;
  std::unique_ptr<RasterInput> raster;
  std::vector<float> buffer;
  int bandHeld = 0;  // the band of which buffer holds the current strip; 0 for none
};

/// The geometry that all inputs of a run share.
struct Extent {
  int columns = 0;
  int rows = 0;
  int bands = 0;
};

void StopIfDesisted(const RunContext& context) {
  if (context.desisted) throw Failure("");
}

std::list<InputStrip> OpenInputs(const Options& options, RunContext& context) {
  std::list<InputStrip> inputs;
  for (const DeclaredStream& declared : context.registration.inputs) {
    const auto file = options.files.find(declared.number);
    if (file == options.files.end()) continue;
    inputs.push_back(
        {declared.number, std::make_unique<RasterInput>(declared.label, file->second), {}, 0});
    StreamState& state = context.streams[declared.number];
    state.open = true;
    state.mode = inputs.back().raster->Mode().code;
  }
  context.streams[context.registration.Output().number].open = true;
  return inputs;
}

/// Keeps the inputs that the application asked about while it prepared the run: those it reads.
void DropUnreadInputs(std::list<InputStrip>& inputs, const RunContext& context) {
  inputs.remove_if(
      [&](const InputStrip& input) { return !context.Stream(input.stream).modeAsked; });
  if (inputs.empty()) throw Failure("the application reads none of the input files");
}

/// The output's mode: the chosen one; without a choice float, complex when the first stream was
/// read and is complex, which is what the application does when it gets no choice.
const DataMode& OutputMode(const Options& options, const RunContext& context) {
  if (options.mode) return *options.mode;
  const StreamState& first = context.Stream(context.registration.inputs.front().number);
  const bool complex = first.modeAsked && DataModeOf(first.mode).complex;
  return *FindDataMode(complex ? "cfloat32" : "float32");
}

std::string SizeText(const RasterInput& raster) {
  return std::to_string(raster.Columns()) + " x " + std::to_string(raster.Rows()) + " pixels, " +
         std::to_string(raster.Bands()) + (raster.Bands() == 1 ? " band" : " bands");
}

/// The extent of the output. Refuses inputs that do not fit the first, warns of other places.
Extent CommonExtent(const std::list<InputStrip>& inputs) {
  RasterInput& first = *inputs.front().raster;
  Extent extent = {first.Columns(), first.Rows(), first.Bands()};
  for (const InputStrip& input : inputs) {
    RasterInput& raster = *input.raster;
    const bool sameBands =
        raster.Bands() == extent.bands || raster.Bands() == 1 || extent.bands == 1;
    if (raster.Columns() != extent.columns || raster.Rows() != extent.rows || !sameBands)
      throw Failure("the inputs differ in size: " + first.Describe() + " has " + SizeText(first) +
                    ", " + raster.Describe() + " has " + SizeText(raster));
    extent.bands = std::max(extent.bands, raster.Bands());
    if (const std::string difference = GeoreferencingDifference(first.Dataset(), raster.Dataset());
        !difference.empty())
      Warn(first.Describe() + " and " + raster.Describe() +
           " do not lie in the same place: " + difference);
  }
  return extent;
}

/// Rows of a strip: all its buffers together stay in a processor's second-level cache.
int RowsPerStrip(const std::list<InputStrip>& inputs, const DataMode& outputMode,
                 const Extent& extent) {
  constexpr std::int64_t kStripBytes = 2 << 20;
  constexpr std::int64_t kFloatBytes = sizeof(float);
  std::int64_t elementBytes = (outputMode.complex ? 2 : 1) * kFloatBytes;
  if (outputMode.integer) elementBytes += GDALGetDataTypeSizeBytes(outputMode.type);
  for (const InputStrip& input : inputs)
    elementBytes += (input.raster->Mode().complex ? 2 : 1) * kFloatBytes;
  return static_cast<int>(
      std::clamp<std::int64_t>(kStripBytes / (elementBytes * extent.columns), 1, extent.rows));
}

/// Makes GDAL's block cache large enough for one row of blocks of every dataset, so that a tile
/// that reaches over many strips is decoded once, and no larger: it would only touch new memory.
void SizeBlockCache(const std::list<InputStrip>& inputs, GDALDataset& output) {
  if (CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) return;
  constexpr std::int64_t kSlack = 4 << 20;
  std::int64_t bytes = BlockRowBytes(output);
  for (const InputStrip& input : inputs) bytes += BlockRowBytes(input.raster->Dataset());
  const std::int64_t physical = CPLGetUsablePhysicalRAM();
  bytes += kSlack;
  if (physical > 0) bytes = std::min(bytes, std::max(kSlack, physical / 4));
  GDALSetCacheMax64(bytes);
}

/// Fills the input buffers with a strip of a band and has the application process it.
void ProcessStrip(RunContext& context, std::list<InputStrip>& inputs, int band, int firstRow,
                  const IPBlock& block, BandStatistics& statistics) {
  for (InputStrip& input : inputs) {
    // A one-band input goes with every band of the others.
    const int inputBand = std::min(band, input.raster->Bands());
    if (input.bandHeld != inputBand)
      input.raster->Read(inputBand, firstRow, block.rows, input.buffer.data());
    input.bandHeld = inputBand;
  }
  const auto process =
      reinterpret_cast<IPProcDataRoutine>(context.registration.routines.at(IP_SLOT_PROC_DATA));
  process(&block, &statistics.record);
  StopIfDesisted(context);
  statistics.count +=
      static_cast<std::uint64_t>(block.columns) * static_cast<std::uint64_t>(block.rows);
}

/// Processes the whole image: strips from top to bottom and, inside a strip, band by band, so that
/// files with interleaved bands are read and written once.
std::vector<BandStatistics> ProcessAll(RunContext& context, std::list<InputStrip>& inputs,
                                       RasterOutput& output, const DataMode& outputMode,
                                       const Extent& extent) {
  const int stripRows = RowsPerStrip(inputs, outputMode, extent);
  const std::size_t stripElements =
      static_cast<std::size_t>(extent.columns) * static_cast<std::size_t>(stripRows);
  for (InputStrip& input : inputs) {
    input.buffer.resize(stripElements * (input.raster->Mode().complex ? 2 : 1));
    context.streams[input.stream].blockData = input.buffer.data();
  }
  std::vector<float> outputBuffer(stripElements * (outputMode.complex ? 2 : 1));
  context.streams[context.registration.Output().number].blockData = outputBuffer.data();

  std::vector<BandStatistics> statistics(static_cast<std::size_t>(extent.bands));
  for (int row = 0, end = 0; row < extent.rows; row = end) {
    end = output.AlignedEnd(row, std::min(stripRows, extent.rows - row));
    const IPBlock block = {extent.columns, end - row};
    for (InputStrip& input : inputs) input.bandHeld = 0;
    for (int band = 1; band <= extent.bands; ++band) {
      BandStatistics& bandStatistics = statistics[static_cast<std::size_t>(band) - 1];
      ProcessStrip(context, inputs, band, row, block, bandStatistics);
      output.Write(band, row, block.rows, outputBuffer.data(), bandStatistics.unheld);
    }
    output.FlushCompleteBlocks(end);
  }
  return statistics;
}

/// Calls the application's Cleanup at the end of a run, however it ends.
class CleanupGuard {
 public:
  explicit CleanupGuard(RunContext& context) : context_(context) {}
  ~CleanupGuard() {
    context_.registration.Call(IP_SLOT_CLEANUP);
    for (auto& [number, state] : context_.streams) state.blockData = nullptr;
  }
  CleanupGuard(const CleanupGuard&) = delete;
  CleanupGuard& operator=(const CleanupGuard&) = delete;

 private:
  RunContext& context_;
};

void WarnOfUnheldElements(const std::vector<BandStatistics>& statistics, const DataMode& mode) {
  for (std::size_t i = 0; i < statistics.size(); ++i) {
    const UnheldElements& unheld = statistics[i].unheld;
    const std::string band = "band " + std::to_string(i + 1) + ": ";
    if (unheld.saturated > 0)
      Warn(band + std::to_string(unheld.saturated) + " elements were beyond the range of " +
           mode.name + " and saturated");
    if (unheld.nan > 0)
      Warn(band + std::to_string(unheld.nan) + " elements were NaN, which " + mode.name +
           " cannot hold, and are stored as 0");
  }
}

}  // namespace

void RunBatch(const Options& options, RunContext& context) {
  const DeclaredStream& outputStream = context.registration.Output();
  const std::string& outputName = options.files.at(outputStream.number);
  const OutputFormat format = ChooseOutputFormat(options.format, outputName);
  CheckCreationOptions(format, options.creationOptions);

  std::list<InputStrip> inputs = OpenInputs(options, context);
  context.registration.Call(IP_SLOT_CHECK_PARAMS);
  StopIfDesisted(context);
  const std::filesystem::path target = ResolveOutput(outputName, options.overwrite);

  context.outputMode = options.mode ? options.mode->code : -1;
  for (auto& [number, state] : context.streams) state.modeAsked = false;
  std::optional<CleanupGuard> cleanup(context);
  context.registration.Call(IP_SLOT_INIT_PROC);
  StopIfDesisted(context);

  DropUnreadInputs(inputs, context);
  const Extent extent = CommonExtent(inputs);
  const DataMode& mode = OutputMode(options, context);
  CheckThatFormatHolds(format, mode);
  context.echoedOptions.clear();
  context.registration.Call(IP_SLOT_WRITE_CMD_LINE);

  RasterOutput output({target, format, &mode, options.creationOptions, extent.columns, extent.rows,
                       extent.bands, options.overwrite});
  SizeBlockCache(inputs, output.Dataset());
  const GdalFailures failures;
  if (!CopyGeoreferencing(inputs.front().raster->Dataset(), output.Dataset()))
    Warn(outputName + " cannot hold all of the georeferencing: " + failures.First());
  output.Dataset().SetMetadataItem(
      "LUMOMIXCALC_COMMAND",
      ReproducingCommand(options, context.registration, context.echoedOptions).c_str());

  const std::vector<BandStatistics> statistics = ProcessAll(context, inputs, output, mode, extent);
  cleanup.reset();
  for (int band = 1; band <= extent.bands; ++band)
    StoreStatistics(statistics[static_cast<std::size_t>(band) - 1], mode,
                    *output.Dataset().GetRasterBand(band));
  output.Publish();

  WarnOfUnheldElements(statistics, mode);
  if (options.quiet) return;
  for (std::size_t i = 0; i < statistics.size(); ++i)
    std::puts(StatisticsLine(static_cast<int>(i) + 1, statistics[i]).c_str());
}

}  // namespace lumomixcalc::standalone
