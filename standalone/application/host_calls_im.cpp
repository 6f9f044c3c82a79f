// The image call of host/im.h over the one run context.
#include "host/im.h"

#include "standalone/application/run_context.h"

using namespace lumomixcalc::standalone;

extern "C" int IMRtMode(int stream, int* mode) {
  const auto found = Context().streams.find(stream);
  if (found == Context().streams.end() || !found->second.open) {
    *mode = 0;
    return -1;
  }
  found->second.modeAsked = true;
  *mode = found->second.mode;
  return 0;
}
