#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/parameters.h"
#include "host/ip.h"
#include "tests/app/recording_host.h"
#include "tests/ops/expected_catalogue.h"

namespace lumomixcalc {
namespace {

// Taken before any test, and so before anything can have set them.
const std::vector<float> initialCoefficients = {gCoeffA[0], gCoeffA[1], gCoeffB[0], gCoeffB[1]};
const std::vector<std::int32_t> initialChoices = {gOperationChoice, gClampAtZero};
const SelectedProc* const initialProc = gpSelectedProc;

TEST(Parameters, StartAtTheirDefaults) {
  EXPECT_EQ(initialCoefficients, (std::vector<float>{1, 0, 1, 0}));
  EXPECT_EQ(initialChoices, (std::vector<std::int32_t>{0, 0}));
  EXPECT_EQ(initialProc, nullptr);
}

TEST(Registration, MakesExactlyTheseCallsInThisOrder) {
  gHost = RecordingHost();
  EXPECT_EQ(IPAppSpecifics(), 0);
  EXPECT_EQ(gHost.said, (Calls{
                            "IPSetIncoreProc()",
                            R"(IPSetMenuTitle("LumoMixcalc"))",
                            "IPSetMenuLoc(450, 400)",
                            R"(IPAddInput(1, "File1", 0, 0, 0, 0))",
                            R"(IPAddInput(2, "File2", 0, 0, 0, 0))",
                            "IPEnableRegionSelection(2)",
                            "IPEnableResolutionSelection()",
                            R"(IPAddOutput(3, " Save", 1, 0, 0, 0))",
                            "IPSetCustRoutine(15, 0)",
                            "IPSetCustRoutine(31, 0)",
                            "IPSetCustRoutine(32, 0)",
                            "IPSetCustRoutine(33, 0)",
                            "IPSetCustRoutine(19, 0)",
                            "IPSetCustRoutine(16, 0)",
                            "IPSetCustRoutine(17, 0)",
                            "IPSetCustRoutine(26, 0)",
                        }));
  EXPECT_EQ(gHost.asked, Calls{});
}

TEST_F(ApplicationTest, PanelHasFourRowsBoundToTheParameters) {
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
