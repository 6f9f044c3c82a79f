#include "standalone/panel/preview.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <span>
#include <system_error>
#include <utility>

#include "standalone/cli/command_echo.h"
#include "standalone/rasters/no_data.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/rasters/stored_elements.h"
#include "standalone/runs/session.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kOutside = "This image has no pixels here.";

// Cells of a grid in one direction: each of so many pixels, aligned to the run's origin, as many as
// cover what is seen and lie inside the image.
struct Cells {
  int first = 0;
  int count = 0;
};
Cells CellsOf(int seenFirst, int seenCount, int origin, int cell, int imageCount) {
  const int before = ((seenFirst - origin) % cell + cell) % cell;
  const int first = seenFirst - before + (seenFirst < before ? cell : 0);
  const int needed = (seenFirst + seenCount - first + cell - 1) / cell;
  return {first, std::min(needed, (imageCount - first) / cell)};
}

// The pixels of an input that are read to show what is seen: every pixel, or one of n x n where
// there are too many. Where the run's own pixels are coarser, they begin at the same places.
OutputGrid GridFor(const View& view, const QSize& image, const OutputGrid& run) {
  const QRect all(QPoint(0, 0), image);
  const QRect seen = view.seen.isNull() ? all : view.seen & all;
  if (seen.isEmpty()) throw Failure(kOutside);
  const double pixels = static_cast<double>(seen.width()) * seen.height();
  const int needed = static_cast<int>(std::ceil(std::sqrt(pixels / view.elements)));
  OutputGrid grid;
  grid.resolution = std::max(run.resolution, std::min({needed, seen.width(), seen.height()}));
  // A block of the run's looks, or as much of it as this resolution leaves.
  const auto cell = [&](int looks) {
    return grid.resolution * std::max(1, looks * run.resolution / grid.resolution);
  };
  const int n = grid.resolution;
  const int nx = cell(run.looks.x);
  const int ny = cell(run.looks.y);
  const Cells x = CellsOf(seen.x(), seen.width(), run.window.x, nx, image.width());
  const Cells y = CellsOf(seen.y(), seen.height(), run.window.y, ny, image.height());
  if (x.count <= 0 || y.count <= 0) throw Failure(kOutside);
  grid.window = {x.first, y.first, x.count * nx, y.count * ny};
  grid.looks = {nx / n, ny / n};
  grid.columns = x.count;
  grid.rows = y.count;
  return grid;
}

PreviewImage ReadInput(const DeclaredStream& stream, const Job& job, const View& view,
                       const OutputGrid& run, const std::stop_token& stop) {
  RasterInput input(stream.label, job.inputs.at(stream.number), job.openOptions);
  const int band = std::min(view.band, input.Bands());
  PreviewImage image;
  image.fullSize = {input.Columns(), input.Rows()};
  image.bands = input.Bands();
  image.complex = input.Mode().complex;
  image.grid = GridFor(view, image.fullSize, run);
  const OutputGrid grid = image.grid.BeforeLooks();
  const bool ofTheRun = grid.resolution == job.selection.resolution;
  input.Select(grid, ofTheRun ? job.selection.resampling : Resampling::kPreview, {band},
               job.elements);
  constexpr std::int64_t kSlack = 8 << 20;
  if (!CPLGetConfigOption("GDAL_CACHEMAX", nullptr))
    GDALSetCacheMax64(kSlack + input.CacheBytes(1));
  const std::size_t rowFloats =
      static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(input.Parts());
  image.values.resize(rowFloats * static_cast<std::size_t>(grid.rows));
  // In pieces, so that a newer preview does not wait for a slow file.
  constexpr int kPieceRows = 32;
  for (int row = 0; row < grid.rows; row += kPieceRows) {
    if (stop.stop_requested()) throw Cancelled();
    input.Read(band, row, std::min(kPieceRows, grid.rows - row),
               image.values.data() + rowFloats * static_cast<std::size_t>(row));
  }
  return image;
}

// Results as the run's output stores them; no data is NaN. Doubles hold every integer exactly.
std::vector<double> Stored(std::span<const float> results, const RunPlan& plan,
                           AlteredElements& counts) {
  std::vector<double> stored(results.begin(), results.end());
  const DataMode& mode = *plan.mode;
  if (!mode.integer) return stored;
  const std::size_t parts = mode.complex ? 2 : 1;
  const int size = GDALGetDataTypeSizeBytes(mode.type);
  std::vector<std::byte> bytes(results.size() / parts * static_cast<std::size_t>(size));
  StoreAsIntegers(results, mode, plan.noData, bytes.data(), counts);
  const GDALDataType type = mode.complex ? GDT_CFloat64 : GDT_Float64;
  GDALCopyWords64(bytes.data(), mode.type, size, stored.data(), type,
                  GDALGetDataTypeSizeBytes(type), static_cast<GPtrDiff_t>(results.size() / parts));
  for (std::size_t i = 0; plan.noData && i < stored.size(); i += parts)
    if (IsNoData(stored[i], stored[i + parts - 1], *plan.noData))
      std::fill_n(&stored[i], parts, NAN);
  return stored;
}

// Inspects one pixel of an input. Throws Failure.
Inspection::Element InputElement(const DeclaredStream& stream, const Job& job, int band,
                                 Inspection& inspection) {
  RasterInput input(stream.label, job.inputs.at(stream.number), job.openOptions);
  const QPoint pixel = inspection.pixel;
  if (!QRect(0, 0, input.Columns(), input.Rows()).contains(pixel)) throw Failure("outside");
  if (auto transform = GeotransformOf(input.Dataset()); transform && !inspection.map) {
    auto& [x, y] = inspection.map.emplace();
    GDALApplyGeoTransform(transform->data(), pixel.x() + 0.5, pixel.y() + 0.5, &x, &y);
  }
  band = std::min(band, input.Bands());
  input.Select({{pixel.x(), pixel.y(), 1, 1}, 1, {}, 1, 1}, Resampling::kNearest, {band},
               job.elements);
  std::array<float, 2> parts = {};
  input.Read(band, 0, 1, parts.data());
  return {input.Mode().complex, {parts[0], parts[1]}};
}

}  // namespace

Job WithInputs(Job job, const std::set<int>& inputs) {
  std::erase_if(job.inputs, [&](const auto& file) { return !inputs.contains(file.first); });
  return job;
}

// Checks a run without making it. Where it fails because of its output, the plan is that of the
// same run in memory.
Findings PreviewMaker::Check(const Job& asked) const {
  Findings findings;
  Job job = asked;
  job.overwrite = true;  // the user is asked at the run
  const auto check = [&] {
    findings.failure.clear();
    findings.warnings.clear();
    const MessageRedirection redirection([&findings](const std::string& sentence) {
      constexpr std::string_view kWarning = "warning: ";
      if (sentence.starts_with(kWarning))
        findings.warnings.push_back(sentence.substr(kWarning.size()));
      else
        findings.failure += (findings.failure.empty() ? "" : "\n") + sentence;
    });
    try {
      findings.plan = CheckRun(job, "", host_);
    } catch (const Desisted&) {  // the application has shown the reason
    } catch (const std::exception& error) {
      findings.failure = error.what();
    }
  };
  check();
  if (findings.plan || job.output.empty()) return findings;
  const std::string failure = findings.failure;
  job.output.clear();
  check();
  if (findings.plan) findings.failure = failure;
  return findings;
}

// Returns whether the image is another than before.
bool PreviewMaker::UpdateInput(const DeclaredStream& stream, const Job& job, const View& view,
                               const OutputGrid& run, const std::stop_token& stop) {
  const std::string& file = job.inputs.at(stream.number);
  std::vector<std::string> options = job.openOptions;
  if (run.resolution > 1 || run.looks.x > 1 || run.looks.y > 1) {
    Job selected;
    selected.selection = job.selection;
    std::ranges::copy(HostArguments(selected), std::back_inserter(options));
  }
  std::error_code ignored;
  const auto key =
      std::tuple(file, std::filesystem::last_write_time(file, ignored),
                 std::filesystem::file_size(file, ignored), view, job.elements, options);
  KeptInput& kept = inputs_[stream.number];
  if (kept.key == key) return false;
  kept = {};
  try {
    kept.image = ReadInput(stream, job, view, run, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const Failure& failure) {
    kept.image.note = failure.what();
  }
  kept.key = key;
  return true;
}

// Computes the result from the inputs in memory. Throws Failure, Cancelled, Desisted.
PreviewImage PreviewMaker::Result(const Job& job, Findings& findings,
                                  const std::stop_token& stop) const {
  PreviewImage result;
  Job ofElements = job;
  ofElements.selection = {};
  ofElements.bands.clear();
  ofElements.openOptions.clear();
  ofElements.elements = {};  // by now applied
  ofElements.elements.keepNoData = job.elements.keepNoData;
  OutputGrid grid;
  InputDatasets elements;
  for (const DeclaredStream& stream : host_.registration.inputs) {
    if (!job.inputs.contains(stream.number)) continue;
    const PreviewImage& input = inputs_.at(stream.number).image;
    if (!input.note.empty()) throw Failure(input.note);
    grid = input.grid;
    ofElements.selection.looks = grid.looks;
    const OutputGrid size = grid.BeforeLooks();
    elements[stream.number] = MemoryDataset(input.values.data(), size.columns, size.rows,
                                            input.complex ? GDT_CFloat32 : GDT_Float32);
  }
  static_cast<MemoryRaster&>(result) = RunInMemory(ofElements, host_, {stop}, std::move(elements));
  result.grid = grid;
  AlteredElements counts;
  const std::vector<double> stored = Stored(result.values, *findings.plan, counts);
  result.values.assign(stored.begin(), stored.end());
  findings.beyondMode = counts.saturated;
  findings.elements = result.values.size() / (result.complex ? 2 : 1);
  return result;
}

Findings PreviewMaker::Make(const Job& job, const Job& ofTheRun, const View& view,
                            const std::stop_token& stop, const Show& show) {
  const MessageRedirection quiet([](const std::string&) {});  // the check tells
  Findings findings = Check(ofTheRun);
  const OutputGrid run = findings.plan ? findings.plan->grid : OutputGrid();
  PreviewImage result;
  const std::vector<DeclaredStream>& inputs = host_.registration.inputs;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (!job.inputs.contains(inputs[i].number)) {
      inputs_.erase(inputs[i].number);
      PreviewImage none;
      none.note = "No file chosen.";
      show(i, none);
    } else if (UpdateInput(inputs[i], job, view, run, stop)) {
      show(i, inputs_.at(inputs[i].number).image);
    }
  }
  try {
    if (findings.plan)
      result = Result(ofTheRun, findings, stop);
    else
      result.note = findings.failure;
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& error) {
    result.note = error.what();
  }
  show(inputs.size(), result);
  return findings;
}

// The result at a pixel, computed from the files as the run does it. Throws Failure.
Inspection::Element PreviewMaker::ResultElement(Job job, int band, QPoint pixel) const {
  const std::optional<RunPlan> plan = Check(job).plan;
  if (!plan) throw Failure("no run");
  const OutputGrid& grid = plan->grid;
  const int nx = grid.resolution * grid.looks.x;
  const int ny = grid.resolution * grid.looks.y;
  const PixelWindow& all = grid.window;
  if (!QRect(all.x, all.y, all.columns, all.rows).contains(pixel)) throw Failure("outside");
  job.selection.window.reset();
  job.selection.region = {pixel.x() - (pixel.x() - all.x) % nx,
                          pixel.y() - (pixel.y() - all.y) % ny, nx, ny};
  job.bands = {band};
  const MemoryRaster raster = RunInMemory(job, host_, {});
  AlteredElements ignored;
  const std::vector<double> parts = Stored(raster.values, *plan, ignored);
  return {raster.complex, {parts.front(), parts.back()}};
}

Inspection PreviewMaker::Inspect(const Job& job, int band, QPoint pixel) {
  const MessageRedirection quiet([](const std::string&) {});
  Inspection inspection;
  inspection.pixel = pixel;
  const auto add = [&](const auto& read) {
    inspection.elements.emplace_back();
    try {
      inspection.elements.back() = read();
    } catch (const Failure&) {  // the image's note says why
    }
  };
  for (const DeclaredStream& stream : host_.registration.inputs)
    add([&] {
      if (!job.inputs.contains(stream.number)) throw Failure("no file");
      return InputElement(stream, job, band, inspection);
    });
  add([&] { return ResultElement(WithInputs(job, InputsRead(host_)), band, pixel); });
  return inspection;
}

}  // namespace lumomixcalc::standalone
