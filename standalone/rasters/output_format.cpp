#include "standalone/rasters/output_format.h"

#include <cpl_string.h>

#include <filesystem>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

bool Can(GDALDriver* driver, const char* capability) {
  const char* const value = driver->GetMetadataItem(capability);
  return value && CPLTestBool(value);
}

bool CanWriteFiles(GDALDriver* driver) {
  // These two make rasters, but in memory or of references to other files.
  if (EQUAL(driver->GetDescription(), "MEM") || EQUAL(driver->GetDescription(), "VRT"))
    return false;
  return Can(driver, GDAL_DCAP_RASTER) &&
         (Can(driver, GDAL_DCAP_CREATE) || Can(driver, GDAL_DCAP_CREATECOPY));
}

bool HasExtension(GDALDriver* driver, const std::string& extension) {
  const char* const extensions = driver->GetMetadataItem(GDAL_DMD_EXTENSIONS);
  return extensions &&
         CPLStringList(CSLTokenizeString(extensions)).FindString(extension.c_str()) >= 0;
}

OutputFormat FormatOf(GDALDriver* driver) { return {driver, !Can(driver, GDAL_DCAP_CREATE)}; }

bool Holds(GDALDriver* driver, const DataMode& mode) {
  const char* const types = driver->GetMetadataItem(GDAL_DMD_CREATIONDATATYPES);
  // A driver that does not say is left to refuse by itself.
  return !types ||
         CPLStringList(CSLTokenizeString(types)).FindString(GDALGetDataTypeName(mode.type)) >= 0;
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

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
    if (!driver || !CanWriteFiles(driver))
      throw WrongCommandLine("-format=" + name +
                             ": not a format that GDAL can write here; it has " +
                             Joined(WritableFormats()));
    return FormatOf(driver);
  }
  std::string extension = std::filesystem::path(path).extension().string();
  extension.erase(0, 1);
  bool known = false;
  for (int i = 0; i < manager.GetDriverCount() && !extension.empty(); ++i) {
    GDALDriver* const driver = manager.GetDriver(i);
    if (!HasExtension(driver, extension) || !Can(driver, GDAL_DCAP_RASTER)) continue;
    if (CanWriteFiles(driver)) return FormatOf(driver);
    known = true;
  }
  if (known)
    throw WrongCommandLine("GDAL can only read the format of " + path +
                           "; choose another extension, or a format by -format=NAME");
  return FormatOf(manager.GetDriverByName("GTiff"));
}

void CheckCreationOptions(const OutputFormat& format, const std::vector<std::string>& options) {
  CPLStringList list;
  for (const std::string& option : options) list.AddString(option.c_str());
  CPLPushErrorHandler(CPLQuietErrorHandler);  // the texts are in the sentence below
  const bool valid = GDALValidateCreationOptions(format.driver, list.List()) != FALSE;
  const std::string reason = CPLGetLastErrorMsg();
  CPLPopErrorHandler();
  if (!valid) throw WrongCommandLine("-co: " + reason);
}

void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode) {
  if (Holds(format.driver, mode)) return;
  std::string held;
  for (const DataMode& other : DataModes())
    if (Holds(format.driver, other)) held += (held.empty() ? "" : ", ") + std::string(other.name);
  throw Failure("the format " + format.Name() + " cannot hold " + mode.name + " data; it holds " +
                (held.empty() ? "none of -mode='s types" : held + " (choose by -mode=)") +
                ", and GTiff and ENVI hold all");
}

}  // namespace lumomixcalc::standalone
