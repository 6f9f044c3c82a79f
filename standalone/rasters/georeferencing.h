#pragma once

#include <gdal_priv.h>

#include <array>
#include <optional>
#include <string>

namespace lumomixcalc::standalone {

// GDAL's six coefficients from pixels to map coordinates.
using Geotransform = std::array<double, 6>;

// The geotransform of a raster, if it has one.
std::optional<Geotransform> GeotransformOf(GDALDataset& dataset);

// How the georeferencing of two rasters of the same size differs, in words for a message. Empty
// when they agree to a hundredth of a pixel, or when one of them has no georeferencing.
std::string GeoreferencingDifference(GDALDataset& one, GDALDataset& other);

// The position of a raster's pixels on those of another: the first begins at pixel (x, y) of the
// other and covers nx * ny of its pixels, and so on.
struct PixelPlacement {
  double x = 0;
  double y = 0;
  double nx = 1;
  double ny = 1;
};

// Whether a raster has a geotransform, a coordinate reference system or ground control points.
bool HasGeoreferencing(GDALDataset& dataset);

// Copies these, adapted to the placement of `to` on `from`.
void CopyGeoreferencing(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to);

// Copies rational polynomial coefficients. They contain lines and samples of the image, which are
// converted to those of `to`.
void CopyRpc(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to);

}  // namespace lumomixcalc::standalone
