#include "standalone/framework/registration.h"

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

std::string DeclaredStream::OptionName() const {
  std::string name;
  for (const char c : label) {
    if (c == ' ') continue;
    name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

DeclaredStream MakeStream(int number, const char* label) {
  std::string text = label;
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  return {number, text};
}

void Registration::Call(int slot) const {
  const auto found = routines.find(slot);
  if (found != routines.end()) found->second();
}

void Registration::CheckThatHostCanServe() const {
  if (!inCore) throw Failure("the application does not ask for in-core processing");
  if (inputs.empty() || outputs.size() != 1)
    throw Failure("the application must declare an input or more and one output");
  if (routines.count(IP_SLOT_PROC_DATA) == 0)
    throw Failure("the application registers no routine that processes a block");
}

}  // namespace lumomixcalc::standalone
