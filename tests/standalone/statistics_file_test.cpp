#include "standalone/runs/statistics_file.h"

#include <cpl_json.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

namespace fs = std::filesystem;

CPLJSONObject Parsed(const std::string& text) {
  CPLJSONDocument document;
  EXPECT_TRUE(document.LoadMemory(text));
  return document.GetRoot();
}

RunReport ReportOfOneBand(const BandStatistics& band) {
  return {"lumomixcalc 'a \"b\".tif' o", "o", "GTiff", "float32", 4, 1, 0.5, {band}};
}

TEST(ReportAsJson, HoldsEveryFloatExactlyAndTheRecordApart) {
  BandStatistics band;
  band.valid = {-0.1F, 3.4028235e38F, 0.1, 3, 1};
  band.unheld = {1, 2, 3};
  band.record = {-0.1F, 3.4028235e38F, std::numeric_limits<float>::quiet_NaN()};
  const CPLJSONObject root = Parsed(ReportAsJson(ReportOfOneBand(band)));
  EXPECT_EQ(root.GetString("command"), "lumomixcalc 'a \"b\".tif' o");
  EXPECT_EQ(root.GetInteger("columns"), 4);
  EXPECT_EQ(root.GetDouble("seconds"), 0.5);
  const CPLJSONObject first = root.GetArray("bands")[0];
  EXPECT_EQ(first.GetLong("elements"), 4);
  EXPECT_EQ(first.GetLong("valid"), 3);
  EXPECT_EQ(first.GetLong("no_data"), 1);
  EXPECT_EQ(first.GetLong("saturated"), 1);
  EXPECT_EQ(first.GetLong("moved"), 2);
  EXPECT_EQ(first.GetLong("zeroed"), 3);
  EXPECT_EQ(static_cast<float>(first.GetDouble("minimum")), -0.1F);
  EXPECT_EQ(static_cast<float>(first.GetDouble("maximum")), 3.4028235e38F);
  EXPECT_EQ(first.GetDouble("sum"), 0.1);
  EXPECT_EQ(first.GetDouble("mean"), 0.1 / 3);
  EXPECT_EQ(first.GetString("record/sum"), "nan");
}

TEST(ReportAsJson, LeavesOutWhatNoValidElementDefines) {
  BandStatistics band;
  band.valid.noData = 4;
  const CPLJSONObject root = Parsed(ReportAsJson(ReportOfOneBand(band)));
  const CPLJSONObject first = root.GetArray("bands")[0];
  EXPECT_EQ(first.GetLong("valid"), 0);
  EXPECT_FALSE(first.GetObj("minimum").IsValid());
  EXPECT_EQ(first.GetString("record/minimum"), "inf");
}

TEST(WriteReport, ReplacesAFileWholeAndLeavesNothingBeside) {
  const fs::path folder = fs::temp_directory_path() / "statistics_file_test";
  fs::remove_all(folder);
  fs::create_directory(folder);
  const std::string file = folder / "s.json";
  std::ofstream(file) << "something much longer";
  WriteReport("{}\n", file);
  std::ifstream stream(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "{}\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
  EXPECT_NO_THROW(CheckReportPath(file));
  EXPECT_NO_THROW(CheckReportPath("-"));
  EXPECT_THROW(CheckReportPath(folder), Failure);
  EXPECT_THROW(CheckReportPath(folder / "missing" / "s.json"), Failure);
  EXPECT_THROW(WriteReport("{}", "/dev/full"), Failure);
  fs::remove_all(folder);
}

}  // namespace
}  // namespace lumomixcalc::standalone
