// The panel calls of host/wm.h: each adds to the description of the panel in the one run context.
#include "host/wm.h"

#include "standalone/application/run_context.h"

using namespace lumomixcalc::standalone;

extern "C" {

void WMAddInfoButton(const char* label, const char* helpKey) {
  Context().panel.Add(InfoButton{label, helpKey});
}

// Of the numbers this host takes the width in characters and the step. It does not limit the
// decimals: a field that showed fewer than the value has would change it when it is read back.
void WMAddFloatField(float* value, int, int, int width, const float* step, const float*,
                     const int32_t*, int, int, int, int) {
  Context().panel.Add(FloatField{value, width, step ? *step : 1});
}

void WMAddText(const char* text, int, int) { Context().panel.Add(FixedText{text}); }

void WMAttachRightSide() { Context().panel.AttachRight(); }

void WMNewRow() { Context().panel.EndRow(); }

void WMAddPulldown(const char* const* labels, int count, int32_t* choice, int, int, int, int) {
  Context().panel.Add(Pulldown{{labels, labels + count}, choice});
}

void WMAddToggleButton(const char* label, int32_t* on, int, int, int, int) {
  Context().panel.Add(Toggle{label, on});
}

}  // extern "C"
