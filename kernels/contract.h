// What every kernel shares: its signature, its parameters and the statistics record.
//
// A kernel runs over one block of n elements. For each element, in walking order, it
//   1. computes the value with its element operation, at working precision (double),
//   2. applies its post-operation,
//   3. stores the value rounded once to single precision,
//   4. counts the value as it was before that rounding (running_statistics.h).
//
// Layout: a real buffer of n elements is n consecutive floats; a complex buffer is 2n floats, each
// element its real part followed by its imaginary part. The output may begin at the address of an
// input; any other overlap is outside the contract.
//
// Kernels check nothing and report nothing. Infinities and NaNs follow IEEE 754 and are stored and
// counted like any other value.
#ifndef LUMOMIXCALC_KERNELS_CONTRACT_H
#define LUMOMIXCALC_KERNELS_CONTRACT_H

#include <cfloat>
#include <complex>
#include <cstdint>

static_assert(FLT_EVAL_METHOD == 0, "double arithmetic must round to double after each operation");

namespace lumomixcalc {

// Parameters of one kernel for one run. A and B are the coefficients as selection folded them, not
// necessarily the user's. The flags are nonzero where a buffer holds complex data.
struct ProcParams {
  std::complex<float> A;
  std::complex<float> B;
  std::int32_t in1Complex;
  std::int32_t in2Complex;
  std::int32_t outComplex;
};

// The output's statistics: smallest and largest value and the sum of the values counted so far.
// The host owns and initialises it; kernels only update it.
struct OutputStats {
  float minimum;
  float maximum;
  float sum;
};

static_assert(sizeof(OutputStats) == 3 * sizeof(float), "the record is three consecutive floats");

// A kernel. `stats` points at the first of the three floats of an OutputStats; `n` >= 0 is the
// number of elements, not of floats; n = 0 touches nothing, not even the record. Both inputs are
// valid pointers, also where one is not used.
using KernelFn = void (*)(float* out, float* stats, const float* in1, const float* in2,
                          std::int32_t n, const ProcParams& params);

}  // namespace lumomixcalc

#endif
