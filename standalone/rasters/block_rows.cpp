#include "standalone/rasters/block_rows.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

std::size_t Size(int n) { return static_cast<std::size_t>(n); }

std::size_t BytesOf(GDALDataType type) { return Size(GDALGetDataTypeSizeBytes(type)); }

GDALDataType CommonType(GDALDataset& dataset, const std::vector<int>& bands) {
  GDALDataType type = dataset.GetRasterBand(bands.front())->GetRasterDataType();
  for (const int band : bands)
    type = GDALDataTypeUnion(type, dataset.GetRasterBand(band)->GetRasterDataType());
  return type;
}

void StopIfAsked(const std::stop_token& stop) {
  if (stop.stop_requested()) throw RunCancelled();
}

// The first n-th pixel, counted from an origin, that lies at place or beyond; may be negative.
int FirstPixel(std::int64_t place, int origin, int n) {
  const std::int64_t distance = place - origin;
  return static_cast<int>(distance > 0 ? (distance + n - 1) / n : distance / n);
}

}  // namespace

BlockRowReader::BlockRowReader(GDALDataset& dataset, std::vector<int> bands, const OutputGrid& grid,
                               GDALRIOResampleAlg resampling, ScratchSpace& space)
    : dataset_(dataset),
      bands_(std::move(bands)),
      grid_(grid),
      resampling_(resampling),
      type_(CommonType(dataset, bands_)) {
  dataset.GetRasterBand(bands_.front())->GetBlockSize(&blockColumns_, &blockRows_);
  blockRows_ = std::min(blockRows_, dataset.GetRasterYSize());
  blockColumns_ = std::min(blockColumns_, dataset.GetRasterXSize());
  const std::size_t bytes = BytesOf(type_);
  const int n = grid_.resolution;
  rowsHeld_ = (blockRows_ - 1) / n + 1;
  const std::size_t rowBytes = Size(grid_.columns) * bytes;
  rows_ = std::make_unique<ScratchRows>(bands_.size() * Size(rowsHeld_), rowBytes, space);
  if (!LoadsWhole()) block_.resize(Size((blockColumns_ - 1) / n + 1) * Size(rowsHeld_) * bytes);
  row_.resize(rowBytes);
}

int BlockRowReader::FirstRow(int blockRow) const {
  return FirstPixel(std::int64_t{blockRow} * blockRows_, grid_.window.y, grid_.resolution);
}

std::size_t BlockRowReader::StoredRow(std::size_t bandIndex, int row) const {
  return bandIndex * Size(rowsHeld_) + Size(row - FirstRow(blockRowHeld_));
}

int BlockRowReader::CachedBlocks() const {
  if (grid_.resolution > 1)
    return 9;  // a pixel on a corner, or interpolated, and what is around it
  return LoadsWhole() ? 0 : 2;
}

bool BlockRowReader::Read(int band, int firstRow, int rows, void* out, GDALDataType type,
                          const std::stop_token& stop) {
  const auto bandIndex =
      static_cast<std::size_t>(std::find(bands_.begin(), bands_.end(), band) - bands_.begin());
  const std::size_t outRowBytes = Size(grid_.columns) * BytesOf(type);
  auto* next = static_cast<std::byte*>(out);
  for (int row = firstRow; row < firstRow + rows; ++row, next += outRowBytes) {
    const int blockRow = (grid_.window.y + row * grid_.resolution) / blockRows_;
    if (blockRow != blockRowHeld_ && !Load(blockRow, stop)) return false;
    rows_->Read(StoredRow(bandIndex, row), 0, row_.data(), row_.size());
    GDALCopyWords64(row_.data(), type_, GDALGetDataTypeSizeBytes(type_), next, type,
                    GDALGetDataTypeSizeBytes(type), grid_.columns);
  }
  return true;
}

// Blocks that are rows of blocks themselves, of nothing but the rows that are kept, need no second
// copy here and none in GDAL's cache: they may be large.
bool BlockRowReader::LoadsWhole() const {
  int width = 0;
  int height = 0;
  dataset_.GetRasterBand(1)->GetBlockSize(&width, &height);
  return dataset_.GetRasterCount() == 1 && rows_->InMemory() && width == grid_.columns &&
         width == dataset_.GetRasterXSize() && height == blockRows_;
}

bool BlockRowReader::Load(int blockRow, const std::stop_token& stop) {
  blockRowHeld_ = blockRow;
  if (LoadsWhole())
    return dataset_.GetRasterBand(1)->ReadBlock(0, blockRow, rows_->Memory(0)) == CE_None;
  const int n = grid_.resolution;
  const int row = std::max(FirstRow(blockRow), 0);
  const int endRow = std::min(FirstRow(blockRow + 1), grid_.rows);
  for (int column = 0; column < grid_.columns;) {
    StopIfAsked(stop);
    const std::int64_t nextBlock = (grid_.window.x + column * n) / blockColumns_ + 1;
    const int end =
        std::min(FirstPixel(nextBlock * blockColumns_, grid_.window.x, n), grid_.columns);
    if (!LoadBlock(column, end - column, row, endRow - row)) return false;
    column = end;
  }
  return true;
}

// What begins in one block, of all bands, one after the other, while the driver still has it at
// hand.
bool BlockRowReader::LoadBlock(int column, int columns, int row, int rows) {
  const std::size_t bytes = BytesOf(type_);
  const int n = grid_.resolution;
  GDALRasterIOExtraArg extra;
  INIT_RASTERIO_EXTRA_ARG(extra);
  extra.eResampleAlg = resampling_;
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    if (dataset_.GetRasterBand(bands_[i])->RasterIO(
            GF_Read, grid_.window.x + column * n, grid_.window.y + row * n, columns * n, rows * n,
            block_.data(), columns, rows, type_, 0, 0, &extra) != CE_None)
      return false;
    for (int r = 0; r < rows; ++r)
      rows_->Write(StoredRow(i, row + r), Size(column) * bytes,
                   block_.data() + Size(r) * Size(columns) * bytes, Size(columns) * bytes);
  }
  return true;
}

BlockRowWriter::BlockRowWriter(GDALDataset& dataset, ScratchSpace& space)
    : dataset_(dataset), elementBytes_(BytesOf(dataset.GetRasterBand(1)->GetRasterDataType())) {
  dataset.GetRasterBand(1)->GetBlockSize(&blockColumns_, &blockRows_);
  rows_ = std::make_unique<ScratchRows>(Size(dataset.GetRasterCount()) * Size(StoredRows()),
                                        Size(dataset.GetRasterXSize()) * elementBytes_, space);
  if (!FlushesWhole()) block_.resize(Size(blockColumns_) * Size(blockRows_) * elementBytes_);
}

// A single row of blocks may reach below the image; its rows there are not stored.
int BlockRowWriter::StoredRows() const { return std::min(blockRows_, dataset_.GetRasterYSize()); }

bool BlockRowWriter::FlushesWhole() const {
  return rows_->InMemory() && blockColumns_ == dataset_.GetRasterXSize() &&
         blockRows_ == StoredRows();
}

void BlockRowWriter::Put(int band, int firstRow, int rows, const void* values) {
  const std::size_t rowBytes = Size(dataset_.GetRasterXSize()) * elementBytes_;
  const auto* from = static_cast<const std::byte*>(values);
  for (int row = 0; row < rows; ++row)
    rows_->Write(Size(band - 1) * Size(StoredRows()) + Size((firstRow + row) % blockRows_), 0,
                 from + Size(row) * rowBytes, rowBytes);
}

bool BlockRowWriter::Flush(int endRow, const std::stop_token& stop) {
  const int blockRow = (endRow - 1) / blockRows_;
  const int rows = endRow - blockRow * blockRows_;
  if (FlushesWhole()) return FlushWhole(blockRow, rows);
  for (int blockColumn = 0; blockColumn * std::int64_t{blockColumns_} < dataset_.GetRasterXSize();
       ++blockColumn) {
    StopIfAsked(stop);
    if (!FlushBlock(blockColumn, blockRow, rows)) return false;
  }
  return true;
}

// The same for blocks that are rows of blocks themselves.
bool BlockRowWriter::FlushWhole(int blockRow, int rows) {
  for (int band = 1; band <= dataset_.GetRasterCount(); ++band) {
    std::byte* const block = rows_->Memory(Size(band - 1) * Size(blockRows_));
    const std::size_t rowBytes = Size(blockColumns_) * elementBytes_;
    // Below the image a block is zero.
    std::fill(block + Size(rows) * rowBytes, block + Size(blockRows_) * rowBytes, std::byte{0});
    if (dataset_.GetRasterBand(band)->WriteBlock(0, blockRow, block) != CE_None) return false;
  }
  return true;
}

// One block of all bands, one after the other, so that a driver that interleaves them has them
// together.
bool BlockRowWriter::FlushBlock(int blockColumn, int blockRow, int rows) {
  const int x = blockColumn * blockColumns_;
  const int columns = std::min(blockColumns_, dataset_.GetRasterXSize() - x);
  const std::size_t blockRowBytes = Size(blockColumns_) * elementBytes_;
  // Outside of the image a block is zero.
  if (columns < blockColumns_ || rows < blockRows_)
    std::fill(block_.begin(), block_.end(), std::byte{0});
  for (int band = 1; band <= dataset_.GetRasterCount(); ++band) {
    for (int row = 0; row < rows; ++row)
      rows_->Read(Size(band - 1) * Size(StoredRows()) + Size(row), Size(x) * elementBytes_,
                  block_.data() + Size(row) * blockRowBytes, Size(columns) * elementBytes_);
    if (dataset_.GetRasterBand(band)->WriteBlock(blockColumn, blockRow, block_.data()) != CE_None)
      return false;
  }
  return true;
}

}  // namespace lumomixcalc::standalone
