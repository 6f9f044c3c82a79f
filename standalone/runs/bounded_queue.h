#ifndef LUMOMIXCALC_STANDALONE_RUNS_BOUNDED_QUEUE_H
#define LUMOMIXCALC_STANDALONE_RUNS_BOUNDED_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace lumomixcalc::standalone {

// A first-in first-out queue between threads that holds at most capacity values.
template <typename T>
class BoundedQueue {
 public:
  explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

  // Waits for room and adds a value. Returns false, the value lost, once the queue is closed.
  bool Push(T value) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || values_.size() < capacity_; });
    if (closed_) return false;
    values_.push_back(std::move(value));
    changed_.notify_all();
    return true;
  }

  // Waits for a value and takes it. None when the queue is closed and empty.
  std::optional<T> Pop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || !values_.empty(); });
    return Take();
  }

  // The same, and none also when the time is over.
  std::optional<T> PopFor(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, time, [this] { return closed_ || !values_.empty(); });
    return Take();
  }

  // Nothing can be added from now on; what is inside can still be taken.
  void Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  // The same, and drops what is inside.
  void Abandon() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    values_.clear();
    changed_.notify_all();
  }

  // Whether nothing can be taken any more.
  bool IsExhausted() const {
    const std::lock_guard lock(mutex_);
    return closed_ && values_.empty();
  }

 private:
  std::optional<T> Take() {
    if (values_.empty()) return std::nullopt;
    std::optional<T> value(std::move(values_.front()));
    values_.pop_front();
    changed_.notify_all();
    return value;
  }

  const std::size_t capacity_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<T> values_;
  bool closed_ = false;
};

}  // namespace lumomixcalc::standalone

#endif
