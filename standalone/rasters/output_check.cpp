#include "standalone/rasters/output_check.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/no_data.h"

namespace lumomixcalc::standalone {
namespace {

using Row = std::vector<double>;  // pairs

bool ReadRow(GDALRasterBand& band, int row, Row& elements) {
  const int columns = band.GetXSize();
  elements.resize(2 * static_cast<std::size_t>(columns));
  return band.RasterIO(GF_Read, 0, row, columns, 1, elements.data(), columns, 1, GDT_CFloat64, 0, 0,
                       nullptr) == CE_None;
}

// What a format did not keep of the elements: text has fewer digits, JPEG other values.
struct Changes {
  std::uint64_t count = 0;
  double from = 0;  // of the first
  double to = 0;
  bool missing = false;
};

void CountChanges(const Row& original, const Row& copy, const std::optional<double>& missingValue,
                  Changes& changes) {
  for (std::size_t i = 0; i < copy.size(); ++i) {
    if (original[i] == copy[i] || std::isnan(original[i])) continue;
    changes.missing |= i % 2 == 0 && copy[i] == missingValue;
    if (changes.count++ > 0) continue;
    changes.from = original[i];
    changes.to = copy[i];
  }
}

bool ReadBack(GDALDataset& written, const OutputSpecification& specification, GDALDataset* original,
              Changes& changes) {
  const std::string format = specification.format.Name();
  const int rows = specification.rows;
  Row copy;
  Row source;
  for (int row = format == "GTiff" ? rows - 1 : 0; row < rows; ++row)
    for (int number = 1; number <= specification.bands; ++number) {
      GDALRasterBand& band = *written.GetRasterBand(number);
      if (!ReadRow(band, row, copy)) return false;
      if (!original) continue;
      if (!ReadRow(*original->GetRasterBand(number), row, source)) return false;
      // The driver of XYZ files takes elements that are not in the file for its no-data value.
      CountChanges(source, copy, format == "XYZ" ? DeclaredNoData(band) : std::nullopt, changes);
    }
  return true;
}

}  // namespace

std::string FaultOfFile(const std::filesystem::path& file, const OutputSpecification& specification,
                        GDALDataset* original) {
  const GdalFailures failures;
  // Only by its own driver, unless that writes a variety of another driver's files.
  const std::array<const char*, 2> own = {specification.format.driver->GetDescription(), nullptr};
  const bool opens = specification.format.driver->GetMetadataItem(GDAL_DCAP_OPEN) != nullptr;
  const GDALDatasetUniquePtr written(
      GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        opens ? own.data() : nullptr));
  if (!written) return "it does not open again: " + failures.First();
  // A container of one raster per band shows them as subdatasets; that it opens is enough.
  if (written->GetRasterCount() == 0 && written->GetMetadata("SUBDATASETS")) return "";
  if (written->GetRasterXSize() != specification.columns ||
      written->GetRasterYSize() != specification.rows ||
      written->GetRasterCount() != specification.bands)
    return "it reads back with another size";
  // A text format may take a wider type for what it reads.
  const GDALDataType type = written->GetRasterBand(1)->GetRasterDataType();
  if (GDALDataTypeUnion(type, specification.mode->type) != type)
    return std::string("it reads back as ") + GDALGetDataTypeName(type);
  // A file cut short by a full disk opens well, but its last elements cannot be read.
  Changes changes;
  if (!ReadBack(*written, specification, original, changes) || failures.Any())
    return "its elements cannot be read back: " + failures.First();
  if (changes.missing) return "elements are missing when it is read back; the disk may be full";
  if (changes.count > 0)
    Warn("the format " + specification.format.Name() + " does not hold all values exactly: " +
         CountText(changes.count, "value") + " changed, the first from " +
         ShortestText(changes.from) + " to " + ShortestText(changes.to));
  return "";
}

}  // namespace lumomixcalc::standalone
