// Messages of the application to its user.
#ifndef LUMOMIXCALC_APP_MESSAGES_H
#define LUMOMIXCALC_APP_MESSAGES_H

namespace lumomixcalc {

// Shows the text through the host, with the one severity that the application uses.
void ShowMessage(const char* text);

// Shows "PREFIX TEXT", or the prefix alone when there is no memory to join them.
void ShowMessageAbout(const char* prefix, const char* text);

}  // namespace lumomixcalc

#endif
