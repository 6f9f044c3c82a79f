#include "standalone/raster_input.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "standalone/gdal_errors.h"
#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

// "; name one of its subdatasets, such as ..." for a container that holds rasters but is none.
std::string SubdatasetHint(GDALDataset& dataset) {
  const char* const first =
      CSLFetchNameValue(dataset.GetMetadata("SUBDATASETS"), "SUBDATASET_1_NAME");
  return first ? std::string("; name one of its subdatasets, such as ") + first : std::string();
}

// Before GDAL has a type for it, signed 8-bit data is Byte with a remark.
bool IsSignedByte(GDALRasterBand& band) {
  const char* const pixelType = band.GetMetadataItem("PIXELTYPE", "IMAGE_STRUCTURE");
  return band.GetRasterDataType() == GDT_Byte && pixelType && EQUAL(pixelType, "SIGNEDBYTE");
}

GDALRIOResampleAlg GdalResampling(Resampling resampling) {
  switch (resampling) {
    case Resampling::kAverage:
      return GRIORA_Average;
    case Resampling::kBilinear:
      return GRIORA_Bilinear;
    case Resampling::kCubic:
      return GRIORA_Cubic;
    default:
      return GRIORA_NearestNeighbour;
  }
}

}  // namespace

RasterInput::RasterInput(const std::string& label, const std::string& name)
    : label_(label), name_(name) {
  dataset_ = Open(nullptr);
  if (Bands() == 0) throw Failure(Describe() + " has no bands" + SubdatasetHint(*dataset_));

  GDALDataType type = dataset_->GetRasterBand(1)->GetRasterDataType();
  for (GDALRasterBand* const band : dataset_->GetBands())
    type = GDALDataTypeUnion(type, band->GetRasterDataType());
  mode_ = &DataModeOfType(type);
  grid_ = MakeOutputGrid({}, Columns(), Rows(), nullptr, name);
}

GDALDatasetUniquePtr RasterInput::Open(const char* overviewLevel) const {
  const GdalFailures failures;
  CPLStringList options;
  if (overviewLevel) options.SetNameValue("OVERVIEW_LEVEL", overviewLevel);
  GDALDatasetUniquePtr dataset(
      GDALDataset::Open(name_.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        nullptr, options.List()));
  if (!dataset) throw Failure("cannot open " + Describe() + ": " + failures.First());
  return dataset;
}

void RasterInput::Select(const OutputGrid& grid, Resampling resampling) {
  grid_ = grid;
  resampling_ = resampling;
  if (grid.resolution == 1 || resampling == Resampling::kPreview) return;
  if (resampling == Resampling::kOverview)
    OpenOverview();
  else
    resampled_ = Open("NONE");  // else GDAL reads from overviews without a word
}

void RasterInput::OpenOverview() {
  const int n = grid_.resolution;
  const int columns = (Columns() + n - 1) / n;
  const int rows = (Rows() + n - 1) / n;
  if (grid_.window.x % n != 0 || grid_.window.y % n != 0)
    throw Failure("-resampling=overview: the region starts at pixel " +
                  std::to_string(grid_.window.x) + ", " + std::to_string(grid_.window.y) +
                  ", which must be multiples of -resolution=" + std::to_string(n));
  GDALRasterBand& band = *dataset_->GetRasterBand(1);
  for (int level = 0; level < band.GetOverviewCount(); ++level) {
    GDALRasterBand* const overview = band.GetOverview(level);
    if (overview->GetXSize() != columns || overview->GetYSize() != rows) continue;
    resampled_ = Open(std::to_string(level).c_str());
    grid_.window = {grid_.window.x / n, grid_.window.y / n, grid_.columns, grid_.rows};
    grid_.resolution = 1;
    return;
  }
  throw Failure(Describe() + " has no overview of " + std::to_string(columns) + " x " +
                std::to_string(rows) + " pixels for -resolution=" + std::to_string(n) +
                "; gdaladdo makes one");
}

void RasterInput::Read(int band, int firstRow, int rows, float* out) {
  const GdalFailures failures;
  GDALRasterBand& source = *Pixels().GetRasterBand(band);
  GDALRasterIOExtraArg extra;
  INIT_RASTERIO_EXTRA_ARG(extra);
  extra.eResampleAlg = GdalResampling(resampling_);
  const int n = grid_.resolution;
  const CPLErr error = source.RasterIO(GF_Read, grid_.window.x, grid_.window.y + firstRow * n,
                                       grid_.window.columns, rows * n, out, grid_.columns, rows,
                                       Mode().complex ? GDT_CFloat32 : GDT_Float32, 0, 0, &extra);
  if (error != CE_None || failures.Any())
    throw Failure("cannot read " + Describe() + ", band " + std::to_string(band) + ", from row " +
                  std::to_string(grid_.window.y + firstRow * n) + ": " + failures.First());
  if (IsSignedByte(source)) {
    const auto count = static_cast<std::size_t>(grid_.columns) * static_cast<std::size_t>(rows) *
                       static_cast<std::size_t>(Parts());
    for (float& value : std::span(out, count))
      if (value > 127) value -= 256;
  }
}

std::int64_t BlockRowBytes(GDALDataset& dataset) {
  std::int64_t bytes = 0;
  for (GDALRasterBand* const band : dataset.GetBands()) {
    int width = 0;
    int height = 0;
    band->GetBlockSize(&width, &height);
    const std::int64_t across = (dataset.GetRasterXSize() + width - 1) / width;
    bytes += across * width * height * GDALGetDataTypeSizeBytes(band->GetRasterDataType());
  }
  return bytes;
}

}  // namespace lumomixcalc::standalone
