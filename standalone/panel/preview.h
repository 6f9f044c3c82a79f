#ifndef LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_H
#define LUMOMIXCALC_STANDALONE_PANEL_PREVIEW_H

#include <map>
#include <string>
#include <vector>

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"
#include "standalone/runs/run_observer.h"

namespace lumomixcalc::standalone {

// One band of an input or of the result, on the coarse grid of a preview.
struct PreviewImage {
  OutputGrid grid;
  int fullColumns = 0;  // pixels of the whole image
  int fullRows = 0;
  int bands = 0;
  bool complex = false;
  std::vector<float> values;  // pairs when complex; none when there is nothing to show
  std::string note;           // why there is nothing
};

// What the current settings give. All images show the whole area of the inputs.
struct Preview {
  std::vector<PreviewImage> inputs;  // one a declared input
  PreviewImage result;
};

// Makes previews. It keeps the inputs as it read them, so that other coefficients or another
// operator cost no more than the result.
class PreviewMaker {
 public:
  // The preview of a band for the files and the mode of options. A file or setting that does not
  // serve is told by the note of its image. Throws RunCancelled.
  Preview Make(const Options& options, int band, RunContext& context, RunObserver& observer);

 private:
  const PreviewImage& Input(const DeclaredStream& stream, const Options& options, int band,
                            RunObserver& observer);

  struct KeptInput {
    std::string key;
    PreviewImage image;
  };
  std::map<int, KeptInput> inputs_;  // by stream number
};

}  // namespace lumomixcalc::standalone

#endif
