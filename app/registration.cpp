// The application's entry: what it declares to the host, once, at start-up.
#include "app/command_line.h"
#include "app/panel.h"
#include "app/run.h"
#include "app/streams.h"
#include "host/ip.h"

namespace lumomixcalc {
namespace {

// The host casts a callback back to its slot's signature before it calls it.
template <class Routine>
void SetRoutine(int slot, Routine* routine) {
  IPSetCustRoutine(slot, reinterpret_cast<IPRoutine>(routine), 0);
}

}  // namespace
}  // namespace lumomixcalc

int IPAppSpecifics() {
  using namespace lumomixcalc;
  IPSetIncoreProc();
  IPSetMenuTitle("LumoMixcalc");
  IPSetMenuLoc(450, 400);
  IPAddInput(kFile1Stream, "File1", 0, 0, 0, 0);
  IPAddInput(kFile2Stream, "File2", 0, 0, 0, 0);
  IPEnableRegionSelection(2);
  IPEnableResolutionSelection();
  IPAddOutput(kSaveStream, " Save", 1, 0, 0, 0);
  SetRoutine(IP_SLOT_SET_MENU, SetMenu);
  SetRoutine(IP_SLOT_READ_CMD_LINE, ReadCmdLine);
  SetRoutine(IP_SLOT_DISPLAY_USAGE, DisplayUsage);
  SetRoutine(IP_SLOT_WRITE_CMD_LINE, WriteCmdLine);
  SetRoutine(IP_SLOT_CHECK_PARAMS, CheckParams);
  SetRoutine(IP_SLOT_INIT_PROC, InitProc);
  SetRoutine(IP_SLOT_PROC_DATA, ProcData);
  SetRoutine(IP_SLOT_CLEANUP, Cleanup);
  return 0;
}
