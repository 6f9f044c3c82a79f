// Results that are known without computing them: special values, signs of zero, ties, hand-worked
// examples. Literals on purpose: a mistake shared by kernels and reference shows here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kPi = 3.14159274F;

using Z = std::complex<float>;

struct Example {
  const char* kernel;
  Z A;
  Z B;
  std::vector<float> in1;
  std::vector<float> in2;  // empty: the same as in1
  bool in1Complex;
  bool in2Complex;
  bool outComplex;
  std::vector<float> expected;
};

const KernelCase& FindKernel(const std::string& name) {
  const auto found = std::find_if(AllKernels().begin(), AllKernels().end(),
                                  [&](const KernelCase& k) { return k.name == name; });
  if (found == AllKernels().end()) throw std::invalid_argument("no kernel named " + name);
  return *found;
}

std::vector<float> RunExample(const Example& e, OutputStats& stats) {
  const std::size_t n = e.expected.size() / (e.outComplex ? 2 : 1);
  std::vector<float> out(e.expected.size());
  const ProcParams params{e.A, e.B, e.in1Complex, e.in2Complex, e.outComplex};
  const float* in2 = e.in2.empty() ? e.in1.data() : e.in2.data();
  const float* in1 = e.in1.empty() ? in2 : e.in1.data();
  FindKernel(e.kernel).kernel(out.data(), &stats.minimum, in1, in2, static_cast<std::int32_t>(n),
                              params);
  return out;
}

void ExpectExamples(const std::vector<Example>& examples) {
  for (const Example& e : examples) {
    OutputStats stats{kInf, -kInf, 0.0F};
    const std::vector<float> out = RunExample(e, stats);
    for (std::size_t i = 0; i < out.size(); ++i) {
      EXPECT_TRUE(SameBits(out[i], e.expected[i]))
          << e.kernel << ", example " << &e - examples.data() << ", float " << i << ": " << out[i]
          << ", expected " << e.expected[i];
    }
  }
}

TEST(SpecialValues, OfRealKernels) {
  ExpectExamples({
      {"RealAF1", 2, 0, {1, -3}, {}, 0, 0, 0, {2, -6}},
      {"RealAF1Clamped", 1, 0, {-2.5F, -0.0F, 1e-45F}, {}, 0, 0, 0, {0, 0, 1e-45F}},
      {"RealAF1Clamped", 1, 0, {kNan, -1, 0.5F}, {}, 0, 0, 0, {0, 0, 0.5F}},
      {"RealAbs_AF1", 1, 0, {-0.0F, -4, 4, -kInf}, {}, 0, 0, 0, {-0.0F, 4, 4, kInf}},
      {"RealA_DividedBy_F2", 1, 0, {}, {0, -0.0F, 4}, 0, 0, 0, {kInf, -kInf, 0.25F}},
      {"RealA_DividedBy_F2", 0, 0, {}, {0}, 0, 0, 0, {kNan}},
      {"RealA_DividedBy_F2Clamped", -1, 0, {}, {0, kNan}, 0, 0, 0, {0, 0}},
      {"RealA_Ln_F1_Plus_B", 1, 0, {-1, 0, 1}, {}, 0, 0, 0, {kNan, -kInf, 0}},
      {"RealA_Ln_F1_Plus_BClamped", 1, 0, {-1, 0, 1}, {}, 0, 0, 0, {kNan, 0, 0}},
      {"RealF1_Plus_B_Pow_A", 0.5F, 0, {-4, 4}, {}, 0, 0, 0, {kNan, 2}},
      {"RealF1_Plus_B_Pow_AClamped", 0.5F, 0, {-4, 4}, {}, 0, 0, 0, {kNan, 2}},
      // The product of the first two is no zero at double precision.
      {"RealAF1_Times_F2", 0x1p-100F, 0, {0x1p-100F}, {0x1p100F}, 0, 0, 0, {0x1p-100F}},
      // One rounding, at the store: 2^24 + 1 ties to even there, 2^24 + 2 - 2^24 is exact before.
      {"RealAF1_Plus_BF2", 1, 1, {16777216}, {1}, 0, 0, 0, {16777216}},
      {"RealAF1_Plus_B", 3, -16777216, {5592406}, {}, 0, 0, 0, {2}},
  });
}

TEST(SpecialValues, OfComplexOperationsOnFile1) {
  ExpectExamples({
      {"ComplexAF1", Z(2, 3), 0, {4, 5}, {}, 1, 0, 1, {-7, 22}},
      {"ComplexAF1", Z(2, 3), 0, {4, 5}, {}, 1, 0, 0, {-7}},
      {"ComplexAF1Clamped", Z(2, 3), 0, {4, 5}, {}, 1, 0, 0, {0}},
      {"ComplexAF1", Z(2, 3), 0, {1}, {}, 0, 0, 1, {2, 3}},
      {"ComplexAF1", 1, 0, {kInf, 0}, {}, 1, 0, 1, {kInf, kNan}},  // nothing is mended
      {"ComplexAF1_Plus_B", 2, Z(1, 1), {3}, {}, 0, 0, 1, {7, 1}},
      {"ComplexConj_AF1", Z(1, 1), 0, {2, 3}, {}, 1, 0, 1, {-1, -5}},
      {"ComplexConj_AF1", 1, 0, {2, 0}, {}, 1, 0, 1, {2, -0.0F}},
      {"ComplexConj_AF1", 1, 0, {3, 4}, {}, 1, 0, 0, {3}},
      {"ComplexConj_AF1Clamped", Z(1, 1), 0, {2, 3}, {}, 1, 0, 0, {0}},
      {"ComplexAbs_AF1", 1, 0, {3, 4, 0, 0, -2, 0}, {}, 1, 0, 1, {5, 0, 0, 0, 2, 0}},
      {"ComplexAbs_AF1", Z(0, 1), 0, {3, 4}, {}, 1, 0, 0, {5}},
      {"ComplexAbs_AF1", 1, 0, {2e38F, 2e38F, 1e-45F, 0}, {}, 1, 0, 0, {2.8284271e38F, 1e-45F}},
      {"ComplexAbs_AF1", Z(1, 1), 0, {kInf, 0, 1, kNan}, {}, 1, 0, 0, {kNan, kNan}},
      {"ComplexA_Phase_F1", 1, 0, {1, 1, -1, 1}, {}, 1, 0, 0, {0.785398163F, 2.35619449F}},
      {"ComplexA_Phase_F1", 1, 0, {-1, -1}, {}, 1, 0, 0, {-2.35619449F}},
      {"ComplexA_Phase_F1Clamped", 1, 0, {-1, -1}, {}, 1, 0, 0, {0}},
      {"ComplexA_Phase_F1", Z(2, 1), 0, {1, 1}, {}, 1, 0, 1, {1.57079633F, 0.785398163F}},
      // Elements on an axis have phase 0, not pi or pi / 2; so have real images.
      {"ComplexA_Phase_F1", Z(kInf, kNan), 0, {-1, 0, 0, 1}, {}, 1, 0, 1, {0, 0, 0, 0}},
      {"ComplexA_Phase_F1", Z(kInf, kNan), 0, {-0.0F, -3, kNan, 1}, {}, 1, 0, 1, {0, 0, 0, 0}},
      {"ComplexA_Phase_F1", Z(kInf, kNan), 0, {1, kNan}, {}, 1, 0, 1, {0, 0}},
      {"ComplexA_Phase_F1", 1, 0, {-1, 2}, {}, 0, 0, 0, {0, 0}},
  });
}

TEST(SpecialValues, OfComplexOperationsWithFile2) {
  ExpectExamples({
      {"ComplexA_DividedBy_F2", 1, 0, {}, {4}, 0, 0, 1, {0.25F, 0}},
      {"ComplexA_DividedBy_F2", 1, 0, {}, {0, 2}, 0, 1, 1, {0, -0.5F}},
      {"ComplexA_DividedBy_F2", 1, 0, {}, {0, 0}, 0, 1, 1, {kNan, kNan}},
      {"ComplexA_DividedBy_F2Clamped", 1, 0, {}, {0, 0}, 0, 1, 0, {0}},
      {"ComplexA_DividedBy_F2", 1, 0, {}, {1e30F, 1e-30F}, 0, 0, 0, {1e-30F, 1e30F}},
      {"ComplexAF1_DividedBy_F2", 1, 0, {5, 10}, {1, 2}, 1, 1, 1, {5, 0}},
      {"ComplexAF1_Times_Conj_BF2", 1, 1, {0, 1}, {0, 1}, 1, 1, 1, {1, 0}},
      {"ComplexAF1_Times_Conj_BF2", 1, 1, {0, 1}, {0, 1}, 1, 1, 0, {1}},
      {"ComplexAF1_Times_F2", Z(0, 1), Z(kNan, kNan), {1, 2}, {3, 4}, 1, 1, 1, {-10, -5}},
      {"ComplexAF1_Plus_BF2", Z(1, 2), Z(3, 4), {5}, {6, 7}, 0, 1, 1, {-5, 55}},
  });
}

TEST(SpecialValues, OfTheComplexLogarithmAndPower) {
  ExpectExamples({
      {"ComplexA_Ln_F1_Plus_B", 1, 0, {1, -1}, {}, 0, 0, 1, {0, 0, 0, kPi}},
      {"ComplexA_Ln_F1_Plus_B", 1, 0, {-1, -1e-30F}, {}, 1, 0, 1, {0, -kPi}},
      {"ComplexA_Ln_F1_Plus_B", 1, -2, {2}, {}, 0, 0, 1, {-kInf, kNan}},
      {"ComplexA_Ln_F1_Plus_B", 1, 0, {0, 0}, {}, 1, 0, 0, {-kInf}},
      {"ComplexA_Ln_F1_Plus_BClamped", 1, 0, {0, 0}, {}, 1, 0, 0, {0}},
      {"ComplexA_Ln_F1_Plus_B", 1, 0, {3e38F, 3e38F}, {}, 1, 0, 0, {kInf}},
      {"ComplexF1_Plus_B_Pow_A", 0, 0, {0, 0, 3, 0}, {}, 1, 0, 0, {0, 1}},
      {"ComplexF1_Plus_B_Pow_A", Z(2, 1), 0, {kNan}, {}, 0, 0, 1, {0, 0}},
      {"ComplexF1_Plus_B_Pow_A", Z(2, 1), 0, {kNan, 1}, {}, 1, 0, 1, {kNan, kNan}},
      {"ComplexF1_Plus_B_Pow_A", 10, 0, {1e10F}, {}, 0, 0, 1, {kInf, kNan}},
  });
}

TEST(SpecialValues, PowerTakesThePrincipalValue) {
  OutputStats stats{kInf, -kInf, 0.0F};
  const std::vector<float> out = RunExample(
      {"ComplexF1_Plus_B_Pow_A", 1.0F / 3.0F, 0, {-8}, {}, 0, 0, 1, {1, 1.7320508F}}, stats);
  EXPECT_NEAR(out[0], 1.0F, 1e-6F);
  EXPECT_NEAR(out[1], 1.7320508F, 1e-6F);
}

// ---- The statistics record ----------------------------------------------------------------------

struct Counting {
  const char* what;
  OutputStats before;
  std::vector<float> values;
  OutputStats after;
};

TEST(Record, FollowsTheCountingRule) {
  const Counting examples[] = {
      {"a NaN replaces the minimum and not the maximum", {1, 2, 0}, {kNan}, {kNan, 2, kNan}},
      {"the next value replaces a NaN minimum", {1, 2, 0}, {kNan, 5}, {5, 5, kNan}},
      {"a NaN maximum stays", {kNan, kNan, 0}, {3, 4}, {3, kNan, 7}},
      {"zeros of either sign are equal", {0, -0.0F, 0}, {-0.0F, 0}, {0, -0.0F, 0}},
      {"the sum is rounded at every element", {0, 1, 16777216}, {1, 1, 1}, {0, 1, 16777216}},
      {"a tie goes to the even neighbour", {0, 3, 16777218}, {1, 1}, {0, 3, 16777220}},
      {"the record is never reset", {0, 0, 0}, {2, 3}, {0, 3, 5}},
      {"infinities are counted", {0, 0, 0}, {kInf, -kInf}, {-kInf, kInf, kNan}},
      {"nothing is counted of nothing", {kNan, 7, -0.0F}, {}, {kNan, 7, -0.0F}},
  };
  for (const Counting& e : examples) {
    OutputStats stats = e.before;
    RunExample({"RealAF1", 1, 0, e.values, e.values, 0, 0, 0, e.values}, stats);
    EXPECT_TRUE(SameBits(stats, e.after))
        << e.what << ": " << stats.minimum << " " << stats.maximum << " " << stats.sum;
  }
}

TEST(Record, CountsTheValueBeforeItsRoundingForTheStore) {
  OutputStats stats{kInf, -kInf, 16777216.0F};
  // 1 + 2^-24 is stored as 1, but it is more than half a unit of the sum.
  const std::vector<float> out =
      RunExample({"RealAF1_Plus_B", 1, 5.9604645e-08F, {1}, {}, 0, 0, 0, {1}}, stats);
  EXPECT_EQ(out[0], 1.0F);
  EXPECT_EQ(stats.sum, 16777218.0F);
}

TEST(Record, CountsInWalkingOrder) {
  const std::vector<float> data = {kNan, 5};
  OutputStats forward{10, -10, 0};
  RunExample({"ComplexAF1", 1, 0, data, {}, 0, 0, 0, {0, 0}}, forward);
  EXPECT_EQ(forward.minimum, 5.0F);
  OutputStats backward{10, -10, 0};
  RunExample({"ComplexAF1", 1, 0, data, {}, 0, 0, 1, {0, 0, 0, 0}}, backward);
  EXPECT_TRUE(std::isnan(backward.minimum));
}

}  // namespace
}  // namespace lumomixcalc
