#ifndef LUMOMIXCALC_STANDALONE_PANEL_SERIAL_EXECUTOR_H
#define LUMOMIXCALC_STANDALONE_PANEL_SERIAL_EXECUTOR_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace lumomixcalc::standalone {

// One thread that carries out tasks one at a time, in the order in which they were posted.
class SerialExecutor {
 public:
  using Task = std::function<void()>;

  SerialExecutor();
  // Waits for the task under way; those that have not begun are dropped.
  ~SerialExecutor();
  SerialExecutor(const SerialExecutor&) = delete;
  SerialExecutor& operator=(const SerialExecutor&) = delete;

  // From any thread. A task must not throw.
  void Post(Task task);

 private:
  void Work();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Task> tasks_;
  bool ending_ = false;
  std::thread thread_;  // last, for it uses all of the above
};

}  // namespace lumomixcalc::standalone

#endif
