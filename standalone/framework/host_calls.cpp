#include "standalone/framework/host_calls.h"

#include <cpl_string.h>

#include <utility>

#include "host/im.h"
#include "host/wm.h"
#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

template <typename Element>
void AddToPanel(Element element) {
  HostState& host = TheHostState();
  if (!host.panelRowIsOpen) host.panelRows.emplace_back();
  host.panelRowIsOpen = true;
  host.panelRows.back().elements.emplace_back(std::move(element));
}

}  // namespace

std::string DeclaredStream::OptionName() const {
  return CPLString("-" + label).replaceAll(' ', "").tolower();
}

void Registration::Call(int slot) const {
  if (const auto found = routines.find(slot); found != routines.end()) found->second();
}

HostState& TheHostState() {
  static HostState host;
  return host;
}

Session::Session(HostState& host, int outputMode) : host_(host) {
  host_.desisted = false;
  host_.outputMode = outputMode;
  host_.registration.Call(IP_SLOT_INIT_PROC);
  if (!host_.desisted) return;
  host_.registration.Call(IP_SLOT_CLEANUP);
  throw Desisted();
}

Session::~Session() {
  host_.registration.Call(IP_SLOT_CLEANUP);
  for (auto& [number, state] : host_.streams) state.blockData = nullptr;
}

void Session::Process(std::span<const StreamRows> streams, IPOutputStats& record) {
  const auto process =
      reinterpret_cast<IPProcDataRoutine>(host_.registration.routines.at(IP_SLOT_PROC_DATA));
  const IPBlock block = {streams.front().elements.columns, 1};
  for (int row = 0; row < streams.front().elements.rows; ++row) {
    for (const auto& [stream, elements] : streams)
      host_.streams[stream].blockData = elements.Row(row).values;
    process(&block, &record);
    if (host_.desisted) throw Desisted();
  }
}

void CheckParameters(HostState& host) {
  host.desisted = false;
  host.registration.Call(IP_SLOT_CHECK_PARAMS);
  if (host.desisted) throw Desisted();
}

std::set<int> InputsRead(HostState& host) {
  host.streams.clear();
  for (const DeclaredStream& input : host.registration.inputs)
    host.streams[input.number].open = true;
  const Session prepared(host, -1);
  std::set<int> read;
  for (const auto& [number, state] : host.streams)
    if (state.modeAsked) read.insert(number);
  return read;
}

}  // namespace lumomixcalc::standalone

// The calls that host/ip.h, host/im.h and host/wm.h declare. They work on the one host state.
using namespace lumomixcalc::standalone;

extern "C" {

void IPSetIncoreProc() {}  // this host knows no other processing

void IPSetMenuTitle(const char* title) { TheHostState().registration.title = title; }

void IPSetMenuLoc(int x, int y) {
  TheHostState().registration.menuX = x;
  TheHostState().registration.menuY = y;
}

void IPAddInput(int stream, const char* label, int, int, int, int) {
  TheHostState().registration.inputs.push_back({stream, CPLString(label).Trim()});
}

void IPAddOutput(int stream, const char* label, int, int, int, int) {
  TheHostState().registration.output = {stream, CPLString(label).Trim()};
}

void IPEnableRegionSelection(int) { TheHostState().registration.regions = true; }

void IPEnableResolutionSelection() { TheHostState().registration.resolutions = true; }

void IPSetCustRoutine(int slot, IPRoutine routine, int) {
  TheHostState().registration.routines[slot] = routine;
}

void* IPGetDataPtr(int stream) { return TheHostState().streams[stream].blockData; }

int IPIsOpen(int stream) { return TheHostState().streams[stream].open ? 1 : 0; }

int IPGetDefOutPutMode() { return TheHostState().outputMode; }

void IPDisplayMessage(const char* text, int) { Tell(text); }

void IPDesist() { TheHostState().desisted = true; }

const char* IPGetArg(int index) {
  const std::vector<std::string>& arguments = TheHostState().arguments;
  const auto position = static_cast<std::size_t>(index) - 1;  // huge for an index below 1
  return position < arguments.size() ? arguments[position].c_str() : nullptr;
}

int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values) {
  const int count = ParseRealArgument(argument, name, maxCount, values);
  std::vector<float>& read = TheHostState().realOptions[name];
  if (count > 0) read.assign(values, values + maxCount);
  return count;
}

void IPAppendCommand(const char* option) { TheHostState().echoedOptions.emplace_back(option); }

int IMRtMode(int stream, int* mode) {
  StreamState& state = TheHostState().streams[stream];
  state.modeAsked = true;
  *mode = state.open ? state.mode : 0;
  return state.open ? 0 : -1;
}

void WMAddInfoButton(const char* label, const char* helpKey) {
  AddToPanel(InfoButton{label, helpKey});
}

// This host uses only the width in characters and the step. It does not limit the decimals: a field
// that shows fewer decimals than the value has would change the value when it is read back.
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
