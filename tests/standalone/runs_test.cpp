// Exact sums, and runs into memory.
#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>

#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/run.h"
#include "standalone/runs/statistics.h"
#include "tests/standalone/command_lines.h"

namespace lumomixcalc::standalone {
namespace {

TEST(ExactSum, RoundsOnce) {
  ExactSum sum;
  // Half a unit in the last place of 1, and what decides to which side it is rounded.
  for (const double value : {1e300, 1.0, 0x1p-53, 0x1p-120, -1e300}) sum.Add(value);
  EXPECT_EQ(sum.Rounded(), 1 + 0x1p-52);
  sum.Add(-0x1p-119);
  EXPECT_EQ(sum.Rounded(), 1);
  sum.Add(INFINITY);
  EXPECT_EQ(sum.Rounded(), INFINITY);
}

TEST(RunInMemory, ComputesTheChosenBandWithNanForNoDataOrCleansUpWhenCancelled) {
  SetUpGdal();
  {
    const GDALDatasetUniquePtr file(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        "/vsimem/a.tif", 90, 4000, 2, GDT_Float32, nullptr));  // more than two strips
    file->GetRasterBand(1)->SetNoDataValue(3);
    file->GetRasterBand(1)->Fill(3);
    file->GetRasterBand(2)->Fill(1000);
  }
  Job job = ReadCommandLine({"-panel", "/vsimem/a.tif", "-operator=a1+b", "-looks=2:2"}).job;
  for (const auto& [band, keepNoData, expected] :
       {std::tuple(1, false, NAN), {1, true, 4}, {2, false, 1001}}) {
    job.bands = {band};
    job.elements.keepNoData = keepNoData;
    double last = 0;
    const auto progress = [&last](double share) {
      EXPECT_GE(share, last);
      last = share;
    };
    const MemoryRaster raster = RunInMemory(job, TheHostState(), {{}, progress});
    EXPECT_EQ(raster.values.size(), 45U * 2000U);
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
