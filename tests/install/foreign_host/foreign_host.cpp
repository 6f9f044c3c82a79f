// A host that holds its images in arrays and runs one operator on them: the product of one complex
// image with the conjugate of another. Exits with 0 when the application gives what is expected.
#include <host/im.h>
#include <host/ip.h>
#include <host/wm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

constexpr int kElements = 3;
float file1[2 * kElements] = {1, 2, 0, 1, 3, -4};
float file2[2 * kElements] = {1, 2, 0, -1, 2, 0};
float save[2 * kElements];
std::map<int, IPRoutine> routines;

}  // namespace

void IPSetIncoreProc() {}
void IPSetMenuTitle(const char*) {}
void IPSetMenuLoc(int, int) {}
void IPAddInput(int, const char*, int, int, int, int) {}
void IPAddOutput(int, const char*, int, int, int, int) {}
void IPEnableRegionSelection(int) {}
void IPEnableResolutionSelection() {}
void IPSetCustRoutine(int slot, IPRoutine routine, int) { routines[slot] = routine; }
void* IPGetDataPtr(int stream) { return stream == 1 ? file1 : stream == 2 ? file2 : save; }
int IPIsOpen(int) { return 1; }
int IPGetDefOutPutMode() { return -1; }
void IPDisplayMessage(const char* text, int) { std::puts(text); }
void IPDesist() { std::exit(2); }
const char* IPGetArg(int index) { return index == 1 ? "-operator=a1_conj_b2" : nullptr; }
int IPParseRealArg(const char*, const char*, int, float*) { return 0; }
void IPAppendCommand(const char*) {}
int IMRtMode(int, int* mode) {
  *mode = IM_MODE_COMPLEX_FLOAT;
  return 0;
}
void WMAddInfoButton(const char*, const char*) {}
void WMAddFloatField(float*, int, int, int, const float*, const float*, const int32_t*, int, int,
                     int, int) {}
void WMAddText(const char*, int, int) {}
void WMAttachRightSide() {}
void WMNewRow() {}
void WMAddPulldown(const char* const*, int, int32_t*, int, int, int, int) {}
void WMAddToggleButton(const char*, int32_t*, int, int, int, int) {}

int main() {
  IPAppSpecifics();
  routines[IP_SLOT_READ_CMD_LINE]();
  routines[IP_SLOT_CHECK_PARAMS]();
  routines[IP_SLOT_INIT_PROC]();
  const IPBlock block = {kElements, 1};
  IPOutputStats stats = {1e30F, -1e30F, 0};
  reinterpret_cast<IPProcDataRoutine>(routines[IP_SLOT_PROC_DATA])(&block, &stats);
  routines[IP_SLOT_CLEANUP]();

  constexpr float kExpected[2 * kElements] = {5, 0, -1, 0, 6, -8};
  const bool right = std::equal(save, save + 2 * kElements, kExpected) && stats.sum == 10;
  return right ? 0 : 1;
}
