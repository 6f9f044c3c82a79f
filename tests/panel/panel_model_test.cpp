#include "standalone/panel/panel_model.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "app/parameters.h"
#include "host/ip.h"
#include "host/wm.h"
#include "standalone/application/run_context.h"

namespace lumomixcalc::standalone {
namespace {

// An element in one line, with the value that is behind its address.
struct Describe {
  std::string operator()(const InfoButton& button) const {
    return "[" + button.label + "|" + button.helpKey + "]";
  }
  std::string operator()(const FloatField& field) const {
    std::ostringstream text;
    text << "float " << *field.value << " width " << field.width << " step " << field.step;
    return text.str();
  }
  std::string operator()(const FixedText& text) const { return "\"" + text.text + "\""; }
  std::string operator()(const Pulldown& pulldown) const {
    return "choice " + std::to_string(*pulldown.choice) + " of " +
           std::to_string(pulldown.labels.size()) + " from " + pulldown.labels.front() + " to " +
           pulldown.labels.back();
  }
  std::string operator()(const Toggle& toggle) const {
    return "switch \"" + toggle.label + "\" " + std::to_string(*toggle.on);
  }
};

std::vector<std::string> Described(const PanelModel& model) {
  std::vector<std::string> lines;
  for (const PanelRow& row : model.Rows()) {
    std::string line;
    for (const PanelElement& element : row.elements)
      line += (line.empty() ? "" : ", ") + std::visit(Describe(), element);
    lines.push_back(line + (row.attachedRight ? " >" : ""));
  }
  return lines;
}

class PanelModelTest : public ::testing::Test {
 protected:
  void SetUp() override { Context() = RunContext(); }
};

TEST_F(PanelModelTest, HoldsRowsOfAnyApplicationAsItDescribesThem) {
  static const char* const kLabels[] = {"near", "linear", "cubic"};
  static const float kQuarter = 0.25F;
  std::int32_t choice = 2;
  std::int32_t on = -7;
  float gain = 0.5F;
  WMNewRow();  // an empty row adds nothing
  WMAttachRightSide();
  WMAddText("gain", 1, 1);
  WMAddFloatField(&gain, 0, 0, 20, &kQuarter, nullptr, nullptr, 1, 2, 3, 4);
  WMAddToggleButton("invert", &on, 0, 0, 0, 0);
  WMAttachRightSide();
  WMNewRow();
  WMNewRow();
  WMAddPulldown(kLabels, 3, &choice, 0, 0, 0, 0);
  WMAddFloatField(&gain, 0, 0, 5, nullptr, nullptr, nullptr, 0, 0, 0, 0);

  EXPECT_EQ(Described(Context().panel),
            (std::vector<std::string>{
                "\"gain\", float 0.5 width 20 step 0.25, switch \"invert\" -7 >",
                "choice 2 of 3 from near to cubic, float 0.5 width 5 step 1",
            }));
  gain = 3;
  EXPECT_EQ(Context().panel.FieldValues(), (std::vector<std::vector<float>>{{3}, {3}}));
}

TEST_F(PanelModelTest, HoldsTheRowsOfThisApplicationBoundToItsParameters) {
  IPAppSpecifics();
  gCoeffA[1] = -2.5F;
  gOperationChoice = 12;
  Context().registration.Call(IP_SLOT_SET_MENU);
  EXPECT_EQ(Described(Context().panel),
            (std::vector<std::string>{
                "[File1 Coeff (A)|Blendcalc CoeffA], float 1 width 12 step 1, \"+\", "
                "float -2.5 width 12 step 1, \"i\" >",
                "[File2 Coeff (B)|Blendcalc CoeffB], float 1 width 12 step 1, \"+\", "
                "float 0 width 12 step 1, \"i\" >",
                "[Operator       |Blendcalc Operator], choice 12 of 13 from (A*File1) + (B*File2) "
                "to (FILE1 + B)**A",
                "[Clamp at 0?    |Blendcalc ZeroClamp], switch \"\" 0",
            }));
  EXPECT_EQ(std::get<FloatField>(Context().panel.Rows()[1].elements[3]).value, &gCoeffB[1]);
  EXPECT_EQ(Context().registration.title, "LumoMixcalc");
  EXPECT_EQ(Context().registration.menuX, 450);
  EXPECT_EQ(Context().registration.menuY, 400);
  EXPECT_TRUE(Context().registration.regions);
  EXPECT_TRUE(Context().registration.resolutions);
  gCoeffA[1] = 0;
  gOperationChoice = 0;
}

}  // namespace
}  // namespace lumomixcalc::standalone
