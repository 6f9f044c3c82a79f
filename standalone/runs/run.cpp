#include "standalone/runs/run.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <new>
#include <optional>
#include <regex>
#include <system_error>
#include <utility>

#include "standalone/base/elements.h"
#include "standalone/base/messages.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/georeferencing.h"
#include "standalone/rasters/raster_output.h"
#include "standalone/runs/parts.h"
#include "standalone/runs/statistics.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {
namespace {

// The bytes of the blocks that the run needs at once.
std::int64_t CacheBytes(const RunPlan& plan, const std::vector<RunInput>& inputs,
                        const RasterOutput& output) {
  const int rows = RowsPerStrip(plan, inputs);
  std::int64_t bytes = output.CacheBytes(rows);
  for (const RunInput& input : inputs) bytes += input.raster->CacheBytes(rows);
  return bytes;
}

// Whether a metadata item, NAME=VALUE, describes the values, the bands or the corners of the input,
// or the pages of its file, which are not those of the output. AREA_OR_POINT goes with the place.
bool IsOfTheInput(const char* item) {
  static const std::regex kItems(
      "AREA_OR_POINT=|LUMOMIXCALC_|NITF_BLOCKA_|STATISTICS_|NODATA_VALUES=|"
      "TIFFTAG_M(AX|IN)SAMPLEVALUE=|"
      "TIFFTAG_IMAGEDESCRIPTION=(ImageJ=|<OME|<\\?xml|\\{\"shape\")|Band_[0-9]+=|"
      "NETCDF_VARNAME=|NETCDF_DIM_([^=]*_)?(EXTRA|DEF|VALUES)=|"
      "([^=]*#)?(_FillValue|GeoTransform|actual_range|add_offset|grid_mapping|missing_value|"
      "scale_factor|valid_(max|min|range))=");
  return std::regex_search(item, kItems, std::regex_constants::match_continuous);
}

void CopyMetadata(GDALMajorObject& from, GDALMajorObject& to) {
  const CPLStringList items(from.GetMetadata(), FALSE);
  CPLStringList kept;
  for (int i = 0; i < items.Count(); ++i)
    if (!IsOfTheInput(items[i])) kept.AddString(items[i]);
  if (kept.Count() > 0) to.SetMetadata(kept.List());
}

// The first input for which the predicate is true. Null when there is none.
template <typename Predicate>
const RunInput* FirstThat(const std::vector<RunInput>& inputs, const Predicate& holds) {
  const auto found = std::ranges::find_if(
      inputs, [&](const RunInput& input) { return holds(input.raster->Dataset()); });
  return found == inputs.end() ? nullptr : &*found;
}

void DescribeBand(const std::vector<RunInput>& inputs, int band, GDALRasterBand& output) {
  // The first input last: what it has replaces that of the others, and what HFA has in a new band.
  for (auto input = inputs.rbegin(); input != inputs.rend(); ++input) {
    GDALRasterBand& own = *input->raster->Dataset().GetRasterBand(input->BandFor(band));
    if (*own.GetDescription() != '\0') output.SetDescription(own.GetDescription());
    if (*own.GetUnitType() != '\0') output.SetUnitType(own.GetUnitType());
    CopyMetadata(own, output);
  }
}

// Writes the metadata of the output: georeferencing with ground control points and rational
// polynomial coefficients on the output's grid, metadata items that do not describe the input
// alone, and names and units of bands, each from the first input that has any; the command and the
// program's version. Warns of geolocation arrays, which are left out.
void DescribeOutput(const RunPlan& plan, const std::vector<RunInput>& inputs, GDALDataset& output) {
  const auto placementOn = [&](const RunInput& input) {
    return plan.grid.On(plan.origins.at(input.stream)).Placement();
  };
  // A system alone comes last: GDAL makes one up for a TIFF with AREA_OR_POINT=Point.
  const auto hasSystem = [](GDALDataset& dataset) { return dataset.GetSpatialRef() != nullptr; };
  const RunInput* placed = FirstThat(inputs, HasPlace);
  if (!placed) placed = FirstThat(inputs, hasSystem);
  if (!placed) placed = &inputs.front();
  GDALDataset& place = placed->raster->Dataset();
  CopyGeoreferencing(place, placementOn(*placed), output);
  if (const RunInput* const input = FirstThat(
          inputs, [](GDALDataset& dataset) { return dataset.GetMetadata("RPC") != nullptr; }))
    CopyRpc(input->raster->Dataset(), placementOn(*input), output);
  if (FirstThat(inputs, [](GDALDataset& dataset) { return dataset.GetMetadata("GEOLOCATION"); }))
    Warn("the output does not hold the geolocation arrays of the input");
  for (auto input = inputs.rbegin(); input != inputs.rend(); ++input)  // the first one last
    CopyMetadata(input->raster->Dataset(), output);
  // In pixels of the input per inch or centimetre.
  const auto reduce = [&output](const char* item, double factor) {
    const char* const text = output.GetMetadataItem(item);
    if (const auto number = ParseDouble(text ? text : ""))
      output.SetMetadataItem(item, ShortestText(*number / factor).c_str());
  };
  reduce("TIFFTAG_XRESOLUTION", plan.grid.Placement().nx);
  reduce("TIFFTAG_YRESOLUTION", plan.grid.Placement().ny);
  // Of an image with AREA_OR_POINT=Point the TIFF driver of GDAL 3.6 writes ground control points
  // one pixel too far. Without it, their pixels and lines mean the same.
  if (const char* const kind = place.GetMetadataItem("AREA_OR_POINT"))
    output.SetMetadataItem("AREA_OR_POINT", output.GetGCPCount() > 0 ? "Area" : kind);
  for (std::size_t i = 0; i < plan.bands.size(); ++i)
    DescribeBand(inputs, plan.bands[i], *output.GetRasterBand(static_cast<int>(i) + 1));
  output.SetMetadataItem("LUMOMIXCALC_COMMAND", plan.command.c_str());
  output.SetMetadataItem("LUMOMIXCALC_VERSION", LUMOMIXCALC_VERSION);
}

// A run that makes a file, from its plan to the publication.
class BatchRun {
 public:
  // Plans the run and checks what can be checked before it. No file is made.
  BatchRun(const Job& job, const std::string& command, HostState& host)
      : warnings_(job.strict), host_(host), run_(PlanRun(job, command, host)) {
    if (job.part) {
      part_.emplace(job, run_);
      done_ = part_->ReportIfDone();
      if (done_)
        for (const std::string& warning : done_->warnings) Warn(warning);
    }
    const RunPlan& plan = run_.plan;
    const std::filesystem::path target =
        part_ ? std::filesystem::path(plan.output) : ResolveOutput(plan.output, job.overwrite);
    if (!job.statisticsFile.empty())
      reportFile_.emplace(job.statisticsFile, job.overwrite, run_.files, target);
    const auto describe = [this](GDALDataset& output) {
      DescribeOutput(Plan(), run_.inputs, output);
    };
    output_ =
        OutputPlan({target, plan.format, plan.mode, job.creationOptions, plan.grid.columns,
                    plan.grid.rows, static_cast<int>(plan.bands.size()), job.overwrite, run_.files,
                    FollowLinks(job.statisticsFile), describe, part_.has_value()});
  }

  ~BatchRun() {
    std::error_code isNotEmpty;
    if (madeFolder_) std::filesystem::remove(output_.target.parent_path(), isNotEmpty);
  }

  const RunPlan& Plan() const { return run_.plan; }

  // Makes a small raster like the output in memory, and checks the names of its files. Throws
  // Failure.
  void Try() const {
    const std::string folder = "/vsimem/lumomixcalc";
    VSIRmdirRecursive(folder.c_str());  // of one that failed
    MakeTrial(output_, folder + "/" + output_.target.filename().string());
    const CPLStringList made(VSIReadDir(folder.c_str()));
    VSIRmdirRecursive(folder.c_str());
    if (!done_)
      Publication(output_.target, output_.overwrite, output_.inputs, output_.statisticsFile)
          .CheckNames({made.List(), made.List() + made.Count()});
    warnings_.RefuseIfStrict();
  }

  RunReport Make(const RunControl& control) {
    warnings_.RefuseIfStrict();  // before a long computation
    if (done_) return *done_;
    if (part_) madeFolder_ = std::filesystem::create_directory(output_.target.parent_path());
    RunReport report(Plan());
    RasterOutput output(output_);
    Compute(output, control, report);
    for (const RunInput& input : run_.inputs)
      for (const std::string& loss : input.raster->Losses()) Warn(loss);
    if (!part_) WarnOfResults(report);
    StoreWarnings(output, report);
    output.Complete(control.stop);
    if (warnings_.All() != report.warnings) StoreWarnings(output, report);
    warnings_.RefuseIfStrict();
    // If the report cannot be written, the run fails before the output is published. After that the
    // report is only renamed, which rarely fails.
    if (reportFile_) reportFile_->Write(report);
    // Another run may have made the same part in the meantime.
    if (part_)
      if (const std::optional<RunReport> done = part_->ReportIfDone()) return *done;
    output.Publish(control.stop);
    if (reportFile_) reportFile_->Publish();
    return report;
  }

 private:
  // Puts the warnings so far into the report, and a part's report into its file.
  void StoreWarnings(RasterOutput& output, RunReport& report) const {
    report.warnings = warnings_.All();
    if (part_) output.Change([&](GDALDataset& dataset) { part_->StoreFacts(report, dataset); });
  }

  // Computes and writes all elements, and completes the report but for the warnings.
  void Compute(RasterOutput& output, const RunControl& control, RunReport& report) {
    const RunPlan& plan = report.plan;
    if (plan.noData) output.DeclareNoData(*plan.noData);
    SelectInputs(plan, run_.inputs);
    SizeBlockCache(CacheBytes(plan, run_.inputs, output));
    // Counts the rows for the report and writes them to the output.
    const RowSink sink = [&](int band, int firstRow, const ConstElements& rows) {
      BandStatistics& statistics = report.bands[static_cast<std::size_t>(band) - 1];
      CountRows(rows, statistics.valid);
      if (rows.parts == 2 && !report.imaginaryParts) report.imaginaryParts = HasImaginaryPart(rows);
      output.Write(band, firstRow, rows, statistics.altered);
      if (band == static_cast<int>(report.bands.size()))
        output.WriteCompleteBlocks(firstRow + rows.rows);
    };
    ProcessStrips(run_.inputs, host_, output.BlockRows(), sink, control, report);
    output.Change([&](GDALDataset& dataset) {
      for (std::size_t i = 0; i < report.bands.size(); ++i)
        StoreStatistics(report.bands[i], *plan.mode, *dataset.GetBands()[i]);
    });
    for (const InputFiles& input : run_.files) input.RefuseChanges();
    report.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  Warnings warnings_;
  HostState& host_;
  PlannedRun run_;
  std::optional<Part> part_;
  std::optional<RunReport> done_;  // of the part if it exists
  std::optional<ReportFile> reportFile_;
  OutputPlan output_;
  bool madeFolder_ = false;  // of the parts
};

// Calls act. Exceptions that do not name the output become failures that do.
template <typename Act>
auto NamingOutput(const std::string& output, const Act& act) {
  try {
    return act();
  } catch (const std::bad_alloc&) {
    throw Failure("there is not enough memory to make " + output);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure("cannot write " + output + ": " + error.code().message());
  } catch (const std::system_error& error) {
    throw Failure("cannot start a thread to make " + output + ": " + error.code().message());
  }
}

}  // namespace

RunReport RunBatch(const Job& job, const std::string& command, HostState& host,
                   const RunControl& control) {
  return NamingOutput(job.output, [&] { return BatchRun(job, command, host).Make(control); });
}

RunPlan CheckRun(const Job& job, const std::string& command, HostState& host) {
  if (job.output.empty()) return PlanRun(job, command, host).plan;
  return NamingOutput(job.output, [&] {
    const BatchRun run(job, command, host);
    run.Try();
    return run.Plan();
  });
}

MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control,
                         InputDatasets datasets) {
  Job ofOneBand = job;
  ofOneBand.output.clear();
  ofOneBand.bands = {job.bands.empty() ? 1 : job.bands.front()};
  const PlannedRun run = PlanRun(ofOneBand, "", host, std::move(datasets));
  const OutputGrid& grid = run.plan.grid;
  MemoryRaster raster = {grid, run.plan.mode->complex, {}};
  const Elements whole = {nullptr, grid.columns, grid.rows, run.plan.mode->Parts()};
  raster.values.reserve(whole.Floats());
  const RowSink sink = [&](int, int, const ConstElements& rows) {
    raster.values.insert(raster.values.end(), rows.All().begin(), rows.All().end());
  };
  RunReport report(run.plan);
  SelectInputs(run.plan, run.inputs);
  ProcessStrips(run.inputs, host, 1, sink, control, report);
  return raster;
}

}  // namespace lumomixcalc::standalone
