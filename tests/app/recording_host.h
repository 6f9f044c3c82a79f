// A host for the tests: it answers the application as a test sets it up, and writes down in order
// what the application calls.
#ifndef LUMOMIXCALC_TESTS_APP_RECORDING_HOST_H
#define LUMOMIXCALC_TESTS_APP_RECORDING_HOST_H

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
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

  // Calls the application back as a host does, by slot; returns what it called meanwhile.
  Calls CallBack(int slot);
};

extern RecordingHost gHost;

// The parameters of the application, here with their defaults.
struct Parameters {
  float a[2] = {1.0F, 0.0F};
  float b[2] = {1.0F, 0.0F};
  std::int32_t operation = 0;
  std::int32_t clamp = 0;

  bool operator==(const Parameters&) const = default;
};

Parameters GetParameters();
void SetParameters(const Parameters& to);

// Each test starts with a fresh host, to which the application has just registered, and with the
// parameters at their defaults.
class ApplicationTest : public testing::Test {
 protected:
  ApplicationTest();
  ~ApplicationTest() override;
};

}  // namespace lumomixcalc

#endif
