// The operations on each element's value between its computation and its store.
#ifndef LUMOMIXCALC_KERNELS_POST_OPERATIONS_H
#define LUMOMIXCALC_KERNELS_POST_OPERATIONS_H

#include "kernels/element_operations.h"

namespace lumomixcalc {

// Leaves the value unchanged.
template <class T>
struct UnaryNoOp {
  template <NanUnderClamp>
  static constexpr Working<T> Apply(Working<T> v) {
    return v;
  }
};

// Turns every value that is not greater than zero into +0. What a NaN becomes is the element
// operation's choice.
struct ClampAtZero {
  template <NanUnderClamp nan>
  static constexpr double Apply(double v) {
    if constexpr (nan == NanUnderClamp::kPasses) {
      return v <= 0.0 ? 0.0 : v;
    } else {
      return v > 0.0 ? v : 0.0;
    }
  }
};

}  // namespace lumomixcalc

#endif
