#include "ops/selection.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "tests/kernels/reference.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Coefficient = std::array<float, 2>;

struct Flags {
  std::int32_t clamp, out, in1, in2;
};

SelectedProc Select(std::int32_t op, const Coefficient& a, const Coefficient& b,
                    const Flags& flags) {
  SelectedProc* record =
      SelectProcessing(op, flags.clamp, a.data(), b.data(), flags.out, flags.in1, flags.in2);
  const SelectedProc copy = *record;
  std::free(record);
  return copy;
}

// ---- Kernels known by what they do --------------------------------------------------------------

// What a kernel makes of a few elements that no two kernels treat alike: its output and statistics,
// all NaNs as one. The flags call for complex data, which real kernels take for real.
using Fingerprint = std::vector<std::uint32_t>;

Fingerprint FingerprintOf(KernelFn kernel) {
  const float in1[12] = {-7, -4.5F, 1, 2, kNan, 3, -0.25F, 3, 2, -8, -1, -1};
  const float in2[12] = {2, 0.5F, -1, 3, 4, -4, 1, -2, -3, 0.25F, 0.5F, 5};
  float result[15] = {};
  const ProcParams params = {{3, 2}, {5, 7}, 1, 1, 1};
  kernel(result, result + 12, in1, in2, 6, params);
  Fingerprint bits;
  for (float v : result) bits.push_back(std::bit_cast<std::uint32_t>(std::isnan(v) ? kNan : v));
  return bits;
}

std::map<Fingerprint, std::string> NamesOfKernels() {
  std::map<Fingerprint, std::string> names;
  for (const KernelCase& kernel : AllKernels()) names[FingerprintOf(kernel.kernel)] = kernel.name;
  return names;
}

TEST(Selection, TheProbeOfTheseTestsTellsAllFortyKernelsApart) {
  EXPECT_EQ(NamesOfKernels().size(), 40U);
}

// ---- The kernel of a run ------------------------------------------------------------------------

// The kernels of an operator: the first line whose condition holds. Conditions, and what makes the
// kernel complex, by letter: o, 1, 2 the output, File1, File2 is complex; a, b the imaginary part
// of A, B is not zero; 0 both parts of B are zero; * in any case.
struct Choice {
  std::int32_t op;
  char condition;
  const char* operation;
  const char* complexBy;
  bool canClamp = true;
};

constexpr Choice kChoices[] = {
    {0, '0', "AF1", "o1"},
    {0, '*', "AF1_Plus_BF2", "o12"},
    {1, '0', "AF1", "o1"},
    {1, '*', "AF1_Plus_BF2", "o12"},
    {2, '*', "AF1_Times_F2", "o12"},
    {3, '*', "AF1_DividedBy_F2", "o12"},
    {4, '2', "AF1_Times_Conj_BF2", "*"},
    {4, '*', "AF1_Times_F2", "o1"},
    {5, '*', "Abs_AF1", "o1a", false},
    {6, '1', "Conj_AF1", "*"},
    {6, '*', "AF1", "o"},
    {7, '*', "A_Phase_F1", "*"},
    {8, '0', "AF1", "o1"},
    {8, '*', "AF1_Plus_B", "o1"},
    {9, '*', "AF1", "o1"},
    {10, '*', "A_DividedBy_F2", "o2"},
    {11, '*', "A_Ln_F1_Plus_B", "o1b"},
    {12, '*', "F1_Plus_B_Pow_A", "o1ab"},
};

// A NaN counts as zero, too.
bool IsNonzero(float part) { return part != 0.0F && !std::isnan(part); }

std::string ExpectedKernel(std::int32_t op, const Coefficient& a, const Coefficient& b,
                           const Flags& flags) {
  const std::map<char, bool> holds = {{'o', flags.out != 0},
                                      {'1', flags.in1 != 0},
                                      {'2', flags.in2 != 0},
                                      {'a', IsNonzero(a[1])},
                                      {'b', IsNonzero(b[1])},
                                      {'0', !IsNonzero(b[0]) && !IsNonzero(b[1])},
                                      {'*', true}};
  const Choice* choice = kChoices;
  while (choice->op != op || !holds.at(choice->condition)) ++choice;
  std::string name = "Real";
  for (const char* letter = choice->complexBy; *letter != '\0'; ++letter) {
    if (holds.at(*letter)) name = "Complex";
  }
  const bool clamped = choice->canClamp && flags.clamp != 0 && flags.out == 0;
  return name + choice->operation + (clamped ? "Clamped" : "");
}

TEST(Selection, EveryOperatorGetsItsKernelForAllFlagsAndKindsOfCoefficients) {
  const std::map<Fingerprint, std::string> names = NamesOfKernels();
  constexpr float kParts[] = {-1.5F, 0.0F, -0.0F, kNan};
  for (std::int32_t run = 0; run < 13 * 16 * 64; ++run) {
    const auto digit = [&](std::int32_t place, std::int32_t base) { return run / place % base; };
    // Any nonzero flag is set.
    const Flags flags = {2 * digit(1, 2), 3 * digit(2, 2), 4 * digit(4, 2), -1 * digit(8, 2)};
    const Coefficient a = {2.0F, kParts[digit(16, 4)]};
    const Coefficient b = {kParts[digit(64, 4)], kParts[digit(256, 4)]};
    const std::int32_t op = run / 1024;
    const SelectedProc selected = Select(op, a, b, flags);
    ASSERT_EQ(names.at(FingerprintOf(selected.kernel)), ExpectedKernel(op, a, b, flags))
        << kExpectedOperators[op].label << ", A = 2, " << a[1] << ", B = " << b[0] << ", " << b[1]
        << ", complex: output " << flags.out << ", File1 " << flags.in1 << ", File2 " << flags.in2;
    ASSERT_EQ(selected.params.outComplex, flags.out);
    ASSERT_EQ(selected.params.in1Complex, flags.in1);
    ASSERT_EQ(selected.params.in2Complex, flags.in2);
  }
}

// ---- Folded coefficients ------------------------------------------------------------------------

TEST(Selection, FoldsTheCoefficientsBitForBit) {
  constexpr Flags kReal = {0, 0, 0, 0}, kComplex1 = {0, 0, 1, 0}, kComplex2 = {0, 0, 0, 1};
  constexpr float kUlp = 0x1p-23F;
  const struct {
    std::int32_t op;
    Coefficient a, b;
    Flags flags;
    Coefficient foldedA, foldedB;
  } cases[] = {
      // Sums keep both coefficients, signs of zero included; a difference negates B.
      {0, {-0.0F, 2}, {3, -0.0F}, kReal, {-0.0F, 2}, {3, -0.0F}},
      {0, {1, 2}, {kNan, 3}, kReal, {1, 2}, {kNan, 3}},
      {1, {1, 2}, {2, 3}, kComplex2, {1, 2}, {-2, -3}},
      {1, {1, 2}, {0, -kInf}, kReal, {1, 2}, {-0.0F, kInf}},
      {8, {1, 2}, {-0.0F, 4}, kComplex1, {1, 2}, {-0.0F, 4}},
      // Nothing to add leaves A * (1 + 0i), by the textbook product.
      {0, {2, 3}, {0, -0.0F}, kComplex2, {2, 3}, {1, 0}},
      {0, {2, 3}, {kNan, 0}, kReal, {2, 3}, {1, 0}},
      {1, {-0.0F, -0.0F}, {0, 0}, kReal, {0.0F, -0.0F}, {1, 0}},
      {8, {kInf, 0}, {0, kNan}, kReal, {kInf, kNan}, {1, 0}},
      // Products; in single precision the first real part below would be 0.
      {2, {1, 2}, {3, 4}, kReal, {-5, 10}, {1, 0}},
      {9, {1 + kUlp, 1}, {1 - kUlp, 1}, kReal, {-0x1p-46F, 2}, {1, 0}},
      {9, {kInf, kInf}, {1, 1}, kReal, {kNan, kInf}, {1, 0}},
      {2, {3e38F, 0}, {2, 0}, kReal, {kInf, 0}, {1, 0}},
      // Quotients go through one reciprocal; a division of each part gives another first part
      // below.
      {3, {0x1.99999ap-1F, 9.5F}, {7, 7}, kReal, {0x1.78af8ap-1F, 0x1.3e2be2p-1F}, {1, 0}},
      {3, {1, 0}, {0, 2}, kReal, {0, -0.5F}, {1, 0}},
      {10, {1, 0}, {0, 2}, kComplex2, {0, -0.5F}, {1, 0}},
      {10, {1, 2}, {3, -4}, kReal, {-0.2F, 0.4F}, {1, 0}},
      {10, {1e30F, 0}, {1e30F, 0}, kReal, {1, 0}, {1, 0}},
      {3, {1, 0}, {0, 0}, kReal, {kNan, kNan}, {1, 0}},
      {10, {5, -1}, {0, -0.0F}, kReal, {kNan, kNan}, {1, 0}},
      // The conjugate of a real image is that of its coefficient.
      {4, {2, 3}, {1, 1}, kComplex1, {5, 1}, {1, 0}},
      {4, {2, 3}, {1, 1}, kComplex2, {2, 3}, {1, 1}},
      {6, {3, 4}, {7, 8}, kReal, {3, -4}, {1, 0}},
      {6, {3, 4}, {7, 8}, kComplex1, {3, 4}, {0, 0}},
      // The rest reach their kernels as they are.
      {5, {-0.0F, 4}, {7, -8}, kReal, {-0.0F, 4}, {7, -8}},
      {7, {3, -4}, {0, -0.0F}, kReal, {3, -4}, {0, -0.0F}},
      {11, {3, 4}, {-0.0F, kNan}, kReal, {3, 4}, {-0.0F, kNan}},
      {12, {3, kInf}, {7, -0.0F}, kReal, {3, kInf}, {7, -0.0F}},
  };
  for (const auto& c : cases) {
    const SelectedProc selected = Select(c.op, c.a, c.b, c.flags);
    const ProcParams& params = selected.params;
    EXPECT_TRUE(SameBits(params.A.real(), c.foldedA[0]) &&
                SameBits(params.A.imag(), c.foldedA[1]) &&
                SameBits(params.B.real(), c.foldedB[0]) && SameBits(params.B.imag(), c.foldedB[1]))
        << kExpectedOperators[c.op].label << " with A = " << c.a[0] << ", " << c.a[1]
        << ", B = " << c.b[0] << ", " << c.b[1] << " gives A = " << params.A
        << ", B = " << params.B;
  }
}

}  // namespace
}  // namespace lumomixcalc
