#include "standalone/rasters/output_format.h"

#include <cpl_error.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

bool Can(GDALDriver* driver, const char* capability) {
  const char* const value = driver->GetMetadataItem(capability);
  return value && CPLTestBool(value);
}

bool CanWriteFiles(GDALDriver* driver) {
  // These write rasters in memory, references to other files, and pictures alone: tiles of web maps
  // and pages, which read back with other bands.
  for (const char* const name : {"MEM", "VRT", "MBTiles", "KMLSUPEROVERLAY", "PDF"})
    if (EQUAL(driver->GetDescription(), name)) return false;
  return Can(driver, GDAL_DCAP_RASTER) &&
         (Can(driver, GDAL_DCAP_CREATE) || Can(driver, GDAL_DCAP_CREATECOPY));
}

bool Lists(GDALDriver* driver, const char* item, const char* wanted) {
  const char* const list = driver->GetMetadataItem(item);
  return list && CPLStringList(CSLTokenizeString(list)).FindString(wanted) >= 0;
}

bool Holds(GDALDriver* driver, const DataMode& mode) {
  // A driver that does not list its types refuses a wrong one itself.
  return !driver->GetMetadataItem(GDAL_DMD_CREATIONDATATYPES) ||
         Lists(driver, GDAL_DMD_CREATIONDATATYPES, GDALGetDataTypeName(mode.type));
}

bool AllBegin(const std::vector<std::string>& options, std::initializer_list<const char*> names) {
  return std::ranges::all_of(options, [&](const std::string& option) {
    return std::ranges::any_of(
        names, [&](const char* name) { return STARTS_WITH_CI(option.c_str(), name); });
  });
}

}  // namespace

// Bytes that are written to a GeoPackage piece by piece read back as four bands.
bool OutputFormat::CopiesOnly() const { return !Can(driver, GDAL_DCAP_CREATE) || Name() == "GPKG"; }

std::vector<std::string> WritableFormats() {
  std::vector<std::string> names;
  GDALDriverManager& manager = *GetGDALDriverManager();
  for (int i = 0; i < manager.GetDriverCount(); ++i)
    if (GDALDriver* const driver = manager.GetDriver(i); CanWriteFiles(driver))
      names.emplace_back(driver->GetDescription());
  return names;
}

OutputFormat ChooseOutputFormat(const std::string& name, const std::string& path) {
  GDALDriverManager& manager = *GetGDALDriverManager();
  if (!name.empty()) {
    GDALDriver* const driver = manager.GetDriverByName(name.c_str());
    if (driver && CanWriteFiles(driver)) return {driver};
    const std::string suggestion = Suggestion(name, WritableFormats());
    throw WrongCommandLine(
        SettingText("-format", name) + ": not a format that GDAL can write here" +
        (suggestion.empty() ? "; it has " + Joined(WritableFormats()) : suggestion));
  }
  const std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) return {manager.GetDriverByName("GTiff")};
  bool known = false;
  for (int i = 0; i < manager.GetDriverCount(); ++i) {
    GDALDriver* const driver = manager.GetDriver(i);
    if (!Lists(driver, GDAL_DMD_EXTENSIONS, &extension[1]) || !Can(driver, GDAL_DCAP_RASTER))
      continue;
    if (CanWriteFiles(driver)) return {driver};
    known = true;
  }
  throw WrongCommandLine(
      (known ? "the format of " + path + " cannot be written here"
             : "the extension of " + path + " belongs to no format that GDAL knows here") +
      "; choose another extension, or the format, such as " + SettingText("-format", "GTiff") +
      ", or " + SettingText("-format", "ENVI") + " with -co=SUFFIX=ADD for raw data");
}

void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  if (!GDALValidateCreationOptions(format.driver, CreationOptions(format, options).List()))
    throw WrongCommandLine(std::string("-co: ") + CPLGetLastErrorMsg());
}

CPLStringList CreationOptions(const OutputFormat& format, const std::vector<std::string>& options) {
  CPLStringList list;
  for (const std::string& option : options) list.AddString(option.c_str());
  // A classic TIFF is limited to 4 GB. By default the driver chooses the larger layout only when it
  // knows the final size.
  if (format.Name() == "GTiff" && !list.FetchNameValue("BIGTIFF"))
    list.SetNameValue("BIGTIFF", "IF_SAFER");
  // By default the last of four bands of bytes is an alpha band.
  if (format.Name() == "GTiff" && !list.FetchNameValue("ALPHA")) list.SetNameValue("ALPHA", "NO");
  if (format.Name() == "netCDF" && !list.FetchNameValue("WRITE_GDAL_HISTORY"))
    list.SetNameValue("WRITE_GDAL_HISTORY", "NO");
  return list;
}

bool MayChangeValues(const std::vector<std::string>& options) {
  return !AllBegin(options, {"ALPHA=",        "BIGTIFF=",         "BLOCKXSIZE=",
                             "BLOCKYSIZE=",   "COMPRESS=DEFLATE", "COMPRESS=LZMA",
                             "COMPRESS=LZW",  "COMPRESS=NONE",    "COMPRESS=PACKBITS",
                             "COMPRESS=ZSTD", "GEOTIFF_",         "INTERLEAVE=",
                             "LZMA_PRESET=",  "NUM_THREADS=",     "PHOTOMETRIC=",
                             "PREDICTOR=",    "PROFILE=",         "SPARSE_OK=",
                             "TFW=",          "TILED=",           "ZLEVEL=",
                             "ZSTD_LEVEL="});
}

bool OnlyLayOut(const std::vector<std::string>& options) {
  return AllBegin(options, {"BIGTIFF=", "BLOCKYSIZE=", "COMPRESS=NONE", "INTERLEAVE="});
}

void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode) {
  if (Holds(format.driver, mode)) return;
  std::vector<std::string> held;
  for (const DataMode& other : DataModes())
    if (Holds(format.driver, other)) held.emplace_back(other.name);
  throw Failure("the format " + format.Name() + " cannot hold " + mode.name + " data; it holds " +
                (held.empty() ? "none of the data types"
                              : Joined(held) + " (choose by " + SettingText("-mode") + ")") +
                ", and GTiff holds all");
}

}  // namespace lumomixcalc::standalone
