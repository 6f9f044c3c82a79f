#ifndef LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_SPECIFICATION_H
#define LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_SPECIFICATION_H

#include <filesystem>
#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/publication.h"

namespace lumomixcalc::standalone {

// The raster that a run is to write.
struct OutputSpecification {
  std::filesystem::path target;  // as ResolveOutput gives it
  OutputFormat format;
  const DataMode* mode = nullptr;
  std::vector<std::string> creationOptions;
  int columns = 0;
  int rows = 0;
  int bands = 0;
  bool overwrite = false;
  std::vector<InputFiles> inputs;
};

}  // namespace lumomixcalc::standalone

#endif
