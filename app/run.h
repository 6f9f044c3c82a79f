// The callbacks of a run. The host calls, one at a time and in this order: CheckParams, InitProc,
// ProcData once per block, Cleanup.
#ifndef LUMOMIXCALC_APP_RUN_H
#define LUMOMIXCALC_APP_RUN_H

#include "host/ip.h"

namespace lumomixcalc {

// Desists with a message when a file that the chosen operator reads is not open.
void CheckParams();

// Asks the host for the data modes and selects the run's kernel. Desists with a message when there
// is no memory for it. Asserts that no run is under way.
void InitProc();

// Processes one block of block->columns * block->rows elements and counts it into *stats.
void ProcData(const IPBlock* block, IPOutputStats* stats);

// Releases what InitProc made. Does nothing if there is nothing to release.
void Cleanup();

}  // namespace lumomixcalc

#endif
