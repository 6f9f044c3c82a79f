#include "standalone/statistics.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumomixcalc::standalone {
namespace {

class StoreStatisticsTest : public testing::Test {
 protected:
  void SetUp() override {
    GDALAllRegister();
    dataset_.reset(
        GetGDALDriverManager()->GetDriverByName("MEM")->Create("", 1, 1, 1, GDT_Float32, nullptr));
  }
  std::string Stored(const BandStatistics& statistics, const char* mode) {
    GDALRasterBand& band = *dataset_->GetRasterBand(1);
    StoreStatistics(statistics, *FindDataMode(mode), band);
    const char* const minimum = band.GetMetadataItem("STATISTICS_MINIMUM");
    if (!minimum) return "";
    return std::string(minimum) + " " + band.GetMetadataItem("STATISTICS_MAXIMUM") + " " +
           band.GetMetadataItem("STATISTICS_MEAN");
  }
  GDALDatasetUniquePtr dataset_;
};

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST_F(StoreStatisticsTest, StoresTheRecordOfARealFloatBand) {
  EXPECT_EQ(Stored({{-1.25F, 0.1F, 3}, 4, {}}, "float32"), "-1.25 0.1 0.75");
}

TEST_F(StoreStatisticsTest, RoundsTheExtremesOfAnIntegerBand) {
  EXPECT_EQ(Stored({{0.6F, 7.4F, 10}, 4, {}}, "byte"), "1 7 2.5");
}

TEST_F(StoreStatisticsTest, StoresNothingThatIsNotTrueOfTheBand) {
  EXPECT_EQ(Stored({{0, 1, kNan}, 4, {}}, "float32"), "");
  EXPECT_EQ(Stored({{kNan, 1, 1}, 4, {}}, "float32"), "");
  EXPECT_EQ(Stored({{0, std::numeric_limits<float>::infinity(), 1}, 4, {}}, "float32"), "");
  EXPECT_EQ(Stored({{0, 300, 600}, 4, {1, 0}}, "byte"), "");
  EXPECT_EQ(Stored({{0, 3, 6}, 4, {0, 1}}, "byte"), "");
  EXPECT_EQ(Stored({{0, 3, 6}, 4, {}}, "cfloat32"), "");
}

TEST(StatisticsLine, ShowsNumbersInFull) {
  EXPECT_EQ(StatisticsLine(2, {{-0.1F, 16777216, 1}, 4, {}}),
            "band 2: minimum -0.1, maximum 16777216, mean 0.25, sum 1");
  EXPECT_EQ(StatisticsLine(1, {{kNan, 2, kNan}, 4, {}}),
            "band 1: minimum nan, maximum 2, mean nan, sum nan");
}

}  // namespace
}  // namespace lumomixcalc::standalone
