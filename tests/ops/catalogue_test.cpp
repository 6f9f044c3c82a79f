#include "ops/catalogue.h"

#include <gtest/gtest.h>

#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

TEST(Catalogue, HoldsTheThirteenOperatorsInIndexOrder) {
  ASSERT_EQ(kOperatorCount, 13U);
  ASSERT_EQ(gOperationNames.size(), 13U);
  ASSERT_EQ(gOperationCmdlineNames.size(), 13U);
  for (std::size_t op = 0; op < kOperatorCount; ++op) {
    const ExpectedOperator& expected = kExpectedOperators[op];
    EXPECT_STREQ(gOperationNames[op], expected.label);
    EXPECT_STREQ(gOperationCmdlineNames[op], expected.commandName) << expected.label;
    const auto index = static_cast<std::int32_t>(op);
    EXPECT_EQ(UsesFile1(index), expected.readsFile1 ? 1 : 0) << expected.label;
    EXPECT_EQ(UsesFile2(index), expected.readsFile2 ? 1 : 0) << expected.label;
  }
}

}  // namespace
}  // namespace lumomixcalc
