#include "standalone/rasters/block_rows.h"

#include <cpl_string.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kColumns = 70;
constexpr int kRows = 50;
constexpr const char* kPath = "/vsimem/block_rows_test.tif";

// Tiled 32 x 16 and interleaved by pixel, or in strips of 16 rows; in memory.
GDALDatasetUniquePtr MakeRaster(int bands, bool tiled, GDALDataType type = GDT_Float32) {
  GDALAllRegister();
  CPLStringList options(CSLTokenizeString("BLOCKYSIZE=16 COMPRESS=DEFLATE"));
  if (tiled) options.SetNameValue("TILED", "YES").SetNameValue("BLOCKXSIZE", "32");
  return GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      kPath, kColumns, kRows, bands, type, options.List()));
}

std::vector<float> RowsOf(int band, int x, int columns, int y, int rows) {
  std::vector<float> values;
  for (int r = y; r < y + rows; ++r)
    for (int c = x; c < x + columns; ++c)
      values.push_back(static_cast<float>(band * 10000 + r * 100 + c));
  return values;
}

// With memory for all rows of blocks, and with files in their place.
class BlockRowsTest : public testing::TestWithParam<std::tuple<std::int64_t, int, bool>> {};
INSTANTIATE_TEST_SUITE_P(Memory, BlockRowsTest,
                         testing::Combine(testing::Values(1 << 20, 0), testing::Values(1, 2),
                                          testing::Bool()));

TEST_P(BlockRowsTest, WhatIsWrittenInStripsIsReadInOtherStrips) {
  const auto [memory, bands, tiled] = GetParam();
  ScratchSpace space = {memory, std::filesystem::temp_directory_path()};
  const std::stop_token never;
  {
    const GDALDatasetUniquePtr dataset = MakeRaster(bands, tiled);
    BlockRowWriter writer(*dataset, space);
    for (int y = 0, end = 0; y < kRows; y = end) {
      end = std::min({y + 5, (y / 16 + 1) * 16, kRows});  // 5, 10, 15, 16, 21 ...
      for (int band = 1; band <= bands; ++band)
        writer.Put(band, y, end - y, RowsOf(band, 0, kColumns, y, end - y).data());
      if (end % 16 == 0 || end == kRows) {
        ASSERT_TRUE(writer.Flush(end, never));
      }
    }
  }
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(kPath));
  for (const PixelWindow window :
       {PixelWindow{0, 0, kColumns, kRows}, {31, 15, 2, 2}, {33, 17, 20, 30}, {69, 0, 1, kRows}}) {
    const OutputGrid grid = {window, 1, window.columns, window.rows};
    BlockRowReader reader(*dataset, {bands, 1}, grid, GRIORA_NearestNeighbour, space);
    for (int y = 0, end = 0; y < window.rows; y = end) {
      end = std::min(y + 7, window.rows);
      for (const int band : {bands, 1}) {
        const auto expected = RowsOf(band, window.x, window.columns, window.y + y, end - y);
        std::vector<float> values(expected.size());
        ASSERT_TRUE(reader.Read(band, y, end - y, values.data(), GDT_Float32, never));
        EXPECT_EQ(values, expected) << ToText(window) << " row " << y;
      }
    }
  }
}

TEST(BlockRows, CoarserPixelsAreThoseOfTheWholeRaster) {
  ScratchSpace space;
  const GDALDatasetUniquePtr dataset = MakeRaster(1, true, GDT_UInt16);
  std::vector<float> noise(std::size_t{kColumns} * kRows);
  std::minstd_rand random;
  for (float& value : noise) value = static_cast<float>(random() % 1000);
  GDALRasterBand& band = *dataset->GetRasterBand(1);
  ASSERT_EQ(band.RasterIO(GF_Write, 0, 0, kColumns, kRows, noise.data(), kColumns, kRows,
                          GDT_Float32, 0, 0, nullptr),
            CE_None);
  for (const GDALRIOResampleAlg resampling :
       {GRIORA_NearestNeighbour, GRIORA_Average, GRIORA_Bilinear, GRIORA_Cubic})
    for (const OutputGrid& grid : {OutputGrid{{0, 0, 70, 50}, 2, 35, 25},
                                   {{5, 3, 63, 45}, 3, 21, 15},
                                   {{1, 16, 68, 34}, 34, 2, 1}}) {
      std::vector<float> expected(static_cast<std::size_t>(grid.columns) *
                                  static_cast<std::size_t>(grid.rows));
      std::vector<float> values(expected.size());
      GDALRasterIOExtraArg extra;
      INIT_RASTERIO_EXTRA_ARG(extra);
      extra.eResampleAlg = resampling;
      const PixelWindow& window = grid.window;
      ASSERT_EQ(band.RasterIO(GF_Read, window.x, window.y, window.columns, window.rows,
                              expected.data(), grid.columns, grid.rows, GDT_Float32, 0, 0, &extra),
                CE_None);
      BlockRowReader reader(*dataset, {1}, grid, resampling, space);
      for (int row = 0; row < grid.rows; ++row)
        ASSERT_TRUE(reader.Read(1, row, 1, &values[static_cast<std::size_t>(row * grid.columns)],
                                GDT_Float32, {}));
      EXPECT_THAT(values, testing::Pointwise(testing::FloatEq(), expected)) << grid.resolution;
    }
}

TEST(BlockRows, EndWhereTheNextRowOfBlocksBegins) {
  ScratchSpace space;
  const GDALDatasetUniquePtr dataset = MakeRaster(1, true);
  for (const auto& [y, resolution, rows] : {std::tuple(0, 1, 50), {10, 1, 30}, {1, 3, 16}}) {
    const OutputGrid grid = {{0, y, kColumns, rows * resolution}, resolution, 10, rows};
    const BlockRowReader reader(*dataset, {1}, grid, GRIORA_Average, space);
    int expected = rows;
    for (int row = rows - 1; row >= 0; --row) {
      EXPECT_EQ(reader.EndOfBlockRow(row), expected) << y << ' ' << row;
      if ((y + row * resolution) / 16 != (y + (row - 1) * resolution) / 16) expected = row;
    }
  }
}

TEST(BlockRows, StopBetweenBlocks) {
  ScratchSpace space;
  std::stop_source source;
  source.request_stop();
  const GDALDatasetUniquePtr dataset = MakeRaster(1, true);
  BlockRowReader reader(*dataset, {1}, {{0, 0, kColumns, kRows}, 1, kColumns, kRows},
                        GRIORA_NearestNeighbour, space);
  float row[kColumns];
  EXPECT_THROW(reader.Read(1, 0, 1, row, GDT_Float32, source.get_token()), RunCancelled);
  BlockRowWriter writer(*dataset, space);
  EXPECT_THROW(writer.Flush(16, source.get_token()), RunCancelled);
}

TEST(ScratchRows, TakesMemoryOnlyAsFarAsItGoes) {
  ScratchSpace space = {100, std::filesystem::temp_directory_path()};
  EXPECT_TRUE(ScratchRows(6, 10, space).InMemory());
  EXPECT_FALSE(ScratchRows(5, 10, space).InMemory());
  EXPECT_TRUE(ScratchRows(4, 10, space).InMemory());
  space.folder.clear();
  EXPECT_TRUE(ScratchRows(1, 10, space).InMemory());
  space.folder = "/nonexistent";
  EXPECT_THROW(ScratchRows(1, 100, space), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
