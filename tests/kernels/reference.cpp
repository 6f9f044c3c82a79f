#include "tests/kernels/reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "ops/selection.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

// ---- Arithmetic ---------------------------------------------------------------------------------

// A number at working precision: x, without an imaginary part, or x + iy. The two are not the same
// where y is 0: 0 * inf is NaN.
struct Number {
  Number(double x) : re(x), isReal(true) {}  // NOLINT(google-explicit-constructor)
  Number(double x, double y) : re(x), im(y) {}

  double re;
  double im = 0;
  bool isReal = false;
};
using N = Number;

N operator+(N x, N y) {
  if (x.isReal) return x.re + y.re;
  return {x.re + y.re, x.im + y.im};
}

N operator*(N x, N y) {
  if (x.isReal) return x.re * y.re;
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}

N operator/(N x, N y) {
  if (x.isReal) return x.re / y.re;
  const double r = 1 / (y.re * y.re + y.im * y.im);
  return {(x.re * y.re + x.im * y.im) * r, (x.im * y.re - x.re * y.im) * r};
}

N Conj(N x) { return {x.re, -x.im}; }

float Single(double v) { return static_cast<float>(v); }

bool IsZeroOrNan(double v) { return v == 0 || std::isnan(v); }

double Modulus(N x) {
  const double re = std::abs(x.re);
  const double im = std::abs(x.im);
  const double s = Single(re >= im ? re : im);
  if (IsZeroOrNan(s)) return s;
  return s * std::sqrt((x.re / s) * (x.re / s) + (x.im / s) * (x.im / s));
}

N Ln(N x) {
  if (x.isReal) return std::log(x.re);
  return {logf(Single(Modulus(x))), atan2f(Single(x.im), Single(x.re))};
}

// ---- Formulas -----------------------------------------------------------------------------------

N Af1(N f1, N, N a, N) { return a * f1; }
N Af1PlusB(N f1, N, N a, N b) { return a * f1 + b; }
N Af1PlusBf2(N f1, N f2, N a, N b) { return a * f1 + b * f2; }
N Af1TimesF2(N f1, N f2, N a, N) { return (a * f1) * f2; }
N Af1DividedByF2(N f1, N f2, N a, N) { return (a * f1) / f2; }
N Af1TimesConjBf2(N f1, N f2, N a, N b) { return (a * f1) * Conj(b * f2); }
N ConjAf1(N f1, N, N a, N) { return Conj(a * f1); }
N ADividedByF2(N, N f2, N a, N) { return a / f2; }
N ALn(N f1, N, N a, N b) { return a * Ln(f1 + b); }

N AbsAf1(N f1, N, N a, N) {
  const N x = a * f1;
  if (x.isReal) return x.re >= 0 ? x.re : -x.re;
  return {Modulus(x), 0};
}

N APhase(N f1, N, N a, N) {
  if (IsZeroOrNan(f1.re) || IsZeroOrNan(f1.im)) return {0, 0};
  const double theta = std::atan2(f1.im, f1.re);
  return {Single(a.re * theta), Single(a.im * theta)};
}

N PowA(N f1, N, N a, N b) {
  const N x = f1 + b;
  if (x.isReal) return std::pow(x.re, a.re);
  if (IsZeroOrNan(x.re) && IsZeroOrNan(x.im)) return {0, 0};
  const N p = Ln(x) * a;
  const double e = expf(Single(p.re));
  const double theta = Single(p.im);
  return {std::cos(theta) * e, std::sin(theta) * e};
}

// ---- Folded coefficients ------------------------------------------------------------------------

struct Folded {
  N a, b;
};

Folded AsTheyAre(N a, N b) { return {a, b}; }
Folded Difference(N a, N b) { return {a, {-b.re, -b.im}}; }
Folded Product(N a, N b) { return {a * b, {1, 0}}; }
Folded ConjProduct(N a, N b) { return {a * Conj(b), {1, 0}}; }
Folded Quotient(N a, N b) { return {a / b, {1, 0}}; }
Folded AAlone(N a, N) { return {a * N(1, 0), {1, 0}}; }
Folded ConjAAlone(N a, N) { return {Conj(a) * N(1, 0), {1, 0}}; }
Folded ABesideZero(N a, N) { return {a, {0, 0}}; }

// ---- Operators ----------------------------------------------------------------------------------

// What an operator computes: the first line whose condition holds. Conditions, and what asks for
// complex arithmetic, by letter: o, 1, 2 the output, File1, File2 is complex; a, b the imaginary
// part of A, B is not zero; 0 both parts of B are zero; * in any case. A NaN counts as zero, too.
constexpr struct Plan {
  std::int32_t op;
  char condition;
  N (*formula)(N f1, N f2, N a, N b);
  const char* complexBy;
  Folded (*fold)(N a, N b);
  bool clamps = true;
  bool realKeepsNan = false;  // under a clamp
} kPlans[] = {
    {0, '0', Af1, "o1", AAlone},
    {0, '*', Af1PlusBf2, "o12", AsTheyAre},
    {1, '0', Af1, "o1", AAlone},
    {1, '*', Af1PlusBf2, "o12", Difference},
    {2, '*', Af1TimesF2, "o12", Product},
    {3, '*', Af1DividedByF2, "o12", Quotient},
    {4, '2', Af1TimesConjBf2, "*", AsTheyAre},
    {4, '*', Af1TimesF2, "o1", ConjProduct},
    {5, '*', AbsAf1, "o1a", AsTheyAre, false},
    {6, '1', ConjAf1, "*", ABesideZero},
    {6, '*', Af1, "o", ConjAAlone},
    {7, '*', APhase, "*", AsTheyAre},
    {8, '0', Af1, "o1", AAlone},
    {8, '*', Af1PlusB, "o1", AsTheyAre},
    {9, '*', Af1, "o1", Product},
    {10, '*', ADividedByF2, "o2", Quotient},
    {11, '*', ALn, "o1b", AsTheyAre, true, true},
    {12, '*', PowA, "o1ab", AsTheyAre, true, true},
};

// A plan with the letters of a run filled in.
struct RunPlan {
  explicit RunPlan(const OperatorRun& run) {
    const std::map<char, bool> holds = {
        {'o', run.layout.out != 0},
        {'1', run.layout.in1 != 0},
        {'2', run.layout.in2 != 0},
        {'a', !IsZeroOrNan(run.a.imag())},
        {'b', !IsZeroOrNan(run.b.imag())},
        {'0', IsZeroOrNan(run.b.real()) && IsZeroOrNan(run.b.imag())},
        {'*', true}};
    while (plan->op != run.op || !holds.at(plan->condition)) ++plan;
    for (const char letter : std::string(plan->complexBy)) isComplex |= holds.at(letter);
    const auto [foldedA, foldedB] =
        plan->fold({run.a.real(), run.a.imag()}, {run.b.real(), run.b.imag()});
    a = {Single(foldedA.re), Single(foldedA.im)};
    b = {Single(foldedB.re), Single(foldedB.im)};
  }

  const Plan* plan = kPlans;
  bool isComplex = false;
  std::complex<float> a, b;
};

// Applies the plan to n elements; `out` must not overlap the inputs.
void Apply(const RunPlan& plan, const OperatorRun& run, const Layout& layout, float* out,
           OutputStats& stats, const float* in1, const float* in2, std::int32_t n) {
  const auto number = [&](const float* buffer, bool isPairs, std::ptrdiff_t i) -> N {
    if (!plan.isComplex) return buffer[i];
    return isPairs ? N(buffer[2 * i], buffer[2 * i + 1]) : N(buffer[i], 0);
  };
  const N a = plan.isComplex ? N(plan.a.real(), plan.a.imag()) : N(plan.a.real());
  const N b = plan.isComplex ? N(plan.b.real(), plan.b.imag()) : N(plan.b.real());
  const bool clamp = run.clamp != 0 && plan.plan->clamps && run.layout.out == 0;
  const bool keepsNan = plan.plan->realKeepsNan && !plan.isComplex;
  const bool pairs = plan.isComplex && layout.out != 0;
  const bool backward = pairs && (layout.in1 == 0 || layout.in2 == 0);
  for (std::int32_t step = 0; step < n; ++step) {
    const std::ptrdiff_t i = backward ? n - 1 - step : step;
    const N f1 = number(in1, layout.in1 != 0, i);
    const N f2 = number(in2, layout.in2 != 0, i);
    const N w = plan.plan->formula(f1, f2, a, b);
    const bool stays = !clamp || w.re > 0 || (keepsNan && std::isnan(w.re));
    const double v = stays ? w.re : 0;
    out[pairs ? 2 * i : i] = static_cast<float>(v);
    if (pairs) out[2 * i + 1] = static_cast<float>(w.im);
    ReferenceCount(v, stats);
  }
}

std::string Text(const Layout& layout) {
  return testing::PrintToString(std::array{layout.out, layout.in1, layout.in2});
}

}  // namespace

void ExpectPlainRule(const OperatorRun& run, const Layout& layout, std::int32_t n, bool special,
                     Place place, std::mt19937& random) {
  SCOPED_TRACE(testing::Message() << kExpectedOperators[run.op].label << ", A = " << run.a
                                  << ", B = " << run.b << ", clamp " << run.clamp
                                  << ", selected for layout " << Text(run.layout)
                                  << ", called with " << Text(layout) << "; n " << n << ", special "
                                  << special << ", place " << static_cast<int>(place));
  const std::size_t room = 2 * static_cast<std::size_t>(n) + 32;
  std::vector<float> before(3 * room);
  std::generate(before.begin(), before.end(), [&] { return Draw(special, random); });
  const std::size_t in1 = 16 + random() % 16;
  const std::size_t in2 = place == Place::kOverBoth ? in1 : room + 16 + random() % 16;
  std::size_t out = place == Place::kOverFile2 ? in2 : in1;
  if (place == Place::kSeparate) out = 2 * room + random() % 16;
  const OutputStats start = {Draw(special, random), Draw(special, random), Draw(special, random)};

  const RunPlan plan(run);
  std::vector<float> expected = before;
  OutputStats expectedStats = start;
  Apply(plan, run, layout, &expected[out], expectedStats, &before[in1], &before[in2], n);

  SelectedProc* const selected = SelectProcessing(
      run.op, run.clamp, reinterpret_cast<const float*>(&run.a),
      reinterpret_cast<const float*>(&run.b), run.layout.out, run.layout.in1, run.layout.in2);
  const ProcParams params = selected->params;
  selected->params = {params.A, params.B, layout.in1, layout.in2, layout.out};
  std::vector<float> actual = before;
  OutputStats stats = start;
  PerformProcessing(&actual[out], &stats.minimum, &actual[in1], &actual[in2], n, selected);
  std::free(selected);

  EXPECT_TRUE(SameBits(params.A, plan.a) && SameBits(params.B, plan.b))
      << "folded to " << params.A << ", " << params.B << ", expected " << plan.a << ", " << plan.b;
  EXPECT_EQ(Text({params.outComplex, params.in1Complex, params.in2Complex}), Text(run.layout));
  EXPECT_TRUE(SameBits(stats, expectedStats))
      << "record " << stats.minimum << " " << stats.maximum << " " << stats.sum << ", expected "
      << expectedStats.minimum << " " << expectedStats.maximum << " " << expectedStats.sum;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ASSERT_TRUE(SameBits(actual[i], expected[i]))
        << "float " << static_cast<std::ptrdiff_t>(i - out) << " of the output is " << actual[i]
        << ", expected " << expected[i];
  }
}

float Draw(bool special, std::mt19937& random) {
  static constexpr std::array kSpecials = {0.0F,   -0.0F,     1.0F,     -1.0F, 1e-45F, -1e-45F,
                                           1e-30F, -3e-39F,   -1e30F,   3e38F, -3e38F, 1e10F,
                                           2.5F,   -INFINITY, INFINITY, NAN};
  return special ? kSpecials[random() % kSpecials.size()]
                 : std::uniform_real_distribution<float>(-10, 10)(random);
}

void ReferenceCount(double v, OutputStats& stats) {
  if (!(v >= stats.minimum)) stats.minimum = static_cast<float>(v);
  if (v > stats.maximum) stats.maximum = static_cast<float>(v);
  stats.sum = static_cast<float>(v + stats.sum);
}

bool SameBits(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool SameBits(std::complex<float> a, std::complex<float> b) {
  return SameBits(a.real(), b.real()) && SameBits(a.imag(), b.imag());
}

bool SameBits(const OutputStats& a, const OutputStats& b) {
  return SameBits(a.minimum, b.minimum) && SameBits(a.maximum, b.maximum) && SameBits(a.sum, b.sum);
}

}  // namespace lumomixcalc
