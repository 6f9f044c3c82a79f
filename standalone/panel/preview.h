#pragma once

#include <QRect>
#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {

// A part of an input or of the result, as it is shown; its grid says where it lies.
struct PreviewImage : MemoryRaster {
  QSize fullSize;    // pixels of the whole input
  int bands = 0;     // of the input
  std::string note;  // why there are no values
};

// What is shown of the images.
struct View {
  int band = 1;
  QRect seen;                 // in pixels of the inputs; null for all of them
  double elements = 1 << 20;  // at most so many are read and computed
  bool operator==(const View&) const = default;
};

// What a check says about a run.
struct Findings {
  std::optional<RunPlan> plan;        // without a format while the run would fail by its output
  std::string failure;                // why the run would fail, or empty
  std::vector<std::string> warnings;  // that the run would give
  std::set<int> inputs;               // that the run reads
  std::uint64_t beyondMode = 0;       // elements of the preview that the mode cannot hold
  std::uint64_t elements = 0;         // of the preview
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
      elements;  // of the inputs, then of the result as it is stored
};

// The job with these inputs only.
Job WithInputs(Job job, const std::set<int>& inputs);

// Makes previews and looks up single elements. It keeps what it read of the inputs in memory, so
// that for other coefficients or another operator only the result is computed.
class PreviewMaker {
 public:
  // Called with each image as soon as it is ready: the inputs by their position, the result last.
  using Show = std::function<void(std::size_t position, const PreviewImage& image)>;

  explicit PreviewMaker(HostState& host) : host_(host) {}

  // Shows what has changed of the inputs of job, and the result of the run. The result is what the
  // run would store, integer modes and looks included; where not every pixel is shown, it is
  // computed from the pixels that are. Problems are reported in the images' notes. Throws
  // Cancelled.
  Findings Make(const Job& job, const Job& ofTheRun, const View& view, const std::stop_token& stop,
                const Show& show);

  // Reads and computes the elements at a pixel from the files. Those that cannot be read or
  // computed are missing.
  Inspection Inspect(const Job& job, int band, QPoint pixel);

 private:
  struct KeptInput {
    // The file, its time and size, what is shown of it, and how its elements are made: when one of
    // these changes, the image is read again.
    std::tuple<std::string, std::filesystem::file_time_type, std::uintmax_t, View, ElementRules,
               std::vector<std::string>>
        key;
    PreviewImage image;
  };

  Findings Check(const Job& asked) const;
  bool UpdateInput(const DeclaredStream& stream, const Job& job, const View& view,
                   const OutputGrid& run, const std::stop_token& stop);
  PreviewImage Result(const Job& job, Findings& findings, const std::stop_token& stop) const;
  Inspection::Element ResultElement(Job job, int band, QPoint pixel) const;

  HostState& host_;
  std::map<int, KeptInput> inputs_;  // by stream number
};

}  // namespace lumomixcalc::standalone
