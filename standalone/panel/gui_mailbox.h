#ifndef LUMOMIXCALC_STANDALONE_PANEL_GUI_MAILBOX_H
#define LUMOMIXCALC_STANDALONE_PANEL_GUI_MAILBOX_H

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <mutex>
#include <vector>

namespace lumomixcalc::standalone {

// Brings what other threads found out to the thread of the windows. It is woken through a file
// descriptor, so that the other threads never touch a Qt object, and all that is handed over is
// guarded by a mutex that the thread sanitizer sees.
class GuiMailbox {
 public:
  using Letter = std::function<void()>;

  // Made and destroyed in the windows' thread. Throws Failure.
  GuiMailbox();
  ~GuiMailbox();
  GuiMailbox(const GuiMailbox&) = delete;
  GuiMailbox& operator=(const GuiMailbox&) = delete;

  // From any thread: letter is called in the windows' thread, in the order of posting.
  void Post(Letter letter);

 private:
  void Deliver();

  int wake_;
  std::mutex mutex_;
  std::vector<Letter> letters_;
  QSocketNotifier notifier_;
};

}  // namespace lumomixcalc::standalone

#endif
