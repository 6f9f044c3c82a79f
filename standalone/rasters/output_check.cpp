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

// A part of a row: the longest rows take no more memory than others.
constexpr int kPieceColumns = 1 << 20;
using Piece = std::vector<double>;  // pairs

bool ReadPiece(GDALRasterBand& band, int column, int row, int columns, Piece& piece) {
  piece.resize(2 * static_cast<std::size_t>(columns));
  return band.RasterIO(GF_Read, column, row, columns, 1, piece.data(), columns, 1, GDT_CFloat64, 0,
                       0, nullptr) == CE_None;
}

// What a format did not keep of the elements: text has fewer digits, JPEG other values.
struct Changes {
  std::uint64_t count = 0;
  double from = 0;
  double to = 0;

  bool missing = false;

  // The driver of XYZ files takes elements that are not in the file for its no-data value.
  void Count(const Piece& original, const Piece& copy, const std::optional<double>& missingValue) {
    for (std::size_t i = 0; i < copy.size(); ++i) {
      if (original[i] == copy[i] || std::isnan(original[i])) continue;
      missing |= i % 2 == 0 && copy[i] == missingValue;
      if (count++ == 0) {
        from = original[i];
        to = copy[i];
      }
    }
  }
};

bool IsOfDriver(const OutputSpecification& specification, const char* name) {
  return specification.format.Name() == name;
}

bool ReadBack(GDALDataset& written, const OutputSpecification& specification, GDALDataset* original,
              Changes& changes) {
  const int rows = specification.rows;
  Piece copy;
  Piece source;
  for (int row = IsOfDriver(specification, "GTiff") ? rows - 1 : 0; row < rows; ++row)
    for (int band = 1; band <= specification.bands; ++band)
      for (int column = 0; column < specification.columns; column += kPieceColumns) {
        const int columns = std::min(kPieceColumns, specification.columns - column);
        if (!ReadPiece(*written.GetRasterBand(band), column, row, columns, copy)) return false;
        if (!original) continue;
        if (!ReadPiece(*original->GetRasterBand(band), column, row, columns, source)) return false;
        changes.Count(source, copy,
                      IsOfDriver(specification, "XYZ")
                          ? DeclaredNoData(*written.GetRasterBand(band))
                          : std::nullopt);
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
