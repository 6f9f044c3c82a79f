#ifndef LUMOMIXCALC_STANDALONE_RASTERS_BLOCK_ROWS_H
#define LUMOMIXCALC_STANDALONE_RASTERS_BLOCK_ROWS_H

#include <gdal_priv.h>

#include <cstddef>
#include <memory>
#include <stop_token>
#include <vector>

#include "standalone/rasters/output_grid.h"
#include "standalone/rasters/scratch_rows.h"

namespace lumomixcalc::standalone {

// The blocks (tiles, or strips of a TIFF) of a raster that are higher than a row are read and
// written here a row of blocks at a time, so that each is decoded or encoded once however the run
// cuts the image into strips.

// Reads some bands of a raster on a grid. Rows must be asked for from top to bottom.
class BlockRowReader {
 public:
  // The dataset must live as long as the reader. Pixels of a coarser grid are made by resampling; a
  // block on whose edge they lie, or that an interpolation reaches over, is then decoded again.
  BlockRowReader(GDALDataset& dataset, std::vector<int> bands, const OutputGrid& grid,
                 GDALRIOResampleAlg resampling, ScratchSpace& space);

  // Reads rows of the grid of a band (one of those given) from firstRow into out, as elements of
  // type. Returns false when GDAL fails. Throws RunCancelled between blocks when stop asks for it.
  bool Read(int band, int firstRow, int rows, void* out, GDALDataType type,
            const std::stop_token& stop);

  // The end of the rows of the grid that begin in the same row of blocks as this one. Who reads
  // several bands in turns must not read across it, or blocks are decoded again for each.
  int EndOfBlockRow(int row) const;

  // Blocks of a band that GDAL's cache must hold so that none is decoded twice.
  int CachedBlocks() const;

 private:
  bool LoadsWhole() const;
  bool Load(int blockRow, const std::stop_token& stop);
  bool LoadBlock(std::size_t block, int rows);
  int BlockRowOf(int row) const;
  int FirstRow(int blockRow) const;
  std::size_t Blocks() const { return starts_.size() - 1; }
  int ColumnsOf(std::size_t block) const { return starts_[block + 1] - starts_[block]; }

  GDALDataset& dataset_;
  std::vector<int> bands_;
  OutputGrid grid_;
  GDALRIOResampleAlg resampling_;
  GDALDataType type_;
  int blockColumns_ = 1;
  int blockRows_ = 1;
  // Rows of the grid, at most, that begin in a row of blocks.
  int rowsHeld_ = 1;
  // The first columns of the grid that begin in each block, and the number of all.
  std::vector<int> starts_;
  int blockRowHeld_ = -1;
  int firstRowHeld_ = 0;
  // What begins in a block of a band is one row here: a block is loaded into it with one call.
  std::unique_ptr<ScratchRows> blocks_;
  std::vector<std::byte> block_;  // on its way to a file
  std::vector<std::byte> row_;
};

// Writes all bands of a raster; rows come from top to bottom, all bands of a row of blocks before
// the next.
class BlockRowWriter {
 public:
  BlockRowWriter(GDALDataset& dataset, ScratchSpace& space);

  // Takes rows of a band (from 1) that lie in one row of blocks, as elements of the raster's type.
  void Put(int band, int firstRow, int rows, const void* values);

  // Writes the row of blocks that ends before endRow. Returns false when GDAL fails. Throws
  // RunCancelled between blocks when stop asks for it.
  bool Flush(int endRow, const std::stop_token& stop);

 private:
  int StoredRows() const;
  bool FlushesWhole() const;
  bool FlushWhole(int blockRow, int rows);
  bool FlushBlock(int blockColumn, int blockRow, int rows);

  GDALDataset& dataset_;
  std::size_t elementBytes_;
  int blockColumns_ = 1;
  int blockRows_ = 1;
  std::unique_ptr<ScratchRows> rows_;
  std::vector<std::byte> block_;  // empty when blocks are flushed whole
};

}  // namespace lumomixcalc::standalone

#endif
