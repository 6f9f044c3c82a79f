#include "standalone/panel_start.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value && *value != '\0';
}

std::filesystem::path PanelProgram() {
  std::error_code ignored;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return own.parent_path() / (std::string(kProgramName) + "-panel");
}

}  // namespace

bool DisplayIsNamed() { return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY"); }

bool PanelCanBeShown() {
  std::error_code ignored;
  return DisplayIsNamed() && std::filesystem::exists(PanelProgram(), ignored);
}

void StartPanel(const std::vector<std::string>& arguments) {
  const std::string program = PanelProgram();
  std::vector<std::string> texts = {program};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers(texts.size() + 1);  // the last one null
  std::transform(texts.begin(), texts.end(), pointers.begin(),
                 [](std::string& text) { return text.data(); });
  execv(program.c_str(), pointers.data());
  throw WrongCommandLine("-panel: cannot start " + program + ": " + std::strerror(errno) +
                         "; without the panel, name files and options (-help tells which)");
}

}  // namespace lumomixcalc::standalone
