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

// The elements of one input in a chunk as pairs of a real and an imaginary part. A complex buffer
// already contains them. From a real one, pairs with zero imaginary parts are made in `pairs`.
inline const float* Pairs(const float* buffer, bool isComplex, std::ptrdiff_t start,
                          std::ptrdiff_t count, float* pairs) {
  if (isComplex) return buffer + 2 * start;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    pairs[2 * i] = buffer[start + i];
    pairs[2 * i + 1] = 0.0F;
  }
  return pairs;
}

// The results of a chunk. Their real parts are not rounded yet; a real output receives only these.
struct OutputChunk {
  double re[kChunk];
  float im[kChunk];

  void Write(float* buffer, bool isComplex, std::ptrdiff_t start, std::ptrdiff_t count) const {
    if (isComplex) {
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        buffer[2 * (start + i)] = static_cast<float>(re[i]);
        buffer[2 * (start + i) + 1] = im[i];
      }
    } else {
      for (std::ptrdiff_t i = 0; i < count; ++i) buffer[start + i] = static_cast<float>(re[i]);
    }
  }
};

// Prefetches the memory of a full chunk. While a chunk is counted, no memory is read or written,
// and chunks of complex data are too long for the processor to look that far ahead by itself:
// without this, blocks that exceed its caches take twice as long. Always inlined, since a compiler
// may drop a call of a function that only prefetches.
[[gnu::always_inline]] inline void Prefetch(const float* buffer, bool isComplex,
                                            std::ptrdiff_t start, std::ptrdiff_t n) {
  constexpr std::ptrdiff_t kCacheLine = 64 / sizeof(float);
  if (start < 0 || start + kChunk > n) return;
  const std::ptrdiff_t width = isComplex ? 2 : 1;
  for (std::ptrdiff_t i = 0; i < width * kChunk; i += kCacheLine) {
    __builtin_prefetch(buffer + width * start + i);
  }
}

// Op is an element operation over std::complex<float>, Post UnaryNoOp<float> or ClampAtZero, which
// is applied to the real part. The real part is also what the statistics count. A real input
// element x is x + 0i; a real output receives the real part alone.
//
// Direction: a complex output may begin at the address of a real input, whose elements are half as
// wide. Going up, storing element 0 would overwrite input element 1 before it is read. So if the
// output is complex and an input is real, the walk goes down from element n - 1. Output element i
// covers floats 2i and 2i + 1, which are never below input element i, so the elements that are
// still to be read stay intact. In all other cases no output element is wider than an input
// element, and the walk goes up. The statistics depend on the order (sum, NaN), so the direction
// follows from the flags alone, also where no buffer is shared.
template <class Op, class Post>
struct ProcAsComplex {
  LUMOMIXCALC_PER_PROCESSOR static void Apply(float* out, float* stats, const float* in1,
                                              const float* in2, std::int32_t n,
                                              const ProcParams& params) {
    if (n == 0) return;
    const bool in1Complex = params.in1Complex != 0;
    const bool in2Complex = params.in2Complex != 0;
    const bool outComplex = params.outComplex != 0;
    const bool backward = outComplex && !(in1Complex && in2Complex);
    const Complex A(params.A);
    const Complex B(params.B);
    RunningStatistics running(stats);
    float pairs1[2 * kChunk];
    float pairs2[2 * kChunk];
    OutputChunk w;
    for (std::ptrdiff_t done = 0; done < n; done += kChunk) {
      const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kChunk, n - done);
      const std::ptrdiff_t start = backward ? n - done - count : done;
      const float* x1 = Op::kFile1 ? Pairs(in1, in1Complex, start, count, pairs1) : nullptr;
      const float* x2 = Op::kFile2 ? Pairs(in2, in2Complex, start, count, pairs2) : nullptr;
      if constexpr (requires { Op::ApplyFast; }) {
        // If any element is uncertain, the formula computes the whole chunk. This is rare.
        if (!Compute<true>(x1, x2, A, B, count, w)) Compute<false>(x1, x2, A, B, count, w);
      } else {
        Compute<false>(x1, x2, A, B, count, w);
      }
      w.Write(out, outComplex, start, count);
      const std::ptrdiff_t next = backward ? start - kChunk : start + kChunk;
      if (Op::kFile1) Prefetch(in1, in1Complex, next, n);
      if (Op::kFile2) Prefetch(in2, in2Complex, next, n);
      Prefetch(out, outComplex, next, n);
      running.CountChunk(w.re, static_cast<int>(count), backward);
    }
    running.Store(stats);
  }

 private:
  // Computes a chunk, if kFast by Op's fast form, which has no branches and calls. Returns whether
  // all bits are certain. Always inlined, so that it is compiled for each processor.
  template <bool kFast>
  [[gnu::always_inline]] static inline bool Compute(const float* x1, const float* x2, Complex A,
                                                    Complex B, std::ptrdiff_t count,
                                                    OutputChunk& w) {
    // As wide as a double: with a bool, g++ 12 computes the elements one by one.
    std::uint64_t areCertain = 1;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const Complex F1 = Op::kFile1 ? Complex(x1[2 * i], x1[2 * i + 1]) : Complex();
      const Complex F2 = Op::kFile2 ? Complex(x2[2 * i], x2[2 * i + 1]) : Complex();
      Complex result;
      if constexpr (kFast) {
        bool isCertain = false;
        result = Op::ApplyFast(F1, F2, A, B, isCertain);
        areCertain &= static_cast<std::uint64_t>(isCertain);
      } else {
        result = Op::Apply(F1, F2, A, B);
      }
      w.re[i] = Post::template Apply<Op::kNanUnderClamp>(result.re);
      w.im[i] = static_cast<float>(result.im);
    }
    return areCertain != 0;
  }
};

}  // namespace lumomixcalc

#endif
