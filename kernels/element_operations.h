// The element operations: what a kernel computes from one element of each input.
//
// Each is a formula over the element type T, float or std::complex<float>, evaluated at working
// precision in the order written. A and B are the kernel's folded coefficients, F1 and F2 the
// elements of File1 and File2; a real kernel passes the real parts of A and B, and the complex
// frame passes a real element x as x + 0i. No operation keeps state or guards its domain.
#ifndef LUMOMIXCALC_KERNELS_ELEMENT_OPERATIONS_H
#define LUMOMIXCALC_KERNELS_ELEMENT_OPERATIONS_H

#include <cmath>
#include <complex>
#include <type_traits>

#include "kernels/complex_value.h"
#include "kernels/elementary_functions.h"
#include "kernels/fast_logarithm_and_power.h"
#include "kernels/fast_phase.h"

namespace lumomixcalc {

// The type in which an element of type T is computed.
template <class T>
using Working = std::conditional_t<std::is_same_v<T, float>, double, Complex>;

// What ClampAtZero makes of a NaN: +0, or the NaN itself.
enum class NanUnderClamp { kBecomesZero, kPasses };

struct NoFastForm {
  NoFastForm(double, double) {}
};

// Traits of an operation: the inputs whose values it uses, how a clamp treats its NaNs, and what
// computes it faster if it is real (see TryFast in proc_as_real.h).
template <bool File1, bool File2>
struct Reads {
  static constexpr bool kFile1 = File1;
  static constexpr bool kFile2 = File2;
  static constexpr NanUnderClamp kNanUnderClamp = NanUnderClamp::kBecomesZero;
  using RealFastForm = NoFastForm;
};
using ReadsFile1 = Reads<true, false>;
using ReadsFile2 = Reads<false, true>;
using ReadsBoth = Reads<true, true>;

template <class T>
struct AF1 : ReadsFile1 {
  using W = Working<T>;
  static W Apply(W F1, W, W A, W) { return A * F1; }
};

template <class T>
struct AF1_Plus_B : ReadsFile1 {
  using W = Working<T>;
  static W Apply(W F1, W, W A, W B) { return A * F1 + B; }
};

template <class T>
struct AF1_Plus_BF2 : ReadsBoth {
  using W = Working<T>;
  static W Apply(W F1, W F2, W A, W B) { return A * F1 + B * F2; }
};

template <class T>
struct AF1_Times_F2 : ReadsBoth {
  using W = Working<T>;
  static W Apply(W F1, W F2, W A, W) { return (A * F1) * F2; }
};

template <class T>
struct AF1_DividedBy_F2 : ReadsBoth {
  using W = Working<T>;
  static W Apply(W F1, W F2, W A, W) { return (A * F1) / F2; }
};

template <class T>
struct A_DividedBy_F2 : ReadsFile2 {
  using W = Working<T>;
  static W Apply(W, W F2, W A, W) { return A / F2; }
};

template <class T>
struct Abs_AF1 : ReadsFile1 {
  using W = Working<T>;
  static W Apply(W F1, W, W A, W) { return W{Modulus(A * F1)}; }
};

// The real logarithm and power let a NaN pass a clamp, so that a value outside their domain is not
// mistaken for a zero; the complex ones do not.
template <class T>
inline constexpr NanUnderClamp kPassesIfReal =
    std::is_same_v<T, float> ? NanUnderClamp::kPasses : NanUnderClamp::kBecomesZero;

template <class T>
struct A_Ln_F1_Plus_B : ReadsFile1 {
  using W = Working<T>;
  using RealFastForm = FastLogarithm;
  static constexpr NanUnderClamp kNanUnderClamp = kPassesIfReal<T>;
  static W Apply(W F1, W, W A, W B) { return A * Log(F1 + B); }
};

template <class T>
struct F1_Plus_B_Pow_A : ReadsFile1 {
  using W = Working<T>;
  using RealFastForm = FastPower;
  static constexpr NanUnderClamp kNanUnderClamp = kPassesIfReal<T>;
  static W Apply(W F1, W, W A, W B) { return Pow(F1 + B, A); }
};

// ---- Operations that exist only in complex form -------------------------------------------------

template <class T>
struct Conj_AF1 : ReadsFile1 {
  static_assert(std::is_same_v<T, std::complex<float>>);
  static Complex Apply(Complex F1, Complex, Complex A, Complex) { return Conj(A * F1); }
};

template <class T>
struct AF1_Times_Conj_BF2 : ReadsBoth {
  static_assert(std::is_same_v<T, std::complex<float>>);
  static Complex Apply(Complex F1, Complex F2, Complex A, Complex B) {
    return (A * F1) * Conj(B * F2);
  }
};

// A * phase(F1). Each part is rounded to single precision at once, so a clamp and the statistics
// see the rounded value. An element on an axis, or with a NaN part, has phase 0 and gives 0
// whatever A is.
template <class T>
struct A_Phase_F1 : ReadsFile1 {
  static_assert(std::is_same_v<T, std::complex<float>>);
  static Complex Apply(Complex F1, Complex, Complex A, Complex) {
    if (IsZeroOrNan(F1.re) || IsZeroOrNan(F1.im)) return {};
    const double phase = std::atan2(F1.im, F1.re);
    return {static_cast<float>(A.re * phase), static_cast<float>(A.im * phase)};
  }

  // The same bits if isCertain; if not, the result is not to be used.
  static Complex ApplyFast(Complex F1, Complex, Complex A, Complex, bool& isCertain) {
    const bool hasNoPhase = IsZeroOrNan(F1.re) || IsZeroOrNan(F1.im);
    const double phase = FastAtan2(F1.im, F1.re);
    const double re = hasNoPhase ? 0.0 : A.re * phase;
    const double im = hasNoPhase ? 0.0 : A.im * phase;
    // No &&, which would be a branch.
    isCertain = (int{IsFloatCertain(re)} & int{IsFloatCertain(im)}) != 0;
    return {static_cast<float>(re), static_cast<float>(im)};
  }
};

}  // namespace lumomixcalc

#endif
