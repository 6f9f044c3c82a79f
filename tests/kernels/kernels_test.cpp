// Every kernel against the plain rule: layouts, shared buffers, sizes, special values.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr OutputStats kFresh{kInfinity, -kInfinity, 0.0F};

// Sizes around every boundary at which a chunked or vectorised loop could go wrong.
constexpr std::array<std::int32_t, 15> kSizes = {0,   1,   2,   3,   7,   8,   31,  33,
                                                 255, 256, 257, 511, 513, 777, 2048};

enum class Data { kOrdinary, kIntegers, kSpecial };

float Draw(Data data, std::mt19937& random) {
  static constexpr std::array kSpecials = {0.0F,   -0.0F,   1.0F,       -1.0F, 1e-45F, -1e-45F,
                                           1e-30F, -3e-39F, kInfinity,  kNan,  -1e30F, 3e38F,
                                           2.5F,   -3e38F,  -kInfinity, 1e10F};
  switch (data) {
    case Data::kOrdinary:
      return std::uniform_real_distribution<float>(-10.0F, 10.0F)(random);
    case Data::kIntegers:
      return static_cast<float>(static_cast<int>(random() % 64) - 20);
    case Data::kSpecial:
      return kSpecials[random() % kSpecials.size()];
  }
  return 0.0F;
}

std::vector<float> DrawBuffer(std::int32_t n, bool isComplex, Data data, std::mt19937& random) {
  std::vector<float> buffer(static_cast<std::size_t>(n) * (isComplex ? 2 : 1));
  std::generate(buffer.begin(), buffer.end(), [&] { return Draw(data, random); });
  return buffer;
}

// Where the output of a kernel call lives.
enum class Place { kSeparate, kOverFile1, kOverFile2, kOverBoth };

// Calls the kernel with the output where `place` says, in memory with guards on both sides, and
// checks output, record and guards against the plain rule.
void ExpectMatchesPlainRule(const KernelCase& kernelCase, Block block, Place place) {
  constexpr float kGuard = -12345.0F;
  constexpr std::size_t kGuards = 9;  // odd, so that buffers are not aligned to vectors
  if (place == Place::kOverBoth) block.in2 = block.in1;

  OutputStats expectedStats = kFresh;
  const std::vector<float> expected = ReferenceOutput(kernelCase, block, expectedStats);

  std::vector<float> shared(kGuards + 2 * static_cast<std::size_t>(block.n) + kGuards, kGuard);
  float* const out = shared.data() + kGuards;
  const float* in1 = block.in1.data();
  const float* in2 = block.in2.data();
  if (place == Place::kOverFile1 || place == Place::kOverBoth) {
    std::copy(block.in1.begin(), block.in1.end(), out);
    in1 = out;
  }
  if (place == Place::kOverFile2) std::copy(block.in2.begin(), block.in2.end(), out);
  if (place == Place::kOverFile2 || place == Place::kOverBoth) in2 = out;
  const std::vector<float> before = shared;

  OutputStats stats = kFresh;
  kernelCase.kernel(out, &stats.minimum, in1, in2, block.n, block.params);

  EXPECT_TRUE(SameBits(stats, expectedStats))
      << "record " << stats.minimum << " " << stats.maximum << " " << stats.sum << ", expected "
      << expectedStats.minimum << " " << expectedStats.maximum << " " << expectedStats.sum;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_TRUE(SameBits(out[i], expected[i]))
        << "float " << i << " is " << out[i] << ", expected " << expected[i];
  }
  for (std::size_t i = 0; i < shared.size(); ++i) {
    if (i >= kGuards && i < kGuards + expected.size()) continue;
    ASSERT_EQ(std::memcmp(&shared[i], &before[i], sizeof(float)), 0)
        << "wrote outside the output, at float "
        << static_cast<long>(i) - static_cast<long>(kGuards);
  }
}

class EveryKernel : public testing::TestWithParam<KernelCase> {
 protected:
  // The layouts that the kernel distinguishes: a real kernel none.
  int LayoutCount() const { return GetParam().isComplex ? 8 : 1; }

  Block MakeBlock(std::int32_t n, int layout, Data data) {
    Block block;
    block.n = n;
    block.params.in1Complex = (layout & 1) != 0 ? 5 : 0;  // any nonzero value means complex
    block.params.in2Complex = (layout & 2) != 0 ? -1 : 0;
    block.params.outComplex = (layout & 4) != 0 ? 1 : 0;
    block.params.A = {1.25F, GetParam().isComplex ? -0.7F : kNan};
    block.params.B = {0.1F, GetParam().isComplex ? 2.0F : kNan};
    block.in1 = DrawBuffer(n, (layout & 1) != 0, data, random_);
    block.in2 = DrawBuffer(n, (layout & 2) != 0, data, random_);
    return block;
  }

  std::mt19937 random_{2026};
};

TEST_P(EveryKernel, MatchesThePlainRuleInEveryLayoutPlaceAndSize) {
  for (int layout = 0; layout < LayoutCount(); ++layout) {
    const bool sameWidth = (layout & 1) == ((layout & 2) >> 1);
    for (const std::int32_t n : kSizes) {
      for (const Data data : {Data::kOrdinary, Data::kIntegers, Data::kSpecial}) {
        for (const Place place :
             {Place::kSeparate, Place::kOverFile1, Place::kOverFile2, Place::kOverBoth}) {
          // One buffer as both inputs needs one layout.
          if (place == Place::kOverBoth && !sameWidth) continue;
          SCOPED_TRACE(testing::Message()
                       << "layout " << layout << ", n " << n << ", data " << static_cast<int>(data)
                       << ", place " << static_cast<int>(place));
          ExpectMatchesPlainRule(GetParam(), MakeBlock(n, layout, data), place);
          if (HasFailure()) return;
        }
      }
    }
  }
}

// What the application passes for an operator that reads one file only: its buffer as both inputs,
// the unread one flagged real.
class OneFileKernel : public EveryKernel {};

TEST_P(OneFileKernel, IgnoresTheStandInForTheUnreadInput) {
  const KernelCase& kernelCase = GetParam();
  for (int layout = 0; layout < LayoutCount(); ++layout) {
    Block block = MakeBlock(300, layout, Data::kOrdinary);
    if (kernelCase.readsFile1) {
      block.params.in2Complex = 0;
      block.in2.assign(block.in1.begin(), block.in1.begin() + block.n);
      ExpectMatchesPlainRule(kernelCase, block, Place::kOverFile1);
    } else {
      block.params.in1Complex = 0;
      block.in1.assign(block.in2.begin(), block.in2.begin() + block.n);
      ExpectMatchesPlainRule(kernelCase, block, Place::kOverFile2);
    }
  }
}

TEST_P(EveryKernel, FoldsBlockAfterBlockIntoOneRecord) {
  Block block = MakeBlock(1000, 0, Data::kOrdinary);
  OutputStats expected{-3.0F, 2.0F, 1000.5F};
  OutputStats stats = expected;
  for (int repeat = 0; repeat < 3; ++repeat) {
    const std::vector<float> out = ReferenceOutput(GetParam(), block, expected);
    std::vector<float> actual(out.size());
    GetParam().kernel(actual.data(), &stats.minimum, block.in1.data(), block.in2.data(), block.n,
                      block.params);
  }
  EXPECT_TRUE(SameBits(stats, expected));
}

std::vector<KernelCase> OneFileKernels() {
  std::vector<KernelCase> kernels;
  std::copy_if(AllKernels().begin(), AllKernels().end(), std::back_inserter(kernels),
               [](const KernelCase& k) { return !(k.readsFile1 && k.readsFile2); });
  return kernels;
}

std::string KernelName(const testing::TestParamInfo<KernelCase>& kernel) {
  return kernel.param.name;
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryKernel, testing::ValuesIn(AllKernels()), KernelName);
INSTANTIATE_TEST_SUITE_P(Kernels, OneFileKernel, testing::ValuesIn(OneFileKernels()), KernelName);

}  // namespace
}  // namespace lumomixcalc
