#include "ops/selectors.h"

#include <array>
#include <complex>
#include <cstddef>

#include "kernels/complex_value.h"
#include "kernels/element_operations.h"
#include "kernels/elementary_functions.h"
#include "kernels/post_operations.h"
#include "kernels/proc_as_complex.h"
#include "kernels/proc_as_real.h"

namespace lumomixcalc {
namespace {

template <template <class> class Op, class Post>
constexpr KernelFn kRealKernel = ProcAsReal<Op<float>, Post>::Apply;

template <template <class> class Op, class Post>
constexpr KernelFn kComplexKernel = ProcAsComplex<Op<std::complex<float>>, Post>::Apply;

// The four kernels of one operation, by slot: bit 0 is the clamp, bit 1 complex arithmetic.
using VariantTable = std::array<KernelFn, 4>;

template <template <class> class Op>
constexpr VariantTable kVariants = {kRealKernel<Op, UnaryNoOp<float>>, kRealKernel<Op, ClampAtZero>,
                                    kComplexKernel<Op, UnaryNoOp<float>>,
                                    kComplexKernel<Op, ClampAtZero>};

// A clamp applies to real outputs only.
bool ClampApplies(std::int32_t clamp, std::int32_t outComplex) {
  return clamp != 0 && outComplex == 0;
}

KernelFn PickVariant(const VariantTable& table, bool isComplex, bool clampApplies) {
  return table[2 * static_cast<std::size_t>(isComplex) + static_cast<std::size_t>(clampApplies)];
}

template <template <class> class Op>
KernelFn PickComplexKernel(bool clampApplies) {
  return clampApplies ? kComplexKernel<Op, ClampAtZero> : kComplexKernel<Op, UnaryNoOp<float>>;
}

Complex Load(const float* coefficient) { return {coefficient[0], coefficient[1]}; }

void Store(float* coefficient, Complex value) {
  coefficient[0] = static_cast<float>(value.re);
  coefficient[1] = static_cast<float>(value.im);
}

void Copy(float* to, const float* from) {
  to[0] = from[0];
  to[1] = from[1];
}

bool IsZero(const float* coefficient) {
  return IsZeroOrNan(coefficient[0]) && IsZeroOrNan(coefficient[1]);
}

constexpr float kOne[2] = {1.0F, 0.0F};
constexpr float kZero[2] = {0.0F, 0.0F};

}  // namespace

std::int32_t SelectProc_AF1_Plus_BF2(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                     const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                     std::int32_t in1Complex, std::int32_t in2Complex) {
  static constexpr VariantTable table = kVariants<AF1_Plus_BF2>;
  if (IsZero(inB)) {
    return SelectProc_AF1_Times_B(kernel, outA, outB, inA, kOne, clamp, outComplex, in1Complex,
                                  in2Complex);
  }
  Copy(outA, inA);
  Copy(outB, inB);
  kernel =
      PickVariant(table, outComplex || in1Complex || in2Complex, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_AF1_Minus_BF2(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                      const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                      std::int32_t in1Complex, std::int32_t in2Complex) {
  const float minusB[2] = {-inB[0], -inB[1]};
  return SelectProc_AF1_Plus_BF2(kernel, outA, outB, inA, minusB, clamp, outComplex, in1Complex,
                                 in2Complex);
}

std::int32_t SelectProc_AF1_Times_BF2(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                      const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                      std::int32_t in1Complex, std::int32_t in2Complex) {
  static constexpr VariantTable table = kVariants<AF1_Times_F2>;
  Store(outA, Load(inA) * Load(inB));
  Copy(outB, kOne);
  kernel =
      PickVariant(table, outComplex || in1Complex || in2Complex, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_AF1_DividedBy_BF2(KernelFn& kernel, float* outA, float* outB,
                                          const float* inA, const float* inB, std::int32_t clamp,
                                          std::int32_t outComplex, std::int32_t in1Complex,
                                          std::int32_t in2Complex) {
  static constexpr VariantTable table = kVariants<AF1_DividedBy_F2>;
  Store(outA, Load(inA) / Load(inB));
  Copy(outB, kOne);
  kernel =
      PickVariant(table, outComplex || in1Complex || in2Complex, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_AF1_Times_Conj_BF2(KernelFn& kernel, float* outA, float* outB,
                                           const float* inA, const float* inB, std::int32_t clamp,
                                           std::int32_t outComplex, std::int32_t in1Complex,
                                           std::int32_t in2Complex) {
  if (in2Complex == 0) {
    const float conjB[2] = {inB[0], -inB[1]};
    return SelectProc_AF1_Times_BF2(kernel, outA, outB, inA, conjB, clamp, outComplex, in1Complex,
                                    0);
  }
  Copy(outA, inA);
  Copy(outB, inB);
  kernel = PickComplexKernel<AF1_Times_Conj_BF2>(ClampApplies(clamp, outComplex));
  return 0;
}

// A modulus is never negative, so a clamp would have no effect.
std::int32_t SelectProc_Abs_AF1(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                const float* inB, std::int32_t, std::int32_t outComplex,
                                std::int32_t in1Complex, std::int32_t) {
  Copy(outA, inA);
  Copy(outB, inB);
  const bool isReal = outComplex == 0 && in1Complex == 0 && IsZeroOrNan(inA[1]);
  kernel =
      isReal ? kRealKernel<Abs_AF1, UnaryNoOp<float>> : kComplexKernel<Abs_AF1, UnaryNoOp<float>>;
  return 0;
}

std::int32_t SelectProc_Conj_AF1(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                 const float*, std::int32_t clamp, std::int32_t outComplex,
                                 std::int32_t in1Complex, std::int32_t in2Complex) {
  if (in1Complex == 0) {
    const float conjA[2] = {inA[0], -inA[1]};
    return SelectProc_AF1_Plus_B(kernel, outA, outB, conjA, kZero, clamp, outComplex, 0,
                                 in2Complex);
  }
  Copy(outA, inA);
  Copy(outB, kZero);
  kernel = PickComplexKernel<Conj_AF1>(ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_A_Phase_F1(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                   const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                   std::int32_t, std::int32_t) {
  Copy(outA, inA);
  Copy(outB, inB);
  kernel = PickComplexKernel<A_Phase_F1>(ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_AF1_Plus_B(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                   const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                   std::int32_t in1Complex, std::int32_t in2Complex) {
  static constexpr VariantTable table = kVariants<AF1_Plus_B>;
  if (IsZero(inB)) {
    return SelectProc_AF1_Times_B(kernel, outA, outB, inA, kOne, clamp, outComplex, in1Complex,
                                  in2Complex);
  }
  Copy(outA, inA);
  Copy(outB, inB);
  kernel = PickVariant(table, outComplex || in1Complex, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_AF1_Times_B(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                    const float* inB, std::int32_t clamp, std::int32_t outComplex,
                                    std::int32_t in1Complex, std::int32_t) {
  static constexpr VariantTable table = kVariants<AF1>;
  Store(outA, Load(inA) * Load(inB));
  Copy(outB, kOne);
  kernel = PickVariant(table, outComplex || in1Complex, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_A_DividedBy_BF2(KernelFn& kernel, float* outA, float* outB,
                                        const float* inA, const float* inB, std::int32_t clamp,
                                        std::int32_t outComplex, std::int32_t,
                                        std::int32_t in2Complex) {
  static constexpr VariantTable table = kVariants<A_DividedBy_F2>;
  Store(outA, Load(inA) / Load(inB));
  Copy(outB, kOne);
  kernel = PickVariant(table, outComplex || in2Complex, ClampApplies(clamp, outComplex));
  return 0;
}

// A real output of real data uses the real logarithm, whatever the imaginary part of A: this part
// would affect only the imaginary part of the result.
std::int32_t SelectProc_A_Ln_F1_Plus_B(KernelFn& kernel, float* outA, float* outB, const float* inA,
                                       const float* inB, std::int32_t clamp,
                                       std::int32_t outComplex, std::int32_t in1Complex,
                                       std::int32_t) {
  Copy(outA, inA);
  Copy(outB, inB);
  const bool isReal = outComplex == 0 && in1Complex == 0 && IsZeroOrNan(inB[1]);
  kernel = PickVariant(kVariants<A_Ln_F1_Plus_B>, !isReal, ClampApplies(clamp, outComplex));
  return 0;
}

std::int32_t SelectProc_F1_Plus_B_Pow_A(KernelFn& kernel, float* outA, float* outB,
                                        const float* inA, const float* inB, std::int32_t clamp,
                                        std::int32_t outComplex, std::int32_t in1Complex,
                                        std::int32_t) {
  Copy(outA, inA);
  Copy(outB, inB);
  const bool isReal =
      outComplex == 0 && in1Complex == 0 && IsZeroOrNan(inB[1]) && IsZeroOrNan(inA[1]);
  kernel = PickVariant(kVariants<F1_Plus_B_Pow_A>, !isReal, ClampApplies(clamp, outComplex));
  return 0;
}

}  // namespace lumomixcalc
