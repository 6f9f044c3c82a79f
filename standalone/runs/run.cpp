#include "standalone/runs/run.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/no_data.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/rasters/raster_output.h"
#include "standalone/runs/description.h"
#include "standalone/runs/looks.h"
#include "standalone/runs/parts.h"
#include "standalone/runs/report.h"
#include "standalone/runs/session.h"
#include "standalone/runs/statistics.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {
namespace {

// Sets the size of GDAL's block cache to what the run needs. A larger cache would only take memory
// without being faster.
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

// The no-data value of the output. None when no element can be no data.
std::optional<double> OutputNoData(const Session& session, const Job& job,
                                   const OutputFormat& format) {
  const DataMode& mode = session.Mode();
  if (job.outputNoData) {
    const double asked = *job.outputNoData;
    const std::string text = ShortestText(asked);
    if (mode.integer ? IntegerNoData(mode, asked) != asked : !ParseFloat(text))
      throw Failure("-a_nodata=" + text + ": " + (mode.integer ? mode.name : "single precision") +
                    " cannot hold it");
    return mode.integer ? asked : static_cast<double>(static_cast<float>(asked));
  }
  const std::optional<double> declared = session.NoData();
  // Programs that read text grids do not understand NaN, which may be a result, too.
  constexpr double kOfTextGrids = -9999;
  const bool isText = format.Name() == "AAIGrid" || format.Name() == "XYZ";
  if (isText && !mode.integer) return kOfTextGrids;
  if (!declared) return std::nullopt;
  if (mode.integer) return IntegerNoData(mode, *declared);
  return std::numeric_limits<double>::quiet_NaN();
}

void WarnOfUnheldElements(const std::vector<BandStatistics>& statistics, const DataMode& mode) {
  for (std::size_t i = 0; i < statistics.size(); ++i) {
    const UnheldElements& unheld = statistics[i].unheld;
    const auto warn = [band = i + 1](std::uint64_t count, const std::string& fate) {
      if (count > 0)
        Warn("band " + std::to_string(band) + ": " + CountText(count, "element") + " " + fate);
    };
    warn(unheld.saturated, std::string("beyond the range of ") + mode.name + ", saturated");
    warn(unheld.moved, "moved by one, away from the value that stands for no data");
    warn(unheld.taken, "equal to the number that stands for no data");
    warn(unheld.nan, std::string("stored as 0: NaN, which ") + mode.name + " cannot hold");
  }
}

void WarnOfTheMode(const RunReport& report, const DataMode& mode) {
  const std::string name = mode.name;
  if (mode.type == GDT_Float64)
    Warn("results have single precision, also in float64; float32 stores them in half the space");
  if (report.imaginaryPartsLost)
    Warn("results have imaginary parts, which " + name + " leaves out; " +
         SettingText("-mode", "cfloat32") + " keeps them");
  const bool anyValid =
      std::any_of(report.bands.begin(), report.bands.end(),
                  [](const BandStatistics& band) { return band.valid.valid > 0; });
  if (mode.complex && anyValid && !report.imaginaryPartsHeld)
    Warn("all imaginary parts are zero; " + SettingText("-mode", name.substr(1)) +
         " stores the results in half the space");
}

// Computes all elements, writes them to the output and completes the report.
void Compute(Session& session, RasterOutput& output, const RunControl& control, RunReport& report) {
  const OutputGrid& grid = session.Grid();
  const int parts = session.Mode().Parts();
  const Looks& looks = grid.looks;
  std::vector<LooksAverage> averages(report.bands.size(), {looks, grid.columns, parts});
  StripSink sink;
  sink.blockRows = std::min(output.BlockRows(), grid.rows) * looks.y;
  sink.write = [&](int band, int firstRow, int rows, const float* values) {
    const auto index = static_cast<std::size_t>(band) - 1;
    BandStatistics& statistics = report.bands[index];
    values = averages[index].Add(values, rows).data();
    rows = (firstRow + rows) / looks.y - firstRow / looks.y;
    firstRow /= looks.y;
    CountRows(values, grid.columns, rows, parts, statistics.valid);
    if (parts == 2 && !report.imaginaryPartsHeld)
      report.imaginaryPartsHeld = HasImaginaryPart(
          values, static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(rows));
    if (rows > 0) output.Write(band, firstRow, rows, values, statistics.unheld);
    if (index + 1 == averages.size()) output.WriteCompleteBlocks(firstRow + rows);
  };
  if (parts == 1)
    sink.onInputs = [&, tried = std::size_t{0}](int rows) mutable {
      // Of the first strip all rows, for small images; of the others one, which costs little.
      if (report.imaginaryPartsLost) return;
      report.imaginaryPartsLost =
          session.RowsHaveImaginaryParts(tried++ < report.bands.size() ? rows : 1);
    };
  const std::vector<IPOutputStats> records = ProcessStrips(session, sink, control);
  session.Finish();
  for (std::size_t i = 0; i < records.size(); ++i) {
    report.bands[i].record = records[i];
    output.Change([&](GDALDataset& dataset) {
      StoreStatistics(report.bands[i], session.Mode(), *dataset.GetBands()[i]);
    });
  }
}

// What is known about a run before anything is computed.
RunReport PlannedReport(const Session& session, const Job& job, const OutputFormat& format,
                        const std::string& command) {
  CheckThatFormatHolds(format, session.Mode());
  RunReport report;
  report.command = command;
  report.output = job.files.at(session.OutputStream());
  report.format = format.Name();
  report.mode = session.Mode().name;
  report.grid = session.Grid();
  report.noData = OutputNoData(session, job, format);
  report.bands.resize(session.Bands().size());
  return report;
}

RunReport RunOnce(const Job& job, const std::string& command, HostState& host,
                  const RunControl& control) {
  const auto start = std::chrono::steady_clock::now();
  const GdalRun gdalRun;
  const std::string& outputName = job.files.at(host.registration.output.number);
  const OutputFormat format = ChooseOutputFormat(job.part ? "GTiff" : job.format, outputName);
  CheckCreationOptions(format, job.creationOptions);

  Session session(job, host);
  std::optional<Part> part;
  if (job.part) {
    part.emplace(job, command, format, session);
    if (const std::optional<RunReport> done = part->ReportIfDone()) return *done;
  }
  const std::filesystem::path target =
      part ? part->Raster() : ResolveOutput(outputName, job.overwrite);
  std::optional<ReportFile> reportFile;
  if (!job.statisticsFile.empty())
    reportFile.emplace(job.statisticsFile, job.overwrite, session.Files(), target);
  RunReport report = PlannedReport(session, job, format, command);
  const auto describe = [&](GDALDataset& output) {
    Describe(session, part ? command + " " + part->Option() : command, outputName, output);
  };
  const OutputSpecification specification(
      {target, format, &session.Mode(), job.creationOptions, report.grid.columns, report.grid.rows,
       static_cast<int>(report.bands.size()), job.overwrite, session.Files(),
       FollowLinks(job.statisticsFile), describe, part.has_value()});
  if (job.checkOnly) {
    MakeTrialCopy(specification, "/vsimem/lumomixcalc/" + target.filename().string());
    VSIRmdirRecursive("/vsimem/lumomixcalc");
    return report;
  }

  if (part) std::filesystem::create_directory(target.parent_path());
  RasterOutput output(specification);
  if (const auto& value = report.noData; value && !output.DeclareNoData(*value))
    Warn(outputName + " cannot declare a no-data value; " + ShortestText(*value) +
         " stands for it");
  session.SelectInputs();
  SizeBlockCache(session, output);
  Compute(session, output, control, report);
  session.RefuseChangedInputs();
  report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

  // If the report cannot be written, the run fails before the output is published. After that the
  // report is only renamed, which rarely fails.
  if (reportFile) reportFile->Write(ReportAsJson(report));
  if (part) {
    // Another run may have made the same part in the meantime.
    if (const std::optional<RunReport> done = part->ReportIfDone()) return *done;
    output.Change([&](GDALDataset& dataset) { part->StoreFacts(report, dataset); });
  }
  output.Publish(control.stop);
  if (reportFile) reportFile->Publish();
  for (const RunInput& input : session.Inputs())
    for (const std::string& loss : input.raster->Losses()) Warn(loss);
  if (!part) WarnOfResults(report);
  return report;
}

}  // namespace

void WarnOfResults(const RunReport& report) {
  const DataMode& mode = *FindDataMode(report.mode);
  WarnOfUnheldElements(report.bands, mode);
  WarnOfTheMode(report, mode);
}

RunReport RunBatch(const Job& job, const std::string& command, HostState& host,
                   const RunControl& control) {
  const std::string& output = job.files.at(host.registration.output.number);
  // These exceptions do not name the output.
  try {
    return RunOnce(job, command, host, control);
  } catch (const std::bad_alloc&) {
    throw Failure("there is not enough memory to make " + output);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure("cannot write " + output + ": " + error.code().message());
  } catch (const std::system_error& error) {
    throw Failure("cannot start a thread to make " + output + ": " + error.code().message());
  }
}

MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control,
                         InputDatasets datasets) {
  Job ofOneBand = job;
  ofOneBand.bands = {job.bands.empty() ? 1 : job.bands.front()};
  Session session(ofOneBand, host, std::move(datasets));
  MemoryRaster raster;
  raster.grid = session.Grid();
  raster.complex = session.Mode().complex;
  session.SelectInputs();
  const int parts = session.Mode().Parts();
  raster.values.reserve(static_cast<std::size_t>(raster.grid.columns) *
                        static_cast<std::size_t>(raster.grid.rows * parts));
  LooksAverage average(raster.grid.looks, raster.grid.columns, parts);
  StripSink sink;
  sink.write = [&](int, int, int rows, const float* values) {
    const std::span<const float> averages = average.Add(values, rows);
    raster.values.insert(raster.values.end(), averages.begin(), averages.end());
  };
  ProcessStrips(session, sink, control);
  return raster;
}

}  // namespace lumomixcalc::standalone
