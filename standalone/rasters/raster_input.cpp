#include "standalone/rasters/raster_input.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/raw_files.h"

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
  RefuseShortFile();

  GDALDataType type = dataset_->GetRasterBand(1)->GetRasterDataType();
  for (GDALRasterBand* const band : dataset_->GetBands())
    type = GDALDataTypeUnion(type, band->GetRasterDataType());
  mode_ = &DataModeOfType(type);
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

void RasterInput::Select(const OutputGrid& grid, Resampling resampling,
                         const std::vector<int>& bands, bool maskNoData) {
  grid_ = grid;
  resampling_ = resampling;
  if (grid.resolution > 1 && resampling == Resampling::kOverview)
    OpenOverview();
  else if (grid.resolution > 1 && resampling != Resampling::kPreview)
    resampled_ = Open("NONE");  // else GDAL reads from overviews without a word
  if (maskNoData)
    for (const int band : bands)
      if (const std::optional<double> value = NoData(band)) masked_[band] = *value;
  if (grid_.resolution == 1 && !resampled_)
    uncompressedRows_ = UncompressedRows::Open(Pixels(), bands, grid_.window);
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

bool RasterInput::ReadPixels(int band, int firstRow, int rows, float* out, std::string& reason) {
  const int n = grid_.resolution;
  const int y = grid_.window.y + firstRow * n;
  const GDALDataType type = Mode().complex ? GDT_CFloat32 : GDT_Float32;
  if (uncompressedRows_) {
    reason = uncompressedRows_->Read(band, y, rows, out, type);
    return reason.empty();
  }
  GDALRasterIOExtraArg extra;
  INIT_RASTERIO_EXTRA_ARG(extra);
  extra.eResampleAlg = GdalResampling(resampling_);
  return Pixels().GetRasterBand(band)->RasterIO(GF_Read, grid_.window.x, y, grid_.window.columns,
                                                rows * n, out, grid_.columns, rows, type, 0, 0,
                                                &extra) == CE_None;
}

void RasterInput::Read(int band, int firstRow, int rows, float* out) {
  const GdalFailures failures;
  std::string reason;
  if (!ReadPixels(band, firstRow, rows, out, reason) || failures.Any())
    throw Failure("cannot read " + Describe() + ", band " + std::to_string(band) + ", from row " +
                  std::to_string(grid_.window.y + firstRow * grid_.resolution) + ": " +
                  (reason.empty() ? failures.First() : reason));
  RefuseShortFile();  // it may have been cut since it was opened
  const std::span values(out, static_cast<std::size_t>(grid_.columns) *
                                  static_cast<std::size_t>(rows) *
                                  static_cast<std::size_t>(Parts()));
  if (IsSignedByte(*Pixels().GetRasterBand(band)))
    for (float& value : values)
      if (value > 127) value -= 256;
  if (const auto masked = masked_.find(band); masked != masked_.end())
    MaskNoData(values, Mode().complex, masked->second);
}

void RasterInput::RefuseShortFile() {
  if (const std::string shortage = RawFileShortage(*dataset_); !shortage.empty())
    throw Failure("cannot read " + Describe() + ": " + shortage);
}

std::int64_t RasterInput::CacheBytes(int stripRows) {
  const std::int64_t stripInputRows = std::int64_t{stripRows} * grid_.resolution;
  std::int64_t bytes = 0;
  if (uncompressedRows_) return bytes;
  for (GDALRasterBand* const band : Pixels().GetBands()) {
    int width = 0;
    int height = 0;
    band->GetBlockSize(&width, &height);
    const std::int64_t across = (Columns() - 1) / width + 1;
    // Where a strip reaches into the next row of blocks, that one takes the place of the last.
    const std::int64_t down = (stripInputRows - 1) / height + 1;
    // A driver that interleaves bands fills the cache with a block of each.
    const std::int64_t blocks = across * down;
    bytes += blocks * width * height * GDALGetDataTypeSizeBytes(band->GetRasterDataType());
  }
  return bytes;
}

}  // namespace lumomixcalc::standalone
