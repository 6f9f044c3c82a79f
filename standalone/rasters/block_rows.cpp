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
  const int n = grid_.resolution;
  rowsHeld_ = (blockRows_ - 1) / n + 1;
  for (int column = 0; column < grid_.columns;) {
    starts_.push_back(column);
    const std::int64_t nextBlock = (grid_.window.x + column * n) / blockColumns_ + 1;
    column = FirstPixel(nextBlock * blockColumns_, grid_.window.x, n);
  }
  starts_.push_back(grid_.columns);
  const std::size_t bytes = BytesOf(type_);
  const std::size_t blockBytes = Size((blockColumns_ - 1) / n + 1) * Size(rowsHeld_) * bytes;
  blocks_ = std::make_unique<ScratchRows>(bands_.size() * Blocks(), blockBytes, space);
  if (!blocks_->InMemory()) block_.resize(blockBytes);
  row_.resize(Size(grid_.columns) * bytes);
}

int BlockRowReader::BlockRowOf(int row) const {
  return (grid_.window.y + row * grid_.resolution) / blockRows_;
}

int BlockRowReader::FirstRow(int blockRow) const {
  return FirstPixel(std::int64_t{blockRow} * blockRows_, grid_.window.y, grid_.resolution);
}

int BlockRowReader::EndOfBlockRow(int row) const {
  return std::min(FirstRow(BlockRowOf(row) + 1), grid_.rows);
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
  const std::size_t bytes = BytesOf(type_);
  const std::size_t outRowBytes = Size(grid_.columns) * BytesOf(type);
  auto* next = static_cast<std::byte*>(out);
  for (int row = firstRow; row < firstRow + rows; ++row, next += outRowBytes) {
    if (BlockRowOf(row) != blockRowHeld_ && !Load(BlockRowOf(row), stop)) return false;
    for (std::size_t block = 0; block < Blocks(); ++block) {
      const std::size_t pieceBytes = Size(ColumnsOf(block)) * bytes;
      blocks_->Read(bandIndex * Blocks() + block, Size(row - firstRowHeld_) * pieceBytes,
                    row_.data() + Size(starts_[block]) * bytes, pieceBytes);
    }
    GDALCopyWords64(row_.data(), type_, GDALGetDataTypeSizeBytes(type_), next, type,
                    GDALGetDataTypeSizeBytes(type), grid_.columns);
  }
  return true;
}

// Blocks that are rows of blocks themselves need no copy in GDAL's cache: they may be large.
bool BlockRowReader::LoadsWhole() const {
  int width = 0;
  int height = 0;
  dataset_.GetRasterBand(1)->GetBlockSize(&width, &height);
  return dataset_.GetRasterCount() == 1 && blocks_->InMemory() && width == grid_.columns &&
         width == dataset_.GetRasterXSize() && height == blockRows_;
}

bool BlockRowReader::Load(int blockRow, const std::stop_token& stop) {
  blockRowHeld_ = blockRow;
  firstRowHeld_ = FirstRow(blockRow);  // negative where the grid begins within a block
  if (LoadsWhole())
    return dataset_.GetRasterBand(1)->ReadBlock(0, blockRow, blocks_->Memory(0)) == CE_None;
  const int rows = EndOfBlockRow(firstRowHeld_) - firstRowHeld_;
  for (std::size_t block = 0; block < Blocks(); ++block) {
    StopIfAsked(stop);
    if (!LoadBlock(block, rows)) return false;
  }
  return true;
}

// What begins in one block, of all bands, one after the other, while the driver still has it at
// hand.
bool BlockRowReader::LoadBlock(std::size_t block, int rows) {
  const int n = grid_.resolution;
  const int columns = ColumnsOf(block);
  GDALRasterIOExtraArg extra;
  INIT_RASTERIO_EXTRA_ARG(extra);
  extra.eResampleAlg = resampling_;
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    const std::size_t place = i * Blocks() + block;
    std::byte* const to = blocks_->InMemory() ? blocks_->Memory(place) : block_.data();
    if (dataset_.GetRasterBand(bands_[i])->RasterIO(
            GF_Read, grid_.window.x + starts_[block] * n, grid_.window.y + firstRowHeld_ * n,
            columns * n, rows * n, to, columns, rows, type_, 0, 0, &extra) != CE_None)
      return false;
    if (!blocks_->InMemory())
      blocks_->Write(place, 0, to, Size(columns) * Size(rows) * BytesOf(type_));
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
