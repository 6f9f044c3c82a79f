#include "tests/kernels/reference.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "kernels/element_operations.h"
#include "kernels/post_operations.h"
#include "kernels/proc_as_complex.h"
#include "kernels/proc_as_real.h"

namespace lumomixcalc {

Number operator*(Number x, Number y) {
  if (x.isReal) return x.re * y.re;
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}

Number operator/(Number x, Number y) {
  if (x.isReal) return x.re / y.re;
  const double r = 1 / (y.re * y.re + y.im * y.im);
  return {(x.re * y.re + x.im * y.im) * r, (x.im * y.re - x.re * y.im) * r};
}

Number Conj(Number x) { return {x.re, -x.im}; }

namespace {

Number operator+(Number x, Number y) {
  if (x.isReal) return x.re + y.re;
  return {x.re + y.re, x.im + y.im};
}

// To single precision. Not inlined, since g++ 12 drops the rounding of two numbers side by side.
[[gnu::noinline]] float Single(double v) { return static_cast<float>(v); }

bool IsZeroOrNan(double v) { return v == 0 || std::isnan(v); }

double Modulus(Number x) {
  const double re = std::abs(x.re);
  const double im = std::abs(x.im);
  const double s = Single(re >= im ? re : im);
  if (IsZeroOrNan(s)) return s;
  return s * std::sqrt((x.re / s) * (x.re / s) + (x.im / s) * (x.im / s));
}

Number Abs(Number x) {
  if (x.isReal) return x.re >= 0 ? x.re : -x.re;
  return {Modulus(x), 0};
}

Number Ln(Number x) {
  if (x.isReal) return std::log(x.re);
  return {logf(Single(Modulus(x))), atan2f(Single(x.im), Single(x.re))};
}

Number Power(Number x, Number exponent) {
  if (x.isReal) return std::pow(x.re, exponent.re);
  if (IsZeroOrNan(x.re) && IsZeroOrNan(x.im)) return {0, 0};
  const Number p = Ln(x) * exponent;
  const double e = expf(Single(p.re));
  const double theta = Single(p.im);
  return {std::cos(theta) * e, std::sin(theta) * e};
}

Number Phase(Number x, Number a) {
  if (IsZeroOrNan(x.re) || IsZeroOrNan(x.im)) return {0, 0};
  const double theta = std::atan2(x.im, x.re);
  return {Single(a.re * theta), Single(a.im * theta)};
}

double AsItIs(double v) { return v; }
double NanBecomesZero(double v) { return v > 0 ? v : 0; }
double NanPasses(double v) { return v <= 0 ? 0 : v; }

// ---- The table ----------------------------------------------------------------------------------

using V = Number;
using Table = std::vector<KernelCase>;
using Formula = decltype(KernelCase::formula);
using Post = decltype(KernelCase::post);

template <template <class> class Op, bool kClamps = true>
void AddComplex(Table& table, const std::string& name, Formula formula) {
  using C = Op<std::complex<float>>;
  table.push_back(
      {"Complex" + name, ProcAsComplex<C, UnaryNoOp<float>>::Apply, formula, AsItIs, true});
  if constexpr (kClamps) {
    table.push_back({"Complex" + name + "Clamped", ProcAsComplex<C, ClampAtZero>::Apply, formula,
                     NanBecomesZero, true});
  }
}

template <template <class> class Op, bool kClamps = true>
void Add(Table& table, const std::string& name, Formula formula, Post realClamp = NanBecomesZero) {
  using R = Op<float>;
  table.push_back({"Real" + name, ProcAsReal<R, UnaryNoOp<float>>::Apply, formula, AsItIs, false});
  if constexpr (kClamps) {
    table.push_back(
        {"Real" + name + "Clamped", ProcAsReal<R, ClampAtZero>::Apply, formula, realClamp, false});
  }
  AddComplex<Op, kClamps>(table, name, formula);
}

Table MakeTable() {
  Table t;
  Add<AF1>(t, "AF1", [](V f1, V, V a, V) { return a * f1; });
  Add<AF1_Plus_B>(t, "AF1_Plus_B", [](V f1, V, V a, V b) { return a * f1 + b; });
  Add<AF1_Plus_BF2>(t, "AF1_Plus_BF2", [](V f1, V f2, V a, V b) { return a * f1 + b * f2; });
  Add<AF1_Times_F2>(t, "AF1_Times_F2", [](V f1, V f2, V a, V) { return (a * f1) * f2; });
  Add<AF1_DividedBy_F2>(t, "AF1_DividedBy_F2", [](V f1, V f2, V a, V) { return (a * f1) / f2; });
  Add<A_DividedBy_F2>(t, "A_DividedBy_F2", [](V, V f2, V a, V) { return a / f2; });
  Add<Abs_AF1, false>(t, "Abs_AF1", [](V f1, V, V a, V) { return Abs(a * f1); });
  Add<A_Ln_F1_Plus_B>(
      t, "A_Ln_F1_Plus_B", [](V f1, V, V a, V b) { return a * Ln(f1 + b); }, NanPasses);
  Add<F1_Plus_B_Pow_A>(
      t, "F1_Plus_B_Pow_A", [](V f1, V, V a, V b) { return Power(f1 + b, a); }, NanPasses);
  AddComplex<Conj_AF1>(t, "Conj_AF1", [](V f1, V, V a, V) { return Conj(a * f1); });
  AddComplex<A_Phase_F1>(t, "A_Phase_F1", [](V f1, V, V a, V) { return Phase(f1, a); });
  AddComplex<AF1_Times_Conj_BF2>(t, "AF1_Times_Conj_BF2",
                                 [](V f1, V f2, V a, V b) { return (a * f1) * Conj(b * f2); });
  return t;
}

}  // namespace

const std::vector<KernelCase>& AllKernels() {
  static const Table table = MakeTable();
  return table;
}

const KernelCase& Kernel(const std::string& name) {
  return *std::ranges::find(AllKernels(), name, &KernelCase::name);
}

void ReferenceCount(double v, OutputStats& stats) {
  if (!(v >= stats.minimum)) stats.minimum = static_cast<float>(v);
  if (v > stats.maximum) stats.maximum = static_cast<float>(v);
  stats.sum = static_cast<float>(v + stats.sum);
}

void ApplyReference(const KernelCase& kernel, float* out, OutputStats& stats, const float* in1,
                    const float* in2, std::int32_t n, const ProcParams& params) {
  const auto number = [&](const float* buffer, std::int32_t isComplex, std::int32_t i) -> Number {
    if (!kernel.isComplex) return buffer[i];
    if (isComplex == 0) return {buffer[i], 0};
    return {buffer[2 * i], buffer[2 * i + 1]};
  };
  const auto coefficient = [&](std::complex<float> z) {
    return kernel.isComplex ? Number(z) : Number(z.real());
  };
  const bool complexOut = kernel.isComplex && params.outComplex != 0;
  const bool backward = complexOut && (params.in1Complex == 0 || params.in2Complex == 0);
  for (std::int32_t step = 0; step < n; ++step) {
    const std::int32_t i = backward ? n - 1 - step : step;
    const Number w =
        kernel.formula(number(in1, params.in1Complex, i), number(in2, params.in2Complex, i),
                       coefficient(params.A), coefficient(params.B));
    const double v = kernel.post(w.re);
    out[complexOut ? 2 * i : i] = static_cast<float>(v);
    if (complexOut) out[2 * i + 1] = static_cast<float>(w.im);
    ReferenceCount(v, stats);
  }
}

bool SameBits(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool SameBits(const OutputStats& a, const OutputStats& b) {
  return SameBits(a.minimum, b.minimum) && SameBits(a.maximum, b.maximum) && SameBits(a.sum, b.sum);
}

}  // namespace lumomixcalc
