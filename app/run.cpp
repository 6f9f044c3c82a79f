#include "app/run.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "app/messages.h"
#include "app/parameters.h"
#include "app/streams.h"
#include "host/im.h"
#include "kernels/contract.h"
#include "ops/catalogue.h"
#include "ops/selection.h"

namespace lumomixcalc {
namespace {

// The kernels update the host's record through their own declaration of it.
static_assert(sizeof(IPOutputStats) == sizeof(OutputStats) &&
              offsetof(IPOutputStats, minimum) == offsetof(OutputStats, minimum) &&
              offsetof(IPOutputStats, maximum) == offsetof(OutputStats, maximum) &&
              offsetof(IPOutputStats, sum) == offsetof(OutputStats, sum));

bool IsComplexMode(int mode) {
  return mode == IM_MODE_COMPLEX_INTEGER || mode == IM_MODE_COMPLEX_FLOAT;
}

std::int32_t StreamIsComplex(int stream) {
  int mode = 0;
  IMRtMode(stream, &mode);
  return IsComplexMode(mode) ? 1 : 0;
}

// Without a mode of its own, the output has the mode of File1.
std::int32_t OutputIsComplex(std::int32_t in1Complex) {
  const int mode = IPGetDefOutPutMode();
  if (mode == -1) return in1Complex;
  return IsComplexMode(mode) ? 1 : 0;
}

float* StreamBuffer(int stream) { return static_cast<float*>(IPGetDataPtr(stream)); }

}  // namespace

void CheckParams() {
  const bool lacksFile1 = IPIsOpen(kFile1Stream) == 0 && UsesFile1(gOperationChoice) != 0;
  const bool lacksFile2 = IPIsOpen(kFile2Stream) == 0 && UsesFile2(gOperationChoice) != 0;
  const char* message = nullptr;
  if (lacksFile1 && lacksFile2) {
    message = "Operation requires File1 and File2, but neither exists.";
  } else if (lacksFile1) {
    message = "Operation requires File1, but it does not exist.";
  } else if (lacksFile2) {
    message = "Operation requires File2, but it does not exist.";
  }
  if (message == nullptr) return;
  ShowMessage(message);
  IPDesist();
}

void InitProc() {
  const std::int32_t in1Complex =
      UsesFile1(gOperationChoice) != 0 ? StreamIsComplex(kFile1Stream) : 0;
  const std::int32_t in2Complex =
      UsesFile2(gOperationChoice) != 0 ? StreamIsComplex(kFile2Stream) : 0;
  const std::int32_t outComplex = OutputIsComplex(in1Complex);

  assert(gpSelectedProc == 0);
  gpSelectedProc = SelectProcessing(gOperationChoice, gClampAtZero, gCoeffA, gCoeffB, outComplex,
                                    in1Complex, in2Complex);
  if (gpSelectedProc == nullptr) {
    IPDesist();
    ShowMessage("Insufficient memory to continue.");
  }
}

void ProcData(const IPBlock* block, IPOutputStats* stats) {
  const float* in1 = UsesFile1(gOperationChoice) != 0 ? StreamBuffer(kFile1Stream) : nullptr;
  const float* in2 = UsesFile2(gOperationChoice) != 0 ? StreamBuffer(kFile2Stream) : nullptr;
  float* out = StreamBuffer(kSaveStream);
  const std::int32_t n = block->columns * block->rows;

  // Kernels need two readable inputs. In place of an unused input they get the other one.
  if (in1 == nullptr) in1 = in2;
  if (in2 == nullptr) in2 = in1;
  assert(in1 != 0 || in2 != 0);
  PerformProcessing(out, reinterpret_cast<float*>(stats), in1, in2, n, gpSelectedProc);
}

void Cleanup() {
  std::free(gpSelectedProc);
  gpSelectedProc = nullptr;
}

}  // namespace lumomixcalc
