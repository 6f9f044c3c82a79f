#include "standalone/runs/batch.h"

#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/georeferencing.h"
#include "standalone/rasters/no_data.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/rasters/raster_output.h"
#include "standalone/runs/pipeline.h"
#include "standalone/runs/report.h"
#include "standalone/runs/session.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

// Sizes GDAL's block cache for what the run has in work: more would only touch new memory.
void SizeBlockCache(const Session& session, const RasterOutput& output) {
  if (CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) return;
  constexpr std::int64_t kSlack = 2 << 20;
  std::int64_t bytes = kSlack + output.CacheBytes(session.RowsPerStrip());
  for (const RunInput& input : session.Inputs())
    bytes += input.raster->CacheBytes(session.RowsPerStrip());
  if (const std::int64_t physical = CPLGetUsablePhysicalRAM(); physical > 0)
    bytes = std::min(bytes, std::max(kSlack, physical / 4));
  GDALSetCacheMax64(bytes);
}

void DeclareNoData(const Session& session, RasterOutput& output, const std::string& name) {
  if (!session.NoData()) return;
  const DataMode& mode = session.Mode();
  const double value = mode.integer ? IntegerNoData(mode, *session.NoData())
                                    : std::numeric_limits<double>::quiet_NaN();
  if (!output.DeclareNoData(value))
    Warn(name + " cannot declare a no-data value; " + ShortestText(value) + " stands for it");
}

// What the output says of itself beside its elements.
void Describe(Session& session, const std::string& command, const std::string& outputName,
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

std::vector<InputFiles> FilesOf(Session& session) {
  std::vector<InputFiles> inputs;
  for (const RunInput& input : session.Inputs()) {
    GDALDataset& dataset = input.raster->Dataset();
    InputFiles& files = inputs.emplace_back(InputFiles{dataset.GetDescription(), {}});
    const CPLStringList list(dataset.GetFileList());
    for (int i = 0; i < list.size(); ++i) files.files.emplace_back(list[i]);
  }
  return inputs;
}

RunReport RunOnce(const Job& job, const std::string& command, HostState& host,
                  const RunControl& control) {
  const auto start = std::chrono::steady_clock::now();
  const GdalRun gdalRun;
  const std::string& outputName = job.files.at(host.registration.Output().number);
  const OutputFormat format = ChooseOutputFormat(job.format, outputName);
  CheckCreationOptions(format, job.creationOptions);
  CheckReportPath(job.statisticsFile);

  Session session(job, host);
  const std::filesystem::path target = ResolveOutput(outputName, job.overwrite);
  const DataMode& mode = session.Mode();
  CheckThatFormatHolds(format, mode);

  const int bands = static_cast<int>(session.Bands().size());
  RasterOutput output({target, format, &mode, job.creationOptions, session.Grid().columns,
                       session.Grid().rows, bands, job.overwrite, FilesOf(session)});
  Describe(session, command, outputName, output.Dataset());
  DeclareNoData(session, output, outputName);
  session.SelectInputs();
  SizeBlockCache(session, output);

  const StripSink sink = {output.BlockRows(),
                          [&output](int band, int firstRow, int rows, const float* values) {
                            output.Write(band, firstRow, rows, values);
                          },
                          [&output](int endRow) { output.FlushCompleteBlocks(endRow); }};
  std::vector<BandStatistics> statistics = ProcessStrips(session, sink, control);
  session.Finish();
  for (int band = 1; band <= bands; ++band) {
    BandStatistics& ofBand = statistics[static_cast<std::size_t>(band) - 1];
    ofBand.unheld = output.Unheld(band);
    StoreStatistics(ofBand, mode, *output.Dataset().GetRasterBand(band));
  }
  output.Publish(control.stop);

  for (const RunInput& input : session.Inputs())
    for (const std::string& loss : input.raster->Losses()) Warn(loss);
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
  if (!job.statisticsFile.empty()) WriteReport(ReportAsJson(report), job.statisticsFile);
  return report;
}

}  // namespace

RunReport RunBatch(const Job& job, const std::string& command, HostState& host,
                   const RunControl& control) {
  const std::string& output = job.files.at(host.registration.Output().number);
  // These failures know no file.
  try {
    return RunOnce(job, command, host, control);
  } catch (const std::bad_alloc&) {
    throw Failure("there is not enough memory to make " + output);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure("cannot write " + output + ": " + error.code().message());
  }
}

}  // namespace lumomixcalc::standalone
