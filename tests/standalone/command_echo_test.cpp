#include "standalone/cli/command_echo.h"

#include <gtest/gtest.h>

namespace lumomixcalc::standalone {
namespace {

TEST(WithAllDigits, GivesBackWhatSixDigitsDroppedAndNothingElse) {
  const std::map<std::string, std::vector<float>> read = {{"a", {0.12345679F, 0}},
                                                          {"b", {1234567, -1e-20F}}};
  EXPECT_EQ(WithAllDigits("-a=0.123457:0", read), "-a=0.12345679:0");
  EXPECT_EQ(WithAllDigits("-b=1.23457e+06:-1e-20", read), "-b=1234567:-1e-20");
  for (const char* setOtherwise : {"-a=0.5:0", "-a=0.123457:1", "-aa=0.123457:0", "-b=0.123457:0",
                                   "-a=0.123457", "-clamp", ""})
    EXPECT_EQ(WithAllDigits(setOtherwise, read), setOtherwise);
}

}  // namespace
}  // namespace lumomixcalc::standalone
