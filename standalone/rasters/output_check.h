#pragma once

#include <filesystem>
#include <string>

#include "standalone/rasters/output_format.h"

namespace lumomixcalc::standalone {

// Reads a complete output back: whether it opens, has size, bands and a type wide enough, and its
// elements can be read: the last row of a TIFF, whose driver reports every failed write, and all of
// other formats. With original, the raster that it is a copy of, warns of elements that the format
// changed. Returns what is wrong with the output, for a message; empty when nothing is.
std::string FaultOfFile(const std::filesystem::path& file, const OutputSpecification& specification,
                        GDALDataset* original);

}  // namespace lumomixcalc::standalone
