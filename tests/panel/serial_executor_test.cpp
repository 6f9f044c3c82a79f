#include "standalone/panel/serial_executor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <numeric>
#include <thread>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

TEST(SerialExecutor, RunsTasksOneAtATimeInTheOrderOfEachPoster) {
  constexpr int kTasks = 500;
  std::vector<int> order[4];
  std::atomic<int> atOnce = 0;
  std::atomic<bool> alone = true;
  std::latch done(std::ptrdiff_t{4} * kTasks);
  SerialExecutor executor;
  std::vector<std::jthread> posters;
  for (std::vector<int>& mine : order)
    posters.emplace_back([&] {
      for (int i = 0; i < kTasks; ++i)
        executor.Post([&, i] {
          if (++atOnce > 1) alone = false;
          mine.push_back(i);
          --atOnce;
          done.count_down();
        });
    });
  done.wait();
  EXPECT_TRUE(alone);
  std::vector<int> expected(kTasks);
  std::iota(expected.begin(), expected.end(), 0);
  for (const std::vector<int>& mine : order) EXPECT_EQ(mine, expected);
}

TEST(SerialExecutor, EndsAfterTheTaskUnderWayAndDropsTheOthers) {
  bool firstEnded = false;
  bool secondBegan = false;
  std::promise<void> begun;
  std::promise<void> goOn;
  std::jthread helper;
  {
    SerialExecutor executor;
    executor.Post([&] {
      begun.set_value();
      goOn.get_future().wait();
      firstEnded = true;
    });
    begun.get_future().wait();
    helper = std::jthread([&] {
      // Long enough that the destructor below is waiting.
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      goOn.set_value();
    });
    executor.Post([&] { secondBegan = true; });
  }
  EXPECT_TRUE(firstEnded);
  EXPECT_FALSE(secondBegan);
}

}  // namespace
}  // namespace lumomixcalc::standalone
