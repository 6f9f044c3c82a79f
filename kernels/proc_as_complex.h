// The complex kernels: each of the three buffers is real or complex, as the parameters say.
#ifndef LUMOMIXCALC_KERNELS_PROC_AS_COMPLEX_H
#define LUMOMIXCALC_KERNELS_PROC_AS_COMPLEX_H

#include <cstddef>
#include <cstdint>

#include "kernels/contract.h"
#include "kernels/element_operations.h"
#include "kernels/post_operations.h"
#include "kernels/running_statistics.h"

namespace lumomixcalc {

// The positions of one element's parts in a buffer, and the steps to the next element's.
template <class Float>
struct Cursor {
  Float* re;
  Float* im;
  std::ptrdiff_t reStep;
  std::ptrdiff_t imStep;

  void Advance() {
    re += reStep;
    im += imStep;
  }
};

// Cursor of a buffer of n elements: at element 0 going up, or at element n - 1 going down. A real
// buffer has no imaginary parts; its cursor stays on `noImaginary` instead.
template <class Float>
Cursor<Float> MakeCursor(Float* buffer, bool isComplex, Float* noImaginary, std::ptrdiff_t n,
                         bool backward) {
  const std::ptrdiff_t width = isComplex ? 2 : 1;
  const std::ptrdiff_t step = backward ? -width : width;
  Float* first = backward ? buffer + (n - 1) * width : buffer;
  return {first, isComplex ? first + 1 : noImaginary, step, isComplex ? step : 0};
}

// Op is an element operation over std::complex<float>, Post UnaryNoOp<float> or ClampAtZero, which
// is applied to the real part. The real part is also what the statistics count. A real input
// element x is x + 0i; a real output receives the real part alone.
//
// Direction: a complex output may begin at the address of a real input, whose elements are half as
// wide. Going up, storing element 0 would overwrite input element 1 before it is read. So the walk
// goes down from element n - 1 when the output is complex and an input is real: output element i
// covers floats 2i and 2i + 1, which are never below input element i, and everything below is
// intact when its turn comes. In all other cases no output element is wider than an input element,
// and the walk goes up. The statistics depend on the order (sum, NaN), so the direction follows
// from the flags alone, also where no buffer is shared.
template <class Op, class Post>
struct ProcAsComplex {
  static void Apply(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
                    const ProcParams& params) {
    if (n == 0) return;
    const bool in1Complex = params.in1Complex != 0;
    const bool in2Complex = params.in2Complex != 0;
    const bool outComplex = params.outComplex != 0;
    const bool backward = outComplex && !(in1Complex && in2Complex);
    const float zero = 0.0F;
    float discarded = 0.0F;
    auto x1 = MakeCursor(in1, in1Complex, &zero, n, backward);
    auto x2 = MakeCursor(in2, in2Complex, &zero, n, backward);
    auto w = MakeCursor(out, outComplex, &discarded, n, backward);

    const Complex A(params.A);
    const Complex B(params.B);
    RunningStatistics running(stats);
    for (std::int32_t i = 0; i < n; ++i) {
      const Complex F1(*x1.re, *x1.im);
      const Complex F2(*x2.re, *x2.im);
      const Complex result = Op::Apply(F1, F2, A, B);
      const double re = Post::template Apply<Op::kNanUnderClamp>(result.re);
      *w.re = static_cast<float>(re);
      *w.im = static_cast<float>(result.im);
      running.Count(re);
      x1.Advance();
      x2.Advance();
      w.Advance();
    }
    running.Store(stats);
  }
};

}  // namespace lumomixcalc

#endif
