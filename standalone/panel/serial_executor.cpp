#include "standalone/panel/serial_executor.h"

#include <utility>

namespace lumomixcalc::standalone {

SerialExecutor::SerialExecutor() : thread_([this] { Work(); }) {}

SerialExecutor::~SerialExecutor() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void SerialExecutor::Post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  changed_.notify_one();
}

void SerialExecutor::Work() {
  for (;;) {
    Task task;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
      if (ending_) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace lumomixcalc::standalone
