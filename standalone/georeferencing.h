#ifndef LUMOMIXCALC_STANDALONE_GEOREFERENCING_H
#define LUMOMIXCALC_STANDALONE_GEOREFERENCING_H

#include <gdal_priv.h>

#include <string>

namespace lumomixcalc::standalone {

/// How the places of two rasters of one size differ, in words for a message; empty when they agree
/// to a hundredth of a pixel, or when one of them has no georeferencing to compare.
std::string GeoreferencingDifference(GDALDataset& one, GDALDataset& other);

/// Gives to the geotransform, coordinate reference system, ground control points and band
/// descriptions of from. Returns false when the format of to cannot hold them all.
bool CopyGeoreferencing(GDALDataset& from, GDALDataset& to);

}  // namespace lumomixcalc::standalone

#endif
