#include "standalone/messages.h"

#include <cstdio>

namespace lumomixcalc::standalone {

void Tell(const std::string& sentence) {
  // One call a line, so that lines of two processes on one terminal do not mix.
  std::fputs((std::string(kProgramName) + ": " + sentence + "\n").c_str(), stderr);
}

void Warn(const std::string& sentence) { Tell("warning: " + sentence); }

}  // namespace lumomixcalc::standalone
