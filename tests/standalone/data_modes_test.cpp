#include "standalone/rasters/data_modes.h"

#include <gtest/gtest.h>

#include <string>

namespace lumomixcalc::standalone {
namespace {

TEST(DataModes, SourcesOfEveryTypeReportTheirMode) {
  const struct {
    GDALDataType type;
    int code;
  } kCases[] = {{GDT_Byte, 0},   {GDT_Int16, 1},    {GDT_Float32, 2},  {GDT_CInt16, 3},
                {GDT_CInt32, 3}, {GDT_CFloat32, 4}, {GDT_CFloat64, 4}, {GDT_UInt16, 5},
                {GDT_Int32, 6},  {GDT_UInt32, 7},   {GDT_Float64, 8},  {GDT_Int64, 8},
                {GDT_UInt64, 8}};
  for (const auto& c : kCases)
    EXPECT_EQ(DataModeOfType(c.type).code, c.code) << GDALGetDataTypeName(c.type);
}

TEST(DataModes, AgreeWithGdalOnWhatTheirTypesAre) {
  for (const DataMode& mode : DataModes()) {
    EXPECT_EQ(mode.complex, GDALDataTypeIsComplex(mode.type) != 0) << mode.name;
    EXPECT_EQ(mode.integer, GDALDataTypeIsInteger(mode.type) != 0) << mode.name;
    EXPECT_EQ(FindDataMode(mode.name), &mode);
    EXPECT_EQ(&DataModeOf(mode.code), &mode);
    if (!mode.integer) continue;
    const GDALDataType part = GDALGetNonComplexDataType(mode.type);
    EXPECT_EQ(GDALAdjustValueToDataType(part, -1e300, nullptr, nullptr), mode.lowest) << mode.name;
    EXPECT_EQ(GDALAdjustValueToDataType(part, 1e300, nullptr, nullptr), mode.highest) << mode.name;
  }
}

TEST(DataModes, NamesAreMatchedWhole) {
  for (const char* name : {"", "float", "float321", "Float32", "complex"})
    EXPECT_EQ(FindDataMode(name), nullptr) << name;
}

}  // namespace
}  // namespace lumomixcalc::standalone
