// The phase operation against the library's arc tangent, element by element.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "kernels/fast_phase.h"
#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

using Element = std::complex<float>;

void ExpectLibraryPhases(const std::vector<Element>& elements, Element A) {
  const auto n = static_cast<std::int32_t>(elements.size());
  const auto* const in = reinterpret_cast<const float*>(elements.data());
  for (const std::int32_t outComplex : {0, 1}) {
    const OperatorRun run = {7, 0, A, 0, {outComplex, 1, 0}};
    std::vector<float> expected(2 * elements.size());
    std::vector<float> actual(expected.size());
    OutputStats stats = {};
    Reference(run, run.layout, expected.data(), stats, in, in, n);
    PerformProcessing(actual.data(), &stats.minimum, in, in, n, Select(run).get());
    for (std::size_t i = 0; i < actual.size(); ++i)
      ASSERT_TRUE(SameBits(actual[i], expected[i]))
          << A << ", float " << i << " of the output, complex " << outComplex << ": " << actual[i]
          << ", not " << expected[i];
  }
}

float AnyBits(std::mt19937& random) {
  return std::bit_cast<float>(static_cast<std::uint32_t>(random()));
}

TEST(Phase, IsTheLibrarysWhateverTheElement) {
  std::mt19937 random;
  std::normal_distribution<float> normal;
  constexpr float kTanPi8 = 0x1.a8279ap-2F;
  std::vector<Element> elements;
  for (int i = 0; i < 60000; ++i) {
    const float x = normal(random);
    const auto whole = [&] { return static_cast<float>(static_cast<int>(random() % 31) - 15); };
    const auto tiny = [&] { return static_cast<float>(random() % 99) * 1e-45F; };
    const auto beside = [&](float v) { return v * (1 + 0x1p-23F * whole()); };
    const Element kinds[] = {{x, normal(random)},
                             {AnyBits(random), AnyBits(random)},
                             {whole(), whole()},
                             {x, beside(i % 2 == 0 ? x : -x)},
                             {x, beside(x * kTanPi8)},
                             {beside(x * kTanPi8), -x},
                             {tiny(), i % 2 == 0 ? x : -tiny()}};
    elements.push_back(kinds[random() % std::size(kinds)]);
    // Rarely, so that most chunks are without.
    if (i % 1000 == 0) elements.emplace_back(Draw(true, random), Draw(true, random));
    if (i % 1000 == 1) elements.emplace_back(Draw(true, random), x);
  }
  for (const Element A : {Element(1, 0), Element(57.29578F, 0), Element(-1, 0), Element(0.3F, -7),
                          Element(1e-30F, 1e30F), Element(1e-44F, 3e38F), Element(NAN, INFINITY)}) {
    ExpectLibraryPhases(elements, A);
  }
}

TEST(Phase, FastArcTangentIsWithinItsBound) {
  std::mt19937 random;
  for (int i = 0; i < 300000; ++i) {
    const float y = i % 2 == 0 ? AnyBits(random) : Draw(false, random);
    const float x = i % 2 == 0 ? AnyBits(random) : Draw(false, random);
    if (!std::isnormal(x) || !std::isnormal(y)) continue;
    const long double angle = std::atan2(static_cast<long double>(y), static_cast<long double>(x));
    EXPECT_LE(std::abs(FastAtan2(y, x) / angle - 1), 9 * 0x1p-53L) << y << " " << x;
  }
}

// Products next to the middle between two floats, where the last bit of the arc tangent decides:
// without its margin, the fast arc tangent must be taken for certain here and be wrong.
TEST(Phase, IsTheLibrarysNextToTheMiddleBetweenTwoFloats) {
  std::mt19937 random;
  int found = 0;
  for (int i = 0; i < 256;) {
    const Element element = {Draw(false, random), Draw(false, random)};
    const double phase = std::abs(std::atan2(double{element.imag()}, double{element.real()}));
    if (phase < 1.5 || phase >= 2 || phase == std::abs(FastAtan2(element.imag(), element.real()))) {
      continue;
    }
    ++i;
    // The product of two whole numbers, phase * 2^52 and A * 2^23 with A in [1.5, 2), has 77 bits,
    // the last 53 of which a float has no room for.
    const auto units = static_cast<std::uint64_t>(phase * 0x1p52);
    for (std::uint64_t a = 3U << 22U; a < 1U << 24U; ++a) {
      const std::uint64_t rest = (units * a) << 11U;
      if (rest - (1ULL << 63U) + (1ULL << 36U) > 1ULL << 37U) continue;  // 2 units of a double
      ++found;
      ExpectLibraryPhases({element}, {static_cast<float>(a) * 0x1p-23F, 0});
    }
  }
  EXPECT_GT(found, 4);
}

}  // namespace
}  // namespace lumomixcalc
