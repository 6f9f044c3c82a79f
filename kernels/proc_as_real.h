// The real kernels: output and inputs are real buffers.
#ifndef LUMOMIXCALC_KERNELS_PROC_AS_REAL_H
#define LUMOMIXCALC_KERNELS_PROC_AS_REAL_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "kernels/contract.h"
#include "kernels/element_operations.h"
#include "kernels/multiversioning.h"
#include "kernels/post_operations.h"
#include "kernels/running_statistics.h"

namespace lumomixcalc {

// Op is an element operation over float, Post UnaryNoOp<float> or ClampAtZero. Only the real parts
// of A and B are used. The flags are ignored, and an input that Op does not use is not accessed.
template <class Op, class Post>
struct ProcAsReal {
  LUMOMIXCALC_PER_PROCESSOR static void Apply(float* out, float* stats, const float* in1,
                                              const float* in2, std::int32_t n,
                                              const ProcParams& params) {
    if (n == 0) return;
    const double A = params.A.real();
    const double B = params.B.real();
    const FastForm fast(A, B);
    RunningStatistics running(stats);
    double v[kChunk];
    int wait = 0;  // chunks before the fast form is tried
    for (std::ptrdiff_t start = 0; start < n; start += kChunk) {
      const int count = static_cast<int>(std::min<std::ptrdiff_t>(kChunk, n - start));
      if (wait > 0 || !TryFast(fast, in1 + start, A, B, count, v, running)) {
        // What defeats the fast form, as integer powers do, is mostly in the next chunks, too.
        wait = wait > 0 ? wait - 1 : 15;
        for (int i = 0; i < count; ++i) v[i] = Compute(in1 + start, in2 + start, i, A, B);
        running.CountChunk(v, count, false);
      }
      for (int i = 0; i < count; ++i) out[start + i] = static_cast<float>(v[i]);
    }
    running.Store(stats);
  }

 private:
  using FastForm = typename Op::RealFastForm;

  // These are always inlined, so that they are compiled for each processor.
  [[gnu::always_inline]] static inline double Compute(const float* x1, const float* x2, int i,
                                                      double A, double B) {
    const double F1 = Op::kFile1 ? x1[i] : 0.0F;
    const double F2 = Op::kFile2 ? x2[i] : 0.0F;
    return Post::template Apply<Op::kNanUnderClamp>(Op::Apply(F1, F2, A, B));
  }

  [[gnu::always_inline]] static inline bool TryFast(const NoFastForm&, const float*, double, double,
                                                    int, double*, RunningStatistics&) {
    return false;
  }

  // Proven rounding: the stored float and the sum may come from any double v that they round as the
  // formula's. A fast form has no branches and calls, so that it becomes vector instructions. Its
  // zeros, infinities and NaNs are exact, others within its kMargin, relative to v. The formula
  // computes elements whose float is uncertain. Returns false and counts nothing if these are many
  // or the record is uncertain.
  template <class Fast>
  [[gnu::always_inline]] static inline bool TryFast(const Fast& fast, const float* x1, double A,
                                                    double B, int count, double* v,
                                                    RunningStatistics& running) {
    if constexpr (requires { fast.IsSquare(); }) {
      if (fast.IsSquare()) {
        for (int i = 0; i < count; ++i) v[i] = double{x1[i]} * x1[i];
        running.CountChunk(v, count, false);
        return true;
      }
    }
    double high[kChunk];
    std::uint32_t difference = 0;
    for (int i = 0; i < count; ++i) {
      const double result = fast(x1[i]);
      const double a = result * (1.0 - Fast::kMargin);
      const double b = result * (1.0 + Fast::kMargin);
      v[i] = Post::template Apply<Op::kNanUnderClamp>(a < b ? a : b);
      high[i] = Post::template Apply<Op::kNanUnderClamp>(a < b ? b : a);
    }
    for (int i = 0; i < count; ++i) difference |= FloatBits(v[i]) ^ FloatBits(high[i]);
    int asked = 0;
    for (int i = 0; i < count && difference != 0; ++i) {
      if (FloatBits(v[i]) == FloatBits(high[i])) continue;
      if (++asked > kChunk / 8) return false;
      v[i] = high[i] = Compute(x1, nullptr, i, A, B);
    }
    return running.CountBetween(v, high, count);
  }

  static std::uint32_t FloatBits(double v) {
    return std::bit_cast<std::uint32_t>(static_cast<float>(v));
  }
};

}  // namespace lumomixcalc

#endif
