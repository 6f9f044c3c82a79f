#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

struct OperatorName {
  std::string name;   // as -operator= takes it
  std::string label;  // its formula
};

// Has the application read its own options. Throws WrongCommandLine with what the application says
// of a faulty one and what was expected: the nearest known name, or the form of a number.
void ReadApplicationOptions(const std::vector<std::string>& arguments, HostState& host,
                            const std::vector<OperatorName>& operators);

}  // namespace lumomixcalc::standalone
