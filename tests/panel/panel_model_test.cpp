#include "standalone/application/panel_model.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/wm.h"
#include "standalone/application/run_context.h"

namespace lumomixcalc::standalone {
namespace {

// An element in one line, with the value that is behind its address.
std::string Describe(const PanelElement& element) {
  std::ostringstream text;
  if (const auto* button = std::get_if<InfoButton>(&element))
    text << '[' << button->label << '|' << button->helpKey << ']';
  if (const auto* field = std::get_if<FloatField>(&element))
    text << "float " << *field->value << " width " << field->width << " step " << field->step;
  if (const auto* fixed = std::get_if<FixedText>(&element)) text << '"' << fixed->text << '"';
  if (const auto* pulldown = std::get_if<Pulldown>(&element))
    text << "choice " << *pulldown->choice << " of " << pulldown->labels.size() << " from "
         << pulldown->labels.front() << " to " << pulldown->labels.back();
  if (const auto* toggle = std::get_if<Toggle>(&element))
    text << "switch \"" << toggle->label << "\" " << *toggle->on;
  return text.str();
}

std::vector<std::string> Described(const PanelModel& model) {
  std::vector<std::string> lines;
  for (const PanelRow& row : model.Rows()) {
    std::string line;
    for (const PanelElement& element : row.elements)
      line += (line.empty() ? "" : ", ") + Describe(element);
    lines.push_back(line + (row.attachedRight ? " >" : ""));
  }
  return lines;
}

TEST(PanelModel, HoldsRowsOfAnyApplicationAsItDescribesThem) {
  static const char* const kLabels[] = {"near", "linear", "cubic"};
  static const float kQuarter = 0.25F;
  std::int32_t choice = 2;
  std::int32_t on = -7;
  float gain = 0.5F;
  Context() = RunContext();
  WMNewRow();  // an empty row adds nothing
  WMAttachRightSide();
  WMAddInfoButton("gain", "Gain help");
  WMAddText("=", 1, 1);
  WMAddFloatField(&gain, 0, 0, 20, &kQuarter, nullptr, nullptr, 1, 2, 3, 4);
  WMAddToggleButton("invert", &on, 0, 0, 0, 0);
  WMAttachRightSide();
  WMNewRow();
  WMNewRow();
  WMAddPulldown(kLabels, 3, &choice, 0, 0, 0, 0);
  WMAddFloatField(&gain, 0, 0, 5, nullptr, nullptr, nullptr, 0, 0, 0, 0);

  EXPECT_EQ(Described(Context().panel),
            (std::vector<std::string>{
                "[gain|Gain help], \"=\", float 0.5 width 20 step 0.25, switch \"invert\" -7 >",
                "choice 2 of 3 from near to cubic, float 0.5 width 5 step 1",
            }));
  gain = 3;
  EXPECT_EQ(std::get<FloatField>(Context().panel.Rows()[1].elements[1]).value, &gain);
  EXPECT_EQ(Context().panel.FieldValues(), (std::vector<std::vector<float>>{{3}, {3}}));
}

}  // namespace
}  // namespace lumomixcalc::standalone
