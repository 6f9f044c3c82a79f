#include "standalone/runs/memory_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "host/im.h"
#include "standalone/messages.h"
#include "standalone/rasters/gdal_setup.h"
#include "tests/standalone/test_registration.h"

namespace lumomixcalc::standalone {
namespace {

// An application that computes File1 - File2, or, told to, desists with a message.
struct SubtractingApplication {
  static inline bool desists = false;
  static inline int cleanups = 0;

  static void InitProc() {
    int mode = 0;
    IMRtMode(1, &mode);
    IMRtMode(2, &mode);
    if (!desists) return;
    IPDisplayMessage("no minuend", 10);
    IPDesist();
  }
  static void ProcData(const IPBlock* block, IPOutputStats* stats) {
    const auto* one = static_cast<const float*>(IPGetDataPtr(1));
    const auto* other = static_cast<const float*>(IPGetDataPtr(2));
    auto* out = static_cast<float*>(IPGetDataPtr(3));
    for (int i = 0; i < block->columns * block->rows; ++i) {
      out[i] = one[i] - other[i];
      stats->sum += out[i];
    }
  }
  static void Cleanup() { ++cleanups; }
};

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

float ValueAt(int band, int x, int y) { return static_cast<float>(1000 * band + x + y * y % 97); }

class MemoryRunTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    SetUpGdal();
    const char* const tiled[] = {"TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64", nullptr};
    MakeRaster("/vsimem/one.tif", 2, const_cast<char**>(tiled));
    MakeRaster("/vsimem/other.tif", 1, nullptr);
  }

  static void MakeRaster(const char* path, int bands, char** creationOptions) {
    const GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        path, kColumns, kRows, bands, GDT_Float32, creationOptions));
    double transform[] = {100, 2, 0, 200, 0, -2};
    dataset->SetGeoTransform(transform);
    std::vector<float> values;
    for (int band = 1; band <= bands; ++band) {
      values.clear();
      for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < kColumns; ++x) values.push_back(ValueAt(band, x, y));
      ASSERT_EQ(
          dataset->GetRasterBand(band)->RasterIO(GF_Write, 0, 0, kColumns, kRows, values.data(),
                                                 kColumns, kRows, GDT_Float32, 0, 0, nullptr),
          CE_None);
      dataset->GetRasterBand(band)->SetNoDataValue(static_cast<double>(ValueAt(1, 3, 0)));
    }
  }

  void SetUp() override {
    SubtractingApplication::desists = false;
    context_ = &Context();
    *context_ = {};
    context_->registration = TwoInputsOneOutput();
    auto& routines = context_->registration.routines;
    routines[IP_SLOT_INIT_PROC] = SubtractingApplication::InitProc;
    routines[IP_SLOT_CLEANUP] = SubtractingApplication::Cleanup;
    routines[IP_SLOT_PROC_DATA] = reinterpret_cast<IPRoutine>(SubtractingApplication::ProcData);
    options_.files = {{1, "/vsimem/one.tif"}, {2, "/vsimem/other.tif"}};
  }

  RunContext* context_ = nullptr;
  Options options_;
  TestObserver observer_;
};

TEST_F(MemoryRunTest, ComputesTheChosenBandOfTheWholeImage) {
  options_.bands = {2};
  options_.keepNoData = true;
  const MemoryRaster raster = RunInMemory(options_, *context_, observer_);
  ASSERT_EQ(raster.values.size(), std::size_t{kColumns} * kRows);
  for (int y = 0; y < kRows; ++y)
    for (int x = 0; x < kColumns; ++x)
      ASSERT_EQ(raster.values[static_cast<std::size_t>(y * kColumns + x)], 1000) << x << " " << y;
  EXPECT_EQ(raster.statistics.valid.sum, 1000.0 * kColumns * kRows);
  EXPECT_EQ(observer_.last, 1);
  EXPECT_TRUE(raster.messages.empty());
}

TEST_F(MemoryRunTest, FollowsRegionAndResolution) {
  options_.bands = {2};
  options_.selection.region = PixelWindow{10, 20, 60, 600};
  options_.selection.resampling = Resampling::kPreview;
  options_.selection.longestSide = 300;
  const MemoryRaster raster = RunInMemory(options_, *context_, observer_);
  EXPECT_EQ(raster.grid.columns, 30);
  EXPECT_EQ(raster.grid.rows, 300);
  EXPECT_EQ(raster.values.size(), 30U * 300U);
  EXPECT_EQ(raster.transform, (Geotransform{120, 4, 0, 160, 0, -4}));
}

TEST_F(MemoryRunTest, MasksNoDataOfEitherInput) {
  const MemoryRaster raster = RunInMemory(options_, *context_, observer_);
  std::uint64_t nan = 0;
  for (const float value : raster.values) nan += std::isnan(value) ? 1 : 0;
  EXPECT_TRUE(std::isnan(raster.values[3]));
  EXPECT_EQ(raster.statistics.valid.noData, nan);
  EXPECT_EQ(raster.statistics.valid.sum, 0);
  EXPECT_TRUE(std::isnan(raster.statistics.record.sum));
}

TEST_F(MemoryRunTest, FailsWithTheWordsOfTheApplicationAndCanRunAgain) {
  SubtractingApplication::desists = true;
  try {
    RunInMemory(options_, *context_, observer_);
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "no minuend");
  }
  SubtractingApplication::desists = false;
  EXPECT_NO_THROW(RunInMemory(options_, *context_, observer_));
}

TEST_F(MemoryRunTest, EndsWhenCancelledAndHasTheApplicationCleanUp) {
  observer_.cancelled = true;
  const int before = SubtractingApplication::cleanups;
  EXPECT_THROW(RunInMemory(options_, *context_, observer_), RunCancelled);
  EXPECT_EQ(SubtractingApplication::cleanups, before + 1);
}

TEST_F(MemoryRunTest, RefusesBandsThatAreNotThere) {
  options_.bands = {3};
  EXPECT_THROW(RunInMemory(options_, *context_, observer_), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
