#pragma once

#include <gdal_priv.h>

#include <array>
#include <optional>
#include <string>

namespace lumomixcalc::standalone {

// GDAL's six coefficients from pixels to map coordinates.
using Geotransform = std::array<double, 6>;

// Whole pixels of an image, counted from its top left corner.
struct PixelWindow {
  int x = 0;
  int y = 0;
  int columns = 0;
  int rows = 0;

  bool operator==(const PixelWindow&) const = default;
};

// An area in the units of a geotransform.
struct MapWindow {
  double xMin = 0;
  double yMin = 0;
  double xMax = 0;
  double yMax = 0;

  bool operator==(const MapWindow&) const = default;
};

// Blocks of so many columns and rows of results whose average is stored in place of them.
struct Looks {
  int x = 1;
  int y = 1;

  bool operator==(const Looks&) const = default;
};

std::string SizeText(int columns, int rows);  // "C x R pixels"

// As the options -region=, -window= and -looks= take them.
std::string ToText(const PixelWindow& window);
std::string ToText(const MapWindow& window);
std::string ToText(const Looks& looks);

// How pixels are made when the resolution is reduced. The first four are GDAL's, from the pixels
// of full resolution; kOverview takes the overview of just that resolution, as its maker made it;
// kPreview takes whatever is quickest to read.
enum class Resampling { kNearest, kAverage, kBilinear, kCubic, kOverview, kPreview };

// What a user can choose as -resampling=, at the position of its Resampling.
struct ResamplingMethod {
  const char* name;
  GDALRIOResampleAlg algorithm;
  int radius;  // pixels of the coarser image that the algorithm looks at beyond a pixel's own
};
inline constexpr std::array<ResamplingMethod, 5> kResamplingMethods = {{
    {"nearest", GRIORA_NearestNeighbour, 0},
    {"average", GRIORA_Average, 0},
    {"bilinear", GRIORA_Bilinear, 1},
    {"cubic", GRIORA_Cubic, 2},
    {"overview", GRIORA_NearestNeighbour, 0},
}};

// What a run takes of its inputs, as the user asks for it.
struct Selection {
  std::optional<PixelWindow> region;
  std::optional<MapWindow> window;  // not together with region
  int resolution = 1;               // input pixels to one output pixel, in both directions
  Resampling resampling = Resampling::kNearest;
  Looks looks;

  bool operator==(const Selection&) const = default;
};

// Where the pixels of the output lie on the pixels of the inputs: with nx = resolution * looks.x
// and ny = resolution * looks.y, output pixel (c, r) covers nx * ny input pixels from (window.x + c
// * nx, window.y + r * ny).
struct OutputGrid {
  PixelWindow window;  // covered by whole output pixels
  int resolution = 1;
  Looks looks;
  int columns = 0;
  int rows = 0;

  // The grid of the results of which looks are the average.
  OutputGrid BeforeLooks() const;

  Geotransform Transformed(const Geotransform& input) const;
};

// The grid that a selection makes of an image of columns x rows pixels. Where resolution and looks
// do not divide the region, what is left over at its right and bottom is left out. transform is the
// image's, null when it has none; name is for messages. Throws Failure when the selection does not
// fit the image, with the image's size.
OutputGrid MakeOutputGrid(const Selection& selection, int columns, int rows,
                          const Geotransform* transform, const std::string& name);

// How the places of two rasters of one size differ, in words for a message; empty when they agree
// to a hundredth of a pixel, or when one of them has no georeferencing to compare.
std::string GeoreferencingDifference(GDALDataset& one, GDALDataset& other);

std::optional<Geotransform> GeotransformOf(GDALDataset& dataset);

// Gives to the geotransform, coordinate reference system and ground control points of from, as they
// are on the grid. Returns false when the format of to cannot hold them all.
bool CopyGeoreferencing(GDALDataset& from, const OutputGrid& grid, GDALDataset& to);

}  // namespace lumomixcalc::standalone
