#include "app/messages.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "host/ip.h"

namespace lumomixcalc {

void ShowMessage(const char* text) {
  constexpr int kSeverity = 10;
  IPDisplayMessage(text, kSeverity);
}

void ShowMessageAbout(const char* prefix, const char* text) {
  const std::size_t size = std::strlen(prefix) + 1 + std::strlen(text) + 1;
  const std::unique_ptr<char[]> message(new (std::nothrow) char[size]);
  if (message == nullptr) {
    ShowMessage(prefix);
    return;
  }
  std::snprintf(message.get(), size, "%s %s", prefix, text);
  ShowMessage(message.get());
}

}  // namespace lumomixcalc
