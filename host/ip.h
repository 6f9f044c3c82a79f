/* Application calls of the host image-processing framework.
 *
 * The framework owns the process: it supplies main(), opens and reads the images, shows the panel
 * or takes the command line, cuts the data into blocks and calls the application back. This header
 * declares what an application may call, and the one function that it must define. Nothing here is
 * defined by the application library; whichever host it is linked to brings the definitions.
 *
 * Everything has C linkage, and every call is made on the host's thread, one at a time.
 */
#ifndef LUMOMIXCALC_HOST_IP_H
#define LUMOMIXCALC_HOST_IP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The application's entry: called once by the host before anything else, to declare streams and to
 * register callbacks. Defined by the application. Returns 0. */
int IPAppSpecifics(void);

/* ---- Registration -------------------------------------------------------------------------- */

/* A callback as it is registered. The slot decides the signature with which it is called:
 * IPProcDataRoutine for IP_SLOT_PROC_DATA, no arguments for all others. */
typedef void (*IPRoutine)(void);

/* The slots that this application registers. */
enum {
  IP_SLOT_SET_MENU = 15,
  IP_SLOT_INIT_PROC = 16,
  IP_SLOT_PROC_DATA = 17,
  IP_SLOT_CHECK_PARAMS = 19,
  IP_SLOT_CLEANUP = 26,
  IP_SLOT_READ_CMD_LINE = 31,
  IP_SLOT_DISPLAY_USAGE = 32,
  IP_SLOT_WRITE_CMD_LINE = 33
};

/* Selects in-core processing: the host calls IP_SLOT_PROC_DATA once per block, with each stream's
 * block in a buffer that IPGetDataPtr gives. */
void IPSetIncoreProc(void);

/* Title of the application's panel. The host copies the text. */
void IPSetMenuTitle(const char* title);

/* Place of the panel on the screen, in the host's units. */
void IPSetMenuLoc(int x, int y);

/* Declares an input or the output stream with the label of its file field. The host copies the
 * label. The trailing arguments are the host's own. */
void IPAddInput(int stream, const char* label, int, int, int, int);
void IPAddOutput(int stream, const char* label, int, int, int, int);

/* Offer the user a choice of region and of resolution. */
void IPEnableRegionSelection(int);
void IPEnableResolutionSelection(void);

/* Registers a callback for a slot. */
void IPSetCustRoutine(int slot, IPRoutine routine, int);

/* ---- Blocks -------------------------------------------------------------------------------- */

/* The record of the current block, as far as an application may read it: the block holds
 * columns * rows elements. A host may append fields of its own. */
typedef struct IPBlock {
  int32_t columns;
  int32_t rows;
} IPBlock;

/* The output's statistics record. The host initialises it; the application only updates it. */
typedef struct IPOutputStats {
  float minimum;
  float maximum;
  float sum;
} IPOutputStats;

/* The signature of IP_SLOT_PROC_DATA. */
typedef void (*IPProcDataRoutine)(const IPBlock* block, IPOutputStats* stats);

/* Address of the stream's buffer for the current block: single-precision floats, one an element
 * for real data, a (real, imaginary) pair an element for complex data. */
void* IPGetDataPtr(int stream);

/* ---- State and messages -------------------------------------------------------------------- */

/* Nonzero when a file is open on the stream, else 0. */
int IPIsOpen(int stream);

/* Data mode code chosen for the output, or -1 when none was chosen. */
int IPGetDefOutPutMode(void);

/* Shows a text to the user. */
void IPDisplayMessage(const char* text, int severity);

/* Gives up the current command or run: no further processing callback of that run is made. */
void IPDesist(void);

/* ---- Command line -------------------------------------------------------------------------- */

/* Text of the index-th argument (from 1) that the host leaves to the application; null past the
 * last one. */
const char* IPGetArg(int index);

/* Reads an argument of the form -NAME=value[:value...] into values.
 *
 * Returns 0 when the argument is not that option (nothing stored), the number of values stored
 * when it is well formed, and any number outside 0..maxCount when it is that option but malformed.
 */
int IPParseRealArg(const char* argument, const char* name, int maxCount, float* values);

/* Adds one option to the command line that the host is assembling. The host copies the text. */
void IPAppendCommand(const char* option);

#ifdef __cplusplus
}
#endif

#endif
