#include "standalone/runs/bounded_queue.h"

#include <gtest/gtest.h>

namespace lumomixcalc::standalone {
namespace {

TEST(BoundedQueue, ClosedTakesNothingMoreAndAbandonedGivesNothingMore) {
  BoundedQueue<int> queue(3);
  for (const int value : {1, 5, 7}) queue.Push(value);
  queue.Close();
  EXPECT_FALSE(queue.Push(2));
  EXPECT_EQ(queue.Pop(), 1);
  EXPECT_FALSE(queue.IsExhausted());
  queue.Abandon();
  EXPECT_EQ(queue.Pop(), std::nullopt);
  EXPECT_TRUE(queue.IsExhausted());
}

}  // namespace
}  // namespace lumomixcalc::standalone
