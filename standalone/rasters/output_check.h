#ifndef LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_CHECK_H
#define LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_CHECK_H

#include <filesystem>
#include <string>

#include "standalone/rasters/output_specification.h"

namespace lumomixcalc::standalone {

// Reads a complete output back: whether it opens, has size, bands and a type wide enough, and its
// last row. Returns what is wrong with it, for a message; empty when nothing is.
std::string FaultOfFile(const std::filesystem::path& file,
                        const OutputSpecification& specification);

}  // namespace lumomixcalc::standalone

#endif
