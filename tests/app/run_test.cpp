#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "tests/app/recording_host.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

using RunTest = ApplicationTest;
using RunDeathTest = ApplicationTest;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr IPOutputStats kFreshStats = {kInf, -kInf, 0.0F};

// ---- CheckParams --------------------------------------------------------------------------------

constexpr const char* kNoFile1 = "Operation requires File1, but it does not exist.";
constexpr const char* kNoFile2 = "Operation requires File2, but it does not exist.";
constexpr const char* kNeither = "Operation requires File1 and File2, but neither exists.";

TEST_F(RunTest, CheckParamsNamesTheFilesThatTheOperatorLacks) {
  const struct {
    bool reads1, reads2, open1, open2;
    const char* message;
  } cases[] = {
      {true, true, false, false, kNeither},  {true, true, false, true, kNoFile1},
      {true, true, true, false, kNoFile2},   {true, true, true, true, nullptr},
      {true, false, false, false, kNoFile1}, {true, false, false, true, kNoFile1},
      {true, false, true, false, nullptr},   {true, false, true, true, nullptr},
      {false, true, false, false, kNoFile2}, {false, true, false, true, nullptr},
      {false, true, true, false, kNoFile2},  {false, true, true, true, nullptr},
  };
  int checked = 0;
  for (std::int32_t op = 0; op < 13; ++op) {
    for (const auto& [reads1, reads2, open1, open2, message] : cases) {
      const ExpectedOperator& expected = kExpectedOperators[op];
      if (reads1 != expected.readsFile1 || reads2 != expected.readsFile2) continue;
      gOperationChoice = op;
      gHost.isOpen = {false, open1, open2, false};
      gHost.said.clear();
      gHost.CallBack(IP_SLOT_CHECK_PARAMS);
      const Calls calls = message == nullptr ? Calls{} : Calls{Message(message), "IPDesist()"};
      EXPECT_EQ(gHost.said, calls) << expected.label << " open: " << open1 << open2;
      ++checked;
    }
  }
  EXPECT_EQ(checked, 13 * 4);
}

// ---- InitProc -----------------------------------------------------------------------------------

TEST_F(RunTest, ModesThreeAndFourAreComplexAndAnOutputWithoutModeFollowsFile1) {
  constexpr std::int32_t kSum = 0, kModulus = 5, kReciprocal = 10;
  const struct {
    std::int32_t operation;
    int mode1, mode2, outputMode;
    bool in1Complex, in2Complex, outComplex;
  } cases[] = {
      {kSum, 0, 0, -1, false, false, false},      {kSum, 3, 0, -1, true, false, true},
      {kSum, 4, 2, -1, true, false, true},        {kSum, 2, 4, -1, false, true, false},
      {kSum, 5, 3, -1, false, true, false},       {kSum, 1, 1, 3, false, false, true},
      {kSum, 2, 2, 4, false, false, true},        {kSum, 3, 4, 2, true, true, false},
      {kSum, 4, 4, 0, true, true, false},         {kSum, 4, 4, 5, true, true, false},
      {kSum, 3, 3, -2, true, true, false},        {kSum, 7, 34, 12, false, false, false},
      {kModulus, 4, 4, -1, true, false, true},    {kModulus, 2, 4, -1, false, false, false},
      {kModulus, 2, 4, 4, false, false, true},    {kReciprocal, 4, 4, -1, false, true, false},
      {kReciprocal, 4, 3, 2, false, true, false}, {kReciprocal, 4, 2, 3, false, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.operation << " of modes " << c.mode1 << ", " << c.mode2
                                    << " to " << c.outputMode);
    gOperationChoice = c.operation;
    gHost.mode = {0, c.mode1, c.mode2, 0};
    gHost.outputMode = c.outputMode;
    gHost.CallBack(IP_SLOT_INIT_PROC);
    EXPECT_EQ(gpSelectedProc->params.in1Complex, c.in1Complex ? 1 : 0);
    EXPECT_EQ(gpSelectedProc->params.in2Complex, c.in2Complex ? 1 : 0);
    EXPECT_EQ(gpSelectedProc->params.outComplex, c.outComplex ? 1 : 0);
    gHost.CallBack(IP_SLOT_CLEANUP);
  }
}

TEST_F(RunTest, InitProcWithoutMemoryDesistsAndThenSaysWhy) {
  gHost.outOfMemory = true;
  gHost.CallBack(IP_SLOT_INIT_PROC);
  gHost.outOfMemory = false;
  EXPECT_EQ(gHost.said, (Calls{"IPDesist()", Message("Insufficient memory to continue.")}));
  EXPECT_EQ(gpSelectedProc, nullptr);
  gHost.CallBack(IP_SLOT_CLEANUP);
  gHost.CallBack(IP_SLOT_INIT_PROC);
  EXPECT_NE(gpSelectedProc, nullptr);
}

// ---- ProcData -----------------------------------------------------------------------------------

// What a kernel was called with.
struct KernelCall {
  float *out, *stats;
  const float *in1, *in2;
  std::int32_t n;
  const ProcParams* params;
};
KernelCall seen;

void SpyKernel(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
               const ProcParams& params) {
  seen = {out, stats, in1, in2, n, &params};
}

TEST_F(RunTest, OnlyTheFilesThatTheOperatorReadsAreAskedForAndReachTheKernel) {
  float file1 = 0.0F, file2 = 0.0F, save = 0.0F;
  IPOutputStats stats = kFreshStats;
  for (std::int32_t op = 0; op < 13; ++op) {
    const auto& [label, name, reads1, reads2] = kExpectedOperators[op];
    SCOPED_TRACE(label);
    Calls questions;
    if (reads1) questions.push_back("IMRtMode(1)");
    if (reads2) questions.push_back("IMRtMode(2)");
    questions.push_back("IPGetDefOutPutMode()");
    if (reads1) questions.push_back("IPGetDataPtr(1)");
    if (reads2) questions.push_back("IPGetDataPtr(2)");
    questions.push_back("IPGetDataPtr(3)");
    gHost.asked.clear();
    gOperationChoice = op;
    gHost.buffer = {nullptr, &file1, &file2, &save};
    gHost.CallBack(IP_SLOT_INIT_PROC);
    gpSelectedProc->kernel = SpyKernel;
    gHost.ProcData({512, 3}, stats);
    EXPECT_EQ(gHost.asked, questions);
    EXPECT_EQ(seen.out, &save);
    EXPECT_EQ(seen.stats, &stats.minimum);
    EXPECT_EQ(seen.in1, reads1 ? &file1 : &file2);
    EXPECT_EQ(seen.in2, reads2 ? &file2 : &file1);
    EXPECT_EQ(seen.n, 1536);
    EXPECT_EQ(seen.params, &gpSelectedProc->params);
    gHost.CallBack(IP_SLOT_CLEANUP);
  }
}

// ---- Cleanup and broken order -------------------------------------------------------------------

TEST_F(RunTest, CleanupLeavesNoRecordHoweverOftenItIsCalled) {
  gHost.CallBack(IP_SLOT_CLEANUP);
  EXPECT_EQ(gpSelectedProc, nullptr);
  gHost.CallBack(IP_SLOT_INIT_PROC);
  ASSERT_NE(gpSelectedProc, nullptr);
  gHost.CallBack(IP_SLOT_CLEANUP);
  EXPECT_EQ(gpSelectedProc, nullptr);
  gHost.CallBack(IP_SLOT_CLEANUP);
  EXPECT_EQ(gpSelectedProc, nullptr);
}

TEST_F(RunDeathTest, InitProcDuringARunFailsItsAssertion) {
  gHost.CallBack(IP_SLOT_INIT_PROC);
  EXPECT_DEATH(gHost.CallBack(IP_SLOT_INIT_PROC),
               "run\\.cpp:[0-9]+.*InitProc.*gpSelectedProc == 0");
}

TEST_F(RunDeathTest, ProcDataWithoutAnyInputFailsItsAssertion) {
  float save = 0.0F;
  gHost.buffer[3] = &save;
  gHost.CallBack(IP_SLOT_INIT_PROC);
  IPOutputStats stats = kFreshStats;
  EXPECT_DEATH(gHost.ProcData({1, 1}, stats),
               "run\\.cpp:[0-9]+.*ProcData.*in1 != 0 \\|\\| in2 != 0");
}

}  // namespace
}  // namespace lumomixcalc
