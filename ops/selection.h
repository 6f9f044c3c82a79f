// The choice of one kernel and its parameters for a run.
#ifndef LUMOMIXCALC_OPS_SELECTION_H
#define LUMOMIXCALC_OPS_SELECTION_H

#include <cstdint>

#include "kernels/contract.h"

namespace lumomixcalc {

// What a run needs for each of its blocks.
struct SelectedProc {
  KernelFn kernel;
  ProcParams params;
};

// Chooses the kernel for operator `op` (index 0 to 12, not checked) and folds the coefficients A
// and B (real and imaginary part) into its parameters. The flags, 0 or nonzero, say whether to
// clamp at zero and whether the output and the inputs hold complex data.
//
// Returns a record from malloc, to be released with free; null when there is no memory for it.
SelectedProc* SelectProcessing(std::int32_t op, std::int32_t clamp, const float* A, const float* B,
                               std::int32_t outComplex, std::int32_t in1Complex,
                               std::int32_t in2Complex);

// Runs the record's kernel over one block of n elements; arguments as those of KernelFn.
void PerformProcessing(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
                       const SelectedProc* record);

}  // namespace lumomixcalc

#endif
