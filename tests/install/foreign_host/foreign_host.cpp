// A host that holds its images in arrays and has the application add two of them. Exits with 0 when
// it gets what is expected.
#include <host/im.h>
#include <host/ip.h>
#include <host/wm.h>

#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

float streams[4][2] = {{}, {1, 2}, {3, 5}, {}};  // by number: File1, File2 and the output
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
void* IPGetDataPtr(int stream) { return streams[stream]; }
int IPIsOpen(int) { return 1; }
int IPGetDefOutPutMode() { return -1; }
void IPDisplayMessage(const char* text, int) { std::puts(text); }
void IPDesist() { std::exit(2); }
const char* IPGetArg(int) { return nullptr; }
int IPParseRealArg(const char*, const char*, int, float*) { return 0; }
void IPAppendCommand(const char*) {}
int IMRtMode(int, int* mode) { return *mode = 0; }
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
  routines[IP_SLOT_CHECK_PARAMS]();
  routines[IP_SLOT_INIT_PROC]();
  const IPBlock block = {2, 1};
  IPOutputStats stats = {1e30F, -1e30F, 0};
  reinterpret_cast<IPProcDataRoutine>(routines[IP_SLOT_PROC_DATA])(&block, &stats);
  routines[IP_SLOT_CLEANUP]();
  const float* const sum = streams[3];
  return sum[0] == 4 && sum[1] == 7 && stats.minimum == 4 && stats.sum == 11 ? 0 : 1;
}
