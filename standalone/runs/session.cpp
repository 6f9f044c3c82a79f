#include "standalone/runs/session.h"

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

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
