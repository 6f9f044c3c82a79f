// Results that are known without computing them: special values, signs of zero, ties, hand-worked
// examples. Literals on purpose: a mistake shared by the program and its references shows here.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "kernels/running_statistics.h"
#include "ops/selection.h"
#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

using Z = std::complex<float>;

TEST(SpecialValues, GiveTheResultsKnownBeforehand) {
  constexpr std::int32_t kSum = 0, kProduct = 2, kAbs = 5, kPhase = 7, kPlusB = 8, kTimesB = 9;
  constexpr std::int32_t kReciprocal = 10, kLn = 11, kPower = 12;
  const struct {
    std::int32_t op, isComplex;
    Z a, b, file1, file2, expected;
  } examples[] = {
      {kAbs, 0, 1, 0, -0.0F, 0, -0.0F},
      {kReciprocal, 0, 1, 1, 0, -0.0F, -INFINITY},
      {kLn, 0, 1, 0, -1, 0, NAN},
      // The product of the first three is no zero at double precision.
      {kProduct, 0, 0x1p-75F, 0x1p-65F, 0x1p-20F, 0x1p100F, 0x1p-60F},
      // One rounding, at the store: 2^24 + 1 ties to even there, 2^24 + 2 - 2^24 is exact before.
      {kSum, 0, 1, 1, 16777216, 1, 16777216},
      {kPlusB, 0, 3, -16777216, 5592406, 0, 2},
      {kTimesB, 1, 1, 1, {INFINITY, 0}, 0, {INFINITY, NAN}},  // nothing is mended
      {kAbs, 1, 1, 0, {2e38F, 2e38F}, 0, 2.8284271e38F},
      {kAbs, 1, 1, 0, {1e-45F, 0}, 0, 1e-45F},
      {kPhase, 1, {2, 1}, 0, {-1, 1}, 0, {4.71238898F, 2.35619449F}},
      // Elements on an axis have phase 0, not pi or pi / 2.
      {kPhase, 1, INFINITY, 0, {-1, 0}, 0, 0},
      {kPhase, 1, INFINITY, 0, {0, 1}, 0, 0},
      {kLn, 1, 1, 0, -1, 0, {0, 3.14159274F}},
      {kLn, 1, 1, 0, {-1, -1e-30F}, 0, {0, -3.14159274F}},
      {kPower, 1, {2, 1}, 0, NAN, 0, 0},
      {kPower, 1, 10, 0, 1e10F, 0, {INFINITY, NAN}},
  };
  for (const auto& [op, isComplex, a, b, file1, file2, expected] : examples) {
    const auto parts = [](const Z& z) { return reinterpret_cast<const float*>(&z); };
    Z out;
    OutputStats stats{};
    SelectedProc* const selected =
        SelectProcessing(op, 0, parts(a), parts(b), isComplex, isComplex, isComplex);
    PerformProcessing(reinterpret_cast<float*>(&out), &stats.minimum, parts(file1), parts(file2), 1,
                      selected);
    std::free(selected);
    EXPECT_TRUE(SameBits(out, expected)) << "operator " << op << " of " << file1 << ", " << file2
                                         << ": " << out << ", expected " << expected;
  }
}

TEST(SpecialValues, AreCountedByTheRule) {
  const struct {
    OutputStats before;
    double value;
    OutputStats after;
  } examples[] = {
      {{1, 2, 0}, NAN, {NAN, 2, NAN}},
      {{NAN, NAN, 0}, 3, {3, NAN, 3}},
      {{0, -0.0F, 0}, -0.0, {0, -0.0F, 0}},
      {{0, 3, 16777218}, 1, {0, 3, 16777220}},            // a tie goes to the even neighbour
      {{0, 3, 16777216}, 1 + 0x1p-24, {0, 3, 16777218}},  // the value is not rounded first
      {{0, 0, -INFINITY}, INFINITY, {0, INFINITY, NAN}},
  };
  for (const auto& [before, value, after] : examples) {
    RunningStatistics running(&before.minimum);
    running.CountChunk(&value, 1, false);
    OutputStats stats{};
    running.Store(&stats.minimum);
    EXPECT_TRUE(SameBits(stats, after))
        << value << ": " << stats.minimum << " " << stats.maximum << " " << stats.sum;
  }
}

}  // namespace
}  // namespace lumomixcalc
