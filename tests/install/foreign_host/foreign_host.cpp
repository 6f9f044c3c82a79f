// Has the application add two images of one element. Exits with 0 when it gets what it must.
#include "tests/app/recording_host.h"

int main() {
  using lumomixcalc::gHost;
  IPAppSpecifics();
  gHost.isOpen = {false, true, true, true};
  gHost.buffer = {0, 1, 3, 0};
  gHost.routines.at(IP_SLOT_CHECK_PARAMS)();
  gHost.routines.at(IP_SLOT_INIT_PROC)();
  const IPBlock block = {1, 1};
  IPOutputStats stats = {1e30F, -1e30F, 0};
  reinterpret_cast<IPProcDataRoutine>(gHost.routines.at(IP_SLOT_PROC_DATA))(&block, &stats);
  gHost.routines.at(IP_SLOT_CLEANUP)();
  return gHost.buffer[3] == 4 && stats.minimum == 4 && stats.sum == 4 ? 0 : 1;
}
