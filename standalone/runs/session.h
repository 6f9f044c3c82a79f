#pragma once

#include <set>
#include <span>

#include "host/ip.h"
#include "standalone/base/elements.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

// Rows of a stream in memory.
struct StreamRows {
  int stream = 0;
  Elements elements;
};

// The time between the application's preparation for a run and its clean-up. The application must
// have its parameters, and the host's streams their states. Only one session may exist at a time.
class Session {
 public:
  // Has the application prepare for an output of the mode with this code, or, with -1, of a mode
  // that nobody chose. Throws Desisted.
  Session(HostState& host, int outputMode);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Has the application process the rows of the streams, which have the same size, each row as a
  // separate block: the application counts the elements of some blocks from the last to the first,
  // so the record depends on the size of blocks. Throws Desisted.
  void Process(std::span<const StreamRows> streams, IPOutputStats& record);

 private:
  HostState& host_;
};

// Has the application check its parameters and the streams that are open. Throws Desisted.
void CheckParameters(HostState& host);

// The numbers of the inputs that the application reads with its present parameters: those whose
// modes it asks for while it prepares. For the answer all inputs count as open, and the host's
// streams are left like that. Throws Desisted.
std::set<int> InputsRead(HostState& host);

}  // namespace lumomixcalc::standalone
