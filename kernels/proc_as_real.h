// The real kernels: output and inputs are real buffers.
#ifndef LUMOMIXCALC_KERNELS_PROC_AS_REAL_H
#define LUMOMIXCALC_KERNELS_PROC_AS_REAL_H

#include <algorithm>
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
    RunningStatistics running(stats);
    double v[kChunk];
    for (std::ptrdiff_t start = 0; start < n; start += kChunk) {
      const int count = static_cast<int>(std::min<std::ptrdiff_t>(kChunk, n - start));
      for (int i = 0; i < count; ++i) {
        const double F1 = Op::kFile1 ? in1[start + i] : 0.0F;
        const double F2 = Op::kFile2 ? in2[start + i] : 0.0F;
        v[i] = Post::template Apply<Op::kNanUnderClamp>(Op::Apply(F1, F2, A, B));
      }
      for (int i = 0; i < count; ++i) out[start + i] = static_cast<float>(v[i]);
      running.CountChunk(v, count, false);
    }
    running.Store(stats);
  }
};

}  // namespace lumomixcalc

#endif
