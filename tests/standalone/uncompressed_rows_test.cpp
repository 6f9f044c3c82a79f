#include "standalone/rasters/uncompressed_rows.h"

#include <cpl_string.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <complex>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace lumomixcalc::standalone {
namespace {

using Pixels = std::vector<std::complex<float>>;
constexpr PixelWindow kAll = {0, 0, 37, 23};

struct Layout {
  const char* driver;
  const char* options;  // NAME=VALUE, with blanks between
  GDALDataType type = GDT_Float32;
  int bands = 1;
};

Pixels Ramp(float first) {
  Pixels pixels(std::size_t{kAll.columns} * std::size_t{kAll.rows});
  for (std::complex<float>& pixel : pixels) {
    pixel = {first / 3, 3 / first};
    ++first;
  }
  return pixels;
}

// Reads or writes by GDAL.
void Transfer(GDALRWFlag flag, GDALDataset& dataset, int band, const PixelWindow& window,
              Pixels& pixels) {
  pixels.resize(static_cast<std::size_t>(window.columns) * static_cast<std::size_t>(window.rows));
  ASSERT_EQ(dataset.GetRasterBand(band)->RasterIO(flag, window.x, window.y, window.columns,
                                                  window.rows, pixels.data(), window.columns,
                                                  window.rows, GDT_CFloat32, 0, 0, nullptr),
            CE_None);
}

class UncompressedRowsTest : public testing::Test {
 protected:
  void SetUp() override {
    GDALAllRegister();
    std::filesystem::create_directories(path_.parent_path());
  }
  void TearDown() override {
    dataset_.reset();
    std::filesystem::remove_all(path_.parent_path());
  }

  // Makes the image and opens it.
  void Make(const Layout& layout, unsigned access = GDAL_OF_UPDATE) {
    SCOPED_TRACE(layout.options);
    const CPLStringList options(CSLTokenizeString(layout.options));
    GDALDriver& driver = *GetGDALDriverManager()->GetDriverByName(layout.driver);
    dataset_.reset(driver.Create(path_.c_str(), kAll.columns, kAll.rows, layout.bands, layout.type,
                                 options.List()));
    Pixels ramp = Ramp(500);
    if (!options.FetchBool("SPARSE_OK", false))
      Transfer(GF_Write, *dataset_, layout.bands, kAll, ramp);
    Open(access);
  }

  void Open(unsigned access) {
    dataset_.reset();
    dataset_.reset(GDALDataset::Open(path_.c_str(), GDAL_OF_RASTER | access));
    ASSERT_NE(dataset_, nullptr);
  }

  const std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                      ("uncompressed_rows_" + std::to_string(getpid())) / "image";
  GDALDatasetUniquePtr dataset_;
};

TEST_F(UncompressedRowsTest, ReadsAndWritesWhatGdalReads) {
  for (const Layout& layout : {Layout{"GTiff", ""}, Layout{"GTiff", "BLOCKYSIZE=1", GDT_CFloat32},
                               Layout{"GTiff", "BLOCKYSIZE=5 BIGTIFF=YES", GDT_CFloat32},
                               Layout{"GTiff", "BLOCKYSIZE=5 INTERLEAVE=BAND", GDT_CInt16, 3},
                               Layout{"ENVI", "INTERLEAVE=BSQ", GDT_Float64, 3},
                               Layout{"ENVI", "INTERLEAVE=BIL", GDT_CFloat32, 3}})
    for (const PixelWindow& window : {kAll, PixelWindow{3, 6, 30, 11}}) {
      SCOPED_TRACE(layout.options);
      Make(layout);
      const auto rows = UncompressedRows::Open(*dataset_, {1, layout.bands}, window);
      ASSERT_NE(rows, nullptr);
      Pixels expected;
      Transfer(GF_Read, *dataset_, layout.bands, window, expected);
      Pixels pixels(expected.size());
      const std::ptrdiff_t upper = std::ptrdiff_t{5} * window.columns;
      const int lower = window.rows - 5;
      EXPECT_EQ(rows->Read(layout.bands, window.y, 5, pixels.data(), GDT_CFloat32), "");
      EXPECT_EQ(rows->Read(layout.bands, window.y + 5, lower, pixels.data() + upper, GDT_CFloat32),
                "");
      EXPECT_EQ(pixels, expected);
      if (layout.type != GDT_CFloat32) continue;
      std::reverse(expected.begin(), expected.end());
      EXPECT_EQ(rows->Write(layout.bands, window.y, 5, expected.data()), "");
      EXPECT_EQ(rows->Write(layout.bands, window.y + 5, lower, expected.data() + upper), "");
      Open(GDAL_OF_READONLY);
      Transfer(GF_Read, *dataset_, layout.bands, window, pixels);
      EXPECT_EQ(pixels, expected);
    }
}

TEST_F(UncompressedRowsTest, LeavesOtherLayoutsToGdal) {
  for (const Layout& layout :
       {Layout{"GTiff", "INTERLEAVE=PIXEL", GDT_Float32, 3}, Layout{"GTiff", "COMPRESS=PACKBITS"},
        Layout{"GTiff", "TILED=YES BLOCKXSIZE=16 BLOCKYSIZE=16"}, Layout{"GTiff", "NBITS=16"},
        Layout{"GTiff", "SPARSE_OK=YES"}, Layout{"GTiff", "ENDIANNESS=BIG"},
        Layout{"GTiff", "ENDIANNESS=BIG BIGTIFF=YES"},
        Layout{"ENVI", "INTERLEAVE=BIP", GDT_Int16, 3}}) {
    Make(layout);
    EXPECT_EQ(UncompressedRows::Open(*dataset_, {1}, kAll), nullptr) << layout.options;
  }
}

TEST_F(UncompressedRowsTest, LeavesBigEndianRawFilesToGdal) {
  Make({"ENVI", ""});
  std::ofstream(path_.string() + ".hdr", std::ios::app) << "byte order = 1\n";
  Open(GDAL_OF_READONLY);
  EXPECT_EQ(UncompressedRows::Open(*dataset_, {1}, kAll), nullptr);
}

// Turns the number of samples, which is 1 without saying so, into a fill order.
TEST_F(UncompressedRowsTest, LeavesReversedBitsToGdal) {
  for (const bool big : {false, true})
    for (const char order : {'\x01', '\x02'}) {
      Make({"GTiff", big ? "BIGTIFF=YES" : "", GDT_Byte});
      dataset_.reset();
      std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(file), {});
      const std::size_t entry = bytes.find(std::string("\x15\x01\x03\0\x01\0", 6));
      ASSERT_NE(entry, std::string::npos);
      file.seekp(static_cast<std::streamoff>(entry)).write("\x0a\x01", 2);
      file.seekp(static_cast<std::streamoff>(entry) + (big ? 12 : 8)).put(order).flush();
      Open(GDAL_OF_READONLY);
      EXPECT_EQ(UncompressedRows::Open(*dataset_, {1}, kAll) != nullptr, order == 1);
    }
}

TEST_F(UncompressedRowsTest, LeavesAFileThatWasReplacedToGdal) {
  Make({"GTiff", ""}, GDAL_OF_READONLY);
  std::filesystem::copy(path_, path_.string() + "2");
  std::filesystem::rename(path_.string() + "2", path_);
  EXPECT_EQ(UncompressedRows::Open(*dataset_, {1}, kAll), nullptr);
}

TEST_F(UncompressedRowsTest, NamesTheRowInWhichTheFileEnds) {
  for (const char* const driver : {"GTiff", "ENVI"}) {
    Make({driver, "", GDT_CFloat32}, GDAL_OF_READONLY);
    const auto rows = UncompressedRows::Open(*dataset_, {1}, kAll);
    std::filesystem::resize_file(path_, std::filesystem::file_size(path_) - 1);
    Pixels pixels = Ramp(1);
    EXPECT_EQ(rows->Read(1, 1, kAll.rows - 1, pixels.data(), GDT_CFloat32),
              "the file ends in row 22");
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
