#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "tests/app/recording_host.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

using CommandLineTest = ApplicationTest;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

void Read(std::vector<std::string> arguments) {
  gHost.arguments = std::move(arguments);
  gHost.said.clear();
  gHost.CallBack(IP_SLOT_READ_CMD_LINE);
}

// What the host hears of faulty arguments: each message at once followed by a desist.
Calls Complaints(const std::vector<std::string>& messages) {
  Calls calls;
  for (const std::string& message : messages) {
    calls.push_back(Message(message));
    calls.push_back("IPDesist()");
  }
  return calls;
}

constexpr const char* kNeedsA = "-a requires one or two real-valued arguments";
constexpr const char* kNeedsB = "-b requires one or two real-valued arguments";

TEST_F(CommandLineTest, EveryArgumentIsAppliedOrReported) {
  const std::string longText(5000, 'x');
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> messages;
    Parameters expected;
  } cases[] = {
      {{}, {}, {}},
      {{"-a=2.5"}, {}, {.a = {2.5F, 0.0F}}},
      {{"-a=-2:3e-5"}, {}, {.a = {-2.0F, 3e-5F}}},
      {{"-a=1:9", "-a=2"}, {}, {.a = {2.0F, 9.0F}}},
      {{"-b=4"}, {}, {.b = {4.0F, 0.0F}}},
      {{"-b=-1:0.25"}, {}, {.b = {-1.0F, 0.25F}}},
      {{"-clamp"}, {}, {.clamp = 1}},
      {{"-clamp", "-a=3", "-operator=a1b", "-b=4:5"}, {}, {{3, 0}, {4, 5}, 9, 1}},
      // Malformed coefficients keep what the host stored of them.
      {{"-a="}, {kNeedsA}, {}},
      {{"-a=x"}, {kNeedsA}, {}},
      {{"-a=5:x"}, {kNeedsA}, {.a = {5.0F, 0.0F}}},
      {{"-a=5:6:7"}, {kNeedsA}, {.a = {5.0F, 6.0F}}},
      {{"-b="}, {kNeedsB}, {}},
      {{"-b=1,5"}, {kNeedsB}, {}},
      {{"-b=5:6:7"}, {kNeedsB}, {.b = {5.0F, 6.0F}}},
      // Operator names are matched whole and byte for byte; the last valid one wins.
      {{"-operator=A1B"}, {"Unrecognized operator A1B"}, {}},
      {{"-operator='a1b'"}, {"Unrecognized operator 'a1b'"}, {}},
      {{"-operator=a1"}, {"Unrecognized operator a1"}, {}},
      {{"-operator=a1b2x"}, {"Unrecognized operator a1b2x"}, {}},
      {{"-operator= a1b"}, {"Unrecognized operator  a1b"}, {}},
      {{"-operator="}, {"Unrecognized operator "}, {}},
      {{"-operator=%s%n"}, {"Unrecognized operator %s%n"}, {}},
      {{"-operator=a1b", "-operator=a/b2"}, {}, {.operation = 10}},
      {{"-operator=a1b", "-operator=sum"}, {"Unrecognized operator sum"}, {.operation = 9}},
      // Everything else.
      {{"-x"}, {"Unrecognized option -x"}, {}},
      {{"-operator"}, {"Unrecognized option -operator"}, {}},
      {{"-operatorx=a1b"}, {"Unrecognized option -operatorx=a1b"}, {}},
      {{"--operator=a1b"}, {"Unrecognized option --operator=a1b"}, {}},
      {{"-Operator=a1b"}, {"Unrecognized option -Operator=a1b"}, {}},
      {{"-clamp=1"}, {"Unrecognized option -clamp=1"}, {}},
      {{"-clampx"}, {"Unrecognized option -clampx"}, {}},
      {{"-clam"}, {"Unrecognized option -clam"}, {}},
      {{"-c=1"}, {"Unrecognized option -c=1"}, {}},
      {{""}, {"Unrecognized option "}, {}},
      {{"-" + longText}, {"Unrecognized option -" + longText}, {}},
      // All faults are shown, in order, and valid arguments between and after them count.
      {{"-q", "-a=7", "-b=", "-operator=none", "-clamp", "-a=y", "-operator=a_ln_1+b"},
       {"Unrecognized option -q", kNeedsB, "Unrecognized operator none", kNeedsA},
       {.a = {7.0F, 0.0F}, .operation = 11, .clamp = 1}},
  };
  for (const auto& [arguments, messages, expected] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments).substr(0, 100));
    SetParameters({});
    Read(arguments);
    EXPECT_EQ(gHost.said, Complaints(messages));
    EXPECT_TRUE(std::equal(expected.a, expected.a + 2, gCoeffA)) << gCoeffA[0] << gCoeffA[1];
    EXPECT_TRUE(std::equal(expected.b, expected.b + 2, gCoeffB)) << gCoeffB[0] << gCoeffB[1];
    EXPECT_EQ(gOperationChoice, expected.operation);
    EXPECT_EQ(gClampAtZero, expected.clamp);
  }
}

TEST_F(CommandLineTest, EveryOperatorIsReadAndWrittenByItsName) {
  gClampAtZero = 1;  // which no option switches off
  for (std::int32_t op = 0; op < 13; ++op) {
    const std::string name = kExpectedOperators[op].commandName;
    gOperationChoice = op == 0 ? 12 : 0;
    Read({"-operator=" + name});
    EXPECT_EQ(gHost.said, Calls{}) << name;
    EXPECT_EQ(gOperationChoice, op) << name;
    gHost.CallBack(IP_SLOT_WRITE_CMD_LINE);
    EXPECT_EQ(gHost.said.at(2), "IPAppendCommand(\"-operator='" + name + "'\")");
    EXPECT_EQ(gHost.said.at(3), "IPAppendCommand(\"-clamp\")");
  }
}

// The host decides first whether an argument is a coefficient, and is asked for no argument twice.
TEST_F(CommandLineTest, AsksTheHostForEachArgumentAndForItsReadingAsACoefficient) {
  Read({"-a=1", "-b=x", "-clamp"});
  EXPECT_EQ(gHost.asked, (Calls{
                             "IPGetArg(1)",
                             R"(IPParseRealArg("-a=1", "a", 2, &gCoeffA[0]))",
                             "IPGetArg(2)",
                             R"(IPParseRealArg("-b=x", "a", 2, &gCoeffA[0]))",
                             R"(IPParseRealArg("-b=x", "b", 2, &gCoeffB[0]))",
                             "IPGetArg(3)",
                             R"(IPParseRealArg("-clamp", "a", 2, &gCoeffA[0]))",
                             R"(IPParseRealArg("-clamp", "b", 2, &gCoeffB[0]))",
                             "IPGetArg(4)",
                         }));
}

TEST_F(CommandLineTest, ShowsTheFaultAloneWithoutMemoryForTheArgument) {
  gHost.outOfMemory = true;
  Read({"-x", "-operator=sum", "-clamp"});
  gHost.outOfMemory = false;
  EXPECT_EQ(gHost.said, Complaints({"Unrecognized option", "Unrecognized operator"}));
  EXPECT_EQ(gClampAtZero, 1);
}

TEST_F(CommandLineTest, ShowsItsPartOfTheUsageText) {
  gHost.CallBack(IP_SLOT_DISPLAY_USAGE);
  EXPECT_EQ(gHost.said, (Calls{
                            Message("Application-specific arguments:"),
                            Message("     [-a=real[:imaginary]] [-b=real[:imaginary]] \\"),
                            Message("     [-operator=op] [-clamp]"),
                        }));
}

Calls Written(const Parameters& parameters) {
  SetParameters(parameters);
  gHost.said.clear();
  gHost.CallBack(IP_SLOT_WRITE_CMD_LINE);
  return gHost.said;
}

TEST_F(CommandLineTest, WritesTheOptionsThatReproduceTheParameters) {
  const struct {
    Parameters parameters;
    std::vector<std::string> options;
  } cases[] = {
      {{}, {"-a=1:0", "-b=1:0", "-operator='a1+b2'"}},
      {{{0.1F, 1234567.0F}, {-0.0F, 1e-5F}, 4, 1},
       {"-a=0.1:1.23457e+06", "-b=-0:1e-05", "-operator='a1_conj_b2'", "-clamp"}},
      {{{kInf, -kInf}, {kNan, -kNan}, 10, 0}, {"-a=inf:-inf", "-b=nan:-nan", "-operator='a/b2'"}},
      {{{999999.5F, 100000.0F}, {0.0001F, 1e-45F}, 0, -1},
       {"-a=1e+06:100000", "-b=0.0001:1.4013e-45", "-operator='a1+b2'", "-clamp"}},
  };
  for (const auto& [parameters, options] : cases) {
    Calls expected;
    for (const std::string& option : options) {
      expected.push_back("IPAppendCommand(\"" + option + "\")");
    }
    EXPECT_EQ(Written(parameters), expected);
  }
}

// Numbers are written as printf's %g in the C locale, over floats of every kind.
TEST_F(CommandLineTest, WritesNumbersWithSixSignificantDigits) {
  std::uint32_t bits = 1;
  for (int i = 0; i < 20000; ++i) {
    bits = bits * 1664525U + 1013904223U;
    const float value = std::bit_cast<float>(bits);
    char expected[80];
    std::snprintf(expected, sizeof expected, "IPAppendCommand(\"-a=%g:%g\")",
                  static_cast<double>(value), static_cast<double>(-value));
    ASSERT_EQ(Written({.a = {value, -value}}).at(0), expected);
  }
}

TEST_F(CommandLineTest, WritesADecimalPointInEveryLocale) {
  setenv("LOCPATH", LUMOMIXCALC_TEST_LOCALES, 1);
  const char* locale = std::setlocale(LC_ALL, "de_DE.UTF-8");
  unsetenv("LOCPATH");
  for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
    if (locale == nullptr) locale = std::setlocale(LC_ALL, name);
  }
  if (locale == nullptr) GTEST_SKIP() << "no locale with a decimal comma";
  char comma[8];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  const Calls written = Written({.a = {0.5F, 1234567.0F}});
  std::setlocale(LC_ALL, "C");
  ASSERT_STREQ(comma, "0,5");
  EXPECT_EQ(written.at(0), R"(IPAppendCommand("-a=0.5:1.23457e+06"))");
}

}  // namespace
}  // namespace lumomixcalc
