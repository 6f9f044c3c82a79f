// The panel calls of host/wm.h. The batch host shows no panel and never asks the application for
// its rows; the calls are accepted so that the same application links to it, and do nothing.
#include "host/wm.h"

extern "C" {

void WMAddInfoButton(const char*, const char*) {}
void WMAddFloatField(float*, int, int, int, const float*, const float*, const int32_t*, int, int,
                     int, int) {}
void WMAddText(const char*, int, int) {}
void WMAttachRightSide() {}
void WMNewRow() {}
void WMAddPulldown(const char* const*, int, int32_t*, int, int, int, int) {}
void WMAddToggleButton(const char*, int32_t*, int, int, int, int) {}

}  // extern "C"
