#include <gtest/gtest.h>

#include <string>

#include "tests/app/expected_catalogue.h"
#include "tests/app/recording_host.h"

namespace lumomixcalc {
namespace {

TEST(Registration, MakesExactlyTheseCallsInThisOrder) {
  gHost = RecordingHost();
  EXPECT_EQ(IPAppSpecifics(), 0);
  EXPECT_EQ(gHost.calls, (Calls{
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
}

Calls CoefficientRow(const std::string& button, const std::string& re, const std::string& im) {
  const std::string format = ", 1, 8, 12, &1, &1, &4, 0, 0, 0, 0)";
  return {
      "WMAddInfoButton(" + button + ")",
      "WMAddFloatField(&" + re + format,
      R"(WMAddText("+", 3, 0))",
      "WMAddFloatField(&" + im + format,
      R"(WMAddText("i", 3, 0))",
      "WMAttachRightSide()",
      "WMNewRow()",
  };
}

TEST_F(ApplicationTest, PanelHasFourRowsBoundToTheParameters) {
  std::string labels;
  for (const ExpectedOperator& op : kExpectedOperators) labels += op.label;
  Calls expected = CoefficientRow(R"_("File1 Coeff (A)", "Blendcalc CoeffA")_", "1.5", "2.5");
  const Calls rowB = CoefficientRow(R"_("File2 Coeff (B)", "Blendcalc CoeffB")_", "3.5", "4.5");
  const Calls choices = {
      R"(WMAddInfoButton("Operator       ", "Blendcalc Operator"))",
      "WMAddPulldown(\"" + labels + "\", 13, &5, 0, 0, 0, 0)",
      "WMNewRow()",
      R"(WMAddInfoButton("Clamp at 0?    ", "Blendcalc ZeroClamp"))",
      R"(WMAddToggleButton("", &6, 0, 0, 0, 0))",
      "WMNewRow()",
  };
  expected.insert(expected.end(), rowB.begin(), rowB.end());
  expected.insert(expected.end(), choices.begin(), choices.end());
  SetParameters({{1.5F, 2.5F}, {3.5F, 4.5F}, 5, 6});
  EXPECT_EQ(gHost.CallBack(IP_SLOT_SET_MENU), expected);
}

}  // namespace
}  // namespace lumomixcalc
