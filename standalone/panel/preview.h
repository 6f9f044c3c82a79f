#pragma once

#include <QSize>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {

// One band of an input or of the result, on the coarse grid of a preview.
struct PreviewImage : MemoryRaster {
  QSize fullSize;  // pixels of the whole input; invalid for the result
  int bands = 0;
  std::string note;  // why there are no values
};

// The images of the current settings: one per declared input, then the result. All show the whole
// area of the inputs.
using Preview = std::vector<PreviewImage>;

// Makes previews. It keeps the inputs as it read them, so that other coefficients or another
// operator cost no more than the result.
class PreviewMaker {
 public:
  // The preview of a band for the files and the mode of job. Problems are reported in the image's
  // note; warn gets the warnings, from any thread, one at a time. Throws Cancelled.
  Preview Make(const Job& job, int band, HostState& host, const std::stop_token& stop,
               const MessageSink& warn);

 private:
  struct KeptInput {
    // File, its time and size, band, and whether no data is kept: another when the image is.
    std::tuple<std::string, std::filesystem::file_time_type, std::uintmax_t, int, bool> key;
    PreviewImage image;
  };

  const PreviewImage& Input(const DeclaredStream& stream, const Job& job, int band,
                            const std::stop_token& stop);

  std::map<int, KeptInput> inputs_;  // by stream number
};

}  // namespace lumomixcalc::standalone
