#include "standalone/framework/host_calls.h"

#include <cstdio>
#include <utility>

#include "host/im.h"
#include "host/wm.h"
#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

// A declared stream from the label that the application passed.
DeclaredStream MakeStream(int number, const char* label) {
  std::string text = label;
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  return {number, text};
}

template <typename Element>
void AddToPanel(Element element) {
  HostState& host = TheHostState();
  if (!host.panelRowIsOpen) host.panelRows.emplace_back();
  host.panelRowIsOpen = true;
  host.panelRows.back().elements.push_back(std::move(element));
}

}  // namespace

std::string DeclaredStream::OptionName() const {
  std::string name;
  for (const char c : label) {
    if (c == ' ') continue;
    name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

void Registration::Call(int slot) const {
  const auto found = routines.find(slot);
  if (found != routines.end()) found->second();
}

void Registration::CheckThatHostCanServe() const {
  if (!inCore) throw Failure("the application does not ask for in-core processing");
  if (inputs.empty() || outputs.size() != 1)
    throw Failure("the application must declare an input or more and one output");
  if (routines.count(IP_SLOT_PROC_DATA) == 0)
    throw Failure("the application registers no routine that processes a block");
}

const StreamState& HostState::Stream(int number) const {
  static const StreamState kClosed;
  const auto found = streams.find(number);
  return found == streams.end() ? kClosed : found->second;
}

HostState& TheHostState() {
  static HostState host;
  return host;
}

}  // namespace lumomixcalc::standalone

// What host/ip.h, host/im.h and host/wm.h declare, over the one host state.
using namespace lumomixcalc::standalone;

extern "C" {

void IPSetIncoreProc() { TheHostState().registration.inCore = true; }

void IPSetMenuTitle(const char* title) { TheHostState().registration.title = title; }

void IPSetMenuLoc(int x, int y) {
  TheHostState().registration.menuX = x;
  TheHostState().registration.menuY = y;
}

void IPAddInput(int stream, const char* label, int, int, int, int) {
  TheHostState().registration.inputs.push_back(MakeStream(stream, label));
}

void IPAddOutput(int stream, const char* label, int, int, int, int) {
  TheHostState().registration.outputs.push_back(MakeStream(stream, label));
}

void IPEnableRegionSelection(int) { TheHostState().registration.regions = true; }

void IPEnableResolutionSelection() { TheHostState().registration.resolutions = true; }

void IPSetCustRoutine(int slot, IPRoutine routine, int) {
  TheHostState().registration.routines[slot] = routine;
}

void* IPGetDataPtr(int stream) { return TheHostState().Stream(stream).blockData; }

int IPIsOpen(int stream) { return TheHostState().Stream(stream).open ? 1 : 0; }

int IPGetDefOutPutMode() { return TheHostState().outputMode; }

void IPDisplayMessage(const char* text, int) {
  if (TheHostState().messagesAreUsage)
    std::puts(text);
  else
    Tell(text);
}

void IPDesist() { TheHostState().desisted = true; }

const char* IPGetArg(int index) {
  const std::vector<std::string>& arguments = TheHostState().arguments;
  if (index < 1 || static_cast<std::size_t>(index) > arguments.size()) return nullptr;
  return arguments[static_cast<std::size_t>(index) - 1].c_str();
}

int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values) {
  const int count = ParseRealArgument(argument, name, maxCount, values);
  if (count <= 0) return count;
  std::vector<RealValues>& read = TheHostState().realOptions;
  std::erase_if(read, [name](const RealValues& before) { return before.name == name; });
  read.push_back({name, {values, values + maxCount}});
  return count;
}

void IPAppendCommand(const char* option) { TheHostState().echoedOptions.emplace_back(option); }

int IMRtMode(int stream, int* mode) {
  const auto found = TheHostState().streams.find(stream);
  if (found == TheHostState().streams.end() || !found->second.open) {
    *mode = 0;
    return -1;
  }
  found->second.modeAsked = true;
  *mode = found->second.mode;
  return 0;
}

void WMAddInfoButton(const char* label, const char* helpKey) {
  AddToPanel(InfoButton{label, helpKey});
}

// Of the numbers this host takes the width in characters and the step. It does not limit the
// decimals: a field that showed fewer than the value has would change it when it is read back.
void WMAddFloatField(float* value, int, int, int width, const float* step, const float*,
                     const int32_t*, int, int, int, int) {
  AddToPanel(FloatField{value, width, step ? *step : 1});
}

void WMAddText(const char* text, int, int) { AddToPanel(FixedText{text}); }

void WMAttachRightSide() {
  HostState& host = TheHostState();
  if (host.panelRowIsOpen) host.panelRows.back().attachedRight = true;
}

void WMNewRow() { TheHostState().panelRowIsOpen = false; }

void WMAddPulldown(const char* const* labels, int count, int32_t* choice, int, int, int, int) {
  AddToPanel(Pulldown{{labels, labels + count}, choice});
}

void WMAddToggleButton(const char* label, int32_t* on, int, int, int, int) {
  AddToPanel(Toggle{label, on});
}

}  // extern "C"
