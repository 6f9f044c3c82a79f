#include "standalone/runs/batch_run.h"

#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "standalone/command_line/command_echo.h"
#include "standalone/command_line/numbers.h"
#include "standalone/messages.h"
#include "standalone/rasters/gdal_errors.h"
#include "standalone/rasters/georeferencing.h"
#include "standalone/rasters/no_data.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/rasters/raster_output.h"
#include "standalone/rasters/scratch_rows.h"
#include "standalone/runs/run_session.h"
#include "standalone/runs/statistics.h"
#include "standalone/runs/statistics_file.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {
namespace {

// The rows of blocks of all files that stay in memory; with it a run stays below 150 MB.
constexpr std::int64_t kBlockRowsMemory = 80000000;

// Sizes GDAL's block cache for what the run has in work: more would only touch new memory.
void SizeBlockCache(const RunSession& session, const RasterOutput& output) {
  if (CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) return;
  constexpr std::int64_t kSlack = 2 << 20;
  std::int64_t bytes = kSlack + output.CacheBytes(session.RowsPerStrip());
  for (const RunInput& input : session.Inputs())
    bytes += input.raster->CacheBytes(session.RowsPerStrip());
  if (const std::int64_t physical = CPLGetUsablePhysicalRAM(); physical > 0)
    bytes = std::min(bytes, std::max(kSlack, physical / 4));
  GDALSetCacheMax64(bytes);
}

void DeclareNoData(const RunSession& session, RasterOutput& output, const std::string& name) {
  if (!session.NoData()) return;
  const DataMode& mode = session.Mode();
  const double value = mode.integer ? IntegerNoData(mode, *session.NoData())
                                    : std::numeric_limits<double>::quiet_NaN();
  if (!output.DeclareNoData(value))
    Warn(name + " cannot declare a no-data value; " + ShortestText(value) + " stands for it");
}

// What the output says of itself beside its elements.
void Describe(RunSession& session, const std::string& command, const std::string& outputName,
              GDALDataset& output) {
  GDALDataset& first = session.FirstInput().Dataset();
  const GdalFailures failures;
  if (!CopyGeoreferencing(first, session.Grid(), output))
    Warn(outputName + " cannot hold all of the georeferencing: " + failures.First());
  for (std::size_t i = 0; i < session.Bands().size(); ++i) {
    const int band = session.Bands()[i];
    if (band > first.GetRasterCount()) continue;
    if (const char* text = first.GetRasterBand(band)->GetDescription(); *text)
      output.GetRasterBand(static_cast<int>(i) + 1)->SetDescription(text);
  }
  output.SetMetadataItem("LUMOMIXCALC_COMMAND", command.c_str());
}

void WarnOfUnheldElements(const std::vector<BandStatistics>& statistics, const DataMode& mode) {
  for (std::size_t i = 0; i < statistics.size(); ++i) {
    const UnheldElements& unheld = statistics[i].unheld;
    const std::string band = "band " + std::to_string(i + 1) + ": ";
    if (unheld.saturated > 0)
      Warn(band + std::to_string(unheld.saturated) + " elements were beyond the range of " +
           mode.name + " and saturated");
    if (unheld.moved > 0)
      Warn(band + std::to_string(unheld.moved) +
           " elements were moved by one, away from the value that stands for no data");
    if (unheld.nan > 0)
      Warn(band + std::to_string(unheld.nan) + " elements were NaN, which " + mode.name +
           " cannot hold, and are stored as 0");
  }
}

RunReport RunOnce(const Options& options, RunContext& context, RunObserver& observer) {
  const auto start = std::chrono::steady_clock::now();
  const std::string& outputName = options.files.at(context.registration.Output().number);
  const OutputFormat format = ChooseOutputFormat(options.format, outputName);
  CheckCreationOptions(format, options.creationOptions);
  CheckReportPath(options.statisticsFile);

  RunSession session(options, context);
  const std::filesystem::path target = ResolveOutput(outputName, options.overwrite);
  const DataMode& mode = session.Mode();
  CheckThatFormatHolds(format, mode);

  const int bands = static_cast<int>(session.Bands().size());
  RasterOutput output({target, format, &mode, options.creationOptions, session.Grid().columns,
                       session.Grid().rows, bands, options.overwrite});
  const std::string command =
      ReproducingCommand(options, context.registration, EchoOptions(context));
  Describe(session, command, outputName, output.Dataset());
  DeclareNoData(session, output, outputName);
  ScratchSpace space = {kBlockRowsMemory, output.Folder()};
  session.SelectInputs(space);
  output.PrepareBlocks(space);
  SizeBlockCache(session, output);

  std::vector<BandStatistics> statistics = ProcessStrips(session, output, observer);
  session.Finish();
  for (int band = 1; band <= bands; ++band) {
    BandStatistics& ofBand = statistics[static_cast<std::size_t>(band) - 1];
    ofBand.unheld = output.Unheld(band);
    StoreStatistics(ofBand, mode, *output.Dataset().GetRasterBand(band));
  }
  output.Publish(observer);

  WarnOfUnheldElements(statistics, mode);
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  RunReport report = {command,
                      outputName,
                      format.Name(),
                      mode.name,
                      session.Grid().columns,
                      session.Grid().rows,
                      passed.count(),
                      statistics};
  if (!options.statisticsFile.empty()) WriteReport(ReportAsJson(report), options.statisticsFile);
  return report;
}

}  // namespace

RunReport RunBatch(const Options& options, RunContext& context, RunObserver& observer) {
  const std::string& output = options.files.at(context.registration.Output().number);
  // These failures know no file.
  try {
    return RunOnce(options, context, observer);
  } catch (const std::bad_alloc&) {
    throw Failure("there is not enough memory to make " + output);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure("cannot write " + output + ": " + error.code().message());
  }
}

}  // namespace lumomixcalc::standalone
