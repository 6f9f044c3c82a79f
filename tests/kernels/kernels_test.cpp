// Every selection and every kernel against the plain rule, and results known without computing
// them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

using Z = std::complex<float>;

const float* Parts(const Z& z) { return reinterpret_cast<const float*>(&z); }

std::string LayoutText(const Layout& layout) {
  return testing::PrintToString(std::array{layout.out, layout.in1, layout.in2});
}

// Numbers from a place of many, which are drawn once: drawing takes longer than computing.
std::vector<float> Drawn(std::size_t count, bool special, std::mt19937& random) {
  const auto many = [&](bool are) {
    std::vector<float> all(1U << 18U);
    std::ranges::generate(all, [&] { return Draw(are, random); });
    return all;
  };
  static const std::array kDrawn = {many(false), many(true)};
  const float* const first = &kDrawn[special ? 1 : 0][random() % ((1U << 18U) - count)];
  return {first, first + count};
}

// Where the output is and, at the end, both inputs are.
enum class Place { kSeparate, kOverFile1, kOverFile2, kOverBoth };

// Calls the run's kernel on n elements within memory full of drawn numbers. Memory and record must
// end as the plain rule leaves them: the output as it must be, and nothing else changed.
void ExpectPlainRule(const OperatorRun& run, const Layout& layout, std::int32_t n, bool special,
                     Place place, std::mt19937& random) {
  const std::size_t room = 2 * static_cast<std::size_t>(n) + 32;
  const std::vector<float> before = Drawn(3 * room, special, random);
  const std::size_t in1 = 16 + random() % 16;
  const std::size_t in2 = place == Place::kOverBoth ? in1 : room + 16 + random() % 16;
  std::size_t out = place == Place::kOverFile2 ? in2 : in1;
  if (place == Place::kSeparate) out = 2 * room + random() % 16;
  const OutputStats start = {Draw(special, random), Draw(special, random), Draw(special, random)};

  std::vector<float> expected = before;
  OutputStats expectedStats = start;
  const ProcParams folded =
      Reference(run, layout, &expected[out], expectedStats, &before[in1], &before[in2], n);

  const auto selected = Select(run);
  const ProcParams params = selected->params;
  EXPECT_TRUE(SameBits(params.A, folded.A) && SameBits(params.B, folded.B))
      << "folded to " << params.A << ", " << params.B << ", not " << folded.A << ", " << folded.B;
  EXPECT_EQ(LayoutText({params.outComplex, params.in1Complex, params.in2Complex}),
            LayoutText(run.layout));
  selected->params = {params.A, params.B, layout.in1, layout.in2, layout.out};
  std::vector<float> actual = before;
  OutputStats stats = start;
  // Without elements nothing is touched: there need not be anything.
  const auto at = [&](std::size_t i) { return n == 0 ? nullptr : &actual[i]; };
  PerformProcessing(at(out), n == 0 ? nullptr : &stats.minimum, at(in1), at(in2), n,
                    selected.get());
  EXPECT_TRUE(SameBits(stats, expectedStats))
      << "record " << StatsText(stats) << ", not " << StatsText(expectedStats);
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ASSERT_TRUE(SameBits(actual[i], expected[i]))
        << "float " << static_cast<std::ptrdiff_t>(i - out) << " of the output is " << actual[i]
        << ", not " << expected[i];
  }
}

TEST(EveryKernel, MatchesThePlainRuleForAllCoefficientsLayoutsPlacesAndSizes) {
  std::mt19937 random;
  const auto part = [&] { return random() % 6 == 0 ? 0 : Draw(random() % 2 != 0, random); };
  for (std::int32_t run = 0; run < 13 * 2 * 8 * 8 * 4 * 12; ++run) {
    const auto digit = [&](int place, int base) { return run / place % base; };
    // Any nonzero flag is set.
    const auto flag = [&](int place, int set) { return digit(place, 2) * set; };
    const Layout selected = {flag(26, 3), flag(52, -1), flag(104, 2)};
    const Layout called = {flag(208, 1), flag(416, 5), flag(832, -1)};
    // Up to some vectors' widths, and those around the borders of chunks.
    static constexpr std::array<std::uint32_t, 7> kLarge = {255, 256, 257, 511, 513, 777, 2048};
    const auto n =
        static_cast<std::int32_t>(random() % 8 != 0 ? random() % 35 : kLarge[random() % 7]);
    const OperatorRun r = {digit(1, 13), flag(13, 4), {part(), part()}, {part(), part()}, selected};
    const bool special = random() % 2 != 0;
    const int place = digit(1664, 4);
    ExpectPlainRule(r, called, n, special, static_cast<Place>(place), random);
    // Not a SCOPED_TRACE, which would format this text for each call.
    if (HasFailure())
      FAIL() << "operator " << r.op << ", A = " << r.a << ", B = " << r.b << ", clamp " << r.clamp
             << ", selected for layout " << LayoutText(selected) << ", called with "
             << LayoutText(called) << "; n " << n << ", special " << special << ", place " << place;
  }
}

// Literals on purpose: a mistake shared by the program and its reference shows here.
TEST(SpecialValues, GiveTheResultsKnownBeforehand) {
  constexpr std::int32_t kSum = 0, kProduct = 2, kAbs = 5, kPhase = 7, kPlusB = 8, kTimesB = 9;
  constexpr std::int32_t kReciprocal = 10, kLn = 11, kPower = 12;
  const struct {
    std::int32_t op, isComplex;
    Z a, b, file1, file2, expected;
  } examples[] = {
      {kAbs, 0, 1, 0, -0.0F, 0, -0.0F},
      {kReciprocal, 0, 1, 1, 0, -0.0F, -INFINITY},
      {kLn, 0, 1, 0, -1, 0, NAN},
      // The product of the first three is no zero at double precision.
      {kProduct, 0, 0x1p-75F, 0x1p-65F, 0x1p-20F, 0x1p100F, 0x1p-60F},
      // One rounding, at the store: 2^24 + 1 ties to even there, 2^24 + 2 - 2^24 is exact before.
      {kSum, 0, 1, 1, 16777216, 1, 16777216},
      {kPlusB, 0, 3, -16777216, 5592406, 0, 2},
      {kTimesB, 1, 1, 1, {INFINITY, 0}, 0, {INFINITY, NAN}},  // a NaN part stays
      {kAbs, 1, 1, 0, {2e38F, 2e38F}, 0, 2.8284271e38F},
      {kAbs, 1, 1, 0, {1e-45F, 0}, 0, 1e-45F},
      {kPhase, 1, {2, 1}, 0, {-1, 1}, 0, {4.71238898F, 2.35619449F}},
      // Elements on an axis have phase 0, not pi or pi / 2.
      {kPhase, 1, INFINITY, 0, {-1, 0}, 0, 0},
      {kPhase, 1, INFINITY, 0, {0, 1}, 0, 0},
      {kLn, 1, 1, 0, -1, 0, {0, 3.14159274F}},
      {kLn, 1, 1, 0, {-1, -1e-30F}, 0, {0, -3.14159274F}},
      {kPower, 1, {2, 1}, 0, NAN, 0, 0},
      {kPower, 1, 10, 0, 1e10F, 0, {INFINITY, NAN}},
  };
  for (const auto& [op, isComplex, a, b, file1, file2, expected] : examples) {
    Z out;
    OutputStats stats{};
    PerformProcessing(reinterpret_cast<float*>(&out), &stats.minimum, Parts(file1), Parts(file2), 1,
                      Select({op, 0, a, b, {isComplex, isComplex, isComplex}}).get());
    EXPECT_TRUE(SameBits(out, expected)) << "operator " << op << " of " << file1 << ", " << file2
                                         << ": " << out << ", not " << expected;
  }
}

}  // namespace
}  // namespace lumomixcalc
