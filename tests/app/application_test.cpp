// What the application calls of its host, in order, and what it takes from it.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "app/parameters.h"
#include "tests/app/recording_host.h"

namespace lumomixcalc {
namespace {

// The thirteen operators as their users know them, spelled out apart from the catalogue itself.
// A command name tells the files that its operator reads.
struct ExpectedOperator {
  const char* label;
  std::string_view commandName;

  bool Reads(char file) const { return commandName.find(file) != std::string_view::npos; }
};

constexpr ExpectedOperator kExpectedOperators[] = {
    {"(A*File1) + (B*File2)", "a1+b2"},
    {"(A*File1) - (B*File2)", "a1-b2"},
    {"(A*File1) * (B*File2)", "a1b2"},
    {"(A*File1) / (B*File2)", "a1/b2"},
    {"(A*File1) * CONJ(B*File2)", "a1_conj_b2"},
    {"ABS(A*File1)", "abs_a1"},
    {"CONJ(A*File1)", "conj_a1"},
    {"A*PHASE(FILE1)", "a_phase_1"},
    {"(A*File1) + B", "a1+b"},
    {"(A*File1) * B", "a1b"},
    {"A / (B*File2)", "a/b2"},
    {"A * LN(FILE1 + B)", "a_ln_1+b"},
    {"(FILE1 + B)**A", "1+b_pow_a"},
};
constexpr auto kExpectedCount = static_cast<std::int32_t>(std::size(kExpectedOperators));

// A and B, both parts, operator and clamp.
using Values = std::tuple<float, float, float, float, std::int32_t, std::int32_t>;
constexpr Values kDefaults = {1, 0, 1, 0, 0, 0};

// The application's parameters, to be read and set.
auto Parameters() {
  return std::tie(gCoeffA[0], gCoeffA[1], gCoeffB[0], gCoeffB[1], gOperationChoice, gClampAtZero);
}

// Each test starts with a fresh host, to which the application has just registered.
class ApplicationTest : public testing::Test {
 protected:
  ApplicationTest() {
    gHost = RecordingHost();
    Parameters() = kDefaults;
    EXPECT_EQ(IPAppSpecifics(), 0);
  }
  ~ApplicationTest() override { CallBack(IP_SLOT_CLEANUP); }

  // Calls the application back as a host does, by slot; returns what it called meanwhile.
  static Calls CallBack(int slot) {
    gHost.calls.clear();
    gHost.routines.at(slot)();
    return std::exchange(gHost.calls, {});
  }

  static Calls ProcData(const IPBlock& block, IPOutputStats& stats) {
    gHost.calls.clear();
    reinterpret_cast<IPProcDataRoutine>(gHost.routines.at(IP_SLOT_PROC_DATA))(&block, &stats);
    return std::exchange(gHost.calls, {});
  }
};
using ApplicationDeathTest = ApplicationTest;

std::string Message(const std::string& text) { return "IPDisplayMessage(\"" + text + "\", 10)"; }

TEST_F(ApplicationTest, RegistersByExactlyTheseCallsInThisOrder) {
  EXPECT_EQ(gHost.calls,
            (Calls{"IPSetIncoreProc()", R"(IPSetMenuTitle("LumoMixcalc"))",
                   "IPSetMenuLoc(450, 400)", R"(IPAddInput(1, "File1", 0, 0, 0, 0))",
                   R"(IPAddInput(2, "File2", 0, 0, 0, 0))", "IPEnableRegionSelection(2)",
                   "IPEnableResolutionSelection()", R"(IPAddOutput(3, " Save", 1, 0, 0, 0))",
                   "IPSetCustRoutine(15, 0)", "IPSetCustRoutine(31, 0)", "IPSetCustRoutine(32, 0)",
                   "IPSetCustRoutine(33, 0)", "IPSetCustRoutine(19, 0)", "IPSetCustRoutine(16, 0)",
                   "IPSetCustRoutine(17, 0)", "IPSetCustRoutine(26, 0)"}));
}

// By labels, keys of the help and limits that hosts know; texts between the fields may change.
TEST_F(ApplicationTest, PanelsFieldsAreBoundToTheParameters) {
  std::string labels;
  for (const ExpectedOperator& op : kExpectedOperators) labels += op.label;
  const std::string format = ", 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)";
  Parameters() = Values{1.5F, 2.5F, 3.5F, 4.5F, 5, 6};
  Calls calls = CallBack(IP_SLOT_SET_MENU);
  std::erase_if(calls, [](const std::string& call) { return !call.starts_with("WMAdd"); });
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("WMAddText"); });
  EXPECT_EQ(calls, (Calls{R"_(WMAddInfoButton("File1 Coeff (A)", "Blendcalc CoeffA"))_",
                          "WMAddFloatField(&1.5" + format, "WMAddFloatField(&2.5" + format,
                          R"_(WMAddInfoButton("File2 Coeff (B)", "Blendcalc CoeffB"))_",
                          "WMAddFloatField(&3.5" + format, "WMAddFloatField(&4.5" + format,
                          R"(WMAddInfoButton("Operator       ", "Blendcalc Operator"))",
                          "WMAddPulldown(\"" + labels + "\", " + std::to_string(kExpectedCount) +
                              ", &5, 0, 0, 0, 0)",
                          R"(WMAddInfoButton("Clamp at 0?    ", "Blendcalc ZeroClamp"))",
                          R"(WMAddToggleButton("", &6, 0, 0, 0, 0))"}));
}

// ---- Command line -------------------------------------------------------------------------------

constexpr const char* kNeedsA = "-a requires one or two real-valued arguments";
constexpr const char* kNeedsB = "-b requires one or two real-valued arguments";

TEST_F(ApplicationTest, EveryArgumentIsAppliedOrReported) {
  const std::string longText(5000, 'x');
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> messages;
    Values expected = kDefaults;
  } cases[] = {
      {{}, {}},
      {{"-a=-2:3e-5", "-b=4"}, {}, {-2, 3e-5F, 4, 0, 0, 0}},
      {{"-clamp", "-a=3", "-operator=a1b", "-b=4:5"}, {}, {3, 0, 4, 5, 9, 1}},
      {{"-a="}, {kNeedsA}},
      {{"-b=5:6:7"}, {kNeedsB}, {1, 0, 5, 6, 0, 0}},
      // Operator names are matched whole and byte for byte; the last valid one wins.
      {{"-operator=A1B"}, {"Unrecognized operator A1B"}},
      {{"-operator=a1"}, {"Unrecognized operator a1"}},
      {{"-operator=a1b2x"}, {"Unrecognized operator a1b2x"}},
      {{"-operator="}, {"Unrecognized operator "}},
      {{"-operator=a1b", "-operator=%s"}, {"Unrecognized operator %s"}, {1, 0, 1, 0, 9, 0}},
      {{"-Operator=a1b"}, {"Unrecognized option -Operator=a1b"}},
      {{"-clamp=1"}, {"Unrecognized option -clamp=1"}},
      {{"-" + longText}, {"Unrecognized option -" + longText}},
      // All faults are shown, in order, and valid arguments between and after them count.
      {{"-q", "-a=7", "-b=", "-operator=none", "-clamp", "-a=y", "-operator=a_ln_1+b"},
       {"Unrecognized option -q", kNeedsB, "Unrecognized operator none", kNeedsA},
       {7, 0, 1, 0, 11, 1}},
  };
  for (const auto& [arguments, messages, expected] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments).substr(0, 100));
    Parameters() = kDefaults;
    gHost.arguments = arguments;
    Calls complaints;  // each message at once followed by a desist
    for (const std::string& message : messages)
      complaints.insert(complaints.end(), {Message(message), "IPDesist()"});
    EXPECT_EQ(CallBack(IP_SLOT_READ_CMD_LINE), complaints);
    EXPECT_EQ(Parameters(), expected);
  }
}

TEST_F(ApplicationTest, ShowsItsPartOfTheUsageText) {
  EXPECT_EQ(CallBack(IP_SLOT_DISPLAY_USAGE),
            (Calls{Message("Application-specific arguments:"),
                   Message(R"(     [-a=real[:imaginary]] [-b=real[:imaginary]] \)"),
                   Message("     [-operator=op] [-clamp]")}));
}

// Over floats of every kind, which are written as by printf's %g in the C locale.
TEST_F(ApplicationTest, WritesTheOptionsThatReproduceTheParametersInEveryLocale) {
  std::mt19937 random;
  const auto draw = [&] {
    static constexpr std::array kSpecial = {INFINITY, -INFINITY, -0.0F, 999999.5F, 1e-45F};
    return random() % 8 == 0 ? kSpecial[random() % kSpecial.size()]
                             : std::bit_cast<float>(static_cast<std::uint32_t>(random()));
  };
  const auto echoed = [](auto... parts) {
    std::ostringstream call;
    call << "IPAppendCommand(\"";
    (call << ... << parts);
    return call.str() + "\")";
  };
  for (std::int32_t run = 0; run < 20000; ++run) {
    if (run == 10000 && std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr)
      GTEST_SKIP() << "no locale with a decimal comma";
    const Values p = {draw(), draw(), draw(), draw(), run % kExpectedCount, run % 3 - 1};
    const auto& [a, ai, b, bi, operation, clamp] = p;
    Calls expected = {echoed("-a=", a, ":", ai), echoed("-b=", b, ":", bi),
                      echoed("-operator='", kExpectedOperators[operation].commandName, "'")};
    if (clamp != 0) expected.push_back(echoed("-clamp"));
    Parameters() = p;
    ASSERT_EQ(CallBack(IP_SLOT_WRITE_CMD_LINE), expected);
  }
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  std::setlocale(LC_ALL, "C");
}

// ---- A run --------------------------------------------------------------------------------------

TEST_F(ApplicationTest, CheckParamsNamesTheFilesThatTheOperatorLacks) {
  const char* const messages[2][2] = {{"", "Operation requires File2, but it does not exist."},
                                      {"Operation requires File1, but it does not exist.",
                                       "Operation requires File1 and File2, but neither exists."}};
  for (gOperationChoice = 0; gOperationChoice < kExpectedCount; ++gOperationChoice) {
    const ExpectedOperator& op = kExpectedOperators[gOperationChoice];
    for (const auto& [open1, open2] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
      gHost.isOpen = {false, open1 != 0, open2 != 0, false};
      const bool lacks1 = op.Reads('1') && open1 == 0;
      const bool lacks2 = op.Reads('2') && open2 == 0;
      const Calls calls = {Message(messages[lacks1][lacks2]), "IPDesist()"};
      EXPECT_EQ(CallBack(IP_SLOT_CHECK_PARAMS), lacks1 || lacks2 ? calls : Calls{})
          << op.label << " open: " << open1 << open2;
    }
  }
}

// What a kernel was called with.
using KernelCall =
    std::tuple<float*, float*, const float*, const float*, std::int32_t, const ProcParams*>;
KernelCall seen;

void SpyKernel(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
               const ProcParams& params) {
  seen = {out, stats, in1, in2, n, &params};
}

// Modes 3 and 4 are complex, and an output without a mode follows File1.
TEST_F(ApplicationTest, OnlyTheFilesThatTheOperatorReadsAreAskedForAndReachTheKernel) {
  const auto isComplex = [](int mode) { return mode == 3 || mode == 4 ? 1 : 0; };
  for (int run = 0; run < kExpectedCount * 6 * 6 * 8; ++run) {
    const int mode1 = run / kExpectedCount % 6;
    const int mode2 = run / (6 * kExpectedCount) % 6;
    gOperationChoice = run % kExpectedCount;
    gHost.mode = {0, mode1, mode2, 0};
    gHost.outputMode = run / (36 * kExpectedCount) - 2;
    const ExpectedOperator& op = kExpectedOperators[gOperationChoice];
    const bool reads1 = op.Reads('1');
    const bool reads2 = op.Reads('2');
    SCOPED_TRACE(testing::Message() << op.label << " of modes " << mode1 << ", " << mode2 << " to "
                                    << gHost.outputMode);
    const auto asked = [&](const char* call, const char* last) {
      Calls calls;
      if (reads1) calls.push_back(std::string(call) + "(1)");
      if (reads2) calls.push_back(std::string(call) + "(2)");
      calls.emplace_back(last);
      return calls;
    };
    ASSERT_EQ(CallBack(IP_SLOT_INIT_PROC), asked("IMRtMode", "IPGetDefOutPutMode()"));
    const ProcParams& params = gpSelectedProc->params;
    const int in1Complex = reads1 ? isComplex(mode1) : 0;
    ASSERT_EQ(params.in1Complex, in1Complex);
    ASSERT_EQ(params.in2Complex, reads2 ? isComplex(mode2) : 0);
    ASSERT_EQ(params.outComplex, gHost.outputMode == -1 ? in1Complex : isComplex(gHost.outputMode));

    gpSelectedProc->kernel = SpyKernel;
    IPOutputStats stats = {};
    ASSERT_EQ(ProcData({512, 3}, stats), asked("IPGetDataPtr", "IPGetDataPtr(3)"));
    const float* const file1 = &gHost.buffer[reads1 ? 1 : 2];
    const float* const file2 = &gHost.buffer[reads2 ? 2 : 1];
    ASSERT_EQ(seen, KernelCall(&gHost.buffer[3], &stats.minimum, file1, file2, 1536, &params));
    CallBack(IP_SLOT_CLEANUP);
  }
}

TEST_F(ApplicationTest, WithoutMemoryAFaultIsShownAloneAndInitProcDesistsAndThenSaysWhy) {
  gHost.arguments = {"-x"};
  gHost.outOfMemory = true;
  const Calls complaint = CallBack(IP_SLOT_READ_CMD_LINE);
  Calls calls = CallBack(IP_SLOT_INIT_PROC);
  gHost.outOfMemory = false;
  EXPECT_EQ(complaint, (Calls{Message("Unrecognized option"), "IPDesist()"}));
  calls.erase(calls.begin(), calls.end() - 2);  // the questions
  EXPECT_EQ(calls, (Calls{"IPDesist()", Message("Insufficient memory to continue.")}));
  EXPECT_EQ(gpSelectedProc, nullptr);
}

TEST_F(ApplicationDeathTest, CallsOutOfOrderFailTheirAssertions) {
  CallBack(IP_SLOT_INIT_PROC);
  EXPECT_DEATH(CallBack(IP_SLOT_INIT_PROC), "run\\.cpp:[0-9]+.*gpSelectedProc == 0");
  gHost.outOfMemory = true;  // nor are there inputs
  IPOutputStats stats = {};
  EXPECT_DEATH(ProcData({1, 1}, stats), "run\\.cpp:[0-9]+.*in1 != 0 \\|\\| in2 != 0");
  gHost.outOfMemory = false;
}

}  // namespace
}  // namespace lumomixcalc

// The linker sends the program's own malloc and new (std::nothrow) char[] here.
extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  return lumomixcalc::gHost.outOfMemory ? nullptr : __real_malloc(size);
}
void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  return lumomixcalc::gHost.outOfMemory ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}
}
