#pragma once

#include <string>
#include <vector>

#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// The values of the options that choose a part of the inputs. Each throws WrongCommandLine that
// names the option and what it takes.

// "x:y:width:height", whole numbers, the last two above 0.
PixelWindow ParseRegion(const std::string& text);

// "xmin:ymin:xmax:ymax", finite, minima below maxima.
MapWindow ParseWindow(const std::string& text);

// A whole number from 1.
int ParseResolution(const std::string& text);

// "N" or "NX:NY", whole numbers from 1.
Looks ParseLooks(const std::string& text);

// "nearest", "average", "bilinear", "cubic" or "overview".
Resampling ParseResampling(const std::string& text);

// "1,3-5": band numbers and ranges of them, from 1, in the order given; a band may come twice.
std::vector<int> ParseBands(const std::string& text);

// The options that say the same as selection and bands, each in its whole "-name=value".
std::vector<std::string> SelectionArguments(const Selection& selection,
                                            const std::vector<int>& bands);

}  // namespace lumomixcalc::standalone
