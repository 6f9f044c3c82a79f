#pragma once

#include <string>

#include "standalone/runs/session.h"

namespace lumomixcalc::standalone {

// Writes into the output what it says of itself beside its elements: georeferencing with ground
// control points and rational polynomial coefficients on the output's grid, metadata, and names and
// units of bands, each from the first input that has any; the command and the program's version.
// Warns of what the format, named in messages by the file's name, cannot hold.
void Describe(Session& session, const std::string& command, const std::string& outputName,
              GDALDataset& output);

}  // namespace lumomixcalc::standalone
