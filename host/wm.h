/* Panel calls of the host image-processing framework: each adds one element to the current row of
 * the application's panel. C linkage; see ip.h.
 *
 * Elements are bound by address: the host shows the value found there and writes the user's entry
 * there. Trailing arguments without a name are the host's own. */
#ifndef LUMOMIXCALC_HOST_WM_H
#define LUMOMIXCALC_HOST_WM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Starts a row with a button that bears the label; the key names the row's help entry. */
void WMAddInfoButton(const char* label, const char* helpKey);

/* A field bound to *value. How the host sizes, formats and steps it by the further arguments is
 * the host's. */
void WMAddFloatField(float* value, int, int, int, const float*, const float*, const int32_t*, int,
                     int, int, int);

/* A fixed text. */
void WMAddText(const char* text, int, int);

/* Layout: made after the last element of a row that is attached to the panel's right side. */
void WMAttachRightSide(void);

/* Ends the current row. */
void WMNewRow(void);

/* A pull-down of count labels bound to *choice, the position (from 0) of the chosen label. The
 * labels must live as long as the panel. */
void WMAddPulldown(const char* const* labels, int count, int32_t* choice, int, int, int, int);

/* A switch bound to *on: nonzero is on. */
void WMAddToggleButton(const char* label, int32_t* on, int, int, int, int);

#ifdef __cplusplus
}
#endif

#endif
