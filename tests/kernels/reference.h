// The documented arithmetic, written out one element at a time and independently of kernels/ and
// ops/: what every selection and every kernel must match bit for bit.
#pragma once

#include <complex>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "kernels/contract.h"
#include "ops/selection.h"

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

// What ops/ selects for such a run.
std::unique_ptr<SelectedProc, decltype(&std::free)> Select(const OperatorRun& run);

// Computes n elements; `out` must not overlap the inputs. A kernel must obey any layout, not only
// the one that it was selected by. Returns the folded coefficients, which are all that the
// parameters of a kernel keep.
ProcParams Reference(const OperatorRun& run, const Layout& layout, float* out, OutputStats& stats,
                     const float* in1, const float* in2, std::int32_t n);

// The plain rule of counting one value, before it is rounded for the store. A NaN replaces the
// minimum, and the next value replaces the NaN; the maximum ignores NaNs. The sum is rounded to
// single precision at every value.
inline void ReferenceCount(double v, OutputStats& stats) {
  if (!(v >= stats.minimum)) stats.minimum = static_cast<float>(v);
  if (v > stats.maximum) stats.maximum = static_cast<float>(v);
  stats.sum = static_cast<float>(v + stats.sum);
}

// An ordinary number, or one of those at which arithmetic is easily wrong.
float Draw(bool special, std::mt19937& random);

// True when the two have the same bits, or are both NaN: which NaN an operation on two NaNs gives
// is the compiler's choice.
bool SameBits(float a, float b);
bool SameBits(std::complex<float> a, std::complex<float> b);
bool SameBits(const OutputStats& a, const OutputStats& b);

// Minimum, maximum and sum, for a message.
std::string StatsText(const OutputStats& stats);

}  // namespace lumomixcalc
