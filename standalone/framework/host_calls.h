#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "host/ip.h"

namespace lumomixcalc::standalone {

// One input or output.
struct DeclaredStream {
  int number = 0;
  std::string label;  // without the blanks around it

  // The label as an option's name: lower case, blanks dropped.
  std::string OptionName() const;
};

// What the application declares of itself.
struct Registration {
  std::string title;
  int menuX = 0;  // the panel's place on the screen, in pixels
  int menuY = 0;
  bool inCore = false;
  bool regions = false;      // the user may choose a region
  bool resolutions = false;  // and a resolution
  std::vector<DeclaredStream> inputs;
  std::vector<DeclaredStream> outputs;
  std::map<int, IPRoutine> routines;  // by slot

  // Calls the routine of a slot, if one is registered.
  void Call(int slot) const;

  // Throws Failure when the application asks for what this host does not offer.
  void CheckThatHostCanServe() const;

  // The one output. Valid after CheckThatHostCanServe.
  const DeclaredStream& Output() const { return outputs.front(); }
};

// The elements of the application's panel. They are bound to addresses of the application's, so
// only the thread that calls the application back may look behind them.

// A button with the row's label; its key names the row's help entry.
struct InfoButton {
  std::string label;
  std::string helpKey;
};

// A number of the application's, in a field about width characters wide.
struct FloatField {
  float* value = nullptr;
  int width = 0;
  float step = 1;  // what one step up or down adds
};

struct FixedText {
  std::string text;
};

// A choice among labels; *choice is the position of the chosen one.
struct Pulldown {
  std::vector<std::string> labels;
  std::int32_t* choice = nullptr;
};

// A switch; *on is nonzero when it is on.
struct Toggle {
  std::string label;
  std::int32_t* on = nullptr;
};

struct PanelRow {
  std::vector<std::variant<InfoButton, FloatField, FixedText, Pulldown, Toggle>> elements;
  bool attachedRight = false;  // its last element reaches the panel's right side
};

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
  std::vector<PanelRow> panelRows;     // empty until the application was asked for them
  bool panelRowIsOpen = false;         // the next element belongs to the last row
  std::map<int, StreamState> streams;  // by number; others are closed
  int outputMode = -1;                 // the mode that the user chose, or -1
  bool desisted = false;

  std::vector<std::string> arguments;                     // those left to the application
  std::map<std::string, std::vector<float>> realOptions;  // as read last, by name
  std::vector<std::string> echoedOptions;                 // what the application appended
};

HostState& TheHostState();

}  // namespace lumomixcalc::standalone
