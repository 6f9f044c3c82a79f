#pragma once

#include <cpl_string.h>
#include <gdal_priv.h>

#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {

// A GDAL format that can write a raster file.
struct OutputFormat {
  GDALDriver* driver = nullptr;

  std::string Name() const { return driver->GetDescription(); }
  // Whether the driver cannot write piece by piece, but only copy a whole raster.
  bool CopiesOnly() const;
};

std::vector<std::string> WritableFormats();

// The format of that name, or with an empty name the one of the path's extension; GTiff for a path
// without one. Throws WrongCommandLine when there is none that can write.
OutputFormat ChooseOutputFormat(const std::string& name, const std::string& path);

// Throws WrongCommandLine when the format knows no such option or value.
void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// These options, and those that a driver needs to write what this host promises: TIFFs of any size,
// and no name of a temporary file in the output.
CPLStringList CreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// Whether options of a TIFF bear only on where its elements are in the file.
bool OnlyLayOut(const std::vector<std::string>& options);

// Throws Failure when the format has no elements of this mode, naming those that it has.
void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode);

}  // namespace lumomixcalc::standalone
