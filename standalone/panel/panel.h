#ifndef LUMOMIXCALC_STANDALONE_PANEL_PANEL_H
#define LUMOMIXCALC_STANDALONE_PANEL_PANEL_H

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"

namespace lumomixcalc::standalone {

// Shows the application's panel, with the settings of options first, until the user closes it. The
// application must have read its arguments. Throws Failure when there is no display.
void ShowPanel(const Options& options, RunContext& context);

}  // namespace lumomixcalc::standalone

#endif
