#ifndef LUMOMIXCALC_STANDALONE_RUNS_STRIP_CHANNEL_H
#define LUMOMIXCALC_STANDALONE_RUNS_STRIP_CHANNEL_H

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <thread>
#include <utility>

#include "standalone/runs/bounded_queue.h"

namespace lumomixcalc::standalone {

// Whole rows of one band in memory: columns * rows elements at the beginning of values.
struct Strip {
  int firstRow = 0;
  int rows = 0;
  int band = 0;
  std::unique_ptr<float[]> values;
};

// A handful of strips that go full from one thread to another and come back empty, so that memory
// is touched once. One end is the run's thread, the other a thread of the channel's own.
class StripChannel {
 public:
  StripChannel(std::size_t strips, std::size_t floatsPerStrip) : full(strips), empty(strips) {
    for (std::size_t i = 0; i < strips; ++i) {
      Strip strip;
      // Not set to zero: whoever fills it first touches the memory.
      strip.values = std::make_unique_for_overwrite<float[]>(floatsPerStrip);
      empty.Push(std::move(strip));
    }
  }

  // Stops the thread and waits for it.
  ~StripChannel() { Stop(); }
  StripChannel(const StripChannel&) = delete;
  StripChannel& operator=(const StripChannel&) = delete;

  // Runs work on the channel's own thread. What it throws closes both queues and is thrown again by
  // Finish; when it ends otherwise, full is closed.
  void Start(std::function<void(const std::stop_token&)> work) {
    thread_ = std::jthread([this, work = std::move(work)](const std::stop_token& stop) {
      try {
        work(stop);
      } catch (...) {
        error_ = std::current_exception();
        empty.Abandon();
        full.Abandon();
      }
      full.Close();
    });
  }

  // Waits for the thread to come to its end, then throws what it threw, if anything.
  void Finish() {
    if (thread_.joinable()) thread_.join();
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
  }

  BoundedQueue<Strip> full;
  BoundedQueue<Strip> empty;

 private:
  void Stop() {
    thread_.request_stop();
    full.Abandon();
    empty.Abandon();
    if (thread_.joinable()) thread_.join();
  }

  std::exception_ptr error_;  // written by the thread, read after it ended
  std::jthread thread_;
};

}  // namespace lumomixcalc::standalone

#endif
