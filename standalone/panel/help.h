#ifndef LUMOMIXCALC_STANDALONE_PANEL_HELP_H
#define LUMOMIXCALC_STANDALONE_PANEL_HELP_H

#include <QString>
#include <string>

class QWidget;

namespace lumomixcalc::standalone {

// The help entry of a key, from the file of its name, lower case and with dashes for blanks; a
// sentence that says so when there is none.
QString HelpText(const std::string& key);

// Opens the entry in a window of its own beside parent.
void ShowHelp(QWidget& parent, const std::string& key);

}  // namespace lumomixcalc::standalone

#endif
