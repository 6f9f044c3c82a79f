#ifndef LUMOMIXCALC_STANDALONE_PROGRAM_H
#define LUMOMIXCALC_STANDALONE_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"

namespace lumomixcalc::standalone {

// What the batch program and the panel's program do alike: has the application registered, reads
// the arguments after the program's name, shows the help or the version where they ask for it, else
// lets the application read its own and acts on all of them. Tells what act throws. Returns the
// exit status.
int RunProgram(const std::vector<std::string>& arguments, int (*registerApplication)(),
               const std::function<void(const Options&, RunContext&)>& act);

}  // namespace lumomixcalc::standalone

#endif
