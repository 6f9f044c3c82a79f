#include "standalone/rasters/block_rows.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kColumns = 70;
constexpr int kRows = 50;
constexpr int kBands = 2;

// Tiled 32 x 16 and interleaved by pixel in memory.
GDALDatasetUniquePtr Tiled(const char* path) {
  GDALAllRegister();
  const char* const options[] = {"TILED=YES",        "BLOCKXSIZE=32",    "BLOCKYSIZE=16",
                                 "INTERLEAVE=PIXEL", "COMPRESS=DEFLATE", nullptr};
  return GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      path, kColumns, kRows, kBands, GDT_Float32, const_cast<char**>(options)));
}

float ValueAt(int band, int x, int y) { return static_cast<float>(band * 10000 + y * 100 + x); }

std::vector<float> RowsOf(int band, int x, int columns, int y, int rows) {
  std::vector<float> values;
  for (int r = y; r < y + rows; ++r)
    for (int c = x; c < x + columns; ++c) values.push_back(ValueAt(band, c, r));
  return values;
}

// With memory for all rows of blocks, and with files in their place.
class BlockRowsTest : public testing::TestWithParam<std::int64_t> {
 protected:
  ScratchSpace space_ = {GetParam(), std::filesystem::temp_directory_path()};
  static constexpr const char* kPath = "/vsimem/block_rows_test.tif";
};

TEST_P(BlockRowsTest, WhatIsWrittenInStripsIsReadInOtherStrips) {
  const std::stop_token never;
  {
    const GDALDatasetUniquePtr dataset = Tiled(kPath);
    BlockRowWriter writer(*dataset, space_);
    for (int y = 0, end = 0; y < kRows; y = end) {
      end = std::min({y + 5, (y / 16 + 1) * 16, kRows});  // 5, 10, 15, 16, 21 ...
      for (int band = 1; band <= kBands; ++band)
        writer.Put(band, y, end - y, RowsOf(band, 0, kColumns, y, end - y).data());
      if (end % 16 == 0 || end == kRows) {
        ASSERT_TRUE(writer.Flush(end, never));
      }
    }
  }
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(kPath));
  for (const PixelWindow window :
       {PixelWindow{0, 0, kColumns, kRows}, {31, 15, 2, 2}, {33, 17, 20, 30}, {69, 0, 1, kRows}}) {
    BlockRowReader reader(*dataset, {2, 1}, window, space_);
    for (int y = window.y, end = 0; y < window.y + window.rows; y = end) {
      end = std::min(y + 7, window.y + window.rows);
      for (const int band : {2, 1}) {
        std::vector<float> values(static_cast<std::size_t>(window.columns) *
                                  static_cast<std::size_t>(end - y));
        ASSERT_TRUE(reader.Read(band, y, end - y, values.data(), GDT_Float32, never));
        EXPECT_EQ(values, RowsOf(band, window.x, window.columns, y, end - y))
            << ToText(window) << " row " << y;
      }
    }
  }
}

TEST_P(BlockRowsTest, StopBetweenBlocks) {
  std::stop_source source;
  source.request_stop();
  const GDALDatasetUniquePtr dataset = Tiled(kPath);
  BlockRowReader reader(*dataset, {1}, {0, 0, kColumns, kRows}, space_);
  std::vector<float> values(kColumns);
  EXPECT_THROW(reader.Read(1, 0, 1, values.data(), GDT_Float32, source.get_token()), RunCancelled);
  BlockRowWriter writer(*dataset, space_);
  EXPECT_THROW(writer.Flush(16, source.get_token()), RunCancelled);
}

INSTANTIATE_TEST_SUITE_P(Memory, BlockRowsTest, testing::Values(1 << 20, 0));

TEST(ScratchRows, TakesMemoryOnlyAsFarAsItGoes) {
  ScratchSpace space = {100, std::filesystem::temp_directory_path()};
  EXPECT_TRUE(ScratchRows(6, 10, space).InMemory());
  EXPECT_FALSE(ScratchRows(5, 10, space).InMemory());
  EXPECT_TRUE(ScratchRows(4, 10, space).InMemory());
  EXPECT_EQ(space.memoryLeft, 0);
  space.folder.clear();
  EXPECT_TRUE(ScratchRows(4, 10, space).InMemory());
  ScratchSpace nowhere = {0, "/nonexistent"};
  EXPECT_THROW(ScratchRows(1, 1, nowhere), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
