#pragma once

#include <QRect>
#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/framework/host_calls.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {

// What is shown of the images.
struct View {
  int band = 1;
  QRect seen;  // in pixels of the inputs; null for all of them
  // So many elements suffice of each input, for the pixels of the screen. More are read where the
  // next coarser sample would have fewer, but no more than about the most.
  double enough = 1 << 18;
  double most = 1 << 20;
  bool operator==(const View&) const = default;
};

// Which cells of a run's output are shown: the first of each step x step, on the run's grid, which
// goes on outside the run's region.
struct CellSample {
  QPoint first;  // the first pixel of the first cell
  int step = 1;
  QSize shown;  // how many cells in each direction
  bool operator==(const CellSample&) const = default;
};

// The note of an input that no file is chosen for.
inline constexpr const char* kNoFile = "Open an image with Ctrl+O, or drop one or two here.";

// An input or the result, as it is shown: elements row by row, pairs when complex, no data as NaN.
// Pixels are those of the run's first input if the run reads it.
struct PreviewImage {
  bool complex = false;
  std::vector<float> values;
  int columns = 0;
  QPoint first;        // the pixel where the first value lies
  QSize pitch;         // pixels from one value to the next
  int step = 1;        // one of step x step cells of the run is shown
  QRect run;           // the pixels that the run takes
  QRect extent;        // the pixels to show: the run's area, or without a run all of the input
  std::string note;    // why there are no values
  int data = 0;        // images with one number are views of the same data
  bool whole = false;  // all that there is, not a place that is looked at

  // Those of the values, with so many parts for each element, that are the run's.
  std::vector<float> OfTheRun(std::span<const float> all, std::size_t parts) const;
};

// What a check says about a run.
struct Findings {
  std::optional<RunPlan> plan;        // without a format while the run would fail by its output
  std::string failure;                // why the run would fail, or empty
  std::vector<std::string> warnings;  // that the run would give
  std::set<int> inputs;               // that the run reads
  // In an integer mode, of the run's elements that are shown: those that it cannot hold, and all.
  std::uint64_t beyondMode = 0;
  std::uint64_t elements = 0;
};

// The element of each image that lies at one pixel of the inputs.
struct Inspection {
  QPoint pixel;
  std::optional<std::array<double, 2>> map;  // coordinates of the pixel's middle
  struct Element {
    bool complex = false;
    std::array<double, 2> parts = {};
  };
  std::vector<std::optional<Element>>
      elements;  // of the inputs as the run reads them, then of the result as it is stored
};

// The job with these inputs only.
Job WithInputs(Job job, const std::set<int>& inputs);

// Makes previews and looks up single elements. It keeps the inputs open and what it read of them in
// memory, so that for other coefficients or another operator only the result is computed.
class PreviewMaker {
 public:
  // Called with each image as soon as it is ready: the inputs by their position, the result last.
  using Show = std::function<void(std::size_t position, PreviewImage image)>;

  explicit PreviewMaker(HostState& host) : host_(host) {}

  // Shows what has changed of the inputs of job, and the result of the run. All are what the run
  // reads and would store in the cells that are shown, integer modes and looks included. Problems
  // are reported in the images' notes. Throws Cancelled.
  Findings Make(const Job& job, const Job& ofTheRun, const View& view, const std::stop_token& stop,
                const Show& show);

  // The elements of the last preview's run at a pixel. Those that there are not, or that cannot be
  // read or computed, are missing.
  Inspection Inspect(QPoint pixel);

  // GDAL could hand a run what an input that is open here has read of its sources. The next preview
  // opens and reads them again.
  void CloseInputs();

 private:
  struct Input {
    // The file, its time and size and how it was opened.
    std::tuple<std::string, std::filesystem::file_time_type, std::uintmax_t,
               std::vector<std::string>>
        file;
    std::unique_ptr<RasterInput> raster;  // null if it cannot be opened
    // What was read of it, and of which cells.
    std::tuple<int, QRect, QRect, PixelPosition, ElementRules, Selection> rules;
    std::optional<CellSample> cells;
    int data = 0;
    PreviewImage image;
  };
  Findings Check(const Job& asked) const;
  OutputGrid Grid() const { return plan_ ? plan_->grid : OutputGrid(); }
  bool Update(const DeclaredStream& stream, const std::stop_token& stop);
  PixelPosition OriginOf(int stream) const;
  PreviewImage Blank(int stream) const;
  CellSample SampleFor(int stream, const View& view) const;
  PreviewImage Read(int stream, const CellSample& cells, const std::stop_token& stop) const;
  MemoryRaster Compute(const std::map<int, const PreviewImage*>& inputs,
                       const std::stop_token& stop) const;
  PreviewImage Result(Findings& findings, const std::stop_token& stop) const;

  HostState& host_;
  std::map<int, Input> inputs_;  // by stream number
  int newestData_ = 0;
  // What the result's data are made of: the data read, mode, no data, the application's options.
  std::tuple<std::vector<int>, const DataMode*, std::optional<double>, std::vector<std::string>>
      resultOf_;
  int resultData_ = 0;
  // Of the last preview.
  Job job_;
  Job run_;
  View view_;
  std::optional<RunPlan> plan_;
};

}  // namespace lumomixcalc::standalone
