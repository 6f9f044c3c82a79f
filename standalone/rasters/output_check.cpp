#include "standalone/rasters/output_check.h"

#include <gdal_priv.h>

#include <array>
#include <cstddef>
#include <vector>

#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {

std::string FaultOfFile(const std::filesystem::path& file,
                        const OutputSpecification& specification) {
  const GdalFailures failures;
  // Only by its own driver, unless that writes a variety of another driver's files.
  const std::array<const char*, 2> own = {specification.format.driver->GetDescription(), nullptr};
  const bool opens = specification.format.driver->GetMetadataItem(GDAL_DCAP_OPEN) != nullptr;
  const GDALDatasetUniquePtr written(
      GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        opens ? own.data() : nullptr));
  if (!written) return "it does not open again: " + failures.First();
  // A container of one raster a band shows them as subdatasets; that it opens must do.
  if (written->GetRasterCount() == 0 && written->GetMetadata("SUBDATASETS")) return "";
  if (written->GetRasterXSize() != specification.columns ||
      written->GetRasterYSize() != specification.rows ||
      written->GetRasterCount() != specification.bands)
    return "it reads back with another size";
  // A text format may take a wider type for what it reads.
  const GDALDataType type = written->GetRasterBand(1)->GetRasterDataType();
  if (GDALDataTypeUnion(type, specification.mode->type) != type)
    return std::string("it reads back as ") + GDALGetDataTypeName(type);
  // A file cut short by a full disk opens well; its last row does not read.
  std::vector<double> row(static_cast<std::size_t>(specification.columns) * 2);
  for (GDALRasterBand* const band : written->GetBands())
    if (band->RasterIO(GF_Read, 0, specification.rows - 1, specification.columns, 1, row.data(),
                       specification.columns, 1, GDT_CFloat64, 0, 0, nullptr) != CE_None ||
        failures.Any())
      return "its last row does not read back: " + failures.First();
  return "";
}

}  // namespace lumomixcalc::standalone
