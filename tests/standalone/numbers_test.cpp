#include "standalone/command_line/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace lumomixcalc::standalone {
namespace {

TEST(ParseFloat, ReadsDecimals) {
  const struct {
    const char* text;
    float value;
  } kCases[] = {
      {"0", 0},          {"-2.5", -2.5F}, {"+3", 3},        {".5", 0.5F},
      {"5.", 5},         {"1e3", 1000},   {"1E-3", 0.001F}, {"3.4028235e38", 3.4028235e38F},
      {"1e-45", 1e-45F}, {"0.1", 0.1F}};
  for (const auto& c : kCases) {
    const std::optional<float> value = ParseFloat(c.text);
    ASSERT_TRUE(value) << c.text;
    EXPECT_EQ(*value, c.value) << c.text;
  }
  EXPECT_TRUE(std::signbit(ParseFloat("-0").value()));
  EXPECT_EQ(ParseFloat("-inf"), -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(ParseFloat("nan").value()));
}

TEST(ParseFloat, RefusesWhatIsNotWhollyANumberInRange) {
  for (const char* text : {"", "+", "-", "x", "1x", " 1", "1 ", "1,5", "1.5.2", "--1", "+-1", "++1",
                           "0x10", "1e", "3.5e38", "-1e39", "1e-50", "one"})
    EXPECT_FALSE(ParseFloat(text)) << "'" << text << "'";
}

TEST(ParseRealArgument, SetsRealAndImaginaryPart) {
  const struct {
    const char* argument;
    int count;
    float real;
    float imaginary;
  } kCases[] = {{"-a=2", 1, 2, 0}, {"-a=-1:0.5", 2, -1, 0.5F}, {"-a=+1e2:+3", 2, 100, 3}};
  for (const auto& c : kCases) {
    float values[2] = {7, 8};
    EXPECT_EQ(ParseRealArgument(c.argument, "a", 2, values), c.count) << c.argument;
    EXPECT_EQ(values[0], c.real) << c.argument;
    EXPECT_EQ(values[1], c.imaginary) << c.argument;
  }
}

TEST(ParseRealArgument, StoresNothingUnlessWellFormed) {
  const struct {
    const char* argument;
    bool isTheOption;
  } kCases[] = {{"-a=", true},     {"-a=1:", true},   {"-a=:1", true},  {"-a=1:2:3", true},
                {"-a=x", true},    {"-a=1:x", true},  {"-a=1,5", true}, {"-a=1 ", true},
                {"-a=1e99", true}, {"-a=1:2:", true}, {"-a", false},    {"a=1", false},
                {"-A=1", false},   {"-b=1", false},   {"-aa=1", false}, {"--a=1", false},
                {"", false}};
  for (const auto& c : kCases) {
    float values[2] = {7, 8};
    const int count = ParseRealArgument(c.argument, "a", 2, values);
    EXPECT_EQ(count < 0, c.isTheOption) << c.argument;
    EXPECT_EQ(count == 0, !c.isTheOption) << c.argument;
    EXPECT_EQ(values[0], 7) << c.argument;
    EXPECT_EQ(values[1], 8) << c.argument;
  }
}

TEST(ShortestText, ReadsBackAsTheSameFloat) {
  for (const float value : {0.1F, 1.0F / 3, 1e-45F, 3.4028235e38F, -16777216.0F, 123456.79F})
    EXPECT_EQ(ParseFloat(ShortestText(value)), value);
  EXPECT_EQ(ShortestText(0.1F), "0.1");
  EXPECT_EQ(ShortestText(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

}  // namespace
}  // namespace lumomixcalc::standalone
