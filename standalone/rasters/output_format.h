#pragma once

#include <cpl_string.h>
#include <gdal_priv.h>

#include <filesystem>
#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/publication.h"

namespace lumomixcalc::standalone {

// A GDAL format that can write a raster file.
struct OutputFormat {
  GDALDriver* driver = nullptr;
  // The driver cannot write piece by piece; it only copies a whole raster.
  bool copiesOnly = false;

  std::string Name() const { return driver->GetDescription(); }
};

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

// The names of all formats that can write a raster file here.
std::vector<std::string> WritableFormats();

// The format of that name, or with an empty name the one of the path's extension; GTiff for a path
// without one. Throws WrongCommandLine when there is none that can write.
OutputFormat ChooseOutputFormat(const std::string& name, const std::string& path);

// Throws WrongCommandLine when the format knows no such option or value.
void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options);

// The creation options of a specification, and those that a driver needs to write what this host
// promises: TIFFs of any size, and no name of a temporary file in the output.
CPLStringList CreationOptions(const OutputSpecification& specification);

// Whether options of a TIFF bear only on where its elements are in the file.
bool OnlyLayOut(const std::vector<std::string>& options);

// Throws Failure when the format has no elements of this mode, naming those that it has.
void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode);

}  // namespace lumomixcalc::standalone
