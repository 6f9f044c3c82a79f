#include "standalone/rasters/integer_output.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

template <typename Integer>
std::vector<Integer> Stored(const std::vector<float>& values, const char* mode,
                            UnheldElements& counts, std::optional<double> noData = {}) {
  std::vector<Integer> out(values.size());
  StoreAsIntegers(values, *FindDataMode(mode), noData, out.data(), counts);
  return out;
}

TEST(StoreAsIntegers, RoundsToNearestAndTiesToEven) {
  UnheldElements counts;
  EXPECT_EQ(Stored<std::int16_t>({0.5F, 1.5F, 2.5F, -0.5F, -1.5F, 0.49999997F, 2.6F, -2.6F},
                                 "int16", counts),
            (std::vector<std::int16_t>{0, 2, 2, 0, -2, 0, 3, -3}));
  EXPECT_EQ(counts.saturated, 0U);
  EXPECT_EQ(counts.nan, 0U);
}

TEST(StoreAsIntegers, CountsAsSaturatedWhatRoundsOutOfRange) {
  UnheldElements counts;
  EXPECT_EQ(
      Stored<std::uint8_t>({255, 255.4F, 255.5F, 256, -0.5F, -0.6F, kInf, -kInf}, "byte", counts),
      (std::vector<std::uint8_t>{255, 255, 255, 255, 0, 0, 255, 0}));
  EXPECT_EQ(counts.saturated, 5U);
}

TEST(StoreAsIntegers, SaturatesAtTheEndsOf32Bits) {
  // The float nearest to 2^31 - 1 is 2^31, which is out of range.
  UnheldElements counts;
  EXPECT_EQ(Stored<std::int32_t>({2147483648.0F, 2147483520.0F, -2147483648.0F, -2147483904.0F},
                                 "int32", counts),
            (std::vector<std::int32_t>{2147483647, 2147483520, -2147483647 - 1, -2147483647 - 1}));
  EXPECT_EQ(counts.saturated, 2U);
  EXPECT_EQ(Stored<std::uint32_t>({4294967296.0F, 4294967040.0F, -1}, "uint32", counts),
            (std::vector<std::uint32_t>{4294967295U, 4294967040U, 0}));
  EXPECT_EQ(counts.saturated, 4U);
}

TEST(StoreAsIntegers, StoresNanAsZeroAndCountsItApart) {
  UnheldElements counts;
  EXPECT_EQ(Stored<std::uint16_t>({kNan, 70000, 1}, "uint16", counts),
            (std::vector<std::uint16_t>{0, 65535, 1}));
  EXPECT_EQ(counts.nan, 1U);
  EXPECT_EQ(counts.saturated, 1U);
}

TEST(StoreAsIntegers, CountsAComplexElementOnce) {
  UnheldElements counts;
  EXPECT_EQ(Stored<std::int16_t>({1e6F, -1e6F, 1, 2, 0, 1e6F, kNan, kNan}, "cint16", counts),
            (std::vector<std::int16_t>{32767, -32768, 1, 2, 0, 32767, 0, 0}));
  EXPECT_EQ(counts.saturated, 2U);
  EXPECT_EQ(counts.nan, 1U);
}

TEST(StoreAsIntegers, KeepsTheNoDataValueForNanAlone) {
  UnheldElements counts;
  EXPECT_EQ(Stored<std::int16_t>({kNan, -32768, -40000, -5, 0}, "int16", counts, -32768),
            (std::vector<std::int16_t>{-32768, -32767, -32767, -5, 0}));
  EXPECT_EQ(counts.nan, 0U);
  EXPECT_EQ(counts.moved, 2U);
  EXPECT_EQ(counts.saturated, 1U);
  EXPECT_EQ(Stored<std::uint8_t>({kNan, 0, 255}, "byte", counts, 0),
            (std::vector<std::uint8_t>{0, 1, 255}));
  EXPECT_EQ(Stored<std::uint8_t>({kNan, 0, 255}, "byte", counts, 255),
            (std::vector<std::uint8_t>{255, 0, 254}));
}

}  // namespace
}  // namespace lumomixcalc::standalone
