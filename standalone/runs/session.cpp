#include "standalone/runs/session.h"

#include <cpl_string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <string>

#include "standalone/base/messages.h"
#include "standalone/rasters/grid.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

std::string SizeAndBands(const RasterInput& raster) {
  return SizeText(raster.Columns(), raster.Rows()) + ", " +
         CountText(static_cast<std::uint64_t>(raster.Bands()), "band");
}

// The files that a raster consists of. A VRT lists its sources, but not their headers.
std::vector<std::string> FilesOf(GDALDataset& dataset) {
  const CPLStringList names(dataset.GetFileList());
  std::vector<std::string> files(names.List(), names.List() + names.Count());
  if (EQUAL(dataset.GetDriverName(), "VRT"))
    for (int i = 0; i < names.Count(); ++i) files.emplace_back(CPLResetExtension(names[i], "hdr"));
  return files;
}

// The number of bands that all inputs share. Refuses inputs that do not fit the first, warns of
// other places.
int CommonBands(const std::list<RunInput>& inputs) {
  RasterInput& first = *inputs.front().raster;
  int bands = first.Bands();
  for (const RunInput& input : inputs) {
    RasterInput& raster = *input.raster;
    const bool sameBands = raster.Bands() == bands || raster.Bands() == 1 || bands == 1;
    if (raster.Columns() != first.Columns() || raster.Rows() != first.Rows() || !sameBands)
      throw Failure("the inputs differ in size: " + first.Describe() + " has " +
                    SizeAndBands(first) + ", " + raster.Describe() + " has " +
                    SizeAndBands(raster));
    bands = std::max(bands, raster.Bands());
    if (const std::string difference = GeoreferencingDifference(first.Dataset(), raster.Dataset());
        !difference.empty())
      Warn(first.Describe() + " and " + raster.Describe() +
           " do not lie in the same place: " + difference);
  }
  return bands;
}

std::vector<int> ChosenBands(const std::vector<int>& chosen, int bands) {
  if (chosen.empty()) {
    std::vector<int> all(static_cast<std::size_t>(bands));
    std::iota(all.begin(), all.end(), 1);
    return all;
  }
  for (const int band : chosen)
    if (band > bands)
      throw Failure("-bands=: there is no band " + std::to_string(band) + "; the inputs have " +
                    CountText(static_cast<std::uint64_t>(bands), "band"));
  return chosen;
}

}  // namespace

Session::Session(const Job& job, HostState& host) : host_(host) {
  host_.desisted = false;
  OpenInputs(job);
  host_.registration.Call(IP_SLOT_CHECK_PARAMS);
  StopIfDesisted();
  try {
    Prepare(job.mode ? job.mode->code : -1);
    DropUnreadInputs();
    ChooseMode(job);
    ChooseBandsAndGrid(job);
    ChooseNoData(job);
  } catch (...) {
    Finish();  // after a constructor that throws there is no destructor to do it
    throw;
  }
}

Session::~Session() { Finish(); }

void Session::StopIfDesisted() const {
  if (host_.desisted) throw Desisted();
}

void Session::OpenInputs(const Job& job) {
  host_.streams.clear();
  for (const DeclaredStream& declared : host_.registration.inputs) {
    const auto file = job.files.find(declared.number);
    if (file == job.files.end()) continue;
    inputs_.push_back({declared.number, std::make_unique<RasterInput>(declared.label, file->second,
                                                                      job.openOptions)});
    RasterInput& raster = *inputs_.back().raster;
    StreamState& state = host_.streams[declared.number];
    state.open = true;
    state.mode = raster.Mode().code;
    files_.push_back({file->second, FilesOf(raster.Dataset())});
  }
  host_.streams[OutputStream()].open = true;
}

void Session::Prepare(int outputMode) {
  CleanUp();
  host_.outputMode = outputMode;
  prepared_ = true;
  host_.registration.Call(IP_SLOT_INIT_PROC);
  StopIfDesisted();
}

// What the application asked about while it prepared the run is what it reads.
void Session::DropUnreadInputs() {
  inputs_.remove_if(
      [this](const RunInput& input) { return !host_.streams[input.stream].modeAsked; });
  if (inputs_.empty()) throw Failure("the application reads none of the input files");
}

// Without a choice float, complex when an input that is read is. An application that gets no choice
// follows its first stream; where only another is complex it prepares again, told the mode.
void Session::ChooseMode(const Job& job) {
  mode_ = job.mode;
  if (mode_) return;
  const bool complex = std::any_of(inputs_.begin(), inputs_.end(), [](const RunInput& input) {
    return input.raster->Mode().complex;
  });
  mode_ = FindDataMode(complex ? "cfloat32" : "float32");
  const RunInput& first = inputs_.front();
  const bool readsFirstStream = first.stream == host_.registration.inputs.front().number;
  if (complex && !(readsFirstStream && first.raster->Mode().complex)) Prepare(mode_->code);
}

void Session::ChooseBandsAndGrid(const Job& job) {
  bands_ = ChosenBands(job.bands, CommonBands(inputs_));
  RasterInput& first = FirstInput();
  std::optional<Geotransform> transform;
  for (const RunInput& input : inputs_)
    if (!transform) transform = GeotransformOf(input.raster->Dataset());
  grid_ = MakeOutputGrid(job.selection, first.Columns(), first.Rows(),
                         transform ? &*transform : nullptr, first.Describe());
  processedGrid_ = grid_.BeforeLooks();
  resampling_ = job.selection.resampling;
}

void Session::ChooseNoData(const Job& job) {
  rules_ = job.elements;
  if (rules_.keepNoData) return;
  noData_ = rules_.noData;
  for (const RunInput& input : inputs_)
    for (const int band : bands_) {
      const int own = BandOf(input, band);
      if (!noData_) noData_ = input.raster->NoData(own);
      if (!noData_ && input.raster->HasMask(own))
        noData_ = std::numeric_limits<double>::quiet_NaN();
    }
}

void Session::LimitRows(int firstRow, int rows) {
  const int inputRows = grid_.resolution * grid_.looks.y;
  grid_.window.y += firstRow * inputRows;
  grid_.window.rows = rows * inputRows;
  grid_.rows = rows;
  processedGrid_ = grid_.BeforeLooks();
}

void Session::SelectInputs() {
  for (const RunInput& input : inputs_) {
    std::vector<int> bands;
    for (const int band : bands_)
      if (const int own = BandOf(input, band);
          std::find(bands.begin(), bands.end(), own) == bands.end())
        bands.push_back(own);
    input.raster->Select(processedGrid_, resampling_, bands, rules_);
  }
}

int Session::RowsPerStrip() const {
  constexpr std::int64_t kStripBytes = 2 << 20;
  constexpr std::int64_t kAllBandsBytes = 8 << 20;
  // A coarser pixel is read from many.
  const std::int64_t n = processedGrid_.resolution;
  std::int64_t parts = mode_->complex ? 2 : 1;
  for (const RunInput& input : inputs_) parts += input.raster->Parts() * n * n;
  const std::int64_t rowBytes =
      parts * static_cast<std::int64_t>(sizeof(float)) * processedGrid_.columns;
  const std::int64_t rows =
      std::min(kStripBytes / rowBytes,
               kAllBandsBytes / (rowBytes * static_cast<std::int64_t>(bands_.size())));
  return static_cast<int>(std::clamp<std::int64_t>(rows, 1, processedGrid_.rows));
}

void Session::ProcessRow(IPOutputStats& record) {
  const auto process =
      reinterpret_cast<IPProcDataRoutine>(host_.registration.routines.at(IP_SLOT_PROC_DATA));
  const IPBlock row = {processedGrid_.columns, 1};
  process(&row, &record);
  StopIfDesisted();
}

void Session::Process(int rows, IPOutputStats& record) {
  const std::ptrdiff_t columns = processedGrid_.columns;
  for (int i = 0; i < rows; ++i) {
    ProcessRow(record);
    for (const RunInput& input : inputs_)
      host_.streams[input.stream].blockData += columns * input.raster->Parts();
    host_.streams[OutputStream()].blockData += columns * (mode_->complex ? 2 : 1);
  }
}

bool Session::RowHasImaginaryParts() {
  const int outputMode = host_.outputMode;
  std::vector<float> results(2 * static_cast<std::size_t>(processedGrid_.columns));
  SetBlockData(OutputStream(), results.data());
  Prepare(FindDataMode("cfloat32")->code);
  IPOutputStats ofTheRow = {};
  ProcessRow(ofTheRow);
  Prepare(outputMode);
  return HasImaginaryPart(results.data(), results.size() / 2);
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
