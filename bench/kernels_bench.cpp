// Times every kernel and two loops over the same data: the plain rule, and the bare arithmetic
// without statistics. Before timing, checks that output and record equal those of the plain rule.
//
// Benchmarks are named KERNEL/LOOP/DATA/ELEMENTS. Buffers of 65,536 elements stay in the cache,
// those of 16,777,216 do not.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kernels/proc_as_complex.h"
#include "kernels/proc_as_real.h"
#include "tests/kernels/reference.h"

namespace lumomixcalc {
namespace {

struct BenchCase {
  std::string name;
  bool isComplex;
  KernelFn product;
  KernelFn plain;
  KernelFn bare;
};

// The kernels one element after the other, on buffers that are all real or all complex. They count
// by the rule of the tests, with the record in registers: in memory, every element would wait for
// the store of the previous one.
template <class Op, bool kCounts>
struct PlainReal {
  LUMOMIXCALC_PER_PROCESSOR static void Apply(float* out, float* record, const float* in1,
                                              const float* in2, std::int32_t n,
                                              const ProcParams& params) {
    const double A = params.A.real();
    const double B = params.B.real();
    OutputStats stats = {record[0], record[1], record[2]};
    for (std::int32_t i = 0; i < n; ++i) {
      const double v = Op::Apply(in1[i], in2[i], A, B);
      out[i] = static_cast<float>(v);
      if (kCounts) ReferenceCount(v, stats);
    }
    std::memcpy(record, &stats, sizeof stats);
  }
};

template <class Op, bool kCounts>
struct PlainComplex {
  LUMOMIXCALC_PER_PROCESSOR static void Apply(float* out, float* record, const float* in1,
                                              const float* in2, std::int32_t n,
                                              const ProcParams& params) {
    const Complex A(params.A);
    const Complex B(params.B);
    OutputStats stats = {record[0], record[1], record[2]};
    for (std::ptrdiff_t i = 0; i < n; ++i) {
      const Complex w =
          Op::Apply(Complex(in1[2 * i], in1[2 * i + 1]), Complex(in2[2 * i], in2[2 * i + 1]), A, B);
      out[2 * i] = static_cast<float>(w.re);
      out[2 * i + 1] = static_cast<float>(w.im);
      if (kCounts) ReferenceCount(w.re, stats);
    }
    std::memcpy(record, &stats, sizeof stats);
  }
};

template <template <class> class Op>
BenchCase Real(const std::string& name) {
  using O = Op<float>;
  return {"Real_" + name, false, ProcAsReal<O, UnaryNoOp<float>>::Apply, PlainReal<O, true>::Apply,
          PlainReal<O, false>::Apply};
}

template <template <class> class Op>
BenchCase ComplexCase(const std::string& name) {
  using O = Op<std::complex<float>>;
  return {"Complex_" + name, true, ProcAsComplex<O, UnaryNoOp<float>>::Apply,
          PlainComplex<O, true>::Apply, PlainComplex<O, false>::Apply};
}

std::vector<BenchCase> Cases() {
  return {Real<AF1>("AF1"),
          Real<AF1_Plus_B>("AF1_Plus_B"),
          Real<AF1_Plus_BF2>("AF1_Plus_BF2"),
          Real<AF1_Times_F2>("AF1_Times_F2"),
          Real<A_DividedBy_F2>("A_DividedBy_F2"),
          Real<AF1_DividedBy_F2>("AF1_DividedBy_F2"),
          Real<Abs_AF1>("Abs_AF1"),
          Real<A_Ln_F1_Plus_B>("A_Ln_F1_Plus_B"),
          Real<F1_Plus_B_Pow_A>("F1_Plus_B_Pow_A"),
          ComplexCase<AF1>("AF1"),
          ComplexCase<AF1_Plus_B>("AF1_Plus_B"),
          ComplexCase<Conj_AF1>("Conj_AF1"),
          ComplexCase<AF1_Plus_BF2>("AF1_Plus_BF2"),
          ComplexCase<AF1_Times_F2>("AF1_Times_F2"),
          ComplexCase<AF1_Times_Conj_BF2>("AF1_Times_Conj_BF2"),
          ComplexCase<AF1_DividedBy_F2>("AF1_DividedBy_F2"),
          ComplexCase<A_DividedBy_F2>("A_DividedBy_F2"),
          ComplexCase<Abs_AF1>("Abs_AF1"),
          ComplexCase<A_Phase_F1>("A_Phase_F1"),
          ComplexCase<A_Ln_F1_Plus_B>("A_Ln_F1_Plus_B"),
          ComplexCase<F1_Plus_B_Pow_A>("F1_Plus_B_Pow_A")};
}

enum class Data { kPositive, kZeroMean, kIntegers };

const char* Name(Data data) {
  switch (data) {
    case Data::kPositive:
      return "positive";
    case Data::kZeroMean:
      return "zero_mean";
    case Data::kIntegers:
      return "integers";
  }
  return "";
}

// Positive: uniform in [0.5, 1.5). Zero mean: uniform in [-1, 1). Integers: 0 to 255, so that half
// of the sums beyond 2^24 are ties.
std::vector<float> MakeData(Data data, std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> unit(0.0F, 1.0F);
  std::vector<float> values(count);
  std::generate(values.begin(), values.end(), [&] {
    switch (data) {
      case Data::kPositive:
        return 0.5F + unit(random);
      case Data::kZeroMean:
        return 2.0F * unit(random) - 1.0F;
      case Data::kIntegers:
        return static_cast<float>(random() % 256);
    }
    return 0.0F;
  });
  return values;
}

// The first `floats` floats of one input, made once for all kernels: input 0 or 1.
const float* Input(Data data, int input, std::size_t floats) {
  static std::map<std::pair<Data, int>, std::vector<float>> inputs;
  std::vector<float>& values = inputs[{data, input}];
  if (values.size() < floats) values = MakeData(data, floats, static_cast<unsigned>(input) + 1);
  return values.data();
}

// A kernel's data: buffers of its kind, and coefficients with which integers stay integers.
struct Block {
  Block(const BenchCase& benchCase, Data data, std::int32_t elements)
      : n(elements),
        floats(static_cast<std::size_t>(elements) * (benchCase.isComplex ? 2 : 1)),
        in1(Input(data, 0, floats)),
        in2(Input(data, 1, floats)),
        out(floats) {
    const bool integers = data == Data::kIntegers;
    params.A = integers ? std::complex<float>(1.0F) : std::complex<float>(1.1F, 0.3F);
    params.B = integers ? std::complex<float>(1.0F) : std::complex<float>(0.7F, 0.2F);
    params.in1Complex = params.in2Complex = params.outComplex = benchCase.isComplex ? 1 : 0;
  }

  OutputStats Call(KernelFn kernel) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    OutputStats stats{kInfinity, -kInfinity, 0.0F};
    kernel(out.data(), &stats.minimum, in1, in2, n, params);
    return stats;
  }

  std::int32_t n;
  std::size_t floats;
  ProcParams params{};
  const float* in1;
  const float* in2;
  std::vector<float> out;
};

void CheckAgainstPlainRule(const BenchCase& benchCase, Block& block) {
  const OutputStats expectedStats = block.Call(benchCase.plain);
  const std::vector<float> expected = block.out;
  const OutputStats stats = block.Call(benchCase.product);
  if (std::memcmp(&stats, &expectedStats, sizeof stats) != 0 ||
      std::memcmp(block.out.data(), expected.data(), expected.size() * sizeof(float)) != 0) {
    std::cerr << benchCase.name << " differs from the plain rule\n";
    std::exit(EXIT_FAILURE);
  }
}

void Time(benchmark::State& state, const BenchCase& benchCase, KernelFn kernel, Data data,
          std::int32_t elements) {
  Block block(benchCase, data, elements);
  if (kernel == benchCase.product) CheckAgainstPlainRule(benchCase, block);
  for (auto _ : state) benchmark::DoNotOptimize(block.Call(kernel));
}

void Register(const BenchCase& benchCase, Data data, std::int32_t elements) {
  const std::pair<const char*, KernelFn> loops[] = {
      {"product", benchCase.product}, {"plain", benchCase.plain}, {"bare", benchCase.bare}};
  for (const auto& [loop, kernel] : loops) {
    const std::string name =
        benchCase.name + "/" + loop + "/" + Name(data) + "/" + std::to_string(elements);
    benchmark::RegisterBenchmark(name.c_str(), [=, kernel = kernel](benchmark::State& state) {
      Time(state, benchCase, kernel, data, elements);
    });
  }
}

}  // namespace
}  // namespace lumomixcalc

int main(int argc, char** argv) {
  using namespace lumomixcalc;
  for (const BenchCase& benchCase : Cases()) {
    for (const Data data : {Data::kPositive, Data::kZeroMean, Data::kIntegers}) {
      Register(benchCase, data, 1 << 16);
    }
    Register(benchCase, Data::kPositive, 1 << 24);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
