#include "standalone/runs/run.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "app/parameters.h"
#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

constexpr int kColumns = 90;
constexpr int kRows = 4000;  // more than two strips

void MakeRaster(const char* path, const std::vector<double>& valuesOfBands) {
  const int bands = static_cast<int>(valuesOfBands.size());
  const GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
      path, kColumns, kRows, bands, GDT_Float32, nullptr));
  dataset->GetRasterBand(1)->SetNoDataValue(3);
  for (const auto& band : dataset->GetBands())
    band->Fill(valuesOfBands[static_cast<std::size_t>(band->GetBand()) - 1]);
}

TEST(RunInMemory, ComputesTheChosenBandWithNanForNoDataOrCleansUpWhenCancelled) {
  SetUpGdal();
  MakeRaster("/vsimem/one.tif", {3, 1000});
  MakeRaster("/vsimem/other.tif", {1});
  TheHostState() = {};
  IPAppSpecifics();
  Job job;
  job.files = {{1, "/vsimem/one.tif"}, {2, "/vsimem/other.tif"}};
  for (const auto& [band, keepNoData, expected] :
       {std::tuple(1, false, NAN), {1, true, 4}, {2, false, 1001}}) {
    job.bands = {band};
    job.keepNoData = keepNoData;
    double last = 0;
    const auto progress = [&last](double share) {
      EXPECT_GE(share, last);
      last = share;
    };
    const MemoryRaster raster = RunInMemory(job, TheHostState(), {{}, progress});
    EXPECT_EQ(raster.values.size(), std::size_t{kColumns} * kRows);
    for (const float value : raster.values)
      ASSERT_TRUE(std::isnan(expected) ? std::isnan(value) : value == expected) << value;
    EXPECT_EQ(last, 1);
  }
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_THROW(RunInMemory(job, TheHostState(), {stopped.get_token()}), Cancelled);
  EXPECT_EQ(gpSelectedProc, nullptr);
}

}  // namespace
}  // namespace lumomixcalc::standalone
