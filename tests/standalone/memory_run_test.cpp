#include "standalone/runs/memory_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/messages.h"
#include "standalone/rasters/gdal_setup.h"

namespace lumomixcalc::standalone {
namespace {

class TestObserver : public RunObserver {
 public:
  void Progress(double share) override {
    EXPECT_GE(share, last);
    last = share;
  }
  bool IsCancelled() override { return cancelled; }
  double last = 0;
  bool cancelled = false;
};

constexpr int kColumns = 90;
constexpr int kRows = 1100;  // more than a strip

// File1 - File2, where File1 is by 1000 greater in its second band.
class MemoryRunTest : public testing::Test {
 protected:
  MemoryRunTest() {
    SetUpGdal();
    MakeRaster("/vsimem/one.tif", 2);
    MakeRaster("/vsimem/other.tif", 1);
    Context() = {};
    IPAppSpecifics();
    gOperationChoice = 1;
    options_.files = {{1, "/vsimem/one.tif"}, {2, "/vsimem/other.tif"}};
    options_.bands = {2};
  }
  ~MemoryRunTest() override { gOperationChoice = 0; }

  static void MakeRaster(const char* path, int bands) {
    const GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        path, kColumns, kRows, bands, GDT_Float32, nullptr));
    double transform[] = {100, 2, 0, 200, 0, -2};
    dataset->SetGeoTransform(transform);
    for (int y = 0; y < kRows; ++y) {
      float pixels[2 * kColumns];
      for (int i = 0; i < bands * kColumns; ++i) {
        const int band = i / kColumns;
        pixels[i] = static_cast<float>(band * 1000 + i % kColumns + y * y % 97);
      }
      ASSERT_EQ(CE_None, dataset->RasterIO(GF_Write, 0, y, kColumns, 1, pixels, kColumns, 1,
                                           GDT_Float32, bands, nullptr, 0, 0, 0, nullptr));
    }
    for (GDALRasterBand* const band : dataset->GetBands()) band->SetNoDataValue(3);
  }

  MemoryRaster Run() { return RunInMemory(options_, Context(), observer_); }

  Options options_;
  TestObserver observer_;
};

TEST_F(MemoryRunTest, ComputesTheChosenBandOfTheWholeImage) {
  options_.keepNoData = true;
  const MemoryRaster raster = Run();
  EXPECT_EQ(raster.values, std::vector<float>(std::size_t{kColumns} * kRows, 1000));
  EXPECT_EQ(raster.statistics.valid.sum, 1000.0 * kColumns * kRows);
  EXPECT_EQ(observer_.last, 1);
  EXPECT_TRUE(raster.messages.empty());
}

TEST_F(MemoryRunTest, FollowsRegionAndResolution) {
  options_.selection.region = PixelWindow{10, 20, 60, 600};
  options_.selection.resampling = Resampling::kPreview;
  options_.selection.longestSide = 300;
  const MemoryRaster raster = Run();
  EXPECT_EQ(raster.grid.columns, 30);
  EXPECT_EQ(raster.grid.rows, 300);
  EXPECT_EQ(raster.values.size(), 30U * 300U);
  EXPECT_EQ(raster.transform, (Geotransform{120, 4, 0, 160, 0, -4}));
}

TEST_F(MemoryRunTest, MasksNoData) {
  options_.bands = {1};
  const MemoryRaster raster = Run();
  EXPECT_TRUE(std::isnan(raster.values[3]));
  EXPECT_EQ(raster.values[4], 0);
  EXPECT_GT(raster.statistics.valid.noData, 0U);
  EXPECT_EQ(raster.statistics.valid.sum, 0);
}

TEST_F(MemoryRunTest, EndsWhenCancelledAndHasTheApplicationCleanUp) {
  observer_.cancelled = true;
  EXPECT_THROW(Run(), RunCancelled);
  EXPECT_EQ(gpSelectedProc, nullptr);
}

}  // namespace
}  // namespace lumomixcalc::standalone
