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

// Whatever is within the margin of the middle between two floats may round to either.
TEST(Phase, IsNotCertainNextToTheMiddleBetweenTwoFloats) {
  std::mt19937 random;
  for (int i = 0; i < 100000; ++i) {
    const float v = AnyBits(random);
    if (!std::isnormal(v)) continue;
    const double middle = (double{v} + double{std::nextafter(v, 0.0F)}) / 2;
    for (const double side : {-1.0, 1.0}) {
      ASSERT_FALSE(IsFloatCertain(middle * (1 + side * 0x1p-49))) << v;
      ASSERT_TRUE(IsFloatCertain(middle * (1 + side * 0x1p-47))) << v;
    }
  }
}

}  // namespace
}  // namespace lumomixcalc
