#include "ops/selection.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>

#include "tests/kernels/reference.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Z = std::complex<float>;

// What a kernel makes of a few elements that no two kernels treat alike: its output and statistics,
// all NaNs as one. The flags call for complex data, which real kernels take for real.
using Fingerprint = std::array<float, 15>;

Fingerprint FingerprintOf(KernelFn kernel) {
  const float in1[12] = {-7, -4.5F, 1, 2, kNan, 3, -0.25F, 3, 2, -8, -1, -1};
  const float in2[12] = {2, 0.5F, -1, 3, 4, -4, 1, -2, -3, 0.25F, 0.5F, 5};
  Fingerprint result = {};
  kernel(&result[0], &result[12], in1, in2, 6, {{3, 2}, {5, 7}, 1, 1, 1});
  for (float& v : result) v = std::isnan(v) ? -12345 : v;
  return result;
}

// The names of the kernels, known by what they do: each source file may have its own copies.
std::map<Fingerprint, std::string> NamesOfKernels() {
  std::map<Fingerprint, std::string> names;
  for (const KernelCase& kernel : AllKernels()) names[FingerprintOf(kernel.kernel)] = kernel.name;
  return names;
}

struct Folded {
  Number A, B;
};

// How the coefficients are folded.
Folded AsTheyAre(Number a, Number b) { return {a, b}; }
Folded Difference(Number a, Number b) { return {a, {-b.re, -b.im}}; }
Folded Product(Number a, Number b) { return {a * b, {1, 0}}; }
Folded ConjProduct(Number a, Number b) { return {a * Conj(b), {1, 0}}; }
Folded Quotient(Number a, Number b) { return {a / b, {1, 0}}; }
Folded AAlone(Number a, Number) { return {a * Number(1, 0), {1, 0}}; }
Folded ConjAAlone(Number a, Number b) { return AAlone(Conj(a), b); }
Folded ABesideZero(Number a, Number) { return {a, {0, 0}}; }

// The kernels of an operator and its folded coefficients: the first line whose condition holds.
// Conditions, and what makes the kernel complex, by letter: o, 1, 2 the output, File1, File2 is
// complex; a, b the imaginary part of A, B is not zero; 0 both parts of B are zero; * in any case.
constexpr struct Choice {
  std::int32_t op;
  char condition;
  const char* operation;
  const char* complexBy;
  Folded (*fold)(Number a, Number b);
  bool canClamp = true;
} kChoices[] = {
    {0, '0', "AF1", "o1", AAlone},
    {0, '*', "AF1_Plus_BF2", "o12", AsTheyAre},
    {1, '0', "AF1", "o1", AAlone},
    {1, '*', "AF1_Plus_BF2", "o12", Difference},
    {2, '*', "AF1_Times_F2", "o12", Product},
    {3, '*', "AF1_DividedBy_F2", "o12", Quotient},
    {4, '2', "AF1_Times_Conj_BF2", "*", AsTheyAre},
    {4, '*', "AF1_Times_F2", "o1", ConjProduct},
    {5, '*', "Abs_AF1", "o1a", AsTheyAre, false},
    {6, '1', "Conj_AF1", "*", ABesideZero},
    {6, '*', "AF1", "o", ConjAAlone},
    {7, '*', "A_Phase_F1", "*", AsTheyAre},
    {8, '0', "AF1", "o1", AAlone},
    {8, '*', "AF1_Plus_B", "o1", AsTheyAre},
    {9, '*', "AF1", "o1", Product},
    {10, '*', "A_DividedBy_F2", "o2", Quotient},
    {11, '*', "A_Ln_F1_Plus_B", "o1b", AsTheyAre},
    {12, '*', "F1_Plus_B_Pow_A", "o1ab", AsTheyAre},
};

// A NaN counts as zero, too.
bool IsNonzero(float part) { return part != 0.0F && !std::isnan(part); }

bool IsRounded(Z z, Number expected) {
  return SameBits(z.real(), static_cast<float>(expected.re)) &&
         SameBits(z.imag(), static_cast<float>(expected.im));
}

void ExpectSelection(std::int32_t op, std::int32_t clamp, Z a, Z b, const ProcParams& flags) {
  static const std::map<Fingerprint, std::string> names = NamesOfKernels();
  ASSERT_EQ(names.size(), 40U);
  const std::map<char, bool> holds = {{'o', flags.outComplex != 0},
                                      {'1', flags.in1Complex != 0},
                                      {'2', flags.in2Complex != 0},
                                      {'a', IsNonzero(a.imag())},
                                      {'b', IsNonzero(b.imag())},
                                      {'0', !IsNonzero(b.real()) && !IsNonzero(b.imag())},
                                      {'*', true}};
  const Choice* choice = kChoices;
  while (choice->op != op || !holds.at(choice->condition)) ++choice;
  std::string name = "Real";
  for (const char letter : std::string(choice->complexBy)) {
    if (holds.at(letter)) name = "Complex";
  }
  name += choice->operation;
  if (choice->canClamp && clamp != 0 && flags.outComplex == 0) name += "Clamped";

  SelectedProc* const selected = SelectProcessing(
      op, clamp, reinterpret_cast<const float*>(&a), reinterpret_cast<const float*>(&b),
      flags.outComplex, flags.in1Complex, flags.in2Complex);
  const auto& [A, B, in1Complex, in2Complex, outComplex] = selected->params;
  const Folded folded = choice->fold(Number(a), Number(b));
  EXPECT_EQ(names.at(FingerprintOf(selected->kernel)), name);
  EXPECT_TRUE(IsRounded(A, folded.A) && IsRounded(B, folded.B)) << "folded " << A << ", " << B;
  EXPECT_EQ(in1Complex, flags.in1Complex);
  EXPECT_EQ(in2Complex, flags.in2Complex);
  EXPECT_EQ(outComplex, flags.outComplex);
  std::free(selected);
}

TEST(Selection, GivesEveryOperatorItsKernelAndFoldsCoefficientsForAllFlags) {
  // Products of the last two need more than single precision.
  constexpr float kParts[] = {0, -0.0F, kNan, kInf, 1 + 0x1p-23F, 1 - 0x1p-23F};
  for (int run = 0; run < 13 * 16 * 6 * 6 * 6 * 6; ++run) {
    const auto digit = [&](int place, int base) { return run / place % base; };
    const auto flag = [&](int place, std::int32_t set) { return digit(place, 2) * set; };
    const auto part = [&](int place) { return kParts[digit(16 * place, 6)]; };
    const std::int32_t op = run / (16 * 1296);
    const Z a(part(1), part(6));
    const Z b(part(36), part(216));
    // Any nonzero flag is set.
    const ProcParams flags = {{}, {}, flag(2, 3), flag(4, -1), flag(8, 2)};
    SCOPED_TRACE(testing::Message() << kExpectedOperators[op].label << ", A = " << a
                                    << ", B = " << b << ", flags " << run % 16);
    ExpectSelection(op, flag(1, 4), a, b, flags);
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace lumomixcalc
