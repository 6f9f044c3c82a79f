#ifndef LUMOMIXCALC_STANDALONE_PANEL_PANEL_H
#define LUMOMIXCALC_STANDALONE_PANEL_PANEL_H

#include "standalone/application/run_context.h"
#include "standalone/command_line/options.h"

namespace lumomixcalc::standalone {

// Shows the application's panel, with the settings of options first, until the user closes it. The
// application must have read its arguments. Throws Failure, also when this program was built
// without a panel.
void ShowPanel(const Options& options, RunContext& context);

// Whether this program has a panel and there is a display to show it on.
bool PanelCanBeShown();

}  // namespace lumomixcalc::standalone

#endif
