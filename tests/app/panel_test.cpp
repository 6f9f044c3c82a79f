#include <gtest/gtest.h>

#include <string>

#include "app/parameters.h"
#include "host/ip.h"
#include "tests/app/recording_host.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

using PanelTest = ApplicationTest;

TEST_F(PanelTest, HasFourRowsBoundToTheParameters) {
  std::string labels;
  for (const ExpectedOperator& op : kExpectedOperators) labels += op.label + std::string(";");
  gHost.CallBack(IP_SLOT_SET_MENU);
  EXPECT_EQ(gHost.said, (Calls{
                            R"_(WMAddInfoButton("File1 Coeff (A)", "Blendcalc CoeffA"))_",
                            "WMAddFloatField(&gCoeffA[0], 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)",
                            R"(WMAddText("+", 3, 0))",
                            "WMAddFloatField(&gCoeffA[1], 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)",
                            R"(WMAddText("i", 3, 0))",
                            "WMAttachRightSide()",
                            "WMNewRow()",
                            R"_(WMAddInfoButton("File2 Coeff (B)", "Blendcalc CoeffB"))_",
                            "WMAddFloatField(&gCoeffB[0], 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)",
                            R"(WMAddText("+", 3, 0))",
                            "WMAddFloatField(&gCoeffB[1], 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)",
                            R"(WMAddText("i", 3, 0))",
                            "WMAttachRightSide()",
                            "WMNewRow()",
                            R"(WMAddInfoButton("Operator       ", "Blendcalc Operator"))",
                            "WMAddPulldown(\"" + labels + "\", 13, &gOperationChoice, 0, 0, 0, 0)",
                            "WMNewRow()",
                            R"(WMAddInfoButton("Clamp at 0?    ", "Blendcalc ZeroClamp"))",
                            R"(WMAddToggleButton("", &gClampAtZero, 0, 0, 0, 0))",
                            "WMNewRow()",
                        }));
}

}  // namespace
}  // namespace lumomixcalc
