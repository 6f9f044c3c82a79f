#include "standalone/application/run_context.h"

namespace lumomixcalc::standalone {

const StreamState& RunContext::Stream(int number) const {
  static const StreamState kClosed;
  const auto found = streams.find(number);
  return found == streams.end() ? kClosed : found->second;
}

RunContext& Context() {
  static RunContext context;
  return context;
}

}  // namespace lumomixcalc::standalone
