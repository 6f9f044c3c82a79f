#include "standalone/panel/float_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

#include "standalone/command_line/numbers.h"

namespace lumomixcalc::standalone {
namespace {

// Apart from what ParseFloat understands.
TEST(ParseTypedFloat, UnderstandsWhatPeopleTypeAndPaste) {
  const std::pair<const char*, float> kCases[] = {
      {"1,5", 1.5F}, {" -3 ", -3}, {"1,5E+2", 150}, {",5", 0.5F}, {"\t16777217\n", 16777216}};
  for (const auto& [text, value] : kCases) EXPECT_EQ(ParseTypedFloat(text), value) << text;
  EXPECT_EQ(ParseTypedFloat("\u22122"), -2);
}

TEST(ParseTypedFloat, TakesNothingThatItMayMisunderstand) {
  for (const char* text : {"", " ", "1,234.5", "1.234,5", "1,2,3", "1 000", "1d3", "1.5i"})
    EXPECT_EQ(ParseTypedFloat(text), std::nullopt) << text;
}

TEST(ParseTypedFloat, ReadsBackTheBitsOfWhatAFieldShows) {
  std::mt19937 random(5);
  for (int i = 0; i < 20000; ++i) {
    const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (std::isnan(value)) continue;
    const std::optional<float> read = ParseTypedFloat(ShortestText(value));
    ASSERT_EQ(std::bit_cast<std::uint32_t>(read.value()), std::bit_cast<std::uint32_t>(value));
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
