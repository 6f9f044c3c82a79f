#include "standalone/panel/serial_executor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

TEST(SerialExecutor, RunsTasksOneAtATimeInTheOrderOfEachPoster) {
  constexpr int kPosters = 4;
  constexpr int kTasks = 500;
  std::vector<int> order[kPosters];
  std::atomic<int> atOnce = 0;
  std::atomic<int> mostAtOnce = 0;
  std::promise<void> done;
  std::atomic<int> left = kPosters * kTasks;
  SerialExecutor executor;
  std::vector<std::thread> posters;
  for (std::vector<int>& mine : order)
    posters.emplace_back([&] {
      for (int i = 0; i < kTasks; ++i)
        executor.Post([&, i] {
          if (const int now = ++atOnce; now > mostAtOnce) mostAtOnce = now;
          mine.push_back(i);
          --atOnce;
          if (--left == 0) done.set_value();
        });
    });
  for (std::thread& poster : posters) poster.join();
  done.get_future().wait();
  EXPECT_EQ(mostAtOnce, 1);
  for (const std::vector<int>& mine : order) {
    ASSERT_EQ(mine.size(), static_cast<std::size_t>(kTasks));
    for (int i = 0; i < kTasks; ++i) EXPECT_EQ(mine[static_cast<std::size_t>(i)], i);
  }
}

TEST(SerialExecutor, EndsAfterTheTaskUnderWayAndDropsTheOthers) {
  bool firstEnded = false;
  bool secondBegan = false;
  std::promise<void> begun;
  std::promise<void> goOn;
  std::thread helper;
  {
    SerialExecutor executor;
    executor.Post([&] {
      begun.set_value();
      goOn.get_future().wait();
      firstEnded = true;
    });
    begun.get_future().wait();
    helper = std::thread([&] {
      // Long enough that the destructor below is waiting.
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      goOn.set_value();
    });
    executor.Post([&] { secondBegan = true; });
  }
  helper.join();
  EXPECT_TRUE(firstEnded);
  EXPECT_FALSE(secondBegan);
}

}  // namespace
}  // namespace lumomixcalc::standalone
