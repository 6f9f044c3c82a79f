#include "app/panel.h"

#include <cstdint>

#include "app/parameters.h"
#include "host/wm.h"
#include "ops/catalogue.h"

namespace lumomixcalc {
namespace {

// The host keeps the addresses of these for as long as the panel lives.
const float fone = 1.0F;
const std::int32_t four_places = 4;

void AddNumberField(float* value) {
  WMAddFloatField(value, 1, 8, 12, &fone, &fone, &four_places, 0, 0, 0, 0);
}

void AddCoefficientRow(const char* label, const char* helpKey, float* coefficient) {
  WMAddInfoButton(label, helpKey);
  AddNumberField(&coefficient[0]);
  WMAddText("+", 3, 0);
  AddNumberField(&coefficient[1]);
  WMAddText("i", 3, 0);
  WMAttachRightSide();
  WMNewRow();
}

}  // namespace

void SetMenu() {
  AddCoefficientRow("File1 Coeff (A)", "Blendcalc CoeffA", gCoeffA);
  AddCoefficientRow("File2 Coeff (B)", "Blendcalc CoeffB", gCoeffB);

  WMAddInfoButton("Operator       ", "Blendcalc Operator");
  WMAddPulldown(gOperationNames.data(), static_cast<int>(kOperatorCount), &gOperationChoice, 0, 0,
                0, 0);
  WMNewRow();

  WMAddInfoButton("Clamp at 0?    ", "Blendcalc ZeroClamp");
  WMAddToggleButton("", &gClampAtZero, 0, 0, 0, 0);
  WMNewRow();
}

}  // namespace lumomixcalc
