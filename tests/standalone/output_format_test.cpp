#include "standalone/rasters/output_format.h"

#include <gtest/gtest.h>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

class OutputFormatTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { GDALAllRegister(); }
};

TEST_F(OutputFormatTest, FollowsTheNameThenTheExtensionThenIsGTiff) {
  const struct {
    const char* name;
    const char* path;
    const char* format;
  } kCases[] = {{"", "x.tif", "GTiff"},     {"", "x.TIFF", "GTiff"},    {"", "x.png", "PNG"},
                {"", "dir.png/x", "GTiff"}, {"", "x.unheard", "GTiff"}, {"", ".png", "GTiff"},
                {"ENVI", "x.tif", "ENVI"},  {"envi", "x.img", "ENVI"}};
  for (const auto& c : kCases)
    EXPECT_EQ(ChooseOutputFormat(c.name, c.path).Name(), c.format) << c.name << " " << c.path;
}

TEST_F(OutputFormatTest, KnowsWhichCanOnlyCopy) {
  EXPECT_FALSE(ChooseOutputFormat("GTiff", "x").copiesOnly);
  EXPECT_TRUE(ChooseOutputFormat("PNG", "x").copiesOnly);
}

TEST_F(OutputFormatTest, RefusesWhatHoldsNoPixelsOfItsOwn) {
  for (const char* name : {"VRT", "MEM", "HDF5", "nonsense"})
    EXPECT_THROW(ChooseOutputFormat(name, "x"), WrongCommandLine) << name;
  EXPECT_THROW(ChooseOutputFormat("", "x.vrt"), WrongCommandLine);
}

TEST_F(OutputFormatTest, ChecksCreationOptionsBeforeAnyWork) {
  const OutputFormat tiff = ChooseOutputFormat("GTiff", "x");
  EXPECT_NO_THROW(CheckCreationOptions(tiff, {"COMPRESS=DEFLATE", "TILED=YES"}));
  EXPECT_THROW(CheckCreationOptions(tiff, {"COMPRESSION=LZW"}), WrongCommandLine);
  EXPECT_THROW(CheckCreationOptions(tiff, {"COMPRESS=FOO"}), WrongCommandLine);
}

TEST_F(OutputFormatTest, EveryModeFitsGTiffAndEnviAndFewFitPng) {
  for (const DataMode& mode : DataModes()) {
    EXPECT_NO_THROW(CheckThatFormatHolds(ChooseOutputFormat("GTiff", "x"), mode)) << mode.name;
    const OutputFormat png = ChooseOutputFormat("PNG", "x");
    if (mode.type == GDT_Byte || mode.type == GDT_UInt16)
      EXPECT_NO_THROW(CheckThatFormatHolds(png, mode)) << mode.name;
    else
      EXPECT_THROW(CheckThatFormatHolds(png, mode), Failure) << mode.name;
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
