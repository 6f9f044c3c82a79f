// The selectors, one per operator. Each chooses the kernel of a run and folds its coefficients.
//
// Everything that does not depend on the pixels is done here once: products and quotients of A and
// B are computed, a subtraction becomes the addition of a negated B, the conjugate of a real image
// becomes a conjugated coefficient, and the addition of zero is dropped.
#ifndef LUMOMIXCALC_OPS_SELECTORS_H
#define LUMOMIXCALC_OPS_SELECTORS_H

#include <cstdint>

#include "kernels/contract.h"

namespace lumomixcalc {

// A selector sets `kernel` and writes the folded coefficients to outA and outB. A coefficient is
// two floats, real part then imaginary part; inA and inB are the user's. The four integers are
// flags, 0 or nonzero: clamp at zero, and whether the output and the inputs hold complex data.
// Returns 0 for success; a nonzero result would end the run.
//
// A clamped kernel is chosen only for a real output. No coefficient is rejected: infinities and
// NaNs flow into the folded coefficients by IEEE 754.
using Selector = std::int32_t(KernelFn& kernel, float* outA, float* outB, const float* inA,
                              const float* inB, std::int32_t clamp, std::int32_t outComplex,
                              std::int32_t in1Complex, std::int32_t in2Complex);
using SelectorFn = Selector*;

Selector SelectProc_AF1_Plus_BF2;
Selector SelectProc_AF1_Minus_BF2;
Selector SelectProc_AF1_Times_BF2;
Selector SelectProc_AF1_DividedBy_BF2;
Selector SelectProc_AF1_Times_Conj_BF2;
Selector SelectProc_Abs_AF1;
Selector SelectProc_Conj_AF1;
Selector SelectProc_A_Phase_F1;
Selector SelectProc_AF1_Plus_B;
Selector SelectProc_AF1_Times_B;
Selector SelectProc_A_DividedBy_BF2;
Selector SelectProc_A_Ln_F1_Plus_B;
Selector SelectProc_F1_Plus_B_Pow_A;

}  // namespace lumomixcalc

#endif
