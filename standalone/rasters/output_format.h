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
  // Whether the driver cannot write a raster piece by piece, but only copy a whole one.
  bool CopiesOnly() const;
};

std::vector<std::string> WritableFormats();

// The format with this name. With an empty name, the format of the path's extension, or GTiff when
// the path has none. Throws WrongCommandLine when there is no such format that can be written.
OutputFormat ChooseOutputFormat(const std::string& name, const std::string& path);

// Throws WrongCommandLine when the format does not know an option or its value.
void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// These options and those that this host adds: for TIFFs of any size, and against the name of a
// temporary file in the output.
CPLStringList CreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// Whether these options of a TIFF, such as those of a lossy compression, may change values.
bool MayChangeValues(const std::vector<std::string>& options);

// Whether these options of a TIFF only change the layout of its uncompressed elements in the file.
bool OnlyLayOut(const std::vector<std::string>& options);

// Throws Failure, which names the modes that the format can hold, when it cannot hold this one.
void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode);

}  // namespace lumomixcalc::standalone
