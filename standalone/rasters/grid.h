#pragma once

#include <gdal.h>

#include <array>
#include <optional>
#include <string>

#include "standalone/rasters/georeferencing.h"

namespace lumomixcalc::standalone {

// A rectangle of whole pixels, counted from the top left corner of the image.
struct PixelWindow {
  int x = 0;
  int y = 0;
  int columns = 0;
  int rows = 0;

  bool operator==(const PixelWindow&) const = default;
};

// A pixel, counted like those of a window.
struct PixelPosition {
  int x = 0;
  int y = 0;

  bool operator==(const PixelPosition&) const = default;
};

// An area in the units of a geotransform.
struct MapWindow {
  double xMin = 0;
  double yMin = 0;
  double xMax = 0;
  double yMax = 0;

  bool operator==(const MapWindow&) const = default;
};

// The size of the blocks of results, in columns and rows, that are averaged to one stored element.
struct Looks {
  int x = 1;
  int y = 1;

  bool operator==(const Looks&) const = default;
};

std::string SizeText(int columns, int rows);  // "C x R pixels"

// The values of the options -region=, -window= and -looks=.
std::string ToText(const PixelWindow& window);
std::string ToText(const MapWindow& window);
std::string ToText(const Looks& looks);

// How pixels are made at a reduced resolution. The first four are GDAL's methods and use the pixels
// of full resolution. kOverview takes the pixels of the overview that has exactly this resolution.
enum class Resampling { kNearest, kAverage, kBilinear, kCubic, kOverview };

// The methods of -resampling=, in the order of the Resampling constants.
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

// How inputs of different extents are combined: not at all, or over the area that they share.
enum class Extent { kSame, kIntersection };

// The part of the inputs and the resolution that the user chose.
struct Selection {
  Extent extent = Extent::kSame;
  std::optional<PixelWindow> region;
  std::optional<MapWindow> window;  // not together with region
  int resolution = 1;               // input pixels to one output pixel, in both directions
  Resampling resampling = Resampling::kNearest;
  Looks looks;

  bool operator==(const Selection&) const = default;
};

// The position of the output's pixels on those of the inputs. With nx = resolution * looks.x and
// ny = resolution * looks.y, output pixel (c, r) covers nx * ny input pixels from
// (window.x + c * nx, window.y + r * ny).
struct OutputGrid {
  PixelWindow window;  // the input pixels that the output covers
  int resolution = 1;
  Looks looks;
  int columns = 0;
  int rows = 0;

  PixelPlacement Placement() const {
    return {1.0 * window.x, 1.0 * window.y, 1.0 * resolution * looks.x, 1.0 * resolution * looks.y};
  }

  // The grid of the results before they are averaged over looks.
  OutputGrid BeforeLooks() const;

  // The same grid on the pixels of a raster whose top left pixel lies at the origin.
  OutputGrid On(const PixelPosition& origin) const;
};

// The output grid for a selection from an area of the image that has this geotransform. When
// resolution and looks do not divide the region, the rest at its right and bottom is left out. name
// is the area's, for messages. Throws Failure when the selection does not fit the area.
OutputGrid MakeOutputGrid(const Selection& selection, const PixelWindow& area,
                          const std::optional<Geotransform>& transform, const std::string& name);

}  // namespace lumomixcalc::standalone
