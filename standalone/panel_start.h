#ifndef LUMOMIXCALC_STANDALONE_PANEL_START_H
#define LUMOMIXCALC_STANDALONE_PANEL_START_H

#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// The panel is a program of its own beside this one: a batch run would otherwise load the graphical
// toolkit for nothing, and a server need not have it.

// Whether the environment names a display.
bool DisplayIsNamed();

// Whether the panel's program is installed and there is a display to show it on.
bool PanelCanBeShown();

// Turns this process into the panel's program with these arguments. Throws Failure when it is not
// there.
[[noreturn]] void StartPanel(const std::vector<std::string>& arguments);

}  // namespace lumomixcalc::standalone

#endif
