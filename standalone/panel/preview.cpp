#include "standalone/panel/preview.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <system_error>
#include <utility>

#include "standalone/cli/options.h"
#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {
namespace {

// Pixels in one direction.
struct Range {
  int first = 0;
  int count = 0;
};

// Groups of cells in one direction, each so many pixels from the one before, aligned to the run's
// origin: as many as cover what is seen and have their first cell inside the image.
std::pair<int, int> GroupsOf(const Range& seen, int origin, int group, int cell,
                             const Range& image) {
  const int before = ((seen.first - origin) % group + group) % group;
  const int first = seen.first - before + (seen.first - before < image.first ? group : 0);
  const int needed = (seen.first + seen.count - first + group - 1) / group;
  const int inside = (image.first + image.count - first - cell + group) / group;
  if (std::min(needed, inside) <= 0) throw Failure("This image has no pixels here.");
  return {first, std::min(needed, inside)};
}

// Where a run averages over looks, an input has many elements in a cell. If not every cell is
// shown, the first of each stands for the cell: all of them would look like a comb.
PreviewImage Shown(const PreviewImage& image, const Looks& looks) {
  if (image.step == 1 || looks == Looks()) return image;
  PreviewImage shown = image;
  const std::size_t parts = image.complex ? 2 : 1;
  const std::size_t rowFloats = static_cast<std::size_t>(image.columns) * parts;
  const std::size_t next = static_cast<std::size_t>(looks.x) * parts;
  shown.columns /= looks.x;
  shown.pitch = {image.pitch.width() * looks.x * image.step,
                 image.pitch.height() * looks.y * image.step};
  shown.values.clear();
  for (std::size_t row = 0; row < image.values.size();
       row += rowFloats * static_cast<std::size_t>(looks.y))
    for (std::size_t i = row; i < row + rowFloats; i += next)
      shown.values.insert(shown.values.end(), &image.values[i], &image.values[i] + parts);
  return shown;
}

// Results as the run's output stores them; no data is NaN. Doubles hold every integer exactly.
std::vector<double> Stored(std::span<const float> results, const RunPlan& plan,
                           AlteredElements& counts) {
  std::vector<double> stored(results.begin(), results.end());
  const DataMode& mode = *plan.mode;
  const std::size_t parts = mode.complex ? 2 : 1;
  if (mode.integer) {
    const int size = GDALGetDataTypeSizeBytes(mode.type);
    std::vector<std::byte> bytes(results.size() / parts * static_cast<std::size_t>(size));
    StoreAsIntegers(results, mode, plan.noData, bytes.data(), counts);
    const GDALDataType type = mode.complex ? GDT_CFloat64 : GDT_Float64;
    GDALCopyWords64(bytes.data(), mode.type, size, stored.data(), type,
                    GDALGetDataTypeSizeBytes(type),
                    static_cast<GPtrDiff_t>(results.size() / parts));
  }
  for (std::size_t i = 0; plan.noData && i < stored.size(); i += parts)
    if (IsNoData(stored[i], stored[i + parts - 1], *plan.noData))
      std::fill_n(&stored[i], parts, NAN);
  return stored;
}

}  // namespace

std::vector<float> PreviewImage::OfTheRun(std::span<const float> all, std::size_t parts) const {
  std::vector<float> counted;
  counted.reserve(all.size());
  const auto elements = static_cast<int>(all.size() / parts);
  // The first column from this pixel on.
  const auto columnFrom = [this](int pixel) {
    return std::clamp((pixel - first.x() + pitch.width() - 1) / pitch.width(), 0, columns);
  };
  for (int row = 0; row * columns < elements; ++row) {
    const int y = first.y() + row * pitch.height();
    if (y < run.top() || y > run.bottom()) continue;
    const auto at = [&](int pixel) {
      return all.begin() + (row * columns + columnFrom(pixel)) * static_cast<std::ptrdiff_t>(parts);
    };
    counted.insert(counted.end(), at(run.left()), at(run.right() + 1));
  }
  return counted;
}

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

// Where the top left pixel of an input lies.
PixelPosition PreviewMaker::OriginOf(int stream) const {
  return plan_ && plan_->origins.contains(stream) ? plan_->origins.at(stream) : PixelPosition();
}

// Nothing but what is known of the whole input.
PreviewImage PreviewMaker::Blank(int stream) const {
  const RasterInput& input = *inputs_.at(stream).raster;
  const auto rectangle = [](const PixelWindow& pixels) {
    return QRect(pixels.x, pixels.y, pixels.columns, pixels.rows);
  };
  PreviewImage image;
  image.data = inputs_.at(stream).data;
  image.whole = view_.seen.isNull();
  image.extent = {0, 0, input.Columns(), input.Rows()};
  if (plan_) image.extent = rectangle(plan_->area);
  image.run = plan_ ? rectangle(plan_->grid.window) : image.extent;
  return image;
}

// The cells that show what is seen: all of them, or so few that they are read and computed quickly.
CellSample PreviewMaker::SampleFor(int stream, const View& view) const {
  const PixelPosition origin = OriginOf(stream);
  const RasterInput& input = *inputs_.at(stream).raster;
  // An input that the run does not read may be smaller than its area.
  const QRect extent =
      Blank(stream).extent & QRect(origin.x, origin.y, input.Columns(), input.Rows());
  const QRect seen = view.seen.isNull() ? extent : view.seen & extent;
  const OutputGrid run = Grid();
  const int n = run.resolution;
  // A cell of many looks needs many elements. A picture of too few cells would say little.
  const double pixels = static_cast<double>(seen.width()) * seen.height() / (n * n) /
                        std::min(4, run.looks.x * run.looks.y);
  const int nx = n * run.looks.x;
  const int ny = n * run.looks.y;
  CellSample cells;
  cells.step = static_cast<int>(std::max({1.0, std::floor(std::sqrt(pixels / view.enough)),
                                          std::ceil(std::sqrt(pixels / view.most))}));
  const auto [x, columns] = GroupsOf({seen.x(), seen.width()}, run.window.x, nx * cells.step, nx,
                                     {extent.x(), extent.width()});
  const auto [y, rows] = GroupsOf({seen.y(), seen.height()}, run.window.y, ny * cells.step, ny,
                                  {extent.y(), extent.height()});
  cells.first = {x, y};
  cells.shown = {columns, rows};
  return cells;
}

// The elements that the run reads for the cells, before it averages over looks.
PreviewImage PreviewMaker::Read(int stream, const CellSample& cells,
                                const std::stop_token& stop) const {
  RasterInput& input = *inputs_.at(stream).raster;
  const auto [looksX, looksY] = Grid().looks;
  OutputGrid grid;  // of all cells from the first to the last
  grid.resolution = Grid().resolution;
  grid.columns = ((cells.shown.width() - 1) * cells.step + 1) * looksX;
  grid.rows = ((cells.shown.height() - 1) * cells.step + 1) * looksY;
  grid.window = {cells.first.x(), cells.first.y(), grid.columns * grid.resolution,
                 grid.rows * grid.resolution};
  const int band = std::min(view_.band, input.Bands());
  // Holds an image of one compressed strip, which could otherwise be decoded again at each move of
  // the pointer.
  constexpr std::int64_t kCacheBytes = 160 << 20;
  if (!CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) GDALSetCacheMax64(kCacheBytes);
  input.Select(grid.On(OriginOf(stream)), job_.selection.resampling, {band}, job_.elements);
  PreviewImage image = Blank(stream);
  image.complex = input.Mode().complex;
  image.columns = cells.shown.width() * looksX;
  image.first = cells.first;
  image.step = cells.step;
  // With looks, that inside a cell.
  image.pitch = QSize(1, 1) * grid.resolution * (looksX * looksY == 1 ? cells.step : 1);
  const std::ptrdiff_t cellFloats = std::ptrdiff_t{looksX} * input.Parts();
  const std::ptrdiff_t rowFloats = static_cast<std::ptrdiff_t>(grid.columns) * input.Parts();
  std::vector<float> rows(static_cast<std::size_t>(rowFloats * looksY));
  image.values.reserve(
      static_cast<std::size_t>(cellFloats * cells.shown.width() * cells.shown.height() * looksY));
  for (int row = 0; row < cells.shown.height(); ++row) {
    if (stop.stop_requested()) throw Cancelled();
    input.Read(band, row * cells.step * looksY, looksY, rows.data());
    for (auto start = rows.begin(); start != rows.end(); start += rowFloats)
      for (std::ptrdiff_t cell = 0; cell < rowFloats; cell += cellFloats * cells.step)
        image.values.insert(image.values.end(), start + cell, start + cell + cellFloats);
  }
  return image;
}

// Returns whether the image is another than before.
bool PreviewMaker::Update(const DeclaredStream& stream, const std::stop_token& stop) {
  const std::string& name = job_.inputs.at(stream.number);
  std::error_code ignored;
  const auto file = std::tuple(name, std::filesystem::last_write_time(name, ignored),
                               std::filesystem::file_size(name, ignored), job_.openOptions);
  Input& input = inputs_[stream.number];
  const bool another = file != input.file;
  if (another) input = {file, nullptr, {}, {}, 0, {}};
  try {
    if (!input.raster)  // nor before: a header or a file behind it may have come
      input.raster = std::make_unique<RasterInput>(stream.label, name, job_.openOptions);
    const PreviewImage blank = Blank(stream.number);
    const auto rules = std::tuple(view_.band, blank.run, blank.extent, OriginOf(stream.number),
                                  job_.elements, job_.selection);
    const CellSample cells = SampleFor(stream.number, view_);
    if (std::exchange(input.rules, rules) != rules)
      input.data = ++newestData_;
    else if (cells == input.cells)
      return false;
    input.cells.reset();
    input.image = Read(stream.number, cells, stop);
    input.cells = cells;
  } catch (const Cancelled&) {
    throw;
  } catch (const Failure& failure) {
    input.cells.reset();
    input.image = input.raster ? Blank(stream.number) : PreviewImage();
    input.image.note = failure.what();
  }
  return true;
}

// The results of the run over elements in memory. Throws Failure, Cancelled, Desisted.
MemoryRaster PreviewMaker::Compute(const std::map<int, const PreviewImage*>& inputs,
                                   const std::stop_token& stop) const {
  Job job = run_;
  job.selection = {};
  job.selection.looks = Grid().looks;
  job.bands.clear();
  job.openOptions.clear();
  job.elements = {};  // by now applied
  job.elements.keepNoData = job_.elements.keepNoData;
  InputDatasets elements;
  for (const auto& [stream, image] : inputs) {
    if (!image->note.empty()) throw Failure(image->note);
    const auto count = static_cast<int>(image->values.size()) / (image->complex ? 2 : 1);
    elements[stream] = MemoryDataset(image->values.data(), image->columns, count / image->columns,
                                     image->complex ? GDT_CFloat32 : GDT_Float32);
  }
  return RunInMemory(job, host_, {stop}, std::move(elements));
}

PreviewImage PreviewMaker::Result(Findings& findings, const std::stop_token& stop) const {
  std::map<int, const PreviewImage*> inputs;
  for (const DeclaredStream& stream : host_.registration.inputs)
    if (run_.inputs.contains(stream.number))
      inputs[stream.number] = &inputs_.at(stream.number).image;
  MemoryRaster raster = Compute(inputs, stop);
  const PreviewImage& input = *inputs.begin()->second;
  const Looks& looks = plan_->grid.looks;
  PreviewImage result;
  result.complex = raster.complex;
  result.columns = raster.grid.columns;
  result.first = input.first;
  result.step = input.step;
  result.pitch = QSize(looks.x, looks.y) * plan_->grid.resolution * input.step;
  result.run = input.run;
  result.extent = input.extent;
  result.data = resultData_;
  result.whole = input.whole;
  result.values = std::move(raster.values);
  if (!plan_->mode->integer && std::isnan(plan_->noData.value_or(NAN))) return result;
  const std::size_t parts = result.complex ? 2 : 1;
  const std::vector<float> counted = result.OfTheRun(result.values, parts);
  AlteredElements counts;
  Stored(counted, *plan_, counts);
  findings.beyondMode = counts.saturated;
  findings.elements = counted.size() / parts;
  const std::vector<double> stored = Stored(result.values, *plan_, counts);
  result.values.assign(stored.begin(), stored.end());
  return result;
}

Findings PreviewMaker::Make(const Job& job, const Job& ofTheRun, const View& view,
                            const std::stop_token& stop, const Show& show) {
  const MessageRedirection quiet([](const std::string&) {});  // the check tells
  Findings findings = Check(ofTheRun);
  job_ = job;
  run_ = ofTheRun;
  view_ = view;
  plan_ = findings.plan;
  const std::vector<DeclaredStream>& inputs = host_.registration.inputs;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (!job.inputs.contains(inputs[i].number)) {
      inputs_.erase(inputs[i].number);
      PreviewImage none;
      none.note = kNoFile;
      show(i, none);
    } else if (Update(inputs[i], stop)) {
      show(i, Shown(inputs_.at(inputs[i].number).image, Grid().looks));
    }
  }
  std::vector<int> read;
  for (const auto& [stream, name] : run_.inputs) read.push_back(inputs_.at(stream).data);
  const auto resultOf = std::tuple(read, run_.mode, run_.outputNoData, EchoOptions(host_));
  if (std::exchange(resultOf_, resultOf) != resultOf) resultData_ = ++newestData_;
  PreviewImage result;
  try {
    if (!plan_) throw Failure(findings.failure);
    result = Result(findings, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& error) {
    result.note = error.what();
    if (findings.failure.empty()) findings.failure = error.what();  // an input is damaged
  }
  for (const auto& [stream, input] : inputs_)
    if (input.raster && run_.inputs.contains(stream))
      for (const std::string& loss : input.raster->Losses())
        if (std::ranges::find(findings.warnings, loss) == findings.warnings.end())
          findings.warnings.push_back(loss);
  show(inputs.size(), std::move(result));
  return findings;
}

void PreviewMaker::CloseInputs() {
  for (auto& [stream, input] : inputs_) {
    input.raster.reset();
    input.cells.reset();
  }
}

Inspection PreviewMaker::Inspect(QPoint pixel) {
  const MessageRedirection quiet([](const std::string&) {});
  Inspection inspection;
  inspection.pixel = pixel;
  const View view = {view_.band, QRect(pixel, QSize(1, 1))};
  std::map<int, PreviewImage> read;
  const auto add = [&](const auto& element) {
    inspection.elements.emplace_back();
    try {
      inspection.elements.back() = element();
    } catch (const Failure&) {  // the image's note says why
    }
  };
  for (const DeclaredStream& stream : host_.registration.inputs)
    add([&] {
      const auto input = inputs_.find(stream.number);
      if (input == inputs_.end() || !input->second.raster) throw Failure("no image");
      const bool isRead = run_.inputs.contains(stream.number);
      auto transform = GeotransformOf(input->second.raster->Dataset());
      if (isRead && transform && !inspection.map) {  // as the output
        auto& [x, y] = inspection.map.emplace();
        GDALApplyGeoTransform(transform->data(), pixel.x() + 0.5, pixel.y() + 0.5, &x, &y);
      }
      const PreviewImage cell = Read(stream.number, SampleFor(stream.number, view), {});
      if (isRead) read[stream.number] = cell;
      const QPoint place = pixel - cell.first;
      const int i = place.y() / cell.pitch.height() * cell.columns + place.x() / cell.pitch.width();
      const int parts = cell.complex ? 2 : 1;
      const float* const element =
          &cell.values[static_cast<std::size_t>(i) * static_cast<std::size_t>(parts)];
      return Inspection::Element{cell.complex, {element[0], element[parts - 1]}};
    });
  add([&] {
    if (!plan_ || read.empty() || !read.begin()->second.run.contains(pixel))
      throw Failure("not of the run");
    std::map<int, const PreviewImage*> inputs;
    for (const auto& [stream, image] : read) inputs[stream] = &image;
    const MemoryRaster raster = Compute(inputs, {});
    AlteredElements ignored;
    const std::vector<double> parts = Stored(raster.values, *plan_, ignored);
    return Inspection::Element{raster.complex, {parts.front(), parts.back()}};
  });
  return inspection;
}

}  // namespace lumomixcalc::standalone
