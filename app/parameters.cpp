#include "app/parameters.h"

namespace lumomixcalc {

float gCoeffA[2] = {1.0F, 0.0F};
float gCoeffB[2] = {1.0F, 0.0F};
std::int32_t gOperationChoice = 0;
std::int32_t gClampAtZero = 0;
SelectedProc* gpSelectedProc = nullptr;

}  // namespace lumomixcalc
