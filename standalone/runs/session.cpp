#include "standalone/runs/session.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/grid.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

std::string SizeAndBands(const RasterInput& raster) {
  return SizeText(raster.Columns(), raster.Rows()) + ", " +
         CountText(static_cast<std::uint64_t>(raster.Bands()), "band");
}

// The number of bands of the inputs together. Throws Failure when an input does not fit the first
// one, and warns when its georeferencing differs.
int CommonBands(const std::list<RunInput>& inputs) {
  RasterInput& first = *inputs.front().raster;
  int bands = first.Bands();
  for (const RunInput& input : inputs) {
    RasterInput& raster = *input.raster;
    const bool sameBands = raster.Bands() == bands || raster.Bands() == 1 || bands == 1;
    if (raster.Columns() != first.Columns() || raster.Rows() != first.Rows() || !sameBands)
      throw Failure("the inputs differ in size or in the number of bands: " + first.Describe() +
                    " has " + SizeAndBands(first) + ", " + raster.Describe() + " has " +
                    SizeAndBands(raster));
    bands = std::max(bands, raster.Bands());
    if (const std::string difference = GeoreferencingDifference(first.Dataset(), raster.Dataset());
        !difference.empty())
      Warn(first.Describe() + " and " + raster.Describe() +
           " do not lie in the same place: " + difference);
  }
  return bands;
}

}  // namespace

Session::Session(const Job& job, HostState& host, InputDatasets datasets)
    : job_(job), host_(host), bands_(job.bands) {
  host_.desisted = false;
  OpenInputs(datasets);
  host_.registration.Call(IP_SLOT_CHECK_PARAMS);
  StopIfDesisted();
  try {
    Prepare(job_.mode ? job_.mode->code : -1);
    DropUnreadInputs();
    ChooseMode();
    ChooseBandsAndGrid();
  } catch (...) {
    Finish();  // the destructor is not called when the constructor throws
    throw;
  }
}

Session::~Session() { Finish(); }

void Session::StopIfDesisted() const {
  if (host_.desisted) throw Desisted();
}

void Session::OpenInputs(InputDatasets& datasets) {
  host_.streams.clear();
  for (const DeclaredStream& declared : host_.registration.inputs) {
    const auto file = job_.files.find(declared.number);
    if (file == job_.files.end()) continue;
    files_.emplace_back(file->second);
    inputs_.push_back({declared.number,
                       std::make_unique<RasterInput>(declared.label, file->second, job_.openOptions,
                                                     std::move(datasets[declared.number]))});
    RasterInput& raster = *inputs_.back().raster;
    StreamState& state = host_.streams[declared.number];
    state.open = true;
    state.mode = raster.Mode().code;
    files_.back().Find(raster.Dataset());
  }
  auto input = inputs_.begin();
  for (const InputFiles& files : files_) {
    for (const InputFiles& other : files_)
      if (&other != &files && files.ShareRawFile(other)) input->raster->ReadByTurns();
    ++input;
  }
  host_.streams[OutputStream()].open = true;
}

void Session::RefuseChangedInputs() const {
  for (const InputFiles& input : files_) input.RefuseChanges();
}

void Session::Prepare(int outputMode) {
  CleanUp();
  host_.outputMode = outputMode;
  prepared_ = true;
  host_.registration.Call(IP_SLOT_INIT_PROC);
  StopIfDesisted();
}

// The application reads the inputs whose mode it asked for while it prepared the run.
void Session::DropUnreadInputs() {
  inputs_.remove_if(
      [this](const RunInput& input) { return !host_.streams[input.stream].modeAsked; });
  if (inputs_.empty()) throw Failure("the application reads none of the input files");
}

// When the user chose no mode, it is a float mode, complex if an input that is read is complex. The
// application by itself follows its first stream. If only another one is complex, it is prepared
// again with the mode.
void Session::ChooseMode() {
  mode_ = job_.mode;
  if (mode_) return;
  const bool complex = std::any_of(inputs_.begin(), inputs_.end(), [](const RunInput& input) {
    return input.raster->Mode().complex;
  });
  mode_ = FindDataMode(complex ? "cfloat32" : "float32");
  const RunInput& first = inputs_.front();
  const bool readsFirstStream = first.stream == host_.registration.inputs.front().number;
  if (complex && !(readsFirstStream && first.raster->Mode().complex)) Prepare(mode_->code);
}

void Session::ChooseBandsAndGrid() {
  const int bands = CommonBands(inputs_);
  if (bands_.empty())
    for (int band = 1; band <= bands; ++band) bands_.push_back(band);
  for (const int band : bands_)
    if (band > bands)
      throw Failure("-bands=: there is no band " + std::to_string(band) + "; the inputs have " +
                    CountText(static_cast<std::uint64_t>(bands), "band"));
  const RasterInput& first = *inputs_.front().raster;
  std::optional<Geotransform> transform;
  for (const RunInput& input : inputs_)
    if (!transform) transform = GeotransformOf(input.raster->Dataset());
  grid_ =
      MakeOutputGrid(job_.selection, first.Columns(), first.Rows(), transform, first.Describe());
}

std::optional<double> Session::NoData() const {
  if (!MasksNoData()) return std::nullopt;
  if (job_.elements.noData) return job_.elements.noData;
  for (const RunInput& input : inputs_)
    for (const int band : bands_) {
      const int own = BandOf(input, band);
      if (const std::optional<double> value = input.raster->NoData(own)) return value;
      if (input.raster->HasMask(own)) return std::numeric_limits<double>::quiet_NaN();
    }
  return std::nullopt;
}

void Session::LimitRows(int firstRow, int rows) {
  const int inputRows = grid_.resolution * grid_.looks.y;
  grid_.window.y += firstRow * inputRows;
  grid_.window.rows = rows * inputRows;
  grid_.rows = rows;
}

void Session::SelectInputs() {
  for (const RunInput& input : inputs_) {
    std::vector<int> bands;
    for (const int band : bands_)
      if (const int own = BandOf(input, band);
          std::find(bands.begin(), bands.end(), own) == bands.end())
        bands.push_back(own);
    input.raster->Select(ProcessedGrid(), job_.selection.resampling, bands, job_.elements);
  }
}

int Session::RowsPerStrip() const {
  constexpr std::int64_t kStripBytes = 2 << 20;
  constexpr std::int64_t kAllBandsBytes = 8 << 20;
  // A coarser pixel is computed from n * n pixels.
  const std::int64_t n = grid_.resolution;
  std::int64_t parts = mode_->Parts();
  for (const RunInput& input : inputs_) parts += input.raster->Parts() * n * n;
  const OutputGrid grid = ProcessedGrid();
  const std::int64_t rowBytes = parts * static_cast<std::int64_t>(sizeof(float)) * grid.columns;
  const std::int64_t rows =
      std::min(kStripBytes / rowBytes,
               kAllBandsBytes / (rowBytes * static_cast<std::int64_t>(bands_.size())));
  return static_cast<int>(std::clamp<std::int64_t>(rows, 1, grid.rows));
}

void Session::ProcessRow(IPOutputStats& record) {
  const auto process =
      reinterpret_cast<IPProcDataRoutine>(host_.registration.routines.at(IP_SLOT_PROC_DATA));
  const IPBlock row = {ProcessedGrid().columns, 1};
  process(&row, &record);
  StopIfDesisted();
}

void Session::Process(int rows, IPOutputStats& record) {
  const std::ptrdiff_t columns = ProcessedGrid().columns;
  for (int i = 0; i < rows; ++i) {
    ProcessRow(record);
    for (const RunInput& input : inputs_)
      host_.streams[input.stream].blockData += columns * input.raster->Parts();
    host_.streams[OutputStream()].blockData += columns * mode_->Parts();
  }
}

bool Session::RowsHaveImaginaryParts(int rows) {
  const int outputMode = host_.outputMode;
  const auto streams = host_.streams;
  const std::ptrdiff_t columns = ProcessedGrid().columns;
  std::vector<float> results(2 * static_cast<std::size_t>(columns));
  SetBlockData(OutputStream(), results.data());
  Prepare(FindDataMode("cfloat32")->code);
  IPOutputStats ignored = {};
  bool found = false;
  for (int i = 0; i < rows && !found; ++i) {
    ProcessRow(ignored);
    found = HasImaginaryPart(results.data(), results.size() / 2);
    for (const RunInput& input : inputs_)
      host_.streams[input.stream].blockData += columns * input.raster->Parts();
  }
  Prepare(outputMode);
  host_.streams = streams;
  return found;
}

void Session::CleanUp() {
  if (prepared_) host_.registration.Call(IP_SLOT_CLEANUP);
  prepared_ = false;
}

void Session::Finish() {
  CleanUp();
  for (auto& [number, state] : host_.streams) state.blockData = nullptr;
}

}  // namespace lumomixcalc::standalone
