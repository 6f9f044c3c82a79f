#include "standalone/rasters/raw_files.h"

#include <cpl_vsi.h>

#include <algorithm>
#include <cstdint>

#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {
namespace {

// How far the furthest of count items that lie step bytes apart is beyond the first: with a step
// backward the first is the furthest.
std::int64_t Reach(std::int64_t step, int count) {
  return std::max<std::int64_t>(0, step * (count - 1));
}

}  // namespace

std::string RawFileShortage(GDALDataset& dataset) {
  // A TIFF may leave out blocks of zeros, and GDAL itself refuses one cut short.
  if (IsTiff(dataset)) return "";
  GDALDataset::RawBinaryLayout layout;
  VSIStatBufL status;
  if (!dataset.GetRawBinaryLayout(layout) || VSIStatL(layout.osRawFilename.c_str(), &status) != 0)
    return "";
  const std::int64_t needed = static_cast<std::int64_t>(layout.nImageOffset) +
                              Reach(layout.nBandOffset, dataset.GetRasterCount()) +
                              Reach(layout.nLineOffset, dataset.GetRasterYSize()) +
                              Reach(layout.nPixelOffset, dataset.GetRasterXSize()) +
                              GDALGetDataTypeSizeBytes(layout.eDataType);
  const std::int64_t found = static_cast<std::int64_t>(status.st_size);
  if (found >= needed) return "";
  return "the file has " + std::to_string(found) + " bytes, and its header claims " +
         std::to_string(needed);
}

}  // namespace lumomixcalc::standalone
