// The panel's program.
#include <algorithm>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/panel/panel.h"
#include "standalone/program.h"

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // What it shows may have fewer files than a run needs, as after this option.
  if (std::find(arguments.begin(), arguments.end(), "-panel") == arguments.end())
    arguments.insert(arguments.begin(), "-panel");
  return RunProgram(arguments, IPAppSpecifics, ShowPanel);
}
