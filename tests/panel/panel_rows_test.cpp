#include "standalone/framework/panel_rows.h"

#include <gtest/gtest.h>

#include "host/wm.h"
#include "standalone/framework/host_calls.h"

namespace lumomixcalc::standalone {
namespace {

TEST(PanelRows, KeepsTheRowsOfAnApplicationUnlikeOurs) {
  static const float kQuarter = 0.25F;
  float gain = 0.5F;
  TheHostState() = HostState();
  WMNewRow();  // an empty row adds nothing
  WMAttachRightSide();
  WMAddFloatField(&gain, 0, 0, 20, &kQuarter, nullptr, nullptr, 1, 2, 3, 4);
  WMAttachRightSide();
  WMNewRow();
  WMNewRow();
  WMAddFloatField(&gain, 0, 0, 5, nullptr, nullptr, nullptr, 0, 0, 0, 0);

  const std::vector<PanelRow>& rows = TheHostState().panel.Rows();
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_TRUE(rows[0].attachedRight);
  EXPECT_FALSE(rows[1].attachedRight);
  EXPECT_EQ(std::get<FloatField>(rows[0].elements.at(0)).step, 0.25F);
  EXPECT_EQ(std::get<FloatField>(rows[1].elements.at(0)).step, 1);
}

}  // namespace
}  // namespace lumomixcalc::standalone
