// The application's rows in the host's panel.
#ifndef LUMOMIXCALC_APP_PANEL_H
#define LUMOMIXCALC_APP_PANEL_H

namespace lumomixcalc {

// Adds four rows: coefficient A, coefficient B, operator, clamp. Their elements are bound to the
// parameters by address, so what the user enters is what the next run reads.
void SetMenu();

}  // namespace lumomixcalc

#endif
