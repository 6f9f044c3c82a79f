// The kernels by the plain rule, one element after the other with the record in registers. The
// kernels of the product are compared with these.
#ifndef LUMOMIXCALC_BENCH_PLAIN_KERNELS_H
#define LUMOMIXCALC_BENCH_PLAIN_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "kernels/contract.h"
#include "kernels/element_operations.h"
#include "kernels/post_operations.h"

namespace lumomixcalc {

// Counts values into a host's statistics record. From construction until Store, the three numbers
// are kept here, in registers once inlined: with a record in memory, every element would wait for
// the store of the previous one.
class PlainStatistics {
 public:
  explicit PlainStatistics(const float* record) : stats_{record[0], record[1], record[2]} {}

  // Counts v, the value before it is rounded for the store:
  //   minimum = float(v)        unless v >= minimum: a NaN v replaces it, a NaN minimum is replaced
  //   maximum = float(v)        if v > maximum: a NaN v never does, a NaN maximum stays
  //   sum     = float(v + sum)  rounded to single precision at every element
  void Count(double v) {
    if (!(v >= stats_.minimum)) stats_.minimum = static_cast<float>(v);
    if (v > stats_.maximum) stats_.maximum = static_cast<float>(v);
    stats_.sum = static_cast<float>(v + stats_.sum);
  }

  void Store(float* record) const {
    record[0] = stats_.minimum;
    record[1] = stats_.maximum;
    record[2] = stats_.sum;
  }

 private:
  OutputStats stats_;
};

template <class Op, class Post>
struct PlainAsReal {
  static void Apply(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
                    const ProcParams& params) {
    const double A = params.A.real();
    const double B = params.B.real();
    PlainStatistics running(stats);
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

template <class Op, class Post>
struct PlainAsComplex {
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
    PlainStatistics running(stats);
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
