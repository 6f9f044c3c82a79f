// A host for the tests: it answers the application as a test sets it up, and writes down in order
// what the application calls.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "host/ip.h"

namespace lumomixcalc {

using Calls = std::vector<std::string>;

struct RecordingHost {
  // What the application learns, by stream number where there is one.
  std::array<bool, 4> isOpen = {};
  std::array<int, 4> mode = {};
  int outputMode = -1;
  std::array<float, 4> buffer = {};
  std::vector<std::string> arguments;
  bool outOfMemory = false;

  // What it called, one text a call: IPDisplayMessage("...", 10), with addresses as the value found
  // there: &4. Asking for arguments and for what is open leaves none.
  Calls calls;
  std::map<int, IPRoutine> routines;
};

extern RecordingHost gHost;

}  // namespace lumomixcalc
