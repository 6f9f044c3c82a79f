#include "standalone/cli/progress_bar.h"

#include <gtest/gtest.h>

namespace lumomixcalc::standalone {
namespace {

TEST(ProgressLine, ShowsShareAndTimeLeft) {
  EXPECT_EQ(ProgressLine(0, -1), "[                              ]   0 %");
  EXPECT_EQ(ProgressLine(0.5, 61.2), "[===============               ]  50 %, 1:02 left");
  EXPECT_EQ(ProgressLine(1, 0), "[==============================] 100 %, 0:00 left");
  EXPECT_EQ(ProgressLine(0.999, 7325), "[============================= ]  99 %, 2:02:05 left");
}

}  // namespace
}  // namespace lumomixcalc::standalone
