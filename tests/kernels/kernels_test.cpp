// Every kernel against the plain rule: layouts, shared buffers, alignments, sizes, special values.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

TEST(EveryKernel, MatchesThePlainRuleInEveryLayoutPlaceAndSize) {
  // Every size up to some vectors' widths, and those around the borders of chunks.
  std::vector<std::int32_t> sizes(35);
  std::iota(sizes.begin(), sizes.end(), 0);
  sizes.insert(sizes.end(), {255, 256, 257, 511, 513, 777, 2048});
  std::mt19937 random;
  for (std::int32_t run = 0; run < 13 * 2 * 8 * 2 * 4; ++run) {
    const auto digit = [&](int place, int base) { return run / place % base; };
    const auto flag = [&](int place, int set) { return digit(place, 2) * set; };
    // Real arithmetic is done only where no imaginary part counts.
    const float bi = digit(13, 2) == 0 ? 2 : NAN;
    const OperatorRun r = {digit(1, 13), flag(208, 1), {1.25F, bi},  {0.1F, bi},
                           flag(26, 1),  flag(52, 5),  flag(104, -1)};
    const auto place = static_cast<Place>(digit(416, 4));
    // One buffer as both inputs has one layout.
    if (place == Place::kOverBoth && (r.in1Complex == 0) != (r.in2Complex == 0)) continue;
    for (const std::int32_t n : sizes) {
      ExpectPlainRule(r, n, false, place, random);
      ExpectPlainRule(r, n, true, place, random);
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
