#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/app/expected_catalogue.h"
#include "tests/app/recording_host.h"

namespace lumomixcalc {
namespace {

using CommandLineTest = ApplicationTest;

Calls Read(const std::vector<std::string>& arguments) {
  gHost.arguments = arguments;
  return gHost.CallBack(IP_SLOT_READ_CMD_LINE);
}

// What the host hears of faulty arguments: each message at once followed by a desist.
Calls Complaints(const std::vector<std::string>& messages) {
  Calls calls;
  for (const std::string& message : messages) {
    calls.push_back("IPDisplayMessage(\"" + message + "\", 10)");
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
      {{"-a=-2:3e-5", "-b=4"}, {}, {{-2, 3e-5F}, {4, 0}}},
      {{"-clamp", "-a=3", "-operator=a1b", "-b=4:5"}, {}, {{3, 0}, {4, 5}, 9, 1}},
      {{"-a="}, {kNeedsA}, {}},
      {{"-b=5:6:7"}, {kNeedsB}, {.b = {5, 6}}},
      // Operator names are matched whole and byte for byte; the last valid one wins.
      {{"-operator=A1B"}, {"Unrecognized operator A1B"}, {}},
      {{"-operator='a1b'"}, {"Unrecognized operator 'a1b'"}, {}},
      {{"-operator=a1"}, {"Unrecognized operator a1"}, {}},
      {{"-operator=a1b2x"}, {"Unrecognized operator a1b2x"}, {}},
      {{"-operator="}, {"Unrecognized operator "}, {}},
      {{"-operator=a1b", "-operator=%s"}, {"Unrecognized operator %s"}, {.operation = 9}},
      {{"-operator"}, {"Unrecognized option -operator"}, {}},
      {{"-Operator=a1b"}, {"Unrecognized option -Operator=a1b"}, {}},
      {{"-clamp=1"}, {"Unrecognized option -clamp=1"}, {}},
      {{"-clam"}, {"Unrecognized option -clam"}, {}},
      {{"-" + longText}, {"Unrecognized option -" + longText}, {}},
      // All faults are shown, in order, and valid arguments between and after them count.
      {{"-q", "-a=7", "-b=", "-operator=none", "-clamp", "-a=y", "-operator=a_ln_1+b"},
       {"Unrecognized option -q", kNeedsB, "Unrecognized operator none", kNeedsA},
       {.a = {7, 0}, .operation = 11, .clamp = 1}},
  };
  for (const auto& [arguments, messages, expected] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments).substr(0, 100));
    SetParameters({});
    EXPECT_EQ(Read(arguments), Complaints(messages));
    EXPECT_EQ(GetParameters(), expected);
  }
}

TEST_F(CommandLineTest, ShowsTheFaultAloneWithoutMemoryForTheArgument) {
  gHost.outOfMemory = true;
  const Calls calls = Read({"-x", "-operator=sum", "-clamp"});
  gHost.outOfMemory = false;
  EXPECT_EQ(calls, Complaints({"Unrecognized option", "Unrecognized operator"}));
  EXPECT_EQ(GetParameters().clamp, 1);
}

TEST_F(CommandLineTest, ShowsItsPartOfTheUsageText) {
  EXPECT_EQ(gHost.CallBack(IP_SLOT_DISPLAY_USAGE),
            (Calls{
                R"(IPDisplayMessage("Application-specific arguments:", 10))",
                R"(IPDisplayMessage("     [-a=real[:imaginary]] [-b=real[:imaginary]] \", 10))",
                R"(IPDisplayMessage("     [-operator=op] [-clamp]", 10))",
            }));
}

// Over floats of every kind, which are written as by printf's %g in the C locale.
void ExpectOptionsThatReproduceTheParameters() {
  std::mt19937 random;
  const auto draw = [&] {
    static constexpr std::array kSpecial = {INFINITY, -INFINITY, -0.0F, 999999.5F, 1e-45F};
    return random() % 8 == 0 ? kSpecial[random() % kSpecial.size()]
                             : std::bit_cast<float>(static_cast<std::uint32_t>(random()));
  };
  for (std::int32_t run = 0; run < 20000; ++run) {
    const Parameters p = {{draw(), draw()}, {draw(), draw()}, run % 13, run % 3 - 1};
    std::ostringstream a;
    std::ostringstream b;
    a << "IPAppendCommand(\"-a=" << p.a[0] << ":" << p.a[1] << "\")";
    b << "IPAppendCommand(\"-b=" << p.b[0] << ":" << p.b[1] << "\")";
    const std::string name = kExpectedOperators[p.operation].commandName;
    Calls expected = {a.str(), b.str(), "IPAppendCommand(\"-operator='" + name + "'\")"};
    if (p.clamp != 0) expected.emplace_back("IPAppendCommand(\"-clamp\")");
    SetParameters(p);
    ASSERT_EQ(gHost.CallBack(IP_SLOT_WRITE_CMD_LINE), expected);
    SetParameters({.operation = 12 - p.operation});
    Read({"-operator=" + name});
    ASSERT_EQ(GetParameters(), Parameters{.operation = p.operation});
  }
}

TEST_F(CommandLineTest, WritesTheOptionsThatReproduceTheParameters) {
  ExpectOptionsThatReproduceTheParameters();
}

TEST_F(CommandLineTest, WritesADecimalPointInEveryLocale) {
  setenv("LOCPATH", LUMOMIXCALC_TEST_LOCALES, 1);
  const char* locale = std::setlocale(LC_ALL, "de_DE.UTF-8");
  unsetenv("LOCPATH");
  for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
    if (locale == nullptr) locale = std::setlocale(LC_ALL, name);
  }
  if (locale == nullptr) GTEST_SKIP() << "no locale with a decimal comma";
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  ExpectOptionsThatReproduceTheParameters();
  std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace lumomixcalc
