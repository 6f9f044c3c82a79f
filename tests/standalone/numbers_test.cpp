#include "standalone/command_line/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

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
  const struct {
    const char* argument;
    int count;  // negative for any negative one
    float real = 7;
    float imaginary = 8;
  } kCases[] = {{"-a=2", 1, 2, 0},
                {"-a=-1:0.5", 2, -1, 0.5F},
                {"-a=+1e2:+3", 2, 100, 3},
                {"-a=", -1},
                {"-a=1:", -1},
                {"-a=:1", -1},
                {"-a=1:2:3", -1},
                {"-a=x", -1},
                {"-a=1:x", -1},
                {"-a=1,5", -1},
                {"-a=1 ", -1},
                {"-a=1e99", -1},
                {"-a=1:2:", -1},
                {"-a", 0},
                {"a=1", 0},
                {"-A=1", 0},
                {"-b=1", 0},
                {"-aa=1", 0},
                {"--a=1", 0},
                {"", 0}};
  for (const auto& c : kCases) {
    float values[2] = {7, 8};
    const int count = ParseRealArgument(c.argument, "a", 2, values);
    EXPECT_EQ(std::max(count, -1), c.count) << c.argument;
    EXPECT_EQ(values[0], c.real) << c.argument;
    EXPECT_EQ(values[1], c.imaginary) << c.argument;
  }
}

}  // namespace
}  // namespace lumomixcalc::standalone
