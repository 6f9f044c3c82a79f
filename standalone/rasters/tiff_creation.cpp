#include "standalone/rasters/tiff_creation.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace lumomixcalc::standalone {

CPLStringList WithBigTiff(CPLStringList options) {
  if (!options.FetchNameValue("BIGTIFF")) options.SetNameValue("BIGTIFF", "IF_SAFER");
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

int UsefulEncoders(GDALDataset& dataset, const CPLStringList& options) {
  constexpr std::int64_t kBytesOnTheWay = 12 << 20;
  GDALRasterBand& band = *dataset.GetRasterBand(1);
  int columns = 0;
  int rows = 0;
  band.GetBlockSize(&columns, &rows);
  // A new dataset does not tell its compression.
  const char* const compression = options.FetchNameValue("COMPRESS");
  if (!compression || EQUAL(compression, "NONE") || options.FetchNameValue("NUM_THREADS") ||
      CPLGetConfigOption("GDAL_NUM_THREADS", nullptr) ||
      (dataset.GetRasterCount() > 1 && !IsHighBlock(rows)))
    return 0;
  // Each thread has one in work and one waiting.
  const std::int64_t bytes = std::int64_t{2} * columns * rows * dataset.GetRasterCount() *
                             GDALGetDataTypeSizeBytes(band.GetRasterDataType());
  return static_cast<int>(std::min<std::int64_t>(CPLGetNumCPUs(), kBytesOnTheWay / bytes));
}

}  // namespace lumomixcalc::standalone
