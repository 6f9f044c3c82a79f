#pragma once

#include <optional>
#include <stop_token>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {

// Shows the panel until it is closed or a stop is requested. first is what it shows at its start;
// none for what it showed last. Throws Cancelled when the stop ended a run.
void ShowPanel(const std::optional<Job>& first, HostState& host, const std::stop_token& stop);

}  // namespace lumomixcalc::standalone
