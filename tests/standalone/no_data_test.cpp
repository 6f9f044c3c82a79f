#include "standalone/rasters/no_data.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

std::vector<bool> NanAfterMasking(std::vector<float> values, bool complex, double noData) {
  MaskNoData(values, complex, noData);
  std::vector<bool> nan;
  nan.reserve(values.size());
  for (const float value : values) nan.push_back(std::isnan(value));
  return nan;
}

TEST(MaskNoData, ComparesInSinglePrecision) {
  using Bools = std::vector<bool>;
  EXPECT_EQ(NanAfterMasking({-9999, -9998, 0}, false, -9999), (Bools{true, false, false}));
  EXPECT_EQ(NanAfterMasking({0.1F, 0.2F}, false, 0.1), (Bools{true, false}));
  EXPECT_EQ(NanAfterMasking({-INFINITY, -3.4e38F}, false, -1.7976931348623157e308),
            (Bools{true, false}));
  EXPECT_EQ(NanAfterMasking({-0.0F, 1}, false, 0), (Bools{true, false}));
}

TEST(MaskNoData, MasksWholeComplexElements) {
  using Bools = std::vector<bool>;
  EXPECT_EQ(NanAfterMasking({-9, 0, -9, -9, -9, 1, 0, -9}, true, -9),
            (Bools{true, true, true, true, false, false, false, false}));
  EXPECT_EQ(NanAfterMasking({0, 0, 0, 1}, true, 0), (Bools{true, true, false, false}));
}

TEST(IntegerNoData, IsTheDeclaredValueWhereTheModeHoldsIt) {
  const struct {
    const char* mode;
    double declared;
    double stored;
  } kCases[] = {{"int16", -9999, -9999}, {"byte", -9999, 255},          {"byte", 255, 255},
                {"int16", NAN, -32768},  {"int32", 1.5, -2147483648.0}, {"uint16", 65536, 65535}};
  for (const auto& c : kCases)
    EXPECT_EQ(IntegerNoData(*FindDataMode(c.mode), c.declared), c.stored) << c.mode;
}

TEST(DeclaredNoData, ReadsBandsOf64BitIntegersToo) {
  GDALAllRegister();
  GDALDriver* const memory = GetGDALDriverManager()->GetDriverByName("MEM");
  for (const GDALDataType type : {GDT_Byte, GDT_Float64, GDT_Int64, GDT_UInt64}) {
    const GDALDatasetUniquePtr dataset(memory->Create("", 1, 1, 1, type, nullptr));
    GDALRasterBand& band = *dataset->GetRasterBand(1);
    EXPECT_FALSE(DeclaredNoData(band)) << GDALGetDataTypeName(type);
    if (type == GDT_Int64)
      band.SetNoDataValueAsInt64(7);
    else if (type == GDT_UInt64)
      band.SetNoDataValueAsUInt64(7);
    else
      band.SetNoDataValue(7);
    EXPECT_EQ(DeclaredNoData(band), 7) << GDALGetDataTypeName(type);
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
