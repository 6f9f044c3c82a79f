#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "host/ip.h"
#include "standalone/base/elements.h"

namespace lumomixcalc::standalone {

// One input or output.
struct DeclaredStream {
  int number = 0;
  std::string label;  // without the blanks around it

  // The label as an option: in lower case, without blanks, after a dash.
  std::string OptionName() const;
};

// What the application declares when it registers.
struct Registration {
  std::string title;
  int menuX = 0;  // the panel's place on the screen, in pixels
  int menuY = 0;
  bool regions = false;      // the user may choose a region
  bool resolutions = false;  // the user may choose a resolution
  std::vector<DeclaredStream> inputs;
  DeclaredStream output;
  std::map<int, IPRoutine> routines;  // by slot

  // Calls the routine of a slot, if one is registered.
  void Call(int slot) const;
};

// The elements of the application's panel. Their pointers lead to the application's variables, so
// only the thread that makes the callbacks may use them.

// A button with the row's label; its key names the row's help entry.
struct InfoButton {
  std::string label;
  std::string helpKey;
};

// A number in a field about width characters wide.
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
  bool attachedRight = false;  // the last element extends to the panel's right side
};

// What the application may ask of one stream.
struct StreamState {
  bool open = false;
  int mode = 0;                // data mode code
  bool modeAsked = false;      // whether the application asked for the mode since the last reset
  float* blockData = nullptr;  // the current block
};

// Everything that the host calls read and write. The calls have no handle, so the process has only
// one host state. The caller of a callback fills it before the callback and reads it afterwards.
struct HostState {
  Registration registration;
  std::vector<PanelRow> panelRows;     // empty until the application was asked for them
  bool panelRowIsOpen = false;         // the next element belongs to the last row
  std::map<int, StreamState> streams;  // by number; streams that are not in it are closed
  int outputMode = -1;                 // code of the chosen data mode, -1 when none was chosen
  bool desisted = false;               // the application called IPDesist

  std::vector<std::string> arguments;  // those left to the application
  // The numbers read last, by the name of their option; empty when it was not given.
  std::map<std::string, std::vector<float>> realOptions;
  std::vector<std::string> echoedOptions;  // what IPAppendCommand added last
};

HostState& TheHostState();

// The calls back.

// Rows of a stream in memory.
struct StreamRows {
  int stream = 0;
  Elements elements;
};

// The time between the application's preparation for a run and its clean-up. The application must
// have its parameters, and the host's streams their states. Only one session may exist at a time.
class Session {
 public:
  // Has the application prepare for an output of the mode with this code, or, with -1, of a mode
  // that nobody chose. Throws Desisted.
  Session(HostState& host, int outputMode);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Has the application process the rows of the streams, which have the same size, each row as a
  // separate block: the application counts the elements of some blocks from the last to the first,
  // so the record depends on the size of blocks. Throws Desisted.
  void Process(std::span<const StreamRows> streams, IPOutputStats& record);

 private:
  HostState& host_;
};

// Has the application check its parameters and the streams that are open. Throws Desisted.
void CheckParameters(HostState& host);

// The numbers of the inputs that the application reads with its present parameters: those whose
// modes it asks for while it prepares. For the answer all inputs count as open, and the host's
// streams are left like that. Throws Desisted.
std::set<int> InputsRead(HostState& host);

}  // namespace lumomixcalc::standalone
