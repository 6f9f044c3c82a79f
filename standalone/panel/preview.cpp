#include "standalone/panel/preview.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/raster_input.h"

namespace lumomixcalc::standalone {
namespace {

// Enough for a pane, and quickly computed.
constexpr int kLongestSide = 640;

Selection WholeImageCoarsely() {
  Selection selection;
  selection.resampling = Resampling::kPreview;
  selection.longestSide = kLongestSide;
  return selection;
}

PreviewImage ReadInput(const std::string& label, const std::string& file, int band, bool keepNoData,
                       const std::stop_token& stop) {
  RasterInput input(label, file);
  band = std::min(band, input.Bands());
  PreviewImage image;
  const Selection selection = WholeImageCoarsely();
  image.grid = MakeOutputGrid(selection, input.Columns(), input.Rows(), nullptr, input.Describe());
  image.fullColumns = input.Columns();
  image.fullRows = input.Rows();
  image.bands = input.Bands();
  image.complex = input.Mode().complex;
  input.Select(image.grid, selection.resampling, {band}, !keepNoData);
  const std::size_t rowFloats =
      static_cast<std::size_t>(image.grid.columns) * static_cast<std::size_t>(input.Parts());
  image.values.resize(rowFloats * static_cast<std::size_t>(image.grid.rows));
  // Piece by piece, so that a slow file keeps nobody waiting for a newer preview.
  constexpr int kPieceRows = 32;
  for (int row = 0; row < image.grid.rows; row += kPieceRows) {
    if (stop.stop_requested()) throw Cancelled();
    input.Read(band, row, std::min(kPieceRows, image.grid.rows - row),
               image.values.data() + rowFloats * static_cast<std::size_t>(row));
  }
  return image;
}

// Another text when the file is not the one that was read.
std::string KeyOf(const std::string& file, int band, bool keepNoData) {
  std::error_code error;
  const auto written = std::filesystem::last_write_time(file, error).time_since_epoch().count();
  const auto size = std::filesystem::file_size(file, error);
  return file + '\n' + std::to_string(band) + (keepNoData ? " keep " : " ") +
         std::to_string(written) + ' ' + std::to_string(size);
}

PreviewImage ComputeResult(const Job& job, int band, HostState& host, const std::stop_token& stop) {
  Job coarse = job;
  coarse.selection = WholeImageCoarsely();
  coarse.bands = {band};
  PreviewImage image;
  static_cast<MemoryRaster&>(image) = RunInMemory(coarse, host, {stop});
  return image;
}

}  // namespace

const PreviewImage& PreviewMaker::Input(const DeclaredStream& stream, const Job& job, int band,
                                        const std::stop_token& stop) {
  const std::string& file = job.files.at(stream.number);
  auto& [keptKey, image] = inputs_[stream.number];
  const std::string key = KeyOf(file, band, job.keepNoData);
  if (keptKey == key) return image;
  keptKey.clear();
  try {
    image = ReadInput(stream.label, file, band, job.keepNoData, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const Failure& failure) {
    image = {};
    image.note = failure.what();
  }
  keptKey = key;
  return image;
}

Preview PreviewMaker::Make(const Job& job, int band, HostState& host, const std::stop_token& stop,
                           const MessageSink& warn) {
  std::string reason;  // what the application says when it desists
  const MessageRedirection redirection([&](const std::string& sentence) {
    if (sentence.starts_with("warning: ")) return warn(sentence);
    reason += (reason.empty() ? "" : "\n") + sentence;
  });
  Preview preview;
  for (const DeclaredStream& stream : host.registration.inputs) {
    if (job.files.count(stream.number) > 0)
      preview.inputs.push_back(Input(stream, job, band, stop));
    else
      preview.inputs.emplace_back().note = "No file chosen.";
  }
  try {
    preview.result = ComputeResult(job, band, host, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const Desisted&) {
    preview.result.note = reason;
  } catch (const Failure& failure) {
    preview.result.note = failure.what();
  }
  return preview;
}

}  // namespace lumomixcalc::standalone
