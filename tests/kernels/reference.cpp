#include "tests/kernels/reference.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <map>
#include <string>

namespace lumomixcalc {
namespace {

// A number at working precision: x, without an imaginary part, or x + iy. The two are not the same
// where y is 0: 0 * inf is NaN.
struct N {
  N(double x) : re(x), isReal(true) {}  // NOLINT(google-explicit-constructor)
  N(double x, double y) : re(x), im(y) {}

  double re;
  double im = 0;
  bool isReal = false;
};

N operator+(N x, N y) { return x.isReal ? N(x.re + y.re) : N(x.re + y.re, x.im + y.im); }

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
  const double s = Single(std::abs(std::abs(x.re) >= std::abs(x.im) ? x.re : x.im));
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

using Folded = std::array<N, 2>;

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
} kPlans[] = {
    {0, '0', Af1, "o1", AAlone},
    {0, '*', Af1PlusBf2, "o12", AsTheyAre},
    {1, '0', Af1, "o1", AAlone},
    {1, '*', Af1PlusBf2, "o12", Difference},
    {2, '*', Af1TimesF2, "o12", Product},
    {3, '*', Af1DividedByF2, "o12", Quotient},
    {4, '2', Af1TimesConjBf2, "*", AsTheyAre},
    {4, '*', Af1TimesF2, "o1", ConjProduct},
    {5, '*', AbsAf1, "o1a", AsTheyAre},
    {6, '1', ConjAf1, "*", ABesideZero},
    {6, '*', Af1, "o", ConjAAlone},
    {7, '*', APhase, "*", AsTheyAre},
    {8, '0', Af1, "o1", AAlone},
    {8, '*', Af1PlusB, "o1", AsTheyAre},
    {9, '*', Af1, "o1", Product},
    {10, '*', ADividedByF2, "o2", Quotient},
    {11, '*', ALn, "o1b", AsTheyAre},
    {12, '*', PowA, "o1ab", AsTheyAre},
};

}  // namespace

ProcParams Reference(const OperatorRun& run, const Layout& layout, float* out, OutputStats& stats,
                     const float* in1, const float* in2, std::int32_t n) {
  const auto& [op, clamp, userA, userB, layoutOfRun] = run;
  const std::map<char, bool> holds = {{'o', layoutOfRun.out != 0},
                                      {'1', layoutOfRun.in1 != 0},
                                      {'2', layoutOfRun.in2 != 0},
                                      {'a', !IsZeroOrNan(userA.imag())},
                                      {'b', !IsZeroOrNan(userB.imag())},
                                      {'0', IsZeroOrNan(userB.real()) && IsZeroOrNan(userB.imag())},
                                      {'*', true}};
  const Plan* plan = kPlans;
  while (plan->op != op || !holds.at(plan->condition)) ++plan;
  bool isComplex = false;
  for (const char letter : std::string(plan->complexBy)) isComplex |= holds.at(letter);

  const auto folded = plan->fold({userA.real(), userA.imag()}, {userB.real(), userB.imag()});
  const std::complex<float> A(Single(folded[0].re), Single(folded[0].im));
  const std::complex<float> B(Single(folded[1].re), Single(folded[1].im));
  const auto number = [isComplex](const float* parts, bool isPair) {
    return isComplex ? N(parts[0], isPair ? parts[1] : 0) : N(parts[0]);
  };
  const N a = isComplex ? N(A.real(), A.imag()) : N(A.real());
  const N b = isComplex ? N(B.real(), B.imag()) : N(B.real());
  const bool clamps = clamp != 0 && layoutOfRun.out == 0 && plan->formula != AbsAf1;
  const bool keepsNan = !isComplex && (plan->formula == ALn || plan->formula == PowA);
  const bool pairs = isComplex && layout.out != 0;
  const bool backward = pairs && (layout.in1 == 0 || layout.in2 == 0);
  for (std::int32_t step = 0; step < n; ++step) {
    const std::ptrdiff_t i = backward ? n - 1 - step : step;
    const auto element = [&](const float* buffer, bool isPairs) {
      return number(buffer + (isComplex && isPairs ? 2 * i : i), isPairs);
    };
    const N w = plan->formula(element(in1, layout.in1 != 0), element(in2, layout.in2 != 0), a, b);
    const bool stays = !clamps || w.re > 0 || (keepsNan && std::isnan(w.re));
    const double v = stays ? w.re : 0;
    out[pairs ? 2 * i : i] = Single(v);
    if (pairs) out[2 * i + 1] = Single(w.im);
    ReferenceCount(v, stats);
  }
  return {A, B, layoutOfRun.in1, layoutOfRun.in2, layoutOfRun.out};
}

std::unique_ptr<SelectedProc, decltype(&std::free)> Select(const OperatorRun& run) {
  // A std::complex<float> may be accessed as an array of its two parts.
  return {SelectProcessing(run.op, run.clamp, reinterpret_cast<const float*>(&run.a),
                           reinterpret_cast<const float*>(&run.b), run.layout.out, run.layout.in1,
                           run.layout.in2),
          std::free};
}

float Draw(bool special, std::mt19937& random) {
  static constexpr std::array kSpecials = {0.0F,   -0.0F,     1.0F,     -1.0F, 1e-45F, -1e-45F,
                                           1e-30F, -3e-39F,   -1e30F,   3e38F, -3e38F, 1e10F,
                                           2.5F,   -INFINITY, INFINITY, NAN};
  return special ? kSpecials[random() % kSpecials.size()]
                 : std::uniform_real_distribution<float>(-10, 10)(random);
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

std::string StatsText(const OutputStats& stats) {
  return testing::PrintToString(std::array{stats.minimum, stats.maximum, stats.sum});
}

}  // namespace lumomixcalc
