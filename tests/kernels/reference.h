// The kernels' documented arithmetic, written out one element at a time and independently of
// kernels/: what every kernel must match bit for bit.
#ifndef LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H
#define LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "kernels/contract.h"

namespace lumomixcalc {

// A number at working precision: x, without an imaginary part, or x + iy. The two are not the same
// where y is 0: 0 * inf is NaN.
struct Number {
  Number(double x) : re(x), isReal(true) {}  // NOLINT(google-explicit-constructor)
  Number(double x, double y) : re(x), im(y) {}
  explicit Number(std::complex<float> z) : re(z.real()), im(z.imag()) {}

  double re;
  double im = 0;
  bool isReal = false;
};

Number operator*(Number x, Number y);
Number operator/(Number x, Number y);
Number Conj(Number x);

struct KernelCase {
  std::string name;
  KernelFn kernel;
  Number (*formula)(Number f1, Number f2, Number a, Number b);
  double (*post)(double v);
  bool isComplex;
};

// All forty kernels.
const std::vector<KernelCase>& AllKernels();

// The one of that name.
const KernelCase& Kernel(const std::string& name);

// Does what the kernel is to do, by the plain rule; `out` must not overlap the inputs.
void ApplyReference(const KernelCase& kernel, float* out, OutputStats& stats, const float* in1,
                    const float* in2, std::int32_t n, const ProcParams& params);

// The plain rule of counting one value.
void ReferenceCount(double v, OutputStats& stats);

// True when the two have the same bits, or are both NaN: which NaN an operation on two NaNs gives
// is the compiler's choice.
bool SameBits(float a, float b);
bool SameBits(const OutputStats& a, const OutputStats& b);

}  // namespace lumomixcalc

#endif
