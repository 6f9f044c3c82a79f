#include "standalone/rasters/uncompressed_rows.h"

#include <cpl_string.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <ostream>

namespace lumomixcalc::standalone {
namespace {

using Pixels = std::vector<std::complex<float>>;
constexpr PixelWindow kAll = {0, 0, 37, 23};

struct Layout {
  const char* driver;
  const char* options;  // NAME=VALUE, with blanks between
  GDALDataType type;
  int bands;
  bool hasPlainRows;
};

void PrintTo(const Layout& layout, std::ostream* out) {
  *out << layout.driver << ' ' << layout.options << ' ' << GDALGetDataTypeName(layout.type);
}

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

class UncompressedRowsTest : public testing::TestWithParam<Layout> {
 protected:
  void SetUp() override {
    GDALAllRegister();
    std::filesystem::create_directories(path_.parent_path());
    const Layout& layout = GetParam();
    const CPLStringList options(CSLTokenizeString(layout.options));
    GDALDriver& driver = *GetGDALDriverManager()->GetDriverByName(layout.driver);
    dataset_.reset(driver.Create(path_.c_str(), kAll.columns, kAll.rows, layout.bands, layout.type,
                                 options.List()));
    Pixels ramp = Ramp(500);
    if (!options.FetchBool("SPARSE_OK", false))
      Transfer(GF_Write, *dataset_, layout.bands, kAll, ramp);
    dataset_.reset();
    // No driver makes big-endian raw files; the header may say so of any.
    if (options.FetchBool("SWAPPED", false)) {
      ASSERT_EQ(std::system(("sed -i 's/byte order = 0/byte order = 1/' " +
                             path_.parent_path().string() + "/*.hdr")
                                .c_str()),
                0);
    }
    Reopen(GDAL_OF_UPDATE);
  }
  void TearDown() override { std::filesystem::remove_all(path_.parent_path()); }

  void Reopen(unsigned access) {
    dataset_.reset();
    dataset_.reset(GDALDataset::Open(path_.c_str(), GDAL_OF_RASTER | access));
  }

  const std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                      ("uncompressed_rows_" + std::to_string(getpid())) / "image";
  GDALDatasetUniquePtr dataset_;
};

TEST_P(UncompressedRowsTest, ReadsAndWritesWhatGdalReadsOrLeavesItToGdal) {
  const int band = GetParam().bands;
  for (const PixelWindow& window : {kAll, PixelWindow{3, 6, 30, 11}}) {
    const auto rows = UncompressedRows::Open(*dataset_, {1, band}, window);
    ASSERT_EQ(rows != nullptr, GetParam().hasPlainRows);
    if (!rows) return;
    Pixels expected;
    Transfer(GF_Read, *dataset_, band, window, expected);
    Pixels pixels(expected.size());
    const std::ptrdiff_t upper = std::ptrdiff_t{5} * window.columns;
    EXPECT_EQ(rows->Read(band, window.y, 5, pixels.data(), GDT_CFloat32), "");
    EXPECT_EQ(rows->Read(band, window.y + 5, window.rows - 5, pixels.data() + upper, GDT_CFloat32),
              "");
    EXPECT_EQ(pixels, expected);
    if (GetParam().type != GDT_CFloat32) continue;
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(rows->Write(band, window.y, 5, expected.data()), "");
    EXPECT_EQ(rows->Write(band, window.y + 5, window.rows - 5, expected.data() + upper), "");
    Reopen(GDAL_OF_UPDATE);
    Transfer(GF_Read, *dataset_, band, window, pixels);
    EXPECT_EQ(pixels, expected);
  }
}

TEST_P(UncompressedRowsTest, NamesTheRowInWhichTheFileEnds) {
  if (!GetParam().hasPlainRows || GetParam().bands > 1) return;
  Reopen(GDAL_OF_READONLY);
  const auto rows = UncompressedRows::Open(*dataset_, {1}, kAll);
  std::filesystem::resize_file(path_, std::filesystem::file_size(path_) - 1);
  Pixels pixels = Ramp(1);
  EXPECT_EQ(rows->Read(1, 1, kAll.rows - 1, pixels.data(), GDT_CFloat32),
            "the file ends in row 22");
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, UncompressedRowsTest,
    testing::Values(Layout{"GTiff", "", GDT_Float32, 1, true},
                    Layout{"GTiff", "BLOCKYSIZE=1", GDT_CFloat32, 1, true},
                    Layout{"GTiff", "BLOCKYSIZE=5 BIGTIFF=YES", GDT_CFloat32, 1, true},
                    Layout{"GTiff", "BLOCKYSIZE=5 INTERLEAVE=BAND", GDT_CInt16, 3, true},
                    Layout{"GTiff", "INTERLEAVE=PIXEL", GDT_Float32, 3, false},
                    Layout{"GTiff", "COMPRESS=PACKBITS", GDT_CFloat32, 1, false},
                    Layout{"GTiff", "TILED=YES BLOCKXSIZE=16 BLOCKYSIZE=16", GDT_Float32, 1, false},
                    Layout{"GTiff", "NBITS=16", GDT_Float32, 1, false},
                    Layout{"GTiff", "SPARSE_OK=YES", GDT_Float32, 1, false},
                    Layout{"GTiff", "ENDIANNESS=BIG", GDT_CFloat32, 1, false},
                    Layout{"ENVI", "INTERLEAVE=BSQ", GDT_Float64, 3, true},
                    Layout{"ENVI", "INTERLEAVE=BIL", GDT_CFloat32, 3, true},
                    Layout{"ENVI", "INTERLEAVE=BIP", GDT_Int16, 3, false},
                    Layout{"ENVI", "SWAPPED=YES", GDT_Float32, 1, false}));

}  // namespace
}  // namespace lumomixcalc::standalone
