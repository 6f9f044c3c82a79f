// Results that are known without computing them: special values, signs of zero, ties, hand-worked
// examples. Literals on purpose: a mistake shared by kernels and reference shows here.
#include <gtest/gtest.h>

#include <limits>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kPi = 3.14159274F;

using Z = std::complex<float>;

TEST(SpecialValues, GiveTheResultsKnownBeforehand) {
  const struct {
    const char* kernel;
    Z A, B, file1, file2, expected;  // a real kernel uses and gives real parts alone
  } examples[] = {
      {"RealAF1Clamped", 1, 0, -0.0F, 0, 0},
      {"RealAF1Clamped", 1, 0, kNan, 0, 0},
      {"RealAbs_AF1", 1, 0, -0.0F, 0, -0.0F},
      {"RealA_DividedBy_F2", 1, 0, 0, -0.0F, -kInf},
      {"RealA_DividedBy_F2", 0, 0, 0, 0, kNan},
      {"RealA_Ln_F1_Plus_B", 1, 0, 0, 0, -kInf},
      {"RealA_Ln_F1_Plus_BClamped", 1, 0, -1, 0, kNan},
      {"RealF1_Plus_B_Pow_AClamped", 0.5F, 0, -4, 0, kNan},
      // The product of the first two is no zero at double precision.
      {"RealAF1_Times_F2", 0x1p-100F, 0, 0x1p-100F, 0x1p100F, 0x1p-100F},
      // One rounding, at the store: 2^24 + 1 ties to even there, 2^24 + 2 - 2^24 is exact before.
      {"RealAF1_Plus_BF2", 1, 1, 16777216, 1, 16777216},
      {"RealAF1_Plus_B", 3, -16777216, 5592406, 0, 2},
      {"ComplexAF1", {2, 3}, 0, {4, 5}, 0, {-7, 22}},
      {"ComplexAF1", 1, 0, {kInf, 0}, 0, {kInf, kNan}},  // nothing is mended
      {"ComplexAF1_Plus_B", 2, {1, 1}, 3, 0, {7, 1}},
      {"ComplexAF1_Plus_BF2", {1, 2}, {3, 4}, 5, {6, 7}, {-5, 55}},
      {"ComplexAF1_Times_F2", {0, 1}, {kNan, kNan}, {1, 2}, {3, 4}, {-10, -5}},
      {"ComplexAF1_Times_Conj_BF2", 1, {0, 1}, {1, 2}, {3, 4}, {2, -11}},
      {"ComplexAF1_DividedBy_F2", 1, 0, {5, 10}, {1, 2}, {5, 0}},
      {"ComplexA_DividedBy_F2Clamped", 1, 0, 0, 0, {0, kNan}},
      {"ComplexConj_AF1", {1, 1}, 0, {2, 3}, 0, {-1, -5}},
      {"ComplexAbs_AF1", 1, 0, {2e38F, 2e38F}, 0, 2.8284271e38F},
      {"ComplexAbs_AF1", 1, 0, {1e-45F, 0}, 0, 1e-45F},
      {"ComplexA_Phase_F1", {2, 1}, 0, {-1, 1}, 0, {4.71238898F, 2.35619449F}},
      // Elements on an axis have phase 0, not pi or pi / 2.
      {"ComplexA_Phase_F1", {kInf, kNan}, 0, {-1, 0}, 0, 0},
      {"ComplexA_Phase_F1", {kInf, kNan}, 0, {0, 1}, 0, 0},
      {"ComplexA_Phase_F1", 1, 0, {kNan, 1}, 0, 0},
      {"ComplexA_Ln_F1_Plus_B", 1, 0, -1, 0, {0, kPi}},
      {"ComplexA_Ln_F1_Plus_B", 1, 0, {-1, -1e-30F}, 0, {0, -kPi}},
      {"ComplexF1_Plus_B_Pow_A", {2, 1}, 0, kNan, 0, 0},
      {"ComplexF1_Plus_B_Pow_A", 0, 0, 3, 0, 1},
      {"ComplexF1_Plus_B_Pow_A", 10, 0, 1e10F, 0, {kInf, kNan}},
  };
  for (const auto& [kernel, A, B, file1, file2, expected] : examples) {
    Z out;
    OutputStats stats{};
    Kernel(kernel).kernel(reinterpret_cast<float*>(&out), &stats.minimum,
                          reinterpret_cast<const float*>(&file1),
                          reinterpret_cast<const float*>(&file2), 1, {A, B, 1, 1, 1});
    EXPECT_TRUE(SameBits(out.real(), expected.real()) && SameBits(out.imag(), expected.imag()))
        << kernel << " of " << file1 << ", " << file2 << ": " << out << ", expected " << expected;
  }
}

TEST(SpecialValues, AreCountedByTheRule) {
  const struct {
    const char* what;
    OutputStats before;
    double value;
    OutputStats after;
  } examples[] = {
      {"a NaN replaces the minimum and not the maximum", {1, 2, 0}, kNan, {kNan, 2, kNan}},
      {"a number replaces a NaN minimum and no NaN maximum", {kNan, kNan, 0}, 3, {3, kNan, 3}},
      {"zeros of either sign are equal", {0, -0.0F, 0}, -0.0, {0, -0.0F, 0}},
      {"a tie goes to the even neighbour", {0, 3, 16777218}, 1, {0, 3, 16777220}},
      {"the value is not rounded first", {0, 3, 16777216}, 1 + 0x1p-24, {0, 3, 16777218}},
      {"infinities are counted", {0, 0, -kInf}, kInf, {0, kInf, kNan}},
  };
  for (const auto& [what, before, value, after] : examples) {
    OutputStats stats = before;
    ReferenceCount(value, stats);
    EXPECT_TRUE(SameBits(stats, after))
        << what << ": " << stats.minimum << " " << stats.maximum << " " << stats.sum;
  }
}

}  // namespace
}  // namespace lumomixcalc
