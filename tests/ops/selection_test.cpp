#include <gtest/gtest.h>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

TEST(Selection, GivesEveryOperatorItsKernelAndCoefficientsForAllFlagsAndKindsOfCoefficients) {
  std::mt19937 random;
  const auto draw = [&] { return Draw(random() % 2 != 0, random); };
  for (std::int32_t run = 0; run < 13 * 16 * 400 && !HasFailure(); ++run) {
    // Any nonzero flag is set.
    const auto flag = [&](int bit, std::int32_t set) { return (run >> bit) % 2 * set; };
    const Layout layout = {flag(1, 3), flag(2, -1), flag(3, 2)};
    const OperatorRun r = {run / 16 % 13, flag(0, 4), {draw(), draw()}, {draw(), draw()}, layout};
    ExpectPlainRule(r, layout, 8, true, Place::kSeparate, random);
  }
}

}  // namespace
}  // namespace lumomixcalc
