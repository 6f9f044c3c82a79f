#ifndef LUMOMIXCALC_STANDALONE_RUNS_INTERRUPTION_H
#define LUMOMIXCALC_STANDALONE_RUNS_INTERRUPTION_H

namespace lumomixcalc::standalone {

// From now on SIGINT, SIGTERM and SIGHUP are only noted, but for those that the process was started
// to ignore, as nohup does.
void NoteInterruptions();

// The first such signal that came; 0 for none.
int InterruptingSignal();

}  // namespace lumomixcalc::standalone

#endif
