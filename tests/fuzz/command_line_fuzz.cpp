// Reads any command line, one argument a line, by host and application together.
#include <cstdint>
#include <sstream>

#include "tests/standalone/command_lines.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace lumomixcalc::standalone;
  std::istringstream stream({reinterpret_cast<const char*>(data), size});
  std::vector<std::string> arguments;
  // An argument ends at its first zero byte.
  for (std::string line; std::getline(stream, line);) arguments.emplace_back(line.c_str());
  try {
    ComesBackTheSame(arguments);
  } catch (const WrongCommandLine&) {
    // Told to the user.
  }
  return 0;
}
