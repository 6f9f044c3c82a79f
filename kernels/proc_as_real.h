// The real kernels: output and inputs are real buffers.
#ifndef LUMOMIXCALC_KERNELS_PROC_AS_REAL_H
#define LUMOMIXCALC_KERNELS_PROC_AS_REAL_H

#include <cstdint>

#include "kernels/contract.h"
#include "kernels/element_operations.h"
#include "kernels/post_operations.h"
#include "kernels/running_statistics.h"

namespace lumomixcalc {

// Op is an element operation over float, Post UnaryNoOp<float> or ClampAtZero. Only the real parts
// of A and B are used, the flags are not, and an input that Op does not use is not touched.
template <class Op, class Post>
struct ProcAsReal {
  static void Apply(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
                    const ProcParams& params) {
    const double A = params.A.real();
    const double B = params.B.real();
    RunningStatistics running(stats);
    for (std::int32_t i = 0; i < n; ++i) {
      const double F1 = Op::kFile1 ? in1[i] : 0.0F;
      const double F2 = Op::kFile2 ? in2[i] : 0.0F;
      const double v = Post::template Apply<Op::kNanUnderClamp>(Op::Apply(F1, F2, A, B));
      out[i] = static_cast<float>(v);
      running.Count(v);
    }
    running.Store(stats);
  }
};

}  // namespace lumomixcalc

#endif
