#ifndef LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_FORMAT_H
#define LUMOMIXCALC_STANDALONE_RASTERS_OUTPUT_FORMAT_H

#include <gdal_priv.h>

#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// A GDAL format that can write a raster file.
struct OutputFormat {
  GDALDriver* driver = nullptr;
  // The driver cannot write piece by piece; it only copies a whole raster.
  bool copiesOnly = false;

  std::string Name() const { return driver->GetDescription(); }
};

// The names of all formats that can write a raster file here.
std::vector<std::string> WritableFormats();

// The format named so, or with an empty name the one of the path's extension, else GTiff. Throws
// WrongCommandLine when there is none that can write.
OutputFormat ChooseOutputFormat(const std::string& name, const std::string& path);

// Throws WrongCommandLine when the format knows no such option or value.
void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// Throws Failure when the format has no elements of this mode, naming those that it has.
void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode);

}  // namespace lumomixcalc::standalone

#endif
