#include "standalone/runs/statistics.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumomixcalc::standalone {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

// Four elements of these statistics, of which noData are no data.
BandStatistics Of(float minimum, float maximum, double sum, std::uint64_t noData = 0,
                  const UnheldElements& unheld = {}) {
  BandStatistics statistics;
  statistics.valid = {minimum, maximum, sum, 4 - noData, noData};
  statistics.unheld = unheld;
  return statistics;
}

class StoreStatisticsTest : public testing::Test {
 protected:
  void SetUp() override {
    GDALAllRegister();
    dataset_.reset(
        GetGDALDriverManager()->GetDriverByName("MEM")->Create("", 1, 1, 1, GDT_Float32, nullptr));
  }
  const char* Item(const char* name) { return dataset_->GetRasterBand(1)->GetMetadataItem(name); }
  std::string Stored(const BandStatistics& statistics, const char* mode) {
    StoreStatistics(statistics, *FindDataMode(mode), *dataset_->GetRasterBand(1));
    if (!Item("STATISTICS_MINIMUM")) return "";
    return std::string(Item("STATISTICS_MINIMUM")) + " " + Item("STATISTICS_MAXIMUM") + " " +
           Item("STATISTICS_MEAN");
  }
  GDALDatasetUniquePtr dataset_;
};

TEST_F(StoreStatisticsTest, StoresThoseOfARealFloatBand) {
  EXPECT_EQ(Stored(Of(-1.25F, 0.1F, 3), "float32"), "-1.25 0.1 0.75");
  EXPECT_EQ(Item("STATISTICS_VALID_PERCENT"), nullptr);
}

TEST_F(StoreStatisticsTest, LeavesNoDataOutAndTellsItsShare) {
  EXPECT_EQ(Stored(Of(1, 2, 3, 1), "float32"), "1 2 1");
  EXPECT_STREQ(Item("STATISTICS_VALID_PERCENT"), "75");
}

TEST_F(StoreStatisticsTest, RoundsTheExtremesOfAnIntegerBand) {
  EXPECT_EQ(Stored(Of(0.6F, 7.4F, 10), "byte"), "1 7 2.5");
}

TEST_F(StoreStatisticsTest, StoresNothingThatIsNotTrueOfTheBand) {
  EXPECT_EQ(Stored(Of(kInf, -kInf, 0, 4), "float32"), "");
  EXPECT_EQ(Stored(Of(0, kInf, 1), "float32"), "");
  EXPECT_EQ(Stored(Of(0, 300, 600, 0, {1, 0, 0}), "byte"), "");
  EXPECT_EQ(Stored(Of(0, 3, 6, 0, {0, 1, 0}), "byte"), "");
  EXPECT_EQ(Stored(Of(0, 3, 6, 0, {0, 0, 1}), "byte"), "");
  EXPECT_EQ(Stored(Of(0, 3, 6), "cfloat32"), "");
}

TEST(StatisticsLine, ShowsNumbersInFull) {
  EXPECT_EQ(StatisticsLine(2, Of(-0.1F, 16777216, 1)),
            "band 2: minimum -0.1, maximum 16777216, mean 0.25, sum 1");
  EXPECT_EQ(StatisticsLine(1, Of(-0.1F, 2, 1, 2)),
            "band 1: minimum -0.1, maximum 2, mean 0.5, sum 1, 2 no data");
  EXPECT_EQ(StatisticsLine(1, Of(kInf, -kInf, 0, 4)), "band 1: all 4 elements are no data");
}

}  // namespace
}  // namespace lumomixcalc::standalone
