// The application's parameters. The panel and the command line write them; a run reads them.
#ifndef LUMOMIXCALC_APP_PARAMETERS_H
#define LUMOMIXCALC_APP_PARAMETERS_H

#include <cstdint>

#include "ops/selection.h"

namespace lumomixcalc {

extern float gCoeffA[2];               // coefficient A: real part, imaginary part
extern float gCoeffB[2];               // coefficient B
extern std::int32_t gOperationChoice;  // operator index into the catalogue
extern std::int32_t gClampAtZero;      // nonzero: negative results become zero

// The current run's kernel and parameters: set from InitProc to Cleanup, null otherwise.
extern SelectedProc* gpSelectedProc;

}  // namespace lumomixcalc

#endif
