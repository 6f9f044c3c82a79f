// Every kernel against the plain rule: layouts, shared buffers, alignments, sizes, special values.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

float Draw(bool special, std::mt19937& random) {
  static constexpr std::array kSpecials = {0.0F,   -0.0F,   1.0F,       -1.0F, 1e-45F, -1e-45F,
                                           1e-30F, -3e-39F, kInfinity,  kNan,  -1e30F, 3e38F,
                                           2.5F,   -3e38F,  -kInfinity, 1e10F};
  return special ? kSpecials[random() % kSpecials.size()]
                 : std::uniform_real_distribution<float>(-10.0F, 10.0F)(random);
}

// Every size up to some vectors' widths, and those around the borders of chunks.
std::vector<std::int32_t> Sizes() {
  std::vector<std::int32_t> sizes(35);
  std::iota(sizes.begin(), sizes.end(), 0);
  sizes.insert(sizes.end(), {255, 256, 257, 511, 513, 777, 2048});
  return sizes;
}

enum class Place { kSeparate, kOverFile1, kOverFile2, kOverBoth };

// Calls the kernel within memory full of drawn numbers, its buffers somewhere in there, and checks
// that memory and record end as the plain rule leaves them: the output as it must be, and nothing
// else changed.
void ExpectMatchesPlainRule(const KernelCase& kernel, std::int32_t n, const ProcParams& params,
                            bool special, Place place, std::mt19937& random) {
  const std::size_t room = 2 * static_cast<std::size_t>(n) + 32;
  std::vector<float> before(3 * room);
  std::generate(before.begin(), before.end(), [&] { return Draw(special, random); });
  std::size_t in1 = 16 + random() % 16;
  std::size_t in2 = room + 16 + random() % 16;
  if (place == Place::kOverBoth) in2 = in1;
  const std::size_t out = place == Place::kSeparate    ? 2 * room + random() % 16
                          : place == Place::kOverFile2 ? in2
                                                       : in1;
  const OutputStats start = {Draw(special, random), Draw(special, random), Draw(special, random)};

  std::vector<float> expected = before;
  OutputStats expectedStats = start;
  ApplyReference(kernel, &expected[out], expectedStats, &before[in1], &before[in2], n, params);
  std::vector<float> actual = before;
  OutputStats stats = start;
  kernel.kernel(&actual[out], &stats.minimum, &actual[in1], &actual[in2], n, params);

  EXPECT_TRUE(SameBits(stats, expectedStats))
      << "record " << stats.minimum << " " << stats.maximum << " " << stats.sum << ", expected "
      << expectedStats.minimum << " " << expectedStats.maximum << " " << expectedStats.sum;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ASSERT_TRUE(SameBits(actual[i], expected[i]))
        << "float " << static_cast<std::ptrdiff_t>(i - out) << " of the output is " << actual[i]
        << ", expected " << expected[i];
  }
}

TEST(EveryKernel, MatchesThePlainRuleInEveryLayoutPlaceAndSize) {
  std::mt19937 random{2026};
  for (const KernelCase& kernel : AllKernels()) {
    for (int layout = 0; layout < (kernel.isComplex ? 8 : 1); ++layout) {
      const ProcParams params = {.A = {1.25F, kernel.isComplex ? -0.7F : kNan},
                                 .B = {0.1F, kernel.isComplex ? 2.0F : kNan},
                                 // Any nonzero value means complex.
                                 .in1Complex = (layout & 1) != 0 ? 5 : 0,
                                 .in2Complex = (layout & 2) != 0 ? -1 : 0,
                                 .outComplex = (layout & 4) != 0 ? 1 : 0};
      for (const Place place :
           {Place::kSeparate, Place::kOverFile1, Place::kOverFile2, Place::kOverBoth}) {
        // One buffer as both inputs has one layout.
        if (place == Place::kOverBoth && layout % 4 != 0 && layout % 4 != 3) continue;
        for (const std::int32_t n : Sizes()) {
          SCOPED_TRACE(testing::Message() << kernel.name << ", layout " << layout << ", place "
                                          << static_cast<int>(place) << ", n " << n);
          ExpectMatchesPlainRule(kernel, n, params, false, place, random);
          ExpectMatchesPlainRule(kernel, n, params, true, place, random);
          if (HasFailure()) return;
        }
      }
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
