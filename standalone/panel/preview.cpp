#include "standalone/panel/preview.h"

#include <algorithm>
#include <exception>
#include <new>
#include <system_error>

#include "standalone/rasters/raster_input.h"

namespace lumomixcalc::standalone {
namespace {

Selection WholeImageCoarsely() {
  Selection selection;
  selection.resampling = Resampling::kPreview;
  selection.longestSide = 640;  // enough for a pane, and quickly computed
  return selection;
}

PreviewImage ReadInput(const DeclaredStream& stream, const Job& job, int band,
                       const std::stop_token& stop) {
  RasterInput input(stream.label, job.files.at(stream.number), job.openOptions);
  band = std::min(band, input.Bands());
  PreviewImage image;
  const Selection selection = WholeImageCoarsely();
  image.grid = MakeOutputGrid(selection, input.Columns(), input.Rows(), nullptr, input.Describe());
  image.fullSize = {input.Columns(), input.Rows()};
  image.bands = input.Bands();
  image.complex = input.Mode().complex;
  input.Select(image.grid, selection.resampling, {band}, job.elements);
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

MemoryRaster ComputeResult(Job job, int band, HostState& host, const std::stop_token& stop) {
  job.selection = WholeImageCoarsely();
  job.bands = {band};
  return RunInMemory(job, host, {stop});
}

}  // namespace

const PreviewImage& PreviewMaker::Input(const DeclaredStream& stream, const Job& job, int band,
                                        const std::stop_token& stop) {
  const std::string& file = job.files.at(stream.number);
  KeptInput& kept = inputs_[stream.number];
  std::error_code ignored;
  const auto key =
      std::tuple(file, std::filesystem::last_write_time(file, ignored),
                 std::filesystem::file_size(file, ignored), band, job.elements.keepNoData);
  if (kept.key == key) return kept.image;
  kept = {};
  try {
    kept.image = ReadInput(stream, job, band, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const Failure& failure) {
    kept.image.note = failure.what();
  }
  kept.key = key;
  return kept.image;
}

Preview PreviewMaker::Make(const Job& job, int band, HostState& host, const std::stop_token& stop,
                           const MessageSink& warn) {
  std::string reason;  // what the application says when it desists
  const MessageRedirection redirection([&](const std::string& sentence) {
    if (sentence.starts_with("warning: ")) return warn(sentence);
    reason += (reason.empty() ? "" : "\n") + sentence;
  });
  const std::vector<DeclaredStream>& inputs = host.registration.inputs;
  Preview preview(inputs.size() + 1);
  PreviewImage& result = preview.back();
  try {
    for (std::size_t i = 0; i < inputs.size(); ++i)
      if (job.files.contains(inputs[i].number))
        preview[i] = Input(inputs[i], job, band, stop);
      else
        preview[i].note = "No file chosen.";
    static_cast<MemoryRaster&>(result) = ComputeResult(job, band, host, stop);
  } catch (const Cancelled&) {
    throw;
  } catch (const Desisted&) {
    result.note = reason;
  } catch (const std::bad_alloc&) {
    result.note = "There is not enough memory for a preview.";
  } catch (const std::exception& error) {
    result.note = error.what();
  }
  return preview;
}

}  // namespace lumomixcalc::standalone
