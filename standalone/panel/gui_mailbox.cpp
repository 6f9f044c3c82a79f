#include "standalone/panel/gui_mailbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

int MakeWakeDescriptor() {
  const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor < 0) throw Failure(std::string("cannot start the panel: ") + std::strerror(errno));
  return descriptor;
}

}  // namespace

GuiMailbox::GuiMailbox() : wake_(MakeWakeDescriptor()), notifier_(wake_, QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { Deliver(); });
}

GuiMailbox::~GuiMailbox() {
  notifier_.setEnabled(false);
  close(wake_);
}

void GuiMailbox::Post(Letter letter) {
  const std::lock_guard lock(mutex_);
  letters_.push_back(std::move(letter));
  // Fails only when the count is at its limit, and then a wake-up is pending anyway.
  constexpr std::uint64_t kOne = 1;
  [[maybe_unused]] const auto ignored = write(wake_, &kOne, sizeof kOne);
}

void GuiMailbox::Deliver() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto ignored = read(wake_, &count, sizeof count);
  std::vector<Letter> letters;
  {
    const std::lock_guard lock(mutex_);
    letters.swap(letters_);
  }
  for (const Letter& letter : letters) letter();
}

}  // namespace lumomixcalc::standalone
