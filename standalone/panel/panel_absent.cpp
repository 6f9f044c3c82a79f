// Stands in for the panel in a program that is built without it.
#include "standalone/messages.h"
#include "standalone/panel/panel.h"

namespace lumomixcalc::standalone {

bool PanelCanBeShown() { return false; }

void ShowPanel(const Options&, RunContext&) {
  throw WrongCommandLine(
      "-panel: this program was built without a panel; name files and options "
      "on the command line (-help tells which)");
}

}  // namespace lumomixcalc::standalone
