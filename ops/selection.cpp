#include "ops/selection.h"

#include <cstdlib>
#include <new>

#include "ops/catalogue.h"

namespace lumomixcalc {

SelectedProc* SelectProcessing(std::int32_t op, std::int32_t clamp, const float* A, const float* B,
                               std::int32_t outComplex, std::int32_t in1Complex,
                               std::int32_t in2Complex) {
  static constexpr std::array handlerTable = CatalogueColumn(&Operator::selector);

  void* memory = std::malloc(sizeof(SelectedProc));
  if (memory == nullptr) return nullptr;
  auto* record = new (memory) SelectedProc{};

  // A std::complex<float> may be accessed as an array of its two parts.
  auto* outA = reinterpret_cast<float*>(&record->params.A);
  auto* outB = reinterpret_cast<float*>(&record->params.B);
  const SelectorFn select = handlerTable[static_cast<std::size_t>(op)];
  // A selector may fail; none in the catalogue does. GCOVR_EXCL_START
  if (select(record->kernel, outA, outB, A, B, clamp, outComplex, in1Complex, in2Complex) != 0) {
    std::free(record);
    return nullptr;
  }
  // GCOVR_EXCL_STOP

  record->params.in1Complex = in1Complex;
  record->params.in2Complex = in2Complex;
  record->params.outComplex = outComplex;
  return record;
}

void PerformProcessing(float* out, float* stats, const float* in1, const float* in2, std::int32_t n,
                       const SelectedProc* record) {
  record->kernel(out, stats, in1, in2, n, record->params);
}

}  // namespace lumomixcalc
