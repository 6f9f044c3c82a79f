// The kernels' documented arithmetic, written out one element at a time and independently of
// kernels/: what every kernel must match bit for bit.
#ifndef LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H
#define LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H

#include <ostream>
#include <string>
#include <vector>

#include "kernels/contract.h"

namespace lumomixcalc {

struct ReferenceValue {
  double re;
  double im;
};

// The result of one element, of F1 = x1 + i y1 and F2 = x2 + i y2.
struct ReferenceElement {
  double x1, y1, x2, y2;
  double a, ai, b, bi;  // A = a + i ai, B = b + i bi
};
using ReferenceOperation = ReferenceValue (*)(const ReferenceElement&);

enum class ReferenceClamp { kNone, kNanBecomesZero, kNanPasses };

struct KernelCase {
  std::string name;
  KernelFn kernel;
  ReferenceOperation operation;
  ReferenceClamp clamp;
  bool isComplex;
  bool readsFile1;
  bool readsFile2;
};

inline void PrintTo(const KernelCase& kernelCase, std::ostream* stream) {
  *stream << kernelCase.name;
}

// All forty kernels.
const std::vector<KernelCase>& AllKernels();

// A block of data, each input laid out as the flags say.
struct Block {
  std::int32_t n = 0;
  ProcParams params{};
  std::vector<float> in1;
  std::vector<float> in2;
};

// Computes the output buffer and updates the record by the plain rule, from copies of the inputs.
std::vector<float> ReferenceOutput(const KernelCase& kernelCase, const Block& block,
                                   OutputStats& stats);

// The plain rule of counting one value.
void ReferenceCount(double v, OutputStats& stats);

// True when the two have the same bits, or are both NaN: which NaN an operation on two NaNs gives
// is the compiler's choice.
bool SameBits(float a, float b);
bool SameBits(const OutputStats& a, const OutputStats& b);

}  // namespace lumomixcalc

#endif
