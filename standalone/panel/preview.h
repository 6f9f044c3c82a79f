#ifndef LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"
#include "standalone/runs/memory_run.h"

namespace lumomixcalc::standalone {

// One band of an input or of the result, on the coarse grid of a preview.
struct PreviewImage : MemoryRaster {
  int fullColumns = 0;  // pixels of the whole image
  int fullRows = 0;
  int bands = 0;
  std::string note;  // why there are no values
};

// The images of the current settings. All show the whole area of the inputs.
struct Preview {
  std::vector<PreviewImage> inputs;  // one per declared input
  PreviewImage result;
};

// Makes previews. It keeps the inputs as it read them, so that other coefficients or another
// operator cost no more than the result.
class PreviewMaker {
 public:
  // The preview of a band for the files and the mode of job. Problems are reported in the image's
  // note; warn gets the warnings, from any thread, one at a time. Throws Cancelled.
  Preview Make(const Job& job, int band, HostState& host, const std::stop_token& stop,
               const MessageSink& warn);

 private:
  const PreviewImage& Input(const DeclaredStream& stream, const Job& job, int band,
                            const std::stop_token& stop);

  // By stream number; the text changes when the file does.
  std::map<int, std::pair<std::string, PreviewImage>> inputs_;
};

}  // namespace lumomixcalc::standalone

#endif
