#pragma once

#include <gdal_priv.h>

#include <vector>

#include "standalone/runs/plan.h"

namespace lumomixcalc::standalone {

// Writes the metadata of the output: georeferencing with ground control points and rational
// polynomial coefficients on the output's grid, metadata items that do not describe the values of
// the input, and names and units of bands, each from the first input that has any; the command and
// the program's version. Warns of geolocation arrays, which are left out.
void DescribeOutput(const RunPlan& plan, const std::vector<RunInput>& inputs, GDALDataset& output);

}  // namespace lumomixcalc::standalone
