#include "tests/app/recording_host.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

#include "app/parameters.h"
#include "host/im.h"
#include "host/wm.h"

namespace lumomixcalc {

RecordingHost gHost;

namespace {

std::string Show(int value) { return std::to_string(value); }
std::string Show(const char* text) { return '"' + std::string(text) + '"'; }

template <class Number>
std::string ShowAddress(const Number* address) {
  const std::pair<const void*, const char*> names[] = {
      {&gCoeffA[0], "gCoeffA[0]"},     {&gCoeffA[1], "gCoeffA[1]"},
      {&gCoeffB[0], "gCoeffB[0]"},     {&gCoeffB[1], "gCoeffB[1]"},
      {&gClampAtZero, "gClampAtZero"}, {&gOperationChoice, "gOperationChoice"}};
  for (const auto& [parameter, name] : names) {
    if (parameter == address) return std::string("&") + name;
  }
  std::ostringstream text;
  text << '&' << *address;
  return text.str();
}
std::string Show(const float* address) { return ShowAddress(address); }
std::string Show(const std::int32_t* address) { return ShowAddress(address); }

template <class... Arguments>
std::string Describe(const char* function, Arguments... arguments) {
  std::string list;
  ((list += (list.empty() ? "" : ", ") + Show(arguments)), ...);
  return std::string(function) + "(" + list + ")";
}

template <class... Arguments>
void Say(const char* function, Arguments... arguments) {
  gHost.said.push_back(Describe(function, arguments...));
}

template <class... Arguments>
void Ask(const char* function, Arguments... arguments) {
  gHost.asked.push_back(Describe(function, arguments...));
}

}  // namespace

void SetParameters(const Parameters& to) {
  std::copy_n(to.a, 2, gCoeffA);
  std::copy_n(to.b, 2, gCoeffB);
  gOperationChoice = to.operation;
  gClampAtZero = to.clamp;
}

ApplicationTest::ApplicationTest() {
  gHost = RecordingHost();
  SetParameters({});
  IPAppSpecifics();
  gHost.said.clear();
}

ApplicationTest::~ApplicationTest() { gHost.CallBack(IP_SLOT_CLEANUP); }

std::string Message(const std::string& text) {
  return Describe("IPDisplayMessage", text.c_str(), 10);
}

}  // namespace lumomixcalc

using namespace lumomixcalc;

extern "C" {

void IPSetIncoreProc() { Say("IPSetIncoreProc"); }
void IPSetMenuTitle(const char* title) { Say("IPSetMenuTitle", title); }
void IPSetMenuLoc(int x, int y) { Say("IPSetMenuLoc", x, y); }
void IPAddInput(int stream, const char* label, int a, int b, int c, int d) {
  Say("IPAddInput", stream, label, a, b, c, d);
}
void IPAddOutput(int stream, const char* label, int a, int b, int c, int d) {
  Say("IPAddOutput", stream, label, a, b, c, d);
}
void IPEnableRegionSelection(int a) { Say("IPEnableRegionSelection", a); }
void IPEnableResolutionSelection() { Say("IPEnableResolutionSelection"); }
void IPSetCustRoutine(int slot, IPRoutine routine, int a) {
  Say("IPSetCustRoutine", slot, a);
  gHost.routines[slot] = routine;
}

void* IPGetDataPtr(int stream) {
  Ask("IPGetDataPtr", stream);
  return gHost.buffer.at(static_cast<std::size_t>(stream));
}
int IPIsOpen(int stream) { return gHost.isOpen.at(static_cast<std::size_t>(stream)) ? 7 : 0; }
int IPGetDefOutPutMode() {
  Ask("IPGetDefOutPutMode");
  return gHost.outputMode;
}
void IPDisplayMessage(const char* text, int severity) { Say("IPDisplayMessage", text, severity); }
void IPDesist() { Say("IPDesist"); }

// The result is one that would mislead whoever took it for the mode.
int IMRtMode(int stream, int* mode) {
  Ask("IMRtMode", stream);
  *mode = gHost.mode.at(static_cast<std::size_t>(stream));
  return *mode == IM_MODE_COMPLEX_FLOAT ? 2 : IM_MODE_COMPLEX_FLOAT;
}

const char* IPGetArg(int index) {
  Ask("IPGetArg", index);
  const auto position = static_cast<std::size_t>(index) - 1;
  return position < gHost.arguments.size() ? gHost.arguments[position].c_str() : nullptr;
}

// Malformed values give -1, too many give their number.
int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values) {
  Ask("IPParseRealArg", argument, name, maxCount, static_cast<const float*>(values));
  const std::string start = std::string("-") + name + "=";
  if (!std::string_view(argument).starts_with(start)) return 0;
  const char* rest = argument + start.size();
  for (int count = 0;; ++rest) {
    char* end = nullptr;
    const float value = std::strtof(rest, &end);
    if (end == rest || (*end != ':' && *end != '\0')) return -1;
    if (count < maxCount) values[count] = value;
    ++count;
    if (*end == '\0') return count;
    rest = end;
  }
}

void IPAppendCommand(const char* option) { Say("IPAppendCommand", option); }

void WMAddInfoButton(const char* label, const char* helpKey) {
  Say("WMAddInfoButton", label, helpKey);
}
void WMAddFloatField(float* value, int a, int b, int c, const float* d, const float* e,
                     const std::int32_t* f, int g, int h, int i, int j) {
  Say("WMAddFloatField", static_cast<const float*>(value), a, b, c, d, e, f, g, h, i, j);
}
void WMAddText(const char* text, int a, int b) { Say("WMAddText", text, a, b); }
void WMAttachRightSide() { Say("WMAttachRightSide"); }
void WMNewRow() { Say("WMNewRow"); }
void WMAddPulldown(const char* const* labels, int count, std::int32_t* choice, int a, int b, int c,
                   int d) {
  std::string list;
  std::for_each(labels, labels + count,
                [&](const char* label) { list += label + std::string(";"); });
  Say("WMAddPulldown", list.c_str(), count, static_cast<const std::int32_t*>(choice), a, b, c, d);
}
void WMAddToggleButton(const char* label, std::int32_t* on, int a, int b, int c, int d) {
  Say("WMAddToggleButton", label, static_cast<const std::int32_t*>(on), a, b, c, d);
}

// The linker sends the program's own malloc and new (std::nothrow) char[] here.
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) { return gHost.outOfMemory ? nullptr : __real_malloc(size); }
void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  return gHost.outOfMemory ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}
}
