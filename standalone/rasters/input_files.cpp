#include "standalone/rasters/input_files.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_minixml.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <regex>
#include <system_error>

#include "standalone/base/messages.h"
#include "standalone/rasters/publication.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

// The file that holds a file of GDAL's virtual file systems, such as its archive. Any other name is
// returned as it is.
std::string LocalFile(const std::string& name) {
  static const std::regex kPrefixes(R"((/vsi(zip|tar|gzip)/\{?|/vsisubfile/[^,]*,)+)");
  std::smatch prefixes;
  if (!name.starts_with("/vsi") ||
      !std::regex_search(name, prefixes, kPrefixes, std::regex_constants::match_continuous))
    return name;
  std::string inside = prefixes.suffix();
  std::erase(inside, '}');
  fs::path file = inside;
  std::error_code ignored;
  while (file.has_relative_path() && !fs::exists(file, ignored)) file = file.parent_path();
  return file.has_relative_path() ? file.string() : name;
}

FileState StateOf(const std::string& file) {
  struct stat state = {};
  if (stat(file.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) return {};
  return {state.st_dev, state.st_ino, state.st_size, state.st_mtim.tv_sec, state.st_mtim.tv_nsec};
}

// The distance in bytes from the first of count items to the one at the highest position, when each
// item is step bytes after the one before it. It is 0 when step is negative.
std::int64_t Reach(std::int64_t step, int count) {
  return std::max<std::int64_t>(0, step * (count - 1));
}

std::int64_t BytesOf(const GDALDataset::RawBinaryLayout& layout, GDALDataset& raster, int bands) {
  return static_cast<std::int64_t>(layout.nImageOffset) + Reach(layout.nBandOffset, bands) +
         Reach(layout.nLineOffset, raster.GetRasterYSize()) +
         Reach(layout.nPixelOffset, raster.GetRasterXSize()) +
         GDALGetDataTypeSizeBytes(layout.eDataType);
}

// Of a raw band of a VRT.
GDALDataset::RawBinaryLayout LayoutOf(const CPLXMLNode& band, GDALDataset& vrt) {
  const auto number = [&band](const char* name, GIntBig otherwise) {
    const char* const text = CPLGetXMLValue(&band, name, nullptr);
    return text ? CPLAtoGIntBig(text) : otherwise;
  };
  GDALDataset::RawBinaryLayout layout;
  layout.eDataType = GDALGetDataTypeByName(CPLGetXMLValue(&band, "dataType", "Byte"));
  layout.nImageOffset = static_cast<vsi_l_offset>(number("ImageOffset", 0));
  layout.nPixelOffset = number("PixelOffset", GDALGetDataTypeSizeBytes(layout.eDataType));
  layout.nLineOffset = number("LineOffset", layout.nPixelOffset * vrt.GetRasterXSize());
  return layout;
}

// Adds files to those of an input.
class Finder {
 public:
  explicit Finder(InputFiles& found)
      : found_(found), added_(found.files.begin(), found.files.end()) {}

  void Add(const std::string& file) {
    const std::string local = LocalFile(file);
    if (!added_.insert(local).second) return;
    found_.files.push_back(local);
    found_.states.push_back(StateOf(local));
  }

  void AddFilesOf(GDALDataset& raster) {
    const CPLStringList files(raster.GetFileList());
    for (int i = 0; i < files.Count(); ++i) Add(files[i]);
    RefuseShortFile(raster);
    char** const xml = raster.GetMetadata("xml:VRT");
    const CPLXMLTreeCloser root(xml ? CPLParseXMLString(*xml) : nullptr);
    if (root) AddSources(*root, raster, CPLGetPath(FollowLinks(raster.GetDescription()).c_str()));
  }

  // Adds the files of the sources found, and of the sources that these have.
  void FollowSources() {
    for (std::size_t i = 0; i < sources_.size(); ++i) {
      const std::string source = sources_[i];
      // To open each TIFF of a mosaic of thousands would take a fifth of a run over them.
      GDALDriverH const driver = GDALIdentifyDriver(source.c_str(), nullptr);
      if (driver && EQUAL(GDALGetDriverShortName(driver), "GTiff")) {
        for (const char* const companion : {".aux.xml", ".msk", ".ovr"})
          if (StateOf(source + companion) != FileState()) Add(source + companion);
      } else if (const GDALDatasetUniquePtr raster(
                     driver ? GDALDataset::Open(source.c_str(), GDAL_OF_RASTER) : nullptr);
                 raster) {
        AddFilesOf(*raster);
      }
    }
  }

 private:
  // folder is that of the VRT that holds the XML, after following links, as GDAL does.
  void AddSources(const CPLXMLNode& parent, GDALDataset& vrt, const std::string& folder) {
    for (const CPLXMLNode* node = parent.psChild; node; node = node->psNext) {
      if (node->eType != CXT_Element) continue;
      AddSources(*node, vrt, folder);
      if (!EQUAL(node->pszValue, "SourceFilename") && !EQUAL(node->pszValue, "SourceDataset"))
        continue;
      std::string source = CPLGetXMLValue(node, nullptr, "");
      if (EQUAL(CPLGetXMLValue(node, "relativeToVRT", "0"), "1"))
        source = CPLProjectRelativeFilename(folder.c_str(), source.c_str());
      if (EQUAL(CPLGetXMLValue(&parent, "subClass", ""), "VRTRawRasterBand"))
        RefuseShort(source, BytesOf(LayoutOf(parent, vrt), vrt, 1));
      if (!found_.sources.insert(source).second) continue;
      Add(source);
      sources_.push_back(source);
    }
  }

  // GDAL reads the missing end of some files as zeros. Of raw files it refuses only those that lack
  // more than half.
  void RefuseShortFile(GDALDataset& raster) const {
    GDALDataset::RawBinaryLayout layout;
    if (EQUAL(raster.GetDriverName(), "PCIDSK")) {
      constexpr std::int64_t kBlockBytes = 512;
      std::int64_t blocks = 0;
      std::ifstream(raster.GetDescription()).seekg(16) >> blocks;  // as text
      RefuseShort(raster.GetDescription(), blocks * kBlockBytes);
    } else if (!IsTiff(raster) && raster.GetRawBinaryLayout(layout)) {
      // A TIFF may omit blocks of zeros, and GDAL itself refuses a truncated one.
      RefuseShort(layout.osRawFilename, BytesOf(layout, raster, raster.GetRasterCount()));
    }
  }

  void RefuseShort(const std::string& file, std::int64_t claimed) const {
    VSIStatBufL status;
    if (VSIStatL(file.c_str(), &status) != 0) return;
    if (const auto size = static_cast<std::int64_t>(status.st_size); size < claimed)
      throw Failure("cannot read " + found_.name + ": the file " + file + " has " +
                    std::to_string(size) + " bytes, and its header claims " +
                    std::to_string(claimed));
  }

  InputFiles& found_;
  std::set<std::string> added_;
  std::vector<std::string> sources_;  // in the order of their finding
};

}  // namespace

InputFiles::InputFiles(const std::string& input) : name(input) {
  Finder(*this).Add(input);
  // GDAL keeps the beginning of standard input for all that read it.
  if (constexpr const char* kInput = "/vsistdin/"; input.find(kInput) != std::string::npos)
    sources.insert(kInput);
}

void InputFiles::Find(GDALDataset& raster) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  Finder finder(*this);
  finder.AddFilesOf(raster);
  finder.FollowSources();
}

void InputFiles::RefuseChanges() const {
  for (std::size_t i = 0; i < files.size(); ++i)
    if (states[i] != StateOf(files[i]))
      throw Failure("the file " + files[i] + " of the input " + name +
                    " changed during the run; run again when nothing writes it");
}

bool InputFiles::ShareSource(const InputFiles& other) const {
  return std::ranges::any_of(
      sources, [&](const std::string& source) { return other.sources.contains(source); });
}

}  // namespace lumomixcalc::standalone
