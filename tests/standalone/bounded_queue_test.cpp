#include "standalone/runs/bounded_queue.h"

#include <gtest/gtest.h>

#include <thread>

namespace lumomixcalc::standalone {
namespace {

TEST(BoundedQueue, ClosedGivesWhatItHoldsAndTakesNothing) {
  BoundedQueue<int> queue(2);
  EXPECT_EQ(queue.PopFor(std::chrono::milliseconds(1)), std::nullopt);
  queue.Push(1);
  queue.Push(5);
  queue.Close();
  EXPECT_FALSE(queue.Push(2));
  EXPECT_EQ(queue.PopFor(std::chrono::milliseconds(1)), 1);
  EXPECT_FALSE(queue.IsExhausted());
  EXPECT_EQ(queue.Pop(), 5);
  EXPECT_TRUE(queue.IsExhausted());
  EXPECT_EQ(queue.Pop(), std::nullopt);
}

TEST(BoundedQueue, AbandonWakesBothEnds) {
  BoundedQueue<int> full(1);
  full.Push(1);
  BoundedQueue<int> empty(1);
  bool pushed = true;
  std::optional<int> popped = 1;
  {
    std::jthread waitsForRoom([&] { pushed = full.Push(2); });
    std::jthread waitsForAValue([&] { popped = empty.Pop(); });
    full.Abandon();
    empty.Abandon();
  }
  EXPECT_FALSE(pushed);
  EXPECT_EQ(popped, std::nullopt);
  EXPECT_EQ(full.Pop(), std::nullopt);
}

}  // namespace
}  // namespace lumomixcalc::standalone
