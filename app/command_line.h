// The application's own command-line options: -a=, -b=, -operator= and -clamp.
#ifndef LUMOMIXCALC_APP_COMMAND_LINE_H
#define LUMOMIXCALC_APP_COMMAND_LINE_H

namespace lumomixcalc {

// Reads the arguments that the host leaves to the application into the parameters. For each faulty
// one, shows a message and desists, then continues with the next, so that all faults are shown.
void ReadCmdLine();

// Shows the application's part of the usage text.
void DisplayUsage();

// Appends the options that reproduce the current parameters to the host's command line.
// Coefficients are written with six significant digits.
void WriteCmdLine();

}  // namespace lumomixcalc

#endif
