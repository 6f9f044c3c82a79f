// Every kernel against the plain rule: layouts, shared buffers, alignments, sizes, special values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "ops/selection.h"
#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

TEST(EveryKernel, MatchesThePlainRuleInEveryLayoutPlaceAndSize) {
  // Every size up to some vectors' widths, and those around the borders of chunks.
  std::vector<std::int32_t> sizes(35);
  std::iota(sizes.begin(), sizes.end(), 0);
  sizes.insert(sizes.end(), {255, 256, 257, 511, 513, 777, 2048});
  std::mt19937 random;
  for (std::int32_t run = 0; run < 8 * 4 * 2 * 13; ++run) {
    const auto digit = [&](int place, int base) { return run / place % base; };
    const auto flag = [&](int place, int set) { return digit(place, 2) * set; };
    const Layout layout = {flag(1, 1), flag(2, 5), flag(4, -1)};
    const auto place = static_cast<Place>(digit(8, 4));
    for (const std::int32_t n : sizes) {
      const auto any = [&] { return static_cast<std::int32_t>(random() % 2); };
      // Real arithmetic is done only where no imaginary part counts.
      const float imaginary = any() != 0 ? 2 : NAN;
      const OperatorRun r = {
          digit(64, 13), flag(32, 1), {1.25F, imaginary}, {0.1F, imaginary}, {any(), any(), any()}};
      ExpectPlainRule(r, layout, n, false, place, random);
      ExpectPlainRule(r, layout, n, true, place, random);
      if (HasFailure()) return;
    }
  }
}

TEST(EveryKernel, TouchesNothingForNoElements) {
  const float coefficient[] = {1, 0};
  for (const std::int32_t isComplex : {0, 1}) {
    SelectedProc* const selected =
        SelectProcessing(2, 1, coefficient, coefficient, isComplex, isComplex, isComplex);
    PerformProcessing(nullptr, nullptr, nullptr, nullptr, 0, selected);
    std::free(selected);
  }
}

}  // namespace
}  // namespace lumomixcalc
