#include "standalone/rasters/output_format.h"

#include <algorithm>
#include <array>
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
    if (driver && CanWriteFiles(driver)) return FormatOf(driver);
    std::string suggestion = Suggestion(name, WritableFormats());
    if (suggestion.empty()) suggestion = "; it has " + ListText(WritableFormats());
    throw WrongCommandLine("-format=" + name + ": not a format that GDAL can write here" +
                           suggestion);
  }
  std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) return FormatOf(manager.GetDriverByName("GTiff"));
  extension.erase(0, 1);
  bool known = false;
  for (int i = 0; i < manager.GetDriverCount(); ++i) {
    GDALDriver* const driver = manager.GetDriver(i);
    if (!HasExtension(driver, extension) || !Can(driver, GDAL_DCAP_RASTER)) continue;
    if (CanWriteFiles(driver)) return FormatOf(driver);
    known = true;
  }
  throw WrongCommandLine(
      (known ? "GDAL can only read the format of " + path
             : "the extension of " + path + " belongs to no format that GDAL knows here") +
      "; choose another extension, or the format by -format=NAME, such as -format=GTiff");
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

CPLStringList CreationOptions(const OutputSpecification& specification) {
  CPLStringList options;
  for (const std::string& option : specification.creationOptions) options.AddString(option.c_str());
  const auto setUnlessChosen = [&options](const char* name, const char* value) {
    if (!options.FetchNameValue(name)) options.SetNameValue(name, value);
  };
  const std::string format = specification.format.Name();
  // Classic TIFF ends at 4 GB; by itself the driver takes the larger layout only when it knows the
  // final size.
  if (format == "GTiff") setUnlessChosen("BIGTIFF", "IF_SAFER");
  if (format == "netCDF") setUnlessChosen("WRITE_GDAL_HISTORY", "NO");
  return options;
}

bool OnlyLayOut(const std::vector<std::string>& options) {
  constexpr std::array<const char*, 4> kLayout = {"BIGTIFF=", "BLOCKYSIZE=", "COMPRESS=NONE",
                                                  "INTERLEAVE="};
  return std::all_of(options.begin(), options.end(), [&](const std::string& option) {
    return std::any_of(kLayout.begin(), kLayout.end(),
                       [&](const char* name) { return STARTS_WITH_CI(option.c_str(), name); });
  });
}

void CheckThatFormatHolds(const OutputFormat& format, const DataMode& mode) {
  if (Holds(format.driver, mode)) return;
  std::vector<std::string> held;
  for (const DataMode& other : DataModes())
    if (Holds(format.driver, other)) held.emplace_back(other.name);
  throw Failure(
      "the format " + format.Name() + " cannot hold " + mode.name + " data; it holds " +
      (held.empty() ? "none of the types of -mode=" : ListText(held) + " (choose by -mode=)") +
      ", and GTiff and ENVI hold all");
}

}  // namespace lumomixcalc::standalone
