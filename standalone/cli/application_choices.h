#ifndef LUMOMIXCALC_STANDALONE_CLI_APPLICATION_CHOICES_H
#define LUMOMIXCALC_STANDALONE_CLI_APPLICATION_CHOICES_H

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {

// One entry of a pull-down of the application's panel, and the option that chooses it.
struct ApplicationChoice {
  std::string option;  // such as "-operator=a1+b2"
  std::string label;
};

// The choices of one pull-down, under the label of its row.
struct ApplicationChoices {
  std::string title;
  std::vector<ApplicationChoice> choices;
};

// What the application lets choose on its command line. Its usage text need not say so, but its
// panel lists the labels, and the options that it echoes with each of them set tell the rest. The
// application's parameters are afterwards as they were; the panel's description is not kept.
std::vector<ApplicationChoices> AskForChoices(HostState& host);

}  // namespace lumomixcalc::standalone

#endif
