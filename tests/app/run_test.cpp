#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "app/parameters.h"
#include "tests/app/expected_catalogue.h"
#include "tests/app/recording_host.h"

namespace lumomixcalc {
namespace {

using RunTest = ApplicationTest;
using RunDeathTest = ApplicationTest;

Calls ProcData(const IPBlock& block, IPOutputStats& stats) {
  gHost.calls.clear();
  reinterpret_cast<IPProcDataRoutine>(gHost.routines.at(IP_SLOT_PROC_DATA))(&block, &stats);
  return gHost.calls;
}

TEST_F(RunTest, CheckParamsNamesTheFilesThatTheOperatorLacks) {
  const char* const messages[2][2] = {
      {"", R"(IPDisplayMessage("Operation requires File2, but it does not exist.", 10))"},
      {R"(IPDisplayMessage("Operation requires File1, but it does not exist.", 10))",
       R"(IPDisplayMessage("Operation requires File1 and File2, but neither exists.", 10))"}};
  for (gOperationChoice = 0; gOperationChoice < 13; ++gOperationChoice) {
    const ExpectedOperator& op = kExpectedOperators[gOperationChoice];
    for (const auto& [open1, open2] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
      gHost.isOpen = {false, open1 != 0, open2 != 0, false};
      const bool lacks1 = op.readsFile1 && open1 == 0;
      const bool lacks2 = op.readsFile2 && open2 == 0;
      const Calls calls = {messages[lacks1][lacks2], "IPDesist()"};
      EXPECT_EQ(gHost.CallBack(IP_SLOT_CHECK_PARAMS), lacks1 || lacks2 ? calls : Calls{})
          << op.label << " open: " << open1 << open2;
    }
  }
}

// What a kernel was called with.
struct KernelCall {
  const float *out, *stats, *in1, *in2;
  std::int32_t n;
  const ProcParams* params;

  bool operator==(const KernelCall&) const = default;
} seen;

void SpyKernel(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
               const ProcParams& params) {
  seen = {out, stats, in1, in2, n, &params};
}

// Modes 3 and 4 are complex, and an output without a mode follows File1.
TEST_F(RunTest, OnlyTheFilesThatTheOperatorReadsAreAskedForAndReachTheKernel) {
  const auto isComplex = [](int mode) { return mode == 3 || mode == 4 ? 1 : 0; };
  for (int run = 0; run < 13 * 6 * 6 * 8; ++run) {
    const int mode1 = run / 13 % 6;
    const int mode2 = run / 78 % 6;
    gOperationChoice = run % 13;
    gHost.mode = {0, mode1, mode2, 0};
    gHost.outputMode = run / 468 - 2;
    const auto& [label, name, reads1, reads2] = kExpectedOperators[gOperationChoice];
    SCOPED_TRACE(testing::Message()
                 << label << " of modes " << mode1 << ", " << mode2 << " to " << gHost.outputMode);
    Calls modes;
    Calls buffers;
    if (reads1) modes.emplace_back("IMRtMode(1)");
    if (reads1) buffers.emplace_back("IPGetDataPtr(1)");
    if (reads2) modes.emplace_back("IMRtMode(2)");
    if (reads2) buffers.emplace_back("IPGetDataPtr(2)");
    modes.emplace_back("IPGetDefOutPutMode()");
    buffers.emplace_back("IPGetDataPtr(3)");

    ASSERT_EQ(gHost.CallBack(IP_SLOT_INIT_PROC), modes);
    const ProcParams& params = gpSelectedProc->params;
    const int in1Complex = reads1 ? isComplex(mode1) : 0;
    ASSERT_EQ(params.in1Complex, in1Complex);
    ASSERT_EQ(params.in2Complex, reads2 ? isComplex(mode2) : 0);
    ASSERT_EQ(params.outComplex, gHost.outputMode == -1 ? in1Complex : isComplex(gHost.outputMode));

    gpSelectedProc->kernel = SpyKernel;
    IPOutputStats stats = {};
    ASSERT_EQ(ProcData({512, 3}, stats), buffers);
    const float* const file1 = &gHost.buffer[reads1 ? 1 : 2];
    const float* const file2 = &gHost.buffer[reads2 ? 2 : 1];
    ASSERT_EQ(seen, (KernelCall{&gHost.buffer[3], &stats.minimum, file1, file2, 1536, &params}));
    gHost.CallBack(IP_SLOT_CLEANUP);
  }
}

TEST_F(RunTest, InitProcWithoutMemoryDesistsAndThenSaysWhy) {
  gHost.outOfMemory = true;
  Calls calls = gHost.CallBack(IP_SLOT_INIT_PROC);
  gHost.outOfMemory = false;
  calls.erase(calls.begin(), calls.end() - 2);  // the questions
  EXPECT_EQ(calls,
            (Calls{"IPDesist()", R"(IPDisplayMessage("Insufficient memory to continue.", 10))"}));
  EXPECT_EQ(gpSelectedProc, nullptr);
  gHost.CallBack(IP_SLOT_CLEANUP);
}

TEST_F(RunDeathTest, InitProcDuringARunFailsItsAssertion) {
  gHost.CallBack(IP_SLOT_INIT_PROC);
  EXPECT_DEATH(gHost.CallBack(IP_SLOT_INIT_PROC), "run\\.cpp:[0-9]+.*gpSelectedProc == 0");
}

TEST_F(RunDeathTest, ProcDataWithoutAnyInputFailsItsAssertion) {
  gHost.CallBack(IP_SLOT_INIT_PROC);
  gHost.outOfMemory = true;
  IPOutputStats stats = {};
  EXPECT_DEATH(ProcData({1, 1}, stats), "run\\.cpp:[0-9]+.*in1 != 0 \\|\\| in2 != 0");
  gHost.outOfMemory = false;
}

}  // namespace
}  // namespace lumomixcalc
