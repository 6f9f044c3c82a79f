#ifndef LUMOMIXCALC_STANDALONE_FRAMEWORK_HOST_CALLS_H
#define LUMOMIXCALC_STANDALONE_FRAMEWORK_HOST_CALLS_H

#include <map>
#include <string>
#include <vector>

#include "standalone/framework/panel_rows.h"
#include "standalone/framework/registration.h"

namespace lumomixcalc::standalone {

// What the application may ask of one stream.
struct StreamState {
  bool open = false;
  int mode = 0;                // data mode code
  bool modeAsked = false;      // whether the application asked for the mode since the last reset
  float* blockData = nullptr;  // the current block
};

// Everything that the host calls read and write. They carry no handle, so there is one of it in
// the process; whoever drives the application fills it before a callback and reads it afterwards.
struct HostState {
  Registration registration;
  PanelRows panel;                     // empty until the application was asked for its rows
  std::map<int, StreamState> streams;  // by number
  int outputMode = -1;                 // the mode that the user chose, or -1
  bool desisted = false;
  bool messagesAreUsage = false;  // texts shown now belong to the usage text on standard output

  std::vector<std::string> arguments;                     // those left to the application
  std::map<std::string, std::vector<float>> realOptions;  // as read last, by option name
  std::vector<std::string> echoedOptions;                 // what the application appended

  // The state of a stream; a closed one when there is none of that number.
  const StreamState& Stream(int number) const;
};

// The one host of the process.
HostState& TheHostState();

}  // namespace lumomixcalc::standalone

#endif
