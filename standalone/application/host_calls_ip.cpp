// The application calls of host/ip.h over the one run context.
#include <cstdio>

#include "host/ip.h"
#include "standalone/application/run_context.h"
#include "standalone/command_line/numbers.h"
#include "standalone/messages.h"

using namespace lumomixcalc::standalone;

extern "C" {

void IPSetIncoreProc() { Context().registration.inCore = true; }

void IPSetMenuTitle(const char* title) { Context().registration.title = title; }

void IPSetMenuLoc(int x, int y) {
  Context().registration.menuX = x;
  Context().registration.menuY = y;
}

void IPAddInput(int stream, const char* label, int, int, int, int) {
  Context().registration.inputs.push_back(MakeStream(stream, label));
}

void IPAddOutput(int stream, const char* label, int, int, int, int) {
  Context().registration.outputs.push_back(MakeStream(stream, label));
}

void IPEnableRegionSelection(int) { Context().registration.regions = true; }

void IPEnableResolutionSelection() { Context().registration.resolutions = true; }

void IPSetCustRoutine(int slot, IPRoutine routine, int) {
  Context().registration.routines[slot] = routine;
}

void* IPGetDataPtr(int stream) { return Context().Stream(stream).blockData; }

int IPIsOpen(int stream) { return Context().Stream(stream).open ? 1 : 0; }

int IPGetDefOutPutMode() { return Context().outputMode; }

void IPDisplayMessage(const char* text, int) {
  if (Context().messagesAreUsage)
    std::puts(text);
  else
    Tell(text);
}

void IPDesist() { Context().desisted = true; }

const char* IPGetArg(int index) {
  const std::vector<std::string>& arguments = Context().arguments;
  if (index < 1 || static_cast<std::size_t>(index) > arguments.size()) return nullptr;
  return arguments[static_cast<std::size_t>(index) - 1].c_str();
}

int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values) {
  const int count = ParseRealArgument(argument, name, maxCount, values);
  if (count > 0) Context().realOptions[name].assign(values, values + maxCount);
  return count;
}

void IPAppendCommand(const char* option) { Context().echoedOptions.emplace_back(option); }

}  // extern "C"
