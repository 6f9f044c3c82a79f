// The output's minimum, maximum and sum, kept up to date as if element by element.
#ifndef LUMOMIXCALC_KERNELS_RUNNING_STATISTICS_H
#define LUMOMIXCALC_KERNELS_RUNNING_STATISTICS_H

#include <bit>
#include <cstdint>

#include "kernels/contract.h"

namespace lumomixcalc {

// The number of elements that a kernel computes before it stores and counts them.
inline constexpr int kChunk = 256;

// float(v + sum), the rule's sum. Element after element, this is a chain of three operations: an
// addition and two conversions. A guess shortens the chain: adding v as a float mostly gives the
// same sum. The processor predicts this and continues with the guess; the check is not in the
// chain. The bits are compared, not the numbers, so that a guess of the wrong zero is noticed.
inline float AddToSum(double v, float sum) {
  const float guess = sum + static_cast<float>(v);
  const float next = static_cast<float>(v + sum);
  if (std::bit_cast<std::uint32_t>(guess) == std::bit_cast<std::uint32_t>(next)) [[likely]] {
    return guess;
  }
  return next;
}

// Counts values into a host's statistics record, which is read on construction and written by
// Store.
class RunningStatistics {
 public:
  explicit RunningStatistics(const float* record) : stats_{record[0], record[1], record[2]} {}

  // The rule. Counts v, the value before it is rounded for the store:
  //   minimum = float(v)        unless v >= minimum: a NaN v replaces it, a NaN minimum is replaced
  //   maximum = float(v)        if v > maximum: a NaN v never does, a NaN maximum stays
  //   sum     = float(v + sum)  rounded to single precision at every element
  void Count(double v) {
    stats_.minimum = v >= stats_.minimum ? stats_.minimum : static_cast<float>(v);
    stats_.maximum = v > stats_.maximum ? static_cast<float>(v) : stats_.maximum;
    stats_.sum = AddToSum(v, stats_.sum);
  }

  // Counts n <= kChunk values, from the first to the last or, if backward, from the last to the
  // first. The record gets exactly the bits that Count on each value would give it, but faster.
  void CountChunk(const double* values, int n, bool backward);

  // Counts n <= kChunk values between low and high, which are rounded to the same floats, in this
  // order. Returns false and counts nothing if the record depends on where between them they are.
  bool CountBetween(const double* low, const double* high, int n);

  void Store(float* record) const {
    record[0] = stats_.minimum;
    record[1] = stats_.maximum;
    record[2] = stats_.sum;
  }

 private:
  OutputStats stats_;
};

}  // namespace lumomixcalc

#endif
