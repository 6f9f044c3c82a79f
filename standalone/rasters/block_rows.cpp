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

}  // namespace

BlockRowReader::BlockRowReader(GDALDataset& dataset, std::vector<int> bands,
                               const PixelWindow& window, ScratchSpace& space)
    : dataset_(dataset),
      bands_(std::move(bands)),
      window_(window),
      type_(CommonType(dataset, bands_)) {
  dataset.GetRasterBand(bands_.front())->GetBlockSize(&blockColumns_, &blockRows_);
  blockRows_ = std::min(blockRows_, dataset.GetRasterYSize());
  blockColumns_ = std::min(blockColumns_, dataset.GetRasterXSize());
  const std::size_t bytes = BytesOf(type_);
  rows_ = std::make_unique<ScratchRows>(bands_.size() * Size(blockRows_),
                                        Size(window_.columns) * bytes, space);
  if (!LoadsWhole()) block_.resize(Size(blockColumns_) * Size(blockRows_) * bytes);
  row_.resize(Size(window_.columns) * bytes);
}

std::size_t BlockRowReader::StoredRow(std::size_t bandIndex, int y) const {
  return bandIndex * Size(blockRows_) + Size(y % blockRows_);
}

bool BlockRowReader::Read(int band, int firstRow, int rows, void* out, GDALDataType type,
                          const std::stop_token& stop) {
  const auto bandIndex =
      static_cast<std::size_t>(std::find(bands_.begin(), bands_.end(), band) - bands_.begin());
  const std::size_t outRowBytes = Size(window_.columns) * BytesOf(type);
  auto* next = static_cast<std::byte*>(out);
  for (int y = firstRow; y < firstRow + rows; ++y, next += outRowBytes) {
    if (y / blockRows_ != blockRowHeld_ && !Load(y / blockRows_, stop)) return false;
    rows_->Read(StoredRow(bandIndex, y), 0, row_.data(), row_.size());
    GDALCopyWords64(row_.data(), type_, GDALGetDataTypeSizeBytes(type_), next, type,
                    GDALGetDataTypeSizeBytes(type), window_.columns);
  }
  return true;
}

// Blocks that are rows of blocks themselves, of nothing but the rows that are kept, need no second
// copy here and none in GDAL's cache: they may be large.
bool BlockRowReader::LoadsWhole() const {
  int width = 0;
  int height = 0;
  dataset_.GetRasterBand(1)->GetBlockSize(&width, &height);
  return dataset_.GetRasterCount() == 1 && rows_->InMemory() && width == window_.columns &&
         width == dataset_.GetRasterXSize() && height == blockRows_;
}

bool BlockRowReader::Load(int blockRow, const std::stop_token& stop) {
  if (LoadsWhole()) {
    blockRowHeld_ = blockRow;
    return dataset_.GetRasterBand(1)->ReadBlock(0, blockRow, rows_->Memory(0)) == CE_None;
  }
  const int y = std::max(blockRow * blockRows_, window_.y);
  const int yEnd = static_cast<int>(
      std::min<std::int64_t>((std::int64_t{blockRow} + 1) * blockRows_, window_.y + window_.rows));
  const int xEnd = window_.x + window_.columns;
  for (int x = window_.x; x < xEnd;) {
    StopIfAsked(stop);
    const int end = static_cast<int>(
        std::min<std::int64_t>((std::int64_t{x} / blockColumns_ + 1) * blockColumns_, xEnd));
    if (!LoadBlock(x, end - x, y, yEnd - y)) return false;
    x = end;
  }
  blockRowHeld_ = blockRow;
  return true;
}

// One block of all bands, one after the other, while the driver still has it at hand.
bool BlockRowReader::LoadBlock(int x, int columns, int y, int rows) {
  const std::size_t bytes = BytesOf(type_);
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    if (dataset_.GetRasterBand(bands_[i])->RasterIO(GF_Read, x, y, columns, rows, block_.data(),
                                                    columns, rows, type_, 0, 0, nullptr) != CE_None)
      return false;
    for (int row = 0; row < rows; ++row)
      rows_->Write(StoredRow(i, y + row), Size(x - window_.x) * bytes,
                   block_.data() + Size(row) * Size(columns) * bytes, Size(columns) * bytes);
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
