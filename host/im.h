/* Image calls of the host image-processing framework. C linkage; see ip.h. */
#ifndef LUMOMIXCALC_HOST_IM_H
#define LUMOMIXCALC_HOST_IM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Data mode codes that an application must tell apart; every other code is real data. */
enum { IM_MODE_COMPLEX_INTEGER = 3, IM_MODE_COMPLEX_FLOAT = 4 };

/* Stores the stream's data mode code in *mode. The result means nothing to the application. */
int IMRtMode(int stream, int* mode);

#ifdef __cplusplus
}
#endif

#endif
