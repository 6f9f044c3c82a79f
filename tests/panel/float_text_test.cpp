#include "standalone/panel/float_text.h"

#include <gtest/gtest.h>

#include <utility>

namespace lumomixcalc::standalone {
namespace {

// Apart from what ParseFloat understands.
TEST(ParseTypedFloat, UnderstandsWhatPeopleTypeAndPasteAndNothingDoubtful) {
  const std::pair<const char*, float> kUnderstood[] = {{"1,5", 1.5F},   {" -3 ", -3},
                                                       {"1,5E+2", 150}, {",5", 0.5F},
                                                       {"\u22122", -2}, {"\t16777217\n", 16777216}};
  for (const auto& [text, value] : kUnderstood) EXPECT_EQ(ParseTypedFloat(text), value) << text;
  for (const char* text : {"", " ", "1,234.5", "1.234,5", "1,2,3", "1 000", "1d3", "1.5i"})
    EXPECT_EQ(ParseTypedFloat(text), std::nullopt) << text;
}

}  // namespace
}  // namespace lumomixcalc::standalone
