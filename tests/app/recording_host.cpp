#include "tests/app/recording_host.h"

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <utility>

#include "host/im.h"
#include "host/wm.h"

namespace lumomixcalc {

RecordingHost gHost;

namespace {

void Show(std::ostream& list, int value) { list << value; }
void Show(std::ostream& list, const std::string& text) { list << '"' << text << '"'; }
void Show(std::ostream& list, const float* address) { list << '&' << *address; }
void Show(std::ostream& list, const std::int32_t* address) { list << '&' << *address; }

template <class... Arguments>
void Record(const char* function, Arguments... arguments) {
  std::ostringstream call;
  [[maybe_unused]] const char* separator = "";
  call << function << '(';
  ((call << std::exchange(separator, ", "), Show(call, arguments)), ...);
  gHost.calls.push_back(call.str() + ')');
}

}  // namespace
}  // namespace lumomixcalc

using namespace lumomixcalc;

extern "C" {

void IPSetIncoreProc() { Record("IPSetIncoreProc"); }
void IPSetMenuTitle(const char* title) { Record("IPSetMenuTitle", title); }
void IPSetMenuLoc(int x, int y) { Record("IPSetMenuLoc", x, y); }
void IPAddInput(int stream, const char* label, int a, int b, int c, int d) {
  Record("IPAddInput", stream, label, a, b, c, d);
}
void IPAddOutput(int stream, const char* label, int a, int b, int c, int d) {
  Record("IPAddOutput", stream, label, a, b, c, d);
}
void IPEnableRegionSelection(int a) { Record("IPEnableRegionSelection", a); }
void IPEnableResolutionSelection() { Record("IPEnableResolutionSelection"); }
void IPSetCustRoutine(int slot, IPRoutine routine, int a) {
  Record("IPSetCustRoutine", slot, a);
  gHost.routines[slot] = routine;
}
void* IPGetDataPtr(int stream) {
  Record("IPGetDataPtr", stream);
  return gHost.outOfMemory ? nullptr : &gHost.buffer.at(static_cast<std::size_t>(stream));
}
int IPIsOpen(int stream) { return gHost.isOpen.at(static_cast<std::size_t>(stream)) ? 7 : 0; }
int IPGetDefOutPutMode() { return Record("IPGetDefOutPutMode"), gHost.outputMode; }
void IPDisplayMessage(const char* text, int severity) {
  Record("IPDisplayMessage", text, severity);
}
void IPDesist() { Record("IPDesist"); }

// The result is one that would mislead whoever took it for the mode.
int IMRtMode(int stream, int* mode) {
  Record("IMRtMode", stream);
  *mode = gHost.mode.at(static_cast<std::size_t>(stream));
  return *mode == IM_MODE_COMPLEX_FLOAT ? 2 : IM_MODE_COMPLEX_FLOAT;
}

const char* IPGetArg(int index) {
  const auto position = static_cast<std::size_t>(index) - 1;
  return position < gHost.arguments.size() ? gHost.arguments[position].c_str() : nullptr;
}

// Values that are no number give -1, too many their number.
int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values) {
  const std::string start = std::string("-") + name + "=";
  if (!std::string(argument).starts_with(start) || maxCount != 2) return 0;
  float third = 0;
  const int count =
      std::sscanf(argument + start.size(), "%f:%f:%f", &values[0], &values[1], &third);
  return count > 0 ? count : -1;
}

void IPAppendCommand(const char* option) { Record("IPAppendCommand", option); }
void WMAddInfoButton(const char* label, const char* key) { Record("WMAddInfoButton", label, key); }
void WMAddFloatField(float* value, int a, int b, int c, const float* d, const float* e,
                     const std::int32_t* f, int g, int h, int i, int j) {
  Record("WMAddFloatField", value, a, b, c, d, e, f, g, h, i, j);
}
void WMAddText(const char* text, int a, int b) { Record("WMAddText", text, a, b); }
void WMAttachRightSide() { Record("WMAttachRightSide"); }
void WMNewRow() { Record("WMNewRow"); }
void WMAddPulldown(const char* const* labels, int count, std::int32_t* choice, int a, int b, int c,
                   int d) {
  std::string list;
  for (int i = 0; i < count; ++i) list += labels[i];
  Record("WMAddPulldown", list, count, choice, a, b, c, d);
}
void WMAddToggleButton(const char* label, std::int32_t* on, int a, int b, int c, int d) {
  Record("WMAddToggleButton", label, on, a, b, c, d);
}
}
