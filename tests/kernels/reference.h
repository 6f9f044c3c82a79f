// The documented arithmetic, written out one element at a time and independently of kernels/ and
// ops/: what every selection and every kernel must match bit for bit.
#ifndef LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H
#define LUMOMIXCALC_TESTS_KERNELS_REFERENCE_H

#include <complex>
#include <cstdint>
#include <random>

#include "kernels/contract.h"

namespace lumomixcalc {

// Which buffers hold complex data; any nonzero flag is set.
struct Layout {
  std::int32_t out, in1, in2;
};

// An operator, by its index, as its user sets it up for images of such a layout.
struct OperatorRun {
  std::int32_t op, clamp;
  std::complex<float> a, b;
  Layout layout;
};

// Where the output is and, at the end, both inputs are.
enum class Place { kSeparate, kOverFile1, kOverFile2, kOverBoth };

// Selects the run's kernel and calls it on n elements, special ones or ordinary ones, within memory
// full of drawn numbers. Checks that the coefficients are folded as documented, and that memory and
// record end as the plain rule leaves them: the output as it must be, and nothing else changed. The
// kernel must obey any layout, not only the one that it was selected by.
void ExpectPlainRule(const OperatorRun& run, const Layout& layout, std::int32_t n, bool special,
                     Place place, std::mt19937& random);

// An ordinary number, or one of those at which arithmetic is easily wrong.
float Draw(bool special, std::mt19937& random);

// The plain rule of counting one value.
void ReferenceCount(double v, OutputStats& stats);

// True when the two have the same bits, or are both NaN: which NaN an operation on two NaNs gives
// is the compiler's choice.
bool SameBits(float a, float b);
bool SameBits(std::complex<float> a, std::complex<float> b);
bool SameBits(const OutputStats& a, const OutputStats& b);

}  // namespace lumomixcalc

#endif
