// The grid of an output, and rows read and written without GDAL.
#include <cpl_string.h>
#include <gtest/gtest.h>

#include <complex>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {
namespace {

namespace fs = std::filesystem;

TEST(MakeOutputGrid, MovesARotatedGeotransformAlongItsOwnAxes) {
  const Geotransform rotated = {100, 3, 4, 200, 4, -3};
  EXPECT_EQ((OutputGrid{.window = {10, 20, 100, 100}, .resolution = 2}.Transformed(rotated)),
            (Geotransform{210, 6, 8, 180, 8, -6}));
}

TEST(MakeOutputGrid, TakesTheWindowOnAMapAndReducesUntilTheLongestSideFits) {
  const Geotransform tenths = {0, 0.1, 0, 0, 0, 0.1};
  const Geotransform rotated = {0, 3, 4, 0, 4, -3};
  const struct {
    int columns, rows;
    std::optional<MapWindow> window;
    int longestSide;
    const Geotransform* transform;
    std::string expected;  // window and size; empty for a failure
  } kCases[] = {
      // Decimals that no double holds exactly shall not add a pixel.
      {10, 10, {{0.3, 0.6, 0.7, 0.9}}, 0, &tenths, "3:6:4:3, 4 x 3 pixels"},
      {10, 10, {{0.3, 0.6, 0.7, 0.9}}, 0, &rotated, ""},
      {10, 10, {{0.3, 0.6, 0.7, 0.9}}, 0, nullptr, ""},
      {10, 10, {{1e300, 0, 2e300, 1}}, 0, &tenths, ""},
      {700, 500, {}, 100, nullptr, "0:0:700:497, 100 x 71 pixels"},
      {700, 500, {}, 699, nullptr, "0:0:700:500, 350 x 250 pixels"},
      {700, 500, {}, 700, nullptr, "0:0:700:500, 700 x 500 pixels"},
      {10000, 1, {}, 10, nullptr, "0:0:10000:1, 10000 x 1 pixels"},
  };
  for (const auto& [columns, rows, window, longestSide, transform, expected] : kCases) {
    Selection selection;
    selection.window = window;
    selection.longestSide = longestSide;
    try {
      const OutputGrid grid = MakeOutputGrid(selection, columns, rows, transform, "i");
      EXPECT_EQ(ToText(grid.window) + ", " + SizeText(grid.columns, grid.rows), expected);
    } catch (const Failure& failure) {
      EXPECT_EQ(expected, "") << failure.what();
    }
  }
}

// ---- Uncompressed rows --------------------------------------------------------------------------

using Pixels = std::vector<std::complex<float>>;
constexpr PixelWindow kAll = {0, 0, 37, 23};

struct Layout {
  bool plain;  // each row stands in one piece, as in memory
  const char* driver;
  const char* options;  // NAME=VALUE, with blanks between
  GDALDataType type = GDT_Float32;
  int bands = 1;
  std::pair<std::string, std::string> change = {};  // of bytes of the file or its header
};

// Turns the number of samples, which is 1 without saying so, into a fill order.
std::pair<std::string, std::string> FillOrder(bool big, char order) {
  const std::string count =
      big ? std::string("\x01\0\0\0\0\0\0\0", 8) : std::string("\x01\0\0\0", 4);
  return {std::string("\x15\x01\x03\0", 4) + count + '\x01',
          std::string("\x0a\x01\x03\0", 4) + count + order};
}

const Layout kLayouts[] = {
    {true, "GTiff", ""},
    {true, "GTiff", "BLOCKYSIZE=1", GDT_CFloat32},
    {true, "GTiff", "BLOCKYSIZE=5 BIGTIFF=YES", GDT_CFloat32},
    {true, "GTiff", "BLOCKYSIZE=5 INTERLEAVE=BAND", GDT_CInt16, 3},
    {true, "GTiff", "", GDT_Byte, 1, FillOrder(false, 1)},
    {true, "GTiff", "BIGTIFF=YES", GDT_Byte, 1, FillOrder(true, 1)},
    {true, "ENVI", "INTERLEAVE=BSQ", GDT_Float64, 3},
    {true, "ENVI", "INTERLEAVE=BIL", GDT_CFloat32, 3},
    {false, "GTiff", "INTERLEAVE=PIXEL", GDT_Float32, 3},
    {false, "GTiff", "COMPRESS=PACKBITS"},
    {false, "GTiff", "TILED=YES BLOCKXSIZE=16 BLOCKYSIZE=16"},
    {false, "GTiff", "NBITS=16"},
    {false, "GTiff", "SPARSE_OK=YES"},
    {false, "GTiff", "ENDIANNESS=BIG"},
    {false, "GTiff", "ENDIANNESS=BIG BIGTIFF=YES"},
    {false, "GTiff", "", GDT_Byte, 1, FillOrder(false, 2)},
    {false, "GTiff", "BIGTIFF=YES", GDT_Byte, 1, FillOrder(true, 2)},
    {false, "ENVI", "INTERLEAVE=BIP", GDT_Int16, 3},
    {false, "ENVI", "", GDT_Float32, 1, {"byte order = 0", "byte order = 1"}},
};

class UncompressedRowsTest : public testing::Test {
 protected:
  UncompressedRowsTest() {
    GDALAllRegister();
    fs::create_directories(path_.parent_path());
  }
  ~UncompressedRowsTest() override { fs::remove_all(path_.parent_path()); }

  // Makes an image with a ramp in its last band, and opens it.
  GDALDatasetUniquePtr Make(const Layout& layout) const {
    const CPLStringList options(CSLTokenizeString(layout.options));
    GDALDriver& driver = *GetGDALDriverManager()->GetDriverByName(layout.driver);
    GDALDatasetUniquePtr dataset(driver.Create(path_.c_str(), kAll.columns, kAll.rows, layout.bands,
                                               layout.type, options.List()));
    Pixels ramp(std::size_t{37} * 23);
    for (float x = 500; std::complex<float> & pixel : ramp) {
      pixel = {x / 3, 3 / x};
      ++x;
    }
    if (!options.FetchBool("SPARSE_OK", false))
      Transfer(GF_Write, *dataset, layout.bands, kAll, ramp);
    dataset.reset();
    const auto& [from, to] = layout.change;
    for (const fs::path& file : {path_, fs::path(path_.string() + ".hdr")}) {
      std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(stream), {});
      if (const std::size_t place = bytes.find(from); !from.empty() && place != std::string::npos)
        stream.seekp(static_cast<std::streamoff>(place)) << to;
    }
    dataset.reset(GDALDataset::Open(path_.c_str(), GDAL_OF_RASTER));
    if (!dataset) throw std::runtime_error("the image does not open");
    return dataset;
  }

  // Reads or writes by GDAL.
  static void Transfer(GDALRWFlag flag, GDALDataset& dataset, int band, const PixelWindow& window,
                       Pixels& pixels) {
    pixels.resize(static_cast<std::size_t>(window.columns) * static_cast<std::size_t>(window.rows));
    ASSERT_EQ(dataset.GetRasterBand(band)->RasterIO(flag, window.x, window.y, window.columns,
                                                    window.rows, pixels.data(), window.columns,
                                                    window.rows, GDT_CFloat32, 0, 0, nullptr),
              CE_None);
  }

  const fs::path path_ =
      fs::temp_directory_path() / ("rasters_test_" + std::to_string(getpid())) / "image";
};

// That rows are written to their places the program's own outputs show.
TEST_F(UncompressedRowsTest, ReadsWhatGdalReadsAndLeavesOtherLayoutsToGdal) {
  for (const Layout& layout : kLayouts)
    for (const PixelWindow& window : {kAll, PixelWindow{3, 6, 30, 11}}) {
      SCOPED_TRACE(std::string(layout.driver) + " " + layout.options + layout.change.second);
      const GDALDatasetUniquePtr dataset = Make(layout);
      const int band = layout.bands;
      const auto rows = UncompressedRows::Open(*dataset, {1, band}, window);
      ASSERT_EQ(rows != nullptr, layout.plain);
      if (!layout.plain) continue;
      Pixels expected;
      Transfer(GF_Read, *dataset, band, window, expected);
      Pixels pixels(expected.size());
      const std::ptrdiff_t upper = std::ptrdiff_t{5} * window.columns;
      EXPECT_EQ(rows->Read(band, window.y, 5, pixels.data(), GDT_CFloat32), "");
      EXPECT_EQ(
          rows->Read(band, window.y + 5, window.rows - 5, pixels.data() + upper, GDT_CFloat32), "");
      EXPECT_EQ(pixels, expected);
    }
}

TEST_F(UncompressedRowsTest, LeavesAFileThatWasReplacedToGdal) {
  const GDALDatasetUniquePtr dataset = Make({true, "GTiff", ""});
  fs::copy(path_, path_.string() + "2");
  fs::rename(path_.string() + "2", path_);
  EXPECT_EQ(UncompressedRows::Open(*dataset, {1}, kAll), nullptr);
}

TEST_F(UncompressedRowsTest, NamesTheRowInWhichTheFileEnds) {
  for (const char* const driver : {"GTiff", "ENVI"}) {
    const GDALDatasetUniquePtr dataset = Make({true, driver, "", GDT_CFloat32});
    const auto rows = UncompressedRows::Open(*dataset, {1}, kAll);
    fs::resize_file(path_, fs::file_size(path_) - 1);
    Pixels pixels(std::size_t{37} * 22);
    EXPECT_EQ(rows->Read(1, 1, 22, pixels.data(), GDT_CFloat32), "the file ends in row 22");
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
