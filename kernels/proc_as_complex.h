// The complex kernels: each of the three buffers is real or complex, as the parameters say.
#ifndef LUMOMIXCALC_KERNELS_PROC_AS_COMPLEX_H
#define LUMOMIXCALC_KERNELS_PROC_AS_COMPLEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/contract.h"
#include "kernels/element_operations.h"
#include "kernels/multiversioning.h"
#include "kernels/post_operations.h"
#include "kernels/running_statistics.h"

namespace lumomixcalc {

// The elements of one input in a chunk; a real one has zero imaginary parts.
struct InputChunk {
  float re[kChunk];
  float im[kChunk];

  void Read(const float* buffer, bool isComplex, std::ptrdiff_t start, int count) {
    if (isComplex) {
      for (int i = 0; i < count; ++i) {
        re[i] = buffer[2 * (start + i)];
        im[i] = buffer[2 * (start + i) + 1];
      }
    } else {
      for (int i = 0; i < count; ++i) {
        re[i] = buffer[start + i];
        im[i] = 0.0F;
      }
    }
  }
};

// The results of a chunk, their real parts not rounded yet; a real output receives those alone.
struct OutputChunk {
  double re[kChunk];
  float im[kChunk];

  void Write(float* buffer, bool isComplex, std::ptrdiff_t start, int count) const {
    if (isComplex) {
      for (int i = 0; i < count; ++i) {
        buffer[2 * (start + i)] = static_cast<float>(re[i]);
        buffer[2 * (start + i) + 1] = im[i];
      }
    } else {
      for (int i = 0; i < count; ++i) buffer[start + i] = static_cast<float>(re[i]);
    }
  }
};

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
  LUMOMIXCALC_PER_PROCESSOR static void Apply(float* out, float* stats, const float* in1,
                                              const float* in2, std::int32_t n,
                                              const ProcParams& params) {
    const bool in1Complex = params.in1Complex != 0;
    const bool in2Complex = params.in2Complex != 0;
    const bool outComplex = params.outComplex != 0;
    const bool backward = outComplex && !(in1Complex && in2Complex);
    const Complex A(params.A);
    const Complex B(params.B);
    RunningStatistics running(stats);
    InputChunk x1;
    InputChunk x2;
    OutputChunk w;
    for (std::ptrdiff_t done = 0; done < n; done += kChunk) {
      const int count = static_cast<int>(std::min<std::ptrdiff_t>(kChunk, n - done));
      const std::ptrdiff_t start = backward ? n - done - count : done;
      if (Op::kFile1) x1.Read(in1, in1Complex, start, count);
      if (Op::kFile2) x2.Read(in2, in2Complex, start, count);
      for (int i = 0; i < count; ++i) {
        const Complex F1 = Op::kFile1 ? Complex(x1.re[i], x1.im[i]) : Complex();
        const Complex F2 = Op::kFile2 ? Complex(x2.re[i], x2.im[i]) : Complex();
        const Complex result = Op::Apply(F1, F2, A, B);
        w.re[i] = Post::template Apply<Op::kNanUnderClamp>(result.re);
        w.im[i] = static_cast<float>(result.im);
      }
      w.Write(out, outComplex, start, count);
      running.CountChunk(w.re, count, backward);
    }
    running.Store(stats);
  }
};

}  // namespace lumomixcalc

#endif
