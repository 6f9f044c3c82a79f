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

// A position in pixels. Map coordinates are rarely exact: one within a thousandth of a pixel of an
// edge counts as on the edge.
double SnappedToEdge(double pixel);

// Where the top left pixel of a raster lies on the pixels of another one.
struct GridOffset {
  double x = 0;
  double y = 0;
  bool fits = false;       // the pixels of both are the same places; then x and y are whole numbers
  std::string difference;  // of their places, in words for a message; empty when it is not known
};

// Positions are compared to a thousandth of a pixel.
GridOffset OffsetOnGrid(GDALDataset& raster, GDALDataset& grid);

// Whether a raster is known to have no pixels where the grid has some, as gdalwarp would place
// them. Longitudes count regardless of whole turns.
bool LieApart(GDALDataset& raster, GDALDataset& grid);

// A command for the shell that makes a copy of a raster on all pixels of the grid, with elements of
// this type, a float, and NaN where the raster has no pixels. Empty when gdalwarp cannot make it:
// the grid is rotated or mirrored, or one of them is not georeferenced.
std::string WarpCommand(GDALDataset& raster, GDALDataType type, GDALDataset& grid);

// The position of a raster's pixels on those of another: the first begins at pixel (x, y) of the
// other and covers nx * ny of its pixels, and so on.
struct PixelPlacement {
  double x = 0;
  double y = 0;
  double nx = 1;
  double ny = 1;
};

// Whether a raster has a geotransform or ground control points.
bool HasPlace(GDALDataset& dataset);

// Copies these, adapted to the placement of `to` on `from`, and the coordinate reference system.
void CopyGeoreferencing(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to);

// Copies rational polynomial coefficients. They contain lines and samples of the image, which are
// converted to those of `to`.
void CopyRpc(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to);

}  // namespace lumomixcalc::standalone
