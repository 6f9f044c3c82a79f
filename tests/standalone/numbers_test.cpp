#include "standalone/base/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

TEST(ParseFloat, ReadsDecimals) {
  const std::pair<const char*, float> kCases[] = {
      {"0", 0},          {"-2.5", -2.5F}, {"+3", 3},          {".5", 0.5F},
      {"5.", 5},         {"1e3", 1000},   {"1E-3", 0.001F},   {"3.4028235e38", 3.4028235e38F},
      {"1e-45", 1e-45F}, {"0.1", 0.1F},   {"-inf", -INFINITY}};
  for (const auto& [text, value] : kCases) EXPECT_EQ(ParseFloat(text), value) << text;
  EXPECT_TRUE(std::signbit(ParseFloat("-0").value()));
  EXPECT_TRUE(std::isnan(ParseFloat("nan").value()));
}

TEST(ParseFloat, RefusesWhatIsNotWhollyANumberInRange) {
  for (const char* text : {"", "+", "-", "x", "1x", " 1", "1 ", "1,5", "1.5.2", "--1", "+-1", "++1",
                           "0x10", "1e", "3.5e38", "-1e39", "1e-50", "one"})
    EXPECT_FALSE(ParseFloat(text)) << "'" << text << "'";
}

TEST(ParseRealArgument, StoresTheNumbersOfAWellFormedOptionAlone) {
  std::vector<float> values = {7, 8};
  for (const char* malformed : {"-a=", "-a=1:", "-a=:1", "-a=1:2:3", "-a=1:x", "-a=1 ", "-a=1:2:"})
    EXPECT_LT(ParseRealArgument(malformed, "a", 2, values.data()), 0) << malformed;
  for (const char* other : {"-a", "a=1", "-A=1", "-b=1", "-aa=1", "--a=1", ""})
    EXPECT_EQ(ParseRealArgument(other, "a", 2, values.data()), 0) << other;
  EXPECT_EQ(values, (std::vector<float>{7, 8}));
  EXPECT_EQ(ParseRealArgument("-a=-1:+0.5", "a", 2, values.data()), 2);
  EXPECT_EQ(values, (std::vector<float>{-1, 0.5F}));
  EXPECT_EQ(ParseRealArgument("-a=2", "a", 2, values.data()), 1);
  EXPECT_EQ(values, (std::vector<float>{2, 0}));
}

}  // namespace
}  // namespace lumomixcalc::standalone
