#ifndef LUMOMIXCALC_STANDALONE_RASTERS_RAW_FILES_H
#define LUMOMIXCALC_STANDALONE_RASTERS_RAW_FILES_H

#include <gdal_priv.h>

#include <string>

namespace lumomixcalc::standalone {

// How a raw file is shorter than its header claims, in words for a message; empty when it is long
// enough or the dataset is no raw file. GDAL reads what is missing from some of them as zeros, and
// by itself refuses only those that lack more than half.
std::string RawFileShortage(GDALDataset& dataset);

}  // namespace lumomixcalc::standalone

#endif
