#include "tests/kernels/reference.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "kernels/element_operations.h"
#include "kernels/post_operations.h"
#include "kernels/proc_as_complex.h"
#include "kernels/proc_as_real.h"

namespace lumomixcalc {
namespace {

using E = const ReferenceElement&;
using V = ReferenceValue;

// ---- Real operations: a and b are the real parts of the coefficients ----------------------------

V RealAf1(E e) { return {e.x1 * e.a, 0}; }
V RealAf1PlusB(E e) { return {(e.x1 * e.a) + e.b, 0}; }
V RealAf1PlusBf2(E e) { return {(e.x1 * e.a) + (e.x2 * e.b), 0}; }
V RealAf1TimesF2(E e) { return {(e.x1 * e.a) * e.x2, 0}; }
V RealAf1DividedByF2(E e) { return {(e.x1 * e.a) / e.x2, 0}; }
V RealADividedByF2(E e) { return {e.a / e.x2, 0}; }
V RealLn(E e) { return {std::log(e.x1 + e.b) * e.a, 0}; }
V RealPow(E e) { return {std::pow(e.x1 + e.b, e.a), 0}; }
V RealAbs(E e) {
  const double p = e.x1 * e.a;
  return {p >= 0 ? p : -p, 0};
}

// ---- Complex operations -------------------------------------------------------------------------

V TimesA(E e) { return {e.a * e.x1 - e.ai * e.y1, e.x1 * e.ai + e.a * e.y1}; }
V TimesB(E e) { return {e.b * e.x2 - e.bi * e.y2, e.x2 * e.bi + e.b * e.y2}; }

V ComplexAf1(E e) { return TimesA(e); }
V ComplexAf1PlusB(E e) { return {TimesA(e).re + e.b, TimesA(e).im + e.bi}; }
V ComplexConj(E e) { return {TimesA(e).re, -TimesA(e).im}; }
V ComplexAf1PlusBf2(E e) { return {TimesA(e).re + TimesB(e).re, TimesA(e).im + TimesB(e).im}; }
V ComplexAf1TimesF2(E e) {
  const V t = TimesA(e);
  return {e.x2 * t.re - e.y2 * t.im, t.im * e.x2 + e.y2 * t.re};
}
V ComplexAf1TimesConjBf2(E e) {
  const V t = TimesA(e);
  const V c{TimesB(e).re, -TimesB(e).im};
  return {t.re * c.re - c.im * t.im, t.im * c.re + t.re * c.im};
}
V Quotient(V t, E e) {
  const double d = e.x2 * e.x2 + e.y2 * e.y2;
  const double r = 1 / d;
  return {(e.x2 * t.re + e.y2 * t.im) * r, (t.im * e.x2 - e.y2 * t.re) * r};
}
V ComplexAf1DividedByF2(E e) { return Quotient(TimesA(e), e); }
V ComplexADividedByF2(E e) { return Quotient({e.a, e.ai}, e); }

double ScaledModulus(V t) {
  const double larger = std::abs(t.re) >= std::abs(t.im) ? std::abs(t.re) : std::abs(t.im);
  const float s = static_cast<float>(larger);
  if (s == 0 || std::isnan(s)) return s;
  const double re = t.re / s;
  const double im = t.im / s;
  return s * std::sqrt(re * re + im * im);
}
V ComplexAbs(E e) { return {ScaledModulus(TimesA(e)), 0}; }

V ComplexPhase(E e) {
  if (e.x1 == 0 || std::isnan(e.x1)) return {0, 0};
  if (e.y1 == 0 || std::isnan(e.y1)) return {0, 0};
  const double theta = std::atan2(e.y1, e.x1);
  return {static_cast<float>(e.a * theta), static_cast<float>(e.ai * theta)};
}

V ATimesLogOf(V z, E e) {
  const double l = logf(static_cast<float>(ScaledModulus(z)));
  const double t = atan2f(static_cast<float>(z.im), static_cast<float>(z.re));
  return {l * e.a - e.ai * t, l * e.ai + e.a * t};
}
V ComplexLn(E e) { return ATimesLogOf({e.x1 + e.b, e.y1 + e.bi}, e); }
V ComplexPow(E e) {
  const V z{e.x1 + e.b, e.y1 + e.bi};
  if ((z.re == 0 || std::isnan(z.re)) && (z.im == 0 || std::isnan(z.im))) return {0, 0};
  const V p = ATimesLogOf(z, e);
  const double modulus = expf(static_cast<float>(p.re));
  const double theta = static_cast<float>(p.im);
  return {std::cos(theta) * modulus, modulus * std::sin(theta)};
}

double Clamp(double v, ReferenceClamp clamp) {
  switch (clamp) {
    case ReferenceClamp::kNone:
      return v;
    case ReferenceClamp::kNanBecomesZero:
      return v > 0 ? v : 0.0;
    case ReferenceClamp::kNanPasses:
      return v <= 0 ? 0.0 : v;
  }
  return v;
}

// ---- The table ----------------------------------------------------------------------------------

template <template <class> class Op>
void AddReal(std::vector<KernelCase>& table, const std::string& name, ReferenceOperation operation,
             bool reads1, bool reads2, ReferenceClamp clamp) {
  table.push_back({"Real" + name, ProcAsReal<Op<float>, UnaryNoOp<float>>::Apply, operation,
                   ReferenceClamp::kNone, false, reads1, reads2});
  if constexpr (!std::is_same_v<Op<float>, Abs_AF1<float>>) {
    table.push_back({"Real" + name + "Clamped", ProcAsReal<Op<float>, ClampAtZero>::Apply,
                     operation, clamp, false, reads1, reads2});
  }
}

template <template <class> class Op>
void AddComplex(std::vector<KernelCase>& table, const std::string& name,
                ReferenceOperation operation, bool reads1, bool reads2) {
  using OpC = Op<std::complex<float>>;
  table.push_back({"Complex" + name, ProcAsComplex<OpC, UnaryNoOp<float>>::Apply, operation,
                   ReferenceClamp::kNone, true, reads1, reads2});
  if constexpr (!std::is_same_v<OpC, Abs_AF1<std::complex<float>>>) {
    table.push_back({"Complex" + name + "Clamped", ProcAsComplex<OpC, ClampAtZero>::Apply,
                     operation, ReferenceClamp::kNanBecomesZero, true, reads1, reads2});
  }
}

std::vector<KernelCase> MakeTable() {
  constexpr auto kZero = ReferenceClamp::kNanBecomesZero;
  constexpr auto kPasses = ReferenceClamp::kNanPasses;
  std::vector<KernelCase> t;
  AddReal<Abs_AF1>(t, "Abs_AF1", RealAbs, true, false, kZero);
  AddReal<AF1>(t, "AF1", RealAf1, true, false, kZero);
  AddReal<AF1_Plus_B>(t, "AF1_Plus_B", RealAf1PlusB, true, false, kZero);
  AddReal<A_DividedBy_F2>(t, "A_DividedBy_F2", RealADividedByF2, false, true, kZero);
  AddReal<A_Ln_F1_Plus_B>(t, "A_Ln_F1_Plus_B", RealLn, true, false, kPasses);
  AddReal<AF1_Plus_BF2>(t, "AF1_Plus_BF2", RealAf1PlusBf2, true, true, kZero);
  AddReal<AF1_Times_F2>(t, "AF1_Times_F2", RealAf1TimesF2, true, true, kZero);
  AddReal<AF1_DividedBy_F2>(t, "AF1_DividedBy_F2", RealAf1DividedByF2, true, true, kZero);
  AddReal<F1_Plus_B_Pow_A>(t, "F1_Plus_B_Pow_A", RealPow, true, false, kPasses);
  AddComplex<Abs_AF1>(t, "Abs_AF1", ComplexAbs, true, false);
  AddComplex<AF1>(t, "AF1", ComplexAf1, true, false);
  AddComplex<AF1_Plus_B>(t, "AF1_Plus_B", ComplexAf1PlusB, true, false);
  AddComplex<Conj_AF1>(t, "Conj_AF1", ComplexConj, true, false);
  AddComplex<A_Phase_F1>(t, "A_Phase_F1", ComplexPhase, true, false);
  AddComplex<AF1_Plus_BF2>(t, "AF1_Plus_BF2", ComplexAf1PlusBf2, true, true);
  AddComplex<AF1_Times_F2>(t, "AF1_Times_F2", ComplexAf1TimesF2, true, true);
  AddComplex<AF1_Times_Conj_BF2>(t, "AF1_Times_Conj_BF2", ComplexAf1TimesConjBf2, true, true);
  AddComplex<AF1_DividedBy_F2>(t, "AF1_DividedBy_F2", ComplexAf1DividedByF2, true, true);
  AddComplex<A_DividedBy_F2>(t, "A_DividedBy_F2", ComplexADividedByF2, false, true);
  AddComplex<A_Ln_F1_Plus_B>(t, "A_Ln_F1_Plus_B", ComplexLn, true, false);
  AddComplex<F1_Plus_B_Pow_A>(t, "F1_Plus_B_Pow_A", ComplexPow, true, false);
  return t;
}

V ElementOf(const std::vector<float>& buffer, bool isComplex, std::int32_t i) {
  const auto at = static_cast<std::size_t>(i);
  if (isComplex) return {buffer[2 * at], buffer[2 * at + 1]};
  return {buffer[at], 0};
}

}  // namespace

const std::vector<KernelCase>& AllKernels() {
  static const std::vector<KernelCase> table = MakeTable();
  return table;
}

void ReferenceCount(double v, OutputStats& stats) {
  if (!(v >= stats.minimum)) stats.minimum = static_cast<float>(v);
  if (v > stats.maximum) stats.maximum = static_cast<float>(v);
  stats.sum = static_cast<float>(v + stats.sum);
}

std::vector<float> ReferenceOutput(const KernelCase& kernelCase, const Block& block,
                                   OutputStats& stats) {
  const ProcParams& p = block.params;
  const bool c1 = kernelCase.isComplex && p.in1Complex != 0;
  const bool c2 = kernelCase.isComplex && p.in2Complex != 0;
  const bool cOut = kernelCase.isComplex && p.outComplex != 0;
  const bool backward = cOut && (!c1 || !c2);
  std::vector<float> out(static_cast<std::size_t>(block.n) * (cOut ? 2 : 1));
  for (std::int32_t step = 0; step < block.n; ++step) {
    const std::int32_t i = backward ? block.n - 1 - step : step;
    const V f1 = ElementOf(block.in1, c1, i);
    const V f2 = ElementOf(block.in2, c2, i);
    const V w = kernelCase.operation(
        {f1.re, f1.im, f2.re, f2.im, p.A.real(), p.A.imag(), p.B.real(), p.B.imag()});
    const double v = Clamp(w.re, kernelCase.clamp);
    const auto at = static_cast<std::size_t>(i);
    out[cOut ? 2 * at : at] = static_cast<float>(v);
    if (cOut) out[2 * at + 1] = static_cast<float>(w.im);
    ReferenceCount(v, stats);
  }
  return out;
}

bool SameBits(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool SameBits(const OutputStats& a, const OutputStats& b) {
  return SameBits(a.minimum, b.minimum) && SameBits(a.maximum, b.maximum) && SameBits(a.sum, b.sum);
}

}  // namespace lumomixcalc
