#include "standalone/runs/bounded_queue.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace lumomixcalc::standalone {
namespace {

TEST(BoundedQueue, HandsValuesOverInOrderThroughLittleRoom) {
  constexpr int kValues = 1000;
  BoundedQueue<std::unique_ptr<int>> queue(2);
  std::jthread producer([&queue] {
    for (int i = 0; i < kValues; ++i) queue.Push(std::make_unique<int>(i));
    queue.Close();
  });
  int expected = 0;
  while (auto value = queue.Pop()) EXPECT_EQ(**value, expected++);
  EXPECT_EQ(expected, kValues);
  EXPECT_TRUE(queue.IsExhausted());
}

TEST(BoundedQueue, ClosedGivesWhatItHoldsAndTakesNothing) {
  BoundedQueue<int> queue(2);
  queue.Push(1);
  queue.Close();
  EXPECT_FALSE(queue.Push(2));
  EXPECT_FALSE(queue.IsExhausted());
  EXPECT_EQ(queue.Pop(), 1);
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

TEST(BoundedQueue, PopForGivesUpWithoutAValue) {
  BoundedQueue<int> queue(1);
  EXPECT_EQ(queue.PopFor(std::chrono::milliseconds(1)), std::nullopt);
  EXPECT_FALSE(queue.IsExhausted());
  queue.Push(5);
  EXPECT_EQ(queue.PopFor(std::chrono::milliseconds(1)), 5);
}

}  // namespace
}  // namespace lumomixcalc::standalone
