#ifndef LUMOMIXCALC_STANDALONE_RASTERS_GEOREFERENCING_H
#define LUMOMIXCALC_STANDALONE_RASTERS_GEOREFERENCING_H

#include <gdal_priv.h>

#include <optional>
#include <string>

#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// How the places of two rasters of one size differ, in words for a message; empty when they agree
// to a hundredth of a pixel, or when one of them has no georeferencing to compare.
std::string GeoreferencingDifference(GDALDataset& one, GDALDataset& other);

// The geotransform of a dataset; none when it has none.
std::optional<Geotransform> GeotransformOf(GDALDataset& dataset);

// Gives to the geotransform, coordinate reference system and ground control points of from, as they
// are on the grid. Returns false when the format of to cannot hold them all.
bool CopyGeoreferencing(GDALDataset& from, const OutputGrid& grid, GDALDataset& to);

}  // namespace lumomixcalc::standalone

#endif
